#!/usr/bin/env python3
"""check_snippets.py notices programs that don't compile, fail, or print something else.

    check_snippets_test.py COMPILER
"""
import os
import subprocess
import sys
import tempfile
import unittest

COMPILER = None
CHECK_SNIPPETS = os.path.join(os.path.dirname(os.path.abspath(__file__)), "check_snippets.py")
HELLO = "```cpp program\n#include <cstdio>\nint main() { std::puts(\"hello\"); }\n```\n"


class CheckSnippets(unittest.TestCase):
    def check(self, text, *arguments):
        with tempfile.TemporaryDirectory() as folder:
            document = os.path.join(folder, "document.md")
            with open(document, "w", encoding="utf-8") as file:
                file.write(text)
            run = subprocess.run([sys.executable, CHECK_SNIPPETS, document, *arguments, "--", COMPILER, "-std=c++20"],
                                 capture_output=True, text=True)
            return run.returncode, (run.stdout + run.stderr).replace(document, "document.md")

    def test_accepts_a_program_and_its_output(self):
        self.assertEqual(self.check(f"# Title\n\n{HELLO}\nIt prints\n\n```text output\nhello\n```\n"), (0, ""))

    def test_does_not_look_at_illustrations(self):
        self.assertEqual(self.check(f"{HELLO}\n```cpp\nint x = ...;\n```\n```text\nanything\n```\n"), (0, ""))

    def test_refuses_another_output(self):
        status, text = self.check(f"{HELLO}```text output\nhullo\n```\n")
        self.assertEqual((status, text),
                         (1, "document.md:1: the program prints\nhello\nwhere the document says\nhullo\n\n"))

    def test_refuses_a_program_that_fails(self):
        status, text = self.check("text\n\n```cpp program\nint main() { return 3; }\n```\n")
        self.assertEqual((status, text), (1, "document.md:3: the program ends with 3:\n\n"))

    def test_refuses_a_program_that_does_not_compile_and_names_the_line(self):
        status, text = self.check("```cpp program\n\nint main() { return none; }\n```\n")
        self.assertEqual(status, 1)
        self.assertIn("document.md:3:", text)
        self.assertIn("'none'", text.replace("‘", "'").replace("’", "'"))

    def test_looks_at_every_program(self):
        status, text = self.check(f"{HELLO}\n```cpp program\nint main() {{ return 4; }}\n```\n{HELLO}```text output\n\n```\n")
        self.assertEqual(status, 1)
        self.assertIn("document.md:6: the program ends with 4", text)
        self.assertIn("document.md:9: the program prints", text)

    def test_refuses_a_document_without_programs_and_a_misspelt_block(self):
        self.assertEqual(self.check("```cpp\nint main() {}\n```\n"), (1, "document.md: no programs\n"))
        self.assertEqual(self.check("```cpp programme\nint main() {}\n```\n"),
                         (1, 'unknown kind of block "cpp programme"\n'))

    def test_gives_an_internal_program_the_headers_the_objects_and_their_macros_and_no_other_program(self):
        program = "```cpp program%s\n#include \"inner.h\"\nint main() { return inner() - MACRO; }\n```\n"
        with tempfile.TemporaryDirectory() as folder:
            source, archive = (os.path.join(folder, name) for name in ("inner.cpp", "inner.o"))
            for name, text in (("inner.h", "int inner();\n"), ("inner.cpp", "int inner() { return 7; }\n")):
                with open(os.path.join(folder, name), "w", encoding="utf-8") as file:
                    file.write(text)
            subprocess.run([COMPILER, "-c", source, "-o", archive], check=True)
            shared = os.path.join(folder, "replaced.so")
            arguments = ("--library", shared, "--internal", archive, folder, "MACRO=7")
            self.assertEqual(self.check(program % " internal", *arguments), (0, ""))
            status, text = self.check(program % "", *arguments)
        self.assertEqual(status, 1)
        self.assertIn("document.md:1: the program does not compile", text)
        self.assertIn("inner.h", text)


if __name__ == "__main__":
    COMPILER = sys.argv.pop(1)
    unittest.main()
