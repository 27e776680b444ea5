"""What the virtual service answers: as a good service does, or as a script says."""

import itertools
import random
import threading

from cloud_wire import answer

CODE_0 = {"code": 0, "data": None}
CHUNK_BYTES = 1 << 16
# A pause in which a connection is looked at: whether the service ends, or the client has gone.
LOOK_SECONDS = 0.05


class Script:
    """One way to answer, from the words of a command. Raises ValueError where they make no sense."""

    def __init__(self, words):
        self.kind = words[0]
        self.words = words[1:]
        if self.kind not in WAYS:
            raise ValueError(f"no such script: {self.kind}")
        count = WAYS[self.kind][1]
        if len(self.words) != count:
            raise ValueError(f"{self.kind} wants {count} words")
        self.numbers = [int(word) for word in self.words if word.isdigit()]

    def play(self, wire, good, pause):
        """Sends it. `good` is the answer of a good service, `pause` sleeps and raises Gone where the service ends.
        Returns whether the connection goes on."""
        return WAYS[self.kind][0](self, wire, good, pause)


def _whole(make):
    """A way that sends one answer and lets the connection go on."""
    def play(script, wire, good, _pause):
        wire.send(make(script, good))
        return True
    return play


def _slow(script, wire, good, pause):
    pause(script.numbers[0] / 1000)
    wire.send(good)
    return True


def _drip(script, wire, good, pause):
    size, ms = script.numbers
    for start in range(0, len(good), size):
        wire.send(good[start:start + size])
        pause(ms / 1000)
    return True


def _cut(script, wire, good, _pause):
    head, body = good.split(b"\r\n\r\n", 1)
    wire.send(head + b"\r\n\r\n" + body[:script.numbers[0]])
    return False


def _length(script, wire, good, _pause):
    body = good.split(b"\r\n\r\n", 1)[1]
    wire.send(f"HTTP/1.1 200 OK\r\nContent-Length: {script.numbers[0]}\r\n\r\n".encode() + body)
    return False


def _chunked(_script, wire, good, _pause):
    body = good.split(b"\r\n\r\n", 1)[1]
    wire.send(b"HTTP/1.1 200 OK\r\nTransfer-Encoding: chunked\r\n\r\n")
    for start in range(0, len(body), 7):
        piece = body[start:start + 7]
        wire.send(f"{len(piece):x}\r\n".encode() + piece + b"\r\n")
    wire.send(b"0\r\n\r\n")
    return True


def _silent(_script, wire, _good, pause):
    while not wire.is_left():
        pause(LOOK_SECONDS)
    return False


def _reset(_script, wire, _good, _pause):
    wire.reset()
    return False


def _header(script, wire, _good, _pause):
    wire.send(b"HTTP/1.1 200 OK\r\nX-Long: ")
    left = script.numbers[0]
    while left > 0:
        wire.send(b"x" * min(left, CHUNK_BYTES))
        left -= CHUNK_BYTES
    wire.send(b"\r\nContent-Length: 2\r\n\r\n{}")
    return True


def _endless(_script, wire, _good, pause):
    wire.send(b"HTTP/1.1 200 OK\r\n\r\n")
    while True:
        wire.send(b"x" * CHUNK_BYTES)
        pause(0)


# Name of a script to what plays it and how many words it takes.
WAYS = {
    "ok": (_whole(lambda script, good: good), 0),
    "code": (_whole(lambda script, good: answer({"code": script.numbers[0], "data": None})), 1),
    "status": (_whole(lambda script, good: answer({"code": script.numbers[0]}, f"{script.words[0]} Status")), 1),
    "malformed": (_whole(lambda script, good: answer(b'{"code":0,')), 0),
    "array": (_whole(lambda script, good: answer([])), 0),
    "empty": (_whole(lambda script, good: answer(b"")), 0),
    "scalar": (_whole(lambda script, good: answer(b"42")), 0),
    "null": (_whole(lambda script, good: answer(b"null")), 0),
    "redirect": (_whole(lambda script, good: answer(b"", "302 Found", [f"Location: {script.words[0]}"])), 1),
    "chunked": (_chunked, 0),
    "slow": (_slow, 1),
    "drip": (_drip, 2),
    "cut": (_cut, 1),
    "length": (_length, 1),
    "silent": (_silent, 0),
    "reset": (_reset, 0),
    "header": (_header, 1),
    "endless": (_endless, 0),
}


class Answers:
    """Safe on any thread."""

    def __init__(self):
        self.lock = threading.Lock()
        self.identities = itertools.count(1)
        self.clear()

    def clear(self):
        """As at the start, but for the identities: no two are the same."""
        with self.lock:
            self.scripts = {}
            self.replies = {}
            self.files = {}
            self.offers = {}

    def script(self, path, words):
        made = Script(words)
        with self.lock:
            self.scripts[path] = made

    def reply(self, path, value):
        with self.lock:
            self.replies[path] = value

    def file(self, name, count, seed):
        content = random.Random(seed).randbytes(count)
        with self.lock:
            self.files["/files/" + name] = content
        return content

    def offer(self, what, url, version):
        with self.lock:
            self.offers[what] = url, version

    def _known(self, path):
        """The value of a path of the service, or nothing. With the lock."""
        if path == "/vexo/pc/get/trackId":
            return {"code": 0, "data": f"{next(self.identities):020d}"}
        if path == "/vexo/pc/update/software":
            url, _ = self.offers.get("app", ("", ""))
            return {"code": 0, "data": {"upgradeFlag": 1 if url else 0, "upgradeDate": {"fileUrl": url}}}
        if path == "/vexo/pc/getFirmware":
            url, version = self.offers.get("firmware", ("", ""))
            return {"code": 0, "data": {"isUpgrade": "1" if url else "0",
                                        "newVersion": {"filePath": url, "firmwareVersion": version,
                                                       "firmwareDesEn": "", "firmwareDesCn": "", "firmwareMd5": ""}}}
        if path in ("/vexo/pc/track", "/vexo/pc/save/connect", "/vexo/pc/save/connectTime", "/vexo/pc/save/operation"):
            return CODE_0
        return None

    def good(self, method, path):
        """The answer of a good service to a request, whole."""
        with self.lock:
            if path in self.replies:
                return answer(self.replies[path])
            if path in self.files:
                found = answer(self.files[path])
            else:
                value = self._known(path)
                found = answer(b"", "404 Not Found") if value is None else answer(value)
        return found.split(b"\r\n\r\n", 1)[0] + b"\r\n\r\n" if method == "HEAD" else found

    def play(self, wire, method, path, pause):
        """Answers a request. Returns whether the connection goes on."""
        with self.lock:
            script = self.scripts.get(path) or self.scripts.get("*")
        good = self.good(method, path)
        if script:
            return script.play(wire, good, pause)
        wire.send(good)
        return True
