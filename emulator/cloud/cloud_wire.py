"""One connection of the virtual service: reads requests byte by byte as they are, and writes what is to be sent."""

import json
import socket
import struct

LONGEST_HEAD = 1 << 20
READ_BYTES = 1 << 16


class Gone(Exception):
    """The other side has ended the connection."""


class Wire:
    """A socket whose bytes are recorded as they come: `seen` is called with each piece."""

    def __init__(self, link, seen):
        self.link = link
        self.seen = seen
        self.pending = b""

    def _more(self):
        try:
            piece = self.link.recv(READ_BYTES)
        except OSError as problem:
            raise Gone(str(problem)) from problem
        if not piece:
            raise Gone("closed")
        self.seen(piece)
        self.pending += piece

    def _until(self, mark):
        while mark not in self.pending:
            if len(self.pending) > LONGEST_HEAD:
                raise Gone("too long a head")
            self._more()
        part, self.pending = self.pending.split(mark, 1)
        return part

    def _exactly(self, count):
        while len(self.pending) < count:
            self._more()
        part, self.pending = self.pending[:count], self.pending[count:]
        return part

    def _chunks(self):
        body = b""
        while True:
            count = int(self._until(b"\r\n").split(b";")[0], 16)
            body += self._exactly(count)
            self._exactly(2)
            if count == 0:
                return body

    def request(self):
        """The next request: method, target, headers (names in lower case) and body."""
        lines = self._until(b"\r\n\r\n").decode("latin-1").split("\r\n")
        words = lines[0].split(" ")
        if len(words) != 3:
            raise Gone("no request line")
        headers = {}
        for line in lines[1:]:
            name, _, value = line.partition(":")
            headers[name.strip().lower()] = value.strip()
        if headers.get("transfer-encoding", "").lower() == "chunked":
            body = self._chunks()
        else:
            length = headers.get("content-length", "0")
            if not length.isdigit():
                raise Gone("no length")
            body = self._exactly(int(length))
        return words[0], words[1], headers, body

    def send(self, data):
        try:
            self.link.sendall(data)
        except OSError as problem:
            raise Gone(str(problem)) from problem

    def reset(self):
        """Ends the connection without a farewell."""
        self.link.setsockopt(socket.SOL_SOCKET, socket.SO_LINGER, struct.pack("ii", 1, 0))
        self.link.close()

    def is_left(self):
        """Whether the other side has gone; waits for nothing."""
        try:
            self.link.setblocking(False)
            return self.link.recv(1, socket.MSG_PEEK) == b""
        except (BlockingIOError, ValueError):
            return False
        except OSError:
            return True
        finally:
            try:
                self.link.setblocking(True)
            except OSError:
                pass


def answer(body, status="200 OK", headers=()):
    """A whole answer. `body` is bytes, or what becomes JSON."""
    if not isinstance(body, bytes):
        body = json.dumps(body, ensure_ascii=False).encode()
    head = [f"HTTP/1.1 {status}", "Content-Type: application/json", f"Content-Length: {len(body)}", *headers]
    return ("\r\n".join(head) + "\r\n\r\n").encode() + body
