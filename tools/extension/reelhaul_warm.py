"""Keeps the tool warm: one process that has loaded everything and forks a run for each request.

The library starts the tool once, with no address to work on and with a socket as its standard input. This extension lets
the tool load itself, its plugins included, and takes over where the tool would make its main object. From then on the
process, the resident, does no more than fork; a fork runs the tool's own main as a new process would.

Over the socket come first the resident's settings, then one byte for each fork, "r" for a run or "s" for one that stays,
with two sockets of the fork's own:

- "start" is for the fork, which reads the request there, standard output and error with it, so that no argument of any
  run ever reaches the resident: it may be a password. The fork answers "up PID" and waits for "g"; when the socket closes
  instead, it ends. Who can't fork, or can't be that run, answers "no REASON". A fork that stays says "done" after a run
  that went well and left nothing behind, its streams closed, and takes the next request; after any other it ends.
- "status" is for the end: the fork writes "code N" when it leaves by itself; "w" asks the resident, which answers
  "running" or, once it has reaped the fork, "ended STATUS". So the number of a process is not given away again before
  the library knows that it has ended. The library closes the socket when it needs no more.

The resident itself says "ready", then "loaded" when all is there that each run needs, and "warm" when all is that a run
may need, or "no REASON". It ends when
the library has closed the socket and all runs have ended, and with "rest" after a time without a run. A REASON begins
with what is to be done: "changed" asks for a new resident, "impossible" for none, "busy" is this run's alone.
"""

import contextlib
import gc
import os
import select
import shutil
import socket
import stat
import sys
import tempfile
import threading

import yt_dlp
from yt_dlp_plugins.extractor import _reelhaul_basis as basis
from yt_dlp_plugins.extractor import _reelhaul_link as link
from yt_dlp_plugins.extractor import _reelhaul_load as load
from yt_dlp_plugins.extractor import _reelhaul_run as run

LEFT_POLL = 1000  # milliseconds between looks at forks that nobody asks for


class Resident:
    def __init__(self, connection, settings):
        self.connection = connection
        self.open = True  # the library may ask for runs
        self.early = True  # not all is there yet that each run needs
        self.idle = int(float(settings.seconds) * 1000)
        self.environment = link.variables(settings.environment)
        self.program = sys.orig_argv[:len(sys.orig_argv) - len(sys.argv) + 1]
        self.locations = [os.fsdecode(settings.ffmpeg), shutil.which("ffmpeg") or ""]
        self.runs = {}  # number of the status socket -> that socket, process id
        self.left = set()  # process ids
        self.poll = select.poll()
        self.poll.register(connection, select.POLLIN)
        found = (load.quietly(lambda: list(load.programs(self.locations))), load.quietly(lambda: list(basis.certificates())))
        files = [*basis.plugin_files(), *(path for paths in found for path in paths or ())]
        self.files = {path: basis.identity(path) for path in map(str, files)}

    def serve(self):
        warming = load.steps(self.locations)
        gc.disable()
        gc.freeze()  # a fork's collection would write to all objects, and so copy them
        link.say(self.connection, "ready")
        while self.open or self.runs:
            ready = self.poll.poll(0 if warming else LEFT_POLL if self.left else self.idle or None)
            for number, _ in ready:
                if number in self.runs:
                    self.answer(number)
                else:
                    self.accept()
            self.left = {child for child in self.left if os.waitpid(child, os.WNOHANG)[0] == 0}
            if not ready and warming:
                said = next(warming, "warm")
                if said:
                    link.say(self.connection, said)
                    self.early = False
                if said == "warm":
                    warming = None
                gc.freeze()
            elif not ready and not self.runs and not self.left:
                link.say(self.connection, "rest")
                break

    def accept(self):
        """One request from the library, or its end."""
        try:
            byte, files, _, _ = socket.recv_fds(self.connection, 1, 2)
        except OSError:
            byte, files = b"", []
        if not byte:
            self.open = False
            self.poll.unregister(self.connection)
            self.connection.close()
        elif len(files) == 2:
            with socket.socket(fileno=files[0]) as start:
                start.set_inheritable(False)
                status = socket.socket(fileno=files[1])
                status.set_inheritable(False)
                self.fork(start, status, byte == b"s")

    def fork(self, start, status, stays):
        problem = self.problem()
        try:
            child = -1 if problem else os.fork()
        except OSError as failure:
            child, problem = -1, f"busy: {failure}"
        if child == 0:
            self.connection.close()
            for other, _ in self.runs.values():
                other.close()
            run.live(start, status, self, stays)
        if child < 0:
            link.say(start, f"no {problem}")
            status.close()
            return
        self.runs[status.fileno()] = status, child
        self.poll.register(status, select.POLLIN)

    def problem(self):
        """Why no run can be forked; empty where one can."""
        if any(basis.identity(path) != known for path, known in self.files.items()):
            return "changed: a plugin, ffmpeg, the certificates or the interpreter"
        if threading.active_count() > 1:
            return "impossible: a plugin of the tool has threads"
        return ""

    def answer(self, number):
        """The library asks for a run's end, or has no more interest in it."""
        status, child = self.runs[number]
        try:
            asked = status.recv(16)
        except OSError:
            asked = b""
        ended, word = os.waitpid(child, os.WNOHANG) if asked else (0, 0)
        if asked:
            link.say(status, f"ended {word}" if ended else "running")
            if not ended:
                return
        else:
            self.left.add(child)
        self.poll.unregister(status)
        status.close()
        del self.runs[number]


class Quiet:
    """Catches what is printed while the tool starts: each run would print it as well, and a fork does not."""

    def __init__(self):
        self.file = tempfile.TemporaryFile()
        self.streams = [os.dup(1), os.dup(2)]
        for number in (1, 2):
            os.dup2(self.file.fileno(), number)

    def end(self):
        """True when there was nothing."""
        sys.stdout.flush()
        sys.stderr.flush()
        for number, kept in enumerate(self.streams, 1):
            os.dup2(kept, number)
            os.close(kept)
        with self.file as file:
            return os.fstat(file.fileno()).st_size == 0


def forget_way_in():
    """Takes this extension out of what the tool tells about its plugins."""
    own = os.path.dirname(os.path.abspath(__file__))
    for name, folder in (("yt_dlp_plugins.extractor", own), ("yt_dlp_plugins", os.path.dirname(own))):
        with contextlib.suppress(KeyError, AttributeError, ValueError):
            sys.modules[name].__path__.remove(folder)


def take_over(quiet):
    """The resident's life. Does not return."""
    code = 1
    try:
        connection = socket.socket(fileno=os.dup(0))
        null = os.open(os.devnull, os.O_RDONLY)
        os.dup2(null, 0)
        os.close(null)
        forget_way_in()
        settings = link.read(link.Settings, link.receive(connection)[0])
        if quiet.end():
            Resident(connection, settings).serve()
            code = 0
        else:
            link.say(connection, "no impossible: the tool prints something at each start; a plugin may be broken")
    except BaseException as failure:
        link.say(connection, f"no impossible: {failure!r}")
    finally:
        os._exit(code)


def install():
    quiet = Quiet()
    tool = yt_dlp.YoutubeDL
    begin = tool.__init__

    def instead(*_, **__):
        tool.__init__ = begin
        yt_dlp._load_all_plugins = lambda: None  # they are there
        take_over(quiet)

    tool.__init__ = instead


if stat.S_ISSOCK(os.fstat(0).st_mode):
    install()
