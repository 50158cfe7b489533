#!/usr/bin/env python3
"""The example programs run, and do what they say.

    examples_test.py NYX BUILD_NETLIST ANNOTATE WATCH
"""
import pathlib
import subprocess
import sys

import cli_support
from cli_support import CommandTest

PROGRAMS = [str(pathlib.Path(path).resolve()) for path in sys.argv[2:5]]


class Examples(CommandTest):
    def run_program(self, index, *arguments):
        return subprocess.run([PROGRAMS[index], *arguments], cwd=self.folder, stdout=subprocess.PIPE,
                              check=True).stdout.decode()

    def test_build_and_annotate(self):
        self.assertEqual(self.run_program(0, "r.nyx"), "register4: 10 ports, 8 instances, 14 nets\n")
        self.assertEqual(self.nyx("check", "r.nyx"), "r.nyx: sound\n")
        for _ in range(2):  # the traits are there the second time
            self.assertEqual(self.run_program(1, "r.nyx"),
                             "register4: 14 nets, the widest is en with a fan-out of 4; 4 of 8 instances store a bit\n")
        self.assertEqual(self.nyx("check", "r.nyx"), "r.nyx: sound\n")

    def test_watch(self):
        self.assertEqual(self.run_program(2), "After three: 3 BUF\nAfter one has gone: 2 BUF\n"
                                              "  u_0.Z on n\n  u_2.A on n\n")


if __name__ == "__main__":
    cli_support.main(sys.argv[1:2])
