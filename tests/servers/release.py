#!/usr/bin/env python3
"""A release host on loopback over TLS, with a certificate of its own CA, and the only way to it.

    release.py FOLDER

Serves FOLDER as the release hosts do: `latest.json` as the description of the latest release, and what is in
`files` as the files of any release, behind a redirect. Writes the CA's certificate to FOLDER/ca.pem and each
request's address to FOLDER/log. Prints its address and that of a proxy, which leads to it for the names of the
release hosts and to nowhere else. Ends when standard input does.
"""

import http.server
import os
import socket
import socketserver
import ssl
import subprocess
import sys
import threading

from proxy import relay

HOSTS = ("api.github.com", "github.com")
RELEASES = "/yt-dlp/yt-dlp/releases/"
folder = sys.argv[1]


def openssl(*arguments):
    subprocess.run(("openssl", *arguments), cwd=folder, check=True, capture_output=True)


def make_certificates():
    """The CA in ca.pem; the host's key and certificate in host.key and host.pem."""
    key = ("-newkey", "ec", "-pkeyopt", "ec_paramgen_curve:prime256v1", "-nodes", "-days", "2")
    names = ",".join(["IP:127.0.0.1", *(f"DNS:{host}" for host in HOSTS)])
    openssl("req", "-x509", *key, "-keyout", "ca.key", "-out", "ca.pem", "-subj", "/CN=The tests' own")
    openssl("req", "-x509", *key, "-keyout", "host.key", "-out", "host.pem", "-subj", "/CN=127.0.0.1", "-CA", "ca.pem",
            "-CAkey", "ca.key", "-addext", f"subjectAltName={names}", "-addext", "basicConstraints=critical,CA:false")


class Host(http.server.SimpleHTTPRequestHandler):
    def do_GET(self):
        with open(f"{folder}/log", "a") as log:
            log.write(self.path + "\n")
        if self.path.startswith((RELEASES + "latest/download/", RELEASES + "download/")):
            self.send_response(302)
            self.send_header("Location", "/objects/" + os.path.basename(self.path))
            self.send_header("Content-Length", "0")
            self.end_headers()
        else:
            super().do_GET()

    def translate_path(self, path):
        asked = "latest.json" if path == "/repos" + RELEASES + "latest" else f"files/{os.path.basename(path)}"
        return f"{folder}/{asked}"

    def log_message(self, *_):
        pass


class Proxy(socketserver.StreamRequestHandler):
    def handle(self):
        target = self.rfile.readline().split()[1].decode()
        while self.rfile.readline().strip():
            pass
        if target not in [host + ":443" for host in HOSTS]:
            self.wfile.write(b"HTTP/1.1 403 Forbidden\r\n\r\n")
            return
        with socket.create_connection(host_server.server_address) as host:
            self.wfile.write(b"HTTP/1.1 200 OK\r\n\r\n")
            relay(self.connection, host)


make_certificates()
context = ssl.SSLContext(ssl.PROTOCOL_TLS_SERVER)
context.load_cert_chain(f"{folder}/host.pem", f"{folder}/host.key")
host_server = http.server.ThreadingHTTPServer(("127.0.0.1", 0), Host)
# A handshake that fails is an OSError of accept, which the server passes over.
host_server.socket = context.wrap_socket(host_server.socket, server_side=True)
proxy_server = socketserver.ThreadingTCPServer(("127.0.0.1", 0), Proxy)
proxy_server.daemon_threads = True
for server in (host_server, proxy_server):
    threading.Thread(target=server.serve_forever, daemon=True).start()
print(f"https://127.0.0.1:{host_server.server_address[1]}")
print(f"http://127.0.0.1:{proxy_server.server_address[1]}", flush=True)
sys.stdin.read()
