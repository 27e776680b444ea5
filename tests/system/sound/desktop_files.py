"""Files of a desktop: entries of programs, and pictures for icons."""

import struct
import zlib


def png(red, green, blue, size):
    """A square of one colour."""
    def chunk(kind, data):
        return struct.pack(">I", len(data)) + kind + data + struct.pack(">I", zlib.crc32(kind + data))

    rows = (b"\0" + bytes((red, green, blue)) * size) * size
    return (b"\x89PNG\r\n\x1a\n" + chunk(b"IHDR", struct.pack(">IIBBBBB", size, size, 8, 2, 0, 0, 0)) +
            chunk(b"IDAT", zlib.compress(rows)) + chunk(b"IEND", b""))


def desktop_entry(name, *lines):
    return "\n".join(["[Desktop Entry]", "Type=Application", f"Name={name}", *lines]) + "\n"


def endless_svg():
    """A small drawing of a thousand million squares."""
    groups = ['<g id="level0"><rect width="128" height="128" fill="#0000ff"/></g>']
    for level in range(1, 4):
        groups.append(f'<g id="level{level}">' + f'<use xlink:href="#level{level - 1}"/>' * 1000 + "</g>")
    return ('<svg xmlns="http://www.w3.org/2000/svg" xmlns:xlink="http://www.w3.org/1999/xlink" width="128" height="128">'
            f'<defs>{"".join(groups)}</defs><use xlink:href="#level3"/></svg>')
