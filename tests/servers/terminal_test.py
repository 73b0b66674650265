"""The command on a terminal: live lines, Ctrl-C, Ctrl-Z, a password that is asked for, a hostile title."""

import fcntl
import json
import os
import pty
import re
import shlex
import struct
import termios
import threading
import time
from contextlib import suppress
from pathlib import Path

from servers import COMMAND, ServerTest

LOGIN = "me:secret"


class Terminal:
    """A run of the command with a terminal of its own: all that the terminal has shown."""

    def __init__(self, program, *arguments, environment, columns):
        self.shown, self.news = "", threading.Condition()
        self.process, self.screen = pty.fork()
        if self.process == 0:
            fcntl.ioctl(0, termios.TIOCSWINSZ, struct.pack("HHHH", 24, columns, 0, 0))
            os.execve(program, [str(program), *map(str, arguments)], environment)
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
    def run_on_terminal(self, *arguments, program=COMMAND, columns=80, **environment):
        return Terminal(program, *arguments, columns=columns,
                        environment=self.environment_of_command(**{"TERM": "xterm", **environment}))

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
        run = self.run_on_terminal("get", "--no-continue", "-o", self.folder / "out", self.page("slow"), self.page("slow?title=Other"))
        run.wait_for(r"Other.*%")
        run.type("\x03")
        self.assertEqual(run.end(), 130)
        self.assertEqual(list((self.folder / "out").iterdir()), [])

    def test_control_z_halts_the_tools_as_well(self):
        def states():
            """Of the command and its tools; the guardian, which must survive the command, goes on."""
            found = set()
            for number, command in self.numbered_processes().items():
                if "yt-dlp" in command or " get " in command:
                    with suppress(OSError):  # it has just ended
                        found.add(Path(f"/proc/{number}/stat").read_text().rpartition(")")[2].split()[0])
            return found

        shell = self.run_on_terminal("--norc", "-i", program="/bin/bash", PS1="")
        shell.type(f"{shlex.quote(str(COMMAND))} get -o {self.folder}/out {self.page('slow?title=Halted')}\n")
        shell.wait_for(r"Halted.*iB/s")  # the tool runs, and is not just being started
        shell.type("\x1a")
        shell.wait_for("Stopped")
        self.wait_until(lambda: states() == {"T"})
        shell.type("fg\n")
        shell.wait_for(r"Stopped[^%]*%(.|\n)*%")
        shell.type("\x03")
        shell.wait_for("Interrupted")
        self.wait_until(lambda: not states())
        shell.type("exit\n")
        shell.end()
        self.assert_nothing_left()

    def test_a_narrow_one_keeps_the_percentage(self):
        for columns, line in ((60, r"Narrow as i… +\[[#-]{5}\] +\d+\.\d%  .*iB/s"), (40, r"Narrow as i… +\d+\.\d%  [^[]*…"),
                              (16, r"Narr\S* +\d+\.\d%\r")):
            with self.subTest(columns):
                run = self.run_on_terminal("get", "-o", self.folder / "out", self.page("slow?title=Narrow as it is"),
                                           columns=columns)
                run.wait_for(line)
                run.type("\x03")
                self.assertEqual(run.end(), 130)

    def test_a_long_list_is_not_held_up_by_the_live_line(self):
        (self.folder / "tools").mkdir()
        (self.folder / "tools/yt-dlp").symlink_to(os.environ["REELHAUL_SCRIPTED_TOOL"])
        self.write("scripts/list", "line " + json.dumps({"_type": "playlist", "entries": [{"url": "script:item"}] * 200}))
        self.write("scripts/item", 'line {"title": "T", "duration": 65, "formats": [{"format_id": "1", "ext": "mp4"}]}')
        begin = time.monotonic()
        run = self.run_on_terminal("info", "--tool", self.folder / "tools", "script:list",
                                   REELHAUL_TOOL_SCRIPTS=self.folder / "scripts")
        self.assertEqual(run.end(), 0)
        run.wait_for("200  00:01:05")
        # Drawn some ten times a second, not twice for each item.
        self.assertLess(run.shown.count("\x1b[J"), 20 * (time.monotonic() - begin) + 20)

    def test_a_password_is_asked_for_without_an_echo(self):
        run = self.run_on_terminal("info", "--username", "me", "--password", "-", self.page(f"combined?login={LOGIN}"))
        run.wait_for("[Pp]assword")
        run.type("secret\n")
        self.assertEqual(run.end(), 0, run.shown)
        self.assertNotIn("secret", run.shown.replace(LOGIN, ""))

    def test_a_title_controls_nothing(self):
        page = self.page("combined?title=%1b%5d0%3bowned%07%1b%5b2Jend")
        for terminal, log in (("xterm", ""), ("xterm", "0"), ("dumb", "0")):
            with self.subTest(terminal=terminal, log=log):
                run = self.run_on_terminal("info", page, TERM=terminal, REELHAUL_LOG=log)
                self.assertEqual(run.end(), 0)
                run.wait_for("Title:.*end")
                for sequence in ("\x1b]0;", "\x07", "\x1b[2J"):
                    self.assertNotIn(sequence, run.shown)
