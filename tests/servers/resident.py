"""A client of the warm tool: what the library does, without the library."""

import contextlib
import os
import re
import shutil
import socket
import struct
import subprocess
import tempfile
from pathlib import Path

EXTENSION = Path(__file__).resolve().parent.parent.parent / "tools/extension"


def send(connection, fields, descriptors=()):
    body = b"\0".join(map(os.fsencode, fields))
    message = struct.pack("=I", len(body)) + body
    if descriptors:
        sent = socket.send_fds(connection, [message], descriptors)
        message = message[sent:]
    if message:
        connection.sendall(message)


def texts(environment):
    return [str(len(environment)), *(f"{name}={value}" for name, value in environment.items())]


class Refused(Exception):
    pass


class Fork:
    """What the resident forks: for one run, or one that stays for the next."""

    def __init__(self, connection, stays=False):
        self.stays, self.lost = stays, False
        self.start, its_start = socket.socketpair()
        self.status, its_status = socket.socketpair()
        socket.send_fds(connection, [b"s" if stays else b"r"], [its_start.fileno(), its_status.fileno()])
        its_start.close(), its_status.close()

    def close(self):
        self.start.close(), self.status.close()


class Run:
    """A run of the tool out of the resident."""

    def __init__(self, fork, arguments, environment, folder="/", mask=0o22, go=True):
        self.fork = fork
        (self.output, its_output), (self.errors, its_errors) = os.pipe(), os.pipe()
        send(fork.start, [folder, str(mask), *texts(environment), str(len(arguments)), *arguments], [its_output, its_errors])
        for one in (its_output, its_errors):
            os.close(one)
        answer = fork.start.recv(1000).decode().split()
        if answer[:1] != ["up"]:
            fork.close(), os.close(self.output), os.close(self.errors)
            raise Refused(" ".join(answer))
        self.pid = int(answer[1])
        if go:
            fork.start.sendall(b"g")
        if not fork.stays:
            fork.start.close()

    def finish(self):
        """Standard output, standard error, and the exit status as the subprocess module has it."""
        collected = []
        for stream in (self.output, self.errors):
            with os.fdopen(stream, "rb") as file:
                collected.append(file.read())
        if self.fork.stays and self.fork.start.recv(1000) == b"done\n":
            return *collected, 0
        self.fork.lost = True
        words, code = "", None
        while code is None:
            with contextlib.suppress(BrokenPipeError):
                self.fork.status.sendall(b"w")
            received = self.fork.status.recv(1000).decode()
            words += received
            if found := re.search(r"ended (\d+)\n", words):
                code = os.waitstatus_to_exitcode(int(found[1]))
            elif not received:
                code = int(re.search(r"code (\d+)\n", words)[1])
        self.fork.close()
        return *collected, code


class Resident:
    def __init__(self, tool, environment, ffmpeg="", seconds=60):
        self.folder = Path(tempfile.mkdtemp(prefix="reelhaul-warm."))
        place = self.folder / "reelhaul/yt_dlp_plugins/extractor"
        place.mkdir(parents=True)
        for file in ("reelhaul_warm", "_reelhaul_basis", "_reelhaul_link", "_reelhaul_load", "_reelhaul_run"):
            shutil.copy(EXTENSION / f"{file}.py", place)
        self.tool, self.environment = str(tool), environment
        self.connection, its = socket.socketpair()
        self.process = subprocess.Popen(
            [tool, "--ignore-config", "--no-plugin-dirs", "--plugin-dirs", self.folder, "--plugin-dirs", "default"],
            stdin=its, env=environment, stdout=subprocess.PIPE, stderr=subprocess.PIPE, start_new_session=True)
        its.close()
        send(self.connection, [str(seconds), str(ffmpeg), *texts(environment)])
        self.words = self.connection.makefile("r")

    def wait_for(self, word):
        line = self.words.readline().strip()
        while line and line != word:
            if line.startswith("no "):
                raise Refused(line)
            line = self.words.readline().strip()
        if not line:
            raise EOFError(self.process.communicate())

    def start(self, *arguments, environment=None, **options):
        return self.begin(Fork(self.connection), *arguments, environment=environment, **options)

    def begin(self, fork, *arguments, environment=None, **options):
        return Run(fork, [self.tool, *map(str, arguments)], environment or self.environment, **options)

    def run(self, *arguments, **options):
        return self.start(*arguments, **options).finish()

    def shut(self):
        """The library has gone."""
        self.words.close()
        self.connection.close()

    def close(self):
        self.shut()
        self.process.communicate()
        shutil.rmtree(self.folder)
