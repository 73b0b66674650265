"""The host program and the command's way to it, with a test in the place of the browser and its extension."""

import json
import os
import signal
import socket
import struct
import subprocess
import time
import unittest

from servers import COMMAND, CommandTest, TOOL

HOST = TOOL.parent / "reelhaul-browser-host"
# Stands for the tool: keeps what it was given, and fails.
KEEPER = """#!/bin/sh
while [ $# -gt 0 ]; do [ "$1" = --cookies ] && { stat -c %a "$2"; cat "$2"; } >>"$KEPT"; shift; done
echo 'ERROR: kept' >&2; exit 1
"""


def cookie(name, value, domain="site.test", **more):
    return {"name": name, "value": value, "domain": domain, "hostOnly": True, "path": "/", "secure": False, "httpOnly": False,
            "session": False, "expires": 4102444800, "store": "0", "partition": "", **more}


def frame(text):
    return struct.pack("=I", len(text)) + text


class Extension:
    """What a browser and its extension are for the host program."""

    def __init__(self, test, browser="chromium", profile="one", on=True, permission=True):
        self.process = subprocess.Popen([HOST, "origin"], stdin=subprocess.PIPE, stdout=subprocess.PIPE, bufsize=0,
                                        env=test.environment_of_command(REELHAUL_BROWSERS=test.sockets))
        test.addCleanup(self.close)
        self.say(type="hello", browser=browser, profile=profile, on=on, permission=permission)
        self.socket = test.sockets / f"{self.process.pid}.sock"
        test.wait_long(self.socket.exists)

    def say(self, **message):
        self.process.stdin.write(frame(json.dumps(message).encode()))

    def hear(self):
        length, = struct.unpack("=I", self.read(4))
        return json.loads(self.read(length))

    def read(self, length):
        found = b""
        while len(found) < length:
            more = self.process.stdout.read(length - len(found))
            if not more:
                raise EOFError("the host program has ended")
            found += more
        return found

    def close(self):
        self.process.stdin.close()
        self.process.wait()
        self.process.stdout.close()


class HostTest(CommandTest):
    def setUp(self):
        super().setUp()
        self.sockets = self.folder / "s"
        self.tool = self.write("tool/yt-dlp", KEEPER, 0o700).parent
        self.kept = self.write("kept", "")

    def wait_long(self, condition):
        until = time.monotonic() + 120
        while not condition():
            self.assertLess(time.monotonic(), until)
            time.sleep(0.01)

    def ask(self, browser, url="https://www.site.test/watch", kept="kept"):
        arguments = ["info", url, "--cookies-from-running", browser, "--tool", self.tool, "--js-runtime", "none"]
        process = subprocess.Popen([COMMAND, *map(str, arguments)], text=True, stdout=subprocess.PIPE, stderr=subprocess.PIPE,
                                   env=self.environment_of_command(REELHAUL_BROWSERS=self.sockets, KEPT=self.folder / kept, HOME=self.folder))
        self.addCleanup(process.communicate)
        self.addCleanup(process.kill)
        return process

    def ended(self, process, status=1):
        out, errors = process.communicate(timeout=120)
        self.assertEqual(process.returncode, status, out + errors)
        return errors

    def connect(self, extension, *data):
        peer = socket.socket(socket.AF_UNIX)
        self.addCleanup(peer.close)
        peer.connect(str(extension.socket))
        peer.settimeout(120)
        peer.sendall(b"".join(data))
        return peer

    def test_cookies_reach_the_tool_alone_and_go(self):
        extension = Extension(self)
        asking = self.ask("chromium")
        request = extension.hear()
        self.assertEqual((request["type"], request["addresses"], request["application"], request["pid"]),
                         ("ask", ["https://www.site.test/watch"], "reelhaul", asking.pid))
        extension.say(type="waiting", id=request["id"])
        extension.say(type="cookies", id=request["id"] + 1, cookies=[cookie("wrong", "1")])
        extension.say(type="cookies", id=request["id"], cookies=[
            cookie("login", "a b=\"c\""), cookie("login", "of a container", store="7"),
            cookie("wide", "1", ".site.test", hostOnly=False, secure=True, httpOnly=True, session=True),
            cookie("own", "1", "www.site.test", partition="https://site.test"),
            cookie("framed", "1", partition="https://other.test"), cookie("frame", "1", partition="https://te.test"),
            cookie("split", "a\tb"), cookie("line", "a\nevil.test\tTRUE"), cookie("", "", ""), "none", None])
        self.assertIn("kept", self.ended(asking))
        self.assertEqual(self.kept.read_text(encoding="utf-8").split("600\n")[-1], (
            "# Netscape HTTP Cookie File\nsite.test\tFALSE\t/\tFALSE\t4102444800\tlogin\ta b=\"c\"\n"
            "#HttpOnly_.site.test\tTRUE\t/\tTRUE\t0\twide\t1\nwww.site.test\tFALSE\t/\tFALSE\t4102444800\town\t1\n"))
        self.assertEqual(list(self.temporary.iterdir()), [])

    def test_what_stands_in_the_way_is_said(self):
        nobody = self.ended(self.ask("firefox"))
        self.assertIn("Mozilla Firefox isn't set up to be asked. Run \"reelhaul cookies --install-host firefox\"", nobody)
        Extension(self, "edge", on=False), Extension(self, "brave", permission=False)
        self.assertIn("turned off in Microsoft Edge", self.ended(self.ask("edge")))
        self.assertIn("may not read sites' cookies in Brave", self.ended(self.ask("brave")))
        extension = Extension(self)
        for reason, words in (("user", "You said no in Chromium"), ("permission", "may not read this site's cookies"),
                              ("fault", "can't give cookies: no web address")):
            asking = self.ask("chromium")
            extension.say(type="refused", id=extension.hear()["id"], reason=reason, text="no web address")
            self.assertIn(words, self.ended(asking))
        self.assertIn('No profile "two" answers', self.ended(self.ask("chromium:two")))
        asking = self.ask("chromium")
        extension.hear()
        asking.send_signal(signal.SIGINT)
        self.assertEqual(extension.hear()["type"], "end")
        self.ended(asking, 130)
        asking = self.ask("chromium")
        extension.hear()
        extension.close()
        self.assertIn("Chromium was closed before it answered", self.ended(asking))
        self.assertFalse(extension.socket.exists())
        self.assertEqual(list(self.temporary.iterdir()), [])

    def test_browsers_and_profiles_are_told_apart(self):
        names = [("chromium", "one"), ("chromium", "two"), ("firefox", "one")]
        extensions = [Extension(self, *name) for name in names]
        asking = [self.ask(":".join(name), f"https://{''.join(name)}.test/", "".join(name)) for name in names]
        requests = [extension.hear() for extension in extensions]
        for name, extension, request in reversed(list(zip(names, extensions, requests))):
            self.assertEqual(request["addresses"], [f"https://{''.join(name)}.test/"])
            extension.say(type="cookies", id=request["id"], cookies=[cookie("of", "".join(name), f"{''.join(name)}.test")])
        for process in asking:
            self.ended(process)
        for name in map("".join, names):
            file = (self.folder / name).read_text(encoding="utf-8")
            self.assertIn(f"of\t{name}\n", file)
            self.assertEqual(file.count("\tof\t"), file.count("600\n"), file)

    def test_hostile_peers_end_their_own_connection_alone(self):
        extension = Extension(self)
        asking = self.ask("chromium")
        request = extension.hear()
        junk = (struct.pack("=I", 0xFFFFFFFF), frame(b"no json"), frame(b"[1]"), frame(b'{"type":"cookies","id":1,"cookies":[]}'),
                frame(b'{"type":"hello"}'), frame(b"[" * 60000), frame(b"\0\xff"), frame(b""))
        for data in junk:
            peer = self.connect(extension, data)
            while peer.recv(65536):  # what it is, then the end
                pass
        silent = [self.connect(extension, b"\1") for _ in range(60)]
        self.assertEqual(silent[0].recv(1 << 16)[-1:], b"}", "it hears what it is")
        self.assertEqual(silent[0].recv(1), b"", "and makes room for others")
        extension.say(type=7, id="x")
        extension.process.stdin.write(frame(b"\xff{") + frame(b'{"type":"cookies","id":{"a":[]}}'))
        extension.say(type="cookies", id=request["id"], cookies=[cookie("still", "there")])
        self.ended(asking)
        self.assertIn("still\tthere", self.kept.read_text(encoding="utf-8"))
        for peer in silent:
            peer.close()
        os.kill(extension.process.pid, signal.SIGKILL)  # its socket stays
        extension.process.wait()
        self.assertIn("Chromium is", self.ended(self.ask("chromium")))
        self.assertFalse(extension.socket.exists())
        self.sockets.rmdir()
        self.sockets.symlink_to(self.folder)
        self.assertIn("it is not a folder of yours", self.ended(self.ask("chromium")))

    def test_set_up_and_taken_back(self):
        place = {"HOME": self.folder / "user", "XDG_CONFIG_HOME": self.folder / "user/.config", "REELHAUL_BROWSERS": self.sockets}
        self.assertIn("No browser", self.run_command("cookies", "--install-host", **place).stderr)
        for name in (".config/chromium", ".config/microsoft-edge", ".mozilla/firefox"):
            (self.folder / "user" / name).mkdir(parents=True)
        files = [self.folder / "user" / name / "reelhaul.browser_host.json" for name in (
            ".config/chromium/NativeMessagingHosts", ".config/microsoft-edge/NativeMessagingHosts", ".mozilla/native-messaging-hosts")]
        run = self.run_command("cookies", "--install-host", **place)
        self.assertEqual((run.returncode, run.stdout.count("isn't running")), (0, 3), run.stdout + run.stderr)
        texts = [json.loads(file.read_text(encoding="utf-8")) for file in files]
        self.assertEqual({text["path"] for text in texts}, {str(HOST.resolve())})
        self.assertEqual(texts[2]["allowed_extensions"], ["cookies@reelhaul"])
        self.assertEqual(self.run_command("cookies", "--uninstall-host", "edge", **place).returncode, 0)
        self.assertEqual([file.exists() for file in files], [True, False, True])
        self.run_command("cookies", "--uninstall-host", **place)
        self.assertFalse(any(file.exists() for file in files))


if __name__ == "__main__":
    unittest.main()
