"""What goes wrong, one class for each thing that a caller may want to tell apart."""

from __future__ import annotations

import os
from typing import Union

from ._text import shown

Path = Union[str, bytes, "os.PathLike[str]", "os.PathLike[bytes]"]


class KestraError(Exception):
    """A file cannot be read. The text is "FILE: PLACE: MESSAGE".

    file     as it was given, as a text
    place    where in it, as "line 5" or "section 'loads'"; "" if it is about the whole
    message  what is wrong there
    """

    def __init__(self, path: Path, place: str, message: str) -> None:
        super().__init__(path, place, message)
        self.file = os.fsdecode(path)
        self.place = place
        self.message = message

    def __str__(self) -> str:
        parts = (shown(self.file), self.place, self.message)
        return ": ".join(part for part in parts if part)


class UnreadableError(KestraError, OSError):
    """The system does not let the file be read; `errno` is its number."""

    def __init__(self, path: Path, place: str, message: str, number: int = 0) -> None:
        super().__init__(path, place, message)
        self.errno = number
        self.filename = self.file
        self.strerror = message


class FormatError(KestraError, ValueError):
    """The file is of another kind, or of a version that this package does not know."""


class DamageError(KestraError, ValueError):
    """The file is of its kind, but a part of it is missing or not as it was written."""


class NoSectionError(KestraError, KeyError):
    """There is no section of this name."""


class ValuesError(KestraError, ValueError):
    """The bytes of a section are no whole number of values of the type asked for."""


class ClosedError(KestraError, ValueError):
    """A section is asked for after its file was closed."""


class MissingPackageError(KestraError, ImportError):
    """What was asked for needs a package that is not installed; the text names it."""


def unreadable(path: Path, place: str, error: OSError) -> UnreadableError:
    """The system's refusal in the words of this package."""
    message = error.strerror or "cannot be read"
    return UnreadableError(path, place, message, error.errno or 0)
