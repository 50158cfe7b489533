"""Which dynamic symbols a NYX library may define: those of entities named NYX_... or nyx_... at global scope, those in the
namespace NYX, and global operators on a type of ours, such as the output of one to a stream.

The rule reads mangled names, since they tell the outermost scope apart from parameters, template arguments and return
types: std::vector<NYX_BOX>::push_back is not ours, though its name mentions NYX_BOX.
"""
import re
import subprocess

# _Z, then what may stand before the first name: the table or type information of a class, a guard, a thunk, a local
# entity's function; then N and qualifiers for a nested name; then the length of the name.
MANGLED = re.compile(r"_Z(?:T[VTIS]|GV|Th\d+_|Thn\d+_|Tv\d+_n\d+_)?Z*(?:N[rVK]*[RO]?)?(\d+)")
# The operator's code, a standard stream if it comes first, then the operand: a class of ours or a reference to one.
OPERATOR = re.compile(r"_Z[a-z][a-zA-Z](?:R?S[oi])?R?K?\d+NYX_")


def is_ours(symbol):
    """Whether a symbol, as nm prints it without -C, names an entity of NYX."""
    name = symbol.split("@")[0]
    if OPERATOR.match(name):
        return True
    if match := MANGLED.match(name):
        name = name[match.end():][:int(match[1])]
    return name == "NYX" or name.startswith(("NYX_", "nyx_"))


def defined_symbols(library):
    """The dynamic symbols that a library defines, mangled."""
    run = subprocess.run(["nm", "-D", "--defined-only", "--format=posix", library],
                         capture_output=True, text=True, check=True)
    return [line.split()[0] for line in run.stdout.splitlines()]


def foreign_symbols(library):
    """Those that are not ours, readable."""
    foreign = [symbol for symbol in defined_symbols(library) if not is_ours(symbol)]
    if not foreign:
        return []
    return subprocess.run(["c++filt"], input="\n".join(foreign), capture_output=True, text=True,
                          check=True).stdout.splitlines()
