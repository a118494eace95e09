"""Reads what the programs of Kestra write.

    open_sections(path)    the sections of a file, a mapping from name to bytes
    verify(path)           which sections are whole, and what is damaged where
    read_usage(path)       a resource log, JOB.use: marks and timers
    read_iotrack(job)      the I/O tracker's files of a job: totals, increments, summary
    read_totals(path)      one file of totals or increments
    read_individual(path)  one file that is about a single tracked file

Everything that cannot be read as its format says raises a KestraError, whose text has the
file and the place in it:

    >>> raise DamageError("demo.kdb", "section 'loads'", "its checksum is wrong")
    Traceback (most recent call last):
    kestra_utl._errors.DamageError: demo.kdb: section 'loads': its checksum is wrong

Names, labels and paths are bytes in the files, of no fixed encoding. Here they are
texts: UTF-8, in which a byte that is none stands as a lone surrogate (PEP 383), so that
nothing is lost and two names are equal exactly if their bytes are. `as_bytes(text)` gives
the bytes back, and `as_bytes(text).decode("cp1252")` reads those of another encoding.
`shown(text)` can be printed whatever it is.

Lengths and counts in a file are believed only once the file is known to have as much:
what a damaged or hostile file promises costs no memory.
"""

from ._checksum import crc32_mpeg2
from ._errors import (
    ClosedError,
    DamageError,
    FormatError,
    KestraError,
    MissingPackageError,
    NoSectionError,
    UnreadableError,
    ValuesError,
)
from ._iotrack import (
    IoFile,
    IoFileLine,
    IoLine,
    IoSummary,
    IoTable,
    IoTrack,
    read_individual,
    read_iotrack,
    read_totals,
)
from ._sections import (
    Damage,
    Section,
    Sections,
    Verification,
    open_sections,
    verify,
)
from ._text import as_bytes, shown
from ._usage import Mark, Timer, UsageLog, read_usage

__all__ = [
    "ClosedError",
    "Damage",
    "DamageError",
    "FormatError",
    "IoFile",
    "IoFileLine",
    "IoLine",
    "IoSummary",
    "IoTable",
    "IoTrack",
    "KestraError",
    "Mark",
    "MissingPackageError",
    "NoSectionError",
    "Section",
    "Sections",
    "Timer",
    "UnreadableError",
    "UsageLog",
    "ValuesError",
    "Verification",
    "as_bytes",
    "crc32_mpeg2",
    "open_sections",
    "read_individual",
    "read_iotrack",
    "read_totals",
    "read_usage",
    "shown",
    "verify",
]
