"""The multisection file: named sections of bytes, each with a checksum."""

from __future__ import annotations

import io
import os
import struct
import sys
from array import array as PlainArray
from collections.abc import Iterator, Mapping
from types import TracebackType
from typing import TYPE_CHECKING, Any, NamedTuple

from ._checksum import crc32_mpeg2
from ._errors import (
    ClosedError,
    DamageError,
    FormatError,
    KestraError,
    NoSectionError,
    Path,
    UnreadableError,
    ValuesError,
    unreadable,
)
from ._text import as_bytes, as_text, shown

if TYPE_CHECKING:
    import numpy.typing

_TAG = b"\x28\xc1\x1d\xaf"
_VERSION = 1
_INT = struct.Struct("<i")
_AFTER_NAME = struct.Struct("<iI")  # length and checksum of the data
_HEAD = 12  # bytes of tag, version and count
_LEAST_ENTRY = 12  # bytes of an entry whose name is empty
_PIECE = 1 << 20  # bytes that are read at a time
_SHOWN = 80  # characters of a name in a message

# Types of numpy by their names, and what they are in the module array.
_TYPECODES = {
    "i1": "b", "int8": "b", "u1": "B", "uint8": "B",
    "i2": "h", "int16": "h", "u2": "H", "uint16": "H",
    "i4": "i", "int32": "i", "u4": "I", "uint32": "I",
    "i8": "q", "int64": "q", "u8": "Q", "uint64": "Q",
    "f4": "f", "float32": "f", "f8": "d", "float64": "d",
}  # fmt: skip


class Section(NamedTuple):
    """What the directory of a file tells of a section, whether it is true or not."""

    name: str
    length: int  #: of the data, in bytes; negative in a damaged file only
    checksum: int  #: CRC-32/MPEG-2 of the data
    place: int  #: of the data's first byte in the file


class Damage(NamedTuple):
    """One thing that is wrong with a file."""

    place: str  #: "section 'loads' at byte 61", "byte 16", or "" for the whole file
    message: str

    def __str__(self) -> str:
        return ": ".join(part for part in self if part)


class Verification(NamedTuple):
    """What `verify` has found. It counts as true if nothing is damaged."""

    path: str
    whole: list[Section]  #: those whose checksum holds, in the order of the file
    damaged: list[Section]  #: the others
    damages: list[Damage]  #: what is wrong, and where; empty if all is well

    def __bool__(self) -> bool:
        return not self.damages


def open_sections(path: Path) -> Sections:
    """Opens a multisection file for reading; its directory is read at once.

    Raises FormatError for a file of another kind or version, DamageError if the directory
    is cut or impossible, UnreadableError if the system refuses.

        with open_sections("demo.kdb") as sections:
            for name, data in sections.items():
                print(name, len(data))
            loads = sections.array("loads", "f8")
    """
    return Sections(path)


class Sections(Mapping[str, bytes]):
    """The sections of an open file: a mapping from name to bytes, in the file's order.

    Nothing but the directory is held in memory. Every `sections[name]` reads the
    section's bytes from the file and compares them with their checksum, so keep what is
    used again.

    A name may be given as text or as bytes. Names are equal if they agree up to their
    first zero byte, and of sections of one name the first is meant; `directory()` has
    all.

    No lock is taken. While a writer copies over the file, it may look damaged: try again.
    One object belongs to one thread at a time.

    Besides KestraError nothing is raised about the file, at any time.
    """

    def __init__(self, path: Path) -> None:
        self._path = path
        self._index: dict[bytes, int] | None = None
        try:
            self._file = open(path, "rb", buffering=0)
        except OSError as error:
            raise unreadable(path, "", error) from None
        except ValueError:  # a zero byte in the path
            raise UnreadableError(path, "", "no path has a zero byte") from None
        try:
            self._read_directory(io.BufferedReader(self._file))
        except OSError as error:
            self._file.close()
            raise unreadable(path, "", error) from None
        except BaseException:
            self._file.close()
            raise

    # Opening and closing

    def close(self) -> None:
        """Closes the file; what was read from it stays. Closing again does nothing."""
        self._file.close()

    def __enter__(self) -> Sections:
        return self

    def __exit__(
        self,
        kind: type[BaseException] | None,
        value: BaseException | None,
        trace: TracebackType | None,
    ) -> None:
        self.close()

    def __repr__(self) -> str:
        state = " (closed)" if self._file.closed else ""
        return f"<Sections of {shown(self.path)}, {self.count} in the file{state}>"

    @property
    def path(self) -> str:
        """The file, as it was given."""
        return os.fsdecode(self._path)

    # The mapping

    def __len__(self) -> int:
        return len(self._names())

    def __iter__(self) -> Iterator[str]:
        return map(as_text, self._names())

    def __contains__(self, name: object) -> bool:
        """Whether there is a section of this name; its data is not looked at."""
        return self._find(name) is not None

    def __getitem__(self, name: str | bytes) -> bytes:
        """The bytes of the section, whose checksum holds.

        Raises NoSectionError, which is a KeyError; DamageError if the checksum is
        another, or the file has not so many bytes; UnreadableError; ClosedError.
        """
        return bytes(self._read(self.section(name)))

    def array(self, name: str | bytes, dtype: Any) -> numpy.typing.NDArray[Any] | Any:
        """The section as values that lie in it one after the other.

        With numpy an array of its own memory, of any `dtype` without objects. Without
        numpy an `array.array`, for the plain numbers: "i1" to "i8", "u1" to "u8", "f4"
        and "f8", with or without "<", and their long names like "float64".

        Raises what reading raises, and ValuesError if the bytes are no whole number of
        values. TypeError for a type that cannot be read.
        """
        section = self.section(name)
        try:
            import numpy
        except ImportError:
            return self._plain_array(section, dtype)
        kind = numpy.dtype(dtype)
        if kind.hasobject or kind.itemsize == 0:
            raise TypeError(f"{kind} has no fixed number of bytes in a file")
        self._check_size(section, kind.itemsize)
        return numpy.frombuffer(self._read(section), kind)

    # What the directory tells

    @property
    def count(self) -> int:
        """How many sections the file has; one whose name is repeated counts, too."""
        return len(self._entries) - 1

    def section(self, name: str | bytes) -> Section:
        """What the directory tells of the section of this name, or NoSectionError."""
        found = self._find(name)
        if found is None:
            shown_name = _quoted(name) if isinstance(name, (str, bytes)) else repr(name)
            raise NoSectionError(self._path, "", f"there is no section {shown_name}")
        return self._section(found)

    def directory(self) -> Iterator[Section]:
        """All sections in the order of the file, repeated names and their bytes too."""
        return map(self._section, range(self.count))

    # The rest is implementation.

    def _read_directory(self, file: io.BufferedReader) -> None:
        """Walks through the directory to see that all of it is there before it is taken
        into memory, and notes where each entry begins and where its data does."""
        size = self._size()
        if file.read(4) != _TAG:
            raise FormatError(self._path, "byte 0", "this is no multisection file")
        version = file.read(4)
        if version != _INT.pack(_VERSION):
            found = str(_INT.unpack(version)[0]) if len(version) == 4 else "missing"
            raise FormatError(
                self._path, "byte 4", f"its version is {found}, and only 1 can be read"
            )
        count = max(self._int(file, 8, size), 0)
        if count * _LEAST_ENTRY > size - _HEAD:
            raise DamageError(
                self._path, "byte 8", f"the file is too short for {count} sections"
            )
        entries = PlainArray("q", [_HEAD])
        for _ in range(count):
            begin = entries[-1]
            name_length = self._int(file, begin, size)
            if name_length < 0:
                raise DamageError(
                    self._path, f"byte {begin}", f"a name has the length {name_length}"
                )
            end = begin + _LEAST_ENTRY + name_length
            if end > size:
                raise DamageError(
                    self._path, f"byte {begin}", "the file ends within the directory"
                )
            file.seek(end)
            entries.append(end)
        file.seek(0)
        self._directory = file.read(entries[-1])
        self._entries = entries
        self._places = PlainArray("q", [entries[-1]])
        file.detach()  # sections are read as they are then, not from a buffer
        if len(self._directory) != entries[-1]:
            raise self._changed()
        for i in range(count):
            length = _AFTER_NAME.unpack_from(self._directory, entries[i + 1] - 8)[0]
            self._places.append(self._places[-1] + max(length, 0))

    def _int(self, file: io.BufferedReader, place: int, size: int) -> int:
        """The integer at which the file stands, which is at `place`."""
        data = file.read(4)
        if len(data) < 4:
            if place + 4 <= size:
                raise self._changed()
            raise DamageError(
                self._path, f"byte {place}", "the file ends within the directory"
            )
        return int(_INT.unpack(data)[0])

    def _changed(self) -> DamageError:
        return DamageError(self._path, "", "the file was cut short while it was read")

    def _size(self) -> int:
        return os.fstat(self._file.fileno()).st_size

    def _name(self, i: int) -> bytes:
        return self._directory[self._entries[i] + 4 : self._entries[i + 1] - 8]

    def _section(self, i: int) -> Section:
        after_name = self._entries[i + 1] - _AFTER_NAME.size
        length, checksum = _AFTER_NAME.unpack_from(self._directory, after_name)
        return Section(as_text(self._name(i)), length, checksum, self._places[i])

    def _names(self) -> dict[bytes, int]:
        """The different names and their first sections."""
        if self._index is None:
            self._index = {}
            for i in range(self.count):
                self._index.setdefault(_up_to_zero(self._name(i)), i)
        return self._index

    def _find(self, name: object) -> int | None:
        try:
            key = as_bytes(name) if isinstance(name, str) else name
        except UnicodeEncodeError:  # a text that no bytes are read as
            return None
        return self._names().get(_up_to_zero(key)) if isinstance(key, bytes) else None

    def _read(self, section: Section) -> bytearray:
        """The data of the section, whose checksum holds."""
        data = bytearray()
        for piece in self._pieces(section):
            data += piece
        return data

    def _pieces(self, section: Section) -> Iterator[bytes]:
        """The data of the section in pieces; raises at the end if they are not the ones
        that were written."""
        where = _where(section)
        if self._file.closed:
            raise ClosedError(self._path, where, "the file was closed")
        left = section.length
        if left < 0:
            raise DamageError(self._path, where, f"its length is {left}")
        crc = crc32_mpeg2(b"")
        try:
            missing = min(left, section.place + left - self._size())
            if missing > 0:
                raise DamageError(
                    self._path, where, f"the file lacks {missing} of its {left} bytes"
                )
            self._file.seek(section.place)
            while left > 0:
                piece = self._file.read(min(left, _PIECE))
                if not piece:
                    raise self._changed()
                crc = crc32_mpeg2(piece, crc)
                left -= len(piece)
                yield piece
        except OSError as error:
            raise unreadable(self._path, where, error) from None
        if crc != section.checksum:
            raise DamageError(
                self._path,
                where,
                f"its checksum is {crc:08X}, and {section.checksum:08X} was written",
            )

    def _plain_array(self, section: Section, dtype: Any) -> PlainArray[Any]:
        """What there is without numpy."""
        code = _TYPECODES.get(dtype.lstrip("<") if isinstance(dtype, str) else "")
        if code is None:
            raise TypeError(
                f"without numpy there are no values of type {dtype!r}; "
                "python3 -m pip install numpy"
            )
        values = PlainArray(code)
        self._check_size(section, values.itemsize)
        values.frombytes(self._read(section))
        if sys.byteorder == "big":  # the files are of little-endian machines
            values.byteswap()
        return values

    def _check_size(self, section: Section, size: int) -> None:
        if section.length >= 0 and section.length % size != 0:
            raise ValuesError(
                self._path,
                _where(section),
                f"{section.length} bytes are no whole number of values of {size} bytes",
            )

    def _find_damage(self) -> Verification:
        found = Verification(self.path, [], [], [])
        end = self._places[-1]
        for section in self.directory():
            try:
                for _ in self._pieces(section):
                    pass
                found.whole.append(section)
            except KestraError as error:
                found.damaged.append(section)
                found.damages.append(Damage(error.place, error.message))
        try:
            extra = self._size() - end
        except OSError as error:
            raise unreadable(self._path, "", error) from None
        if extra > 0:
            found.damages.append(
                Damage(f"byte {end}", f"{extra} bytes follow the end of the last section")
            )
        return found


def verify(path: Path) -> Verification:
    """Reads all of a multisection file and tells which of its sections are whole.

    Damage is no exception here but the result, which counts as false then. A file whose
    directory is damaged has no sections to tell of. Memory is taken for the directory
    only.

    Raises FormatError for a file of another kind or version, and UnreadableError if the
    file cannot be opened. A part of it that the system cannot read is damage.

        result = verify("demo.kdb")
        if not result:
            for damage in result.damages:
                print(damage)        # section 'loads' at byte 61: its checksum is ...
    """
    try:
        with open_sections(path) as sections:
            return sections._find_damage()
    except DamageError as error:
        return Verification(error.file, [], [], [Damage(error.place, error.message)])


def _up_to_zero(name: bytes) -> bytes:
    return name.partition(b"\0")[0]


def _quoted(name: str | bytes) -> str:
    text = name if isinstance(name, str) else as_text(name)
    return "'" + shown(text[:_SHOWN]) + ("..." if len(text) > _SHOWN else "") + "'"


def _where(section: Section) -> str:
    return f"section {_quoted(section.name)} at byte {section.place}"
