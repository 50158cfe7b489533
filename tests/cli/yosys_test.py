#!/usr/bin/env python3
"""Yosys reads what the command exports, and finds the same netlist in it.

    yosys_test.py NYX SOURCE
"""
import json
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

    def test_names_that_meet_in_verilog_are_kept_apart(self):
        # A net and a cell of one name, names that differ in white space only, names that others are made of.
        clash = {"modules": {
            "a b": {"attributes": {}, "ports": {"p q": {"direction": "input", "bits": [2]},
                                                "p_q": {"direction": "output", "bits": [3]}},
                    "cells": {"n": self.cell("$_NOT_", {"A": [2], "Y": [4]}), "x y": self.cell("$_NOT_", {"A": [4], "Y": [5]}),
                              "x_y": self.cell("$_NOT_", {"A": [5], "Y": [6]}),
                              "last": self.cell("$_AND_", {"A": [6], "B": [7], "Y": [3]})},
                    "netnames": {name: {"hide_name": 0, "bits": [bit], "attributes": {}} for name, bit in
                                 (("p q", 2), ("p_q", 3), ("n", 4), ("m n", 5), ("m_n", 6), ("$open$9", 6))}},
            "a_b": {"attributes": {"top": "1"}, "ports": {"i": {"direction": "input", "bits": [2]},
                                                          "o": {"direction": "output", "bits": [3]},
                                                          "tied": {"direction": "input", "bits": ["1"]}},
                    "cells": {"u": {**self.cell("a b", {"p q": [2], "p_q": [4]}),
                                    "port_directions": {"p q": "input", "p_q": "output"}},
                              "v": self.cell("$_AND_", {"A": ["1"], "B": [4], "Y": [3]})},
                    "netnames": {name: {"hide_name": 0, "bits": [bit], "attributes": {}}
                                 for name, bit in (("i", 2), ("o", 3), ("tied", "1"))}}}}
        self.write("clash.json", json.dumps(clash))
        self.nyx("import", "clash.json", "-o", "clash.nyx")
        code, verilog, warnings = self.run_nyx("export", "clash.nyx", "-f", "verilog")
        self.assertEqual(code, 0)
        self.write("clash.v", verilog)
        self.assertIn('"x y" is written as "x_y": Verilog has no names with white space\n', warnings)
        self.assertEqual(len(warnings.splitlines()), len(set(warnings.splitlines())))
        self.yosys("read_verilog -icells clash.v; hierarchy -check -top a_b; flatten; write_json back2.json")
        flat = json.loads((self.folder / "back2.json").read_text())["modules"]["a_b"]
        # From o back to i: the gates, the tied input of the last one, and the open one of that in the lower module.
        driver = {cell["connections"]["Y"][0]: cell for cell in flat["cells"].values()}
        last = driver[flat["ports"]["o"]["bits"][0]]
        self.assertEqual((last["type"], last["connections"]["A"]), ("$_AND_", ["1"]))
        inner = driver[last["connections"]["B"][0]]
        self.assertEqual(inner["type"], "$_AND_")
        self.assertNotIn(inner["connections"]["B"][0], driver)
        bit = inner["connections"]["A"][0]
        for _ in range(3):
            self.assertEqual(driver[bit]["type"], "$_NOT_")
            bit = driver[bit]["connections"]["A"][0]
        self.assertEqual(bit, flat["ports"]["i"]["bits"][0])

    @staticmethod
    def cell(kind, connections):
        return {"hide_name": 0, "type": kind, "parameters": {}, "attributes": {}, "connections": connections,
                "port_directions": {port: "output" if port == "Y" else "input" for port in connections}}

    def test_the_verilog_is_equivalent(self):
        # Module by module, each with what it uses as black boxes: so all of the design is. Enables and resets become
        # gates before flip-flops, which is what the prover knows; a register that keeps its value takes an induction.
        modules = json.loads((self.folder / "soc.json").read_text())["modules"]
        filled = [name for name, module in modules.items() if module["cells"]]
        self.assertGreater(len(filled), 10)
        for module in filled:
            script = ""
            for side, read in (("gold", "read_json soc.json"), ("gate", "read_verilog -icells back.v")):
                script += (f"{read}\nhierarchy -top {module}\nrename -top {side}\ndffunmap\nsimplemap\n"
                           f"design -stash {side}\n")
            script += ("design -copy-from gold -as gold gold\ndesign -copy-from gate -as gate gate\n"
                       "equiv_make gold gate equiv\nhierarchy -top equiv\nequiv_simple\nequiv_induct\n"
                       "equiv_status -assert\n")
            self.write("prove.ys", script)  # a script's lines take names that an argument would be cut at
            with self.subTest(module=module):
                self.assertIn("Equivalence successfully proven!", self.yosys("script prove.ys"))

    def test_an_unequal_netlist_is_found(self):
        """The proof above can fail."""
        text = (self.folder / "back.v").read_text()
        at = text.index("$_AND_", text.index("module rv_align"))
        self.write("wrong.v", text[:at] + "$_OR_" + text[at + len("$_AND_"):])
        with self.assertRaises(AssertionError):
            self.yosys("read_json soc.json; hierarchy -top rv_align; rename -top gold; design -stash gold; "
                       "read_verilog -icells wrong.v; hierarchy -top rv_align; rename -top gate; design -stash gate; "
                       "design -copy-from gold -as gold gold; design -copy-from gate -as gate gate; "
                       "equiv_make gold gate equiv; hierarchy -top equiv; equiv_simple; equiv_status -assert")


if __name__ == "__main__":
    cli_support.main(sys.argv[1:])
