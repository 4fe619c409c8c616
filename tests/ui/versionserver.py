# An update server for the tests: HTTPS on 127.0.0.1 with a certificate of its own, serving the
# files of FOLDER, and beside it a port that takes connections and never answers.
#   python3 versionserver.py FOLDER
# writes FOLDER/cert.pem, prints "PORT SILENTPORT", and serves until its standard input closes
# (the test ends or dies).
import functools
import http.server
import os
import socket
import ssl
import subprocess
import sys
import threading

folder = sys.argv[1]
cert, key = os.path.join(folder, "cert.pem"), os.path.join(folder, "key.pem")
subprocess.run(["openssl", "req", "-x509", "-newkey", "ec", "-pkeyopt", "ec_paramgen_curve:prime256v1",
                "-nodes", "-days", "2", "-subj", "/CN=127.0.0.1", "-addext", "subjectAltName=IP:127.0.0.1",
                "-keyout", key, "-out", cert], check=True, capture_output=True)


class Quiet(http.server.SimpleHTTPRequestHandler):
    def log_message(self, format, *args):
        pass


server = http.server.ThreadingHTTPServer(("127.0.0.1", 0), functools.partial(Quiet, directory=folder))
context = ssl.SSLContext(ssl.PROTOCOL_TLS_SERVER)
context.load_cert_chain(cert, key)
server.socket = context.wrap_socket(server.socket, server_side=True)
server.handle_error = lambda request, address: None  # a refused certificate is expected
silent = socket.create_server(("127.0.0.1", 0))
print(server.server_address[1], silent.getsockname()[1], flush=True)
threading.Thread(target=server.serve_forever, daemon=True).start()
sys.stdin.read()
