#!/usr/bin/env python3
"""Many addresses on standard input: the command with four at once against the tool's own analysis of them in one process.

The first rows include the start of both. The last one is what as many more addresses take, when both have loaded everything.

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
    count = lines.count(b"\n") + 1
    begin = time.perf_counter()
    run = subprocess.run(command, input=lines, env=environment, check=True, stdout=subprocess.PIPE, stderr=subprocess.DEVNULL)
    assert run.stdout.count(b'"title": "T') >= count
    return time.perf_counter() - begin


def pair(lines, environment):
    text = "\n".join(lines).encode()
    return [seconds(command, text, environment) for command in
            ([os.path.join(BUILD, "bin/reelhaul"), "info", "--json", "-a", "-", "--analyses", "4"], TOOL_RUN)]


def tell(name, pairs):
    ours, bare = (statistics.median(column) for column in zip(*pairs, strict=True))
    ratio = statistics.median(one / other for one, other in pairs)
    print(f"{ADDRESSES} addresses, {name}: {ours:.2f} s, the tool in one process {bare:.2f} s, ratio {ratio:.2f}", flush=True)


def main():
    with tempfile.TemporaryDirectory() as folder:
        environment = dict(os.environ, PYTHONUTF8="1", PYTHONPATH=os.path.join(ROOT, "tests/site/plugin"),
                           PATH=os.path.join(BUILD, "lib") + ":" + os.environ["PATH"], REELHAUL_SETTINGS=os.path.join(folder, "settings"))
        site = subprocess.Popen([sys.executable, os.path.join(ROOT, "tests/site/site.py")],
                                stdin=subprocess.PIPE, stdout=subprocess.PIPE, text=True)
        address = site.stdout.readline().strip()
        try:
            lines = [f"{address}/watch/combined?title=T{i}" for i in range(2 * ADDRESSES)]
            at_once, later = [], []
            for _ in range(PAIRS):
                at_once.append(pair(lines[:ADDRESSES], environment))
                later.append([twice - once for twice, once in zip(pair(lines, environment), at_once[-1], strict=True)])
            tell("pages that come at once", at_once)
            tell("pages that come after 300 ms",
                 [pair([f"{line}&stall=0.3" for line in lines[:ADDRESSES]], environment) for _ in range(PAIRS)])
            tell("pages that come at once, behind as many", later)
        finally:
            site.stdin.close()
            site.wait()


if __name__ == "__main__":
    main()
