#!/usr/bin/env python3
"""A small proxy on loopback that writes down what goes through it.

    proxy.py [--login USER:PASSWORD] [--log FILE]

The first line on standard output is its address, "127.0.0.1:PORT"; it ends when standard input closes. The log has a
line for each request: HOST:PORT, the user ("-" for none) and "passed" or "refused".
"""

import argparse
import base64
import socket
import socketserver
import sys
import threading
from urllib.parse import urlsplit


def relay(one, other):
    """Carries bytes both ways until both sides have ended."""

    def carry(source, target):
        try:
            while data := source.recv(65536):
                target.sendall(data)
            target.shutdown(socket.SHUT_WR)
        except OSError:
            pass  # a side may leave at any time

    back = threading.Thread(target=carry, args=(other, one), daemon=True)
    back.start()
    carry(one, other)
    back.join()


class Handler(socketserver.StreamRequestHandler):
    rbufsize = 0  # what follows the head is the relay's

    def handle(self):
        try:
            self.answer()
        except OSError:
            pass

    def answer(self):
        method, target, version = self.rfile.readline().decode().split()
        headers = []
        while (line := self.rfile.readline()) not in (b"\r\n", b""):
            headers.append(line)
        user = password = ""
        for line in headers:
            name, _, value = line.decode().partition(":")
            if name.lower() == "proxy-authorization":
                user, _, password = base64.b64decode(value.split()[1]).decode().partition(":")
        address = urlsplit(f"//{target}" if method == "CONNECT" else target)
        port = address.port or 80
        allowed = self.server.options.login in (None, f"{user}:{password}")
        with self.server.lock:
            print(f"{address.hostname}:{port} {user or '-'} {'passed' if allowed else 'refused'}", file=self.server.log,
                  flush=True)
        if not allowed:
            self.wfile.write(b"HTTP/1.1 407 Proxy Authentication Required\r\nContent-Length: 0\r\n"
                             b'Proxy-Authenticate: Basic realm="test"\r\nConnection: close\r\n\r\n')
            return
        with socket.create_connection((address.hostname, port)) as site:
            if method == "CONNECT":
                self.wfile.write(b"HTTP/1.1 200 Connected\r\n\r\n")
            else:
                path = address.path + (f"?{address.query}" if address.query else "")
                kept = [line for line in headers if not line.lower().startswith((b"proxy-", b"connection:"))]
                site.sendall(f"{method} {path} {version}\r\n".encode() + b"".join(kept) + b"Connection: close\r\n\r\n")
            relay(self.connection, site)


class Server(socketserver.ThreadingTCPServer):
    daemon_threads = True
    allow_reuse_address = True


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("--login")
    parser.add_argument("--log", default="/dev/null")
    options = parser.parse_args()
    server = Server(("127.0.0.1", 0), Handler)
    server.options, server.lock, server.log = options, threading.Lock(), open(options.log, "a", encoding="utf-8")
    print("127.0.0.1:%d" % server.server_address[1], flush=True)
    threading.Thread(target=server.serve_forever, daemon=True).start()
    sys.stdin.buffer.read()


if __name__ == "__main__":
    main()
