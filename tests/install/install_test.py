#!/usr/bin/env python3
"""An installed NYX is complete, can be moved, and serves programs that find it by CMake and by pkg-config.

    install_test.py SOURCE BUILD COMPILER

Installs BUILD into a prefix below it, moves that prefix elsewhere, and works with what lies there.
"""
import os
import pathlib
import re
import shutil
import subprocess
import sys
import unittest

import exported_symbols

LIBRARIES = ("nyx", "nyx_common", "nyx_report", "nyx_barebones")
CONSUMER = pathlib.Path(__file__).resolve().parent / "consumer"
SOURCE = BUILD = COMPILER = None


def run(*command, **options):
    """The command's standard output; fails the test with all that it said if it fails."""
    done = subprocess.run([str(word) for word in command], stdout=subprocess.PIPE, stderr=subprocess.STDOUT, text=True,
                          **options)
    if done.returncode != 0:
        raise AssertionError(f"{' '.join(map(str, command))} ended with {done.returncode}:\n{done.stdout}")
    return done.stdout


class Install(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.work = BUILD / "install_test"
        shutil.rmtree(cls.work, ignore_errors=True)
        installed = cls.work / "installed"
        run("cmake", "--install", BUILD, "--prefix", installed)
        cls.prefix = cls.work / "elsewhere" / "moved"
        cls.prefix.parent.mkdir()
        installed.rename(cls.prefix)
        cls.lib = next(cls.prefix.rglob("libnyx.so")).parent

    def configure(self, build, *arguments):
        return run("cmake", "-S", CONSUMER, "-B", self.work / build, f"-DCMAKE_CXX_COMPILER={COMPILER}",
                   f"-DCMAKE_PREFIX_PATH={self.prefix}", *arguments)

    def expect_refusal(self, reason, *arguments):
        with self.assertRaises(AssertionError) as refusal:
            self.configure(*arguments)
        self.assertIn(reason, " ".join(str(refusal.exception).split()))  # CMake wraps its texts

    def expect_output(self, program):
        self.assertEqual(run(program), (CONSUMER / "expected.txt").read_text())

    def test_libraries_are_versioned(self):
        version = re.search(r"project\(nyx\s+VERSION (\S+)", (SOURCE / "CMakeLists.txt").read_text())[1]
        for name in LIBRARIES:
            soname = f"lib{name}.so.{version.split('.')[0]}"
            self.assertEqual(os.readlink(self.lib / f"lib{name}.so"), soname)
            self.assertEqual(os.readlink(self.lib / soname), f"lib{name}.so.{version}")
            self.assertIn(f"Library soname: [{soname}]", run("readelf", "-d", self.lib / soname))

    def test_libraries_find_each_other_by_their_own_place_only(self):
        for name in LIBRARIES:
            paths = re.findall(r"\((?:RUNPATH|RPATH)\).*\[(.*)\]", run("readelf", "-d", self.lib / f"lib{name}.so"))
            self.assertEqual(paths, ["$ORIGIN"], name)

    def test_libraries_export_nothing_but_nyx(self):
        for name in LIBRARIES:
            self.assertNotEqual(exported_symbols.defined_symbols(self.lib / f"lib{name}.so"), [])
            self.assertEqual(exported_symbols.foreign_symbols(self.lib / f"lib{name}.so"), [], name)

    def test_all_public_and_storage_headers_are_there(self):
        def headers(base, *folders):
            return {path.relative_to(base).as_posix() for folder in folders for path in (base / folder).rglob("*")
                    if path.suffix in (".h", ".def")}

        include = self.prefix / "include"
        public = headers(SOURCE / "tools/cpp/h", ".")
        storage = headers(SOURCE / "tools/cpp/nyx", "file", "memory", "names")
        self.assertIn("nyx/nyx.h", public)
        self.assertEqual(headers(include, "."), public | {f"nyx_internal/{header}" for header in storage})

    def test_no_text_file_names_a_folder_of_the_build(self):
        texts = [path for path in self.prefix.rglob("*") if path.suffix in (".cmake", ".pc", ".h")]
        self.assertGreater(len(texts), 4)
        for path in texts:
            text = path.read_text()
            for folder in (SOURCE, BUILD, self.work, self.prefix):
                self.assertNotIn(str(folder), text, path)

    def test_find_package(self):
        self.configure("find_package")
        run("cmake", "--build", self.work / "find_package")
        self.expect_output(self.work / "find_package" / "consumer")
        self.assertEqual(run(self.work / "find_package" / "reporter"), "no design\n")
        self.assertEqual(run(self.work / "find_package" / "inspector"), "data[7] 1\n")

    def test_find_package_refuses_another_version(self):
        self.expect_refusal('"nyx" that is compatible with requested version "0.2"', "other_version", "-DNYX_VERSION=0.2")

    def boost_of(self, number, name):
        """Arguments that make a stand-in for a version of Boost the only Boost there is."""
        boost = self.work / f"boost_{name}"
        (boost / "include/boost").mkdir(parents=True)
        (boost / "include/boost/config.hpp").touch()
        (boost / "include/boost/version.hpp").write_text(
            f'#define BOOST_VERSION {number}\n#define BOOST_LIB_VERSION "{name}"\n')
        return f"-DBOOST_ROOT={boost}", "-DBoost_NO_BOOST_CMAKE=ON", "-DBoost_NO_SYSTEM_PATHS=ON"

    def test_find_package_refuses_another_boost(self):
        self.configure("same_boost", *self.boost_of(107400, "1_74"))
        self.expect_refusal('Found unsuitable version "1.81.0", but required is exact version "1.74.0"',
                            "other_boost", *self.boost_of(108100, "1_81"))

    def test_pkg_config(self):
        environment = {**os.environ, "PKG_CONFIG_PATH": str(self.lib / "pkgconfig")}
        flags = run("pkg-config", "--cflags", "--libs", "nyx", env=environment).split()
        lib = run("pkg-config", "--variable=libdir", "nyx", env=environment).strip()
        self.assertEqual(pathlib.Path(lib).resolve(), self.lib.resolve())
        program = self.work / "pkg_config_consumer"
        run(COMPILER, "-std=c++20", CONSUMER / "consumer.cpp", *flags, f"-Wl,-rpath,{lib}", "-o", program)
        self.expect_output(program)


if __name__ == "__main__":
    SOURCE, BUILD, COMPILER = pathlib.Path(sys.argv[1]), pathlib.Path(sys.argv[2]), sys.argv[3]
    del sys.argv[1:4]
    unittest.main()
