"""Downloads killed at random moments: the command, the tool alone, ffmpeg; and the disk filled in the middle.

The same get, or start of a kept queue, is typed again and again until each file is there. REELHAUL_TEST_SCALE is the share
of 300 kills that are done, a thirtieth unless set. Of a small share all are kills of the command, of a tenth and more also
of the others.
"""

import contextlib
import json
import os
import random
import shutil
import signal
import subprocess
import time
from pathlib import Path

from servers import COMMAND, ServerTest, probe

MIB = 1 << 20
# Page, format, and how many bytes a second the server sends.
DOWNLOADS = (("slow", "best", 4_000_000), ("merged-mp4", "video320mp4+audio-en", 400_000), ("dash", "1+2", 1_000_000),
             ("hls", "640", 500_000))
MOST_KILLS_OF_ONE = 5
SCALE = float(os.environ.get("REELHAUL_TEST_SCALE", 1 / 30))


class SmallDisk:
    """A file system of 40 MB at a folder, in a mount name space that commands can be run in."""

    def __init__(self, folder):
        self.process, self.why_not = None, ""
        folder.mkdir()
        self.inside = folder
        holder = subprocess.Popen(["unshare", "-m", "sh", "-c", 'mount -t tmpfs -o size=40m none "$1" && echo up && exec cat', "sh", folder],
                                  text=True, stdin=subprocess.PIPE, stdout=subprocess.PIPE, stderr=subprocess.PIPE)
        if holder.stdout.readline() == "up\n":
            self.process = holder
            self.inside = Path(f"/proc/{holder.pid}/root{folder}")
        else:
            self.why_not = holder.communicate()[1].strip()

    def command(self, *arguments):
        return [*(["nsenter", "-t", str(self.process.pid), "-m", "--"] if self.process else []), *map(str, arguments)]

    def fill(self):
        with contextlib.suppress(OSError), open(self.inside / ".filler", "wb", buffering=0) as file:
            while True:
                file.write(bytes(4096))

    def make_room(self):
        (self.inside / ".filler").unlink(missing_ok=True)

    def close(self):
        if self.process:
            self.process.communicate()


class KillTest(ServerTest):
    def setUp(self):
        super().setUp()
        self.disk = SmallDisk(self.folder / "out")
        self.addCleanup(self.disk.close)
        self.seed = random.randrange(1 << 32)
        self.random = random.Random(self.seed)
        self.kinds = ["command", "interrupt"]
        if SCALE >= 0.1:
            self.kinds += ["tool", "ffmpeg"]
            if self.disk.process:
                self.kinds.append("disk")
            else:
                print(f"no small disk can be mounted here, none is filled: {self.disk.why_not}")

    def run_to(self, command, until, kind):
        """Runs a command and does it the harm at that moment; its status."""
        with subprocess.Popen(self.disk.command(*command), env=self.environment_of_command(), stdout=subprocess.DEVNULL,
                              stderr=subprocess.PIPE, text=True) as process:
            with contextlib.suppress(subprocess.TimeoutExpired):
                process.wait(until)
            self.harm(process, kind)
            words = process.stderr.read()
        self.disk.make_room()
        self.wait_until(lambda: not self.processes())
        return process.returncode, words

    def harm(self, process, kind):
        if kind == "command":
            process.kill()
        elif kind == "interrupt":
            process.send_signal(signal.SIGINT)
        elif kind == "disk":
            self.disk.fill()
        else:
            name = "ffmpeg" if kind == "ffmpeg" else "yt-dlp"
            while process.poll() is None:
                found = [int(number) for number, line in self.numbered_processes().items() if name in line and int(number) != process.pid]
                if found:
                    with contextlib.suppress(ProcessLookupError):
                        os.kill(max(found), signal.SIGKILL)  # of a warm tool that is its latest run
                    return
                time.sleep(0.005)

    def files(self):
        return sorted(path for path in self.disk.inside.iterdir() if not path.name.startswith("."))

    def clear(self):
        for path in self.disk.inside.iterdir():
            shutil.rmtree(path) if path.is_dir() else path.unlink()

    def test_get_goes_on(self):
        wanted = round(200 * SCALE)
        kills, files, twice, worst, counts = 0, 0, 0, 0, dict.fromkeys(self.kinds, 0)
        rows = [(page, ["get", "--quiet", "-o", self.folder / "out", "--format", code, self.page(f"{page}?media.rate={rate}")])
                for page, code, rate in DOWNLOADS]
        once = {}
        for page, command in rows:
            before, begin = self.sent(), time.monotonic()
            self.assertEqual(self.run_to([COMMAND, *command], None, "")[0], 0)
            once[page] = self.sent() - before, time.monotonic() - begin
        while kills < wanted:
            for page, command in rows:
                self.clear()
                before, tries, hits = self.sent(), 0, 0
                while not self.files():
                    kind = self.random.choice(self.kinds) if tries < MOST_KILLS_OF_ONE else ""
                    moment = self.random.uniform(0, once[page][1]) if kind else None
                    status, words = self.run_to([COMMAND, *command], moment, kind)
                    tries += kind != ""
                    if kind and status:  # else it was done before
                        counts[kind] += 1
                        hits += 1
                    self.assertTrue(kind or status == 0, words)
                with self.subTest(page, seed=self.seed):
                    # The next download removes what a kill between the last step and the clearing up has left.
                    if (self.disk.inside / ".reelhaul-partial").exists():
                        self.assertEqual(self.run_to([COMMAND, *command, "--discard"], None, "")[0], 0)
                    self.assertEqual([path.name for path in self.disk.inside.iterdir()], [self.files()[0].name])
                    self.assertEqual(probe(self.files()[0]), "video audio 8")
                    more = self.sent() - before - once[page][0]
                    self.assertLessEqual(more, tries * MIB, f"{hits} kills")
                kills, twice, worst = kills + hits, twice + max(0, more), max(worst, more / max(1, hits))
                files += 1
        self.tell(kills, files, counts, twice, worst)

    def tell(self, kills, files, counts, twice, worst):
        print(f"{self.id().rpartition('.')[2]}: {kills} kills {counts}, {files} files, {twice / MIB:.1f} MiB fetched twice, "
              f"at most {worst / 1024:.0f} KiB for each kill of a download (seed {self.seed})")

    def rows(self, queue):
        listed = subprocess.run(self.disk.command(COMMAND, "queue", "list", "--json", *queue), env=self.environment_of_command(),
                                text=True, capture_output=True)
        self.assertEqual(listed.returncode, 0, listed.stderr)
        return [json.loads(line) for line in listed.stdout.splitlines()]

    def test_queue_goes_on(self):
        wanted = round(100 * SCALE)
        kills, files, twice, worst, counts = 0, 0, 0, 0, dict.fromkeys(self.kinds, 0)
        queue = ["--queue", self.folder / "out/.state/queue"]
        add = ["queue", "add", *queue, "-o", self.folder / "out", "--format", "best",
               *(self.page(f"{page}?media.rate={rate}") for page, _, rate in DOWNLOADS)]
        once = None  # what it takes where nothing is killed
        while once is None or kills < wanted:
            self.clear()
            self.assertEqual(self.run_to([COMMAND, *add], None, "")[0], 0)
            before, begin, tries, hits, done = self.sent(), time.monotonic(), 0, 0, {}
            while len(done) < len(DOWNLOADS):
                kind = self.random.choice(self.kinds) if once and tries < 3 * MOST_KILLS_OF_ONE else ""
                left = [number for number in range(1, len(DOWNLOADS) + 1) if number not in done]
                status, words = self.run_to([COMMAND, "queue", "start", *left, "--jobs", "2", *queue],
                                            self.random.uniform(0, once[1]) if kind else None, kind)
                self.assertTrue(kind or status == 0, words)
                tries += kind != ""
                if kind and status:
                    counts[kind] += 1
                    hits += 1
                rows = self.rows(queue)
                self.assertEqual([row["row"] for row in rows], list(range(1, len(DOWNLOADS) + 1)), self.seed)
                finished = {row["row"]: row["path"] for row in rows if row["state"] == "done"}
                self.assertLessEqual(done.items(), finished.items(), self.seed)
                done = finished
            more = self.sent() - before - (once or (self.sent() - before,))[0]
            once = once or (self.sent() - before, time.monotonic() - begin)
            with self.subTest(kills=hits, seed=self.seed):
                self.assertEqual([path.name for path in self.files()], sorted(Path(path).name for path in done.values()))
                self.assertEqual([probe(file) for file in self.files()], ["video audio 8"] * len(DOWNLOADS))
                self.assertLessEqual(more, tries * 2 * MIB)  # two are under way
            kills, twice, worst = kills + hits, twice + max(0, more), max(worst, more / max(1, 2 * hits))
            files += len(done)
        self.tell(kills, files, counts, twice, worst)
