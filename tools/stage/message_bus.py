"""A connection to a D-Bus message bus, for many small questions at once.

It speaks the wire format itself: a general library takes five times as long for each question, and a reading of the
screen asks hundreds.
"""

import os
import socket
import struct
import time

METHOD_CALL, METHOD_RETURN, ERROR, SIGNAL = 1, 2, 3, 4
PATH, INTERFACE, MEMBER, REPLY_SERIAL, DESTINATION, SENDER, SIGNATURE = 1, 2, 3, 5, 6, 7, 8


def padded(data, alignment):
    """With zeros behind it, up to a multiple of the alignment."""
    return data + b"\0" * (-len(data) % alignment)


def field(code, kind, text):
    """A field of a message's header."""
    encoded = text.encode()
    length = struct.pack("<B" if kind == "g" else "<I", len(encoded))
    return struct.pack("<BB", code, 1) + kind.encode() + b"\0" + length + encoded + b"\0"


def text_argument(*texts):
    """The body of a call with these texts."""
    body = b""
    for text in texts:
        encoded = text.encode()
        body = padded(body, 4) + struct.pack("<I", len(encoded)) + encoded + b"\0"
    return body


def receiver(name, path):
    """An object of a program of the bus, for Question.to()."""
    return padded(padded(field(PATH, "o", path), 8) + field(DESTINATION, "s", name), 8)


class Question:
    """A method with its arguments, and how its answer is read; asked of many objects."""

    def __init__(self, interface, member, read, signature="", body=b""):
        # Each field begins at a multiple of 8; the padding behind the last one does not count as a part of them.
        self.fields = padded(field(INTERFACE, "s", interface), 8) + field(MEMBER, "s", member)
        if signature:
            self.fields = padded(self.fields, 8) + field(SIGNATURE, "g", signature)
        self.body = body
        self.read = read

    def to(self, fields, serial):
        """The message that asks a receiver()."""
        fields = fields + self.fields
        header = struct.pack("<cBBBIII", b"l", METHOD_CALL, 0, 1, len(self.body), serial, len(fields))
        return padded(header + fields, 8) + self.body


def read_text(body, at=0):
    (length,) = struct.unpack_from("<I", body, at)
    return body[at + 4:at + 4 + length].decode()


def read_number(body):
    return struct.unpack_from("<I", body)[0]


def read_variant(body):
    """A text or a number with a point in a variant."""
    if body[1:2] == b"d":
        return struct.unpack_from("<d", body, 8)[0]
    return read_text(body, 4)


class Bus:
    """A connection to the bus of an address. Calls without an answer within `timeout` seconds count as refused."""

    def __init__(self, address, timeout=5.0):
        self.timeout = timeout
        self.socket = socket.socket(socket.AF_UNIX)
        words = dict(word.split("=", 1) for word in address.split(";")[0].removeprefix("unix:").split(","))
        self.socket.connect(words["path"] if "path" in words else "\0" + words["abstract"])
        self.socket.sendall(b"\0AUTH EXTERNAL " + str(os.geteuid()).encode().hex().encode() + b"\r\n")
        answer = self.socket.recv(1024)
        if not answer.startswith(b"OK "):
            raise ConnectionError(f"the bus refused: {answer!r}")
        self.socket.sendall(b"BEGIN\r\n")
        self.received = b""
        self.serial = 0
        self.call("org.freedesktop.DBus", "/org/freedesktop/DBus", Question("org.freedesktop.DBus", "Hello", read_text))

    def call(self, name, path, question):
        """The answer to one question; raises KeyError if it was refused."""
        return self.ask([(receiver(name, path), question)])[0]

    def ask(self, questions):
        """Asks pairs of a receiver() and a question, all at once; the answers by the place of their question. An
        object that is gone gives none."""
        first = self.serial + 1
        self.serial += len(questions)
        self.socket.settimeout(self.timeout)
        self.socket.sendall(b"".join(question.to(fields, first + at) for at, (fields, question) in enumerate(questions)))
        answers = {}
        open_serials = set(range(first, first + len(questions)))
        end = time.monotonic() + self.timeout
        while open_serials and time.monotonic() < end:
            try:
                kind, serial, body = self._next_message()
            except TimeoutError:
                break
            if serial in open_serials:
                open_serials.discard(serial)
                if kind == METHOD_RETURN:
                    answers[serial - first] = questions[serial - first][1].read(body)
        return answers

    def _next_message(self):
        """Type, serial of the call that it answers, and body of the next message."""
        head, body = self.next_parts()
        return head[1], self._reply_serial(head, 16 + struct.unpack_from("<I", head, 12)[0]), body

    def next_parts(self):
        """The next message: its header with the padding behind it, and its body."""
        while True:
            if len(self.received) >= 16:
                body_length, _, fields_length = struct.unpack_from("<III", self.received, 4)
                begin = 16 + fields_length + (-fields_length % 8)
                if len(self.received) >= begin + body_length:
                    break
            received = self.socket.recv(1 << 18)
            if not received:
                raise ConnectionError("the bus is gone")
            self.received += received
        message, self.received = self.received[:begin + body_length], self.received[begin + body_length:]
        return message[:begin], message[begin:]

    @staticmethod
    def _reply_serial(message, end):
        at = 16
        while at < end:
            kind = message[at + 2:at + 3]
            if kind == b"u":
                # The only number among the fields of an answer.
                return struct.unpack_from("<I", message, at + 4)[0]
            if kind == b"g":
                at += 4 + 1 + message[at + 4] + 1
            else:
                at += 4 + 4 + struct.unpack_from("<I", message, at + 4)[0] + 1
            at += -at % 8
        return 0
