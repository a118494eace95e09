"""CRC-32/MPEG-2, the checksum of sections, at the speed of zlib."""

from __future__ import annotations

import zlib

# Every byte with its bits in the opposite order.
_REVERSED = bytes(int(f"{byte:08b}"[::-1], 2) for byte in range(256))

_PIECE = 1 << 18  # bytes at a time: what is turned round stays in the processor's cache


def crc32_mpeg2(data: bytes | bytearray | memoryview, crc: int = 0xFFFFFFFF) -> int:
    """The CRC-32/MPEG-2 of `data`, which are bytes. With the `crc` of what comes before
    them, that of both together.

    >>> hex(crc32_mpeg2(b"123456789"))
    '0x376e6e7'
    >>> hex(crc32_mpeg2(b"6789", crc32_mpeg2(b"12345")))
    '0x376e6e7'
    """
    # zlib has the CRC of the same polynomial and the same start, but with the bits the
    # other way round, in every byte and in the register, and inverted at the end. So it
    # is given bytes that were turned round, and its result is inverted back and turned
    # round.
    register = _turned(crc) ^ 0xFFFFFFFF
    view = memoryview(data)
    for start in range(0, len(view), _PIECE):
        piece = bytes(view[start : start + _PIECE])
        register = zlib.crc32(piece.translate(_REVERSED), register)
    return _turned(register ^ 0xFFFFFFFF)


def _turned(register: int) -> int:
    """The 32 bits in the opposite order."""
    return int.from_bytes(register.to_bytes(4, "big").translate(_REVERSED), "little")
