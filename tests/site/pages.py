"""What the site offers: a description for each watch page and each list.

Descriptions are what the real tool's plugin hands on as its result. A page is a function
that takes `Site` and returns one.
"""

import json

import media

LONG_JAPANESE = "日本語の題名／東京 1/2 「夜」: " + "長い題名の続き" * 40
CAPTION_LANGUAGES = {"en": "English", "fr": "Français", "ja": "日本語", "pt-BR": "Português (Brasil)"}
CAPTION_FORMATS = ("vtt", "srt", "json3")


class Site:
    """Where the site is and what its media are."""

    def __init__(self, base, folder):
        self.base = base
        self.folder = folder

    def url(self, path):
        return f"{self.base}/{path}"

    def _format(self, code, file, extra):
        size = (self.folder / file).stat().st_size
        return {"format_id": code, "url": self.url(f"media/{file}"), "ext": file.rsplit(".", 1)[1],
                "filesize": size, "tbr": round(size * 8 / 1000 / media.SECONDS, 3), **extra}

    def video(self, size, extension, code=None):
        width, height = media.SIZES[size]
        return self._format(code or f"video{size}{extension}", f"video{size}.{extension}", {
            "width": width, "height": height, "fps": 25, "acodec": "none",
            "vcodec": "avc1.42c01e" if extension == "mp4" else "vp9"})

    def audio(self, language):
        return self._format(f"audio-{language}", f"audio-{language}.m4a", {
            "language": language, "vcodec": "none", "acodec": "mp4a.40.2", "asr": 48000, "audio_channels": 1})

    def opus(self):
        return self._format("audio-opus", "audio.webm", {
            "vcodec": "none", "acodec": "opus", "asr": 48000, "audio_channels": 1})

    def combined(self, file="combined320.mp4", **extra):
        width, height = media.SIZES["640" if "640" in file else "320"]
        codecs = ("vp9", "opus") if file.endswith("webm") else ("avc1.42c01e", "mp4a.40.2")
        return self._format(file.replace(".", "-"), file, {
            "width": width, "height": height, "fps": 25, "vcodec": codecs[0], "acodec": codecs[1], **extra})

    def thumbnails(self):
        return [{"id": name, "url": self.url(f"media/{name}.{extension}"), "width": width, "height": height}
                for name, extension, width, height in media.THUMBNAILS]

    def captions(self):
        return {code: [{"ext": extension, "name": name, "url": self.url(f"caption/{code}.{extension}")}
                       for extension in CAPTION_FORMATS] for code, name in CAPTION_LANGUAGES.items()}

    def manifest(self, kind, path):
        return [{"kind": kind, "url": self.url(path)}]

    def inner(self, name, **extra):
        """A list inside a list, as the tool's listing of a channel holds its tabs."""
        return {"_type": "multi_video" if name == "parts" else "playlist", "id": name, "title": f"List {name}", "extractor": "reelhaul-site",
                "extractor_key": "ReelhaulSite", "webpage_url": self.url(f"list/{name}"), "entries": LISTS[name](self), **extra}

    def file(self, name, title):
        """A whole item of one file: no list of formats."""
        return {"id": name.replace(".", "-"), "title": title, "url": self.url(f"media/{name}"), "ext": name.rsplit(".", 1)[1]}

    def link(self, name, title=None):
        return {"_type": "url", "url": self.url(f"watch/{name}"), "id": name, "title": title or f"Page {name}"}


def item(title, formats, **extra):
    return {"title": title, "duration": media.SECONDS, "formats": formats, **extra}


def oddities(site):
    return item("Oddities: NaN, Infinity, huge numbers, nulls, repeated ids", [
        {**site.combined(), "filesize": 10**25 - 1, "fps": None},
        {**site.video("640", "mp4"), "language": None, "format_note": None},
        {**site.audio("en"), "filesize": None, "asr": None}],
        average_rating=float("nan"), like_count=float("-inf"), view_count=10**25 - 1, description=None,
        thumbnails=[{**picture, "id": "0"} for picture in site.thumbnails()] + [{"url": site.url("media/gone.jpg"), "width": None}],
        automatic_captions=site.captions())


def everything(site):
    formats = [site.video(size, extension) for extension in ("mp4", "webm") for size in media.SIZES]
    return item("A page with everything", [
        *formats, site.audio("en"), site.audio("fr"), site.opus(), site.combined(), site.combined("combined.webm")],
        thumbnails=site.thumbnails(), automatic_captions=site.captions(), description="All kinds of formats at once.")


WATCH = {
    "merged-mp4": lambda s: item("Merged mp4", [s.video("320", "mp4"), s.video("640", "mp4"), s.audio("en")]),
    "merged-webm": lambda s: item("Merged webm", [s.video("320", "webm"), s.video("640", "webm"), s.opus()]),
    "two-languages": lambda s: item("Two languages", [s.video("640", "mp4"), s.audio("en"), s.audio("fr")]),
    "combined": lambda s: item("Combined", [s.combined(), s.combined("combined640.mp4"), s.combined("combined.webm")]),
    "hls": lambda s: item("HLS", [], manifests=s.manifest("hls", "media/hls.m3u8")),
    "dash": lambda s: item("DASH", [], manifests=s.manifest("dash", "media/dash/manifest.mpd")),
    "everything": everything,
    "subtitles": lambda s: item("Subtitles", [s.combined(), s.video("640", "mp4"), s.audio("en")],
                                automatic_captions=s.captions(),
                                subtitles={"de": [{"ext": "vtt", "name": "Deutsch", "url": s.url("caption/de.vtt")}],
                                           "en": [{"ext": "vtt", "url": s.url("caption/en-people.vtt")}],
                                           "live_chat": [{"ext": "json", "url": s.url("caption/chat.json3")}]}),
    "thumbnails": lambda s: item("Thumbnails", [s.combined()], thumbnails=s.thumbnails()),
    "webp": lambda s: item("The largest thumbnail is webp", [s.combined()], thumbnails=s.thumbnails()[:3]),
    "sizeless": lambda s: item("Thumbnails without sizes, the best last", [s.combined()], thumbnails=[
        {"id": str(i), "url": picture["url"]} for i, picture in enumerate(s.thumbnails())]),
    "live": lambda s: item("Live", [], duration=None, is_live=True, manifests=s.manifest("hls", "media/live.m3u8")),
    # As such a stream comes over plain http: the tool records it itself.
    "live-file": lambda s: item("Live file", [{**s.combined("large.mp4"), "url": s.url("media/large.mp4?rate=300000")}],
                                duration=None, is_live=True),
    "slow": lambda s: item("Slow plain file", [{**s.combined("large.mp4"), "url": s.url("media/large.mp4?rate=200000")}]),
    "slow-fragments": lambda s: item("Slow fragments", [], manifests=s.manifest("hls", "media/hls320/index.m3u8?rate=40000")),
    "slow-merge": lambda s: item("A merge of minutes", [
        s.video("320", "mp4"), {**s.audio("en"), "url": s.url("media/unending.m4a"), "filesize": None}]),
    "japanese": lambda s: item(LONG_JAPANESE[:300], [s.combined(), s.video("640", "mp4"), s.audio("en")]),
    "same-title-a": lambda s: item("The same title", [s.combined()]),
    "same-title-b": lambda s: item("The same title", [s.combined()]),
    "oddities": oddities,
    "one-address": lambda s: {**s.file("combined320.mp4", "One address"), "duration": media.SECONDS},
    "details": lambda s: item("Details", [s.combined()], uploader="A person", upload_date="20260131", description="Two\nlines",
                              chapters=[{"start_time": 0, "end_time": 2.5, "title": "Beginning"},
                                        {"start_time": 2.5, "end_time": 8, "title": "End"}]),
    # The tool asks the service for sponsored parts only about one extractor's items.
    "convert": lambda s: item("Convert", [s.opus(), s.audio("en"), s.combined("combined.webm"), s.combined(), s.video("640", "mp4")],
                              extractor_key="Youtube", uploader="A person", upload_date="20260131", description="Words; and = more",
                              thumbnails=s.thumbnails(), automatic_captions=s.captions(), chapters=[
                                  {"start_time": 0, "end_time": 3, "title": "../../up \"%(id)s\" \u202e" + "長" * 30},
                                  {"start_time": 3, "end_time": 8, "title": "End; = last"}]),
    "dubbed": lambda s: item("Dubbed", [s.video("640", "mp4"), s.video("320", "mp4"), s.combined(language="de"), *(
        {**s.audio("en"), "format_id": f"audio-{code}", "language": code, "language_preference": 10 if code == "de" else -1}
        for code in ("ar", "en-US", "fr")), {**s.audio("fr"), "format_id": "audio-de", "language": "de", "language_preference": 10},
        {**s.audio("fr"), "format_id": "audio-de-described", "language": "de", "language_preference": -10, "filesize": 10**6}]),
    "close-sounds": lambda s: item("Close sounds", [s.video("640", "webm"), {**s.audio("en"), "filesize": 100000},
                                                    {**s.opus(), "filesize": 90000}]),
    "copied-sound": lambda s: item("Copied sound", [s.video("640", "mp4"), {**s.audio("en"), "filesize": 100000},
                                                    {**s.opus(), "filesize": 110000}]),
    "no-partner": lambda s: item("No partner", [s.video("640", "mp4"), s.video("320", "webm"), s.opus()]),
    "silent-best": lambda s: item("The best is silent", [s.video("640", "mp4"), s.combined()]),
    "mirrors": lambda s: item("Mirrors", [{**s.combined(), "format_id": f"mirror{i}", "format_note": None, "protocol": protocol}
                                          for i, protocol in enumerate(("http", "https"))]),
    # What decides the tool's order besides the size of the picture.
    "preferred-source": lambda s: item("Preferred source", [{**s.combined("combined640.mp4"), "source_preference": -5, "format_id": "far"},
                                                            {**s.combined("combined640.mp4"), "format_id": "near"}]),
    "quality": lambda s: item("Quality", [{**s.combined("combined640.mp4"), "quality": 1}, {**s.combined(), "quality": 5}]),
    "portrait": lambda s: item("Portrait", [{**s.combined("combined640.mp4"), "width": 360, "height": 640}, s.combined()]),
    "half-known": lambda s: item("Half known", [{**s.video("640", "mp4"), "height": None}, {**s.video("320", "mp4"), "width": None}, s.audio("en")]),
    "odd-codes": lambda s: item("Odd codes", [{**s.combined(), "format_id": code} for code in ("best", "1 2", "a/b", "137", "日本")]),
    "sound-alone": lambda s: item("Sound alone", [s.audio("en"), s.opus(), s.audio("fr")]),
    "silent": lambda s: item("Silent", [s.video("320", "mp4"), s.video("640", "webm")]),
    "fast": lambda s: item("Fast", [{**s.video("640", "mp4", f"fps{rate}"), "fps": rate} for rate in (60, 25, 50)] + [s.audio("en")]),
    "empty-formats": lambda s: item("No formats at all", []),
    "big": lambda s: item("2,000 formats", [
        {**s.video("320", "mp4", f"video{i}"), "url": s.url(f"media/video320.mp4?copy={i}")} for i in range(1999)] + [s.audio("en")]),
}

# Absent on purpose: its description answers 404.
MISSING_PAGE = "no-formats"


def whole(site):
    """Whole videos without addresses of their own, as a page with several videos gives."""
    return [{"id": name, **WATCH[name](site)} for name in ("combined", "merged-mp4", "two-languages")]


LISTS = {
    "mixed": lambda s: [s.link("merged-mp4", "Merged mp4"), s.link(MISSING_PAGE), s.link("combined", "Combined")],
    "whole": whole,
    # As the listing of a large site: each entry tells whose it is.
    "known": lambda s: [{**s.link(name), "ie_key": "ReelhaulSite"} for name in ("combined", "merged-mp4", "details")],
    "empty": lambda s: [],
    "all-fail": lambda s: [s.link(MISSING_PAGE, f"Failing {i}") for i in range(1, 4)],
    "files": lambda s: [s.file("combined320.mp4", "First file"), s.file("audio-fr.m4a", "Second file")],
    "parts": lambda s: [{"id": f"part{i}", **WATCH["combined"](s), "title": f"Piece {i}"} for i in (1, 2)],
    "tabs": lambda s: [s.inner("feed"), s.inner("whole"), s.inner("parts", _type="multi_video")],
    "addresses": lambda s: [s.link("combined", "Combined"), *({"_type": "url", "url": s.url(f"list/{name}"), "title": f"By address: {name}"}
                                                          for name in ("parts", "files", "addresses"))],
    "deep": lambda s: [{**s.inner("feed"), "entries": [{**s.inner("parts"), "webpage_url": s.url("list/files"), "entries": LISTS["files"](s)}]}],
    "to-lists": lambda s: [{"_type": "url_transparent", "url": s.url("list/parts"), "title": "Transparent"}, s.link("details")],
    "feed": lambda s: [{"_type": "url_transparent", "url": s.url(f"watch/{name}"), "title": f"Feed: {name}"}
                       for name in ("combined", "merged-mp4")],
}


# Pages of plain HTML, which the tool's generic reader takes.
HTML = {
    "og-video": lambda s: f'''<html><head><title>One video in the head</title>
<meta property="og:video" content="{s.url("media/combined320.mp4")}"></head></html>''',
    "twitter-card": lambda s: f'''<html><head><title>A card</title>
<meta name="twitter:player:stream" content="{s.url("media/combined320.mp4")}"></head></html>''',
    "sound": lambda s: f'''<html><head><title>A sound</title></head><body><audio src="{s.url("media/audio-en.m4a")}"></audio></body></html>''',
    "several-videos": lambda s: f'''<html><head><title>Several videos</title></head><body>
<video src="{s.url("media/combined320.mp4")}"></video><video src="{s.url("media/combined640.mp4")}"></video></body></html>''',
    "player": lambda s: f'''<html><head><title>Another site's player</title></head><body>
<iframe src="{s.url("Mediasite/Play/" + "0" * 34)}"></iframe></body></html>''',
}


def describe(site, path):
    """The description of "watch/NAME" or "list/NAME", or None."""
    kind, _, name = path.partition("/")
    if kind == "watch" and name in WATCH:
        return {"id": name, **WATCH[name](site)}
    if kind == "list" and name in LISTS:
        return {"_type": "playlist", "id": name, "title": f"List {name}", "description": f"The list named {name}.",
                "entries": LISTS[name](site)}
    return None


def sponsored(name):
    """What the service for sponsored parts knows of an item."""
    return [{"videoID": name, "segments": [{"segment": [4, 6], "category": "sponsor", "actionType": "skip", "videoDuration": 8}]}]


def caption(language, extension):
    """Text of a caption file, or None."""
    lines = [f"{language} line {number}" for number in range(1, media.SECONDS // 2 + 1)]
    if extension == "json3":
        return json.dumps({"events": [{"tStartMs": 2000 * i, "dDurationMs": 1500, "segs": [{"utf8": line}]}
                                      for i, line in enumerate(lines)]})
    if extension == "vtt":
        return "WEBVTT\n\n" + "\n".join(f"00:00:{2 * i:02}.000 --> 00:00:{2 * i + 1:02}.500\n{line}\n"
                                        for i, line in enumerate(lines))
    if extension == "srt":
        return "\n".join(f"{i + 1}\n00:00:{2 * i:02},000 --> 00:00:{2 * i + 1:02},500\n{line}\n"
                         for i, line in enumerate(lines))
    return None
