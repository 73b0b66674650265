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
import hashlib
import json
import os
import sys
import threading
import time
import traceback
import urllib.parse

MARK = "@MARK@"
MOST_BYTES = 500  # a pipe takes so much at once, whatever other threads and ffmpeg write into it
MOST_CAUSES = 6
MOST_NAMES = 180  # characters
PAUSE = 0.05  # seconds between two records of the same part
TAIL = 64 * 1024  # bytes that are compared where a server has no marks
BLOCK = 512 * 1024  # the most that the tool reads before it writes: a kill costs that much
LOOK = 0.1  # seconds between two looks at what ffmpeg writes


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


# ---- what an earlier run has left ----


def ask(tool, info, url, begin="0", end="0"):
    """The server's answer for a few bytes of what an address holds."""
    from yt_dlp.networking import Request

    headers = {**(info.get("http_headers") or tool._calc_headers(info)), "Accept-Encoding": "identity",
               "Range": f"bytes={begin}-{end}"}
    return tool.urlopen(Request(url, headers=headers))


def marks(answer):
    """What tells one state of a file from another: the server's marks for it, and its size."""
    size = (answer.headers.get("Content-Range") or "").rpartition("/")[2] if answer.status == 206 \
        else answer.headers.get("Content-Length")
    return [answer.headers.get("ETag"), answer.headers.get("Last-Modified"), size]


def version(tool, info, url):
    with contextlib.closing(ask(tool, info, url)) as answer:
        return marks(answer)


def path_of(url):
    """An address without what expires in it."""
    return urllib.parse.urlsplit(url).path.rpartition("/")[2]


def in_fragments(info):
    return bool((info.get("protocol") or "").startswith("m3u8") or info.get("fragments"))


def source(tool, info):
    """What a part is fetched from; None where that can't be told."""
    if (info.get("protocol") or "").startswith("m3u8"):
        with contextlib.closing(tool.urlopen(info["url"])) as answer:
            lines = answer.read().decode("utf-8", "replace").splitlines()
        pieces = [urllib.parse.urljoin(answer.url, line) for line in lines if line.strip() and not line.startswith("#")]
        rest = [line for line in lines if line.startswith("#EXTINF")]
    elif info.get("fragments"):
        pieces = [one.get("url") or urllib.parse.urljoin(info["fragment_base_url"], one["path"]) for one in info["fragments"]]
        rest = []
    else:
        return version(tool, info, info["url"])
    names = "\n".join([*map(path_of, pieces), *rest])
    return [hashlib.sha256(names.encode("utf-8", "replace")).hexdigest(), *version(tool, info, pieces[0])]


def same_tail(tool, info, path):
    """For a server without marks: whether it still has, at their place, the last bytes that are there."""
    size = os.path.getsize(path)
    begin = max(0, size - TAIL)
    with contextlib.closing(ask(tool, info, info["url"], begin, size - 1)) as answer, open(path, "rb") as file:
        file.seek(begin)
        return answer.status == 206 and answer.read() == file.read()


def note_fragments(downloader, ctx):
    """How long the file is with the fragments that count as there: a kill may come between the two."""
    own, part = ctx["filename"], downloader.temp_name(ctx["filename"])
    size = os.path.getsize(part) if os.path.exists(part) else 0
    with open(f"{own}.state.new", "w", encoding="utf-8") as file:
        json.dump([ctx["fragment_index"], size], file)
    os.replace(f"{own}.state.new", f"{own}.state")


def cut_to_fragments(name):
    """Brings the file to where note_fragments saw it last; False where that can't be."""
    try:
        with open(f"{name}.state", encoding="utf-8") as file:
            index, size = json.load(file)
        if os.path.getsize(f"{name}.part") < size:
            return False
        os.truncate(f"{name}.part", size)
        with open(f"{name}.ytdl", "w", encoding="utf-8") as file:
            json.dump({"downloader": {"current_fragment": {"index": index}}}, file)
    except (OSError, ValueError):
        return False
    return True


def write_note(note, now):
    with open(f"{note}.new", "w", encoding="utf-8") as file:
        json.dump(now, file)
    os.replace(f"{note}.new", note)


def note_first_answer(tool, note, info):
    """Where nothing is left the answer that the tool gets itself tells the source, without a question of ours."""
    from yt_dlp.networking import Request

    ask_for = tool.urlopen

    def urlopen(request):
        answer = ask_for(request)
        with contextlib.suppress(Exception):
            if request.url == Request(info["url"]).url and not os.path.exists(note):
                write_note(note, marks(answer))
        return answer

    tool.urlopen = urlopen


def guard_partial(tool, name, info):
    """Removes what an earlier run left of something else than the server has now: the tool would go on behind it."""
    from yt_dlp.networking.exceptions import network_exceptions

    folder, own, note = os.path.dirname(name), os.path.basename(name), f"{name}.source"
    left = [file for file in os.listdir(folder) if file == own or file.startswith((f"{own}.part", f"{own}.ytdl", f"{own}.state"))]
    if not left and not in_fragments(info):
        with contextlib.suppress(OSError):
            os.unlink(note)
        return note_first_answer(tool, note, info)
    now = before = None
    with contextlib.suppress(OSError, ValueError), open(note, encoding="utf-8") as file:
        before = json.load(file)
    try:
        now = source(tool, info)
    except Exception as failure:
        if left and before and isinstance(failure, network_exceptions):
            raise  # a failure of this run, after which another one may go on
    same = now is not None and now == before
    if same and left and now[-3:-1] == [None, None]:
        with contextlib.suppress(Exception):
            bodies = [file for file in (own, f"{own}.part") if file in left]
            same = len(now) == 3 and bool(bodies) and same_tail(tool, info, os.path.join(folder, bodies[0]))
    # Also when the last fragment is there and the tool has just removed its own count.
    if same and in_fragments(info) and f"{own}.part" in left:
        same = cut_to_fragments(name)
    # A whole file may have been killed before ffmpeg mended it: the tool mends what it has fetched itself, else.
    if same and own in left and tool.params.get("fixup") in (None, "detect_or_warn"):
        tool.params["fixup"] = "force"
    for file in left:
        if not same or "-Frag" in file:  # a fragment that is not whole is fetched again
            with contextlib.suppress(OSError):
                os.unlink(os.path.join(folder, file))
    with contextlib.suppress(OSError):
        os.unlink(note)
    if now is not None:
        write_note(note, now)


def install_progress():
    from yt_dlp import YoutubeDL
    from yt_dlp.downloader.common import FileDownloader
    from yt_dlp.downloader.external import FFmpegFD
    from yt_dlp.downloader.fragment import FragmentFD
    from yt_dlp.postprocessor.ffmpeg import FFmpegPostProcessor, FFmpegPostProcessorError

    choose = FileDownloader.best_block_size
    FileDownloader.best_block_size = staticmethod(lambda seconds, size: min(BLOCK, choose(seconds, size)))
    progress = Progress()
    process, fetch, record = YoutubeDL.process_info, YoutubeDL.dl, FFmpegFD._call_downloader
    convert = FFmpegPostProcessor.real_run_ffmpeg

    def process_info(self, info, *arguments, **more):
        if not self.params.get("simulate") and not self.params.get("skip_download"):
            with contextlib.suppress(Exception):
                if progress.hook not in self._progress_hooks:
                    self.add_progress_hook(progress.hook)
                progress.plan(info)
        return process(self, info, *arguments, **more)

    def dl(self, name, info, subtitle=False, test=False):
        if not test:
            with contextlib.suppress(Exception):
                progress.begin(info, subtitle)
            if not subtitle and os.path.exists(os.path.join(os.path.dirname(name), ".resume")):
                guard_partial(self, name, info)
        try:
            return fetch(self, name, info, subtitle=subtitle, test=test)
        finally:
            self.__dict__.pop("urlopen", None)

    def real_run_ffmpeg(self, inputs, outputs, *arguments, **more):
        inputs, outputs = list(inputs), list(outputs)
        if not outputs or outputs[-1][0] in (None, "-", "pipe:1"):
            return convert(self, inputs, outputs, *arguments, **more)
        name, last = self.pp_key(), outputs[-1]
        path = f"{last[0]}.progress"

        def run():
            words = convert(self, inputs, outputs, *arguments, **more)
            # On a full disk ffmpeg may end with 0 and half a file, which the tool would take for the whole.
            lost = [line for line in (words or "").splitlines() if line.startswith(("Error writing trailer", "Error closing file"))]
            if lost:
                raise FFmpegPostProcessorError(lost[0])
            return words

        outputs[-1] = last[0], [*last[1], "-progress", f"file:{path}"]
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

    write_fragments = FragmentFD._write_ytdl_file

    def write_ytdl_file(self, ctx):
        write_fragments(self, ctx)
        if os.path.exists(os.path.join(os.path.dirname(ctx["filename"]), ".resume")):
            with contextlib.suppress(OSError):
                note_fragments(self, ctx)

    FragmentFD._write_ytdl_file = write_ytdl_file
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


# A tool that is built otherwise some day goes on in its own way.
for install in (install_errors, install_progress):
    with contextlib.suppress(ImportError, AttributeError):
        install()
