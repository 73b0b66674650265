"""Names of files by a template, with the real tool."""

import shutil

from servers import ServerTest

LONG = "x" * 300


class NamesTest(ServerTest):
    def files(self):
        out = self.folder / "out"
        return sorted(str(path.relative_to(out)) for path in out.rglob("*") if not path.is_dir())

    def test_files_and_subtitles_by_a_template(self):
        def title(text):
            return f"?title={text}"

        rows = (
            ("list/whole" + title("A%2FB"), ["--folder-per-playlist", "--name", "{index} {title}"],
             ["A_B/1 Combined.mp4", "A_B/2 Merged mp4.mp4", "A_B/3 Two languages.mp4"]),
            ("watch/details" + title("..%2F..%2Fetc"), ["--name", "{uploader}/{date} {title} {height} [{id}]", "--continue"],
             ["A person/2026-01-31 .._.._etc 180 [details].mp4"]),
            ("watch/subtitles", ["--folder-per-playlist", "--name", "{uploader}/{{{id}}} {language}", "--subtitle", "fr.vtt"],
             ["{subtitles}.fr.vtt", "{subtitles}.mp4"]),
            ("watch/details" + title(LONG), ["--name", "{title} {id}"], ["x" * 203 + " details.mp4"]))
        for address, options, expected in rows:
            with self.subTest(address):
                self.get("--format", "worst", *options, f"{self.site.address}/{address}")
                self.assertEqual(self.files(), expected)
                shutil.rmtree(self.folder / "out")

    def test_a_failed_download_makes_no_folder_and_a_wrong_template_is_wrong_usage(self):
        self.fails("404", "get", "-o", self.folder / "out", "--name", "{id}/{title}", self.page("combined?media.status=404"))
        self.assertEqual(list((self.folder / "out").iterdir()), [])
        run = self.run_command("get", "--name", "{author}", self.page("combined"))
        self.assertEqual(run.returncode, 2)
        self.assertIn("no field {author}; the fields are {title}", run.stderr)
