"""Runs that share a cookies file: they don't break it, nor one another.

REELHAUL_COOKIE_RUNS says how many runs of the tool the storm has, 24 unless set.
"""

import os
import runpy
import sys
import tempfile
from unittest import mock

from servers import ROOT, TOOL, ServerTest

HEAD = "# Netscape HTTP Cookie File\n"
OTHERS = [f"site{number}.example\tFALSE\t/\tTRUE\t0\tsession\tkeep\n" for number in range(300)]


def line(name, value):
    return f"127.0.0.1\tFALSE\t/\tFALSE\t4102444800\t{name}\t{value}\n"


MINE = line("member", "yes")


class StormTest(ServerTest):
    def test_six_at_once(self):
        downloads = int(os.environ.get("REELHAUL_COOKIE_RUNS", 24)) // 2  # each has a run before it, the analysis
        file = self.write("cookies.txt", HEAD + MINE + "".join(OTHERS), 0o640)
        files = self.get("--cookies", file, "--jobs", 6, "--format", "combined320-mp4",
                         *(self.page(f"combined?cookie=member=yes&set=run{number}=1") for number in range(downloads)))
        self.assertEqual(len(files), downloads)
        kept = file.read_text().splitlines(keepends=True)
        self.assertEqual([cookie for cookie in [MINE, *OTHERS] if cookie not in kept], [])
        self.assertEqual([number for number in range(downloads) if f"\trun{number}\t1\n" not in "".join(kept)], [])
        self.assertEqual(file.stat().st_mode & 0o777, 0o640)
        self.assertEqual([path.name for path in self.folder.glob(".cookies-*")], [])
        self.assertTrue(all(" 200 " in answer for answer in self.site.lines()))


class MergeTest(ServerTest):
    @classmethod
    def setUpClass(cls):
        sys.path.insert(0, str(TOOL))  # a zip of the tool's modules
        runpy.run_path(str(ROOT / "tools/extension/reelhaul_cookies.py"))
        from yt_dlp import cookies
        cls.tool = cookies

    def run_of_tool(self, path, during):
        """One run: loads, lets something happen, saves."""
        first = self.tool.YoutubeDLCookieJar(str(path))
        first.load()
        jar = self.tool._merge_cookie_jars([first])  # as the tool does
        during(jar)
        jar.save()

    def receive(self, jar, text):
        path = self.write("received", HEAD + text)
        for cookie in self.tool._merge_cookie_jars([self.load(path)]):
            jar.set_cookie(cookie)

    def load(self, path):
        jar = self.tool.YoutubeDLCookieJar(str(path))
        jar.load()
        return jar

    def test_only_a_runs_own_changes_are_written(self):
        before = HEAD + "# mine\n" + line("a", "1") + line("b", "1")
        rows = (
            # what happens, what the file holds at the end
            ("nothing", lambda jar, path: None, {"a": "1", "b": "1"}),
            ("the site gives one", lambda jar, path: self.receive(jar, line("c", "1")), {"a": "1", "b": "1", "c": "1"}),
            ("the site changes one", lambda jar, path: self.receive(jar, line("a", "2")), {"a": "2", "b": "1"}),
            ("the site takes one", lambda jar, path: jar.clear("127.0.0.1", "/", "a"), {"b": "1"}),
            ("the user logs in anew", lambda jar, path: path.write_text(HEAD + line("a", "9")), {"a": "9"}),
            ("both", lambda jar, path: (path.write_text(HEAD + line("a", "9")), self.receive(jar, line("c", "1"))),
             {"a": "9", "c": "1"}),
            ("the user removes the file", lambda jar, path: path.unlink(), {}),
        )
        for writable in (True, False):  # where no file can be made beside it, it is written in place
            for name, during, expected in rows:
                with self.subTest(name, writable=writable):
                    path = self.write("cookies.txt", before, 0o640)
                    link = self.folder / "link.txt"
                    link.unlink(missing_ok=True)
                    link.symlink_to(path)
                    with mock.patch.object(tempfile, "mkstemp", tempfile.mkstemp if writable else mock.Mock(side_effect=OSError)):
                        self.run_of_tool(link, lambda jar: during(jar, path))
                    self.assertTrue(link.is_symlink())
                    self.assertEqual({cookie.name: cookie.value for cookie in self.load(path)}, expected)
                    self.assertEqual("# mine" in path.read_text(), name == "nothing")
                    if name != "the user removes the file":
                        self.assertEqual(path.stat().st_mode & 0o777, 0o640)

    def test_what_the_tool_does_with_other_targets_stays(self):
        new = self.folder / "new.txt"
        self.tool.YoutubeDLCookieJar(str(new)).save()
        self.assertIn(HEAD, new.read_text())
        self.tool.YoutubeDLCookieJar("/dev/null").save()
