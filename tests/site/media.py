"""Makes the site's media with ffmpeg, once, into a cache folder.

All files together take a few seconds and about 20 MB. The folder's name holds a hash of
this source, so that a changed recipe makes new files; it appears by one rename, so that an
interrupted or a second, simultaneous maker does no harm.
"""

import base64
import hashlib
import os
import random
import shutil
import struct
import subprocess
import sys
import tempfile
from concurrent.futures import ThreadPoolExecutor
from pathlib import Path

SECONDS = 8
SIZES = {"320": (320, 180), "640": (640, 360)}
# name, extension, width, height
THUMBNAILS = [("small", "jpg", 120, 68), ("middle", "png", 320, 180), ("large", "webp", 640, 360), ("huge", "jpg", 1280, 720)]
LARGE_FILE_BYTES = 8_000_000


def ffmpeg(folder, *arguments):
    command = ["ffmpeg", "-v", "error", "-nostdin", "-y", *map(str, arguments)]
    result = subprocess.run(command, cwd=folder, stdin=subprocess.DEVNULL, capture_output=True, text=True)
    if result.returncode != 0:
        raise RuntimeError(f"{' '.join(command)}: {result.stderr.strip()}")


def picture(size):
    return ("-f", "lavfi", "-i", f"testsrc2=size={SIZES[size][0]}x{SIZES[size][1]}:rate=25:duration={SECONDS}")


def tone(hertz, seconds=SECONDS):
    return ("-f", "lavfi", "-i", f"sine=frequency={hertz}:sample_rate=48000:duration={seconds}")


# A key frame each second, where fragments are cut.
H264 = ("-c:v", "libx264", "-preset", "ultrafast", "-pix_fmt", "yuv420p", "-g", 25, "-keyint_min", 25, "-sc_threshold", 0)
VP9 = ("-c:v", "libvpx-vp9", "-deadline", "realtime", "-cpu-used", 8, "-row-mt", 1, "-pix_fmt", "yuv420p", "-b:v", "300k", "-g", 25)
COPY = ("-c", "copy")


def make_streams(folder):
    """The files of one stream each."""
    jobs = []
    for size in SIZES:
        jobs.append((*picture(size), *H264, f"video{size}.mp4"))
        jobs.append((*picture(size), *VP9, f"video{size}.webm"))
    for language, code, hertz, rate in (("en", "eng", 440, "64k"), ("fr", "fra", 660, "128k")):
        jobs.append((*tone(hertz), "-c:a", "aac", "-b:a", rate, "-metadata:s:a:0", f"language={code}", f"audio-{language}.m4a"))
    jobs.append((*tone(550), "-c:a", "libopus", "-b:a", "96k", "audio.webm"))
    jobs.append((*tone(330, 1), "-c:a", "aac", "-b:a", "16k", "short.aac"))
    for name, extension, width, height in THUMBNAILS:
        jobs.append(("-f", "lavfi", "-i", f"testsrc2=size={width}x{height}", "-frames:v", 1, f"{name}.{extension}"))
    with ThreadPoolExecutor(os.cpu_count()) as pool:
        list(pool.map(lambda job: ffmpeg(folder, *job), jobs))


def make_combinations(folder):
    """What is put together from the streams, without encoding again."""
    for size in SIZES:
        ffmpeg(folder, "-i", f"video{size}.mp4", "-i", "audio-en.m4a", *COPY, "-movflags", "+faststart", f"combined{size}.mp4")
    ffmpeg(folder, "-i", "video320.webm", "-i", "audio.webm", *COPY, "combined.webm")
    for name in ("hls320", "hls640", "live", "dash"):
        (folder / name).mkdir()
    hls = (*COPY, "-f", "hls", "-hls_time", 1, "-hls_list_size", 0, "-hls_segment_filename")
    for size in SIZES:
        ffmpeg(folder, "-i", f"combined{size}.mp4", *hls, f"hls{size}/%03d.ts", f"hls{size}/index.m3u8")
    # Ten minutes with continuous time stamps: a live stream that a test never sees the end of.
    ffmpeg(folder, "-stream_loop", 600 // SECONDS - 1, "-i", "combined320.mp4", *hls, "live/%03d.ts", "live/all.m3u8")
    inputs = [part for name in ("video320.mp4", "video640.mp4", "audio-en.m4a") for part in ("-i", f"../{name}")]
    ffmpeg(folder / "dash", *inputs, "-map", 0, "-map", 1, "-map", 2, *COPY, "-f", "dash", "-seg_duration", 1,
           "-adaptation_sets", "id=0,streams=v id=1,streams=a", "manifest.mpd")


def make_odd_files(folder):
    # A valid file with random padding that players skip: long to fetch, at no encoding time.
    padding = random.Random(1).randbytes(LARGE_FILE_BYTES)
    box = struct.pack(">I4s", 8 + len(padding), b"free") + padding
    (folder / "large.mp4").write_bytes((folder / "combined320.mp4").read_bytes() + box)
    # Sound that a merge waits for, for minutes: a playlist with its segments inside, which
    # doesn't say that it has ended, so ffmpeg looks for more. The "=" ends the base64 text;
    # what follows only satisfies ffmpeg's check of a segment's extension. It reads 4 kB a line.
    payload = base64.b64encode((folder / "short.aac").read_bytes()).decode().rstrip("=") + "=.aac"
    lines = ["#EXTM3U", "#EXT-X-VERSION:3", "#EXT-X-TARGETDURATION:1", "#EXT-X-MEDIA-SEQUENCE:0"]
    lines += [f"#EXTINF:1.0,\ndata:audio/aac;base64,{payload}"] * 4
    (folder / "unending.m4a").write_text("\n".join(lines) + "\n")


def prepare():
    """Returns the folder with all media, making it first if need be."""
    cache = os.environ.get("XDG_CACHE_HOME") or os.path.expanduser("~/.cache")
    folder = Path(os.environ.get("REELHAUL_MEDIA_DIR") or os.path.join(cache, "reelhaul-media"))
    recipe = hashlib.sha256(Path(__file__).read_bytes()).hexdigest()[:12]
    ready = folder / recipe
    if ready.is_dir():
        return ready
    if not shutil.which("ffmpeg"):
        sys.exit("media: ffmpeg is needed to make the site's media; install it first")
    folder.mkdir(parents=True, exist_ok=True)
    print(f"media: making the site's media in {folder}", file=sys.stderr, flush=True)
    with tempfile.TemporaryDirectory(prefix=".making-", dir=folder) as temporary:
        made = Path(temporary) / "media"
        made.mkdir()
        for step in (make_streams, make_combinations, make_odd_files):
            step(made)
        try:
            made.rename(ready)
        except OSError:
            if not ready.is_dir():  # else another maker was faster
                raise
    return ready
