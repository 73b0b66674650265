"""What kind of failure each failure of the real tool is told as, and what the command says about it."""

import json
import os
from concurrent.futures import ThreadPoolExecutor

from servers import TOOL, ServerTest, probe

NOBODY = "http://127.0.0.1:1"


class ErrorTest(ServerTest):
    def rows(self):
        """Kind, whether trying again can help, the address, and more arguments."""
        address = self.site.address
        page = self.page
        tools = self.copies()
        return (
            ("network", True, f"{NOBODY}/x.mp4"),
            ("network", True, page("combined"), "--proxy", NOBODY),
            ("network", True, page("combined?status=503"), "--retries", "0"),
            ("network", True, page("combined?media.cut=10000"), "--retries", "0"),
            ("timed-out", True, page("combined?stall=60"), "--socket-timeout", "1"),
            ("rate-limited", True, page("combined?status=429")),
            ("login-needed", False, page("combined?login=me:secret")),
            ("login-needed", False, "fault:login"),
            ("forbidden", False, page("combined?status=403")),
            ("forbidden", False, page("combined?media.status=403"), "--retries", "0"),
            ("gone", False, page("combined?status=410")),
            ("gone", False, "fault:removed"),
            ("region-restricted", False, page("combined?status=451")),
            ("region-restricted", False, "fault:region"),
            ("age-restricted", False, "fault:age"),
            ("payment-needed", False, "fault:members"),
            ("payment-needed", False, page("combined?status=402")),
            ("private", False, "fault:private"),
            ("live-not-begun", True, "fault:offline"),
            ("live-not-begun", True, "fault:premieres"),
            ("drm", False, "fault:drm"),
            ("unsupported-address", False, f"{address}/"),
            ("format-unavailable", False, page("empty-formats")),
            ("format-unavailable", False, page("combined"), "--format", "code:none"),
            ("tool-broken", False, "fault:changed"),
            ("tool-broken", False, "fault:crash"),
            ("disk-full", False, "fault:disk"),
            ("cookies-unreadable", False, page("combined"), "--cookies", self.write("cookies", "no cookies\n" * 3)),
            ("tool-killed", True, page("combined"), "--tool", tools["dies"]),
            ("tool-too-old", False, page("combined"), "--tool", tools["old"]),
            ("tool-missing", False, page("combined"), "--tool", tools["lost"]),
            ("ffmpeg-missing", False, page("merged-mp4"), "--tool", tools["alone"], "--format", "video320mp4+audio-en"),
            ("conversion-failed", False, page("merged-mp4"), "--tool", tools["clumsy"], "--format", "video320mp4+audio-en"),
            ("other", False, "fault:odd"),
        )

    def copies(self):
        """Folders of tools that lack something."""
        def tool(name, script=None, **programs):
            folder = self.folder / name
            folder.mkdir()
            if script is None:
                (folder / "yt-dlp").symlink_to(TOOL)
            else:
                self.write(f"{name}/yt-dlp", script, 0o755)
            for program, text in programs.items():
                self.write(f"{name}/{program}", text, 0o755)
            return folder

        probe = f'#!/bin/sh\nexec "{TOOL.parent}/ffprobe" "$@"\n'
        # It answers what it is asked, and breaks off each merge.
        clumsy = f'#!/bin/sh\ncase "$*" in *-map*) echo "moov atom lost" >&2; exit 1;; esac\nexec "{TOOL.parent}/ffmpeg" "$@"\n'
        return {"old": tool("old", "#!/bin/sh\necho 'yt-dlp: error: no such option: --js-runtimes' >&2\nexit 2\n"),
                "dies": tool("dies", "#!/bin/sh\nkill -9 $$\n"), "lost": tool("lost", "#!/no/such/interpreter\n"), "alone": tool("alone"),
                "clumsy": tool("clumsy", ffmpeg=clumsy, ffprobe=probe)}

    def failures(self, row):
        _, _, address, *arguments = row
        return self.run_command("get", "--json", "--no-continue", "-o", self.folder / "out", *arguments, address)

    def test_each_kind(self):
        rows = self.rows()
        self.assertGreaterEqual(len({kind for kind, *_ in rows}), 18)
        with ThreadPoolExecutor(4) as pool:
            runs = list(pool.map(self.failures, rows))
        for row, run in zip(rows, runs):
            kind, retry, address, *arguments = row
            with self.subTest(kind, address=address, arguments=arguments):
                self.assertEqual(run.returncode, 1, run.stderr)
                told = [event for event in map(json.loads, run.stdout.splitlines()) if event["event"] == "failed"]
                self.assertEqual([(event["kind"], event["retry"]) for event in told], [(kind, retry)], run.stderr)
                self.assertTrue(told[0]["message"])
                self.assertEqual(bool(told[0]["remedy"]), kind != "other")
                self.assertIn(told[0]["remedy"], run.stderr)

    def test_the_wait_that_the_site_asks_for(self):
        run = self.run_command("get", "--json", self.page("combined?status=429&wait=17"))
        self.assertIn('"retry_after":17', run.stdout)
        self.assertIn("It asks for 17 s.", run.stderr)

    def test_a_stream_that_ffmpeg_can_not_mend_stays_as_it_came(self):
        file, = self.get("--js-runtime", "none", "--format", "640", self.page("hls"), PATH=f"{self.copies()['clumsy']}:{os.environ['PATH']}")
        self.assertEqual(probe(file), "video audio video audio 8")  # ffprobe tells those of a stream's program twice
