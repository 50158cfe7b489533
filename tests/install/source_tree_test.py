#!/usr/bin/env python3
"""The source tree can be a part of another build, as FetchContent makes it: nothing but the libraries is built.

    source_tree_test.py SOURCE WORK COMPILER
"""
import os
import pathlib
import shutil
import sys
import unittest

from install_test import CONSUMER, run

SOURCE = WORK = COMPILER = None


class SourceTree(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        shutil.rmtree(WORK, ignore_errors=True)
        environment = {**os.environ, "CCACHE_SLOPPINESS": "pch_defines,time_macros"}
        if shutil.which("ccache"):
            environment["CMAKE_CXX_COMPILER_LAUNCHER"] = "ccache"
        # Neither optimised nor with debug information: that it builds and runs is what is asked.
        run("cmake", "-G", "Ninja", "-S", CONSUMER, "-B", WORK, f"-DCMAKE_CXX_COMPILER={COMPILER}",
            f"-DNYX_SOURCE_DIR={SOURCE}", "-DCMAKE_BUILD_TYPE=", env=environment)
        run("cmake", "--build", WORK, "-j2", env=environment)

    def test_programs_of_the_outer_build_work(self):
        self.assertEqual(run(WORK / "consumer"), (CONSUMER / "expected.txt").read_text())
        self.assertEqual(run(WORK / "reporter"), "no design\n")
        self.assertEqual(run(WORK / "inspector"), "data[7] 1\n")

    def test_no_test_of_nyx_shows_in_the_outer_build(self):
        self.assertIn("Total Tests: 0", run("ctest", "--test-dir", WORK, "-N"))

    def test_the_outer_build_does_not_install_nyx(self):
        prefix = WORK / "prefix"
        run("cmake", "--install", WORK, "--prefix", prefix)
        self.assertEqual([path for path in prefix.rglob("*") if path.is_file()], [])


if __name__ == "__main__":
    SOURCE, WORK, COMPILER = pathlib.Path(sys.argv[1]), pathlib.Path(sys.argv[2]), sys.argv[3]
    del sys.argv[1:4]
    unittest.main()
