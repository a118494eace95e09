"""The I/O tracker's files: what a process wrote and read, and how long that took."""

from __future__ import annotations

import errno
import os
import re
from dataclasses import dataclass
from typing import TYPE_CHECKING, Any, Callable, Generic, NamedTuple, TypeVar

from ._errors import Path, UnreadableError
from ._frames import frame
from ._lines import Lines
from ._text import as_text, shown

if TYPE_CHECKING:
    import pandas

_COUNT = re.compile(rb"\d{1,10}")
# As long as a double can get; "inf" is a sum of times that has become too large.
_NUMBER = re.compile(rb"\d{1,309}\.\d{6}|inf")
_TITLE = b"IO Tracking Totals"
_LABELLED = b"Code Mark, "
_SUMMARY = b"IO Summary for All Files"
_WORK = b"WORK DIRECTORY FILES"
_SCRATCH = b"SCRATCH DIRECTORY FILES"
_SUMMARY_NUMBERS = 4


class IoLine(NamedTuple):
    """A line of totals or increments: what happened to all files up to a mark, or since
    the line before. Times are in seconds, a megabyte (MB) has 1,048,576 bytes."""

    label: str | None  #: of the code mark; None at a time point
    elapsed: float  #: since the tracker was made
    work_write_count: int
    work_write_mb: float
    work_write_time: float
    work_read_count: int
    work_read_mb: float
    work_read_time: float
    scratch_write_count: int
    scratch_write_mb: float
    scratch_write_time: float
    scratch_read_count: int
    scratch_read_mb: float
    scratch_read_time: float


class IoFileLine(NamedTuple):
    """The same of a single file: its totals up to a mark."""

    label: str | None
    elapsed: float
    write_count: int
    write_mb: float
    write_time: float
    read_count: int
    read_mb: float
    read_time: float


class IoFile(NamedTuple):
    """A line of the summary: all that happened to a file."""

    path: str  #: as the program gave it, its first 1023 bytes
    scratch: bool  #: whether it is of the scratch directory, and not the work directory
    write_mb: float
    write_time: float
    read_mb: float
    read_time: float


Row = TypeVar("Row", IoLine, IoFileLine)


@dataclass(frozen=True)
class IoTable(Generic[Row]):
    """The lines of a file of totals or increments.

    path   the file, as it was given
    row    the class of its lines, IoLine or IoFileLine
    lines  in their order
    timed  whether its lines were written at intervals and not at marks
    cut    whether the file ends within a line, which is left out: the process died, or
           still runs. A file that ends between two lines does not show that it was cut.
    """

    path: str
    row: type[Row]
    lines: list[Row]
    timed: bool
    cut: bool

    def frame(self) -> pandas.DataFrame:
        """The lines as a data frame; MissingPackageError without pandas."""
        return frame(self.path, self.row._fields, self.lines)


@dataclass(frozen=True)
class IoSummary:
    """The summary, which is written when the library ends.

    path   the file, as it was given
    files  first those of the work directory, then those of the scratch directory
    cut    whether the end of the file is missing
    """

    path: str
    files: list[IoFile]
    cut: bool

    def frame(self) -> pandas.DataFrame:
        """The files as a data frame; MissingPackageError without pandas."""
        return frame(self.path, IoFile._fields, self.files)


@dataclass(frozen=True)
class IoTrack:
    """What the tracker has left of a job; None stands for a file that is not there.

    totals      JOB.ioTotal
    increments  JOB.ioInc, from level 2 on
    summary     JOB.ioFileSummary
    """

    totals: IoTable[IoLine] | None
    increments: IoTable[IoLine] | None
    summary: IoSummary | None

    @property
    def cut(self) -> bool:
        """Whether the tracker did not come to its end: the summary is missing or cut."""
        return self.summary is None or self.summary.cut


def read_iotrack(job: str | os.PathLike[str] = "", *, suffix: str = "") -> IoTrack:
    """Reads the tracker's files of a job, as many as there are.

    `job` is the path of the files without their endings: "run/beam" for run/beam.ioTotal.
    Without a job's name they have no point either: "" is for ioTotal in the current
    folder, "run/" for run/ioTotal. `suffix` is for the names that the product ends with
    "_" and a suffix.

    Raises UnreadableError if there is none of them, and what reading them raises.

        for file in read_iotrack("demo").summary.files:
            print(file.write_mb, file.path)
    """
    front = os.fspath(job)
    if front and not front.endswith(("/", os.sep)):
        front += "."
    kinds = ("ioTotal", "ioInc", "ioFileSummary")
    names = [front + kind + ("_" + suffix if suffix else "") for kind in kinds]
    totals = _if_there(read_totals, names[0])
    increments = _if_there(read_totals, names[1])
    summary = _if_there(_read_summary, names[2])
    if totals is None and increments is None and summary is None:
        message = "there is neither " + " nor ".join(map(shown, names))
        raise UnreadableError(job, "", message, errno.ENOENT)
    return IoTrack(totals, increments, summary)


def read_totals(path: Path) -> IoTable[IoLine]:
    """Reads a file of totals or of increments, which have the same form.

    One without lines, even without a byte, is of a process that died before it let go of
    them. Raises FormatError for a file of another kind, DamageError for a line that is no
    part of such a file, UnreadableError if the system refuses.
    """
    return _read_table(path, IoLine)


def read_individual(path: Path) -> IoTable[IoFileLine]:
    """Reads a file that is about a single tracked file, as model.dat_ioTotal; see
    `read_totals`."""
    return _read_table(path, IoFileLine)


Found = TypeVar("Found")


def _if_there(read: Callable[[str], Found], path: str) -> Found | None:
    try:
        return read(path)
    except UnreadableError as error:
        if error.errno == errno.ENOENT:
            return None
        raise


def _read_table(path: Path, row: type[Row]) -> IoTable[Row]:
    form = _Form(row)
    with Lines(path) as lines:
        timed = _read_head(lines, form)
        found: list[Row] = []
        cut = timed is None
        while not cut and (line := lines.next()) is not None:
            begin = lines.number
            record = lines.record(line, form.tail, form.is_damaged, "line of counts")
            if record is None:
                cut = True
                break
            text, values = record
            if timed and text is not None:
                lines.number = begin
                raise lines.damage("there is no place for a label here")
            found.append(row(None if text is None else as_text(text), *values))
        cut = cut or lines.rest != b""
        return IoTable(os.fsdecode(path), row, found, bool(timed), cut)


def _read_head(lines: Lines, form: _Form[Row]) -> bool | None:
    """Whether the lines have no labels; None if the file ends within its head."""
    for choices in ([_TITLE], [_LABELLED + form.columns, form.columns]):
        line = lines.next()
        if line is None and any(map(lines.ends_within, choices)):
            return None
        if line not in choices:
            raise lines.foreign("this is no such file of the I/O tracker")
    return line == form.columns


class _Form(Generic[Row]):
    """How a file looks whose lines are of the class `row`."""

    def __init__(self, row: type[Row]) -> None:
        # The columns are named as the fields are: "Work Write MB" is work_write_mb.
        names: list[str] = [field.replace("_", " ").title() for field in row._fields[2:]]
        columns = ", ".join(["Elapsed Time", *names]).replace("Mb", "MB")
        self.columns: bytes = columns.encode()
        self._counts = [field.endswith("_count") for field in row._fields[1:]]

    def tail(self, line: bytes) -> tuple[bytes | None, list[Any]] | None:
        """The numbers at the end of a line, and the label before them, if any."""
        fields = line.rsplit(b", ", len(self._counts))
        label = fields.pop(0) if len(fields) > len(self._counts) else None
        values = _numbers(fields, self._counts)
        return None if values is None else (label, values)

    def is_damaged(self, line: bytes) -> bool:
        """Whether the line is no piece of a label with line feeds, since it has as many
        fields as a whole line."""
        record = self.tail(line)
        has_label = record is not None and record[0] is not None
        return not has_label and line.count(b", ") >= len(self._counts) - 1


def _numbers(fields: list[bytes], counts: list[bool]) -> list[Any] | None:
    """The fields as numbers, where `counts` is true as integers; None if they are not."""
    if len(fields) != len(counts):
        return None
    values: list[Any] = []
    for field, count in zip(fields, counts):
        if not (_COUNT if count else _NUMBER).fullmatch(field):
            return None
        values.append(int(field) if count else float(field))
    return values


def _read_summary(path: Path) -> IoSummary:
    with Lines(path) as lines:
        files: list[IoFile] = []
        whole = (
            _expect(lines, _SUMMARY)
            and _expect(lines, b"")
            and _expect(lines, _WORK)
            and _read_files(lines, False, files)
            and _expect(lines, b"")
            and _expect(lines, _SCRATCH)
            and _read_files(lines, True, files)
        )
        if whole and (lines.next() is not None or lines.rest):
            raise lines.damage("nothing should follow the summary")
        return IoSummary(os.fsdecode(path), files, not whole)


def _expect(lines: Lines, wanted: bytes) -> bool:
    """Whether the next line is `wanted`, which has to be so; false if the file ends."""
    line = lines.next()
    if line is None and lines.ends_within(wanted):
        return False
    if line == wanted:
        return True
    if lines.number == 1:
        raise lines.foreign("this is no summary of the I/O tracker")
    raise lines.damage(f"this is not {wanted.decode()!r}")


def _read_files(lines: Lines, scratch: bool, files: list[IoFile]) -> bool:
    """Reads a list up to the empty line behind it; false if the file ends before."""
    while line := lines.next():
        record = lines.record(
            line,
            _summary_tail,
            _is_damaged_file,
            "line of a file",
        )
        if record is None:
            return False
        text, values = record
        files.append(IoFile(as_text(text or b""), scratch, *values))
    return line is not None


def _is_damaged_file(line: bytes) -> bool:
    return _summary_tail(line) is None and line.count(b", ") >= _SUMMARY_NUMBERS


def _summary_tail(line: bytes) -> tuple[bytes, list[Any]] | None:
    text, *fields = line.rsplit(b", ", _SUMMARY_NUMBERS)
    values = _numbers(fields, [False] * _SUMMARY_NUMBERS)
    return None if values is None else (text, values)
