#!/usr/bin/env python3
"""The whole of `reelhaul info --json` against the bare tool with the same arguments on the same address, pair by pair.

    bench/info_overhead.py BUILD_FOLDER [PAIRS]

Starts the loopback site, runs both in turn, and prints the medians and the median of the pairs' ratios.
"""

import os
import statistics
import subprocess
import sys
import time

ROOT = os.path.dirname(os.path.dirname(os.path.abspath(__file__)))


def timed(command, environment):
    begin = time.perf_counter()
    subprocess.run(command, env=environment, check=True, stdout=subprocess.PIPE, stderr=subprocess.DEVNULL)
    return time.perf_counter() - begin


def main():
    build = os.path.abspath(sys.argv[1])
    pairs = int(sys.argv[2]) if len(sys.argv) > 2 else 31
    lib = os.path.join(build, "lib")
    environment = dict(os.environ, PYTHONUTF8="1", PYTHONPATH=os.path.join(ROOT, "tests/site/plugin"))
    site = subprocess.Popen(
        [sys.executable, os.path.join(ROOT, "tests/site/site.py")], stdin=subprocess.PIPE, stdout=subprocess.PIPE, text=True)
    address = site.stdout.readline().strip()
    try:
        for page in ("watch/two-languages", "watch/big", "direct/combined320.mp4"):
            url = f"{address}/{page}"
            ours = [os.path.join(build, "bin/reelhaul"), "info", "--json", url]
            bare = [os.path.join(lib, "yt-dlp"), "--ignore-config", "--no-live-from-start", "--js-runtimes", "deno:" + os.path.join(lib, "deno"),
                    "--ffmpeg-location", os.path.join(lib, "ffmpeg"), "--yes-playlist", "--flat-playlist",
                    "--skip-download", "--sleep-interval", "10", "-J", url]
            with_folder = dict(environment, PATH=lib + ":" + environment["PATH"])
            timed(ours, environment), timed(bare, with_folder)
            first, second = [], []
            for _ in range(pairs):
                first.append(timed(ours, environment))
                second.append(timed(bare, with_folder))
            ratio = statistics.median(a / b for a, b in zip(first, second))
            print(f"{page:26} reelhaul {statistics.median(first) * 1000:7.1f} ms   "
                  f"tool {statistics.median(second) * 1000:7.1f} ms   ratio {ratio:.3f}")
    finally:
        site.stdin.close()
        site.wait()


if __name__ == "__main__":
    main()
