#!/usr/bin/env python3
"""The command does what its help says: whole outputs and exit codes.

    command_test.py NYX SOURCE
"""
import json
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
        self.expect(["import", self.soc(), "-o", "a.nyx", "--size", "4"], 2, "",
                    "nyx: a.nyx: the netlist does not fit in 4 MiB; give it more with --size\n")
        self.assertEqual(list(self.folder.iterdir()), [])


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
                          "uses": [{"module": "half", "leaf": False, "uses": [], "count": 1}]})

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
                    "nyx: stopped after 1 objects; --limit gives more\n")

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

    def test_a_damaged_file_is_refused(self):
        data = bytearray((self.folder / "small.nyx").read_bytes())
        (self.folder / "cut.nyx").write_bytes(data[:len(data) // 2])
        code, out, err = self.run_nyx("check", "cut.nyx")
        self.assertEqual((code, out), (2, ""))
        self.assertRegex(err, r"^nyx: .*cut\.nyx.*\n$")


class Files(CommandTest):
    def setUp(self):
        super().setUp()
        self.write("small.json", json.dumps(SMALL))
        self.nyx("import", "small.json", "-o", "small.nyx")

    def test_clone_renames_the_top(self):
        self.expect(["clone", "small.nyx", "other.nyx"], 0, "", "nyx: other.nyx: a copy of small.nyx\n")
        self.assertEqual(self.nyx("tree", "other.nyx", "--depth", "0"), "other\n")
        self.expect(["clone", "small.nyx", "other.nyx"], 2, "", "nyx: other.nyx: is there already; --force replaces it\n")
        self.nyx("clone", "small.nyx", "other.nyx", "--force")

    def test_resize(self):
        self.nyx("resize", "small.nyx", "--to", "512")
        self.assertEqual(json.loads(self.nyx("resize", "small.nyx", "--json"))["room_bytes"], 512 << 20)
        self.nyx("resize", "small.nyx", "--by", "88")
        self.assertEqual(json.loads(self.nyx("resize", "small.nyx", "--json"))["room_bytes"], 600 << 20)
        self.expect(["resize", "small.nyx", "--by", "1", "--to", "2"], 2, "", "nyx: give --to or --by, not both\n")
        self.assertEqual(self.nyx("tree", "small.nyx", "--depth", "0"), "top\n")

    def test_rm_removes_databases_only(self):
        code, _, err = self.run_nyx("rm", "small.json.nyx")
        self.assertEqual(code, 2, err)
        self.nyx("rm", "small.nyx")
        self.assertFalse((self.folder / "small.nyx").exists())
        self.assertTrue((self.folder / "small.json").exists())
        self.nyx("rm", "--force", "small.nyx")


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
        self.assertRegex(err, r"^nyx: file is required; see `nyx info --help`\n$")

    def test_every_verb_has_help_with_examples_and_a_man_page(self):
        verbs = [line.split()[0] for line in self.nyx("--help").split("Verbs:\n")[1].split("\n\n")[0].splitlines()]
        self.assertEqual(verbs, ["import", "export", "info", "tree", "find", "stats", "check", "clone", "resize", "rm",
                                 "completion", "man"])
        for verb in verbs:
            self.assertIn("Examples:\n  ", self.nyx(verb, "--help"))
            page = self.nyx("man", verb)
            checked = subprocess.run(["man", "--warnings", "-E", "UTF-8", "-l", "-Tutf8", "-Z", "-"], input=page.encode(),
                                     stdout=-1, stderr=-1, check=False) if _has("man") else None
            if checked:
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


def _has(program):
    return subprocess.run(["which", program], stdout=subprocess.DEVNULL, check=False).returncode == 0


if __name__ == "__main__":
    cli_support.main(sys.argv[1:])
