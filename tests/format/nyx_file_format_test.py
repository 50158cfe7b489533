#!/usr/bin/env python3
"""An independent reader that knows docs/file_format.md and nothing else agrees with the library, and notices when the page
tells something else.

    nyx_file_format_test.py PAGE WRITER
"""
import re
import subprocess
import sys
import tempfile
import unittest

import nyx_file_reader

PAGE = WRITER = None


class FileFormat(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.folder = tempfile.TemporaryDirectory()
        run = subprocess.run([WRITER, cls.folder.name], capture_output=True, text=True, check=True)
        lines = run.stdout.splitlines()
        cls.files = list(zip(lines[0::3], lines[1::3], lines[2::3]))

    @classmethod
    def tearDownClass(cls):
        cls.folder.cleanup()

    def test_the_library_wrote_files_of_every_algorithm(self):
        self.assertEqual(len(self.files), 8)
        self.assertEqual({fields.split()[4] for _, fields, _ in self.files}, {"0", "1", "2"})

    def test_headers_agree(self):
        for path, fields, _ in self.files:
            header, _, _ = nyx_file_reader.read(PAGE, path)
            version, kind, schema, tag, algorithm, chunk, default, data, payload = fields.split()
            self.assertEqual(header, {
                "magic": b"NYX!", "version": int(version), "type": int(kind), "schema id": int(schema),
                "tag length": len(tag) - 1, "tag": tag[:-1].encode(), "algorithm": int(algorithm),
                "chunk size": int(chunk), "default size": int(default), "data size": int(data),
                "payload size": int(payload)})

    def test_blocks_agree(self):
        for path, _, blocks in self.files:
            _, _, found = nyx_file_reader.read(PAGE, path)
            self.assertEqual([f"{offset},{units},{int(allocated)}" for offset, units, allocated in found], blocks.split())
            self.assertGreater(len(found), 10)

    def test_every_algorithm_holds_the_same_blocks(self):
        plain = [nyx_file_reader.read(PAGE, path) for path, _, _ in self.files if "small" not in path]
        self.assertEqual(len({image for _, image, _ in plain}), 1)

    def test_a_page_with_another_number_is_noticed(self):
        with open(PAGE, encoding="utf-8") as file:
            text = file.read()
        rows = [match for match in re.finditer(r"^\| (\d+)([^|]*)\| (\d+) \|", text, re.MULTILINE)]
        self.assertGreater(len(rows), 20)
        noticed = 0
        for row in rows:
            for group in (1, 3):
                wrong = text[:row.start(group)] + str(int(row[group]) + 1) + text[row.end(group):]
                noticed += self.is_noticed(wrong)
        self.assertEqual(noticed, 2 * len(rows))

    def is_noticed(self, text):
        page = self.folder.name + "/page.md"
        with open(page, "w", encoding="utf-8") as file:
            file.write(text)
        for path, _, blocks in self.files:
            try:
                _, _, found = nyx_file_reader.read(page, path)
            except (nyx_file_reader.FORMAT_ERROR, KeyError, ValueError, StopIteration):
                return True
            if [f"{offset},{units},{int(allocated)}" for offset, units, allocated in found] != blocks.split():
                return True
        return False

    def test_a_damaged_file_is_noticed(self):
        path = next(path for path, _, _ in self.files if path.endswith("plain_zstd.nyx"))
        with open(path, "rb") as file:
            data = bytearray(file.read())
        data[-1] ^= 1  # of the checksum
        damaged = self.folder.name + "/damaged.nyx"
        with open(damaged, "wb") as file:
            file.write(data)
        with self.assertRaises(nyx_file_reader.FORMAT_ERROR):
            nyx_file_reader.read(PAGE, damaged)


if __name__ == "__main__":
    PAGE, WRITER = sys.argv[1:3]
    del sys.argv[1:3]
    unittest.main()
