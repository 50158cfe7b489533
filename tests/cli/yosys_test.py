#!/usr/bin/env python3
"""Yosys reads what the command exports, and finds the same netlist in it.

    yosys_test.py NYX SOURCE
"""
import re
import subprocess
import sys

import cli_support
from cli_support import CommandTest

GATES = r"read_verilog -icells {0}; hierarchy -top soc"


class Yosys(CommandTest):
    def setUp(self):
        super().setUp()
        self.nyx("import", self.soc(), "-o", "soc.nyx")
        self.nyx("export", "soc.nyx", "-f", "yosys-json", "-o", "back.json")
        self.nyx("export", "soc.nyx", "-f", "verilog", "-o", "back.v")
        (self.folder / "soc.json").write_bytes(
            subprocess.run(["zstd", "-dcq", self.soc()], stdout=subprocess.PIPE, check=True).stdout)

    def yosys(self, script):
        done = subprocess.run(["yosys", "-Q", "-T", "-p", script], cwd=self.folder, stdout=subprocess.PIPE,
                              stderr=subprocess.STDOUT, check=False)
        self.assertEqual(done.returncode, 0, done.stdout.decode()[-3000:])
        return done.stdout.decode()

    def count_cells(self, script):
        """The number of cells of each type in each module; wires are counted by their bits' names and may differ."""
        report = self.yosys(script + "; tee -o stat.txt stat")
        self.assertTrue(report)
        text = (self.folder / "stat.txt").read_text().split("=== design hierarchy ===")[0]
        modules = {}
        for part in re.split(r"^=== ", text, flags=re.M)[1:]:
            name, body = part.split(" ===", 1)
            cells = body.split("Number of cells:")[1].splitlines()
            modules[name] = sorted(line.split() for line in cells[1:] if line.split())
        return modules

    def test_counts_agree(self):
        expected = self.count_cells("read_json soc.json")
        self.assertGreater(len(expected), 10)
        self.assertEqual(self.count_cells("read_json back.json"), expected)
        self.assertEqual(self.count_cells(GATES.format("back.v")), expected)

    def test_the_verilog_is_equivalent(self):
        # Enables and resets become gates before flip-flops, which is what the prover knows. A register that keeps its
        # value takes an induction.
        for module in ("rv_align", "rv_decode", "interconnect"):
            sides = ""
            for side, read in (("gold", "read_json soc.json"), ("gate", "read_verilog -icells back.v")):
                sides += (f"{read}; hierarchy -top {module}; rename {module} {side}; dffunmap; simplemap; "
                          f"design -stash {side}; ")
            self.yosys(sides + "design -copy-from gold -as gold gold; design -copy-from gate -as gate gate; "
                       "equiv_make gold gate equiv; hierarchy -top equiv; equiv_simple; equiv_induct; equiv_status -assert")


if __name__ == "__main__":
    cli_support.main(sys.argv[1:])
