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
    connection.sendall(message)


def texts(environment):
    return [str(len(environment)), *(f"{name}={value}" for name, value in environment.items())]


class Refused(Exception):
    pass


class Run:
    """A run of the tool out of the resident."""

    def __init__(self, connection, arguments, environment, folder="/", mask=0o22, go=True):
        start, its_start = socket.socketpair()
        self.status, its_status = socket.socketpair()
        (self.output, its_output), (self.errors, its_errors) = os.pipe(), os.pipe()
        socket.send_fds(connection, [b"r"], [its_start.fileno(), its_status.fileno()])
        send(start, [folder, str(mask), *texts(environment), str(len(arguments)), *arguments], [its_output, its_errors])
        for one in (its_start, its_status):
            one.close()
        for one in (its_output, its_errors):
            os.close(one)
        answer = start.recv(1000).decode().split()
        if answer[:1] != ["up"]:
            start.close(), self.status.close(), os.close(self.output), os.close(self.errors)
            raise Refused(" ".join(answer))
        self.pid = int(answer[1])
        if go:
            start.sendall(b"g")
        start.close()

    def finish(self):
        """Standard output, standard error, and the exit status as the subprocess module has it."""
        collected = []
        for stream in (self.output, self.errors):
            with os.fdopen(stream, "rb") as file:
                collected.append(file.read())
        words, code = "", None
        while code is None:
            with contextlib.suppress(BrokenPipeError):
                self.status.sendall(b"w")
            received = self.status.recv(1000).decode()
            words += received
            if found := re.search(r"ended (\d+)\n", words):
                code = os.waitstatus_to_exitcode(int(found[1]))
            elif not received:
                code = int(re.search(r"code (\d+)\n", words)[1])
        self.status.close()
        return *collected, code


class Resident:
    def __init__(self, tool, environment, ffmpeg="", seconds=60):
        self.folder = Path(tempfile.mkdtemp(prefix="reelhaul-warm."))
        place = self.folder / "reelhaul/yt_dlp_plugins/extractor"
        place.mkdir(parents=True)
        for file in ("reelhaul_warm", "_reelhaul_link", "_reelhaul_load", "_reelhaul_run"):
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
        return Run(self.connection, [self.tool, *map(str, arguments)], environment or self.environment, **options)

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
