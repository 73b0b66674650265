#!/usr/bin/env python3
"""Many addresses on standard input: the command with four at once against the tool's own analysis of them in one process.

    bench/addresses.py BUILD_FOLDER [ADDRESSES [PAIRS]]
"""

import os
import statistics
import subprocess
import sys
import tempfile
import time

ROOT = os.path.dirname(os.path.dirname(os.path.abspath(__file__)))
BUILD = os.path.abspath(sys.argv[1])
ADDRESSES, PAIRS = (int(sys.argv[place]) if len(sys.argv) > place else otherwise for place, otherwise in ((2, 200), (3, 3)))
TOOL, FFMPEG = (os.path.join(BUILD, "lib", name) for name in ("yt-dlp", "ffmpeg"))
# What the command gives the tool for an address.
TOOL_RUN = [TOOL, "--ffmpeg-location", FFMPEG, "-J", "--flat-playlist", "--no-check-certificates", "--ignore-config", "-a", "-"]


def seconds(command, lines, environment):
    begin = time.perf_counter()
    run = subprocess.run(command, input=lines, env=environment, check=True, stdout=subprocess.PIPE, stderr=subprocess.DEVNULL)
    assert run.stdout.count(b'"title": "T') >= ADDRESSES
    return time.perf_counter() - begin


def main():
    with tempfile.TemporaryDirectory() as folder:
        environment = dict(os.environ, PYTHONUTF8="1", PYTHONPATH=os.path.join(ROOT, "tests/site/plugin"),
                           PATH=os.path.join(BUILD, "lib") + ":" + os.environ["PATH"], REELHAUL_SETTINGS=os.path.join(folder, "settings"))
        site = subprocess.Popen([sys.executable, os.path.join(ROOT, "tests/site/site.py")],
                                stdin=subprocess.PIPE, stdout=subprocess.PIPE, text=True)
        address = site.stdout.readline().strip()
        try:
            for name, more in (("at once", ""), ("after 300 ms", "&stall=0.3")):
                lines = "\n".join(f"{address}/watch/combined?title=T{i}{more}" for i in range(ADDRESSES)).encode()
                pairs = []
                for _ in range(PAIRS):
                    ours = seconds([os.path.join(BUILD, "bin/reelhaul"), "info", "--json", "-a", "-", "--analyses", "4"], lines, environment)
                    pairs.append((ours, seconds(TOOL_RUN, lines, environment)))
                ours, bare = (statistics.median(column) for column in zip(*pairs, strict=True))
                ratio = statistics.median(one / other for one, other in pairs)
                print(f"{ADDRESSES} addresses, pages that come {name}: {ours:.2f} s, the tool in one process {bare:.2f} s, ratio {ratio:.2f}")
        finally:
            site.stdin.close()
            site.wait()


if __name__ == "__main__":
    main()
