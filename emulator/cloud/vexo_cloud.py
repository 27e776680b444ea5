#!/usr/bin/env python3
"""A cloud service for the program, on loopback: it answers as it is told and records all that it got.

    vexo_cloud.py [--port N] [--record FILE] [--certificate FILE --key FILE] [--demo]

Listens on 127.0.0.1, on any free port or on N, and prints {"ready": true, "port": N}. It is reached by its own address,
or as the HTTP proxy of the program: then every request of any host comes here and is recorded. With a certificate and
its key (PEM) it speaks TLS behind CONNECT, and to whoever begins with TLS. --record appends each request to a file.
--demo offers a newer program and firmware, each with a file of some megabytes, which arrive slowly enough to be seen.

Commands come as lines of the standard input; each is answered by a line of JSON. The service ends with the input.
docs/emulator.md has the commands.
"""

import argparse
import hashlib
import json
import socket
import ssl
import sys
import threading
import urllib.parse

from cloud_answers import Answers
from cloud_record import Record
from cloud_wire import Gone, Wire

FIRST_BYTE_OF_TLS = b"\x16"
LOOK_SECONDS = 0.05


class Service:
    """The listening socket, and a thread for each connection."""

    def __init__(self, port, record, context):
        self.answers = Answers()
        self.record = record
        self.context = context
        self.ended = threading.Event()
        # Connections that are accepted and left alone, before anything is read.
        self.is_deaf = False
        self.listener = socket.create_server(("127.0.0.1", port), backlog=128)
        self.port = self.listener.getsockname()[1]
        threading.Thread(target=self._accept, daemon=True).start()

    def end(self):
        self.ended.set()
        self.listener.close()

    def _accept(self):
        while True:
            try:
                link, _ = self.listener.accept()
            except OSError:
                return
            threading.Thread(target=self._serve, args=(link,), daemon=True).start()

    def pause(self, seconds):
        """Sleeps, and raises Gone where the service ends meanwhile."""
        if self.ended.wait(seconds):
            raise Gone("the end")

    def _serve(self, link):
        number = self.record.connect()
        try:
            while self.is_deaf:
                self.pause(LOOK_SECONDS)
            if link.recv(1, socket.MSG_PEEK) == FIRST_BYTE_OF_TLS:
                link = self._secure(link)
            self._converse(number, link)
        except (Gone, OSError, ValueError):
            pass
        finally:
            try:
                # What has been written arrives, even where bytes are left unread.
                link.shutdown(socket.SHUT_WR)
            except OSError:
                pass
            link.close()

    def _secure(self, link):
        if self.context is None:
            raise Gone("no certificate")
        return self.context.wrap_socket(link, server_side=True)

    def _converse(self, number, link):
        wire = Wire(link, self.record.see)
        while True:
            method, target, headers, body = wire.request()
            if method == "CONNECT":
                wire.send(b"HTTP/1.1 200 Connection established\r\n\r\n")
                if link.recv(1, socket.MSG_PEEK) == FIRST_BYTE_OF_TLS:
                    link = self._secure(link)
                wire = Wire(link, self.record.see)
                continue
            if "://" in target:
                parts = urllib.parse.urlsplit(target)
                target = (parts.path or "/") + ("?" + parts.query if parts.query else "")
            self.record.add(number, method, target, headers, body)
            if not self.answers.play(wire, method, target.partition("?")[0], self.pause):
                return


class Commands:
    """What the lines of the standard input do. Each function gets the words behind its name and returns the answer."""

    def __init__(self, service):
        self.service = service

    def run(self, line):
        words = line.split()
        function = getattr(self, "do_" + words[0], None) if words else None
        if function is None:
            return {"ok": False, "error": "no such command"}
        try:
            return {"ok": True, **(function(*words[1:]) or {})}
        except (TypeError, ValueError, OSError) as problem:
            return {"ok": False, "error": str(problem)}

    def do_script(self, path, *words):
        self.service.answers.script(path, list(words) or ["ok"])

    def do_reply(self, path, *words):
        self.service.answers.reply(path, json.loads(" ".join(words)))

    def do_file(self, name, count, seed="1"):
        content = self.service.answers.file(name, int(count), int(seed))
        return {"path": "/files/" + name, "sha256": hashlib.sha256(content).hexdigest()}

    def do_offer(self, what, url="", version=""):
        if what not in ("app", "firmware"):
            raise ValueError("offer app or firmware")
        self.service.answers.offer(what, url, version)

    def do_requests(self, path=None):
        return {"requests": self.service.record.of(path)}

    def do_wait(self, path, count, seconds="10"):
        return {"came": self.service.record.wait(path, int(count), float(seconds))}

    def do_holds(self, *words):
        return {"holds": self.service.record.holds(" ".join(words))}

    def do_bytes(self, file=None):
        with self.service.record.changed:
            content = bytes(self.service.record.bytes)
        if file:
            with open(file, "wb") as output:
                output.write(content)
        return {"bytes": len(content), "connections": self.service.record.connections}

    def do_deaf(self, word):
        self.service.is_deaf = word == "on"

    def do_clear(self):
        self.service.answers.clear()
        self.service.record.clear()


def demonstrate(service):
    """An offer of each kind, with a file that arrives in some seconds."""
    for what, name, megabytes in (("app", "VexoDeck-9.9.9.bin", 20), ("firmware", "firmware-9.99.bin", 4)):
        service.answers.file(name, megabytes << 20, 1)
        service.answers.script("/files/" + name, ["drip", str(1 << 17), "60"])
        service.answers.offer(what, "/files/" + name, "V9.99")


def context_of(certificate, key):
    if certificate is None:
        return None
    context = ssl.SSLContext(ssl.PROTOCOL_TLS_SERVER)
    context.load_cert_chain(certificate, key)
    return context


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("--port", type=int, default=0)
    parser.add_argument("--record")
    parser.add_argument("--certificate")
    parser.add_argument("--key")
    parser.add_argument("--demo", action="store_true")
    options = parser.parse_args()
    file = open(options.record, "a", encoding="utf-8") if options.record else None
    service = Service(options.port, Record(file), context_of(options.certificate, options.key))
    if options.demo:
        demonstrate(service)
    print(json.dumps({"ready": True, "port": service.port}), flush=True)
    commands = Commands(service)
    for line in sys.stdin:
        if line.strip() == "end":
            break
        print(json.dumps(commands.run(line), ensure_ascii=False), flush=True)
    service.end()


if __name__ == "__main__":
    main()
