"""What the virtual service got: each request, and every byte."""

import json
import threading


def value_of(body):
    """The body as JSON, or nothing."""
    try:
        return json.loads(body)
    except ValueError:
        return None


class Record:
    """Safe on any thread."""

    def __init__(self, file=None):
        self.changed = threading.Condition()
        self.requests = []
        self.bytes = bytearray()
        self.connections = 0
        # The file to which each request is written as a line of JSON, too.
        self.file = file

    def connect(self):
        with self.changed:
            self.connections += 1
            return self.connections

    def see(self, piece):
        with self.changed:
            self.bytes += piece

    def add(self, connection, method, target, headers, body):
        path, _, query = target.partition("?")
        request = {"connection": connection, "method": method, "path": path, "query": query, "headers": headers,
                   "body": body.decode("utf-8", "replace"), "json": value_of(body)}
        with self.changed:
            request["number"] = len(self.requests) + 1
            self.requests.append(request)
            if self.file:
                self.file.write(json.dumps(request, ensure_ascii=False) + "\n")
                self.file.flush()
            self.changed.notify_all()

    def of(self, path=None):
        with self.changed:
            return [request for request in self.requests if path in (None, request["path"])]

    def wait(self, path, count, seconds):
        """True as soon as so many requests of the path have come."""
        with self.changed:
            return self.changed.wait_for(
                lambda: sum(request["path"] == path for request in self.requests) >= count, seconds)

    def holds(self, text):
        """Whether the text was among the bytes, in UTF-8."""
        with self.changed:
            return text.encode() in self.bytes

    def clear(self):
        with self.changed:
            self.requests.clear()
            self.bytes.clear()
