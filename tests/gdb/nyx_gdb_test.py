#!/usr/bin/env python3
"""The printers of nyx_gdb.py show what a debugger's user wants to see.

    nyx_gdb_test.py NYX_GDB PROGRAM
"""
import re
import subprocess
import sys
import unittest

NYX_GDB = PROGRAM = None


def gdb(*expressions):
    """What gdb prints for each expression while the program stands in stop_here()."""
    commands = ["set print address on", f"source {NYX_GDB}", "break stop_here", "run"]
    for expression in expressions:
        commands += ["echo \\n@\\n", expression]
    words = [word for command in commands for word in ("-ex", command)]
    run = subprocess.run(["gdb", "-nx", "-batch", *words, PROGRAM], stdin=subprocess.DEVNULL, stdout=subprocess.PIPE,
                         stderr=subprocess.STDOUT, text=True)
    if "Breakpoint 1, stop_here" not in run.stdout:
        raise AssertionError(f"the program did not stop:\n{run.stdout}")
    return [part.strip() for part in run.stdout.split("\n@\n")[1:]]


class Printers(unittest.TestCase):
    def expect(self, expression, text):
        self.assertEqual(gdb(f"output {expression}"), [text])

    def test_a_null_offset_ptr(self):
        self.expect("values.null", "null")

    def test_pointers_show_their_target(self):
        row, *pointers = gdb("print &values.row", "output values.offset", "output values.default_offset",
                             "output values.fast")
        address = re.search(r"0x[0-9a-f]+", row)[0]
        self.assertEqual(pointers, [f"(ROW *) {address}", f"(const ROW *) {address}", f"(ROW *) {address}"])

    def test_a_pointer_that_was_never_assigned(self):
        self.expect("values.unassigned", "never assigned")

    def test_pointers_can_be_followed(self):
        self.assertEqual(gdb("output *$nyx_ptr(values.offset)", "output $nyx_ptr(values.fast)->number",
                             "output $nyx_ptr(values.null)"), ["{number = 42}", "42", "(void *) 0x0"])

    def test_following_something_else_is_refused(self):
        self.expect("$nyx_ptr(values.net_id)", "$nyx_ptr wants an offset_ptr or a NYX_FAST_OFFSET_PTR")

    def test_identifiers(self):
        self.assertEqual(gdb("output values.net_id", "output values.no_net_id"), ["7", "INVALID"])

    def test_name_identifiers_show_their_parts(self):
        self.assertEqual(gdb("output values.name_id", "output values.bus_name_id", "output values.no_name_id"),
                         ["name 12", "bus name 9, bit 5", "INVALID"])

    def test_raw_output_shows_the_stored_numbers(self):
        self.assertIn("m_offset = 1", gdb("output/r values.null")[0])


if __name__ == "__main__":
    NYX_GDB, PROGRAM = sys.argv[1:3]
    del sys.argv[1:3]
    unittest.main()
