"""The progress in numbers, held against what the server has sent, over many kinds of download."""

import json
import subprocess
import urllib.request
from concurrent.futures import ThreadPoolExecutor

from servers import COMMAND, ServerTest

RATE = "rate=150000"


class ProgressTest(ServerTest):
    def rows(self):
        """Address, format, phases that must come, more arguments."""
        page = self.page
        merged, fetched = ["video", "audio", "merging"], ["media"]
        return (
            (page("combined"), "combined320-mp4", fetched),
            (page("combined?media.rate=400000"), "combined320-mp4", fetched),
            (page("combined?media.length=none"), "combined320-mp4", fetched),
            (page("combined?media.cutonce=100000"), "combined320-mp4", fetched),
            (page("combined?media.cutonce=100000&media.ranges=no"), "combined640-mp4", fetched),
            (page("combined?media.cutonce=50000&media.length=none"), "combined-webm", fetched),
            (page("combined?media.stall=0.5"), "combined-webm", fetched),
            (page("one-address"), "best", []),
            (f"{self.site.address}/direct/combined320.mp4", "best", []),
            (f"{self.site.address}/html/og-video", "best", []),
            (page("two-languages"), "audio-fr", ["audio"]),
            (page("merged-mp4"), "video640mp4+audio-en", merged),
            (page(f"merged-mp4?media.{RATE}"), "video320mp4+audio-en", merged),
            (page("merged-mp4?media.length=none"), "video320mp4+audio-en", merged),
            (page("merged-mp4?media.cutonce=30000"), "video320mp4+audio-en", merged),
            (page("merged-webm"), "video640webm+audio-opus", merged),
            (page("everything"), "video320webm+audio-en", merged),
            (page("hls"), "1280", fetched),
            (page("hls?media.cutonce=20000"), "640", fetched),
            (page(f"hls?media.{RATE}"), "640", fetched),
            (page("dash"), "1+2", merged),
            (page("dash"), "0", ["video"]),
            (page("subtitles"), "combined320-mp4", ["media", "subtitle"], "--subtitle", "fr.srt"),
            (page("everything"), "combined320-mp4", ["thumbnail", "media"], "--tool-config"),
        )

    def test_never_falls_and_is_one_at_the_end_alone(self):
        rows = self.rows()
        self.assertGreaterEqual(len(rows), 20)

        self.write("home/yt-dlp/config", "--write-thumbnail")

        def download(number):
            address, code, _, *more = rows[number]
            return self.run_command("get", "--json", "-o", self.folder / f"out{number}", "--format", code, *more, address,
                                    XDG_CONFIG_HOME=self.folder / "home")

        with ThreadPoolExecutor(4) as pool:
            runs = list(pool.map(download, range(len(rows))))
        for (address, code, wanted, *_), run in zip(rows, runs):
            with self.subTest(address, code=code):
                self.assertEqual(run.returncode, 0, run.stderr)
                events = [event for event in map(json.loads, run.stdout.splitlines()) if event["event"] == "progress"]
                fractions = [event["fraction"] for event in events]
                self.assertEqual(fractions, sorted(fractions))
                self.assertEqual([event["phase"] for event in events if event["fraction"] >= 1], ["done"])
                phases = list(dict.fromkeys(event["phase"] for event in events))
                self.assertEqual(phases[-2:], ["moving", "done"])
                self.assertEqual([phase for phase in phases if phase in wanted], sorted(wanted, key=phases.index), phases)
                self.assertLessEqual(set(wanted), set(phases))
                last = [event for event in events if event["phase"] in ("media", "video", "audio")][-1]
                self.assertEqual(last["part_bytes"], last["part_total"])
                self.assertEqual(last["bytes"], last["total"])

    def test_bytes_are_those_that_the_server_has_sent(self):
        # The last one waits in the middle until the record has come so near: the tool's buffer, and what comes in 0.15 s.
        near = 512 * 1024 + 150_000
        for path, code, parts, asked, hold in (
                (f"combined?media.{RATE}", "combined320-mp4", 1, 0, 0), (f"merged-mp4?media.{RATE}", "video320mp4+audio-en", 2, 0, 0),
                (f"hls?media.{RATE}", "640", 1, 1, 0), ("slow?media.rate=1000000&media.hold=2000000", "best", 1, 0, 2_000_000)):
            with self.subTest(path):
                before, between, last = self.sent(), 0, None
                with subprocess.Popen([COMMAND, "get", "--json", "-o", self.folder / "out", "--format", code, self.page(path)],
                                      env=self.environment_of_command(), text=True, stdout=subprocess.PIPE) as process:
                    for event in map(json.loads, process.stdout):
                        if event["event"] != "progress":
                            continue
                        self.assertLessEqual(event["bytes"], self.sent() - before)
                        if hold and event["bytes"] >= hold - near:
                            self.assertLessEqual(event["bytes"], hold + 16 * 1024)
                            urllib.request.urlopen(f"{self.site.address}/release").close()
                            hold = 0
                        between += 0 < event["bytes"] < event["total"]
                        last = event if event["phase"] in ("media", "audio") else last
                self.assertEqual(process.returncode, 0)
                self.assertGreater(between, 3)
                self.assertEqual((last["part"], last["parts"]), (parts, parts))
                self.assertEqual(last["bytes"], self.sent() - before - asked)  # the first fragment is asked for its mark

    def test_a_failure_never_reaches_the_end(self):
        run = self.run_command("get", "--json", "--retries", "0", "--no-continue", self.page("combined?media.cut=100000"))
        self.assertEqual(run.returncode, 1)
        fractions = [json.loads(line)["fraction"] for line in run.stdout.splitlines() if '"progress"' in line]
        self.assertTrue(fractions and max(fractions) < 1, fractions)
