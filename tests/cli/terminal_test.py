#!/usr/bin/env python3
"""The command in a terminal: colours where there is one, none where NO_COLOR forbids them. Drives tmux.

    terminal_test.py NYX SOURCE
"""
import subprocess
import sys
import time

import cli_support
from cli_support import CommandTest


class Terminal(CommandTest):
    def setUp(self):
        super().setUp()
        self.socket = str(self.folder / "tmux")
        self.tmux("-f", "/dev/null", "new-session", "-d", "-x", "120", "-y", "50", "-c", self.folder, "sh")
        self.addCleanup(self.tmux, "kill-server")

    def tmux(self, *arguments):
        return subprocess.run(["tmux", "-S", self.socket, *map(str, arguments)], stdout=subprocess.PIPE, check=True,
                              cwd=self.folder).stdout.decode()

    def type(self, line):
        """Types a command line and returns the screen, with its colours, when the command has ended."""
        # Each command has an end of its own, for the screen may still show that of the one before.
        self.commands = getattr(self, "commands", 0) + 1
        end = f"END{self.commands}="
        self.tmux("send-keys", "clear; " + line + f"; echo {end}$?", "Enter")
        for _ in range(300):
            screen = self.tmux("capture-pane", "-p")
            if any(text.startswith(end) for text in screen.splitlines()):
                return self.tmux("capture-pane", "-p", "-e").replace(end, "END=")
            time.sleep(0.1)
        self.fail("no end: " + screen)

    def test_a_long_import_shows_its_progress_and_clears_it(self):
        # Long enough for a bar on machines that are several times faster than those of today.
        cells = ",".join(f'"u{i}":{{"type":"g{i % 7}","parameters":{{"INIT":"{i:032b}"}},"connections":{{"A":[{i + 2}],"B":[{i + 3}]}}}}'
                         for i in range(1000000))
        self.write("large.json", '{"modules":{"m":{"cells":{' + cells + "}}}}")
        self.tmux("send-keys", f"clear; {cli_support.NYX} import large.json -o large.nyx; echo END=$?", "Enter")
        seen = set()
        for _ in range(6000):
            screen = self.tmux("capture-pane", "-p")
            seen.update(line for line in screen.splitlines() if "|" in line)
            if any(text.startswith("END=") for text in screen.splitlines()):
                break
            time.sleep(0.02)
        bars = [line for line in seen if "left" in line]
        self.assertTrue(bars, screen)
        for line in bars:
            self.assertRegex(line, r"^(Reading|Building) +\|.{24}\| +\d+% .*/s, \d+ (s|min) left$")
        self.assertRegex(screen, r"(?m)^nyx: large\.nyx: 1 module, 1,000,000 cells, top m, .*\nEND=0$")
        self.assertNotIn("|", screen.replace(cli_support.NYX, ""))
        self.assertNotIn("left", self.type(f"{cli_support.NYX} import -q large.json -o large.nyx"))

    def test_a_session(self):
        nyx = cli_support.NYX
        self.assertIn("END=0", self.type(f"{nyx} import {self.soc()} -o soc.nyx"))
        screen = self.type(f"{nyx} tree soc.nyx --depth 1")
        self.assertIn("\033[36mrv_core", screen)
        self.assertIn("END=0", screen)
        self.assertNotIn("\033[36m", self.type(f"NO_COLOR=1 {nyx} tree soc.nyx --depth 1"))
        self.assertNotIn("\033[36m", self.type(f"TERM=dumb {nyx} tree soc.nyx --depth 1"))
        self.assertIn("\033[1mTABLE", self.type(f"{nyx} stats soc.nyx"))
        self.assertIn("END=1", self.type(f"{nyx} find soc.nyx nothing"))


if __name__ == "__main__":
    cli_support.main(sys.argv[1:])
