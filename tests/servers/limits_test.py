"""Limits that a download keeps, as the site sees it."""

from servers import ServerTest


class LimitsTest(ServerTest):
    def answers(self, text):
        """(bytes, begin, end) of each answer whose target holds the text."""
        rows = [line.split() for line in self.site.lines() if text in line]
        return [(int(row[3]), float(row[4]), float(row[5])) for row in rows]

    def test_the_rate(self):
        wanted = 1500 * 1024
        file, = self.get("--limit-rate", "1500K", f"{self.site.address}/direct/large.mp4")
        # The first answers are the analyses', which read no more than the file's beginning.
        size, begin, _ = self.answers("/direct/large.mp4")[-1]
        # The file's last byte was written when the client had it; the site is ahead by what the system buffers.
        seconds = file.stat().st_mtime - begin
        rate = size / seconds
        print(f"{rate / 1024:.0f} KiB/s over {seconds:.1f} s, {wanted / 1024:.0f} were asked for")
        self.assertGreater(seconds, 3)
        self.assertLess(abs(rate - wanted), 0.15 * wanted)

    def test_fragments_at_the_same_time(self):
        for count, least in ((1, 1), (4, 3)):
            before = len(self.answers(".ts"))
            arguments = ["--concurrent-fragments", count] if count > 1 else []
            self.get(*arguments, self.page("hls?media.rate=500000"), "--format", "best", "--name", f"at once {count}")
            spans = self.answers(".ts")[before:]
            self.assertGreaterEqual(len(spans), 8)
            # In the middle of an answer, since its end may be written down when the next one has begun.
            moments = [(begin + end) / 2 for _, begin, end in spans]
            overlap = max(sum(begin <= moment < end for _, begin, end in spans) for moment in moments)
            self.assertGreaterEqual(overlap, least)
            self.assertLessEqual(overlap, count)
