#!/usr/bin/env python3
"""Holds the command against the tool itself, on every page and list of the site.

    differential.py [WORD]

Asks the tool for its document (-J, not flat) and for its own choice of a format, and the command for its own, and
prints one line for each difference: titles, durations, number of items, formats that can be had, subtitles, the
choice. WORD takes only the addresses that hold it. Ends with 1 when a difference is none of those that are EXPECTED.
"""

import json
import os
import subprocess
import sys
import tempfile
from concurrent.futures import ThreadPoolExecutor
from pathlib import Path

from servers import COMMAND, SITE, TOOL, Server

sys.path.insert(0, str(SITE))
import pages  # noqa: E402

# The tool puts the minute into the title of a live stream.
LEFT_OUT = {"watch/live", "watch/live-file"}
FILES = ("combined320.mp4", "combined640.mp4", "combined.webm", "video320.mp4", "video640.webm", "audio-en.m4a", "audio-fr.m4a",
         "audio.webm", "hls.m3u8", "dash/manifest.mpd")
# Address to the reason of what differs there.
EXPECTED = {"watch/copied-sound": "a sound that goes into the picture's container, where it is nearly as large"}


def addresses():
    """Every page and list, with another title as well, and the plain files."""
    found = [f"watch/{name}" for name in pages.WATCH] + [f"list/{name}" for name in pages.LISTS]
    found += [f"html/{name}" for name in pages.HTML] + [f"direct/{name}" for name in FILES]
    found += [f"watch/{name}?title=Another%20title" for name in ("combined", "merged-mp4", "dubbed", "hls", "details", "one-address")]
    return [address for address in found if address not in LEFT_OUT]


def entries(document):
    """The items of a document, those of lists inside it among them."""
    if document is None:
        return []
    if "entries" in document:
        return [item for entry in document["entries"] for item in entries(entry)]
    return [document]


def is_offered(form):
    return form.get("ext") != "mhtml" and "images" not in (form.get("vcodec") or "")


def by_tool(item):
    formats = [form for form in item.get("formats") or [item] if is_offered(form)]
    subtitles = {code for code in item.get("subtitles") or {} if code != "live_chat"}
    return {"title": item.get("title"), "duration": int(item.get("duration") or 0),
            "formats": sorted(form["format_id"] for form in formats), "authored": sorted(subtitles),
            "captions": sorted(item.get("automatic_captions") or {}), "best": item.get("format_id")}


def by_command(item):
    return {"title": item["title"], "duration": item["duration_seconds"],
            "formats": sorted(form["code"] for form in item["all_formats"]),
            "authored": sorted(one["code"] for one in item["authored_subtitles"]),
            "captions": sorted(one["code"] for one in item["subtitles"]), "best": item["best"]}


def json_of(environment, *command):
    run = subprocess.run([str(word) for word in command], env=environment, capture_output=True, text=True, timeout=300)
    try:
        return json.loads(run.stdout)
    except ValueError:
        return None


def differences(environment, base, address, counts):
    url = f"{base}/{address}"
    tool = [by_tool(item) for item in entries(json_of(environment, TOOL, "-J", "--no-warnings", url))]
    document = json_of(environment, COMMAND, "info", "--json", "--all-formats", url)
    command = [] if document is None else [by_command(item) for item in document.get("items", [document])]
    counts.append(len(tool))
    if len(tool) != len(command):
        return [f"{address}: items: the tool {len(tool)}, the command {len(command)}"]
    return [f"{address}: {key} of {number}: the tool {mine[key]}, the command {other[key]}"
            for number, (mine, other) in enumerate(zip(tool, command), 1) for key in mine if mine[key] != other[key]]


def main():
    word = sys.argv[1] if len(sys.argv) > 1 else ""
    with tempfile.TemporaryDirectory(prefix="reelhaul-differential.") as folder:
        site = Server(Path(folder) / "site.log", SITE / "site.py")
        environment = {**os.environ, "PYTHONPATH": str(SITE / "plugin"), "TMPDIR": folder, "REELHAUL_TOOL_DIR": f"{folder}/none",
                       "REELHAUL_SETTINGS": f"{folder}/settings"}
        counts = []
        wanted = [address for address in addresses() if word in address]
        with ThreadPoolExecutor(os.cpu_count()) as pool:
            found = list(pool.map(lambda address: (address, differences(environment, site.address, address, counts)), wanted))
        site.stop()
    unexpected = 0
    for address, lines in found:
        for line in lines:
            reason = EXPECTED.get(address)
            unexpected += reason is None
            print(line.replace(site.address, ""), f"({reason})" if reason else "")
    print(f"{len(wanted)} addresses, {sum(counts)} items, {sum(len(lines) for _, lines in found)} differences, {unexpected} of them unexpected")
    return 1 if unexpected else 0


if __name__ == "__main__":
    sys.exit(main())
