"""What the tests with servers share: the servers, the command, and what both have written."""

import os
import shutil
import subprocess
import sys
import tempfile
import time
import unittest
import urllib.request
from pathlib import Path

HERE = Path(__file__).resolve().parent
SITE = HERE.parent / "site"
ROOT = HERE.parent.parent
COMMAND = os.environ.get("REELHAUL_COMMAND", ROOT / "build/release/bin/reelhaul")
TOOL = Path(os.environ.get("REELHAUL_TOOLS", ROOT / "build/release/lib")) / "yt-dlp"


def probe(file):
    """Kinds of the streams and the seconds, such as "video audio 8"; what ffprobe complains of otherwise."""
    run = subprocess.run([TOOL.parent / "ffprobe", "-v", "error", "-show_entries", "stream=codec_type:format=duration",
                          "-of", "default=nw=1:nk=1", file], text=True, capture_output=True)
    words = run.stdout.split()
    return " ".join([*words[:-1], f"{float(words[-1]):.0f}"]) if words else run.stderr


class Server:
    """A server of ours, from its first line to the end of its standard input."""

    def __init__(self, log, script, *arguments):
        self.log = Path(log)
        self.process = subprocess.Popen([sys.executable, script, "--log", log, *arguments], text=True,
                                        stdin=subprocess.PIPE, stdout=subprocess.PIPE)
        self.address = ""
        while not self.address.rpartition(":")[2].isdigit():  # the site may first say that it makes its media
            line = self.process.stdout.readline()
            if not line:
                raise RuntimeError(f"{script} did not start")
            self.address = line.strip()

    def lines(self):
        return self.log.read_text(encoding="utf-8").splitlines() if self.log.exists() else []

    def stop(self):
        self.process.stdin.close()
        self.process.stdout.close()
        self.process.wait()


class CommandTest(unittest.TestCase):
    """A folder, and the command with settings of its own."""

    def setUp(self):
        self.folder = Path(tempfile.mkdtemp(prefix="reelhaul-servers."))
        self.addCleanup(shutil.rmtree, self.folder)
        self.temporary = self.folder / "temporary"
        self.temporary.mkdir()

    def processes(self):
        """Command lines of the processes that have been started in the folder's name and are left."""
        return list(self.numbered_processes().values())

    def numbered_processes(self):
        found = {}
        for process in Path("/proc").glob("[0-9]*"):
            try:
                if f"TMPDIR={self.temporary}".encode() in (process / "environ").read_bytes():
                    found[process.name] = (process / "cmdline").read_bytes().replace(b"\0", b" ").decode()
            except OSError:
                pass  # it has ended
        return found

    def wait_until(self, condition):
        until = time.monotonic() + 60
        while not condition() and time.monotonic() < until:
            time.sleep(0.02)
        self.assertTrue(condition())

    def assert_nothing_left(self):
        self.wait_until(lambda: not self.processes())
        self.assertEqual(list(self.temporary.iterdir()), [])

    def environment_of_command(self, **environment):
        return {**os.environ, "TMPDIR": str(self.temporary), "PYTHONPATH": str(SITE / "plugin"),
                "REELHAUL_SETTINGS": str(self.folder / "settings"),
                **{name: str(value) for name, value in environment.items()}}

    def run_command(self, *arguments, stdin="", **environment):
        """In the folder "here", which it may fill."""
        (self.folder / "here").mkdir(exist_ok=True)
        return subprocess.run([COMMAND, *map(str, arguments)], text=True, input=stdin, capture_output=True, timeout=120,
                              cwd=self.folder / "here", env=self.environment_of_command(**environment))

    def write(self, name, text, mode=0o600):
        path = self.folder / name
        path.parent.mkdir(parents=True, exist_ok=True)
        path.write_text(text, encoding="utf-8")
        path.chmod(mode)
        return path


class ServerTest(CommandTest):
    """A site as well."""

    def setUp(self):
        super().setUp()
        self.site = self.start(SITE / "site.py")

    def start(self, script, *arguments):
        log = self.folder / f"server{len(list(self.folder.glob('server*.log')))}.log"
        log.touch()
        server = Server(log, script, *map(str, arguments))
        self.addCleanup(server.stop)
        return server

    def sent(self):
        """Bytes of media that the site has sent."""
        with urllib.request.urlopen(f"{self.site.address}/sent") as answer:
            return int(answer.read())

    def page(self, path, site=None):
        return f"{(site or self.site).address}/watch/{path}"

    def succeeds(self, *arguments, **environment):
        run = self.run_command(*arguments, **environment)
        self.assertEqual(run.returncode, 0, run.stderr)
        return run

    def fails(self, words, *arguments, **environment):
        run = self.run_command(*arguments, **environment)
        self.assertEqual(run.returncode, 1, run.stderr)
        self.assertIn(words, run.stderr)
        return run

    def get(self, *arguments, **environment):
        """Downloads; the files."""
        run = self.succeeds("get", "--quiet", "-o", self.folder / "out", *arguments, **environment)
        return [Path(line) for line in run.stdout.splitlines()]
