#!/usr/bin/env python3
"""scripts/run-fuzzers runs all targets of a build for the wanted time and ends with the first failure.

    run_fuzzers_test.py RUN_FUZZERS
"""
import os
import subprocess
import sys
import tempfile
import unittest

RUN_FUZZERS = None


class RunFuzzers(unittest.TestCase):
    def run_with(self, targets, *arguments):
        """Runs with {name: shell text of the target}; BUILD in the output stands for the build folder."""
        with tempfile.TemporaryDirectory() as build:
            os.mkdir(os.path.join(build, "fuzz"))
            for name, text in targets.items():
                path = os.path.join(build, "fuzz", name)
                with open(path, "w", encoding="utf-8") as file:
                    file.write(f"#!/bin/sh\n{text}\n")
                os.chmod(path, 0o755)
            run = subprocess.run(["sh", RUN_FUZZERS, build, *arguments], capture_output=True, text=True)
            self.assertEqual(run.stderr, "")
            return run.returncode, run.stdout.replace(build, "BUILD")

    def test_says_so_when_there_are_no_targets(self):
        self.assertEqual(self.run_with({}), (0, "There are no fuzz targets below BUILD/fuzz.\n"))

    def test_gives_each_target_its_time_and_corpus(self):
        status, output = self.run_with({"no_seeds_a": 'echo "$@"', "no_seeds_b": "echo b"}, "7")
        self.assertEqual(status, 0)
        self.assertEqual(output.splitlines(), [
            "== no_seeds_a, 7 s",
            "-max_total_time=7 -timeout=25 -print_final_stats=1 -artifact_prefix=BUILD/crashes/no_seeds_a-"
            " BUILD/corpus/no_seeds_a",
            "== no_seeds_b, 7 s",
            "b"])

    def test_a_minute_is_the_default(self):
        self.assertEqual(self.run_with({"no_seeds_a": "echo $1"}), (0, "== no_seeds_a, 60 s\n-max_total_time=60\n"))

    def test_a_failing_target_fails_the_run(self):
        self.assertEqual(self.run_with({"no_seeds_a": "exit 77"})[0], 77)


if __name__ == "__main__":
    RUN_FUZZERS = sys.argv.pop(1)
    unittest.main()
