#!/usr/bin/env python3
"""Playlists side by side out of the warm tool against the tool's own analysis of the list in one process; and the time to
a download's first request of media, by the kept document out of the warm tool against a run of its own by the address.

    bench/playlist.py BUILD_FOLDER [ENTRIES]
"""

import json
import os
import re
import statistics
import subprocess
import sys
import tempfile
import time

ROOT = os.path.dirname(os.path.dirname(os.path.abspath(__file__)))
sys.path.insert(0, os.path.join(ROOT, "tests/servers"))
from resident import Resident

# The site with a list of as many entries as are wanted, at once and after 300 ms each.
SITE = f"""
import runpy, sys
sys.path.insert(0, "{ROOT}/tests/site")
import pages
entries = int(sys.argv[2])
for name, more in (("long", ""), ("slow", "&stall=0.3")):
    pages.LISTS[name] = lambda s, more=more: [s.link(f"thumbnails?n={{i}}{{more}}") for i in range(entries)]
sys.argv = ["site.py", "--log", sys.argv[1]]
runpy.run_path("{ROOT}/tests/site/site.py", run_name="__main__")
"""
ANALYSIS = ["-J", "--no-check-certificates", "--ignore-config"]


def lists(build, environment, address, repeats):
    """The fastest of several runs for each: what else the machine does only ever adds to one."""
    lib = os.path.join(build, "lib")
    for name, times in (("long", repeats), ("slow", 1)):
        url = f"{address}/list/{name}"
        bare, ours = [], {}
        for _ in range(times):
            begin = time.perf_counter()
            document = subprocess.run([os.path.join(lib, "yt-dlp"), "--ffmpeg-location", os.path.join(lib, "ffmpeg"), *ANALYSIS, url],
                                      env=environment, check=True, capture_output=True).stdout
            bare.append(time.perf_counter() - begin)
            run = subprocess.run([os.path.join(build, "bin/reelhaul_bench"), "--benchmark_filter=WarmList", "--benchmark_format=json"],
                                 env={**environment, "REELHAUL_BENCH_LIST": url, "REELHAUL_BENCH_TOOLS": lib},
                                 check=True, stdout=subprocess.PIPE, stderr=subprocess.DEVNULL)
            for row in json.loads(run.stdout)["benchmarks"]:
                ours.setdefault(row["name"], []).append(row)
        print(f"{name}: the tool in one process, {len(json.loads(document)['entries'])} entries: {min(bare):.2f} s")
        for rows in ours.values():
            row = min(rows, key=lambda one: one["real_time"])
            at_once, thumbnails = map(int, re.findall(r"/(\d+)", row["name"])[:2])
            print(f"  {at_once} at once, {'with' if thumbnails else 'without'} thumbnails, {row['items']:.0f} items, "
                  f"{row['pictures']:.0f} pictures: "
                  f"{row['real_time'] / 1000:6.2f} s   ratio {row['real_time'] / 1000 / min(bare):.2f}")


def first_bytes(build, environment, address, log, pairs=7):
    """From the start of a run to its request of the file."""
    tool = os.path.join(build, "lib/yt-dlp")
    url = f"{address}/watch/combined"
    options = ["--no-live-from-start", "--format", "combined320-mp4", "--ignore-config"]
    with tempfile.TemporaryDirectory() as folder:
        kept = os.path.join(folder, "kept.json")
        with open(kept, "wb") as file:
            subprocess.run([tool, *ANALYSIS, url], env=environment, check=True, stdout=file)
        warm = Resident(tool, environment, os.path.join(build, "lib/ffmpeg"))
        warm.wait_for("warm")

        def request(run, number, *what):
            begin = time.time()
            run(*options, "--output", os.path.join(folder, f"{number}.mp4"), *what)
            with open(log, encoding="utf-8") as lines:
                return float([line for line in lines if "GET /media/" in line][-1].split()[-2]) - begin

        def bare(*arguments):
            subprocess.run([tool, *arguments], env=environment, check=True, stdout=subprocess.DEVNULL)

        ours, theirs = [], []
        for i in range(pairs):
            ours.append(request(warm.run, f"warm{i}", "--load-info-json", kept))
            theirs.append(request(bare, f"bare{i}", url))
        warm.close()
    ours, theirs = map(statistics.median, (ours, theirs))
    print(f"to the first request of media: {ours * 1000:.0f} ms, the tool {theirs * 1000:.0f} ms, ratio {ours / theirs:.2f}")


def measure(build, entries, repeats=3):
    environment = dict(os.environ, PYTHONUTF8="1", PYTHONPATH=os.path.join(ROOT, "tests/site/plugin"),
                       PATH=os.path.join(build, "lib") + ":" + os.environ["PATH"])
    with tempfile.TemporaryDirectory() as folder:
        log = os.path.join(folder, "site.log")
        site = subprocess.Popen([sys.executable, "-c", SITE, log, str(entries)], stdin=subprocess.PIPE, stdout=subprocess.PIPE, text=True)
        address = site.stdout.readline().strip()
        try:
            first_bytes(build, environment, address, log)
            lists(build, environment, address, repeats)
        finally:
            site.stdin.close()
            site.wait()


if __name__ == "__main__":
    measure(os.path.abspath(sys.argv[1]), int(sys.argv[2]) if len(sys.argv) > 2 else 100)
