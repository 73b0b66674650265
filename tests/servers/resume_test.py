"""Downloads that go on where they stopped, with the real tool: kept, discarded, and against a server that changes its files."""

import json
import os
import shutil
import signal
import subprocess
import urllib.request
from pathlib import Path

from servers import COMMAND, TOOL, ServerTest, probe

RATE = "media.rate=300000"


class ResumeTest(ServerTest):
    def setUp(self):
        super().setUp()
        self.out = self.folder / "out"
        self.environment = self.environment_of_command()

    def command(self, page, code, *more):
        return [COMMAND, "get", "--json", "-o", self.out, "--format", code, *more, self.page(page)]

    def stop_at(self, least, page, code, stop=signal.SIGKILL):
        """Ends the download once so many bytes have come; true when it had ended before."""
        with subprocess.Popen(self.command(page, code), env=self.environment, text=True, stdout=subprocess.PIPE,
                              stderr=subprocess.PIPE) as process:
            for event in map(json.loads, process.stdout):
                if event["event"] == "progress" and event["bytes"] >= least:
                    process.send_signal(stop)
                    break
            words = process.stderr.read()
            process.stdout.read()
        self.wait_until(lambda: not self.processes())
        return words

    def finish(self, page, code, *more):
        run = subprocess.run(self.command(page, code, *more), env=self.environment, text=True, capture_output=True, timeout=120)
        self.assertEqual(run.returncode, 0, run.stderr)
        events = [json.loads(line) for line in run.stdout.splitlines()]
        file = next(event["path"] for event in events if event["event"] == "finished")
        self.assertEqual([path.name for path in self.out.iterdir()], [file.rpartition("/")[2]])  # no partial data is left
        return file

    def width(self, file):
        return subprocess.run([TOOL.parent / "ffprobe", "-v", "error", "-show_entries", "stream=width", "-of", "csv=p=0", file],
                              text=True, capture_output=True).stdout.strip()

    def test_a_file_that_the_server_changes_in_between_is_never_a_mixture(self):
        for page, code, faults, change, file in (
                ("combined", "combined320-mp4", "", "inverted", "combined320.mp4"),
                ("combined", "combined320-mp4", "&media.marks=no", "inverted", "combined320.mp4"),
                ("combined", "combined320-mp4", "&media.ranges=no", "inverted", "combined320.mp4"),
                ("combined", "combined320-mp4", "", "larger", "combined320.mp4"),
                ("merged-mp4", "video320mp4+audio-en", "", "larger", "")):
            with self.subTest(page, faults=faults, change=change):
                self.stop_at(100_000, f"{page}?{RATE}{faults}", code)
                self.assertTrue([path for path in self.out.rglob("*") if path.name.endswith((".part", ".mp4"))])
                result = self.finish(f"{page}?media.version={change}{faults}", code)
                if file:
                    with urllib.request.urlopen(f"{self.site.address}/media/{file}?version={change}") as answer:
                        self.assertEqual(Path(result).read_bytes(), answer.read())
                else:
                    self.assertEqual(self.width(result), "640")
                shutil.rmtree(self.out)

    def test_addresses_expire_in_between_and_in_the_middle(self):
        for page, code, status, stop in (("combined", "combined320-mp4", 403, signal.SIGKILL), ("hls", "640", 410, 0), ("hls", "640", 403, 0)):
            with self.subTest(page, status=status):
                before = self.sent()
                with subprocess.Popen(self.command(f"{page}?{RATE}&media.expires={status}", code), env=self.environment, text=True,
                                      stdout=subprocess.PIPE, stderr=subprocess.PIPE) as process:
                    for event in map(json.loads, process.stdout):
                        if event["event"] == "progress" and event["bytes"] >= 100_000:
                            break
                    urllib.request.urlopen(f"{self.site.address}/api/watch/{page}.json?media.expires={status}").close()
                    process.send_signal(stop)
                    process.stdout.read()
                    words = process.stderr.read()
                if stop:
                    self.wait_until(lambda: not self.processes())
                    self.finish(f"{page}?media.expires={status}", code)
                else:
                    self.assertEqual(process.returncode, 0, words)
                file, = self.out.iterdir()
                self.assertEqual(probe(file), "video audio 8")
                self.assertLess(self.sent() - before, 1.6 * file.stat().st_size)  # it went on
                shutil.rmtree(self.out)

    def partial(self):
        """What interrupted downloads have left."""
        return list((self.out / ".reelhaul-partial").glob("*"))

    def test_kept_until_it_is_discarded_or_swept(self):
        slow, code, own = f"combined?{RATE}", "combined320-mp4", self.out / "0123456789abcdef"
        own.mkdir(parents=True)  # a folder of the user's, named as ours are
        kept = self.stop_at(100_000, slow, code, signal.SIGINT)
        self.assertRegex(kept, r"Kept \d+.* KiB of what is not finished")
        for path in (own, *self.partial(), *self.partial()[0].iterdir()):
            os.utime(path, (0, 0))
        subprocess.run(self.command("combined", "combined-webm"), env=self.environment, check=True, stdout=subprocess.DEVNULL)
        self.assertEqual(sorted(path.name for path in self.out.iterdir()), [own.name, "Combined.webm"])
        shutil.rmtree(self.out)
        for option, event in (("--discard", "discarded"), ("--no-continue", "finished")):
            self.stop_at(100_000, slow, code, signal.SIGKILL)
            self.assertEqual(len(self.partial()), 1)
            run = subprocess.run(self.command("combined", code, option), env=self.environment, text=True, capture_output=True)
            self.assertEqual(run.returncode, 0, run.stderr)
            self.assertIn(f'"event":"{event}"', run.stdout)
            self.assertFalse((self.out / ".reelhaul-partial").exists())

    def test_two_processes_never_share_what_is_kept(self):
        code = "combined320-mp4"
        with subprocess.Popen(self.command("combined?media.rate=40000", code), env=self.environment, text=True,
                              stdout=subprocess.PIPE, stderr=subprocess.DEVNULL) as first:
            for event in map(json.loads, first.stdout):
                if event.get("bytes", 0) > 50_000:
                    break
            second = subprocess.run(self.command("combined", code), env=self.environment, text=True, capture_output=True)
            self.assertEqual(second.returncode, 0, second.stderr)
            third = subprocess.run(self.command("combined", code, "--discard"), env=self.environment, text=True, capture_output=True)
            self.assertIn("a download is using what was kept of it", third.stderr)
            first.kill()
            first.stdout.read()
        self.wait_until(lambda: not self.processes())
        before = self.sent()
        self.assertEqual(len(self.partial()), 1)
        subprocess.run(self.command("combined", code), env=self.environment, check=True, stdout=subprocess.DEVNULL)
        self.assertLess(self.sent() - before, (self.out / "Combined.mp4").stat().st_size)  # it went on
        files = sorted(self.out.iterdir())
        self.assertEqual(len(files), 2)
        self.assertEqual(files[0].read_bytes(), files[1].read_bytes())

    def test_tries_again_by_itself_and_a_stop_ends_the_wait(self):
        with subprocess.Popen(self.command("combined?media.status=503", "combined320-mp4", "--retries", "0"), text=True,
                              env=self.environment, stdout=subprocess.PIPE, stderr=subprocess.DEVNULL) as process:
            for event in map(json.loads, process.stdout):
                if event.get("phase") == "waiting-to-retry":
                    break
            self.assertGreater(event["seconds_left"], 3)
            process.send_signal(signal.SIGINT)
            process.stdout.read()
        self.assertEqual(process.returncode, 130)
        # The connection is cut once, and the tool itself is told not to try again.
        file = self.finish("combined?media.cutonce=100000", "combined320-mp4", "--retries", "0")
        self.assertEqual(probe(file), "video audio 8")
