"""A Chromium and a Firefox that run, and what a user does in them."""

import itertools
import json
import os
import re
import select
import socket
import subprocess
import time

CHROMIUM_ID = "hkpegjcnhgedmhdmbmaegjidikonnpla"


class Browser:
    def wait(self, session, condition):
        until = time.monotonic() + 60
        while not self.run(session, condition):
            if time.monotonic() > until:
                raise RuntimeError(f"never true: {condition}")
            time.sleep(0.05)


class Chromium(Browser):
    """Headless, driven over pipes by its own protocol."""

    word = "chromium"

    def __init__(self, home, extension, environment):
        self.profile = home / ".config/chromium"
        self.profile.mkdir(parents=True, exist_ok=True)
        self.numbers = itertools.count(1)
        self.rest = b""
        self.errors = home / "chromium.log"
        (theirs_in, self.to), (self.source, theirs_out) = os.pipe(), os.pipe()

        def place():  # the browser reads from 3 and writes to 4
            high_in, high_out = os.dup(theirs_in), os.dup(theirs_out)
            os.dup2(high_in, 103), os.dup2(high_out, 104)
            os.dup2(103, 3), os.dup2(104, 4)
            os.closerange(5, 120)

        self.process = subprocess.Popen(
            ["chromium", "--headless=new", "--no-sandbox", "--disable-gpu", "--no-first-run", "--password-store=basic",
             "--disable-background-networking", "--disable-component-update", "--ignore-certificate-errors",
             f"--user-data-dir={self.profile}", "--remote-debugging-pipe", "--enable-unsafe-extension-debugging",
             "about:blank"], env=environment, preexec_fn=place, close_fds=False, stdin=subprocess.DEVNULL,
            stdout=subprocess.DEVNULL, stderr=open(self.errors, "w", encoding="utf-8"))
        os.close(theirs_in)
        os.close(theirs_out)
        if extension:
            self.call("Extensions.loadUnpacked", path=str(extension))

    def call(self, method, session=None, **parameters):
        number = next(self.numbers)
        message = {"id": number, "method": method, "params": parameters, **({"sessionId": session} if session else {})}
        os.write(self.to, json.dumps(message).encode() + b"\0")
        until = time.monotonic() + 60
        while True:
            while b"\0" in self.rest:
                one, _, self.rest = self.rest.partition(b"\0")
                answer = json.loads(one)
                if answer.get("id") == number:
                    if "error" in answer:
                        raise RuntimeError(f"{method}: {answer['error']}")
                    return answer["result"]
            ready, _, _ = select.select([self.source], [], [], max(0, until - time.monotonic()))
            more = os.read(self.source, 1 << 20) if ready else b""
            if not more:
                raise RuntimeError(f"{method}: no answer; {self.errors.read_text(encoding='utf-8')[-500:]}")
            self.rest += more

    def open(self, url):
        """A tab with the address; its session, once the page is there."""
        target = self.call("Target.createTarget", url=url)["targetId"]
        session = self.call("Target.attachToTarget", targetId=target, flatten=True)["sessionId"]
        self.wait(session, "document.readyState === 'complete' && location.href !== 'about:blank'")
        return session

    def run(self, session, script):
        result = self.call("Runtime.evaluate", session, expression=script, awaitPromise=True, returnByValue=True)["result"]
        return result.get("value", result.get("description"))

    run_async = run  # which waits for a promise

    def popup(self):
        return self.open(f"chrome-extension://{CHROMIUM_ID}/popup.html")

    def stop(self):
        if self.process.poll() is not None:
            return
        self.process.terminate()
        self.process.wait()
        for fd in (self.to, self.source):
            os.close(fd)


class Firefox(Browser):
    """Headless, driven by Marionette over a loopback socket."""

    word = "firefox"

    def __init__(self, home, extension, environment):
        self.profile = home / "profile"
        self.profile.mkdir(parents=True, exist_ok=True)
        preferences = {"marionette.port": 0, "browser.shell.checkDefaultBrowser": False, "app.update.enabled": False,
                       "datareporting.policy.dataSubmissionEnabled": False, "network.captive-portal-service.enabled": False,
                       "network.connectivity-service.enabled": False, "extensions.background.idle.timeout": 2000}
        (self.profile / "user.js").write_text(
            "".join(f'user_pref("{name}", {json.dumps(value)});\n' for name, value in preferences.items()), encoding="utf-8")
        self.numbers = itertools.count(1)
        self.rest = b""
        self.process = subprocess.Popen(
            ["firefox-esr", "--headless", "--marionette", "--remote-allow-system-access", "--no-remote", "--profile", self.profile, "about:blank"],
            env=environment, stdin=subprocess.DEVNULL, stdout=subprocess.DEVNULL,
            stderr=open(home / "firefox.log", "w", encoding="utf-8"))
        self.connection = self.connect()
        self.receive()  # what it is
        self.call("WebDriver:NewSession", acceptInsecureCerts=True)
        if extension:
            self.call("Addon:Install", path=str(extension), temporary=True)

    def connect(self):
        port = self.profile / "MarionetteActivePort"
        until = time.monotonic() + 90
        while True:
            try:
                return socket.create_connection(("127.0.0.1", int(port.read_text(encoding="utf-8"))), timeout=60)
            except (OSError, ValueError):
                if time.monotonic() > until or self.process.poll() is not None:
                    raise
                time.sleep(0.1)

    def receive(self):
        while True:
            found = re.match(rb"(\d+):", self.rest)
            if found and len(self.rest) >= found.end() + int(found[1]):
                end = found.end() + int(found[1])
                message, self.rest = self.rest[found.end():end], self.rest[end:]
                return json.loads(message)
            more = self.connection.recv(1 << 20)
            if not more:
                raise RuntimeError("Firefox has ended")
            self.rest += more

    def call(self, method, **parameters):
        text = json.dumps([0, next(self.numbers), method, parameters]).encode()
        self.connection.sendall(b"%d:%s" % (len(text), text))
        answer = self.receive()
        if answer[2]:
            raise RuntimeError(f"{method}: {answer[2]['message']}")
        return answer[3]

    def open(self, url):
        handle = self.call("WebDriver:NewWindow", type="tab")["handle"]
        self.call("WebDriver:SwitchToWindow", handle=handle)
        self.call("WebDriver:Navigate", url=url)
        return handle

    def run(self, session, script):
        self.call("WebDriver:SwitchToWindow", handle=session)
        return self.call("WebDriver:ExecuteScript", script=f"return ({script})", args=[])["value"]

    def run_async(self, session, script):
        self.call("WebDriver:SwitchToWindow", handle=session)
        return self.call("WebDriver:ExecuteAsyncScript", script=f"({script}).then(arguments[arguments.length - 1])", args=[])["value"]

    def popup(self):
        self.call("Marionette:SetContext", value="chrome")
        base = self.call("WebDriver:ExecuteScript", args=[], script=(
            "return WebExtensionPolicy.getByID('cookies@reelhaul').getURL('popup.html')"))["value"]
        self.call("Marionette:SetContext", value="content")
        return self.open(base)

    def stop(self):
        self.connection.close()
        if self.process.poll() is None:
            self.process.terminate()
        self.process.wait()
