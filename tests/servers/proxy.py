#!/usr/bin/env python3
"""A small proxy on loopback that writes down what goes through it.

    proxy.py http|socks5 [--login USER:PASSWORD] [--log FILE]

The first line on standard output is its address, "127.0.0.1:PORT"; it ends when standard input closes. The log has a
line for each request: HOST:PORT, the user ("-" for none) and "passed" or "refused".
"""

import argparse
import base64
import socket
import socketserver
import struct
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

    def allow(self, host, port, user, password):
        login = self.server.options.login
        allowed = login is None or f"{user}:{password}" == login
        with self.server.lock:
            print(f"{host}:{port} {user or '-'} {'passed' if allowed else 'refused'}", file=self.server.log, flush=True)
        return allowed

    def handle(self):
        try:
            (self.socks5 if self.server.options.kind == "socks5" else self.http)()
        except OSError:
            pass

    def http(self):
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
        if not self.allow(address.hostname, port, user, password):
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

    def take(self, count):
        data = b""
        while len(data) < count:
            part = self.connection.recv(count - len(data))
            if not part:
                raise OSError("the client has left")
            data += part
        return data

    def socks5(self):
        methods = self.take(self.take(2)[1])
        user = password = ""
        if 2 in methods:  # a login by name and password
            self.wfile.write(b"\x05\x02")
            user = self.take(self.take(2)[1]).decode()
            password = self.take(self.take(1)[0]).decode()
        elif self.server.options.login is None:
            self.wfile.write(b"\x05\x00")
        else:
            self.allow("-", 0, "", "")
            self.wfile.write(b"\x05\xff")
            return
        if 2 in methods:
            allowed = self.server.options.login in (None, f"{user}:{password}")
            self.wfile.write(b"\x01\x00" if allowed else b"\x01\x01")
            if not allowed:
                self.allow("-", 0, user, password)
                return
        kind = self.take(4)[3]
        if kind == 1:
            host = socket.inet_ntoa(self.take(4))
        else:
            host = self.take(self.take(1)[0]).decode()
        port, = struct.unpack(">H", self.take(2))
        self.allow(host, port, user, password)
        with socket.create_connection((host, port)) as site:
            self.wfile.write(b"\x05\x00\x00\x01" + bytes(6))
            relay(self.connection, site)


class Server(socketserver.ThreadingTCPServer):
    daemon_threads = True
    allow_reuse_address = True


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("kind", choices=("http", "socks5"))
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
