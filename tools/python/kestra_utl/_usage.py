"""The resource log, JOB.use: what a process used at its marks, and its timers."""

from __future__ import annotations

import os
import re
from dataclasses import dataclass
from typing import TYPE_CHECKING, NamedTuple

from ._errors import Path
from ._frames import frame
from ._lines import Lines
from ._text import as_text

if TYPE_CHECKING:
    import pandas

_COLUMNS = (
    b"!Phase,Wall,Mark,UserCPU,SysCPU,WSP,WS,CPU,QPPP,QPP,QNPPP,QNPP,PageFaults,"
    b"PeakPageFileUsage,0,0,0,ProcessID"
)
_TITLE = b"!Timer Summary                     # calls     CPU/call      CPU       Elapsed"
_START = b"-Start"  # behind the job's name: the label of the first mark
_END = b"-End"  # and of the last one
_LABEL_COLUMNS = 40
_NAME_COLUMNS = 20
_OWN_TIMER = 20  # the monitor's own, the last line of every log that was ended
_DAY = 86400

_SECONDS = rb"(-?\d{1,20}\.\d)"
_INTEGER = rb"(-?\d{1,10})"
_FIELDS = [
    *[_SECONDS] * 2,
    *[_INTEGER] * 2,
    _SECONDS,
    *[_INTEGER] * 6,
    *[b"0"] * 3,
    _INTEGER,
]
_NUMBERS = re.compile(b" ".join(_FIELDS))
_WALL_AND_LABEL = re.compile(_INTEGER + rb" (.*)", re.DOTALL)
_FIRST_PHASE = re.compile(rb"\.1 " + _INTEGER + rb" ")
_TIMER = re.compile(
    rb"(.*)   (\d{1,10})      (-?\d{1,20}\.\d{4})      (-?\d{1,20}\.\d{4})"
    rb"      (-?\d{1,20}\.\d) ",
    re.DOTALL,
)
_TIMER_FRONT = re.compile(rb"!Timer (\d{1,2}) :   (.*)", re.DOTALL)


class Mark(NamedTuple):
    """What the process had used when it came to a mark. Times are in seconds, memory is
    in bytes; what the system does not keep is 0. Memory and faults are counted up to
    4,294,967,295, where they begin again at 0."""

    number: int  #: 1, 2, 3, ...
    wall: int  #: as written: it falls by 86,400 at every midnight
    elapsed: int  #: since the log was begun, with midnights that fall between two marks
    label: str
    user: float  #: processor time in the process's own code
    system: float  #: processor time of the system for it
    cpu: float  #: both, rounded by itself
    peak_working_set: int  #: the highest so far
    working_set: int
    peak_paged_pool: int
    paged_pool: int
    peak_nonpaged_pool: int
    nonpaged_pool: int
    page_faults: int
    peak_page_file: int
    process: int  #: its number


class Timer(NamedTuple):
    """What the intervals of a timer add up to, in seconds."""

    number: int  #: 0 to 20; 20 is the monitor's own and shows what timing costs
    name: str
    calls: int
    cpu_per_call: float
    cpu: float
    elapsed: float  #: lacks 86,400 for every midnight that an interval passed


@dataclass(frozen=True)
class UsageLog:
    """A resource log.

    path      the file, as it was given
    snapshot  of the product; "?" where it was not known, like the next two
    version   of the product
    host      the computer and its processor
    job       the job's name, as the program gave it
    marks     in their order, one at least
    timers    those that were stopped, in the order of their numbers
    cut       whether the end is missing: the process died, or still runs. All marks up to
              there are here, and what stands behind the last whole line is not.
    """

    path: str
    snapshot: str
    version: str
    host: str
    job: str
    marks: list[Mark]
    timers: list[Timer]
    cut: bool

    def frame(self) -> pandas.DataFrame:
        """The marks as a data frame; MissingPackageError without pandas."""
        return frame(self.path, Mark._fields, self.marks)

    def timer_frame(self) -> pandas.DataFrame:
        """The timers as a data frame; MissingPackageError without pandas."""
        return frame(self.path, Timer._fields, self.timers)


def read_usage(path: Path) -> UsageLog:
    """Reads a resource log, also one that was cut by the end of its process.

    Raises FormatError for a file of another kind, DamageError for a line that is no part
    of such a log, or if not even one mark is there, UnreadableError if the system
    refuses.

        log = read_usage("demo.use")
        for mark in log.marks:
            print(mark.elapsed, mark.label, mark.working_set)
        if log.cut:
            print("died after", log.marks[-1].label)
    """
    with Lines(path) as lines:
        return _Reader(lines).read()


class _Reader:
    def __init__(self, lines: Lines) -> None:
        self._lines = lines
        self._job = b""
        self._next = b""  # begins the mark behind the one that is being read
        self._labels: list[bytes] = []
        self._marks: list[Mark] = []
        self._timers: list[Timer] = []

    def read(self) -> UsageLog:
        head = [self._head_value(key) for key in (b"Snapshot", b"Version", b"Host")]
        line = self._read_marks()
        if line is not None:
            self._read_end(line)
        return UsageLog(
            path=os.fsdecode(self._lines.path),
            snapshot=head[0],
            version=head[1],
            host=head[2],
            job=as_text(self._job),
            marks=self._labelled_marks(),
            timers=self._timers,
            cut=not self._timers or self._timers[-1].number != _OWN_TIMER,
        )

    def _head_value(self, key: bytes) -> str:
        line = self._lines.next()
        front = b"!" + key + b" = "
        if line is not None and line.startswith(front):
            return as_text(line[len(front) :])
        if self._lines.number == 1:
            raise self._lines.foreign("this is no resource log")
        raise self._lines.damage(f"the head's {as_text(key)} is missing")

    # Marks

    def _read_marks(self) -> bytes | None:
        """Reads all marks; returns the line that ends them, None if there is none."""
        line = self._lines.next()
        if line is None:
            raise self._lines.damage("the log ends before its first mark")
        begin = self._lines.number
        while line is not None and not (self._marks and line.startswith(b"!Phase,")):
            begin = self._lines.number
            record = self._lines.record(line, _mark_tail, self._begins_other, "mark")
            if record is None:
                line = None
                break
            text, numbers = record
            self._add_mark(begin, text or b"", numbers)
            line = self._lines.next()
        if not self._marks:
            self._lines.number = begin
            raise self._lines.damage("this is no mark")
        return line

    def _begins_other(self, line: bytes) -> bool:
        """Whether the line is no piece of a label with line feeds, but what comes behind
        the mark that is being read."""
        return bool(self._marks) and line.startswith((self._next, b"!Phase,", _TITLE))

    def _add_mark(self, begin: int, text: bytes, numbers: tuple[bytes, ...]) -> None:
        if not self._marks:
            self._job = _job_of(text)
        front = b"%s.%d " % (self._job, len(self._marks) + 1)
        found = _WALL_AND_LABEL.fullmatch(text, len(front))
        if not text.startswith(front) or found is None or not self._fits(found[2]):
            self._lines.number = begin
            raise self._lines.damage("this is no mark")
        wall = int(found[1])
        elapsed = wall
        if self._marks:
            # It falls by so much at midnight only; a little when the clock was set back.
            last = self._marks[-1]
            elapsed = last.elapsed + wall - last.wall
            if wall - last.wall < -_DAY // 2:
                elapsed += _DAY
        user, system, peak_set, working_set, cpu, *counts, process = numbers
        mark = Mark._make(
            [
                len(self._marks) + 1,
                wall,
                elapsed,
                "",  # its label is known at the end
                float(user),
                float(system),
                float(cpu),
                *(int(count) % (1 << 32) for count in (peak_set, working_set, *counts)),
                int(process),
            ]
        )
        self._marks.append(mark)
        self._next = b"%s.%d " % (self._job, mark.number + 2)
        self._labels.append(found[2])

    def _fits(self, label: bytes) -> bool:
        """Whether the label may follow those that there are: the first one is the job's,
        and if it stands in columns, all do."""
        if not self._labels:
            return _is_own_label(label, self._job, _START)
        padded = len(self._labels[0]) == _LABEL_COLUMNS != len(self._job + _START)
        return len(label) == _LABEL_COLUMNS or not padded

    def _labelled_marks(self) -> list[Mark]:
        """The marks with their labels. If all have the same number of columns, blanks in
        front belong to the columns; the blanks of whole labels are their own."""
        if all(len(label) == _LABEL_COLUMNS for label in self._labels):
            self._labels = [label.lstrip(b" ") for label in self._labels]
        return [
            mark._replace(label=as_text(label))
            for mark, label in zip(self._marks, self._labels)
        ]

    # The end

    def _read_end(self, line: bytes) -> None:
        if not _is_own_label(self._labels[-1], self._job, _END):
            raise self._lines.damage("the last mark before this is not the job's end")
        if line != _COLUMNS:
            raise self._lines.damage("these are not the names of the columns")
        title = self._lines.next()
        if title is not None and title != _TITLE:
            raise self._lines.damage("this is not the title of the timers")
        while (timer := self._lines.next()) is not None:
            begin = self._lines.number
            record = self._lines.record(
                timer,
                _timer_tail,
                lambda line: self._lines.number > begin and line.startswith(b"!Timer "),
                "timer",
            )
            if record is None:
                break
            text, numbers = record
            self._add_timer(begin, text or b"", numbers)

    def _add_timer(self, begin: int, text: bytes, numbers: tuple[bytes, ...]) -> None:
        found = _TIMER_FRONT.fullmatch(text)
        last = self._timers[-1].number if self._timers else -1
        if (
            found is None
            or len(found[2]) < _NAME_COLUMNS
            or not last < int(found[1]) <= _OWN_TIMER
        ):
            self._lines.number = begin
            raise self._lines.damage("this is not the next timer")
        name = found[2].lstrip(b" ") if len(found[2]) == _NAME_COLUMNS else found[2]
        calls, per_call, cpu, elapsed = numbers
        self._timers.append(
            Timer(
                int(found[1]),
                as_text(name),
                int(calls),
                float(per_call),
                float(cpu),
                float(elapsed),
            )
        )


def _mark_tail(line: bytes) -> tuple[bytes, tuple[bytes, ...]] | None:
    """The numbers at the end of a mark, and what stands before them."""
    if not line.endswith(b" "):
        return None
    text, *numbers = line[:-1].rsplit(b" ", len(_FIELDS))
    found = _NUMBERS.fullmatch(b" ".join(numbers))
    return (text, found.groups()) if found else None


def _timer_tail(line: bytes) -> tuple[bytes, tuple[bytes, ...]] | None:
    found = _TIMER.fullmatch(line)
    return (found[1], found.groups()[1:]) if found else None


def _job_of(text: bytes) -> bytes:
    """The job's name in "JOB.1 WALL LABEL", whose label is the job's first. A name may
    look like a phase itself, so the label decides."""
    for found in _FIRST_PHASE.finditer(text):
        columns = len(text) - found.end()
        if columns in (_LABEL_COLUMNS, found.start() + len(_START)):
            job = text[: found.start()]
            if _is_own_label(text[found.end() :], job, _START):
                return job
    return b""


def _is_own_label(label: bytes, job: bytes, ending: bytes) -> bool:
    """Whether `label` is one that the monitor makes of a job's name, whole or in its
    columns."""
    whole = job + ending
    if len(whole) <= _LABEL_COLUMNS:
        return label in (whole, whole.rjust(_LABEL_COLUMNS))
    return label in (whole, whole[:19] + b"_" + whole[-20:])
