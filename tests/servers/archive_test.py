"""What is not downloaded again, with the real tool: an archive in both forms, and files that are there."""

import json
import subprocess
import urllib.request

from servers import COMMAND, SITE, TOOL, ServerTest

PAGES = ("combined", "merged-mp4", "details")
KNOWN = [f"reelhaulsite {page}" for page in PAGES]


class ArchiveTest(ServerTest):
    def events(self, *arguments):
        """Those that tell what became of an item; starts are told by threads of their own, so the order is not compared."""
        run = self.succeeds("get", "--json", "--format", "worst", "-o", self.folder / "out", *arguments)
        events = [json.loads(line) for line in run.stdout.splitlines()]
        return [" ".join(str(event[key]) for key in ("event", "title", "reason") if key in event)
                for event in events if event["event"] in ("started", "skipped", "failed")]

    def asked(self):
        return [line for line in self.site.lines() if "/api/watch/" in line]

    def test_both_forms_skip_what_is_known_without_asking_the_site(self):
        address = f"{self.site.address}/list/known"
        for name in ("known.txt", "known.db"):
            with self.subTest(name):
                archive = self.folder / name
                self.assertCountEqual(self.events("--archive", archive, address, self.page("combined?title=Again")),
                                 ["started Combined", "started Merged mp4", "started Details", "skipped Again repeated"])
                before = self.asked()
                self.assertCountEqual(self.events("--archive", archive, address),
                                 [f"skipped Page {page} archive" for page in PAGES])
                self.assertEqual(self.asked(), before)
                self.assertCountEqual(self.events("--archive", archive, self.page("combined"), self.page("two-languages")),
                                 ["skipped Combined archive", "started Two languages"])
                # A failed download is not remembered.
                self.fails("404", "get", "-o", self.folder / "out", "--archive", archive, self.page("hls?media.status=404"))
                self.assertCountEqual(self.events("--archive", archive, self.page("hls")), ["started HLS"])
        self.assertEqual(sorted((self.folder / "known.txt").read_text().splitlines()),
                         sorted([*KNOWN, "reelhaulsite two-languages", "reelhaulsite hls"]))
        self.assertTrue((self.folder / "known.db").read_bytes().startswith(b"SQLite"))

    def test_the_tool_and_the_library_share_a_text(self):
        archive = self.write("shared.txt", "reelhaulsite combined")  # without an end of the line
        self.assertCountEqual(self.events("--archive", archive, self.page("combined"), self.page("details")),
                         ["skipped Combined archive", "started Details"])
        tool = subprocess.run([TOOL, "--ignore-config", "--download-archive", archive, "-f", "worst*", "-o", self.folder / "%(id)s",
                               f"{self.site.address}/list/known"], text=True, capture_output=True, timeout=120,
                              env=self.environment_of_command(PYTHONPATH=SITE / "plugin"))
        self.assertEqual(tool.stdout.count("has already been recorded in the archive"), 2, tool.stdout + tool.stderr)
        self.assertCountEqual(self.events("--archive", archive, self.page("merged-mp4")), ["skipped Merged mp4 archive"])
        self.assertEqual(archive.read_text().splitlines(), [KNOWN[0], KNOWN[2], KNOWN[1]])

    def test_two_processes_lose_nothing(self):
        pages = [[f"combined?id={half}{number}" for number in range(6)] for half in "ab"]
        for name in ("both.txt", "both.sqlite"):
            with self.subTest(name):
                command = [COMMAND, "get", "--quiet", "--format", "worst", "-o", self.folder / name.replace(".", "-"), "--archive",
                           self.folder / name]
                processes = [subprocess.Popen([*command, *map(self.page, half)], env=self.environment_of_command(),
                                              stdout=subprocess.DEVNULL) for half in pages]
                self.assertEqual([process.wait(120) for process in processes], [0, 0])
                events = self.events("--archive", self.folder / name, *(self.page(page) for half in pages for page in half))
                self.assertEqual(events, ["skipped Combined archive"] * 12)

    def test_an_item_is_downloaded_by_one_process_at_a_time(self):
        archive, page = self.folder / "known.db", self.page("combined?media.hold=1000")
        for end in ("kill", "release"):
            sent = self.sent()
            process = subprocess.Popen([COMMAND, "get", "--quiet", "--format", "worst", "-o", self.folder / "out", "--archive", archive, page],
                                       env=self.environment_of_command(), stdout=subprocess.DEVNULL)
            self.wait_until(lambda sent=sent: self.sent() > sent)
            self.assertEqual(self.events("--archive", archive, page), ["skipped Combined running"])
            if end == "kill":
                process.kill()
            else:
                urllib.request.urlopen(f"{self.site.address}/release").close()
            self.assertEqual(process.wait(60), -9 if end == "kill" else 0)
        self.assertEqual(self.events("--archive", archive, page), ["skipped Combined archive"])

    def test_rows_of_one_item_are_downloaded_once(self):
        """Two rows of it in each of two queues that run one at a time, the second one behind the first as `get --keep` puts it there."""
        page = self.page("combined?media.rate=200000")

        def command(queue, *arguments):
            return [COMMAND, *arguments, "--queue", self.folder / queue]

        for queue in "ab":
            self.succeeds(*command(queue, "queue", "add")[1:], "--archive", self.folder / "known.txt", "--format", "worst", "-o",
                          self.folder / "out", self.page(f"merged-mp4?id={queue}&media.rate=50000"), page)
        both = [subprocess.Popen([*command(queue, "get", "--keep", "--json", "--jobs", "1"), "--archive", self.folder / "known.txt", "--format", "worst",
                                  "-o", self.folder / "out", page], env=self.environment_of_command(), stdout=subprocess.PIPE, text=True)
                for queue in "ab"]
        events = [json.loads(line)["event"] for one in both for line in one.communicate(timeout=120)[0].splitlines()]
        self.assertEqual(([one.returncode for one in both], events.count("finished")), ([0, 0], 3), events)
        self.assertEqual([path.name for path in (self.folder / "out").iterdir() if path.name.startswith("Combined")], ["Combined.mp4"])

    def test_what_is_no_archive_is_left_alone(self):
        film = self.write("film.mp4", "\0\0\0 ftyp")
        self.fails("is no archive", "get", "--archive", film, self.page("combined"))
        self.assertEqual(film.read_text(), "\0\0\0 ftyp")
        self.fails("can't be", "get", "--archive", self.folder, self.page("combined"))

    def test_a_file_of_the_name_is_skipped_and_not_numbered(self):
        arguments = ("--skip-existing", "--name", "{playlist}/{title}", f"{self.site.address}/list/known", self.page("combined"))
        self.write("out/List known/Details.mp4", "mine")
        self.assertCountEqual(self.events(*arguments), ["started Combined", "started Merged mp4", "skipped Details exists", "started Combined"])
        self.assertEqual(sorted(path.name for path in (self.folder / "out").rglob("*.mp4")),
                         ["Combined.mp4", "Combined.mp4", "Details.mp4", "Merged mp4.mp4"])
        run = self.succeeds("get", "--format", "worst", "-o", self.folder / "out", *arguments)
        self.assertIn("Skipped: 0 downloaded before, 4 with a file of the name", run.stderr)
