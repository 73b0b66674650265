"""Metadata beside the files, with the real tool."""

import json

from servers import ServerTest

WANTED = ("--write-info-json", "--write-thumbnail", "--write-description")


class MetadataTest(ServerTest):
    def test_stands_beside_the_file_and_replaces_nothing(self):
        rows = (  # the page, what stands there, the options, what comes
            ("thumbnails?title=N&description=Words", [], WANTED, ["N.description", "N.info.json", "N.jpg", "N.mp4"]),
            ("thumbnails?title=N&description=Words", ["N.jpg"], [*WANTED, "--continue"],
             ["N (1).description", "N (1).info.json", "N (1).jpg", "N (1).mp4"]),
            ("subtitles?title=N", ["N (1).info.json", "N.fr.vtt"], ["--write-info-json", "--subtitle", "fr.vtt"],
             ["N (2).fr.vtt", "N (2).info.json", "N (2).mp4"]),
            # No picture, no description; and a container that is no format's own.
            ("details?title=N", [], [*WANTED, "--analyse-once"], ["N.description", "N.info.json", "N.mp4"]),
            ("combined?title=N", [], ["--write-thumbnail", "--write-description"], ["N.mp4"]),
            ("thumbnails?title=N&description=Words", [], [*WANTED, "--sections", "1-3"], ["N.description", "N.info.json", "N.jpg", "N.mp4"]),
            ("no-partner?title=N", [], ["--write-info-json"], ["N.info.json", "N.mkv"]))
        for number, (page, there, options, expected) in enumerate(rows):
            with self.subTest(page):
                out = self.folder / str(number)
                out.mkdir()
                for name in there:
                    (out / name).write_text("mine")
                kind = "best" if "partner" in page else "worst"
                run = self.succeeds("get", "--json", "--format", kind, "-o", out, *options, self.page(page))
                event = next(event for event in map(json.loads, run.stdout.splitlines()) if event["event"] == "finished")
                new = [event["path"], *event.get("subtitles", []), *event.get("metadata", [])]
                self.assertEqual(sorted(path.rpartition("/")[2] for path in new), expected)
                self.assertEqual(sorted(path.name for path in out.iterdir()), sorted([*expected, *there]))
                self.assertTrue(all((out / name).read_text() == "mine" for name in there))
                for path in new:
                    if path.endswith("info.json"):
                        with open(path, encoding="utf-8") as file:
                            self.assertEqual(json.load(file)["title"], "N")

    def test_of_a_list_is_that_of_the_item_and_holds_no_cookies(self):
        files = self.get("--format", "worst", *WANTED, f"{self.site.address}/list/whole", "--items", "1")
        self.assertEqual(json.loads(next(file for file in files if file.suffix == ".json").read_text())["id"], "combined")
        cookies = self.write("cookies.txt", "# Netscape HTTP Cookie File\n127.0.0.1\tFALSE\t/\tFALSE\t2147483647\tname\tsecret\n")
        files = self.get("--write-info-json", "--cookies", cookies, "--format", "worst", self.page("details?cookie=name=secret"))
        text = files[1].read_text()
        self.assertNotIn("secret", text.replace(self.page("details?cookie=name=secret"), ""))
        self.assertIn("http_headers", text)
        self.assert_nothing_left()
