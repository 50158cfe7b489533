"""What the tests of the command share."""
import os
import pathlib
import shutil
import subprocess
import sys
import tempfile
import unittest

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parents[1] / "io"))
import canonical_netlist  # noqa: E402  (its folder has just been added)

NYX = None
SOURCE = None


class CommandTest(unittest.TestCase):
    """Runs the command in a new folder."""

    def setUp(self):
        self.folder = pathlib.Path(tempfile.mkdtemp())
        self.addCleanup(shutil.rmtree, self.folder)

    def run_nyx(self, *arguments, stdin=None, **environment):
        done = subprocess.run([NYX, *map(str, arguments)], cwd=self.folder, input=stdin, stdout=subprocess.PIPE,
                              stderr=subprocess.PIPE, env={**os.environ, **environment}, check=False)
        return done.returncode, done.stdout.decode(), done.stderr.decode()

    def nyx(self, *arguments, **options):
        """Standard output of a run that has to succeed."""
        code, out, err = self.run_nyx(*arguments, **options)
        self.assertEqual(code, 0, f"nyx {arguments} ended with {code}:\n{out}{err}")
        return out

    def expect(self, arguments, code, out, err, **options):
        self.assertEqual(self.run_nyx(*arguments, **options), (code, out, err))

    def expect_trouble(self, arguments, pattern, **options):
        """Exit code 2, nothing on standard output, and one line on standard error."""
        code, out, err = self.run_nyx(*arguments, **options)
        self.assertEqual((code, out), (2, ""), err)
        self.assertRegex(err, r"\Anyx: " + pattern + r"\n\Z")

    def names(self):
        return sorted(path.name for path in self.folder.iterdir())

    def write(self, name, text):
        (self.folder / name).write_text(text)
        return name

    def soc(self):
        return SOURCE / "examples" / "soc" / "soc.json.zst"


def main(arguments):
    global NYX, SOURCE
    NYX = str(pathlib.Path(arguments[0]).resolve())
    SOURCE = pathlib.Path(arguments[1]).resolve() if len(arguments) > 1 else None
    unittest.main(module="__main__", argv=sys.argv[:1], verbosity=2)
