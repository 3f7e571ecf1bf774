#!/usr/bin/env python3
"""A hostile HTTPS server on the loopback for the online library's fault tests.

Usage: hostile_server.py CERT KEY BEHAVIOUR

Every path gets the same behaviour, except that ".map" files inside a manifest of many entries
are served as real palettes:
  declared   200 that announces a 2 GiB body and streams it
  undeclared 200 without a length that streams 2 GiB, then closes
  drip       200 of 1000 bytes sent one byte a second
  loop       302 back to the same path, forever
  many       a manifest of 10,000 palettes in 100 collections
Prints the port on the first line of standard output, then serves until killed. Bytes streamed
are generated as they go; nothing is kept.
"""
import http.server
import json
import socketserver
import ssl
import sys
import time

TWO_GIB = 2 << 30
CHUNK = b"7" * (64 << 10)


def many_manifest():
    collections = []
    for c in range(100):
        entries = [{"name": "Palette %d-%d" % (c, e), "file": "p%d.map" % e,
                    "swatch": ["#%06x" % ((c * 100 + e) * 2654435 & 0xFFFFFF), "ff8000"]}
                   for e in range(100)]
        collections.append({"id": "c%d" % c, "title": "Collection %d" % c, "path": "c%d" % c,
                            "credit": "by %d" % c, "palettes": entries})
    return json.dumps({"manifestVersion": 1, "collections": collections}).encode()


class Handler(http.server.BaseHTTPRequestHandler):
    protocol_version = "HTTP/1.1"

    def log_message(self, *args):
        pass

    def stream(self, total):
        sent = 0
        while sent < total:
            self.wfile.write(CHUNK)
            sent += len(CHUNK)

    def do_GET(self):
        behaviour = self.server.behaviour
        try:
            if behaviour == "declared":
                self.send_response(200)
                self.send_header("Content-Length", str(TWO_GIB))
                self.end_headers()
                self.stream(TWO_GIB)
            elif behaviour == "undeclared":
                self.send_response(200)
                self.send_header("Connection", "close")
                self.end_headers()
                self.stream(TWO_GIB)
                self.close_connection = True
            elif behaviour == "drip":
                self.send_response(200)
                self.send_header("Content-Length", "1000")
                self.end_headers()
                for _ in range(1000):
                    self.wfile.write(b"9")
                    self.wfile.flush()
                    time.sleep(1)
            elif behaviour == "loop":
                self.send_response(302)
                self.send_header("Location", self.path)
                self.send_header("Content-Length", "0")
                self.end_headers()
            elif behaviour == "many":
                body = self.server.manifest if self.path.endswith("manifest.json") \
                    else b"9 9 9\n" * 256
                self.send_response(200)
                self.send_header("Content-Length", str(len(body)))
                self.end_headers()
                self.wfile.write(body)
        except (BrokenPipeError, ConnectionResetError, ssl.SSLError, OSError):
            self.close_connection = True


class Server(socketserver.ThreadingMixIn, http.server.HTTPServer):
    daemon_threads = True


def main():
    cert, key, behaviour = sys.argv[1:4]
    server = Server(("127.0.0.1", 0), Handler)
    server.behaviour = behaviour
    server.manifest = many_manifest()
    context = ssl.SSLContext(ssl.PROTOCOL_TLS_SERVER)
    context.load_cert_chain(cert, key)
    server.socket = context.wrap_socket(server.socket, server_side=True)
    print(server.server_address[1], flush=True)
    server.serve_forever()


if __name__ == "__main__":
    main()
