#!/usr/bin/env python3
"""The workloads print what they promise, and their counts are right.

    workloads_test.py NYX SOURCE NYX_WORKLOADS
"""
import json
import pathlib
import subprocess
import sys

import cli_support
from cli_support import CommandTest, canonical_netlist

PROGRAM = str(pathlib.Path(sys.argv[3]).resolve())


class Workloads(CommandTest):
    def run_workload(self, *words):
        return subprocess.run([PROGRAM, "--folder", str(self.folder), "--json", *map(str, words)], stdout=subprocess.PIPE,
                              stderr=subprocess.PIPE, check=False)

    def figures(self, *words):
        done = self.run_workload(*words)
        self.assertEqual(done.returncode, 0, done.stderr.decode())
        self.assertEqual(self.names(), [])
        return {name: figure["value"] for name, figure in json.loads(done.stdout).items()}

    def expect_files(self, figures, workload):
        for name in ("save", "save.lz4", "save.raw", "load.read_only.open", "load.modify.open", "load.lz4.open",
                     "load.raw.open", "load.read_only.walk"):
            self.assertGreaterEqual(figures[f"{workload}.{name}"], 0)  # milliseconds, none for so little
            self.assertGreater(figures[f"{workload}.{name}.resident"], 0)
        self.assertLess(figures[f"{workload}.file"], figures[f"{workload}.file.lz4"])
        self.assertLess(figures[f"{workload}.file.lz4"], figures[f"{workload}.file.raw"])
        for load in ("read_only", "modify", "lz4", "raw"):
            self.assertEqual(figures[f"{workload}.load.{load}.inputs"], figures[f"{workload}.inputs"])

    def test_flat(self):
        figures = self.figures("flat", 1000)
        self.assertEqual((figures["flat.inputs"], figures["flat.found"]), (2250, 1e6))
        self.assertGreater(figures["flat.memory"], 0)
        self.assertIn("flat.edit", figures)
        self.expect_files(figures, "flat")

    def test_deep(self):
        self.assertEqual(self.figures("deep", 3, 4)["deep.paths"], 1 + 4 + 16 + 64)

    def test_netlist(self):
        figures = self.figures("netlist", self.soc())
        modules = canonical_netlist.load(self.soc())["modules"]
        cells = [cell for module in modules.values() for cell in module["cells"].values()]
        self.assertEqual(figures["netlist.cells"], len(cells))
        inputs = sum(len(bits) for cell in cells for port, bits in cell["connections"].items()
                     if cell["port_directions"][port] == "input")
        self.assertEqual(figures["netlist.inputs"], inputs)
        self.assertEqual(figures["netlist.found"], 1e6)
        self.expect_files(figures, "netlist")

    def test_numbers_are_checked(self):
        for word in ("0", "64", "abc", "-1", "65x"):
            done = self.run_workload("flat", word)
            self.assertEqual((done.returncode, done.stdout), (2, b""))
            self.assertEqual(done.stderr.decode(), f'nyx_workloads: "{word}" is no whole number from 65 to 1000000000\n')


if __name__ == "__main__":
    cli_support.main(sys.argv[1:3])
