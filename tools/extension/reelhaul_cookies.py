"""Keeps runs of the tool that share a cookies file from breaking it, and one another.

By itself the tool writes the file anew at the end of each run, in place: a run that reads it at that moment finds half
of it, a run that is ended then leaves half of it, and what another run or the user has written meanwhile is lost. With
this extension only a run's own changes go into the file, which is replaced as a whole under a lock; where nothing
changed it is left alone. The tool loads it from PYTHONPATH, as it does any plugin.
"""

import contextlib
import os
import signal
import stat
import tempfile
import time

PATIENCE = 10  # seconds until a run goes on without the lock: its holder may have been stopped
SIGNALS = (signal.SIGHUP, signal.SIGINT, signal.SIGTERM)


def install():
    import fcntl

    from yt_dlp.cookies import YoutubeDLCookieJar as Jar

    tool_load, tool_save = Jar.load, Jar.save
    loaded = {}  # path -> what this run has read there

    def entry(cookie):
        return (cookie.domain, cookie.path, cookie.name), (cookie.value, cookie.secure, cookie.expires or 0)

    @contextlib.contextmanager
    def locked(path, kind):
        end = time.monotonic() + PATIENCE
        with contextlib.ExitStack() as held:
            while os.path.exists(path) and time.monotonic() < end:
                with contextlib.suppress(OSError), contextlib.ExitStack() as tried:
                    file = tried.enter_context(open(path, "rb"))
                    fcntl.flock(file, kind | fcntl.LOCK_NB)
                    # Another run may have put a new file in this one's place.
                    if os.path.samestat(os.fstat(file.fileno()), os.stat(path)):
                        held.push(tried.pop_all())
                        break
                time.sleep(0.01)
            yield

    def replace(jar, path):
        """Puts the file in place as a whole, with its owner and permissions; False where that can't be done."""
        try:
            number, temporary = tempfile.mkstemp(prefix=".cookies-", dir=os.path.dirname(path))
        except OSError:
            return False
        os.close(number)
        try:
            if os.path.exists(path):
                status = os.stat(path)
                os.chown(temporary, status.st_uid, status.st_gid)
                os.chmod(temporary, stat.S_IMODE(status.st_mode))
            tool_save(jar, temporary)
            os.replace(temporary, path)
        except OSError:
            os.unlink(temporary)
            return False
        return True

    def merge(jar, path):
        """Writes what this run changed into what the file holds by now."""
        exists = os.path.exists(path)
        merged = Jar(path)
        if exists:
            tool_load(merged)
        before = dict(map(entry, merged))
        base, mine = loaded.get(path, {}), dict(map(entry, jar))
        for cookie in jar:
            key, content = entry(cookie)
            if base.get(key) != content:
                merged.set_cookie(cookie)
        for key in base.keys() - mine.keys():
            merged.clear(*key)
        if exists and dict(map(entry, merged)) == before:
            return
        if not replace(merged, path):
            tool_save(merged, path)

    def load(self, filename=None, *args, **kwargs):
        path = filename or self.filename
        loaded.pop(os.path.realpath(path) if isinstance(path, str) else None, None)  # of an earlier run in this process
        if not isinstance(path, str) or not os.path.isfile(path):
            return tool_load(self, filename, *args, **kwargs)
        path = os.path.realpath(path)
        with locked(path, fcntl.LOCK_SH):
            tool_load(self, filename, *args, **kwargs)
        loaded[path] = dict(map(entry, self))
        return None

    def save(self, filename=None, *args, **kwargs):
        path = filename or self.filename
        if not isinstance(path, str) or (os.path.exists(path) and not os.path.isfile(path)):
            return tool_save(self, filename, *args, **kwargs)
        path = os.path.realpath(path)
        if os.path.exists(path) and not os.access(path, os.R_OK | os.W_OK):
            return None  # the user has protected it
        before = signal.pthread_sigmask(signal.SIG_BLOCK, SIGNALS)
        try:
            with locked(path, fcntl.LOCK_EX):
                merge(self, path)
        finally:
            signal.pthread_sigmask(signal.SIG_SETMASK, before)
        return None

    Jar.load, Jar.save = load, save


# A tool that is built otherwise some day goes on in its own way.
with contextlib.suppress(ImportError, AttributeError):
    install()
