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

BUILD = os.path.abspath(sys.argv[1])
ENTRIES = int(sys.argv[2]) if len(sys.argv) > 2 else 100
TOOL, FFMPEG = (os.path.join(BUILD, "lib", name) for name in ("yt-dlp", "ffmpeg"))
ENVIRONMENT = dict(os.environ, PYTHONUTF8="1", PYTHONPATH=os.path.join(ROOT, "tests/site/plugin"),
                   PATH=os.path.join(BUILD, "lib") + ":" + os.environ["PATH"])
# The site with a list of as many entries as are wanted, at once and after 300 ms each.
SITE = f"""
import runpy, sys
sys.path.insert(0, "{ROOT}/tests/site")
import pages
for name, more in (("long", ""), ("slow", "&stall=0.3")):
    pages.LISTS[name] = lambda s, more=more: [s.link(f"thumbnails?n={{i}}{{more}}") for i in range({ENTRIES})]
sys.argv = ["site.py", "--log", sys.argv[1]]
runpy.run_path("{ROOT}/tests/site/site.py", run_name="__main__")
"""
ANALYSIS = ["--ffmpeg-location", FFMPEG, "-J", "--no-check-certificates", "--ignore-config"]


def lists(address):
    for name in ("long", "slow"):
        url = f"{address}/list/{name}"
        begin = time.perf_counter()
        document = subprocess.run([TOOL, *ANALYSIS, url], env=ENVIRONMENT, check=True, capture_output=True).stdout
        bare = time.perf_counter() - begin
        print(f"{name}: the tool in one process, {len(json.loads(document)['entries'])} entries: {bare:.2f} s")
        run = subprocess.run([os.path.join(BUILD, "bin/reelhaul_bench"), "--benchmark_filter=WarmList", "--benchmark_format=json"],
                             env={**ENVIRONMENT, "REELHAUL_BENCH_LIST": url, "REELHAUL_BENCH_TOOLS": os.path.join(BUILD, "lib")},
                             check=True, stdout=subprocess.PIPE, stderr=subprocess.DEVNULL)
        for row in json.loads(run.stdout)["benchmarks"]:
            at_once, thumbnails = map(int, re.findall(r"/(\d+)", row["name"])[:2])
            print(f"  {at_once} at once, {'with' if thumbnails else 'without'} thumbnails, {row['items']:.0f} items, "
                  f"{row['pictures']:.0f} pictures: "
                  f"{row['real_time'] / 1000:6.2f} s   ratio {row['real_time'] / 1000 / bare:.2f}")


def first_bytes(address, log, pairs=7):
    """From the start of a run to its request of the file."""
    url = f"{address}/watch/combined"
    options = ["--no-live-from-start", "--format", "combined320-mp4", "--ignore-config"]
    with tempfile.TemporaryDirectory() as folder:
        kept = os.path.join(folder, "kept.json")
        with open(kept, "wb") as file:
            subprocess.run([TOOL, *ANALYSIS, url], env=ENVIRONMENT, check=True, stdout=file)
        warm = Resident(TOOL, ENVIRONMENT, FFMPEG)
        warm.wait_for("warm")

        def request(run, number, *what):
            begin = time.time()
            run(*options, "--output", os.path.join(folder, f"{number}.mp4"), *what)
            with open(log, encoding="utf-8") as lines:
                return float([line for line in lines if "GET /media/" in line][-1].split()[-2]) - begin

        def bare(*arguments):
            subprocess.run([TOOL, *arguments], env=ENVIRONMENT, check=True, stdout=subprocess.DEVNULL)

        ours = [request(warm.run, f"warm{i}", "--load-info-json", kept) for i in range(pairs)]
        theirs = [request(bare, f"bare{i}", url) for i in range(pairs)]
        warm.close()
    ours, theirs = map(statistics.median, (ours, theirs))
    print(f"to the first request of media: {ours * 1000:.0f} ms, the tool {theirs * 1000:.0f} ms, ratio {ours / theirs:.2f}")


def main():
    with tempfile.TemporaryDirectory() as folder:
        log = os.path.join(folder, "site.log")
        site = subprocess.Popen([sys.executable, "-c", SITE, log], stdin=subprocess.PIPE, stdout=subprocess.PIPE, text=True)
        address = site.stdout.readline().strip()
        try:
            first_bytes(address, log)
            lists(address)
        finally:
            site.stdin.close()
            site.wait()


if __name__ == "__main__":
    main()
