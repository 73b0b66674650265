"""One rate for all downloads of a queue together.

The library names a queue by the folder in which the tool finds us, and writes the rate into a file of that name. Beside it the
runs of the queue keep a clock: the moment up to which the rate is spoken for. A run that has read something books the time
that this takes at the rate, and waits for the end of its booking. So they take turns; what one does not use is the others',
and a new rate, a new run or the end of one counts at once.
"""

import contextlib
import fcntl
import os
import struct
import threading
import time

TURN = 0.05  # seconds of the rate that a run may take at once
CATCH_UP = 0.25  # seconds for which a rate that nobody used is kept: a machine under load wakes runs late
NAP = 0.2  # seconds between two looks at a rate that may have changed, while a run waits
KEEP = 0.05  # seconds for which a look counts while it reads
SMALLEST = 1024  # bytes; the tool's first block

FOLDER = os.path.abspath(os.path.join(__file__, "..", "..", ".."))
NUMBER = struct.Struct("d")


class TotalRate:
    """The part of one run, whatever number of threads it has."""

    def __init__(self, path):
        self.path = path
        self.turn = threading.Lock()  # held by the thread that waits: the others of the run wait behind it
        self.seen = threading.local()
        self.clock = None
        self.looked, self.rate = 0.0, 0
        self.used, self.owed = 0, 0

    def look(self, keep=KEEP):
        """Bytes a second, 0 for as many as there are."""
        now = time.monotonic()
        if now - self.looked > keep:
            self.looked, self.rate = now, 0
            with contextlib.suppress(OSError, ValueError), open(self.path, encoding="ascii") as file:
                self.rate = int(file.read())
        return self.rate

    def block(self):
        return max(SMALLEST, int(self.rate * TURN))

    def book(self, seconds):
        """The moment when the booking ends."""
        if self.clock is None:
            self.clock = os.open(f"{self.path}.clock", os.O_RDWR | os.O_CREAT, 0o600)
        fcntl.flock(self.clock, fcntl.LOCK_EX)
        try:
            told = os.pread(self.clock, NUMBER.size, 0)
            begin = NUMBER.unpack(told)[0] if len(told) == NUMBER.size else 0.0
            end = max(begin, time.monotonic() - CATCH_UP) + seconds
            os.pwrite(self.clock, NUMBER.pack(end), 0)
            return end
        finally:
            fcntl.flock(self.clock, fcntl.LOCK_UN)

    def fresh(self, start, count):
        """Of the bytes of a connection, which began at `start`, those that this thread has not told of."""
        before = getattr(self.seen, "last", (None, 0))
        self.seen.last = start, count
        return count - before[1] if before[0] == start and before[1] <= count else count

    def take(self, start, count):
        count = self.fresh(start, count)
        with self.turn:
            rate = self.look()
            if rate != self.used:
                # What has been read was asked for at another rate, of which it may be many seconds.
                self.used, self.owed, count = rate, 0, min(count, self.block())
            if not rate:
                return
            end = self.book(count / rate)
            self.owed += count
            if self.owed < self.block():
                return
            self.owed = 0
            while (left := end - time.monotonic()) > 0 and self.look(NAP) == rate:
                time.sleep(min(left, NAP))


def install():
    from yt_dlp.downloader.common import FileDownloader

    total, slow, choose = TotalRate(f"{FOLDER}.rate"), FileDownloader.slow_down, FileDownloader.best_block_size

    def slow_down(self, start_time, now, byte_counter):
        slow(self, start_time, now, byte_counter)
        with contextlib.suppress(OSError):
            total.take(start_time, byte_counter)
        if total.rate:
            self.params["throttledratelimit"] = None  # the site is not what makes it slow

    def best_block_size(seconds, size):
        block = choose(seconds, size)
        return min(block, total.block()) if total.rate else block

    FileDownloader.slow_down, FileDownloader.best_block_size = slow_down, staticmethod(best_block_size)


# A tool that is built otherwise some day goes on in its own way.
with contextlib.suppress(ImportError, AttributeError):
    install()
