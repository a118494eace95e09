"""Text files line by line, for formats whose texts may hold anything, line feeds too."""

from __future__ import annotations

from types import TracebackType
from typing import BinaryIO, Callable, Optional, Tuple, TypeVar

from ._errors import DamageError, FormatError, Path, UnreadableError, unreadable

_LONGEST = 1 << 20  # bytes of a line or a record: more are not taken into memory

T = TypeVar("T")
# What is recognised at the end of a record: the text in front of it, and its values.
Tail = Callable[[bytes], Optional[Tuple[Optional[bytes], T]]]


class Lines:
    """The lines of a file, which end with LF or CR LF."""

    def __init__(self, path: Path) -> None:
        self.path = path
        self.number = 0  # of the line that was read last; the first is 1
        self.rest = b""  # what stands behind the last line end, once that was read
        try:
            self._file: BinaryIO = open(path, "rb")
        except OSError as error:
            raise unreadable(path, "", error) from None
        except ValueError:  # a zero byte in the path
            raise UnreadableError(path, "", "no path has a zero byte") from None

    def __enter__(self) -> Lines:
        return self

    def __exit__(
        self,
        kind: type[BaseException] | None,
        value: BaseException | None,
        trace: TracebackType | None,
    ) -> None:
        self._file.close()

    def next(self) -> bytes | None:
        """The next line without its end; None if no more line has one."""
        self.number += 1
        try:
            line = self._file.readline(_LONGEST + 1)
        except OSError as error:
            raise unreadable(self.path, self._place(), error) from None
        if len(line) > _LONGEST:
            raise self.damage(f"the line has more than {_LONGEST} bytes")
        if not line.endswith(b"\n"):
            self.rest = line
            return None
        return line[:-2] if line.endswith(b"\r\n") else line[:-1]

    def ends_within(self, line: bytes) -> bool:
        """Whether the file, of which no line is left, ends within this line."""
        return (line + b"\r\n").startswith(self.rest)

    def record(
        self, first: bytes, tail: Tail[T], stops: Callable[[bytes], bool], what: str
    ) -> tuple[bytes | None, T] | None:
        """What begins with the line `first` and ends with the line in which `tail` finds
        the end: more than one line if the text has line feeds. A line that `stops` is no
        part of such a text, so the record is damaged. None if the file ends before."""
        found = tail(first)
        if found is not None:
            return found
        begin = self.number
        front = bytearray()
        line: bytes | None = first
        while line is not None and not stops(line) and len(front) <= _LONGEST:
            found = tail(line)
            if found is not None and found[0] is not None:
                return bytes(front) + found[0], found[1]
            front += line + b"\n"
            line = self.next()
        if line is None:
            return None
        self.number = begin
        raise self.damage(f"this is no {what}")

    def damage(self, message: str) -> DamageError:
        return DamageError(self.path, self._place(), message)

    def foreign(self, message: str) -> FormatError:
        return FormatError(self.path, self._place(), message)

    def _place(self) -> str:
        return f"line {self.number}"
