"""Addresses of the site, and some that are none, analysed with the real tool."""

import json
import re
from concurrent.futures import ThreadPoolExecutor

from servers import ServerTest


def codes(item):
    return " ".join(form["code"] for form in item["formats"])


class AnalysisTest(ServerTest):
    def tearDown(self):
        self.assert_nothing_left()

    def info(self, path, *arguments):
        return json.loads(self.succeeds("info", "--json", *arguments, f"{self.site.address}/{path}").stdout)

    def infos(self, rows, *arguments):
        """Each row with the document of its path, which is its first."""
        with ThreadPoolExecutor(6) as pool:
            return list(zip(rows, pool.map(lambda row: self.info(row[0], *arguments), rows)))

    def test_items_and_their_formats_best_first(self):
        odd = "Oddities: NaN, Infinity, huge numbers, nulls, repeated ids"
        rows = (
            ("list/mixed", ["Merged mp4 8", "Combined 8"], "video640mp4+audio-en video320mp4+audio-en audio-en"),
            ("list/feed", ["Feed: combined 8", "Feed: merged-mp4 8"], "combined640-mp4 combined320-mp4 combined-webm"),
            ("list/whole", ["Combined 8", "Merged mp4 8", "Two languages 8"],
             "combined640-mp4 combined320-mp4 combined-webm"),
            ("list/tabs", ["Feed: combined 8", "Feed: merged-mp4 8", "Combined 8", "Merged mp4 8", "Two languages 8",
                           "Piece 1 8", "Piece 2 8"], "combined640-mp4 combined320-mp4 combined-webm"),
            ("list/addresses", ["Combined 8", "Piece 1 8", "Piece 2 8", "First file 0", "Second file 0"],
             "combined640-mp4 combined320-mp4 combined-webm"),
            ("list/parts", ["Piece 1 8", "Piece 2 8"], "combined640-mp4 combined320-mp4 combined-webm"),
            ("watch/one-address", ["One address 8"], "0"),
            ("html/og-video", ["One video in the head 0"], "0"),
            ("html/several-videos", ["Several videos (1) 0", "Several videos (2) 0"], "0"),
            # One block for each language.
            ("watch/two-languages", ["Two languages 8"], "video640mp4+audio-en audio-en video640mp4+audio-fr audio-fr"),
            ("watch/merged-webm", ["Merged webm 8"], "video640webm+audio-opus video320webm+audio-opus audio-opus"),
            ("watch/oddities", [odd + " 8"], "video640mp4+audio-en combined320-mp4 audio-en"),
            ("watch/hls", ["HLS 8"], "1280 640"),
            ("watch/dash", ["DASH 8"], "1+2 0+2 2"),
            ("watch/live", ["Live 0 live"], "0"),
            ("direct/combined320.mp4", ["combined320 0"], "mp4"))
        for (path, items, formats), document in self.infos(rows):
            with self.subTest(path):
                self.assertEqual("items" in document and document["title"],
                                 path == "html/several-videos" and "Several videos" or path[:4] == "list" and f"List {path[5:]}")
                found = document.get("items", [document])
                self.assertEqual(
                    [f"{item['title']} {item['duration_seconds']}{' live' * item['live']}" for item in found], items)
                self.assertEqual(codes(found[0]), formats)
        self.assertEqual(len(self.info("watch/big")["formats"]), 2000)

    def test_the_best_thumbnail(self):
        for page, file in (("thumbnails", "huge.jpg"), ("webp", "large.webp"), ("sizeless", "huge.jpg")):
            self.assertEqual(self.info(f"watch/{page}")["thumbnail"]["url"], f"{self.site.address}/media/{file}")

    def test_the_best_format_is_the_tools_own(self):
        for page, best in (("dubbed", "video640mp4+audio-de"), ("close-sounds", "video640webm+audio-opus"),
                           ("no-partner", "video640mp4+audio-opus"), ("silent-best", "combined320-mp4"), ("mirrors", "mirror1")):
            self.assertEqual(self.info(f"watch/{page}")["best"], best)
        self.assertEqual([path.name for path in self.get(self.page("no-partner"))], ["No partner.mkv"])
        formats = self.info("watch/dubbed", "--all-formats")
        self.assertEqual(len([form for form in formats["formats"] if form["code"] == "combined320-mp4"]), 1)
        self.assertEqual((len(formats["all_formats"]), formats["all_formats"][0]["code"]), (8, "video640mp4"))

    def test_who_it_is_and_what_else_the_page_says(self):
        item = self.info("watch/details")
        self.assertEqual([item[key] for key in ("extractor", "id", "webpage_url", "uploader", "upload_date", "description")],
                         ["reelhaul-site", "details", self.page("details"), "A person", "20260131", "Two\nlines"])
        self.assertEqual(item["chapters"][0], {"start": 0.0, "end": 2.5, "title": "Beginning"})
        self.assertEqual([item["playlist_position"] for item in self.info("list/tabs")["items"]], [1, 2, 1, 2, 3, 1, 2])

    def test_a_list_at_once(self):
        for choice, entries in (("--items 1,3-", [(1, "Merged mp4"), (3, "Combined")]), ("--items -1:", [(3, "Combined")]),
                                ("--items -9:-3,:1 --newest 4", [(1, "Merged mp4")]),
                                ("--items 2:3 --newest 1", [(2, "Page no-formats")]), ("--newest 9 --items -1", [(3, "Combined")])):
            run = self.succeeds("info", "--flat", "--json", *choice.split(), f"{self.site.address}/list/mixed")
            self.assertEqual([(json.loads(line)["number"], json.loads(line)["title"]) for line in run.stdout.splitlines()], entries)
        run = self.succeeds("info", "--flat", f"{self.site.address}/list/tabs")
        self.assertIn(f"    2  list      List whole  {self.site.address}/list/whole\n", run.stdout)
        self.assertEqual(len([line for line in self.site.lines() if "/api/" in line]), 6)  # nothing was loaded

    def test_captions_by_name_with_their_formats(self):
        subtitles = self.info("watch/subtitles")["subtitles"]
        self.assertEqual([f"{one['code']} {one['name']}" for one in subtitles],
                         ["ja 日本語", "en English", "fr Français", "pt-BR Português (Brasil)"])
        self.assertTrue(all(one["formats"] == ["json3", "srt", "vtt"] for one in subtitles))

    def test_failures_in_the_tools_own_words(self):
        for address, words in ((self.page("combined?status=404"), ": combined: Unable to download"),
                               (self.page("combined?cut=10"), ": combined:"),
                               (self.page("empty-formats"), "No video formats found"),
                               (f"{self.site.address}/list/empty", "NO play list item found."),
                               (f"{self.site.address}/list/all-fail", "HTTP Error 404"),
                               (f"{self.site.address}/", "Unsupported URL"),
                               ("http://127.0.0.1:1/watch/combined", "Connection refused"),
                               ("no address", "'no address' is not a valid URL")):
            with self.subTest(address):
                self.assertEqual(self.fails(words, "info", address).stdout, "")
        self.assertIn("is not a valid URL", self.fails("", "info", "--", "-a/etc/hostname").stderr)
        self.fails("404", "info", "--text", self.page("nothing"))

    def test_the_tables_for_people_tell_the_same(self):
        common = ("code", "extension", "resolution", "width", "height", "fps", "audio_only", "video_only", "merged")
        for page in ("merged-mp4", "two-languages", "combined", "merged-webm"):
            with self.subTest(page):
                known = {tuple(form[key] for key in common): form for form in self.info(f"watch/{page}")["formats"]}
                for form in self.info(f"watch/{page}", "--text")["formats"]:
                    other = known[tuple(form[key] for key in common)]
                    # The table rounds sizes to hundredths of its unit.
                    self.assertAlmostEqual(form["size"], other["size"], delta=0.01 * other["size"] + 16)
                    if form["merged"]:
                        codecs = {re.match(r"\w+\((\w+,\w+)", row["description"])[1] for row in (form, other)}
                        self.assertEqual(len(codecs), 1, codecs)

    def test_lists_names_and_vanished_columns_of_the_tables(self):
        rows = (
            ("list/mixed", 2, "video640mp4+audio-en video320mp4+audio-en audio-en", "Merged mp4"),
            ("list/whole", 3, "combined640-mp4 combined320-mp4 combined-webm", "Combined"),
            ("watch/japanese", 0, "video640mp4+audio-en combined320-mp4 audio-en", "日本語"),
            # One row with nothing known: most columns are gone, and the line of the duration.
            ("watch/live", 0, "0", "Live "))
        for (path, count, formats, name), document in self.infos(rows, "--text"):
            with self.subTest(path):
                items = document.get("items", [])
                self.assertEqual(len(items), count)
                item = (items or [document])[0]
                self.assertEqual(codes(item), formats)
                self.assertIn(name, item["file_name"])
                self.assertEqual((item["duration_seconds"], item["duration"]),
                                 (0, "00:00:00") if path == "watch/live" else (8, "00:00:08"))
