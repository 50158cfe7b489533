#!/usr/bin/env python3
"""The command does what its help says: whole outputs and exit codes.

    command_test.py NYX SOURCE
"""
import json
import os
import re
import signal
import subprocess
import sys

import cli_support
from cli_support import CommandTest, canonical_netlist

SMALL = {
    "modules": {
        "half": {
            "attributes": {"src": "half.v:1.1-9.10"},
            "ports": {"a": {"direction": "input", "bits": [2]}, "b": {"direction": "input", "bits": [3]},
                      "s": {"direction": "output", "bits": [4]}, "c": {"direction": "output", "bits": [5]}},
            "cells": {
                "x": {"hide_name": 0, "type": "XOR", "parameters": {}, "attributes": {},
                      "port_directions": {"A": "input", "B": "input", "Z": "output"},
                      "connections": {"A": [2], "B": [3], "Z": [4]}},
                "n": {"hide_name": 0, "type": "AND", "parameters": {}, "attributes": {},
                      "port_directions": {"A": "input", "B": "input", "Z": "output"},
                      "connections": {"A": [2], "B": [3], "Z": [5]}}},
            "netnames": {name: {"hide_name": 0, "bits": [bit], "attributes": {}}
                         for name, bit in (("a", 2), ("b", 3), ("s", 4), ("c", 5))}},
        "top": {
            "attributes": {"top": "00000000000000000000000000000001"},
            "ports": {"in": {"direction": "input", "bits": [2, 3]}, "out": {"direction": "output", "bits": [4, 5]}},
            "cells": {"u": {"hide_name": 0, "type": "half", "parameters": {}, "attributes": {"keep": "1"},
                            "port_directions": {"a": "input", "b": "input", "s": "output", "c": "output"},
                            "connections": {"a": [2], "b": [3], "s": [4], "c": [5]}}},
            "netnames": {"in": {"hide_name": 0, "bits": [2, 3], "attributes": {}},
                         "out": {"hide_name": 0, "bits": [4, 5], "attributes": {}},
                         "sum": {"hide_name": 0, "bits": [4], "attributes": {"note": "further"}}}}}}

# Everything that a netlist may hold and that is easy to lose.
ODD_NAMES = ["plain", "data[7]", "data[300]", "data[-1]", "a[003]", "a[3]", "[5]", "with space", "slash/and|bar.dot",
             "back\\slash", "ends\\", "$internal$1", "\u00e9\u4e2d", "quote\"s", "x" * 1000, "tab\there", "a.b", "*", "?"]


def odd_netlist():
    bits = range(2, 2 + len(ODD_NAMES))
    cell = {"hide_name": 1, "type": "$cell\\odd", "attributes": {"@a": "0101 ", "text[03]": "t[007]", "empty": ""},
            "parameters": {"P": "01xz", "Q": "x" * 40, "R": 5, "S": -7, "T": "a string", "@a": "1", "\\b": "0"},
            "port_directions": {"A": "input", "Y": "output"}, "connections": {"A": ["0", "1", "x", "z"], "Y": []}}
    ports = {"clk": {"direction": "input", "bits": [1000]},
             "up": {"direction": "inout", "bits": [1001, 1002], "upto": 1, "offset": 5},
             "neg": {"direction": "output", "bits": [1003, "0", 1003], "offset": -2, "signed": 1},
             "one": {"direction": "input", "bits": [1004], "offset": 7}}
    names = {name: {"hide_name": index % 2, "bits": [bit], "attributes": {}}
             for index, (name, bit) in enumerate(zip(ODD_NAMES, bits))}
    names.update({name: {"hide_name": 0, "attributes": {"src": f"{name}.v:3"},
                         **{key: value for key, value in port.items() if key != "direction"}}
                  for name, port in ports.items()})
    names["alias"] = {"hide_name": 1, "bits": [5, 4, 3, "1", 1001, 1002, 2], "offset": 3, "attributes": {"init": "0x1"}}
    names["twice"] = {"hide_name": 0, "bits": [1000], "attributes": {"src": "no line"}}
    names["three hundred"] = {"hide_name": 0, "bits": list(range(5000, 5300)), "attributes": {}}
    cells = {name: dict(cell, connections={"A": [bit, bit, "x", bit + 1], "Y": [bit]}) for name, bit in
             zip(ODD_NAMES, bits)}
    cells["bare"] = {"hide_name": 0, "type": "$cell\\odd", "parameters": {}, "attributes": {}, "connections": {"Y": []}}
    cells["box"] = {"hide_name": 0, "type": "the box", "parameters": {}, "attributes": {},
                    "port_directions": {"p": "input"}, "connections": {"p": [1004, 1004, 5007]}}
    # Ports on constants, an index that counts upwards in one bit, directions told in part, names that are made up too.
    ports.update({"tied low": {"direction": "input", "bits": ["0"]}, "tied": {"direction": "inout", "bits": ["1", "z"]},
                  "up one": {"direction": "input", "bits": [1005], "upto": 1},
                  "up seven": {"direction": "output", "bits": [1006], "upto": 1, "offset": 7}})
    names.update({"up name": {"hide_name": 0, "bits": [1007], "upto": 1, "attributes": {}},
                  "1'b0": {"hide_name": 0, "bits": [1008], "attributes": {}},
                  "also 1'b0": {"hide_name": 0, "bits": [1008], "attributes": {}},
                  "$bit$1009": {"hide_name": 1, "bits": [1010], "attributes": {}},
                  "nothing": {"hide_name": 1, "bits": [], "offset": 3, "upto": 1, "signed": 1, "attributes": {"a": "b"}}})
    part = {"hide_name": 0, "type": "part", "parameters": {"long": 18446744073709551615, "real": 1e300, "half": 0.5},
            "attributes": {}, "connections": {"A": [1009], "B": [1008]}}
    cells.update({"more": dict(part, port_directions={"A": "input", "B": "input", "not connected": "output"}),
                  "fewer": dict(part, port_directions={"A": "input"}),
                  "no direction": dict(part, port_directions={})})
    box = {"attributes": {"blackbox": "1"}, "parameter_default_values": {"W": "0" * 31 + "1"},
           "ports": {"p": {"direction": "input", "bits": [2, 3, 4]}, "q": {"direction": "output", "bits": [5]}},
           "cells": {}, "netnames": {"p": {"hide_name": 0, "bits": [2, 3, 4], "attributes": {"src": "box.v:2.1-2.4"}}}}
    return {"modules": {"a/top": {"attributes": {"top": 1, "src": "top.v:1.1-2.2|other.v:3"}, "ports": ports,
                                  "cells": cells, "netnames": names}, "the box": box,
                        "unused box": dict(box, netnames={})}}


class Import(CommandTest):
    def test_tells_what_it_made(self):
        self.write("small.json", json.dumps(SMALL))
        code, out, err = self.run_nyx("import", "small.json", "-o", "small.nyx")
        self.assertEqual((code, out), (0, ""))
        self.assertRegex(err, r"^nyx: small\.nyx: 2 modules, 3 cells, top top, [0-9.]+ KiB\n$")

    def test_reads_packed_files_and_standard_input(self):
        text = json.dumps(SMALL).encode()
        (self.folder / "a.json.gz").write_bytes(subprocess.run(["gzip", "-c"], input=text, stdout=-1, check=True).stdout)
        (self.folder / "a.json.zst").write_bytes(subprocess.run(["zstd", "-c"], input=text, stdout=-1, check=True).stdout)
        for arguments, stdin in ((["a.json.gz"], None), (["a.json.zst"], None), (["-"], text), ([], text)):
            self.nyx("import", *arguments, "-o", "a.nyx", stdin=stdin)
            self.assertEqual(canonical_netlist.compare(SMALL, json.loads(self.nyx("export", "a.nyx"))), [])
            (self.folder / "a.nyx").unlink()

    def test_everything_comes_back(self):
        odd = odd_netlist()
        self.write("odd.json", json.dumps(odd))
        self.nyx("import", "odd.json", "-o", "odd.nyx")
        self.assertEqual(canonical_netlist.compare(odd, json.loads(self.nyx("export", "odd.nyx"))), [])

    def test_a_netlist_without_a_marked_top_comes_back_without(self):
        unmarked = {"modules": {name: dict(module, attributes={}) for name, module in SMALL["modules"].items()}}
        self.write("in.json", json.dumps(unmarked))
        self.nyx("import", "in.json", "-o", "a.nyx")
        self.assertEqual(canonical_netlist.compare(unmarked, json.loads(self.nyx("export", "a.nyx"))), [])
        self.assertNotIn("top =", self.nyx("export", "a.nyx", "-f", "verilog"))
        self.nyx("import", "in.json", "-o", "a.nyx", "--top", "half")
        back = json.loads(self.nyx("export", "a.nyx"))["modules"]
        self.assertEqual([name for name in back if "top" in back[name]["attributes"]], ["half"])
        self.assertIn("(* top = ", self.nyx("export", "a.nyx", "-f", "verilog"))

    def test_everything_comes_back_from_a_library(self):
        odd = odd_netlist()
        self.write("odd.json", json.dumps(odd))
        self.nyx("import", "odd.json", "-o", "odd.nyx", "--library", "cells")
        self.assertEqual((self.folder / "nyx.paths").read_text(), "DEFINE cells cells.nyx\n")
        self.assertEqual(canonical_netlist.compare(odd, json.loads(self.nyx("export", "odd.nyx"))), [])
        self.assertIn("component library", self.nyx("info", "cells.nyx"))

    def test_the_paths_file_keeps_its_other_lines(self):
        self.write("small.json", json.dumps(SMALL))
        self.write("nyx.paths", "# ours\nDEFINE other other.nyx\nDEFINE cells old.nyx\n")
        self.nyx("import", "small.json", "-o", "small.nyx", "--library", "cells")
        self.assertEqual((self.folder / "nyx.paths").read_text(),
                         "# ours\nDEFINE other other.nyx\nDEFINE cells cells.nyx\n")

    def test_the_example_comes_back(self):
        self.nyx("import", self.soc(), "-o", "soc.nyx")
        self.nyx("export", "soc.nyx", "-o", "back.json.zst")
        self.assertEqual(canonical_netlist.compare(canonical_netlist.load(self.soc()),
                                                   canonical_netlist.load(str(self.folder / "back.json.zst"))), [])

    def test_faults_leave_what_was_there(self):
        self.write("bad.json", '{"modules": {"m": {"cells": {"u": {"type": "T", "connections": {"A": ["q"]}}}}}}')
        self.write("good.json", json.dumps(SMALL))
        self.nyx("import", "good.json", "-o", "a.nyx")
        before = (self.folder / "a.nyx").read_bytes()
        self.expect(["import", "bad.json", "-o", "a.nyx"], 2, "",
                    'nyx: bad.json:1: /modules/m/cells/u/connections/A/0: a bit is a number, "0", "1", "x" or "z", '
                    'not "q"\n')
        self.expect(["import", "none.json", "-o", "a.nyx"], 2, "",
                    "nyx: none.json: can't be opened: No such file or directory\n")
        self.assertEqual((self.folder / "a.nyx").read_bytes(), before)
        self.assertEqual(sorted(path.name for path in self.folder.iterdir()), ["a.nyx", "bad.json", "good.json"])

    def test_a_netlist_that_does_not_fit_says_so(self):
        self.expect(["import", self.soc(), "-o", "a.nyx", "--size", "2"], 2, "",
                    "nyx: a.nyx: the netlist does not fit in 2 MiB; give it more with --size\n")
        self.assertEqual(list(self.folder.iterdir()), [])

    def test_sizes_that_no_database_has_are_refused(self):
        self.write("small.json", json.dumps(SMALL))
        for size in ("-1", "0", "1.5", "99999999999999999999", str(1 << 40), str((16 << 20) + 1)):
            self.expect_trouble(["import", "small.json", "-o", "a.nyx", "--size", size],
                                f'--size: "{size}" is no whole number from 1 to 16777216; see `nyx import --help`')
        self.assertEqual(self.names(), ["small.json"])
        self.nyx("import", "small.json", "-o", "a.nyx", "--size", str(16 << 20))

    def test_a_library_that_is_there_is_left_alone(self):
        self.write("small.json", json.dumps(SMALL))
        self.nyx("import", "small.json", "-o", "one.nyx", "--library", "cells")
        before = (self.folder / "cells.nyx").read_bytes()
        self.expect_trouble(["import", self.soc(), "-o", "two.nyx", "--library", "cells"],
                            r"cells\.nyx: is there already, and other designs may use it; choose another name, or replace "
                            "it with --force")
        self.assertEqual((self.folder / "cells.nyx").read_bytes(), before)
        self.expect_trouble(["import", self.soc(), "-o", "two.nyx", "--library", "one", "--force"],
                            r"one\.nyx: is there already and no component library; choose another name")
        self.assertEqual(self.names(), ["cells.nyx", "nyx.paths", "one.nyx", "small.json"])
        self.assertEqual(self.nyx("check", "one.nyx"), "one.nyx: sound\n")
        self.nyx("import", "small.json", "-o", "one.nyx", "--library", "cells", "--force")
        self.assertEqual(self.nyx("check", "one.nyx"), "one.nyx: sound\n")

    def test_a_target_that_can_not_be_written_leaves_all_as_it_was(self):
        self.write("small.json", json.dumps(SMALL))
        self.nyx("import", "small.json", "-o", "one.nyx", "--library", "cells")
        (self.folder / "d.nyx").mkdir()
        before = {name: (self.folder / name).read_bytes() for name in ("cells.nyx", "nyx.paths", "one.nyx")}
        self.expect_trouble(["import", self.soc(), "-o", "d.nyx", "--library", "cells", "--force"],
                            r"d\.nyx: is a directory")
        (self.folder / "nyx.paths").unlink()
        (self.folder / "nyx.paths").mkdir()  # the library and the design could be written
        self.expect_trouble(["import", self.soc(), "-o", "two.nyx", "--library", "cells", "--force"],
                            r"nyx\.paths: is a directory")
        (self.folder / "nyx.paths").rmdir()
        (self.folder / "nyx.paths").write_bytes(before["nyx.paths"])
        self.assertEqual({name: (self.folder / name).read_bytes() for name in before}, before)
        self.assertEqual(self.names(), ["cells.nyx", "d.nyx", "nyx.paths", "one.nyx", "small.json"])

    def test_a_database_needs_a_name(self):
        self.write("small.json", json.dumps(SMALL))
        for name in ("", ".nyx", "./", "."):
            self.expect_trouble(["import", "small.json", "-o", name], f'"{re.escape(name)}": a database needs a name')
        self.assertEqual(self.names(), ["small.json"])

    def test_a_link_stays_a_link(self):
        self.write("small.json", json.dumps(SMALL))
        self.nyx("import", "small.json", "-o", "real.nyx")
        (self.folder / "link.nyx").symlink_to("real.nyx")
        self.nyx("import", self.soc(), "-o", "link.nyx")
        self.assertTrue((self.folder / "link.nyx").is_symlink())
        self.assertIn("soc", self.nyx("tree", "real.nyx", "--depth", "0"))

    def test_interrupts_leave_nothing(self):
        self.nyx("import", self.soc(), "-o", "soc.nyx")
        os.mkfifo(self.folder / "in")
        for arguments in (["import", "in", "-o", "a.nyx"], ["export", "soc.nyx", "-o", "out.json"]):
            for sent in (signal.SIGINT, signal.SIGTERM):
                with subprocess.Popen([cli_support.NYX, *arguments], cwd=self.folder, stderr=subprocess.PIPE) as run:
                    if arguments[0] == "import":
                        with open(self.folder / "in", "wb") as pipe:
                            pipe.write(b'{"modules": {')
                            pipe.flush()
                            run.send_signal(sent)
                            run.wait()
                    else:
                        while not any(".part" in name for name in self.names()) and run.poll() is None:
                            pass
                        run.send_signal(sent)
                        run.wait()
                self.assertIn(run.returncode, (-sent, 0))
                self.assertLessEqual(set(self.names()), {"in", "out.json", "soc.nyx"})

    def test_hierarchies_may_be_deep(self):
        levels = 30000
        modules = {f"m{i}": {"cells": {"u": {"type": f"m{i + 1}", "connections": {}}}} for i in range(levels)}
        modules[f"m{levels}"] = {"netnames": {"w": {"bits": [2]}}}
        self.write("deep.json", json.dumps({"modules": modules}))
        self.nyx("import", "deep.json", "-o", "deep.nyx")
        self.assertEqual(self.nyx("find", "deep.nyx", "**/w", "--count"), "1\n")
        self.assertIn(f" {levels}\n", self.nyx("info", "deep.nyx", "--counts"))
        for options in ([], ["--json"]):
            run = subprocess.run([cli_support.NYX, "tree", "deep.nyx", *options], cwd=self.folder, check=True,
                                 stdout=subprocess.DEVNULL)
            self.assertEqual(run.returncode, 0)


class Look(CommandTest):
    def setUp(self):
        super().setUp()
        self.write("small.json", json.dumps(SMALL))
        self.nyx("import", "small.json", "-o", "small.nyx")

    def test_tree(self):
        self.assertEqual(self.nyx("tree", "small.nyx"), "top\n\u2514\u2500 half\n   \u2514\u2500 2 leaves of 2 kinds\n")
        self.assertEqual(self.nyx("tree", "small.nyx", "--leaves", "--top", "half"),
                         "half\n\u251c\u2500 XOR\n\u2514\u2500 AND\n")
        self.assertEqual(self.nyx("tree", "small.nyx", "--depth", "0"), "top\n")

    def test_tree_as_json(self):
        self.assertEqual(json.loads(self.nyx("tree", "small.nyx", "--json")),
                         {"module": "top", "leaf": False,
                          "uses": [{"module": "half", "leaf": False, "leaves": 2, "leaf_kinds": 2, "uses": [],
                                    "count": 1}]})

    def fold(self):
        """A module that is used directly, and at three levels below another."""
        uses = {"top": ["A", "M"], "A": ["B"], "B": ["M"], "M": ["N"], "N": ["P"], "P": ["leaf"]}
        self.write("fold.json", json.dumps({"modules": {
            name: {"cells": {f"u{i}": {"type": base, "connections": {}} for i, base in enumerate(bases)}}
            for name, bases in uses.items()}}))
        self.nyx("import", "fold.json", "-o", "fold.nyx")

    def test_tree_opens_a_module_where_it_comes_first(self):
        self.fold()
        self.assertEqual(self.nyx("tree", "fold.nyx"),
                         "top\n\u251c\u2500 A\n\u2502  \u2514\u2500 B\n\u2502     \u2514\u2500 M\n"
                         "\u2502        \u2514\u2500 N\n\u2502           \u2514\u2500 P\n"
                         "\u2502              \u2514\u2500 1 leaf of 1 kind\n\u2514\u2500 M (see above)\n")

    def test_tree_opens_again_what_the_depth_cut(self):
        self.fold()
        self.assertEqual(self.nyx("tree", "fold.nyx", "-d", "4"),
                         "top\n\u251c\u2500 A\n\u2502  \u2514\u2500 B\n\u2502     \u2514\u2500 M\n"
                         "\u2502        \u2514\u2500 N\n\u2514\u2500 M\n   \u2514\u2500 N\n      \u2514\u2500 P\n"
                         "         \u2514\u2500 1 leaf of 1 kind\n")

    def test_tree_says_the_same_as_json(self):
        self.fold()

        def read(node, indent=""):
            parts = [(part["module"] + (" (see above)" if part.get("folded") else ""), part) for part in node.get("uses", [])]
            if "leaves" in node:
                parts.append(("1 leaf of 1 kind", {}))
            text = ""
            for index, (line, part) in enumerate(parts):
                is_last = index + 1 == len(parts)
                text += indent + ("\u2514\u2500 " if is_last else "\u251c\u2500 ") + line + "\n"
                text += read(part, indent + ("   " if is_last else "\u2502  "))
            return text
        for depth in ([], *(["--depth", str(depth)] for depth in range(8))):
            for unfold in ([], ["--unfold"]):
                tree = json.loads(self.nyx("tree", "fold.nyx", "--json", *depth, *unfold))
                self.assertEqual("top\n" + read(tree), self.nyx("tree", "fold.nyx", *depth, *unfold))

    def test_counts(self):
        self.assertEqual(self.nyx("info", "small.nyx", "--counts").split("\n\n")[1],
                         "MODULE    CELLS LEAVES NETS PORT BITS PIN BITS UNFOLDED DEPTH\n"
                         "half          2      2    4         4        6        2     1\n"
                         "top (top)     1      0    4         4        4        3     2\n"
                         "total         3      2    8         8       10        3     2\n")

    def test_counts_are_those_of_the_netlist(self):
        self.nyx("import", self.soc(), "-o", "soc.nyx")
        expected = canonical_netlist.count(canonical_netlist.load(self.soc()))
        counted = json.loads(self.nyx("info", "soc.nyx", "--counts", "--json"))[0]["modules"]
        counted = {module["name"]: module for module in counted if module["kind"] != "undefined"}
        self.assertEqual(counted.keys(), expected.keys())
        for name, counts in expected.items():
            self.assertEqual({key: counted[name][key] for key in counts}, counts, name)

    def test_find(self):
        self.expect(["find", "small.nyx", "u/x"], 0, "instance  u/x  XOR\n", "")
        self.expect(["find", "small.nyx", "u/?", "--type", "port"], 0,
                    "port      u/a  input\nport      u/b  input\nport      u/s  output\nport      u/c  output\n", "")
        self.expect(["find", "small.nyx", "**/A"], 1, "", "")
        self.expect(["find", "small.nyx", "in[*]", "--type", "net", "--connections"], 0,
                    "net       in[0]  2 connections\n            in[0] (input)\n            u/a (input)\n"
                    "net       in[1]  2 connections\n            in[1] (input)\n            u/b (input)\n", "")
        self.expect(["find", "small.nyx", "**/*", "--count"], 0, "19\n", "")
        self.expect(["find", "small.nyx", "**/*", "--limit", "1"], 0, "instance  u  half\n",
                    "nyx: stopped after 1 object; --limit gives more\n")
        self.expect(["find", "small.nyx", "u", "*", "-t", "instance"], 0, "instance  u  half\n", "")

    def test_find_by_further_names(self):
        self.expect(["find", "small.nyx", "su?", "-c"], 0,
                    "net       sum  = out[0], 2 connections\n            out[0] (output)\n            u/s (output)\n", "")
        self.assertEqual(json.loads(self.nyx("find", "small.nyx", "sum", "--json", "-c")),
                         [{"type": "net", "path": "sum", "net": "out[0]", "supply": None, "connections_count": 2,
                           "connections": [{"pin": "out[0]", "direction": "output"},
                                           {"instance": "u", "pin": "s", "direction": "output"}]}])

    def test_find_finds_by_the_paths_that_it_prints(self):
        self.write("odd.json", json.dumps(odd_netlist()))
        self.nyx("import", "odd.json", "-o", "odd.nyx")
        for kind in ("instance", "net", "port"):
            lines = self.nyx("find", "odd.nyx", "*", "--type", kind).splitlines()
            self.assertGreater(len(lines), 5)
            for line in lines:
                path = line[10:].split("  ")[0]
                self.assertEqual(self.nyx("find", "odd.nyx", path, "--type", kind), line + "\n")
        self.assertEqual(self.nyx("find", "odd.nyx", "??", "-t", "instance", "--count"), "1\n")

    def test_find_as_json(self):
        self.assertEqual(json.loads(self.nyx("find", "small.nyx", "u/n", "--json", "--connections")),
                         [{"type": "instance", "path": "u/n", "module": "AND",
                           "connections": [{"pin": "A", "direction": "input", "net": "a"},
                                           {"pin": "B", "direction": "input", "net": "b"},
                                           {"pin": "Z", "direction": "output", "net": "c"}]}])

    def test_info_reads_the_header(self):
        info = json.loads(self.nyx("info", "small.nyx", "--json"))[0]
        self.assertEqual((info["type"], info["readable"], info["compression"]), ("design", True, "Zstandard"))
        self.assertEqual(info["bytes"], (self.folder / "small.nyx").stat().st_size)

    def test_stats_add_up(self):
        stats = json.loads(self.nyx("stats", "small.nyx", "--json"))
        for table in stats["tables"]:
            self.assertEqual(table["bytes"], sum(column["bytes"] for column in table["columns"]))
        total = sum(table["bytes"] for table in stats["tables"])
        self.assertLessEqual(total, stats["used_bytes"])
        self.assertGreater(total, stats["used_bytes"] * 0.9)
        self.assertIn("NYX_NET", self.nyx("stats", "small.nyx", "--columns"))

    def test_check(self):
        self.expect(["check", "small.nyx"], 0, "small.nyx: sound\n", "")
        self.assertEqual(json.loads(self.nyx("check", "small.nyx", "--json")), [{"file": "small.nyx", "faults": []}])

    def test_check_goes_on_after_a_damaged_file(self):
        data = bytearray((self.folder / "small.nyx").read_bytes())
        (self.folder / "cut.nyx").write_bytes(data[:len(data) // 2])
        (self.folder / "empty.nyx").write_bytes(b"")
        self.expect(["check", "cut.nyx", "empty.nyx", "small.nyx"], 1,
                    'cut.nyx: fault: NYX database "cut.nyx" is corrupted\nempty.nyx: fault: the file is empty\n'
                    "small.nyx: sound\n", "")
        self.expect(["check", "cut.nyx", "none.nyx", "small.nyx"], 2,
                    'cut.nyx: fault: NYX database "cut.nyx" is corrupted\nsmall.nyx: sound\n',
                    "nyx: none.nyx: can't be read: No such file or directory\n")
        code, out, _ = self.run_nyx("check", "cut.nyx", "none.nyx", "small.nyx", "--json")
        self.assertEqual(code, 2)
        self.assertEqual(json.loads(out), [{"file": "cut.nyx", "faults": ['NYX database "cut.nyx" is corrupted']},
                                           {"file": "none.nyx",
                                            "error": "none.nyx: can't be read: No such file or directory"},
                                           {"file": "small.nyx", "faults": []}])
        for verb in ("tree", "stats", "export"):
            self.expect_trouble([verb, "cut.nyx"], r".*cut\.nyx.*")

    def test_a_missing_library_is_told(self):
        self.nyx("import", "small.json", "-o", "one.nyx", "--library", "cells")
        (self.folder / "cells.nyx").unlink()
        self.expect_trouble(["check", "one.nyx"], ".*cells.*")


class Files(CommandTest):
    def setUp(self):
        super().setUp()
        self.write("small.json", json.dumps(SMALL))
        self.nyx("import", "small.json", "-o", "small.nyx")

    def test_clone_renames_the_top(self):
        self.expect(["clone", "small.nyx", "other.nyx"], 0, "", "nyx: other.nyx: a copy of small.nyx\n")
        self.assertEqual(self.nyx("tree", "other.nyx", "--depth", "0"), "other\n")
        self.expect(["clone", "small.nyx", "other.nyx"], 2, "", "nyx: other.nyx: is there already; --force replaces it\n")
        self.assertEqual(json.loads(self.nyx("clone", "small.nyx", "other.nyx", "--force", "--json")),
                         {"file": "other.nyx", "copy_of": "small.nyx"})

    def test_a_clone_that_fails_leaves_its_target(self):
        self.nyx("clone", "small.nyx", "half_old")
        before = (self.folder / "half_old.nyx").read_bytes()
        self.nyx("import", "small.json", "-o", "lib.nyx", "--library", "cells")
        (self.folder / "cut.nyx").write_bytes(before[:len(before) // 2])
        (self.folder / "half.nyx").write_bytes(before)
        names = self.names()
        self.expect_trouble(["clone", "small.nyx", "half", "--force"],
                            'small.nyx: has a module "half" already, so its top can\'t get that name')
        self.expect_trouble(["clone", "cut.nyx", "half", "-f"], r'.*"cut\.nyx" is corrupted')
        self.expect_trouble(["clone", "cells.nyx", "half", "-f"],
                            r"cells\.nyx: is a component library; only designs are cloned")
        self.expect_trouble(["clone", "none", "half", "-f"], r'There is no database file "none\.nyx"\.')
        self.assertEqual((self.folder / "half.nyx").read_bytes(), before)
        self.assertEqual(self.names(), names)

    def test_a_clone_goes_to_other_folders_and_from_protected_files(self):
        (self.folder / "sub").mkdir()
        self.nyx("import", "small.json", "-o", "lib.nyx", "--library", "cells")
        (self.folder / "small.nyx").chmod(0o444)
        self.nyx("clone", "small.nyx", "sub/other")
        self.assertEqual(self.nyx("tree", "sub/other.nyx", "--depth", "0"), "other\n")
        self.nyx("clone", "lib.nyx", "lib2")
        self.assertEqual(self.nyx("check", "lib2.nyx"), "lib2.nyx: sound\n")

    def test_resize(self):
        self.nyx("resize", "small.nyx", "--to", "512")
        self.assertEqual(json.loads(self.nyx("resize", "small.nyx", "--json"))["room_bytes"], 512 << 20)
        self.nyx("resize", "small.nyx", "--by", "88")
        self.assertEqual(json.loads(self.nyx("resize", "small.nyx", "--json"))["room_bytes"], 600 << 20)
        self.expect(["resize", "small.nyx", "--by", "1", "--to", "2"], 2, "", "nyx: give --to or --by, not both\n")
        self.assertEqual(self.nyx("tree", "small.nyx", "--depth", "0"), "top\n")

    def test_resize_refuses_what_no_database_can_have(self):
        for option in ("--to", "--by"):
            for size in ("-5", "0", str((16 << 20) + 1), str(1 << 40)):
                self.expect_trouble(["resize", "small.nyx", option, size],
                                    f'{option}: "{size}" is no whole number from 1 to 16777216; see `nyx resize --help`')
        self.expect_trouble(["resize", "small.nyx", "--by", str(16 << 20)], r"small\.nyx: can't have more than 16777216 MiB")
        self.nyx("import", self.soc(), "-o", "soc.nyx")
        self.expect_trouble(["resize", "soc.nyx", "--to", "1"], r"soc\.nyx: needs at least [2-9] MiB")
        self.nyx("resize", "soc.nyx", "--to", "10")
        self.nyx("clone", "soc.nyx", "other")

    def test_rm_removes_all_or_none(self):
        self.expect_trouble(["rm", "small.nyx", "none.nyx"], r".*none\.nyx.*")
        self.assertTrue((self.folder / "small.nyx").exists())

    def test_rm_removes_databases_only(self):
        code, _, err = self.run_nyx("rm", "small.json.nyx")
        self.assertEqual(code, 2, err)
        self.nyx("rm", "small.nyx")
        self.assertFalse((self.folder / "small.nyx").exists())
        self.assertTrue((self.folder / "small.json").exists())
        self.assertEqual(json.loads(self.nyx("rm", "--force", "small.nyx", "--json")), {"removed": []})


class Usage(CommandTest):
    def test_no_verb_is_trouble(self):
        code, out, err = self.run_nyx()
        self.assertEqual((code, out), (2, ""))
        self.assertIn("Usage: nyx VERB", err)

    def test_an_unknown_verb_is_trouble(self):
        self.expect(["sing"], 2, "", 'nyx: there is no verb "sing"; `nyx --help` lists them\n')

    def test_a_missing_argument_is_trouble(self):
        code, out, err = self.run_nyx("info")
        self.assertEqual((code, out), (2, ""))
        self.assertRegex(err, r"^nyx: FILE is required; see `nyx info --help`\n$")

    def test_what_is_unknown_comes_before_what_is_missing(self):
        self.expect_trouble(["import", "--nope"], "there is no option --nope; see `nyx import --help`")
        self.expect_trouble(["-v"], "there is no option -v; see `nyx --help`")
        self.expect_trouble(["export", "a.nyx", "-f", "Verilog"],
                            '--format: "Verilog" is none of yosys-json, verilog; see `nyx export --help`')
        self.expect_trouble(["tree", "a.nyx", "-d", "-5"],
                            '--depth: "-5" is no whole number from 0 to 2147483647; see `nyx tree --help`')
        self.expect_trouble(["find", "a.nyx", "x", "--limit", "-3"],
                            '--limit: "-3" is no whole number from 1 to 2147483647; see `nyx find --help`')

    def test_help_is_a_verb_too(self):
        self.assertEqual(self.nyx("help"), self.nyx("--help"))
        self.assertEqual(self.nyx("help", "import"), self.nyx("import", "--help"))
        self.expect_trouble(["help", "sing"], 'VERB: "sing" is none of import, .*; see `nyx help --help`')

    def test_a_full_disk_is_trouble(self):
        self.nyx("import", self.soc(), "-o", "soc.nyx")
        for verb in ("tree", "export"):
            with open("/dev/full", "w", encoding="ascii") as full:
                done = subprocess.run([cli_support.NYX, verb, "soc.nyx"], stdout=full, stderr=subprocess.PIPE,
                                      cwd=self.folder, check=False)
            self.assertEqual(done.returncode, 2)
            self.assertEqual(done.stderr.decode().count("\n"), 1)

    def test_a_reader_that_goes_is_no_news(self):
        self.nyx("import", self.soc(), "-o", "soc.nyx")
        done = subprocess.run(["sh", "-c", f"{cli_support.NYX} export soc.nyx | head -1"], cwd=self.folder, check=True,
                              stdout=subprocess.PIPE, stderr=subprocess.PIPE)
        self.assertEqual((done.stdout, done.stderr), (b"{\n", b""))

    def test_every_verb_has_help_with_examples_and_a_man_page(self):
        verbs = [line.split()[0] for line in self.nyx("--help").split("Verbs:\n")[1].split("\n\n")[0].splitlines()]
        self.assertEqual(verbs, ["import", "export", "info", "tree", "find", "stats", "check", "clone", "resize", "rm",
                                 "help", "completion", "man"])
        for verb in verbs:
            self.assertIn("Examples:\n  ", self.nyx(verb, "--help"))
            page = self.nyx("man", verb)
            checked = subprocess.run(["groff", "-man", "-wmac", "-Tutf8", "-z"], input=page.encode(),
                                     stdout=-1, stderr=-1, check=True)
            self.assertEqual(checked.stderr.decode(), "")

    def test_completions_parse_and_complete(self):
        script = self.nyx("completion", "bash")
        asked = 'COMP_WORDS=(nyx %s); COMP_CWORD=%d; _nyx; printf "%%s\\n" "${COMPREPLY[@]}"'
        for words, index, expected in (("ex", 1, "export"), ("export --form", 2, "--format"),
                                       ("export a.nyx -f yo", 4, "yosys-json")):
            done = subprocess.run(["bash", "-c", script + asked % (words, index)], stdout=-1, check=True)
            self.assertEqual(done.stdout.decode(), expected + "\n")
        for shell in ("zsh", "fish"):
            self.assertIn("yosys-json", self.nyx("completion", shell))

    def test_a_missing_database_is_told_by_name(self):
        code, out, err = self.run_nyx("info", "none.nyx")
        self.assertEqual((code, out), (2, ""))
        self.assertIn("none.nyx", err)
        self.assertNotIn("from function", err)
        self.assertEqual(err.count("\n"), 1)

    def test_output_has_no_colours_in_a_file(self):
        self.assertNotIn("\033", self.nyx("--help"))


if __name__ == "__main__":
    cli_support.main(sys.argv[1:])
