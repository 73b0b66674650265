"""Many addresses at once, with the real tool."""

import json
import subprocess
import time

from servers import COMMAND, ServerTest


class ManyTest(ServerTest):
    def tearDown(self):
        self.assert_nothing_left()

    def most_at_once(self):
        """How many answers for pages the site was busy with at the same moment."""
        moments = []
        for line in self.site.lines():
            *_, begin, end = line.split()
            if "/watch/" in line:
                moments += [(float(begin), 1), (float(end), -1)]
        now = most = 0
        for _, step in sorted(moments):
            now += step
            most = max(most, now)
        return most

    def test_two_hundred_addresses_on_standard_input(self):
        lines = ["\ufeff# all of them", ""]
        for number in range(1, 201):
            lines.append("no address # of any kind" if number == 120 else self.page(f"combined?stall=0.05&title=T{number}"))
            if number % 50 == 0:
                lines += ["; a pause", " "]
        run = self.run_command("info", "--json", "-a", "-", stdin="\r\n".join(lines))
        self.assertEqual(run.returncode, 1)
        documents = json.loads("[" + run.stdout.replace("\n}\n{", "\n},{") + "]")
        self.assertEqual([document["title"] for document in documents],
                         [f"T{number}" for number in range(1, 201) if number != 120])
        self.assertRegex(run.stderr, "^reelhaul: standard input:126: no address: .*is not a valid URL[^\n]*\n$")
        self.assertIn(self.most_at_once(), (2, 3, 4))

    def test_what_comes_first_downloads_while_the_rest_is_analysed(self):
        run = self.run_command("get", "--json", "--jobs", "1", "-o", self.folder / "out", self.page("one-address?stall=1"),
                               self.page("combined?status=404"), f"{self.site.address}/list/whole", self.page("combined?stall=2"),
                               "--format", "worst", "--items", "-2:")
        events = [json.loads(line) for line in run.stdout.splitlines()]
        self.assertEqual([event["url"].rpartition("/")[2] for event in events if event["event"] in ("analysed", "failed")],
                         ["one-address?stall=1", "combined?status=404", "whole", "combined?stall=2"])
        names = [event["event"] for event in events]
        self.assertLess(names.index("started"), len(names) - 1 - names[::-1].index("analysed"))
        self.assertEqual((run.returncode, names.count("finished")), (1, 4))

    def test_one_rate_for_all_downloads(self):
        large, files = "direct/large.mp4", ["watch/hls", "watch/combined"]
        for pages, rate, arguments in (([*files, large], 1_500_000, ["--limit-rate-total", 1_500_000]),
                                       (files, 800_000, ["--limit-rate-total", 800_000, "--cold"]),
                                       (files[1:], 500_000, ["--limit-rate-total", "10M", "--limit-rate", 500_000])):
            with self.subTest(arguments=arguments):
                command = [COMMAND, "get", "--json", "-o", self.folder / "out", "--concurrent-fragments", 4, *arguments,
                           *(f"{self.site.address}/{page}" for page in pages)]
                fetched, moments = {}, {"started": [], "finished": []}
                run = subprocess.Popen(list(map(str, command)), text=True, stdout=subprocess.PIPE, env=self.environment_of_command())
                for event in map(json.loads, run.stdout):
                    if event["event"] == "progress":
                        fetched[event["id"]] = event["bytes"]
                    if event["event"] in moments:
                        moments[event["event"]].append((time.monotonic(), sum(fetched.values())))
                self.assertEqual((run.wait(), len(moments["finished"])), (0, len(pages)))
                run.stdout.close()
                (begin, _), (end, total) = moments["started"][0], moments["finished"][-1]
                self.assertLess(total, rate * (end - begin + 1))
                if large in pages:  # the last one has all of it
                    before, so_far = moments["finished"][-2]
                    self.assertGreater(total - so_far, rate / 2 * (end - before))
