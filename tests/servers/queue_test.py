"""The queue that is kept, with the real tool: over kills, interrupts and a second process."""

import contextlib
import json
import signal
import sqlite3
import subprocess

from servers import COMMAND, ServerTest, probe


class QueueTest(ServerTest):
    def queue(self, *arguments, status=0):
        run = self.run_command("queue", *arguments, "--queue", self.folder / "state/queue")
        self.assertEqual(run.returncode, status, run.stderr)
        return run

    def rows(self):
        return [json.loads(line) for line in self.queue("list", "--json").stdout.splitlines()]

    def states(self):
        return [(row["row"], row["state"]) for row in self.rows()]

    def test_outlives_its_processes_and_belongs_to_one_of_them(self):
        slow = self.page("combined?media.rate=80000")
        self.queue("add", slow, self.page("combined?title=B"), self.page("combined?title=C"), "-o", "out",
                   "--format", "combined320-mp4", "--user-agent", "Agent/7")
        self.queue("pause", "2")
        waiting = [(1, "waiting"), (2, "paused"), (3, "waiting")]
        self.assertEqual(self.states(), waiting)
        for stop in (signal.SIGKILL, signal.SIGINT):
            with subprocess.Popen([COMMAND, "queue", "start", "--json", "--jobs", "1", "--queue", self.folder / "state/queue"],
                                  env=self.environment_of_command(), text=True, stdout=subprocess.PIPE,
                                  stderr=subprocess.PIPE) as process:
                for event in map(json.loads, process.stdout):
                    if event["event"] == "progress" and event["bytes"] > 30_000:
                        break
                self.assertEqual(self.states(), [(1, "running"), *waiting[1:]])
                for arguments in (("start",), ("add", slow), ("remove", "1")):
                    self.assertIn(f"process {process.pid}", self.queue(*arguments, status=1).stderr)
                process.send_signal(stop)
                words = process.stderr.read()
                events = [json.loads(line) for line in process.stdout]
            self.wait_until(lambda: not self.processes())
            self.assertEqual(self.states(), waiting)
        self.assertIn("goes on with it", words)
        self.assertEqual([event["id"] for event in events if event["event"] == "cancelled"], [1])  # not of what never began
        self.site.log.write_text("", encoding="utf-8")
        events = [json.loads(line) for line in self.queue("start", "--json").stdout.splitlines()]
        totals = [event for event in events if event["event"] == "total"]
        sizes = [(self.folder / f"here/out/{title}.mp4").stat().st_size for title in ("Combined", "C")]
        self.assertEqual([totals[-1][key] for key in ("fraction", "bytes", "total", "done")], [1, sum(sizes), sum(sizes), 2])
        for row, title in ((0, "Combined"), (2, "C")):
            self.assertEqual(self.rows()[row]["path"], str(self.folder / f"here/out/{title}.mp4"))
            self.assertEqual(probe(self.rows()[row]["path"]), "video audio 8")
        self.assertEqual(self.states(), [(1, "done"), (2, "paused"), (3, "done")])
        self.queue("clear")
        self.assertIn("no row 1", self.queue("start", "1", "2", status=1).stderr)
        self.assertEqual(self.states(), [(2, "done")])

        state = {"XDG_STATE_HOME": self.folder / "default"}
        self.fails("404", "get", "--keep", self.page("combined?media.status=404"), "-o", "out", "--username", "me",
                   "--password", "S3CRET", **state)
        self.assertNotIn(b"S3CRET", b"".join(path.read_bytes() for path in (self.folder / "default/reelhaul").iterdir()))
        listed = json.loads(self.succeeds("queue", "list", "--json", **state).stdout)
        self.assertEqual((listed["state"], listed["needs"], listed["kind"]), ("failed", "a login", "gone"))
        self.succeeds("queue", "remove", "1", **state)
        self.assertEqual(self.succeeds("queue", "list", **state).stderr, "The queue is empty.\n")

    def test_what_is_not_known_yet_is_asked_when_the_row_starts(self):
        archive = self.folder / "done.txt"
        seen = self.page("combined?title=Seen")
        before = self.site.lines()
        self.queue("add", "--later", seen, f"{self.site.address}/list/mixed", "-o", "out", "--format", "audio", status=0)
        self.queue("add", "--later", seen, seen, "-o", "out", "--format", "200p", "--prefer", "mp4", "--skip-existing")
        self.queue("add", "--later", self.page("details?description=Words"), self.page("details"), "-o", "out", "--archive", archive,
                   "--write-description", "--name", "{title} {id}")
        self.assertEqual(self.site.lines(), before)
        self.assertEqual([row["title"] for row in self.rows()][:2], [seen, f"{self.site.address}/list/mixed"])
        self.queue("add", self.page("combined?title=Gone"), "-o", "out", "--format", "combined320-mp4")
        with contextlib.closing(sqlite3.connect(self.folder / "state/queue")) as file, file:  # the site has changed
            file.execute("UPDATE rows SET item = replace(item, 'watch/combined?title=Gone', 'watch/merged-mp4')")
        run = self.queue("start", "--json", "--jobs", "1", status=1)
        events = [json.loads(line) for line in run.stdout.splitlines()]
        self.assertEqual([(event["event"], event.get("kind", event.get("reason"))) for event in events
                          if event["event"] not in ("progress", "started", "total")],
                         [("failed", "format-unavailable"), ("failed", "unsupported-address"), ("finished", None), ("skipped", "exists"),
                          ("finished", None), ("skipped", "archive"), ("finished", None)])
        out = self.folder / "here/out"
        self.assertEqual({path.name: probe(path) for path in out.glob("*.mp4")},
                         {name: "video audio 8" for name in ("Seen.mp4", "Details details.mp4", "Gone.mp4")})
        self.assertEqual((out / "Details details.description").read_text(), "Words")
        self.assertEqual(archive.read_text(), "reelhaulsite details\n")
        self.assertEqual([(row["title"], row["format"], row["state"]) for row in self.rows()][2:],
                         [("Seen", "combined320-mp4", "done")] * 2 + [("Details", "combined320-mp4", "done")] * 2
                         + [("Gone", "video320mp4+audio-en", "done")])

    def test_a_file_gets_its_place_when_its_row_knows_it(self):
        self.queue("add", self.page("merged-mp4"), "-o", "out", "--format", "video320mp4+audio-en")
        with contextlib.closing(sqlite3.connect(self.folder / "state/queue")) as file, file:  # as a disk that is full
            file.execute("CREATE TRIGGER full BEFORE UPDATE OF whole ON rows WHEN new.whole <> '' "
                         "BEGIN SELECT RAISE(FAIL, 'no room'); END")
        failed = json.loads(self.queue("start", "--json", status=1).stdout.splitlines()[-2])
        self.assertRegex(failed["message"], r'queue ".*/state/queue" can\'t be written: no room.* start it again')
        self.assertEqual([path.name for path in (self.folder / "here/out").iterdir()], [".reelhaul-partial"])
        self.assertEqual(self.states(), [(1, "waiting")])
        with contextlib.closing(sqlite3.connect(self.folder / "state/queue")) as file, file:
            file.execute("DROP TRIGGER full")
        before = self.sent()
        self.queue("start")
        self.assertEqual(self.sent(), before)
        file, = (self.folder / "here/out").iterdir()
        self.assertEqual((probe(file), str(file)), ("video audio 8", self.rows()[0]["path"]))

    def test_the_file_of_an_earlier_version_and_one_that_a_kill_left_empty(self):
        self.queue("add", self.page("combined"), self.page("combined?title=B"), "-o", "out", "--format", "combined320-mp4")
        self.queue("pause", "2")
        rows = self.rows()
        with contextlib.closing(sqlite3.connect(self.folder / "state/queue")) as file, file:
            for change in ("ALTER TABLE rows DROP COLUMN settings", "ALTER TABLE rows DROP COLUMN bytes", "PRAGMA user_version = 1"):
                file.execute(change)
        self.assertEqual(self.rows(), rows)
        self.queue("start")
        self.assertEqual(self.states(), [(1, "done"), (2, "paused")])
        self.assertEqual(probe(self.rows()[0]["path"]), "video audio 8")
        with contextlib.closing(sqlite3.connect(self.folder / "state/queue")) as file:
            self.assertEqual(file.execute("PRAGMA user_version").fetchone(), (2,))
        self.assertEqual(self.succeeds("queue", "list", "--queue", self.write("empty", "")).stderr, "The queue is empty.\n")
