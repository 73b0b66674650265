"""What a stopped, failed or killed run of the tool has left, so that the next one goes on with it.

The library marks the folder of a download whose data it keeps. There what the server has changed since is removed before
the tool goes on, and nothing counts as fetched that is not. Elsewhere the tool does as ever, but for the size of what it
reads before it writes.
"""

import contextlib
import hashlib
import json
import os
import sys
import urllib.parse

BLOCK = 512 * 1024  # the most that the tool reads before it writes: a kill costs that much
TAIL = 64 * 1024  # bytes that are compared where a server has no marks
STREAM_PACKET = 188  # bytes; each of MPEG-TS begins with a "G"
GOOD_ADDRESS = "_reelhaul_good_address"  # of a fragment that the server had when the run began


def is_kept(name):
    """Whether what a run leaves in the file's folder is for the next one."""
    return os.path.exists(os.path.join(os.path.dirname(name), ".resume"))


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
    known = version(tool, info, pieces[0])
    info[GOOD_ADDRESS] = pieces[0]
    return [hashlib.sha256(names.encode("utf-8", "replace")).hexdigest(), *known]


def expired(tool, info):
    """Whether the addresses have: then also one that was good when the run began is refused."""
    from yt_dlp.networking.exceptions import HTTPError

    try:
        if GOOD_ADDRESS in info:
            version(tool, info, info[GOOD_ADDRESS])
    except HTTPError:
        return True
    return False


def same_tail(tool, info, path):
    """For a server without marks: whether it still has, at their place, the last bytes that are there."""
    from yt_dlp.networking.exceptions import HTTPError

    size = os.path.getsize(path)
    begin = max(0, size - TAIL)
    with contextlib.suppress(HTTPError), contextlib.closing(ask(tool, info, info["url"], begin, size - 1)) as answer, \
            open(path, "rb") as file:
        file.seek(begin)
        return answer.status == 206 and answer.read() == file.read()
    return False


def write_whole(path, value):
    """A kill or a full disk leaves what was there before."""
    with open(f"{path}.new", "w", encoding="utf-8") as file:
        json.dump(value, file)
    os.replace(f"{path}.new", path)


def note_fragments(downloader, ctx):
    """How long the file is with the fragments that count as there: a kill may come between the two."""
    own, part = ctx["filename"], downloader.temp_name(ctx["filename"])
    size = os.path.getsize(part) if os.path.exists(part) else 0
    write_whole(f"{own}.state", [ctx["fragment_index"], size])


def cut_to_fragments(name):
    """Brings the file to where note_fragments saw it last; False where that can't be."""
    try:
        with open(f"{name}.state", encoding="utf-8") as file:
            index, size = json.load(file)
        if os.path.getsize(f"{name}.part") < size:
            return False
    except (OSError, ValueError):
        return False
    os.truncate(f"{name}.part", size)
    write_whole(f"{name}.ytdl", {"downloader": {"current_fragment": {"index": index}}})
    return True


def note_first_answer(tool, note, info):
    """Where nothing is left the answer that the tool gets itself tells the source, without a question of ours."""
    from yt_dlp.networking import Request

    ask_for = tool.urlopen

    def urlopen(request):
        answer = ask_for(request)
        with contextlib.suppress(Exception):
            if request.url == Request(info["url"]).url and not os.path.exists(note):
                write_whole(note, marks(answer))
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
    if now is not None and now != before:
        write_whole(note, now)
    elif now is None:
        with contextlib.suppress(OSError):
            os.unlink(note)


def open_mark(name):
    """Tells the library that the file is there and not all is done with it; gone once it is."""
    return f"{name}.state.open"


def unmended_mark(name):
    """Tells that ffmpeg could not mend the file."""
    return f"{name}.state.unmended"


def waits_for_mending(tool, name):
    """Whether a stream is still there under the name of an mp4, though ffmpeg is there to make one of it."""
    from yt_dlp.postprocessor.ffmpeg import FFmpegFixupPostProcessor

    if not name.endswith((".mp4", ".m4a")) or tool.params.get("fixup") not in (None, "detect_or_warn", "force"):
        return False
    with contextlib.suppress(OSError), open(name, "rb") as file:
        begin = file.read(2 * STREAM_PACKET)
        return begin[::STREAM_PACKET] == b"GG" and not os.path.exists(unmended_mark(name)) and \
            not tool.params.get("hls_use_mpegts") and FFmpegFixupPostProcessor(tool).available
    return False


def install_guard():
    from yt_dlp import YoutubeDL
    from yt_dlp.downloader.common import FileDownloader

    fetch, finish, choose = YoutubeDL.dl, YoutubeDL.post_process, FileDownloader.best_block_size

    def dl(self, name, info, subtitle=False, test=False):
        if not test and not subtitle and is_kept(name):
            guard_partial(self, name, info)
            with open(open_mark(name), "wb"):
                pass
        try:
            return fetch(self, name, info, subtitle=subtitle, test=test)
        finally:
            self.__dict__.pop("urlopen", None)

    def post_process(self, name, *arguments, **more):
        done = finish(self, name, *arguments, **more)
        if is_kept(name) and not waits_for_mending(self, name):
            with contextlib.suppress(FileNotFoundError):
                os.unlink(open_mark(name))
        return done

    YoutubeDL.dl, YoutubeDL.post_process = dl, post_process
    FileDownloader.best_block_size = staticmethod(lambda seconds, size: min(BLOCK, choose(seconds, size)))


def install_fragments():
    from yt_dlp.downloader.fragment import FragmentFD
    from yt_dlp.networking.exceptions import HTTPError

    write, fetch, join = FragmentFD._write_ytdl_file, FragmentFD._download_fragment, FragmentFD.download_and_append_fragments

    def write_ytdl_file(self, ctx):
        write(self, ctx)
        # The tool counts a fragment also where it could not be written for a full disk.
        if is_kept(ctx["filename"]) and sys.exc_info()[0] is None:
            with contextlib.suppress(OSError):
                note_fragments(self, ctx)

    def download_fragment(self, ctx, url, info, *arguments, **more):
        lost = self.__dict__.setdefault("lost_fragments", set())
        place = ctx["fragment_index"] - 1
        lost.add(place)
        try:
            if done := fetch(self, ctx, url, info, *arguments, **more):
                lost.discard(place)
            return done
        except HTTPError as error:
            if error.status in (404, 410) and not (is_kept(ctx["filename"]) and expired(self.ydl, info)):
                lost.discard(place)
            raise

    def download_and_append_fragments(self, ctx, *arguments, is_fatal=lambda place: False, **more):
        # The tool passes over what it can't get, as when the disk is full or the network is lost. What is kept can be
        # gone on with, so only what the server does not have is passed over.
        def fatal(place):
            return is_fatal(place) or (is_kept(ctx["filename"]) and place in self.__dict__.get("lost_fragments", ()))

        return join(self, ctx, *arguments, is_fatal=fatal, **more)

    FragmentFD._write_ytdl_file, FragmentFD._download_fragment = write_ytdl_file, download_fragment
    FragmentFD.download_and_append_fragments = download_and_append_fragments


def install_mending():
    from yt_dlp import YoutubeDL
    from yt_dlp.postprocessor.ffmpeg import FFmpegFixupPostProcessor, FFmpegPostProcessor, PostProcessingError

    mend, process = FFmpegFixupPostProcessor._fixup, YoutubeDL.process_info

    def fixup(self, message, name, *arguments, **more):
        failures = []
        while len(failures) < 2:  # what it can't mend twice it can't mend
            try:
                return mend(self, message, name, *arguments, **more)
            except PostProcessingError as error:
                if not is_kept(name) or not getattr(error, "by_itself", False):
                    raise
                failures.append(error)
        with open(unmended_mark(name), "wb"):
            self.report_warning(f"ffmpeg can't mend the file, which stays as it came: {failures[-1]}")

    def forget_failures():
        """An ffmpeg that was killed when it was asked for its version is not missing."""
        known = FFmpegPostProcessor._version_cache
        for path in [path for path, version in known.items() if path and not version]:
            del known[path]

    def process_info(self, *arguments, **more):
        forget_failures()
        return process(self, *arguments, **more)

    def available(self):
        if self.basename is None:
            forget_failures()
            for name in ("basename", "_version"):
                self.__dict__.pop(name, None)
        return self.basename is not None

    FFmpegFixupPostProcessor._fixup, YoutubeDL.process_info = fixup, process_info
    FFmpegFixupPostProcessor.available = property(available)


# A tool that is built otherwise some day goes on in its own way.
for install in (install_guard, install_fragments, install_mending):
    with contextlib.suppress(ImportError, AttributeError):
        install()
