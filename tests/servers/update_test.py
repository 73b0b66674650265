"""The real tool updates itself from a release host on loopback, the only one that it and the library can reach."""

import hashlib
import json
import os
import re
import subprocess
import sys
import zipfile

from servers import COMMAND, HERE, TOOL, CommandTest

OLD, NEW, NEWEST = "2025.01.01", "2100.01.01", "2100.02.01"


def make_tool(file, version, added=""):
    """The real tool as it is released, of sources alone, with another version and without the mark of who packed it."""
    with open(file, "wb") as stream, zipfile.ZipFile(TOOL) as real:
        stream.write(b"#!/usr/bin/env python3\n")
        with zipfile.ZipFile(stream, "w", zipfile.ZIP_DEFLATED) as made:
            for name in real.namelist():
                source = real.read(name)
                if name == "yt_dlp/version.py":
                    source = re.sub(rb"(?m)^(VARIANT|UPDATE_HINT) = .*", rb"\1 = None", source)
                    source = re.sub(rb"(?m)^(__version__) = .*", rb"\1 = '%s'" % version.encode(), source)
                    source += added.encode()
                if not name.endswith(".pyc"):
                    made.writestr(name, source)
    file.chmod(0o755)


class UpdateTest(CommandTest):
    def setUp(self):
        super().setUp()
        self.host, self.local = self.folder / "host", self.folder / "local"
        self.tool, self.release = self.local / "yt-dlp", self.host / "files/yt-dlp"
        self.local.mkdir()
        (self.local / "ffmpeg").symlink_to(TOOL.parent / "ffmpeg")
        # The tool would trust the certificates of a Python package otherwise, where that is installed.
        self.write("host/yt-dlp/config", "--compat-options no-certifi")
        self.write("host/files/_update_spec", "# nothing is held back")
        server = subprocess.Popen([sys.executable, HERE / "release.py", self.host], text=True, stdin=subprocess.PIPE,
                                  stdout=subprocess.PIPE)
        self.addCleanup(server.__exit__, None, None, None)  # closes its standard input, waits
        self.environment = {"REELHAUL_RELEASE_API": server.stdout.readline().strip(), "XDG_CONFIG_HOME": self.host,
                            "HTTPS_PROXY": server.stdout.readline().strip(), "SSL_CERT_FILE": self.host / "ca.pem"}

    def offer(self, version, checksum=None):
        if not checksum:
            make_tool(self.release, version)
            checksum = hashlib.sha256(self.release.read_bytes()).hexdigest()
        self.write("host/latest.json", json.dumps({"tag_name": version, "target_commitish": "master"}))
        self.write("host/files/SHA2-256SUMS", f"{checksum}  yt-dlp\n")

    def update(self, folder=None, **environment):
        """What the command says, and its status."""
        run = self.run_command("tools", "update", "--tool", folder or self.local, **{**self.environment, **environment})
        err = run.stderr.replace(f"Updating the copies in {folder or self.local}\n", "")
        return f"{run.stdout}{err}{run.returncode}"

    def has_bytecode(self):
        return "yt_dlp/version.pyc" in zipfile.ZipFile(self.tool).namelist()

    def test_again_and_again_while_it_runs(self):
        # A run that has read where its parts are in the file and has yet to load most of them.
        hold = self.write("hold", "")
        make_tool(self.tool, OLD, f"import os, time\nif os.environ.get('HELD'):\n    print('held', flush=True)\n"
                                  f"    while os.path.exists({str(hold)!r}): time.sleep(0.02)\n")
        self.offer(NEW)
        running = subprocess.Popen([self.tool, "--list-extractors"], env={**os.environ, "HELD": "1"}, text=True,
                                   stdout=subprocess.PIPE)
        self.addCleanup(running.__exit__, None, None, None)
        self.addCleanup(hold.unlink, missing_ok=True)
        self.assertEqual(running.stdout.readline(), "held\n")
        self.assertEqual(self.update(), f"yt-dlp was updated from {OLD} to {NEW}.\n0")
        self.assertTrue(self.has_bytecode())
        hold.unlink()
        self.assertTrue(running.stdout.read().endswith("generic\n"))
        self.offer(NEWEST)
        self.assertEqual(self.update(), f"yt-dlp was updated from {NEW} to {NEWEST}.\n0")
        self.assertEqual(subprocess.check_output([self.tool, "--version"], text=True).strip(), NEWEST)
        self.assertEqual(sorted(os.listdir(self.local)), ["ffmpeg", "yt-dlp"])
        self.assertIn(f"/releases/download/{NEWEST}/yt-dlp\n", (self.host / "log").read_text())

    def test_what_cannot_be_made_leaves_the_tool_alone(self):
        make_tool(self.tool, OLD)
        self.offer(OLD)
        self.assertEqual(self.update(), f"yt-dlp {OLD} is up to date.\n0")
        self.assertTrue(self.has_bytecode())
        self.assertEqual((self.host / "log").read_text(), "/repos/yt-dlp/yt-dlp/releases/latest\n")  # no more than that
        content = self.tool.read_bytes()

        def garbage():
            self.release.write_text("no program")
            self.offer(NEW, hashlib.sha256(b"no program").hexdigest())

        def no_sums():
            self.offer(NEW)
            (self.host / "files/SHA2-256SUMS").unlink()

        for prepare, words, environment in (
                (no_sums, "found no checksum", {}),
                (lambda: self.offer(NEW, "0" * 64), "Unable to verify the new executable", {}),
                (garbage, "Updated yt-dlp", {}),
                (self.release.unlink, "does not exist", {}),
                (lambda: self.write("host/latest.json", "<html>"), "names no version", {}),
                (lambda: None, "127.0.0.1", {"REELHAUL_RELEASE_API": "https://127.0.0.1:1"}),
                (lambda: None, "certificate", {"SSL_CERT_FILE": "/dev/null"})):
            with self.subTest(words):
                prepare()
                said = self.update(**environment)
                self.assertRegex(said, f"yt-dlp {OLD} stays: .*{re.escape(words)}(.*\n)+1$")
                self.assertNotIn(".reelhaul-", said)
                self.assertEqual(self.tool.read_bytes(), content)
                self.assertEqual(sorted(os.listdir(self.local)), ["ffmpeg", "yt-dlp"])

    def test_a_folder_is_seeded(self):
        folder = self.folder / "seeded"
        folder.mkdir()
        self.offer(OLD)
        # Room for ffmpeg, not for the tool.
        self.assertTrue((TOOL.parent / "ffmpeg").is_symlink())
        small = ["sh", "-c", "trap '' XFSZ; ulimit -f 4000; exec \"$@\"", "sh"]
        run = subprocess.run([*small, COMMAND, "tools", "update", "--tool", folder],
                             env=self.environment_of_command(**self.environment), text=True, capture_output=True)
        self.assertRegex(f"{run.stderr}{run.returncode}", "There is no local yt-dlp that runs: Can't copy.*\n1$")
        self.assertEqual(os.listdir(folder), ["ffmpeg"])
        self.assertRegex(self.update(folder), r"^yt-dlp [0-9.]+ is up to date.\n0$")
        for name, argument in (("ffmpeg", "-version"), ("yt-dlp", "--version")):
            self.assertTrue((folder / name).is_file() and not (folder / name).is_symlink())
            self.assertRegex(subprocess.check_output([folder / name, argument], text=True), "^(ffmpeg version )?[0-9]")
        # A packager's mark keeps the built-in tool from updating itself.
        self.offer(NEW)
        self.assertRegex(self.update(folder), r"yt-dlp [0-9.]+ stays: .*\n1$")
        make_tool(folder / "yt-dlp", OLD)
        self.assertEqual(self.update(folder), f"yt-dlp was updated from {OLD} to {NEW}.\n0")
