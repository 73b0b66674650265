"""What a run of the tool is to the system, as the description of an item: "facts:NAME". "facts:wait" has it wait for its end;
other names have it leave something behind, or crash."""

import json
import os
import random
import resource
import signal
import ssl
import subprocess
import sys
import threading
import time

from yt_dlp.extractor.common import InfoExtractor
from yt_dlp.networking import common as networking
from yt_dlp.utils import deprecation_warning


def open_files():
    return sorted(int(number) for number in os.listdir("/proc/self/fd") if os.path.exists(f"/proc/self/fd/{number}"))


def signals():
    rows = dict(line.split(":\t") for line in open("/proc/self/status") if line.startswith("Sig"))
    return {name: rows[name].strip() for name in ("SigBlk", "SigIgn", "SigCgt")}


def context():
    """What the tool secures its connections with."""
    return networking.make_ssl_context(verify=True, legacy_support=False, use_certifi=True)


def trust_all():
    ours = context()
    ours.check_hostname, ours.verify_mode = False, ssl.CERT_NONE


DEEDS = {
    "thread": lambda: threading.Thread(target=time.sleep, args=(600,), daemon=True).start(),
    "child": lambda: subprocess.Popen(["sleep", "600"], stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL),
    "handler": lambda: signal.signal(signal.SIGUSR1, signal.SIG_IGN),
    "mask": lambda: signal.pthread_sigmask(signal.SIG_BLOCK, (signal.SIGUSR1,)),
    "timer": lambda: signal.setitimer(signal.ITIMER_REAL, 600),
    "file": lambda: os.open(os.devnull, os.O_RDONLY),
    "variable": lambda: os.environ.update(LEFT="1"),
    "memory": lambda: len(bytearray(100 << 20)),
    "crash": lambda: os.kill(os.getpid(), signal.SIGSEGV),
    "late": lambda: runs > 1 and os.kill(os.getpid(), signal.SIGSEGV),  # in a process that has served another run
    "once": lambda: deprecation_warning("told once"),
    "fail": lambda: 1 / 0,
    "wander": lambda: (os.chdir("/"), os.umask(0), trust_all()),
}
runs = 0


class ReelhaulFactsIE(InfoExtractor):
    _VALID_URL = r"facts:(?P<id>\w+)"
    IE_NAME = "reelhaul-facts"
    _NETRC_MACHINE = "reelhaul-site"
    LIST = ("a", "a", "a", "a", "late", "thread", "crash", "b", "fail", "c", "late")

    def _real_extract(self, url):
        global runs
        runs += 1
        DEEDS.get(self._match_id(url), lambda: None)()
        if self._match_id(url) == "list":
            return self.playlist_result([self.url_result(f"facts:{name}") for name in self.LIST], "list")
        if self._match_id(url) == "wait":
            self.report_warning("waiting")
            time.sleep(600)
        mask = os.umask(0)
        os.umask(mask)
        facts = {
            "leads": [os.getpid() == os.getpgid(0), os.getpid() == os.getsid(0)], "parent": os.getppid(), "folder": os.getcwd(),
            "mask": mask, "signals": signals(), "interrupt": signal.getsignal(signal.SIGINT) is signal.default_int_handler,
            "files": open_files(), "streams": [os.readlink(f"/proc/self/fd/{number}").partition(":")[0] for number in range(3)],
            "blocking": [os.get_blocking(number) for number in range(3)], "buffers": [sys.stdout.encoding, sys.stdout.line_buffering],
            "argv": sys.argv, "orig_argv": sys.orig_argv, "environ": dict(os.environ), "path": sys.path, "stdin": sys.stdin.read(),
            "core": resource.getrlimit(resource.RLIMIT_CORE), "locale": sys.flags.utf8_mode, "verifies": context().check_hostname, "guard": any(
                name.endswith("reelhaul_cookies") for name in sys.modules),
        }
        return {"id": self._match_id(url), "title": str(random.random()), "description": json.dumps(facts, sort_keys=True),
                "url": "http://127.0.0.1:9/"}
