"""Bytes of files as texts, without loss."""

from __future__ import annotations


def as_text(data: bytes) -> str:
    """The bytes as UTF-8; each that is none becomes a lone surrogate.

    >>> as_text(b"caf\\xe9")
    'caf\\udce9'
    """
    return data.decode("utf-8", "surrogateescape")


def as_bytes(text: str) -> bytes:
    """The bytes that `text`, a name, label or path of this package, has in its file.

    >>> as_bytes("caf\\udce9").decode("cp1252")
    'café'
    """
    return text.encode("utf-8", "surrogateescape")


def shown(text: str) -> str:
    """`text` for people: what a terminal cannot show or might obey is escaped.

    >>> shown("a\\tb\\udce9")
    'a\\\\tb\\\\udce9'
    """
    return "".join(c if c.isprintable() else ascii(c)[1:-1] for c in text)
