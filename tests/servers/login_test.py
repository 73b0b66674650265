"""Sites that ask who comes, and what stands between the tool and them: proxies, logins, certificates, cookies."""

import os
import shlex
import sqlite3
import stat
import subprocess
import time
from pathlib import Path
from urllib.parse import urlsplit

from servers import HERE, SITE, ServerTest

CHROMIUM = ("chromium", "--headless", "--no-sandbox", "--disable-gpu", "--disable-quic", "--no-first-run",
            "--disable-background-networking", "--disable-component-update", "--disable-sync", "--password-store=basic")


class ProxyTest(ServerTest):
    def test_the_site_is_fetched_through_the_proxy(self):
        place = urlsplit(self.site.address).netloc
        open_proxy, guarded = self.start(HERE / "proxy.py"), self.start(HERE / "proxy.py", "--login", "me:a:b@c/d")
        self.get("--proxy", f"http://{open_proxy.address}", self.page("combined"), "--format", "combined320-mp4")
        # The analysis, the download's own analysis, the file; one connection may carry several.
        self.assertGreaterEqual(open_proxy.lines().count(f"{place} - passed"), 2)
        self.assertEqual(set(open_proxy.lines()), {f"{place} - passed"})
        self.assertIn(" /media/combined320.mp4 200 ", self.site.lines()[-1])
        seen = len(self.site.lines())
        for login in ("me:wrong@", ""):
            self.fails("", "info", "--proxy", f"http://{login}{guarded.address}", self.page("combined"))
        self.assertEqual({line.split()[2] for line in guarded.lines()}, {"refused"})
        self.assertEqual(len(self.site.lines()), seen)
        self.succeeds("info", "--proxy", f"http://me:a:b@c%2Fd@{guarded.address}", self.page("combined"))
        self.assertEqual(guarded.lines()[-1], f"{place} me passed")


class LoginTest(ServerTest):
    def test_by_name_and_password_or_by_netrc(self):
        page = self.page("combined?login=me:pa ss")
        machine = "machine reelhaul-site login me password {}\n"
        right = self.write("right", machine.format('"pa ss"'))
        wrong = self.write("wrong", machine.format("other"))
        self.succeeds("info", "--username", "me", "--password", "-", page, stdin="pa ss\n")
        for given in (["--netrc-location", right], ["--netrc-cmd", f"cat {shlex.quote(str(right))}"]):
            self.succeeds("info", *given, page)
        self.succeeds("info", "--netrc", page, HOME=self.write(".netrc", right.read_text()).parent)
        self.fails("401", "info", page)
        self.fails("401", "info", "--username", "me", "--password", "other", page)
        self.fails("401", "info", "--netrc-location", wrong, page)


class CertificateTest(ServerTest):
    def certificate(self, name, *key_options):
        key, certificate = self.folder / f"{name}.key", self.folder / f"{name}.pem"
        subprocess.run(["openssl", "req", "-x509", "-newkey", "ec", "-pkeyopt", "ec_paramgen_curve:P-256", "-days", "2",
                        "-subj", f"/CN={name}", "-addext", "subjectAltName=IP:127.0.0.1", "-keyout", key,
                        "-out", certificate, *(key_options or ["-noenc"])], check=True, capture_output=True)
        return certificate, key

    def test_the_sites_and_the_clients(self):
        certificate, key = self.certificate("site")
        both = self.write("both.pem", certificate.read_text() + key.read_text())
        site = self.start(SITE / "site.py", "--tls", both)
        self.fails("CERTIFICATE_VERIFY_FAILED", "info", "--username", "me", "--password", "-", self.page("combined", site),
                   stdin="secret")
        self.assertEqual(site.lines(), [])
        # Where the Python package certifi is installed, the tool trusts what that holds, unless told otherwise.
        self.write("home/yt-dlp/config", "--compat-options no-certifi")
        self.succeeds("info", "--tool-config", self.page("combined", site), SSL_CERT_FILE=certificate,
                      XDG_CONFIG_HOME=self.folder / "home")
        self.assertEqual(len(self.get(self.page("combined", site), "--no-check-certificates", "--format",
                                      "combined320-mp4")), 1)

        mine, my_key = self.certificate("client", "-passout", "pass:s3cr3t")
        site = self.start(SITE / "site.py", "--tls", both, "--clients", mine)
        given = ["--no-check-certificates", "--client-certificate", mine, "--client-certificate-key", my_key]
        self.fails("", "info", "--no-check-certificates", self.page("combined", site))
        run = self.fails("", "info", *given, "--client-certificate-password", "wr0ng", self.page("combined", site))
        self.assertNotIn("wr0ng", run.stdout + run.stderr)
        self.assertEqual(site.lines(), [])
        self.succeeds("info", *given, "--client-certificate-password", "s3cr3t", self.page("combined", site))
        self.assertEqual(len(site.lines()), 1)


class CookieTest(ServerTest):
    def setUp(self):
        super().setUp()
        self.wanted = self.page("combined?cookie=member=yes")
        self.home = {"HOME": self.folder / "home", "XDG_CONFIG_HOME": self.folder / "home/.config"}
        (self.folder / "home").mkdir()

    def test_from_a_file(self):
        head = "# Netscape HTTP Cookie File\n"
        file = self.write("cookies", head + "127.0.0.1\tFALSE\t/\tFALSE\t4102444800\tmember\tyes\n")
        self.succeeds("info", "--cookies", file, self.wanted)
        self.fails("403", "info", "--cookies", self.write("none", head), self.wanted)
        self.fails("403", "info", self.wanted)

    def test_from_a_firefox_profile(self):
        self.fails("firefox", "info", "--cookies-from-browser", "firefox", self.wanted, **self.home)
        profile = self.folder / "home/.mozilla/firefox/test.default-release"
        profile.mkdir(parents=True)
        with sqlite3.connect(profile / "cookies.sqlite") as store:
            store.execute("CREATE TABLE moz_cookies (id INTEGER PRIMARY KEY, name TEXT, value TEXT, host TEXT, path TEXT,"
                          " expiry INTEGER, isSecure INTEGER, originAttributes TEXT NOT NULL DEFAULT '')")
            store.execute("INSERT INTO moz_cookies (name, value, host, path, expiry, isSecure) VALUES"
                          " ('member', 'yes', '127.0.0.1', '/', ?, 0)", (int(time.time()) + 3600,))
        store.close()
        self.succeeds("info", "--cookies-from-browser", "firefox", self.wanted, **self.home)
        self.succeeds("info", "--cookies-from-browser", f"firefox:{profile}::none", self.wanted, **self.home)
        self.fails("containers.json", "info", "--cookies-from-browser", "firefox::nowhere", self.wanted, **self.home)
        self.addCleanup(os.umask, os.umask(0))
        run = self.succeeds("cookies", "firefox", "-o", self.folder / "secrets/made", **self.home)
        made = Path(run.stdout.split()[-1])
        self.assertEqual([stat.filemode(path.stat().st_mode) for path in (made, made.parent, made.parent.parent)],
                         ["-rw-------", "drwx------", "drwx------"])
        self.succeeds("info", "--cookies", made, self.wanted)
        self.run_command("tools", "update", REELHAUL_TOOL_DIR=self.folder / "tools", REELHAUL_RELEASE_API="http://127.0.0.1:1/")
        self.assertEqual(stat.filemode((self.folder / "tools").stat().st_mode), "drwxr-xr-x")

    def test_from_the_profile_of_a_real_chromium(self):
        profile = self.folder / "home/.config/chromium"
        visit = subprocess.run([*CHROMIUM, f"--user-data-dir={profile}", "--dump-dom", self.page("any?set=member=yes")],
                               text=True, capture_output=True, timeout=60)
        self.assertIn("what it offers", visit.stdout, visit.stderr)
        self.succeeds("info", "--cookies-from-browser", "chromium", self.wanted, **self.home)
