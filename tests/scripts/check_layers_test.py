#!/usr/bin/env python3
"""scripts/check-layers accepts a tree that keeps the rules and names every place that breaks one.

    check_layers_test.py CHECK_LAYERS
"""
import os
import subprocess
import sys
import tempfile
import unittest

CHECK_LAYERS = None

CLEAN = {
    "tools/cpp/h/nyx_barebones/nyx_barebones_notifier.h": "#include <cstddef>\n",
    "tools/cpp/h/nyx_report/nyx_report.h": "#include <string>\n",
    "tools/cpp/h/nyx/nyx.h": '#include "nyx/nyx_defs.h"\n#include "nyx_report/nyx_report.h"\n',
    "tools/cpp/h/nyx/nyx_defs.h": "#include <compare>\n",
    "tools/cpp/nyx_report/nyx_report.cpp": '#include "nyx_report/nyx_report.h"\n#include "nyx_report_table.def"\n',
    "tools/cpp/nyx_report/nyx_report_table.def": "",
    "tools/cpp/nyx/memory/nyx_page.h": '#include "nyx/nyx_defs.h"\n#include <memory>\n',
    "tools/cpp/nyx/memory/nyx_page.cpp": '#include "memory/nyx_page.h"\n',
    "tools/cpp/nyx/memory/README.md": "Pages.\n" * 40,
    "tools/cpp/nyx/names/nyx_name_mgr.h": '#include "memory/nyx_page.h"\n',
    "tools/cpp/nyx/names/README.md": "Names.\n",
    "tools/cpp/nyx/netlist/nyx_net_impl.h": '#include "names/nyx_name_mgr.h"\n',
    "tools/cpp/nyx/netlist/nyx_net_table.h": '#include "netlist/nyx_net_impl.h"\n',
    "tools/cpp/nyx/netlist/nyx_net_methods.cpp": '#include "database/nyx_db_persistent.h"\n',
    "tools/cpp/nyx/netlist/README.md": "Rows.\n",
    "tools/cpp/nyx/database/nyx_db_persistent.h": '#include "netlist/nyx_net_table.h"\n',
    "tools/cpp/nyx/database/nyx_db.cpp": '#include "database/nyx_db_persistent.h"\n',
    "tools/cpp/nyx/database/README.md": "Databases.\n",
    "tools/cpp/io/nyx_reader.h": "#include <iosfwd>\n",
    "tools/cpp/io/nyx_reader.cpp": '#include "nyx_reader.h"\n#include "nyx/nyx.h"\n',
    "tools/cpp/cmd/nyx_cmd.cpp": '#include "io/nyx_reader.h"\n#include "nyx/nyx.h"\n',
}


class CheckLayers(unittest.TestCase):
    def check(self, changes):
        """The exit code and the lines for CLEAN with `changes`, where None takes a file away."""
        with tempfile.TemporaryDirectory() as root:
            for path, text in {**CLEAN, **changes}.items():
                if text is not None:
                    os.makedirs(os.path.dirname(os.path.join(root, path)), exist_ok=True)
                    with open(os.path.join(root, path), "w", encoding="utf-8") as file:
                        file.write(text)
            run = subprocess.run([sys.executable, CHECK_LAYERS, root], capture_output=True, text=True)
            self.assertEqual(run.stderr, "")
            return run.returncode, run.stdout.splitlines()

    def refused(self, changes, line):
        self.assertEqual(self.check(changes), (1, [line]))

    def test_a_clean_tree_passes_silently(self):
        self.assertEqual(self.check({}), (0, []))

    def test_a_lower_folder_does_not_include_a_higher_one(self):
        path = "tools/cpp/nyx/memory/nyx_page.cpp"
        self.refused({path: '#include "memory/nyx_page.h"\n#include "names/nyx_name_mgr.h"\n'},
                     f'{path}:2: "names/nyx_name_mgr.h" (names and files) lies above this file (memory)')

    def test_brackets_do_not_hide_an_include(self):
        path = "tools/cpp/nyx/memory/nyx_page.cpp"
        self.refused({path: "# include <names/nyx_name_mgr.h>\n"},
                     f'{path}:1: "names/nyx_name_mgr.h" (names and files) lies above this file (memory)')

    def test_rows_do_not_include_the_root(self):
        path = "tools/cpp/nyx/netlist/nyx_net_impl.h"
        self.refused({path: '#include "database/nyx_db_persistent.h"\n'},
                     f'{path}:1: "database/nyx_db_persistent.h" (root, linker, observers, traits) lies above this file'
                     ' (rows and tables)')

    def test_methods_do_not_include_database_files(self):
        path = "tools/cpp/nyx/netlist/nyx_net_methods.cpp"
        self.refused({path: '#include "database/nyx_db_files.h"\n', "tools/cpp/nyx/database/nyx_db_files.h": ""},
                     f'{path}:1: "database/nyx_db_files.h" (database files, hierarchy, constraints, libraries) lies above'
                     ' this file (methods and iterators)')

    def test_an_include_by_bare_name_is_refused(self):
        path = "tools/cpp/nyx/memory/nyx_page.cpp"
        self.refused({path: '#include "nyx_page.h"\n'},
                     f'{path}:1: "nyx_page.h" is no path from tools/cpp/nyx or tools/cpp/h')

    def test_an_include_by_relative_path_is_refused(self):
        path = "tools/cpp/nyx/names/nyx_name_mgr.h"
        self.refused({path: '#include "../memory/nyx_page.h"\n'},
                     f'{path}:1: "../memory/nyx_page.h" is no path from tools/cpp/nyx or tools/cpp/h')

    def test_a_folder_without_a_layer_is_refused(self):
        self.refused({"tools/cpp/nyx/misc/nyx_misc.h": "", "tools/cpp/nyx/misc/README.md": ""},
                     "tools/cpp/nyx/misc/nyx_misc.h:1: the folder has no layer: give it one in scripts/check-layers")

    def test_a_public_header_does_not_include_a_private_one(self):
        path = "tools/cpp/h/nyx/nyx_defs.h"
        self.refused({path: '#include "memory/nyx_page.h"\n'}, f'{path}:1: "memory/nyx_page.h" is no public header')

    def test_reporting_does_not_include_nyx(self):
        path = "tools/cpp/h/nyx_report/nyx_report.h"
        self.refused({path: '#include "nyx/nyx_defs.h"\n'}, f'{path}:1: "nyx/nyx_defs.h" lies above nyx_report')
        path = "tools/cpp/nyx_report/nyx_report.cpp"
        self.refused({path: '#include "nyx/nyx_defs.h"\n'},
                     f'{path}:1: "nyx/nyx_defs.h" is neither public to this folder nor its own')

    def test_importers_and_the_command_use_public_headers_only(self):
        for path in ("tools/cpp/io/nyx_reader.cpp", "tools/cpp/cmd/nyx_cmd.cpp", "tools/python/nyx_python.cpp"):
            self.refused({path: '#include "memory/nyx_page.h"\n'},
                         f'{path}:1: "memory/nyx_page.h" is neither public to this folder nor its own')
            self.refused({path: '#include "../nyx/memory/nyx_page.h"\n'},
                         f'{path}:1: "../nyx/memory/nyx_page.h" is neither public to this folder nor its own')

    def test_importers_do_not_use_the_command(self):
        path = "tools/cpp/io/nyx_reader.cpp"
        self.refused({path: '#include "cmd/nyx_cmd.h"\n', "tools/cpp/cmd/nyx_cmd.h": ""},
                     f'{path}:1: "cmd/nyx_cmd.h" is neither public to this folder nor its own')

    def test_the_umbrella_includes_every_public_header(self):
        self.refused({"tools/cpp/h/nyx/nyx_fwd.h": ""}, 'tools/cpp/h/nyx/nyx.h:1: does not include "nyx/nyx_fwd.h"')

    def test_the_umbrella_is_there(self):
        self.refused({"tools/cpp/h/nyx/nyx.h": None, "tools/cpp/io/nyx_reader.cpp": "", "tools/cpp/cmd/nyx_cmd.cpp": ""},
                     "tools/cpp/h/nyx/nyx.h:1: is missing")

    def test_every_folder_has_a_readme(self):
        self.refused({"tools/cpp/nyx/names/README.md": None}, "tools/cpp/nyx/names:1: the folder has no README.md")

    def test_a_readme_stays_short(self):
        path = "tools/cpp/nyx/names/README.md"
        self.refused({path: "Names.\n" * 41}, f"{path}:41: has more than 40 lines")


if __name__ == "__main__":
    CHECK_LAYERS = sys.argv.pop(1)
    unittest.main()
