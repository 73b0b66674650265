"""What the warm tool and the library say to each other; reelhaul_warm.py tells in which order.

A message is its length and then its fields with a NUL between them, which no argument of a program can hold. A list stands
behind the number of its texts. Where that goes with it, a message brings open files.
"""

import collections
import contextlib
import socket
import struct

# Seconds to stay without a run, 0 for no end; the path of ffmpeg, which may be empty; the variables that it was started with.
Settings = collections.namedtuple("Settings", "seconds ffmpeg environment")
Request = collections.namedtuple("Request", "folder mask environment arguments")
LENGTH = struct.Struct("=I")


class Changed(Exception):
    """What the resident holds in memory is not what a new process would load."""


def receive(connection):
    """The next message: its fields, and the files that came with it."""
    head, files, _, _ = socket.recv_fds(connection, LENGTH.size, 2)
    head += exactly(connection, LENGTH.size - len(head))
    return exactly(connection, LENGTH.unpack(head)[0]).split(b"\0"), files


def exactly(connection, size):
    parts = []
    while size > 0:
        part = connection.recv(size)
        if not part:
            raise EOFError
        parts.append(part)
        size -= len(part)
    return b"".join(parts)


def read(kind, fields):
    """The message that the fields are: two texts, then lists."""
    values, rest = fields[:2], fields[2:]
    while rest:
        count = int(rest[0])
        values.append(rest[1:1 + count])
        rest = rest[1 + count:]
    return kind(*values)


def variables(texts):
    return dict(text.split(b"=", 1) for text in texts if b"=" in text)


def say(connection, text):
    """One line. The other end may be gone: it then has no more interest."""
    with contextlib.suppress(OSError):
        connection.sendall(text.encode(errors="replace").replace(b"\n", b" ") + b"\n")
