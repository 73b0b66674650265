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

HOSTS = ("api.github.com", "github.com")
RELEASES = "/yt-dlp/yt-dlp/releases/"


def make_certificates(folder):
    """The CA in ca.pem; the host's key and certificate in host.pem."""

    def openssl(*arguments):
        subprocess.run(("openssl", *arguments), cwd=folder, check=True, capture_output=True)

    key = ("-newkey", "ec", "-pkeyopt", "ec_paramgen_curve:prime256v1", "-nodes", "-keyout", "host.key")
    openssl("req", "-x509", *key, "-out", "ca.pem", "-subj", "/CN=The tests' own", "-days", "2")
    os.rename(f"{folder}/host.key", f"{folder}/ca.key")
    names = ",".join(["IP:127.0.0.1", *(f"DNS:{host}" for host in HOSTS)])
    with open(f"{folder}/names", "w") as file:
        file.write(f"subjectAltName={names}")
    openssl("req", *key, "-out", "host.csr", "-subj", "/CN=127.0.0.1")
    openssl("x509", "-req", "-in", "host.csr", "-CA", "ca.pem", "-CAkey", "ca.key", "-CAcreateserial",
            "-days", "2", "-extfile", "names", "-out", "host.pem")


class Host(http.server.BaseHTTPRequestHandler):
    def do_GET(self):
        with open(f"{folder}/log", "a") as log:
            log.write(self.path + "\n")
        name = self.path.rpartition("/")[2]
        if self.path == "/repos/yt-dlp/yt-dlp/releases/latest":
            self.send_file("latest.json")
        elif self.path.startswith((RELEASES + "latest/download/", RELEASES + "download/")):
            self.send_response(302)
            self.send_header("Location", "/objects/" + name)
            self.send_header("Content-Length", "0")
            self.end_headers()
        else:
            self.send_file("files/" + name)

    def send_file(self, name):
        try:
            with open(f"{folder}/{name}", "rb") as file:
                body = file.read()
        except OSError:
            self.send_error(404)
            return
        self.send_response(200)
        self.send_header("Content-Length", str(len(body)))
        self.end_headers()
        self.wfile.write(body)

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
            answers = threading.Thread(target=self.pass_on, args=(host, self.connection))
            answers.start()
            self.pass_on(self.connection, host)
            answers.join()

    @staticmethod
    def pass_on(source, target):
        try:
            while data := source.recv(1 << 16):
                target.sendall(data)
            target.shutdown(socket.SHUT_WR)
        except OSError:
            pass


class TlsServer(http.server.ThreadingHTTPServer):
    def finish_request(self, request, client_address):
        # On the connection's own thread: a handshake that fails is that client's affair.
        try:
            with context.wrap_socket(request, server_side=True) as connection:
                super().finish_request(connection, client_address)
        except OSError:
            pass


class ProxyServer(socketserver.ThreadingTCPServer):
    daemon_threads = True


folder = sys.argv[1]
make_certificates(folder)
context = ssl.SSLContext(ssl.PROTOCOL_TLS_SERVER)
context.load_cert_chain(f"{folder}/host.pem", f"{folder}/host.key")
host_server = TlsServer(("127.0.0.1", 0), Host)
proxy_server = ProxyServer(("127.0.0.1", 0), Proxy)
for server in (host_server, proxy_server):
    threading.Thread(target=server.serve_forever, daemon=True).start()
print(f"https://127.0.0.1:{host_server.server_address[1]}")
print(f"http://127.0.0.1:{proxy_server.server_address[1]}", flush=True)
sys.stdin.read()
