"""gdb shows NYX's self-relative pointers as pointers and its identifiers as numbers.

    (gdb) source tools/gdb/nyx_gdb.py
    (gdb) print pages.m_owner
    $1 = (NYX_NET_TABLE *) 0x7fffe7a00120
    (gdb) print net->m_name_id
    $2 = bus name 9, bit 5
    (gdb) print *$nyx_ptr(pages.m_owner)        what a self-relative pointer refers to

A self-relative pointer means something at its own place only: one that gdb holds as a copied value can't be shown. Use
`print/r` to see the stored numbers.
"""
import gdb
import gdb.printing

ADDRESS_MASK = (1 << 64) - 1


def invalid(value):
    """Whether an identifier's number is all ones."""
    return int(value) == (1 << 8 * value.type.sizeof) - 1


def target_of(pointer, offset):
    """The gdb pointer that lies `offset` bytes behind a self-relative pointer."""
    if pointer.address is None:
        raise gdb.GdbError("a copy of a self-relative pointer has no target")
    address = (int(pointer.address) + int(offset)) & ADDRESS_MASK
    target_type = pointer.type.strip_typedefs().template_argument(0)
    return gdb.Value(address).cast(gdb.lookup_type("unsigned long")).cast(target_type.pointer())


class SELF_RELATIVE_PRINTER:
    """A pointer that stores the distance to its target, and `empty_offset` when it has none."""

    def __init__(self, value):
        self.value = value

    def offset(self):
        raise NotImplementedError

    def target(self):
        """The target as a gdb pointer, None if there is none."""
        offset = self.offset()
        return None if int(offset) == self.empty_offset else target_of(self.value, offset)

    def to_string(self):
        if int(self.offset()) == self.empty_offset:
            return self.empty_text
        if self.value.address is None:
            return f"offset {int(self.offset())}"
        target = self.target()
        return f"({target.type}) {int(target):#x}"


class OFFSET_PTR_PRINTER(SELF_RELATIVE_PRINTER):
    """boost::interprocess::offset_ptr: one byte behind itself is null."""

    empty_offset = 1
    empty_text = "null"

    def offset(self):
        # The template's second argument: the stored number is unsigned in some versions.
        signed = self.value.type.strip_typedefs().template_argument(1)
        return self.value["internal"]["m_offset"].cast(signed)


class FAST_OFFSET_PTR_PRINTER(SELF_RELATIVE_PRINTER):
    """NYX_FAST_OFFSET_PTR: its own address stands for never assigned."""

    empty_offset = 0
    empty_text = "never assigned"

    def offset(self):
        return self.value["m_offset"]


class ID_PRINTER:
    """NYX_ID: the row's number."""

    def __init__(self, value):
        self.value = value

    def to_string(self):
        number = self.value["m_value"]
        return "INVALID" if invalid(number) else str(int(number))


class NAME_ID_PRINTER:
    """NYX_NAME_ID: the index of a plain name, or that of a bus's base name and the bit."""

    def __init__(self, value):
        self.value = value

    def to_string(self):
        fields = self.value["fields"]
        if invalid(fields["value"]):
            return "INVALID"
        bus = fields["bus"]
        if int(bus["is_bus"]):
            return f"bus name {int(bus['name_index'])}, bit {int(bus['bus_index'])}"
        return f"name {int(fields['value'])}"


class NYX_PTR(gdb.Function):
    """$nyx_ptr(POINTER): the address that a self-relative pointer refers to, as an ordinary pointer; null if none."""

    def __init__(self):
        super().__init__("nyx_ptr")

    def invoke(self, pointer):
        printer = PRINTERS(pointer)
        if not isinstance(printer, SELF_RELATIVE_PRINTER):
            raise gdb.GdbError("$nyx_ptr wants an offset_ptr or a NYX_FAST_OFFSET_PTR")
        target = printer.target()
        return gdb.Value(0).cast(gdb.lookup_type("void").pointer()) if target is None else target


PRINTERS = gdb.printing.RegexpCollectionPrettyPrinter("nyx")
PRINTERS.add_printer("offset_ptr", r"^boost::interprocess::offset_ptr<.*>$", OFFSET_PTR_PRINTER)
PRINTERS.add_printer("NYX_FAST_OFFSET_PTR", r"^NYX_FAST_OFFSET_PTR<.*>$", FAST_OFFSET_PTR_PRINTER)
PRINTERS.add_printer("NYX_NAME_ID", r"^NYX_ID<NYX_NAME, unsigned int>$", NAME_ID_PRINTER)
PRINTERS.add_printer("NYX_ID", r"^NYX_ID<.*>$", ID_PRINTER)

gdb.printing.register_pretty_printer(None, PRINTERS, replace=True)
NYX_PTR()
