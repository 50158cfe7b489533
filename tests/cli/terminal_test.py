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
