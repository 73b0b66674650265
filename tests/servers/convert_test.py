"""Conversions with the real tool and ffmpeg, looked at with ffprobe: streams, cover, tags, chapters, length, names."""

import json
import shutil
import signal
import subprocess
from pathlib import Path

from servers import COMMAND, TOOL, ServerTest

TAGS = ("title", "artist", "date")
CHAPTERS = ['../../up "%(id)s" \u202e' + "長" * 30, "End; = last"]
UP = "_.._up _%(id)s_ " + "長" * 19  # 80 bytes of the title, made a legal name
# Writes half a file and hangs, where it encodes and a file "hang" is beside it.
FFMPEG = f"""#!/bin/sh
case "$*" in *libmp3lame*)
    for last; do :; done
    if [ -e "${{0%/*}}/hang" ]; then printf half > "${{last#file:}}"; sleep 600; fi ;;
esac
exec "{TOOL.parent}/ffmpeg" "$@"
"""


def seen(file):
    """Such as "h264 aac subrip:eng cover | 8 s | 2 chapters | title artist date"."""
    run = subprocess.run([TOOL.parent / "ffprobe", "-v", "error", "-show_streams", "-show_format", "-show_chapters", "-of", "json", file],
                         text=True, capture_output=True)
    told = json.loads(run.stdout or "{}")
    streams, tags = [], {key.lower(): value for key, value in told.get("format", {}).get("tags", {}).items()}
    for stream in told.get("streams", []):
        language = stream.get("tags", {}).get("language", "") if stream["codec_type"] == "subtitle" else ""
        tags |= {key.lower(): value for key, value in stream.get("tags", {}).items() if key.lower() in TAGS}  # opus has its own there
        if stream["codec_type"] != "data":  # an mp4's chapters
            streams.append("cover" if stream["disposition"]["attached_pic"] else stream["codec_name"] + (f":{language}" if language else ""))
    seconds = float(told.get("format", {}).get("duration", 0))
    chapters = [one["tags"]["title"] for one in told.get("chapters", [])]
    return (" ".join(streams), round(seconds), chapters, " ".join(tag for tag in TAGS if tag in tags and tags[tag] != "und"))


class ConvertTest(ServerTest):
    def test_each_conversion_makes_the_file_that_was_asked_for(self):
        service = ("--sponsorblock-api", self.site.address)
        tagged, marked = "title artist date", [CHAPTERS[0], CHAPTERS[1], "[SponsorBlock]: Sponsor", CHAPTERS[1]]
        rows = (
            (("--audio", "mp3:128", "--embed-thumbnail", "--embed-metadata"), {"Convert (1).mp3": ("mp3 cover", 8, CHAPTERS, tagged)}),
            (("--audio", "m4a:96", "--format", "combined-webm", "--embed-thumbnail", "--embed-chapters"), {
                "Convert.m4a": ("aac cover", 8, CHAPTERS, "")}),
            (("--audio", "opus:64", "--format", "video640mp4+audio-en", "--embed-metadata"), {"Convert.opus": ("opus", 8, CHAPTERS, tagged)}),
            (("--audio", "flac", "--embed-metadata", "--analyse-once"), {"Convert.flac": ("flac", 8, [], tagged)}),
            (("--audio", "wav", "--no-continue"), {"Convert.wav": ("pcm_s16le", 8, [], "")}),
            (("--audio", "best", "--format", "combined-webm"), {"Convert.opus": ("opus", 8, [], "")}),
            (("--remux", "mkv", "--format", "video640mp4+audio-en", "--embed-subs", "--subtitle", "en,fr", "--embed-thumbnail",
              "--embed-metadata"), {"Convert.mkv": ("h264 aac webvtt:eng webvtt:fra cover", 8, CHAPTERS, tagged)}),
            (("--remux", "mp4", "--format", "combined-webm", "--embed-subs", "--subtitle", "fr", "--convert-subs", "srt"), {
                "Convert.mp4": ("vp9 opus mov_text:fra", 8, [], "")}),
            (("--convert-subs", "ass", "--subtitle", "fr", "--format", "combined320-mp4"), {
                "Convert.mp4": ("h264 aac", 8, [], ""), "Convert.fr.ass": ("ass", 0, [], "")}),
            (("--sections", "0:01-3,5.5-", "--format", "combined320-mp4"), {
                "Convert - 001.mp4": ("h264 aac", 2, [], ""), "Convert - 002.mp4": ("h264 aac", 2, [], "")}),
            (("--sections", "2-5", "--audio", "mp3", "--force-keyframes-at-cuts"), {"Convert.mp3": ("mp3", 3, [], "")}),
            (("--split-chapters", "--format", "combined320-mp4", "--analyse-once", "--no-continue"), {
                f"Convert - 001 {UP}.mp4": ("h264 aac", 3, [], ""), "Convert - 002 End; = last (1).mp4": ("h264 aac", 5, [], "")}),
            (("--sponsorblock-remove", "sponsor", *service, "--format", "combined320-mp4"), {"Convert.mp4": ("h264 aac", 6, [], "")}),
            (("--sponsorblock-mark", "all", *service, "--format", "combined320-mp4"), {"Convert.mp4": ("h264 aac", 8, marked, "")}))
        for arguments, expected in rows:
            with self.subTest(arguments):
                out = self.folder / "out"
                shutil.rmtree(out, ignore_errors=True)
                out.mkdir()
                taken = [name.replace(" (1)", "") for name in expected if " (1)" in name]
                for name in taken:
                    (out / name).write_text("mine")
                made = [file for file in self.get(*arguments, self.page("convert"))]
                self.assertEqual({file.name: seen(file) for file in made}, expected)
                self.assertEqual(sorted(file.name for file in out.iterdir()), sorted([*expected, *taken]))  # and nothing else
                self.assertEqual([(out / name).read_text() for name in taken], ["mine"] * len(taken))
                self.assert_nothing_left()
                if "--split-chapters" not in arguments:  # whose first file's name is known later
                    self.assertEqual(self.get(*arguments, "--skip-existing", self.page("convert")), [])
        # No chapters, no split; and the events name the file that it then is.
        run = self.succeeds("get", "--json", "--split-chapters", "--remux", "mkv", "--format", "combined320-mp4", "-o", self.folder / "out",
                            self.page("combined?title=..%2F%22%25(ext)s%22"))
        events = [json.loads(line) for line in run.stdout.splitlines()]
        self.assertEqual(Path(events[-1]["path"]).name, "__%(ext)s_.mkv")
        self.assertEqual(seen(events[-1]["path"])[:2], ("h264 aac", 8))
        fractions = [event["fraction"] for event in events if event["event"] == "progress"]
        self.assertEqual(fractions, sorted(fractions))
        self.assertIn("converting", [event.get("phase") for event in events])

    def test_what_can_not_be_made_fails_before_a_byte_is_fetched(self):
        self.write("plugins/mutagen.py", "raise ImportError\n")
        plugins = f"{self.folder / 'plugins'}:{self.environment_of_command()['PYTHONPATH']}"
        self.write("tools/yt-dlp", f'#!/bin/sh\nexec "{TOOL}" "$@"\n', 0o700)
        page = self.page("convert")
        for words, kind, arguments in (
                ("mutagen was not found", "runtime-missing", ("--audio", "opus", "--embed-thumbnail", page)),
                ("ffmpeg", "ffmpeg-missing", ("--audio", "mp3", "--tool", self.folder / "tools", page)),
                ("webm holds no cover; choose the container mkv", "other", ("--embed-thumbnail", "--format", "combined-webm", page)),
                ("the item has 8 s", "other", ("--sections", "9-", page)),
                ("a live stream can't be converted", "other", ("--audio", "mp3", self.page("live-file")))):
            with self.subTest(words):
                run = self.fails(words, "get", "--json", *arguments, PYTHONPATH=plugins)
                self.assertIn(f'"kind":"{kind}"', run.stdout)
                self.assertEqual([line for line in self.site.lines() if " /media/" in line and ".jpg" not in line], [])
                self.assert_nothing_left()
        for words, arguments in (("--embed-thumbnail: wav holds no cover", ("--audio", "wav", "--embed-thumbnail")),
                                 ("--embed-subs counts only together with --subtitle", ("--embed-subs",)),
                                 ("--sections: must be parts such as", ("--sections", "10"))):
            run = self.run_command("get", *arguments, page)
            self.assertEqual((run.returncode, words in run.stderr), (2, True), run.stderr)

    def test_a_stop_leaves_nothing_and_a_kill_no_half_file_that_counts_as_whole(self):
        for name in ("ffprobe", "yt-dlp"):
            self.write(f"tools/{name}", f'#!/bin/sh\nexec "{TOOL.parent / name}" "$@"\n', 0o700)
        shutil.copy(TOOL, self.folder / "tools/yt-dlp")
        self.write("tools/ffmpeg", FFMPEG, 0o700)
        hang = self.write("tools/hang", "")
        command = ["get", "--json", "--audio", "mp3", "--tool", self.folder / "tools", "-o", self.folder / "out", self.page("convert")]
        for more, stop in ((("--no-continue",), signal.SIGINT), ((), signal.SIGKILL)):
            with subprocess.Popen([COMMAND, *command, *more], text=True, env=self.environment_of_command(), stdout=subprocess.PIPE,
                                  stderr=subprocess.DEVNULL) as process:
                next(event for event in map(json.loads, process.stdout) if event.get("phase") == "converting")
                self.wait_until(lambda: any("sleep 600" in line for line in self.processes()))
                process.send_signal(stop)
                process.stdout.read()
            self.wait_until(lambda: not self.processes())
            if stop == signal.SIGINT:
                self.assertEqual(process.returncode, 130)
                self.assertEqual(list((self.folder / "out").iterdir()), [])
                self.assert_nothing_left()
        hang.unlink()
        run = self.succeeds(*command)
        file = Path(json.loads(run.stdout.splitlines()[-1])["path"])
        self.assertEqual((file.name, *seen(file)[:2]), ("Convert.mp3", "mp3", 8))
        self.assertEqual(list((self.folder / "out").iterdir()), [file])
        self.assert_nothing_left()
