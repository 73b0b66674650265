#!/usr/bin/env python3
"""A small media site on loopback, for tests and demonstrations with the real tool.

    site.py [--port 0] [--media DIR] [--log FILE] [--tls PEM [--clients PEM]] [--stay]

The first line on standard output is the site's address. The site ends on TERM, or when
standard input closes, so that it never outlives the test that started it; --stay leaves
that out. README.md lists the pages and the faults that a query asks for.
"""

import argparse
import base64
import html
import json
import mimetypes
import os
import signal
import socketserver
import ssl
import sys
import threading
import time
from http.cookies import SimpleCookie
from http.server import BaseHTTPRequestHandler, ThreadingHTTPServer
from pathlib import Path
from urllib.parse import parse_qsl, unquote, urlencode, urlsplit

import media
import pages

TYPES = {".m3u8": "application/vnd.apple.mpegurl", ".mpd": "application/dash+xml", ".ts": "video/mp2t", ".m4a": "audio/mp4",
         ".m4s": "video/iso.segment", ".webp": "image/webp", ".vtt": "text/vtt", ".srt": "application/x-subrip"}
CHUNK = 16 * 1024
LIVE_WINDOW = 6  # segments in a live playlist at any time
# A watch page's query reaches its media with these prefixes: ?media.cut=1000 cuts each format.
PASSED_ON = {"media.": ("formats", "manifests"), "thumbnail.": ("thumbnails",), "caption.": ("automatic_captions",)}


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
        self.failures = {}  # target -> how often it has failed on purpose

    def server_bind(self):
        socketserver.TCPServer.server_bind(self)  # the base class asks the name service here

    def handle_error(self, request, client_address):
        if not isinstance(sys.exc_info()[1], OSError):  # clients may leave at any time, or refuse the certificate
            super().handle_error(request, client_address)

    def fails_again(self, target, times):
        with self.lock:
            self.failures[target] = self.failures.get(target, 0) + 1
            return self.failures[target] <= times


def add_query(url, query):
    return f"{url}{'&' if '?' in url else '?'}{urlencode(query)}" if query else url


def add_query_everywhere(node, query):
    """Adds the query to each "url" inside a part of a description."""
    if isinstance(node, dict):
        for key, value in node.items():
            if key == "url":
                node[key] = add_query(value, query)
            else:
                add_query_everywhere(value, query)
    elif isinstance(node, list):
        for value in node:
            add_query_everywhere(value, query)


class Handler(BaseHTTPRequestHandler):
    protocol_version = "HTTP/1.1"
    disable_nagle_algorithm = True  # head and body are two writes

    def do_GET(self):
        self.sent, self.status, self.begin = 0, "-", time.time()
        address = urlsplit(self.path)
        self.query = dict(parse_qsl(address.query, keep_blank_values=True))
        try:
            if not self.refuse() and not self.fault():
                self.answer(unquote(address.path).strip("/"))
        except ConnectionError:
            self.close_connection = True
        finally:
            self.write_log()

    do_HEAD = do_GET

    # --- who may come in ---

    def refuse(self):
        """Turns away who lacks the login or the cookie that the query asks for; true when it did."""
        login, (name, _, value) = self.query.get("login"), self.query.get("cookie", "").partition("=")
        if login and self.headers.get("Authorization") != f"Basic {base64.b64encode(login.encode()).decode()}":
            self.text("a login is needed\n", status=401)
        elif name and getattr(SimpleCookie(self.headers.get("Cookie", "")).get(name), "value", None) != value:
            self.text("a cookie is needed\n", status=403)
        else:
            return False
        return True

    # --- faults ---

    def fault(self):
        """Does what the query asks for before an answer; true when that was the answer."""
        query = self.query
        if "stall" in query and "after" not in query:
            time.sleep(float(query["stall"]))
        hops = int(query.get("redirect", 0))
        if hops > 0:
            rest = {**query, "redirect": hops - 1}
            if hops == 1:
                del rest["redirect"]
            self.head(302, 0, "text/plain", {"Location": add_query(urlsplit(self.path).path, rest)})
        elif "fail" in query and self.server.fails_again(self.path, int(query["fail"])):
            self.text("failing as asked\n", status=503)
        elif "status" in query:
            self.text(f"status {query['status']} as asked\n", status=int(query["status"]))
        else:
            return False
        return True

    def write_body(self, chunks):
        """Sends a body with the throttle, the cut and the pause that the query asks for."""
        rate = float(self.query.get("rate", 0))
        cut = int(self.query.get("cut", -1))
        pause_at = int(self.query["after"]) if "stall" in self.query and "after" in self.query else -1
        step = max(1, min(CHUNK, int(rate / 10))) if rate else CHUNK
        begin = time.monotonic()
        for chunk in chunks:
            for offset in range(0, len(chunk), step):
                part = chunk[offset:offset + step]
                if 0 <= pause_at <= self.sent:
                    time.sleep(float(self.query["stall"]))
                    pause_at = -1
                if 0 <= cut < self.sent + len(part):
                    self.wfile.write(part[:cut - self.sent])
                    self.sent = cut
                    self.close_connection = True
                    return
                self.wfile.write(part)
                self.sent += len(part)
                if rate:
                    time.sleep(max(0.0, begin + self.sent / rate - time.monotonic()))

    # --- answers ---

    def head(self, status, length, content_type, extra=None):
        self.status = status
        self.send_response(status)
        self.send_header("Content-Type", content_type)
        self.send_header("Content-Length", str(length))
        if "set" in self.query:
            self.send_header("Set-Cookie", f"{self.query['set']}; Path=/; Max-Age=86400")
        for name, value in (extra or {}).items():
            self.send_header(name, value)
        self.end_headers()

    def text(self, text, content_type="text/plain; charset=utf-8", status=200):
        data = text.encode()
        self.head(status, len(data), content_type)
        if self.command != "HEAD":
            self.write_body([data])

    def describe(self, description):
        """A page's or a list's description; ?title=TEXT gives it another title."""
        if description is None:
            return self.text("no such page\n", status=404)
        if "title" in self.query:
            description["title"] = self.query["title"]
        for prefix, parts in PASSED_ON.items():
            passed = {key[len(prefix):]: value for key, value in self.query.items() if key.startswith(prefix)}
            for part in parts if passed else ():
                add_query_everywhere(description.get(part), passed)
        return self.text(json.dumps(description), "application/json")

    def answer(self, path):
        site, (room, _, name) = self.server.site, path.partition("/")
        if path == "":
            self.text(index_page(site), "text/html; charset=utf-8")
        elif path.startswith("api/watch/"):
            self.describe(pages.watch(site, path[len("api/watch/"):].removesuffix(".json")))
        elif path.startswith("api/list/"):
            self.describe(pages.playlist(site, path[len("api/list/"):].removesuffix(".json")))
        elif room in ("watch", "list"):
            self.text(f"<html><head><title>{html.escape(name)}</title></head><body><h1>{html.escape(name)}</h1>"
                      f'<a href="/api/{room}/{html.escape(name)}.json">what it offers</a></body></html>\n', "text/html; charset=utf-8")
        elif room == "caption":
            self.caption(name)
        elif room == "media" and name.endswith(".m3u8"):
            self.m3u8(name)
        elif room in ("media", "direct"):
            self.file(name)
        else:
            self.text("nothing here\n", status=404)

    def caption(self, name):
        language, _, extension = name.partition(".")
        text = pages.caption(language, extension)
        if text is None:
            self.text("no such caption\n", status=404)
        elif isinstance(text, str):
            self.text(text, TYPES[f".{extension}"] + "; charset=utf-8")
        else:
            self.text(json.dumps(text), "application/json")

    def m3u8(self, name):
        """A playlist; a fault in its query is passed on to its segments."""
        folder = self.server.site.folder
        if name == "hls.m3u8":
            lines = ["#EXTM3U"]
            for size, (width, height) in media.SIZES.items():
                lines.append(f'#EXT-X-STREAM-INF:BANDWIDTH={int(size) * 2000},RESOLUTION={width}x{height},'
                             f'FRAME-RATE=25,CODECS="avc1.42c01e,mp4a.40.2"')
                lines.append(f"/media/hls{size}/index.m3u8")
        elif name == "live.m3u8":
            # The window moves on with the clock, one segment a second, and starts over when all were shown.
            count = len(list((folder / "live").glob("*.ts")))
            now = int(time.monotonic() - self.server.started)
            lines = ["#EXTM3U", "#EXT-X-VERSION:3", "#EXT-X-TARGETDURATION:1", f"#EXT-X-MEDIA-SEQUENCE:{now}"]
            for number in range(now, now + LIVE_WINDOW):
                lines += (["#EXT-X-DISCONTINUITY"] if number and number % count == 0 else [])
                lines += ["#EXTINF:1.0,", f"/media/live/{number % count:03}.ts"]
        elif (folder / name).is_file():
            lines = (folder / name).read_text().splitlines()
        else:
            return self.text("no such playlist\n", status=404)
        query = {key: value for key, value in self.query.items() if key != "after"}
        self.query = {}
        lines = [add_query(line, query) if line and not line.startswith("#") else line for line in lines]
        return self.text("\n".join(lines) + "\n", TYPES[".m3u8"])

    def file(self, name):
        """A media file, whole or the range asked for."""
        folder = self.server.site.folder.resolve()
        path = (folder / name).resolve()
        if not path.is_file() or not path.is_relative_to(folder):
            return self.text("no such file\n", status=404)
        size = path.stat().st_size
        span = self.range(size)
        if span is None:
            return self.head(416, 0, "text/plain", {"Content-Range": f"bytes */{size}"})
        begin, end, partial = span
        extra = {"Accept-Ranges": "bytes"} | ({"Content-Range": f"bytes {begin}-{end - 1}/{size}"} if partial else {})
        content_type = TYPES.get(path.suffix) or mimetypes.guess_type(path.name)[0] or "application/octet-stream"
        self.head(206 if partial else 200, end - begin, content_type, extra)
        if self.command != "HEAD":
            self.write_body(file_chunks(path, begin, end))

    def range(self, size):
        """(begin, end, asked for) of the Range header; None when it lies outside of the file."""
        unit, _, spec = self.headers.get("Range", "").partition("=")
        first, dash, last = spec.partition("-")
        if unit != "bytes" or not dash or not (first + last).isdigit():
            return 0, size, False
        if not first:
            return max(0, size - int(last)), size, True
        begin, end = int(first), min(size, int(last) + 1) if last else size
        return (begin, end, True) if begin < end else None

    # --- the log ---

    def log_message(self, *_):
        pass  # the log has lines of its own, written when the answer is out

    def write_log(self):
        if self.server.log:
            with self.server.lock:
                wanted = self.headers.get("Range", "-")
                self.server.log.write(f"{self.command} {self.path} {self.status} {self.sent} {wanted} "
                                      f"{self.begin:.3f} {time.time():.3f}\n")
                self.server.log.flush()


def file_chunks(path, begin, end):
    with open(path, "rb") as file:
        file.seek(begin)
        while begin < end:
            chunk = file.read(min(1 << 20, end - begin))
            if not chunk:
                return
            begin += len(chunk)
            yield chunk


def index_page(site):
    def section(title, paths):
        links = "".join(f'<li><a href="/{html.escape(path)}">{html.escape(site.url(path))}</a></li>' for path in paths)
        return f"<h2>{title}</h2><ul>{links}</ul>"

    files = sorted(path.name for path in site.folder.iterdir() if path.is_file())
    return ("<html><head><title>Media site</title></head><body><h1>Media site</h1>"
            + section("Pages", [f"watch/{name}" for name in (*pages.WATCH, pages.MISSING_PAGE)])
            + section("Lists", [f"list/{name}" for name in pages.LISTS])
            + section("Plain files", [f"direct/{name}" for name in files]) + "</body></html>\n")


def main():
    parser = argparse.ArgumentParser(description="A small media site on loopback.")
    parser.add_argument("--port", type=int, default=0, help="0 takes a free one")
    parser.add_argument("--media", type=Path, help="the folder of the media cache")
    parser.add_argument("--log", type=Path, help="a line for each answer: method, target, status, body bytes, range, begin, end")
    parser.add_argument("--tls", type=Path, help="speak https; the file holds the certificate and its key")
    parser.add_argument("--clients", type=Path, help="let in only clients with a certificate of this authority's")
    parser.add_argument("--stay", action="store_true", help="don't end when standard input closes")
    arguments = parser.parse_args()

    folder = media.prepare(arguments.media)
    log = open(arguments.log, "a", encoding="utf-8") if arguments.log else None
    tls = None
    if arguments.tls:
        tls = ssl.create_default_context(ssl.Purpose.CLIENT_AUTH, cafile=arguments.clients)
        tls.load_cert_chain(arguments.tls)
        tls.verify_mode = ssl.CERT_REQUIRED if arguments.clients else ssl.CERT_NONE
    server = Server(arguments.port, folder, log, tls)
    signal.signal(signal.SIGTERM, lambda *_: os._exit(0))
    signal.signal(signal.SIGINT, lambda *_: os._exit(130))
    print(server.site.base, flush=True)
    threading.Thread(target=server.serve_forever, daemon=True).start()
    if arguments.stay:
        threading.Event().wait()
    while sys.stdin.buffer.read(CHUNK):
        pass


if __name__ == "__main__":
    main()
