"""A logind on a private system bus that knows one session, whose lock a test turns on and off."""

import struct
import time

from message_bus import (DESTINATION, INTERFACE, MEMBER, METHOD_CALL, METHOD_RETURN, PATH, REPLY_SERIAL, SENDER,
                         SIGNAL, SIGNATURE, Bus, Question, field, padded, read_number, text_argument)

NAME = "org.freedesktop.login1"
SESSION = "/org/freedesktop/login1/session/_32"


class ScriptedLogind(Bus):
    def __init__(self, address):
        super().__init__(address)
        self.call("org.freedesktop.DBus", "/org/freedesktop/DBus",
                  Question("org.freedesktop.DBus", "RequestName", read_number, "su",
                           padded(text_argument(NAME), 4) + struct.pack("<I", 0)))

    def tell_session(self, seconds=30):
        """Waits until a program asks for its session, and tells it."""
        end = time.monotonic() + seconds
        self.socket.settimeout(seconds)
        while time.monotonic() < end:
            head, _ = self.next_parts()
            fields = self._fields(head)
            if head[1] == METHOD_CALL and fields.get(MEMBER) == "GetSessionByPID":
                (serial,) = struct.unpack_from("<I", head, 8)
                self._send(METHOD_RETURN, [struct.pack("<BB", REPLY_SERIAL, 1) + b"u\0" + struct.pack("<I", serial),
                                           field(DESTINATION, "s", fields[SENDER]), field(SIGNATURE, "g", "o")],
                           text_argument(SESSION))
                return
        raise AssertionError(f"nobody asked for a session within {seconds} s")

    def emit(self, member):
        """A signal of the session: Lock or Unlock."""
        self._send(SIGNAL, [field(PATH, "o", SESSION), field(INTERFACE, "s", "org.freedesktop.login1.Session"),
                            field(MEMBER, "s", member)])

    def _send(self, kind, fields, body=b""):
        self.serial += 1
        # Each field begins at a multiple of 8; the padding behind the last one does not count as a part of them.
        packed = b"".join(padded(one, 8) for one in fields[:-1]) + fields[-1]
        header = struct.pack("<cBBBIII", b"l", kind, 1, 1, len(body), self.serial, len(packed))
        self.socket.sendall(padded(header + packed, 8) + body)

    @staticmethod
    def _fields(head):
        """The texts among the fields of a header, by their code."""
        fields = {}
        at, end = 16, 16 + struct.unpack_from("<I", head, 12)[0]
        while at < end:
            code, kind = head[at], head[at + 2:at + 3]
            if kind == b"u":
                at += 8
            elif kind == b"g":
                at += 4 + 1 + head[at + 4] + 1
            else:
                (length,) = struct.unpack_from("<I", head, at + 4)
                fields[code] = head[at + 8:at + 8 + length].decode()
                at += 8 + length + 1
            at += -at % 8
        return fields
