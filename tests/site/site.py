#!/usr/bin/env python3
"""A small media site on loopback, for tests and demonstrations with the real tool.

    site.py [--port 0] [--log FILE] [--tls PEM [--clients PEM]] [--stay]

The first line on standard output is the site's address. The site ends on TERM, or when
standard input closes, so that it never outlives the test that started it; --stay leaves
that out. README.md lists the pages and the faults that a query asks for.
"""

import argparse
import base64
import io
import json
import mimetypes
import os
import re
import signal
import socketserver
import ssl
import sys
import threading
import time
from collections import Counter
from http.cookies import SimpleCookie
from http.server import BaseHTTPRequestHandler, ThreadingHTTPServer
from pathlib import Path
from urllib.parse import parse_qsl, unquote, urlencode, urlsplit

import media
import pages

CHUNK = 16 * 1024
INVERTED = bytes(255 - byte for byte in range(256))
LIVE_WINDOW = 6  # segments in a live playlist at any time


class Server(ThreadingHTTPServer):
    daemon_threads = True
    request_queue_size = 128

    def __init__(self, port, folder, log, tls=None):
        super().__init__(("127.0.0.1", port), Handler)
        if tls:  # each connection shakes hands on its own thread
            self.socket = tls.wrap_socket(self.socket, server_side=True, do_handshake_on_connect=False)
        self.site = pages.Site(f"{'https' if tls else 'http'}://127.0.0.1:{self.server_address[1]}", folder)
        self.started = time.monotonic()
        self.log = log
        self.lock = threading.Lock()
        self.media_sent = 0  # bytes of files, but for lists of fragments
        self.cut_already = set()
        self.released = threading.Event()
        self.described = Counter()
        self.token = 0  # of the latest page whose addresses expire

    def server_bind(self):
        socketserver.TCPServer.server_bind(self)  # the base class asks the name service here

    def handle_error(self, request, client_address):
        if not isinstance(sys.exc_info()[1], OSError):  # clients may leave at any time, or refuse the certificate
            super().handle_error(request, client_address)


def add_query(url, query):
    return f"{url}{'&' if '?' in url else '?'}{urlencode(query)}" if query else url


class Handler(BaseHTTPRequestHandler):
    protocol_version = "HTTP/1.1"
    disable_nagle_algorithm = True  # head and body are two writes

    def do_GET(self):
        self.sent, self.status, self.begin, self.mark = 0, "-", time.time(), None
        address = urlsplit(self.path)
        self.query = dict(parse_qsl(address.query, keep_blank_values=True))
        try:
            if not self.refuse():
                self.answer(unquote(address.path).strip("/"))
        except ConnectionError:
            self.close_connection = True
        finally:
            self.write_log()

    do_HEAD = do_GET

    def refuse(self):
        """Turns away whom the query tells to, or who lacks the login or cookie that it asks for; true when it did."""
        query = self.query
        login, (name, _, value) = query.get("login"), query.get("cookie", "").partition("=")
        time.sleep(float(query.get("stall", 0)))
        if login and self.headers.get("Authorization") != f"Basic {base64.b64encode(login.encode()).decode()}":
            self.text("a login is needed\n", status=401)
        elif name and getattr(SimpleCookie(self.headers.get("Cookie", "")).get(name), "value", None) != value:
            self.text("a cookie is needed\n", status=403)
        elif int(query.get("token", self.server.token)) != self.server.token:
            self.text("expired\n", status=int(query["expires"]))
        elif "status" in query:
            self.text(f"status {query['status']} as asked\n", status=int(query["status"]))
        else:
            return False
        return True

    def write_body(self, file):
        """Sends a body with the throttle and the cut that the query asks for."""
        rate, cut = (int(self.query.get(key, 0)) for key in ("rate", "cut"))
        once = int(self.query.get("cutonce", 0))
        if once:
            with self.server.lock:
                cut = 0 if self.path in self.server.cut_already else once
                self.server.cut_already.add(self.path)
        counted = self.path.startswith(("/media/", "/direct/")) and ".m3u8" not in self.path
        begin = time.monotonic()
        while part := file.read(max(1, min(CHUNK, rate // 10)) if rate else CHUNK):
            if cut and self.sent + len(part) > cut:
                part = part[:cut - self.sent]
                self.close_connection = True
            with self.server.lock:
                self.server.media_sent += len(part) * counted
            self.wfile.write(part)
            self.sent += len(part)
            if cut and self.sent == cut:
                return
            if 0 < int(self.query.get("hold", 0)) <= self.sent:
                self.server.released.wait(60)
            if rate:
                time.sleep(max(0.0, begin + self.sent / rate - time.monotonic()))

    def head(self, status, length, content_type):
        self.status = status
        self.send_response(status)
        self.send_header("Content-Type", content_type)
        if self.query.get("length") == "none":
            self.close_connection = True
        else:
            self.send_header("Content-Length", str(length))
        if self.mark:
            self.send_header("ETag", self.mark)
        if status == 206:
            self.send_header("Content-Range", self.range)
        if "wait" in self.query:
            self.send_header("Retry-After", self.query["wait"])
        if "set" in self.query:
            self.send_header("Set-Cookie", f"{self.query['set']}; Path=/; Max-Age=86400")
        if "set-as-it-is" in self.query:
            self.send_header("Set-Cookie", f"{self.query['set-as-it-is']}; Path=/")
        self.end_headers()

    def body(self, file, length, content_type, status=200):
        self.head(status, length, content_type)
        if self.command != "HEAD":
            self.write_body(file)

    def version(self, name):
        """Another file in this one's place."""
        return name.replace("320", "640") if self.query.get("version") == "larger" else name

    def bytes_of(self, file, begin, length):
        data = os.pread(file.fileno(), length, begin)
        return data.translate(INVERTED) if self.query.get("version") == "inverted" else data

    def file(self, file, size, content_type):
        """A file, from where the client asks for it; from its begin with "ranges=no"."""
        wanted = re.fullmatch(r"bytes=(\d+)-(\d*)", self.headers.get("Range", ""))
        if self.query.get("marks") != "no":
            self.mark = f'"{self.query.get("version", "")}-{size}"'
        if not wanted or self.query.get("ranges") == "no":
            return self.body(io.BytesIO(self.bytes_of(file, 0, size)), size, content_type)
        begin, end = int(wanted[1]), int(wanted[2] or size - 1)
        if begin >= size:
            return self.text("nothing there\n", status=416)
        self.range = f"bytes {begin}-{min(end, size - 1)}/{size}"
        length = min(end, size - 1) - begin + 1
        return self.body(io.BytesIO(self.bytes_of(file, begin, length)), length, content_type, 206)

    def text(self, text, content_type="text/plain; charset=utf-8", status=200):
        data = text.encode()
        self.body(io.BytesIO(data), len(data), content_type, status)

    def answer(self, path):
        site, (room, _, name) = self.server.site, path.partition("/")
        page = f"<html><body><h1>{path or 'Media site'}</h1>{{}}</body></html>\n"
        if path == "":
            links = [f"watch/{name}" for name in pages.WATCH] + [f"list/{name}" for name in pages.LISTS]
            links += [f"html/{name}" for name in pages.HTML]
            self.text(page.format("".join(f'<p><a href="/{link}">{site.url(link)}</a>' for link in links)), "text/html")
        elif path.startswith("api/skipSegments/"):
            self.text(json.dumps(pages.sponsored("convert")), "application/json")
        elif room == "api":
            self.describe(pages.describe(site, name.removesuffix(".json")))
        elif room in ("watch", "list"):
            self.text(page.format(f'<a href="/api/{path}.json">what it offers</a>'), "text/html")
        elif room == "html" and name in pages.HTML:
            self.text(pages.HTML[name](site), "text/html")
        elif room == "caption" and (text := pages.caption(*name.partition(".")[::2])):
            self.text(text)
        elif path == "release":
            self.server.released.set()
            self.text("")
        elif path == "sent":
            self.text(str(self.server.media_sent))
        elif room == "media" and name.endswith(".m3u8"):
            self.m3u8(name)
        elif room in ("media", "direct") and (path := site.folder / self.version(name)).is_file() and ".." not in name:
            with open(path, "rb") as file:
                self.file(file, path.stat().st_size, mimetypes.guess_type(path.name)[0] or "application/octet-stream")
        else:
            self.text("nothing here\n", status=404)

    def describe(self, description):
        """A page's or a list's description. The query may give another title, id or description; behind "media." it goes to the media."""
        if description is None:
            return self.text("no such page\n", status=404)
        description |= {key: self.query[key] for key in ("id", "title", "description") if key in self.query}
        passed_on = {key.removeprefix("media."): value for key, value in self.query.items() if key.startswith("media.")}
        if old := int(passed_on.pop("old", 0)):
            with self.server.lock:
                self.server.described[self.path] += 1
                if self.server.described[self.path] <= old:
                    passed_on["status"] = "403"
        if "expires" in passed_on:
            with self.server.lock:
                self.server.token += 1
                passed_on["token"] = str(self.server.token)
        for part in description.get("formats", []) + description.get("manifests", []):
            part["url"] = add_query(part["url"], passed_on)
        return self.text(json.dumps(description), "application/json")

    def m3u8(self, name):
        """A playlist; a fault in its query is passed on to its segments."""
        folder = self.server.site.folder
        if name == "hls.m3u8":
            lines = ["#EXTM3U"]
            for size, (width, height) in media.SIZES.items():
                lines += [f'#EXT-X-STREAM-INF:BANDWIDTH={int(size) * 2000},RESOLUTION={width}x{height},'
                          f'FRAME-RATE=25,CODECS="avc1.42c01e,mp4a.40.2"', f"/media/hls{size}/index.m3u8"]
        elif name == "live.m3u8":
            # The window moves on with the clock, one segment a second, and starts over when all were shown.
            count = len(list((folder / "live").glob("*.ts")))
            now = int(time.monotonic() - self.server.started)
            lines = ["#EXTM3U", "#EXT-X-VERSION:3", "#EXT-X-TARGETDURATION:1", f"#EXT-X-MEDIA-SEQUENCE:{now}"]
            for number in range(now, now + LIVE_WINDOW):
                lines += (["#EXT-X-DISCONTINUITY"] if number and number % count == 0 else [])
                lines += ["#EXTINF:1.0,", f"/media/live/{number % count:03}.ts"]
        else:
            lines = (folder / name).read_text().splitlines()
        query, self.query = self.query, {}
        self.text("".join((line if line.startswith("#") else add_query(line, query)) + "\n" for line in lines))

    def log_message(self, *_):
        pass  # the log has lines of its own, written when the answer is out

    def write_log(self):
        if self.server.log:
            with self.server.lock:
                print(self.command, self.path, self.status, self.sent, f"{self.begin:.3f} {time.time():.3f}",
                      file=self.server.log, flush=True)


def main():
    parser = argparse.ArgumentParser(description="A small media site on loopback.")
    parser.add_argument("--port", type=int, default=0, help="0 takes a free one")
    parser.add_argument("--log", type=Path, help="a line for each answer: method, target, status, body bytes, begin, end")
    parser.add_argument("--tls", type=Path, help="speak https; the file holds the certificate and its key")
    parser.add_argument("--clients", type=Path, help="let in only clients with a certificate of this authority's")
    parser.add_argument("--stay", action="store_true", help="don't end when standard input closes")
    arguments = parser.parse_args()

    log = open(arguments.log, "a", encoding="utf-8") if arguments.log else None
    tls = None
    if arguments.tls:
        tls = ssl.create_default_context(ssl.Purpose.CLIENT_AUTH, cafile=arguments.clients)
        tls.load_cert_chain(arguments.tls)
        tls.verify_mode = ssl.CERT_REQUIRED if arguments.clients else ssl.CERT_NONE
    server = Server(arguments.port, media.prepare(), log, tls)
    signal.signal(signal.SIGTERM, lambda *_: os._exit(0))
    signal.signal(signal.SIGINT, lambda *_: os._exit(130))
    print(server.site.base, flush=True)
    threading.Thread(target=server.serve_forever, daemon=True).start()
    if arguments.stay:
        threading.Event().wait()
    sys.stdin.buffer.read()


if __name__ == "__main__":
    main()
