#!/usr/bin/env python3
"""The warm tool against the bare one, with the same arguments on the same address, pair by pair.

    bench/warm_tool.py BUILD_FOLDER [PAIRS [LONG_RUNS]] [--all]

Starts the loopback site and prints the medians and the median of the pairs' ratios; the memory of six runs at once; and,
with LONG_RUNS (5000 for a day of work), the resident's memory after so many runs over that after a hundred. --all is 15 pairs,
5000 runs, and what bench/playlist.py measures: some four minutes.
"""

import argparse
import os
import statistics
import subprocess
import sys
import time

ROOT = os.path.dirname(os.path.dirname(os.path.abspath(__file__)))
sys.path.insert(0, os.path.join(ROOT, "tests/servers"))
import playlist
from resident import Resident

PARSER = argparse.ArgumentParser()
PARSER.add_argument("build", type=os.path.abspath)
PARSER.add_argument("pairs", nargs="?", type=int, default=15)
PARSER.add_argument("long_runs", nargs="?", type=int, default=0)
PARSER.add_argument("--all", action="store_true")
CHOSEN = PARSER.parse_args()

LIB = os.path.join(CHOSEN.build, "lib")
TOOL, FFMPEG = os.path.join(LIB, "yt-dlp"), os.path.join(LIB, "ffmpeg")
ENVIRONMENT = dict(os.environ, PYTHONUTF8="1", PYTHONPATH=os.path.join(ROOT, "tests/site/plugin"),
                   PATH=LIB + ":" + os.environ["PATH"])
ANALYSIS = ["--no-live-from-start", "--js-runtimes", "deno:" + os.path.join(LIB, "deno"), "--ffmpeg-location", FFMPEG,
            "--yes-playlist", "--flat-playlist", "--skip-download", "--sleep-interval", "10", "-J", "--no-check-certificates"]


def cold(*arguments):
    return subprocess.Popen([TOOL, *arguments], env=ENVIRONMENT, stdout=subprocess.PIPE, stderr=subprocess.DEVNULL)


def timed(function):
    begin = time.perf_counter()
    function()
    return time.perf_counter() - begin


def share(pids):
    """Memory in KiB, what several processes share divided among them."""
    def of(pid):
        with open(f"/proc/{pid}/smaps_rollup", encoding="ascii") as file:
            return next(int(line.split()[1]) for line in file if line.startswith("Pss:"))
    return sum(map(of, pids))


def compare(warm, address, pairs):
    for page in ("watch/two-languages", "direct/combined320.mp4", "html/og-video"):
        url = f"{address}/{page}"
        ours, bare = [], []
        for _ in range(pairs):
            ours.append(timed(lambda: warm.run(*ANALYSIS, url)))
            bare.append(timed(lambda: cold(*ANALYSIS, url).communicate()))
        ratio = statistics.median(a / b for a, b in zip(ours, bare))
        print(f"{page:26} warm {statistics.median(ours) * 1000:7.1f} ms   tool {statistics.median(bare) * 1000:7.1f} ms   "
              f"ratio {ratio:.3f}")


def compare_with_thumbnail(build, address, pairs):
    """Through the library, which has the bytes of the thumbnail fetched by a run of its own."""
    url = f"{address}/watch/thumbnails"
    before = [timed(lambda: cold(*ANALYSIS, url).communicate()) for _ in range(pairs)]
    lines = subprocess.run([os.path.join(build, "bin/example_warm"), *[url] * pairs], env=ENVIRONMENT, text=True, check=True,
                           stdout=subprocess.PIPE, stderr=subprocess.DEVNULL).stdout.splitlines()
    bare = before + [timed(lambda: cold(*ANALYSIS, url).communicate()) for _ in range(pairs)]
    ours = statistics.median(int(line.split()[-2]) for line in lines)
    print(f"{'with its thumbnail':26} warm {ours:7.1f} ms   tool {statistics.median(bare) * 1000:7.1f} ms   "
          f"ratio {ours / 1000 / statistics.median(bare):.3f}, without the thumbnail's bytes")


def memory_at_once(warm, address):
    url = f"{address}/watch/combined?media.stall=60"
    arguments = ["--output", "-", "--format", "combined320-mp4", url]
    runs = [warm.start(*arguments) for _ in range(6)]
    bare = [cold(*arguments) for _ in range(6)]
    time.sleep(8)  # until all wait for the site
    ours = share([warm.process.pid, *(run.pid for run in runs)])
    theirs = share([run.pid for run in bare])
    print(f"six runs at once           warm {ours / 1024:7.1f} MiB  tool {theirs / 1024:7.1f} MiB  ratio {ours / theirs:.3f}")
    for run in runs:
        os.killpg(run.pid, 9)
        run.finish()
    for run in bare:
        run.kill()
        run.communicate()


def long_day(warm, runs):
    for number in range(1, runs + 1):
        warm.run("--version")
        if number == 100:
            first = share([warm.process.pid])
    last = share([warm.process.pid])
    print(f"after {runs} runs           {last / 1024:.1f} MiB, after 100 {first / 1024:.1f} MiB, ratio {last / first:.3f}")


def main():
    print(f"load {os.getloadavg()[0]:.1f}, {os.cpu_count()} processors")
    site = subprocess.Popen([sys.executable, os.path.join(ROOT, "tests/site/site.py")], stdin=subprocess.PIPE,
                            stdout=subprocess.PIPE, text=True)
    address = site.stdout.readline().strip()
    begin = time.perf_counter()
    warm = Resident(TOOL, ENVIRONMENT, FFMPEG)
    try:
        for word in ("ready", "warm"):
            warm.wait_for(word)
            print(f"{word:26} after {time.perf_counter() - begin:.2f} s")
        print(f"{'resident':26} {share([warm.process.pid]) / 1024:.1f} MiB")
        compare(warm, address, CHOSEN.pairs)
        compare_with_thumbnail(CHOSEN.build, address, CHOSEN.pairs)
        memory_at_once(warm, address)
        if CHOSEN.long_runs or CHOSEN.all:
            long_day(warm, CHOSEN.long_runs or 5000)
    finally:
        warm.close()
        site.stdin.close()
        site.wait()
    if CHOSEN.all:
        playlist.measure(CHOSEN.build, 100)
    print(f"load {os.getloadavg()[0]:.1f}")


if __name__ == "__main__":
    main()
