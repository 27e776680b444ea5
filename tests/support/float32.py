"""Arithmetic in which every result is rounded to 32-bit float, for the scripts that write goldens."""

import math
import struct


def narrow(value):
    """The nearest 32-bit float."""
    return struct.unpack("<f", struct.pack("<f", value))[0]


def single(operation):
    """The operation with its result rounded to 32-bit float."""
    return lambda *values: narrow(operation(*values))


add = single(lambda x, y: x + y)
sub = single(lambda x, y: x - y)
mul = single(lambda x, y: x * y)
div = single(lambda x, y: x / y)
sin = single(math.sin)
cos = single(math.cos)
exp = single(math.exp)
