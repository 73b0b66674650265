"""What is tried with each real browser: headless, on loopback, with the extension and its host program."""

import re
import subprocess
import time
from pathlib import Path
from urllib.parse import urlencode

from servers import COMMAND, SITE, TOOL

EXTENSION = TOOL.parent / "browser-extension"
# As a site sets them: name and attributes, and the line of the cookies file without its domain.
KINDS = (("kept=1; Max-Age=99999", "FALSE\t/\tFALSE\t[1-9]\\d+\tkept\t1"), ("session=1", "FALSE\t/\tFALSE\t0\tsession\t1"),
         ("hidden=1; HttpOnly", "FALSE\t/\tFALSE\t0\thidden\t1"), ("safe=1; Secure", "FALSE\t/\tTRUE\t0\tsafe\t1"),
         ("parted=1; Secure; SameSite=None; Partitioned", "FALSE\t/\tTRUE\t0\tparted\t1"))


class Browsers:
    """Each test runs with each browser."""

    def setUp(self):
        super().setUp()
        self.home = self.folder / "home"
        self.home.mkdir()
        (self.folder / "s").mkdir(mode=0o700)
        self.of_user = {"HOME": self.home, "XDG_CONFIG_HOME": self.home / ".config", "REELHAUL_BROWSERS": self.folder / "s"}
        self.word = self.kind.word

    def start_browser(self, extension=True, host=True):
        if host:
            self.succeeds("cookies", "--install-host", self.word, **self.of_user)
        browser = self.kind(self.home, EXTENSION if extension else None, self.environment_of_command(**self.of_user))
        self.addCleanup(browser.stop)
        return browser

    def status(self):
        return self.succeeds("cookies", "--status", self.word, **self.of_user).stdout

    def wait_for(self, words):
        until = time.monotonic() + 60
        while words not in self.status():
            self.assertLess(time.monotonic(), until, self.status())
            time.sleep(0.1)

    def ask(self, *arguments):
        """The command, begun; it waits for the user's word."""
        (self.folder / "here").mkdir(exist_ok=True)
        return subprocess.Popen([COMMAND, *map(str, arguments)], text=True, stdout=subprocess.PIPE, stderr=subprocess.PIPE,
                                cwd=self.folder / "here", env=self.environment_of_command(**self.of_user))

    def decide(self, browser, answer):
        popup = browser.popup()
        browser.wait(popup, f"document.querySelector('[data-does={answer}]') !== null")
        text = browser.run(popup, "document.querySelector('.request').textContent")
        browser.run(popup, f"document.querySelector('[data-does={answer}]').click()")
        return text

    def ended(self, process, status):
        out, errors = process.communicate(timeout=120)
        self.assertEqual(process.returncode, status, out + errors)
        return out + errors

    def test_a_visitors_logins_reach_the_tool(self):
        page = self.page("combined?cookie=member=yes")
        self.assertIn("isn't set up", self.status())
        browser = self.start_browser()
        self.wait_for("can be asked")
        browser.open(self.page("any?set=member=yes"))
        self.fails("403", "info", page, **self.of_user)

        asking = self.ask("get", "--cookies-from-running", self.word, page, "-o", self.folder / "out")
        said = self.decide(browser, "once")
        self.assertIn("reelhaul wants the cookies of 127.0.0.1", said)
        self.assertIn(str(Path(COMMAND).resolve()), said)
        self.assertIn("Combined.mp4", self.ended(asking, 0))
        self.assert_nothing_left_of_command()

        asking = self.ask("info", "--cookies-from-running", self.word, page)  # once was once
        self.decide(browser, "no")
        self.assertIn("You said no", self.ended(asking, 1))
        asking = self.ask("info", "--cookies-from-running", self.word, page)
        self.decide(browser, "always")
        self.ended(asking, 0)
        self.succeeds("info", "--cookies-from-running", self.word, page, **self.of_user)

    def test_cookies_of_every_kind_over_tls(self):
        key, certificate = self.folder / "key", self.folder / "certificate"
        subprocess.run(["openssl", "req", "-x509", "-newkey", "ec", "-pkeyopt", "ec_paramgen_curve:P-256", "-days", "2", "-noenc",
                        "-subj", "/CN=site", "-addext", "subjectAltName=IP:127.0.0.1", "-keyout", key, "-out", certificate],
                       check=True, capture_output=True)
        site = self.start(SITE / "site.py", "--tls", self.write("both", certificate.read_text() + key.read_text()))
        browser = self.start_browser()
        self.wait_for("can be asked")
        for given, _ in KINDS:
            browser.open(self.page(f"any?{urlencode({'set-as-it-is': given})}", site))
        # Stands for the tool: shows the file that it is given.
        tool = self.write("tool/yt-dlp", '#!/bin/sh\nwhile [ $# -gt 0 ]; do [ "$1" = --cookies ] && cat "$2" >"$KEPT"; shift; done; exit 1\n', 0o700)
        self.of_user["KEPT"] = self.folder / "kept"
        asking = self.ask("info", "--cookies-from-running", self.word, "--tool", tool.parent, self.page("any", site))
        self.decide(browser, "once")
        self.ended(asking, 1)
        lines = (self.folder / "kept").read_text(encoding="utf-8").splitlines()
        for given, line in KINDS:
            front = "#HttpOnly_" if "HttpOnly" in given else ""
            self.assertTrue(any(re.fullmatch(f"{front}127.0.0.1\t{line}", found) for found in lines), (line, lines))

    def test_the_user_turns_it_off_a_page_gets_nothing_and_the_browser_ends(self):
        self.assertIn("isn't running, or", self.succeeds("cookies", "--install-host", self.word, **self.of_user).stdout)
        browser = self.start_browser()
        self.wait_for("can be asked")
        page = browser.open(self.page("any?set=member=yes"))
        popup_address = self.popup_address(browser)
        self.assertEqual(browser.run(page, "typeof (globalThis.browser ?? globalThis.chrome)?.runtime?.sendMessage"), "undefined")
        for name in ("popup.html", "background.js"):
            self.assertEqual(browser.run_async(page, f"fetch('{popup_address.replace('popup.html', name)}').then(() => 'read', () => 'refused')"), "refused")
        popup = browser.popup()
        browser.wait(popup, "document.querySelector('#link').textContent.includes('Ready')")
        browser.run(popup, "document.querySelector('#on').click()")
        self.wait_for("turned off")
        self.assertIn("turned off", self.fails("", "info", "--cookies-from-running", self.word, self.page("any"), **self.of_user).stderr)
        browser.run(popup, "document.querySelector('#on').click()")
        self.wait_for("can be asked")
        asking = self.ask("info", "--cookies-from-running", self.word, self.page("any"))
        browser.wait(popup, "document.querySelector('.request') !== null")
        browser.stop()
        self.assertIn("was closed before it answered", self.ended(asking, 1))
        self.wait_for("isn't running, or")

    def popup_address(self, browser):
        return browser.run(browser.popup(), "location.href")

    def test_a_browser_without_the_extension_or_the_host(self):
        self.start_browser(extension=False)
        self.assertIn("isn't in it", self.fails("", "info", "--cookies-from-running", self.word, self.page("any"), **self.of_user).stderr)

    def assert_nothing_left_of_command(self):
        self.assertEqual([path for path in self.temporary.iterdir() if "reelhaul" in path.name.lower()], [])


class Patience(Browsers):
    """What takes half a minute."""

    def test_a_host_that_comes_later(self):
        browser = self.start_browser(host=False)
        popup = browser.popup()
        browser.wait(popup, "document.querySelector('#link').textContent.includes('--install-host')")
        self.assertIn("isn't set up", self.status())
        self.succeeds("cookies", "--install-host", self.word, **self.of_user)
        self.wait_for("can be asked")  # the extension looks again twice a minute
