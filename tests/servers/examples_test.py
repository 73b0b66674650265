"""The examples, as their first lines say that they are called."""

import functools
import http.server
import json
import os
import signal
import subprocess
import threading
import time
import unittest

from servers import COMMAND, HERE, ServerTest

FOLDER = os.path.dirname(COMMAND)


class Examples(ServerTest):
    def start_example(self, name, *arguments):
        return subprocess.Popen(
            [f"{FOLDER}/example_{name}", *map(str, arguments)], text=True, stdin=subprocess.PIPE, stdout=subprocess.PIPE,
            stderr=subprocess.PIPE, cwd=self.folder / "out", env=self.environment_of_command())

    def test_each(self):
        out = self.folder / "out"
        out.mkdir()
        page = self.page
        cookies = self.write("cookies", "# Netscape HTTP Cookie File\n127.0.0.1\tFALSE\t/\tFALSE\t4102444800\tmember\tyes\n")
        wanted = page("combined?cookie=member=yes")
        proxy = self.start(HERE / "proxy.py")
        # A name without a point is one of this domain to the tool's cookies.
        own = ["localhost", proxy.address.rpartition(":")[2], self.write("own", cookies.read_text().replace("127.0.0.1", "localhost.local"))]
        for name, arguments, status, printed, files in (
                ("readme", [page("combined")], 0, ["100.0 %", "./Combined.mp4"], ["Combined.mp4"]),
                ("analyse", [page("subtitles")], 0, ["Subtitles, 00:00:08", "subtitles in Français (fr): json3 srt vtt"], []),
                ("analyse", [page("none")], 1, ["none: err:ERROR: ", "404"], []),
                ("choose", [page("subtitles"), out, 400, "fr"], 0, ["/Subtitles.mp4"], ["Subtitles.fr.vtt", "Subtitles.mp4"]),
                ("choose", [page("combined"), out, 40], 1, ["Combined has no format"], []),
                ("choose", [page("combined?media.status=404"), out, 400], 1, ["HTTP Error 404"], []),
                ("convert", [page("convert"), out], 0, ["/Convert.mp3"], ["Convert.mp3"]),
                ("queue", [out, *(page("combined?title=" + title) for title in "abc")], 0, ["a: 100 %", "/c.mp4"],
                 ["a.mp4", "b.mp4", "c.mp4"]),
                ("queue", [out, page("combined?media.status=404"), page("combined")], 1, ["HTTP Error 404", "/Combined.mp4"],
                 ["Combined.mp4"]),
                ("kept_queue", [self.folder / "kept", out, page("combined"), page("none")], 0, ["/Combined.mp4", "404"], ["Combined.mp4"]),
                ("kept_queue", [self.folder / "kept", out], 0, ["/Combined.mp4", "404"], []),
                ("playlist", [f"{self.site.address}/list/mixed"], 1, ["3. Combined", "List mixed: 2 of 3 entries", "entry 2 did not load"], []),
                ("playlist", [f"{self.site.address}/list/feed"], 0, ["List feed: 2 entries\n1. ", "2. Feed: merged-mp4", "List feed: 2 of 2 entries"], []),
                ("cookies", [wanted, cookies], 0, ["Combined"], []),
                ("cookies", [wanted, self.folder / "nothing"], 1, ["403"], []),
                ("cookies", [wanted, "firefox", out], 1, ["no cookies from firefox: "], []),
                ("browser_view", [wanted, "member=yes"], 0, ["Combined"], []),
                ("browser_view", [wanted, "member=no"], 1, ["403"], []),
                ("options", [page("combined?login=me:secret"), "me"], 0, ["Combined"], []),
                ("options", [page("combined?login=me:other"), "me"], 1, ["401"], []),
                ("sites", [out, *own, page("combined"), wanted.replace("127.0.0.1", "localhost") + "&title=Own"], 0,
                 ["/Combined.mp4", "/Own.mp4"], ["Combined.mp4", "Own.mp4"]),
                ("sites", [out, *own, wanted], 1, ["403"], []),
                ("update", [self.folder / "tools", self.mirror("2001.01.01")], 0, ["is current"], []),
                ("update", [self.folder / "tools", "http://127.0.0.1:9"], 1, ["not updated: "], []),
                ("warm", [page("combined"), page("everything")], 0, ["Combined: ", "A page with everything: "], []),
                ("main_loop", [page("merged-mp4"), out], 0, ["Merged mp4: 100 %", "/Merged mp4.mp4: done"], ["Merged mp4.mp4"]),
                ("main_loop", [page("none"), out], 1, ["404"], [])):
            with self.subTest(name, arguments=arguments):
                example = self.start_example(name, *arguments)
                text = "".join(example.communicate("secret\n", timeout=120))
                self.assertEqual(example.returncode, status, text)
                for words in printed:
                    self.assertIn(words, text)
                found = sorted(os.listdir(out))
                for file in found:
                    (out / file).unlink()
                self.assertEqual(found, files, text)
        self.assertIn("localhost:", "".join(proxy.lines()))

    def test_an_interrupted_main_loop_ends_and_leaves_nothing(self):
        out = self.folder / "out"
        out.mkdir()
        with self.start_example("main_loop", self.page("slow"), out) as example:
            for line in example.stderr:
                if "%" in line:
                    break
            begin = time.monotonic()
            example.send_signal(signal.SIGINT)
            text = example.stderr.read()
        self.assertEqual((example.returncode, os.listdir(out)), (130, []), text)
        self.assertLess(time.monotonic() - begin, 20)

    def mirror(self, version):
        """A mirror with one release, older than any tool."""
        self.write("mirror/repos/yt-dlp/yt-dlp/releases/latest", json.dumps({"tag_name": version}))
        handler = functools.partial(http.server.SimpleHTTPRequestHandler, directory=self.folder / "mirror")
        server = http.server.ThreadingHTTPServer(("127.0.0.1", 0), handler)
        threading.Thread(target=server.serve_forever).start()
        self.addCleanup(server.server_close)
        self.addCleanup(server.shutdown)
        return f"http://127.0.0.1:{server.server_address[1]}"


if __name__ == "__main__":
    unittest.main()
