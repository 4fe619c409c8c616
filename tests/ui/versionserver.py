# An update server for the tests: HTTPS on 127.0.0.1 with a certificate of its own, serving the
# files of FOLDER, and beside it a port that takes connections and never answers and one that
# serves the same files over plain HTTP.
#   python3 versionserver.py FOLDER
# writes FOLDER/cert.pem, prints "PORT SILENTPORT HTTPPORT", and serves until its standard input
# closes (the test ends or dies). "NAME?status=302&to=http" answers 302 with NAME's content as
# its body, pointing at NAME over plain HTTP ("to=https": over HTTPS; no "to": nowhere).
import functools
import http.server
import os
import socket
import ssl
import subprocess
import sys
import threading
import urllib.parse

folder = sys.argv[1]
cert, key = os.path.join(folder, "cert.pem"), os.path.join(folder, "key.pem")
subprocess.run(["openssl", "req", "-x509", "-newkey", "ec", "-pkeyopt", "ec_paramgen_curve:prime256v1",
                "-nodes", "-days", "2", "-subj", "/CN=127.0.0.1", "-addext", "subjectAltName=IP:127.0.0.1",
                "-keyout", key, "-out", cert], check=True, capture_output=True)


class Quiet(http.server.SimpleHTTPRequestHandler):
    def log_message(self, format, *args):
        pass

    def do_GET(self):
        path, _, query = self.path.partition("?")
        asked = urllib.parse.parse_qs(query)
        if "status" not in asked:
            return super().do_GET()
        with open(os.path.join(folder, path.lstrip("/")), "rb") as file:
            body = file.read()
        self.send_response(int(asked["status"][0]))
        to = asked.get("to", [""])[0]
        if to:
            port = server.server_address[1] if to == "https" else plain.server_address[1]
            self.send_header("Location", "%s://127.0.0.1:%d%s" % (to, port, path))
        self.send_header("Content-Length", str(len(body)))
        self.end_headers()
        self.wfile.write(body)


server = http.server.ThreadingHTTPServer(("127.0.0.1", 0), functools.partial(Quiet, directory=folder))
plain = http.server.ThreadingHTTPServer(("127.0.0.1", 0), functools.partial(Quiet, directory=folder))
context = ssl.SSLContext(ssl.PROTOCOL_TLS_SERVER)
context.load_cert_chain(cert, key)
server.socket = context.wrap_socket(server.socket, server_side=True)
server.handle_error = lambda request, address: None  # a refused certificate is expected
silent = socket.create_server(("127.0.0.1", 0))
print(server.server_address[1], silent.getsockname()[1], plain.server_address[1], flush=True)
threading.Thread(target=server.serve_forever, daemon=True).start()
threading.Thread(target=plain.serve_forever, daemon=True).start()
sys.stdin.read()
