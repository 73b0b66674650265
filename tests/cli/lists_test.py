"""Lists of addresses in files and on standard input."""

from command_test import ScriptedTest


class ListsTest(ScriptedTest):
    def list(self, content):
        path = self.folder / "here/list"
        path.parent.mkdir(exist_ok=True)
        path.write_bytes(content)
        return "list"

    def analysed(self, *arguments, **more):
        run = self.run_with_tool("info", "--text", "--analyses", "1", *arguments, **more)
        taken = [start[-1] for start in self.starts()]
        return run, list(dict.fromkeys(taken))

    def test_what_a_list_may_hold(self):
        for content, addresses in (
                (b"\xef\xbb\xbfscript:item\r\n\r\n# none\r\n \t ; none\r\n]none\r\n  scripted:a#b  \r\n", ["script:item", "scripted:a#b"]),
                (b"scripted:a # the first\nscripted:b\t#c\n\nscripted:\xc3\xa9", ["scripted:a", "scripted:b", "scripted:é"]),
                (b"scripted:a\rscripted:b\r", ["scripted:a", "scripted:b"]),
                (b"# " + b"c" * 60_000 + b"\n-a/etc/hostname\n", ["-a/etc/hostname"])):
            with self.subTest(content[:20]):
                self.assertEqual(self.analysed("-a", self.list(content))[1], addresses)

    def test_what_is_no_list_is_refused_by_its_line_before_anything_starts(self):
        good = b"script:item\n#\n"
        for content, words in ((b"", "list: there is no address in the list"), (b"#\n\n ;\n", "there is no address"),
                               (good + b"scripted:\xe9", "list:3: the line is no UTF-8 text"),
                               (good + b"\x7fELF\x02" + bytes(range(256)) * 999, "list:3: this is no text"),
                               ("script:item\r\n".encode("utf-16"), "list:1: this is no text"),
                               (good + b"x" * (200 << 20), "list:3: the line is too long"),
                               ((b"#" * 50_000 + b"\n") * 1400, "the list is larger than 64 MiB")):
            with self.subTest(words):
                run, addresses = self.analysed("-a", self.list(content))
                self.assertEqual((run.returncode, run.stdout, run.stderr.count("\n"), addresses), (2, "", 1, []))
                self.assertIn(words, run.stderr)
        for arguments, words in (("-a nosuch", "nosuch: the list can't be read"), ("-a .", ".: the list can't be read"),
                                 ("-a - -", "only once"), ("-a", "the value is missing"), ("-a -quiet", "like an option"),
                                 ("-a - --username u --password -", "both the addresses and a password")):
            run, addresses = self.analysed(*arguments.split(), stdin="script:item\n")
            self.assertEqual((run.returncode, addresses), (2, []))
            self.assertIn(words, run.stderr)

    def test_several_lists_in_order_and_the_line_of_an_address_that_failed(self):
        run, addresses = self.analysed("scripted:a", "-a", self.list(b"scripted:b\n"), "scripted:c", "-a", "-",
                                       stdin="\nscripted:err ERROR: [x] gone\nscripted:d\n")
        self.assertEqual(addresses, ["scripted:a", "scripted:c", "scripted:b", "scripted:err ERROR: [x] gone", "scripted:d"])
        self.assertEqual(run.returncode, 1)
        self.assertIn("\nreelhaul: standard input:2: scripted:err ERROR: [x] gone: gone\n", run.stderr)
