#!/usr/bin/env python3
"""scripts/run-benchmarks runs all programs of a build and joins their JSON documents.

    run_benchmarks_test.py RUN_BENCHMARKS
"""
import json
import os
import subprocess
import sys
import tempfile
import unittest

RUN_BENCHMARKS = None

# Prints what a benchmark program prints: its arguments as text, or a document with one entry.
PROGRAM = """#!/bin/sh
case "$*" in
*--benchmark_format=json*) echo '{"context": {"num_cpus": 2}, "benchmarks": [{"name": "BM_'"$(basename "$0")"'"}]}' ;;
*) echo "$(basename "$0"): $*" ;;
esac
"""


class RunBenchmarks(unittest.TestCase):
    def run_with(self, programs, *arguments):
        with tempfile.TemporaryDirectory() as build:
            for path, text in programs.items():
                full = os.path.join(build, path)
                os.makedirs(os.path.dirname(full), exist_ok=True)
                with open(full, "w", encoding="utf-8") as file:
                    file.write(text)
                os.chmod(full, 0o755)
            return subprocess.run([sys.executable, RUN_BENCHMARKS, build, *arguments], capture_output=True, text=True)

    def test_hands_the_arguments_to_every_program_in_order(self):
        run = self.run_with({"bench/b_bench": PROGRAM, "bench/micro/a_bench": PROGRAM}, "--benchmark_filter=x", "-v")
        self.assertEqual((run.returncode, run.stdout),
                         (0, "b_bench: --benchmark_filter=x -v\na_bench: --benchmark_filter=x -v\n"))

    def test_joins_the_documents_of_several_programs(self):
        run = self.run_with({"bench/b_bench": PROGRAM, "bench/a_bench": PROGRAM}, "--benchmark_format=json")
        self.assertEqual(run.returncode, 0)
        self.assertEqual(json.loads(run.stdout), {
            "benchmarks": [{"program": "a_bench", "name": "BM_a_bench"}, {"program": "b_bench", "name": "BM_b_bench"}],
            "context": {"num_cpus": 2}})

    def test_one_program_gives_a_document_too(self):
        run = self.run_with({"bench/a_bench": PROGRAM}, "--benchmark_format=json")
        self.assertEqual(json.loads(run.stdout)["benchmarks"], [{"program": "a_bench", "name": "BM_a_bench"}])

    def test_a_failing_program_fails_the_run_after_the_others(self):
        run = self.run_with({"bench/a_bench": "#!/bin/sh\nexit 3\n", "bench/b_bench": PROGRAM})
        self.assertEqual((run.returncode, run.stdout), (1, "b_bench: \n"))
        self.assertIn("run-benchmarks: failed: a_bench", run.stderr)

    def test_no_program_is_a_failure(self):
        run = self.run_with({"bench/CMakeFiles/cmake_helper": PROGRAM})
        self.assertEqual(run.returncode, 1)
        self.assertIn("no benchmark programs", run.stderr)


if __name__ == "__main__":
    RUN_BENCHMARKS = sys.argv.pop(1)
    unittest.main()
