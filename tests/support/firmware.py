"""Firmware files for tests, as the emulated devices read them.

An image begins with an information block of 16 bytes: "VXFI", size u32, CRC u16 of what follows the block, version
major and minor, the model's letter, three zeros. A microphone's file has 32 bytes before its image, which stay on the
host.
"""

import binascii
import struct

INFO_BYTES = 16
LETTERS = {"r2": "r", "m40": "m", "t40": "t"}
MICROPHONE_HEADER = b"VXFH" + bytes(28)


def image(model, version, size, byte_at=lambda offset: offset % 251):
    """The bytes that the device holds in the end; size counts the information block too."""
    rest = bytes(byte_at(offset) % 256 for offset in range(INFO_BYTES, size))
    checksum = binascii.crc_hqx(rest, 0)
    return struct.pack("<4sIHBBc3x", b"VXFI", size, checksum, *version, LETTERS[model].encode()) + rest


def file_for(model, firmware_image):
    """The file as the user downloads it."""
    return firmware_image if model == "r2" else MICROPHONE_HEADER + firmware_image


def checksum(firmware_image):
    """What the emulator's command flash tells as crc."""
    return binascii.crc_hqx(firmware_image, 0)
