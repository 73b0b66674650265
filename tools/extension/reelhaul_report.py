"""Tells the library what the tool's own words leave open.

- "error": what the tool raised for a failure: the classes of the exception and of its causes, the server's status, the
  system's error.
- "plan": the parts that a download will fetch, and their sizes.
- "bytes": how far a part is.
- "step": ffmpeg joins or converts, and how far it is.

Each is a record on standard error, begun by a mark that no site can know and ended by a line end; the library takes the
records out before anyone reads the text.
"""

import contextlib
import errno
import json
import os
import sys
import threading
import time
import traceback

MARK = "@MARK@"
MOST_BYTES = 500  # a pipe takes so much at once, whatever other threads and ffmpeg write into it
MOST_CAUSES = 6
MOST_NAMES = 180  # characters
PAUSE = 0.05  # seconds between two records of the same part
LOOK = 0.1  # seconds between two looks at what ffmpeg writes
# What ffmpeg says where not the file is to blame.
OUTER_CAUSES = ("No space left on device", "Disk quota exceeded", "Input/output error", "Cannot allocate memory", "File too large")


def report(record):
    data = json.dumps(record, separators=(",", ":")).encode("ascii")
    if len(data) <= MOST_BYTES:
        with contextlib.suppress(OSError):
            os.write(2, b"\x1e" + MARK.encode("ascii") + data + b"\n")


def causes(error):
    """The exception and what it was raised for, as far as the tool keeps that."""
    found = []
    waiting = [error]
    while waiting and len(found) < MOST_CAUSES:
        one = waiting.pop(0)
        if isinstance(one, BaseException) and one not in found:
            found.append(one)
            told = getattr(one, "exc_info", None) or (None, None)
            waiting += [getattr(one, "cause", None), told[1], one.__cause__]
    return found


def raisers(error):
    """The names of the function that raised it and of that one's caller."""
    return [frame.name for frame in traceback.extract_tb(error.__traceback__)[-2:]]


def wait_wanted(error):
    """Seconds that the server asks to wait."""
    with contextlib.suppress(Exception):
        return max(0, int(error.response.headers.get("Retry-After")))
    return 0


def describe(error):
    record, classes, functions = {"record": "error"}, [], []
    for one in causes(error):
        classes += [kind.__name__ for kind in type(one).__mro__[:-3] or type(one).__mro__[:1]]
        functions += raisers(one)
        if isinstance(getattr(one, "status", None), int):
            record["status"] = one.status
            record["wait"] = max(wait_wanted(one), record.get("wait", 0))
        if isinstance(one, OSError) and one.errno:
            record["system"] = errno.errorcode.get(one.errno, "")
        if getattr(one, "expected", None) is True:
            record["expected"] = True
    for name, texts in (("classes", classes), ("raisers", functions)):
        record[name] = f" {' '.join(dict.fromkeys(texts))[:MOST_NAMES]} "
    return record


def whole(number):
    """A count of bytes, or 0 for what is none."""
    return max(0, int(number)) if isinstance(number, (int, float)) and number == number and number < 1e18 else 0


def kind_of(info):
    if info.get("vcodec") == "none" and info.get("acodec") != "none":
        return "audio"
    return "video" if info.get("acodec") == "none" and info.get("vcodec") != "none" else "media"


class Progress:
    """What one run of the tool fetches, and how far it is."""

    def __init__(self):
        self.lock = threading.Lock()  # fragments come on threads of their own
        self.formats = []  # identifiers, in the order of the parts
        self.told = 0.0
        self.part = 0
        self.live = False
        self.duration = 0
        self.subtitle = False
        self.began = 0.0

    def plan(self, info):
        parts = info.get("requested_formats") or [info]
        self.formats = [part.get("format_id") for part in parts]
        self.live = bool(info.get("is_live"))
        self.duration = info.get("duration") or 0
        # The tool fetches what it joins by ffmpeg itself in one go.
        report({"record": "plan", "live": self.live, "parts": [
            {"kind": kind_of(part), "total": whole(part.get("filesize") or part.get("filesize_approx"))}
            for part in parts[:4]]})

    def begin(self, info, subtitle):
        self.subtitle = subtitle
        self.began = time.monotonic()
        with contextlib.suppress(ValueError):
            self.part = self.formats.index(info.get("format_id"))
        if subtitle:
            report({"record": "bytes", "kind": "subtitle"})

    def hook(self, state):
        now = time.monotonic()
        over = state.get("status") == "finished"
        if self.subtitle or state.get("status") not in ("downloading", "finished"):
            return
        with self.lock:
            if not over and now - self.told < PAUSE:
                return
            self.told = now
        exact = whole(state.get("total_bytes"))
        record = {"record": "bytes", "part": self.part, "over": over,
                  "bytes": whole(state.get("downloaded_bytes")) or (exact if over else 0),
                  "total": exact or whole(state.get("total_bytes_estimate")), "estimated": not exact,
                  "speed": whole(state.get("speed")), "fragments": whole(state.get("fragment_index")),
                  "fragment_count": whole(state.get("fragment_count"))}
        if self.live:
            record["recorded"] = round(now - self.began, 1)
        report(record)

    def step(self, name, fraction):
        report({"record": "step", "name": name, "fraction": round(fraction, 3)})


@contextlib.contextmanager
def watched(look):
    """Looks several times a second, while the tool waits for ffmpeg's end."""
    over = threading.Event()

    def work():
        while not over.wait(LOOK):
            with contextlib.suppress(OSError, ValueError):
                look()

    thread = threading.Thread(target=work, daemon=True)
    thread.start()
    try:
        yield
    finally:
        over.set()
        thread.join()


def share_done(path, duration, bytes_in):
    """What ffmpeg has written of its own progress into a file, 0 to 1."""
    with open(path, encoding="utf-8", errors="replace") as file:
        values = dict(line.strip().split("=", 1) for line in file.readlines()[-30:] if "=" in line)
    if duration:
        return min(1.0, max(0.0, int(values.get("out_time_us", 0)) / 1e6 / duration))
    return min(1.0, int(values.get("total_size", 0)) / max(1, bytes_in))


# ---- what is made of a file ----


def lacks_module(tool, info):
    """Whether the tool, after the download, would find that it can't put the cover into such a file."""
    from yt_dlp.dependencies import mutagen

    steps = {type(one).__name__ for one in tool._pps["post_process"]}
    kind = tool.params.get("final_ext") or ((info.get("acodec") or "").split(".")[0] if "FFmpegExtractAudioPP" in steps else "")
    return not mutagen and "EmbedThumbnailPP" in steps and bool(info.get("thumbnails")) and \
        kind in ("ogg", "opus", "flac", "vorbis")


class Codes(tuple):
    """The codes that the tool expects of ffmpeg; remembers which one it had."""

    had = 0

    def __contains__(self, code):
        self.had = code
        return super().__contains__(code)


def failure_of(words, code, folder):
    """Why ffmpeg has failed; empty where it has by itself, and would again."""
    for line in words.splitlines():
        if any(cause in line for cause in OUTER_CAUSES):
            return line
    if os.statvfs(folder).f_bavail < 4:
        return "No space left on device"
    return "" if 0 < code < 255 else "ffmpeg was ended before it was done"


def unfinished(path):
    """Under which name ffmpeg writes; the file's own where what a killed run leaves is not gone on with."""
    stem, extension = os.path.splitext(path)
    return f"{stem}.unfinished{extension}" if os.path.exists(os.path.join(os.path.dirname(path), ".resume")) else path


def install_cover():
    from yt_dlp.postprocessor.ffmpeg import FFmpegPostProcessor

    find = FFmpegPostProcessor.get_stream_number

    def get_stream_number(self, path, keys, value):
        """The chapters of an mp4 are a stream that no copy takes along: counted, it leaves the cover a film of one picture."""
        number, count = find(self, path, keys, value)
        streams = self.get_metadata_object(path)["streams"]
        return number, count - sum(one.get("codec_type") == "data" for one in streams)

    FFmpegPostProcessor.get_stream_number = get_stream_number


def install_progress():
    from yt_dlp import YoutubeDL
    from yt_dlp.downloader.external import FFmpegFD
    from yt_dlp.postprocessor.ffmpeg import FFmpegPostProcessor, FFmpegPostProcessorError

    progress, thumbnails = Progress(), YoutubeDL._write_thumbnails
    process, fetch, record = YoutubeDL.process_info, YoutubeDL.dl, FFmpegFD._call_downloader
    convert = FFmpegPostProcessor.real_run_ffmpeg

    def process_info(self, info, *arguments, **more):
        if not self.params.get("simulate") and not self.params.get("skip_download"):
            with contextlib.suppress(Exception):
                if progress.hook not in self._progress_hooks:
                    self.add_progress_hook(progress.hook)
                progress.plan(info)
            with contextlib.suppress(ImportError, AttributeError, KeyError):
                if lacks_module(self, info):
                    return self.report_error("the module mutagen was not found, without which Python can't put a cover into "
                                             "opus, ogg or flac: install it (python3 -m pip install mutagen), choose mp3 or "
                                             "m4a, or leave the thumbnail out")
        return process(self, info, *arguments, **more)

    def dl(self, name, info, subtitle=False, test=False):
        if not test:
            with contextlib.suppress(Exception):
                progress.begin(info, subtitle)
        return fetch(self, name, info, subtitle=subtitle, test=test)

    def real_run_ffmpeg(self, inputs, outputs, *arguments, **more):
        inputs, outputs = list(inputs), list(outputs)
        if not outputs or outputs[-1][0] in (None, "-", "pipe:1"):
            return convert(self, inputs, outputs, *arguments, **more)
        name, last = self.pp_key(), outputs[-1]
        path = f"{last[0]}.progress"
        made = unfinished(last[0])

        def run():
            told, wanted = [], more.get("expected_retcodes", (0,))
            codes = more["expected_retcodes"] = Codes(wanted if isinstance(wanted, (tuple, list, set)) else (wanted,))
            self.write_debug = told.append
            try:
                words = convert(self, inputs, outputs, *arguments, **more)
            except (FFmpegPostProcessorError, IndexError) as error:  # the latter where ffmpeg has said nothing
                if not told:
                    raise  # it is not there
                # Its last line, which is all that the tool keeps, may tell of the failure without its cause.
                cause = failure_of(told[-1], codes.had, os.path.dirname(made) or ".")
                if cause or isinstance(error, IndexError):
                    raise FFmpegPostProcessorError(cause or "ffmpeg has failed without a word") from None
                error.by_itself = True
                raise
            finally:
                del self.write_debug
            # On a full disk ffmpeg may end with 0 and half a file, which the tool would take for the whole.
            lost = [line for line in (words or "").splitlines() if line.startswith(("Error writing trailer", "Error closing file"))]
            if lost:
                raise FFmpegPostProcessorError(lost[0])
            if made != last[0]:
                os.replace(made, last[0])
            return words

        outputs[-1] = made, [*last[1], "-progress", f"file:{path}"]
        size = sum(os.path.getsize(one) for one, _ in inputs if one and os.path.isfile(one))
        progress.step(name, 0)
        try:
            with watched(lambda: progress.step(name, share_done(path, progress.duration, size))):
                return run()
        finally:
            with contextlib.suppress(OSError):
                os.unlink(path)

    def call_downloader(self, path, info):
        with watched(lambda: progress.hook({"status": "downloading", "downloaded_bytes": os.path.getsize(path)})):
            return record(self, path, info)

    def write_thumbnails(self, label, info, *arguments, **more):
        if self.params.get("writethumbnail") and info.get("thumbnails"):
            report({"record": "bytes", "kind": "thumbnail"})
        return thumbnails(self, label, info, *arguments, **more)

    YoutubeDL._write_thumbnails = write_thumbnails
    YoutubeDL.process_info, YoutubeDL.dl, FFmpegFD._call_downloader = process_info, dl, call_downloader
    FFmpegPostProcessor.real_run_ffmpeg = real_run_ffmpeg


def install_errors():
    from yt_dlp import YoutubeDL

    tell = YoutubeDL.trouble
    die = sys.excepthook

    def trouble(self, message=None, tb=None, is_error=True):
        error = sys.exc_info()[1]
        if is_error and error is not None:
            with contextlib.suppress(Exception):
                report(describe(error))
        return tell(self, message, tb, is_error)

    def last_words(kind, error, trace):
        if not issubclass(kind, KeyboardInterrupt):
            with contextlib.suppress(Exception):
                report({**describe(error), "uncaught": True})
        die(kind, error, trace)

    YoutubeDL.trouble = trouble
    sys.excepthook = last_words


def install_fragment_errors():
    from yt_dlp.downloader.fragment import FragmentFD

    fetch, join = FragmentFD._download_fragment, FragmentFD.download_and_append_fragments

    def download_fragment(self, *arguments, **more):
        try:
            return fetch(self, *arguments, **more)
        except Exception as error:
            self.lost_fragment_by = error
            raise

    def download_and_append_fragments(self, *arguments, **more):
        done = False
        try:
            done = join(self, *arguments, **more)
        finally:
            # The tool says only that the fragment was not found.
            if not done and (lost := self.__dict__.get("lost_fragment_by")) is not None:
                with contextlib.suppress(Exception):
                    report(describe(lost))
        return done

    FragmentFD._download_fragment, FragmentFD.download_and_append_fragments = download_fragment, download_and_append_fragments


# A tool that is built otherwise some day goes on in its own way.
for install in (install_errors, install_fragment_errors, install_progress, install_cover):
    with contextlib.suppress(ImportError, AttributeError):
        install()
