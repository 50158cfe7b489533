#!/usr/bin/env python3
"""Compiles and runs the complete programs in a document.

    check_snippets.py DOCUMENT --library FILE... [--internal ARCHIVE HEADERS [DEFINITION...]] -- COMPILER FLAG...

A program is a block that opens with "```cpp program"; it must end with 0. With "```cpp program internal" it sees the
library's own headers, with the macros that they were compiled with, and links its objects in place of the shared
library, the first of the libraries. A block "```text output" next after a program is what the program prints, to the
letter. Other blocks are illustrations and not looked at.
"""
import argparse
import os
import re
import subprocess
import sys
import tempfile

BLOCK = re.compile(r"^```([^\n`]*)\n(.*?)^```$", re.MULTILINE | re.DOTALL)


def programs(text):
    """(line, whether internal, source, expected output or None) of each program."""
    found = []
    after_program = False
    for match in BLOCK.finditer(text):
        info, body = match[1].strip(), match[2]
        if info in ("cpp program", "cpp program internal"):
            found.append([text.count("\n", 0, match.start()) + 1, info.endswith("internal"), body, None])
        elif info == "text output":
            if not after_program:
                raise SystemExit("an output without a program before it: " + body)
            found[-1][3] = body
        elif info.startswith(("cpp program", "text output")):
            raise SystemExit(f'unknown kind of block "{info}"')
        after_program = info.startswith("cpp program")
    return found


def check(document, line, internal, source, output, arguments):
    """None if the program does what the document says, else what it does."""
    libraries, flags = arguments.library, []
    if internal:
        archive, headers, *definitions = arguments.internal
        # The objects come first, so that what they define is not taken from libnyx.so.
        libraries, flags = [archive, *libraries[1:]], [f"-I{headers}", *(f"-D{name}" for name in definitions)]
    folders = sorted({os.path.dirname(library) for library in libraries})
    with tempfile.TemporaryDirectory() as folder:
        path, program = os.path.join(folder, "snippet.cpp"), os.path.join(folder, "snippet")
        with open(path, "w", encoding="utf-8") as file:
            file.write(f'#line {line + 1} "{document}"\n{source}')
        built = subprocess.run([*arguments.compiler, *flags, path, *libraries,
                                *(f"-Wl,-rpath,{folder}" for folder in folders), "-o", program],
                               capture_output=True, text=True)
        if built.returncode != 0:
            return f"does not compile:\n{built.stderr}"
        ran = subprocess.run([program], capture_output=True, text=True, cwd=folder)
    if ran.returncode != 0:
        return f"ends with {ran.returncode}:\n{ran.stdout}{ran.stderr}"
    if output is not None and ran.stdout != output:
        return f"prints\n{ran.stdout}where the document says\n{output}"
    return None


def main():
    split = sys.argv.index("--") if "--" in sys.argv else len(sys.argv)
    parser = argparse.ArgumentParser()
    parser.add_argument("document")
    parser.add_argument("--library", nargs="+", default=[])
    parser.add_argument("--internal", nargs="+")
    arguments = parser.parse_args(sys.argv[1:split])
    arguments.compiler = sys.argv[split + 1:]

    with open(arguments.document, encoding="utf-8") as file:
        found = programs(file.read())
    if not found:
        sys.exit(f"{arguments.document}: no programs")
    failed = False
    for line, *program in found:
        if complaint := check(arguments.document, line, *program, arguments):
            print(f"{arguments.document}:{line}: the program {complaint}")
            failed = True
    sys.exit(failed)


if __name__ == "__main__":
    main()
