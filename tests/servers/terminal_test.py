"""The command on a terminal: live lines, Ctrl-C, a password that is asked for, a hostile title."""

import os
import pty
import re
import threading
from contextlib import suppress

from servers import COMMAND, ServerTest

LOGIN = "me:secret"


class Terminal:
    """A run of the command with a terminal of its own: all that the terminal has shown."""

    def __init__(self, *arguments, environment):
        self.shown, self.news = "", threading.Condition()
        self.process, self.screen = pty.fork()
        if self.process == 0:
            os.execve(COMMAND, [str(COMMAND), *map(str, arguments)], environment)
        threading.Thread(target=self.read, daemon=True).start()

    def read(self):
        with suppress(OSError):  # at the end of the run
            while chunk := os.read(self.screen, 4096):
                with self.news:
                    self.shown += chunk.decode(errors="replace")
                    self.news.notify()

    def wait_for(self, pattern):
        with self.news:
            if not self.news.wait_for(lambda: re.search(pattern, self.shown), timeout=60):
                raise AssertionError(f"{pattern} is not in {self.shown!r}")

    def type(self, text):
        os.write(self.screen, text.encode())

    def end(self):
        return os.waitstatus_to_exitcode(os.waitpid(self.process, 0)[1])


class TerminalTest(ServerTest):
    def run_on_terminal(self, *arguments):
        return Terminal(*arguments, environment=self.environment_of_command(TERM="xterm", COLUMNS=80))

    def test_live_lines_and_the_end_of_them(self):
        hostile = "%1b%5d0%3bowned%07%1b%5b2J"
        pages = [self.page(f"combined?title={hostile}Number{number}&media.rate=150000") for number in (1, 2)]
        run = self.run_on_terminal("get", "-o", self.folder / "out", "--jobs", 2, *pages)
        # Both at once, each with a bar, a percentage, a speed and the remaining time, drawn over and over.
        run.wait_for(r"Number1.*\d\d?\.?\d* ?%.*iB/s")
        run.wait_for(r"Number2.*\d\d?\.?\d* ?%.*iB/s")
        run.wait_for("\x1b\\[\\d*A")
        self.assertEqual(run.end(), 0)
        run.wait_for("Number2.mp4")
        for sequence in ("\x1b]0;", "\x07", "\x1b[2J"):
            self.assertNotIn(sequence, run.shown)

    def test_control_c_stops_all(self):
        run = self.run_on_terminal("get", "-o", self.folder / "out", self.page("slow"), self.page("slow?title=Other"))
        run.wait_for(r"Other.*%")
        run.type("\x03")
        self.assertEqual(run.end(), 130)
        self.assertEqual(list((self.folder / "out").iterdir()), [])

    def test_a_password_is_asked_for_without_an_echo(self):
        run = self.run_on_terminal("info", "--username", "me", "--password", "-", self.page(f"combined?login={LOGIN}"))
        run.wait_for("[Pp]assword")
        run.type("secret\n")
        self.assertEqual(run.end(), 0, run.shown)
        self.assertNotIn("secret", run.shown.replace(LOGIN, ""))
