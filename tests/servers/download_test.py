"""Downloads with the real tool and ffmpeg: what the files hold, where they come to stand, and stops in the middle."""

import json
import signal
import subprocess
import time
from concurrent.futures import ThreadPoolExecutor
from pathlib import Path

from servers import COMMAND, ServerTest, probe


class DownloadTest(ServerTest):
    def tearDown(self):
        self.assert_nothing_left()

    def test_playable_files_of_every_kind(self):
        rows = (
            ("watch/subtitles", "worst", ["Subtitles.de.vtt", "Subtitles.en.vtt", "Subtitles.fr.srt", "Subtitles.mp4"],
             "--subtitle", "de,en,fr.srt"),
            # The tool names the subtitle in one way when the format's own extension is mp4, in another when it is not.
            ("watch/subtitles", "combined320-mp4", ["Subtitles.fr.srt", "Subtitles.mp4"], "--subtitle", "fr.srt"),
            ("watch/subtitles", "audio-en", ["Subtitles.m4a", "Subtitles.pt-BR.vtt"], "--subtitle", "pt-BR.vtt"),
            ("watch/merged-mp4", "video640mp4+audio-en", ["Merged mp4.mp4"]),
            ("watch/merged-webm", "video640webm+audio-opus", ["Merged webm.webm"]),
            # The sound does not fit the container, so ffmpeg encodes it again.
            ("watch/everything", "video320webm+audio-en", ["A page with everything.webm"]),
            ("watch/two-languages", "audio-fr", ["Two languages.m4a"]),
            ("watch/hls", "1280", ["HLS.mp4"]),
            ("watch/dash", "1+2", ["DASH.mp4"]),
            ("list/mixed", "combined320-mp4", ["Combined.mp4"], "--items", "3"),
            # Entries without an address of their own.
            ("list/whole", "video320mp4+audio-en", ["Merged mp4.mp4"], "--items", "2"),
            ("list/whole", "video640mp4+audio-fr", ["Two languages.mp4"], "--items", "3"),
        )
        folders = [self.folder / f"out{number}" for number in range(len(rows))]

        def download(row, folder):
            path, code, _, *more = row
            address = f"{self.site.address}/{path}"
            return self.run_command("get", "--json", "-o", folder, "--format", code, *more, address)

        with ThreadPoolExecutor(4) as pool:
            runs = list(pool.map(download, rows, folders))
        for (path, code, files, *_), folder, run in zip(rows, folders, runs):
            with self.subTest(path, code=code):
                self.assertEqual(run.returncode, 0, run.stderr)
                self.assertEqual(sorted(file.name for file in folder.iterdir()), files)
                events = [json.loads(line) for line in run.stdout.splitlines()]
                file = Path(next(event["path"] for event in events if event["event"] == "finished"))
                self.assertEqual(probe(file), "audio 8" if file.suffix == ".m4a" else "video audio 8")
                percents = [event["percent"] for event in events if event["event"] == "progress"]
                self.assertTrue(percents and percents == sorted(percents), percents)
        self.assertIn("fr line 4", (folders[0] / "Subtitles.fr.srt").read_text())

    def test_each_file_has_a_legal_name_of_its_own(self):
        files = self.get("--format", "combined320-mp4", *map(self.page, ("japanese", "same-title-a", "same-title-b")))
        self.assertEqual([probe(file) for file in files], ["video audio 8"] * 3)
        names = sorted(file.name for file in files)
        self.assertEqual(names[:2], ["The same title (1).mp4", "The same title.mp4"])
        self.assertRegex(names[2], r"^日本語の題名[^/\\:]*\.mp4$")


class StopTest(ServerTest):
    def test_in_the_middle_of_each_kind(self):
        """At once, and nothing is left."""
        for command, page, file, least in (("get", "slow", ".part", 1), ("get", "slow-fragments", "Frag", 1),
                                           ("get", "slow-merge", ".temp.", 0), ("info", "combined?stall=60", "", 0)):
            with self.subTest(page):
                out = self.folder / "out"
                arguments = [command, *(["--no-continue", "-o", out] if command == "get" else []), self.page(page)]
                with subprocess.Popen([COMMAND, *arguments], env=self.environment_of_command(), text=True,
                                      stdout=subprocess.PIPE, stderr=subprocess.PIPE) as process:
                    while not self.in_the_middle(file, least) and process.poll() is None:
                        time.sleep(0.01)
                    begin = time.monotonic()
                    process.send_signal(signal.SIGINT)
                    words = process.stderr.read()
                # A program that ignores the request is killed after a short grace.
                self.assertLess(time.monotonic() - begin, 15)
                self.assertEqual(process.returncode, 130, words)
                self.assertEqual(list(out.iterdir()) if out.exists() else [], [])
                self.assert_nothing_left()

    def test_a_recording_is_finished(self):
        """By an interrupt and by the clock; of a tool that is warm or not; with ffmpeg and without."""
        for page, bytes_wanted, streams, *options in (
                ("live", 1, "video audio"), ("live", 1, "video audio", "--cold"), ("live", 0, "video audio", "--duration", "0:02"),
                ("live-file", 600_000, "video audio 8")):
            with self.subTest(page, options=options):
                arguments = ["get", "--json", "-o", self.folder / "out", *options, self.page(page)]
                with subprocess.Popen([COMMAND, *arguments], env=self.environment_of_command(), text=True,
                                      stdout=subprocess.PIPE, stderr=subprocess.PIPE) as process:
                    for event in map(json.loads, process.stdout):
                        if event["event"] == "recording" and 0 < bytes_wanted <= event["bytes"]:
                            self.assertGreater(event["seconds"], 0)
                            process.send_signal(signal.SIGINT)
                            bytes_wanted = 0
                    words = process.stderr.read()
                self.assertEqual((process.returncode, event["event"]), (0, "finished"), words)
                self.assertTrue(probe(event["path"]).startswith(streams), probe(event["path"]))
                if "--duration" in options:
                    self.assertGreaterEqual(int(probe(event["path"]).split()[-1]), 2)
                self.assert_nothing_left()

    def in_the_middle(self, name, least):
        """Whether a file with such a name holds so much; without a name, whether the tool runs."""
        try:
            return any(file.stat().st_size >= least for file in self.temporary.rglob(f"*{name}*") if file.is_file()) \
                if name else len(self.processes()) > 1
        except OSError:
            return False  # it has just gone
