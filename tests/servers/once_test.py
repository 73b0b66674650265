"""Downloads by the analysis's document: the same files as by the address, and the page read once."""

import hashlib
import re

from servers import SITE, ServerTest

TIMES = re.compile(r"\d+(\.\d+)? ?(%|[KM]iB|s\b)")


class OnceTest(ServerTest):
    def tearDown(self):
        self.assert_nothing_left()

    def download(self, path, *options):
        """From a site of its own: status, message, the files; and how often its pages were read."""
        site = self.start(SITE / "site.py")
        out = self.folder / f"{site.log.name}.out"
        run = self.run_command("get", "-o", out, *options, f"{site.address}/{path}")
        site.stop()
        files = {file.name: hashlib.sha256(file.read_bytes()).hexdigest() for file in out.iterdir()}
        words = run.stderr.replace(site.address, "SITE") if run.returncode else ""
        reads = [line for line in site.lines() if re.match(r"GET /(api/)?(watch|list)/", line)]
        # Two threads tell of the analysis and of downloads: which line is first is not compared, nor how often one of progress comes.
        lines = sorted(set(TIMES.sub("", words.replace(str(out), "OUT")).splitlines()))
        return (run.returncode, lines, files), len(reads)

    def test_the_same_as_by_the_address(self):
        cookies = self.write("cookies.txt", "# Netscape HTTP Cookie File\n127.0.0.1\tFALSE\t/\tFALSE\t4102444800\tmember\tyes\n")
        netrc = self.write("netrc", "machine reelhaul-site login me password secret\n")
        # How many readings of pages are saved.
        rows = ((1, "watch/subtitles", "--subtitle", "de,fr.srt"),
                (1, "watch/merged-mp4", "--format", "video640mp4+audio-en", "--name", "Own"),
                (1, "watch/two-languages", "--format", "audio-fr", "--keep-video"),
                (1, "watch/hls", "--format", "640", "--concurrent-fragments", "3", "--keep-fragments"),
                (1, "watch/dash"),
                (1, "watch/combined", "--limit-rate", "10M", "--retries", "0", "--buffer-size", "4096", "--no-part"),
                (1, "watch/combined?cookie=member=yes&media.cookie=member=yes", "--cookies", cookies),
                (1, "watch/combined?login=me:secret", "--username", "me", "--password", "secret"),
                (1, "watch/combined?login=me:secret", "--netrc", "--netrc-location", netrc),
                (1, "watch/combined", "--socket-timeout", "60", "--xff", "never", "--force-ipv4"),
                (0, "watch/combined?media.status=404"),
                (0, "watch/merged-mp4?media.old=1"),
                (1, "list/mixed", "--items", "3-4"),
                # Entries without an address of their own.
                (2, "list/whole", "--items", "2-3"))
        for fewer, *row in rows:
            with self.subTest(row):
                by_address, once = self.download(*row), self.download(*row, "--analyse-once")
                self.assertEqual(once[0], by_address[0])
                self.assertEqual(by_address[1] - once[1], fewer, (by_address[1], once[1]))
