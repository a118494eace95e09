"""Resource logs: what the library writes is read, and a log that was cut or damaged is
told from a whole one."""

import pathlib
import sys
import tracemalloc
import unittest
import unittest.mock

from kestra_utl import (
    DamageError,
    FormatError,
    KestraError,
    MissingPackageError,
    UnreadableError,
    read_usage,
)
from support import InFolder, Written

# The labels of tests/python/write_files.cpp, and how a label in columns shows them.
WHOLE = [
    "pre-solve",
    "a label with blanks",
    "one, two, 3, 0.000000",
    "",
    "  in columns",
    "more than forty bytes of a label, of which some are left out",
    "of exactly forty bytes, neither more nor",
    "two\nlines",
    "caf\udce9",
    "1 0.1 0.2 11 12 0.3 13",
]
SHORT = [label.lstrip() for label in WHOLE]
SHORT[5] = "more than forty byte_ch some are left out"[:19] + "_" + WHOLE[5][-20:]
TIMERS = [(0, "pre-solve"), (3, "  a name, of more than twenty bytes"), (6, "two\nlines")]

HEAD = b"!Snapshot = ?\n!Version = 6.6\n!Host = node7 Intel64\n"
START = b"beam.1 0                               beam-Start"
NUMBERS = b" 0.1 0.2 11 12 0.3 13 14 15 16 17 18 0 0 0 99 \n"
END = b"beam.2 -5                                 beam-End"
COLUMNS = (
    b"!Phase,Wall,Mark,UserCPU,SysCPU,WSP,WS,CPU,QPPP,QPP,QNPPP,QNPP,PageFaults,"
    b"PeakPageFileUsage,0,0,0,ProcessID\n"
)
TITLE = (
    b"!Timer Summary                     # calls     CPU/call      CPU       Elapsed\n"
)
ASSEMBLY = b"!Timer 3 :               assembly   2      0.6000      1.2000      -2.8 \n"
SELF = b"!Timer 20 :                   Self   1000      0.0000      0.0000      0.0 \n"
LOG = HEAD + START + NUMBERS + END + NUMBERS + COLUMNS + TITLE + ASSEMBLY + SELF


class LibraryUsageTest(Written):
    def read(self, mode, *options):
        self.run_writer(*options, KES_RESOURCE_MONITOR=mode, KESTRA_SEQ="snap_1 nightly")
        return read_usage("my job, 2.use")

    def labels(self, log):
        self.assertTrue(log.marks[0].label.endswith("my job, 2-Start"), log.marks[0])
        return [mark.label for mark in log.marks[1:]]

    def test_has_whole_labels(self):
        log = self.read("FULL")
        self.assertEqual(self.labels(log)[:-1], WHOLE)
        self.assertTrue(log.marks[-1].label.endswith("my job, 2-End"))
        self.assertTrue(log.job.endswith("my job, 2"), log.job)
        self.assertFalse(log.cut)

    def test_has_labels_in_columns(self):
        log = self.read("ON", "-job", "my job, 2")
        start, *labels, end = (mark.label for mark in log.marks)
        self.assertEqual(labels, SHORT)
        self.assertTrue(start.endswith("my job, 2-Start"))
        self.assertTrue(end.endswith("my job, 2-End"))

    def test_has_the_marks_of_methods(self):
        self.assertEqual(
            self.labels(self.read("FULLMETHOD"))[:-1], [*WHOLE, "of a method"]
        )
        self.assertEqual(self.read("METHOD").marks[-2].label, "of a method")

    def test_has_what_was_used(self):
        log = self.read("ON")
        self.assertEqual(log.snapshot, "snap_1 nightly")
        self.assertEqual([mark.number for mark in log.marks], list(range(1, 13)))
        self.assertEqual(len({mark.process for mark in log.marks}), 1)
        for mark in log.marks:
            self.assertGreater(mark.working_set, 100000)
            self.assertGreaterEqual(mark.peak_working_set, mark.working_set)
            self.assertIn(mark.elapsed, range(300))

    def test_has_timers(self):
        log = self.read("ON")
        own = log.timers[-1]
        self.assertEqual([(t.number, t.name) for t in log.timers[:-1]], TIMERS)
        self.assertEqual((own.number, own.name, own.calls), (20, "Self", 1000))

    def test_that_was_cut_by_a_crash_has_all_marks_and_says_so(self):
        log = self.read("FULL", "-die")
        self.assertTrue(log.cut)
        self.assertEqual(self.labels(log), WHOLE)
        self.assertEqual(log.timers, [])

    def test_with_any_byte_changed_is_a_log_or_refused(self):
        self.read("FULL")
        path = pathlib.Path("my job, 2.use")
        whole = path.read_bytes()
        for place in range(len(whole)):
            byte = (0, 10, 32, whole[place] ^ 1)[place % 4]
            self.write(whole[:place] + bytes([byte]) + whole[place + 1 :], path)
            try:
                self.assertEqual(len(read_usage(path).marks), 12)
            except KestraError as error:
                self.assertRegex(str(error), "^my job, 2.use: line [0-9]+: ")

    def test_cut_anywhere_has_its_first_marks_and_says_so(self):
        whole = self.read("FULL")
        path = pathlib.Path("my job, 2.use")
        data = path.read_bytes()
        first_mark = data.index(b"\n", data.index(b"-Start")) + 1
        for size in range(len(data)):
            self.write(data[:size], path)
            try:
                log = read_usage(path)
            except (FormatError, DamageError):
                self.assertLess(size, first_mark)
                continue
            self.assertGreaterEqual(size, first_mark)
            self.assertTrue(log.cut)
            self.assertEqual(log.marks, whole.marks[: len(log.marks)])
            self.assertEqual(log.timers, whole.timers[: len(log.timers)])
            if log.timers:
                self.assertEqual(len(log.marks), len(whole.marks))


class UsageTest(InFolder):
    def read(self, data):
        return read_usage(self.write(data, "beam.use"))

    def test_is_read_to_its_end(self):
        log = self.read(LOG)
        self.assertEqual(
            (log.path, log.snapshot, log.version, log.host, log.job, log.cut),
            ("beam.use", "?", "6.6", "node7 Intel64", "beam", False),
        )
        self.assertEqual(
            log.marks[1],
            (2, -5, -5, "beam-End", 0.1, 0.2, 0.3, 11, 12, 13, 14, 15, 16, 17, 18, 99),
        )
        self.assertEqual(log.timers[0], (3, "assembly", 2, 0.6, 1.2, -2.8))

    def test_may_have_the_line_ends_of_windows(self):
        log = self.read(LOG.replace(b"\n", b"\r\n"))
        self.assertEqual((log.host, log.cut), ("node7 Intel64", False))
        self.assertEqual(log.marks, self.read(LOG).marks)
        self.assertEqual(log.timers, self.read(LOG).timers)

    def test_counts_memory_beyond_two_gibibytes(self):
        log = self.read(LOG.replace(b" 11 12 ", b" -1 -2147483648 "))
        self.assertEqual(log.marks[0].peak_working_set, 4294967295)
        self.assertEqual(log.marks[0].working_set, 2147483648)

    def test_goes_on_across_midnight(self):
        walls = [0, 5, 5 - 86400, 3600 - 86400, 3599 - 86400, -1, 7 - 86400]
        marks = b"".join(
            b"beam.%d %d %40b" % (number, wall, b"beam-Start" if number == 1 else b"x")
            + NUMBERS
            for number, wall in enumerate(walls, 1)
        )
        log = self.read(HEAD + marks)
        self.assertEqual([mark.wall for mark in log.marks], walls)
        self.assertEqual(
            [mark.elapsed for mark in log.marks],
            [0, 5, 5, 3600, 3599, 86399, 86407],
        )

    def test_knows_the_job_whatever_its_name_is(self):
        for job in (
            b"",
            b" ",
            b"a b",
            b"a.1 0 b",
            b".1 0 .1 0 ",
            b"caf\xe9",
            b"j" * 34,
            b"j" * 99,
        ):
            whole = job + b"-Start"
            short = whole if len(whole) <= 40 else whole[:19] + b"_" + whole[-20:]
            for label in (whole, short.rjust(40)):
                with self.subTest(job=job, label=label):
                    log = self.read(
                        HEAD + job + b".1 0 " + label + NUMBERS
                        + job + b".2 0 " + b"x".rjust(len(label)) + NUMBERS
                    )  # fmt: skip
                    self.assertEqual(log.job, job.decode("utf-8", "surrogateescape"))
                    self.assertEqual(log.marks[1].label.lstrip(), "x")

    def test_keeps_the_blanks_of_whole_labels(self):
        data = HEAD + b"beam.1 0 beam-Start" + NUMBERS + b"beam.2 0   x " + NUMBERS
        self.assertEqual(self.read(data).marks[1].label, "  x ")

    def test_tells_what_is_no_log(self):
        for data in (b"", b"\n", b"PK\3\4", bytes(1000), LOG[1:], b"!Snapshot = no end"):
            self.assert_fails(
                FormatError, "beam.use: line 1: this is no resource log", self.read, data
            )

    def test_tells_which_line_is_damaged(self):
        cases = [
            (b"!Version = ", b"!Version: ", "line 2: the head's Version is missing"),
            (b"!Host", b"?Host", "line 3: the head's Host is missing"),
            (b"beam.1", b"beam.2", "line 4: this is no mark"),
            (b"beam-Start", b"bean-Start", "line 4: this is no mark"),
            (b"beam.2 -5 ", b"beam.3 -5 ", "line 5: this is no mark"),
            (b"beam.2 -5 ", b"beam.2 5- ", "line 5: this is no mark"),
            (b"beam.2 -5 ", b"beam.2 -5  ", "line 5: this is no mark"),
            (b" 99 \nbeam", b" 99\nbeam", "line 4: this is no mark"),
            (b" 99 \n!", b" 99\n!", "line 5: this is no mark"),
            (b" 99 \n!", b" 99 !", "line 5: this is no mark"),
            (
                b"beam-End",
                b"end-beam",
                "line 6: the last mark before this is not the job's end",
            ),
            (b",WSP,", b",wsp,", "line 6: these are not the names of the columns"),
            (
                b"Timer Summary ",
                b"Timer summary ",
                "line 7: this is not the title of the timers",
            ),
            (b"!Timer 3 ", b"!Timer 21 ", "line 8: this is not the next timer"),
            (b"!Timer 20 ", b"!Timer 3 ", "line 9: this is not the next timer"),
            (b"     assembly", b"assembly", "line 8: this is not the next timer"),
            (b"1.2000", b"1.200", "line 8: this is no timer"),
            (b"!Timer 3 ", b"?Timer 3 ", "line 8: this is not the next timer"),
        ]
        for part, instead, text in cases:
            with self.subTest(text, instead=instead):
                data = LOG.replace(part, instead)
                self.assertNotEqual(data, LOG)
                self.assert_fails(DamageError, "beam.use: " + text, self.read, data)

    def test_takes_no_following_mark_into_a_damaged_one(self):
        labels = [b"beam.1 0 beam-Start", b"beam.2 1 x", b"beam.3 2 y"]
        marks = HEAD + b"".join(label + NUMBERS for label in labels)
        self.assertEqual(len(self.read(marks).marks), 3)
        self.assert_fails(
            DamageError,
            "beam.use: line 5: this is no mark",
            self.read,
            marks.replace(b"x 0.1", b"x 0,1"),
        )

    def test_takes_no_line_without_end_for_the_last(self):
        self.assert_fails(
            DamageError,
            "beam.use: line 5: the line has more than 1048576 bytes",
            self.read,
            HEAD + START + NUMBERS + bytes(2 << 20) + b"\n",
        )

    def test_takes_no_number_that_is_none(self):
        for number, instead in [
            (b" 11 ", b" 11.0 "), (b" 11 ", b" +11 "), (b" 11 ", b" 99999999999 "),
            (b" 11 ", b" 1_1 "), (b" 0.1 ", b" nan "), (b" 0.1 ", b" 1e9 "),
            (b" 0.1 ", b" 0.10 "), (b" 0 0 0 ", b" 0 1 0 "),
        ]:  # fmt: skip
            with self.subTest(instead=instead):
                with self.assertRaises(DamageError):
                    self.read(LOG.replace(number, instead))

    def test_takes_no_memory_for_endless_lines(self):
        tracemalloc.start()
        for front, endless in [(b"", b"\0"), (HEAD, b"\0"), (HEAD + START, b"\n")]:
            self.write(front + endless * (20 << 20), "beam.use")
            tracemalloc.reset_peak()
            with self.assertRaises((FormatError, DamageError)):
                read_usage("beam.use")
            self.assertLess(tracemalloc.get_traced_memory()[1], 8 << 20)
        tracemalloc.stop()

    def test_that_the_system_refuses_is_told_with_its_words(self):
        self.assert_fails(
            UnreadableError, "no.use: No such file or directory", read_usage, "no.use"
        )
        self.assert_fails(UnreadableError, ".: Is a directory", read_usage, ".")
        self.assert_fails(
            UnreadableError, "a\\x00b: no path has a zero byte", read_usage, "a\0b"
        )

    def test_needs_pandas_for_frames(self):
        with unittest.mock.patch.dict(sys.modules, {"pandas": None}):
            with self.assertRaisesRegex(
                MissingPackageError, "beam.use: .*install pandas"
            ):
                self.read(LOG).frame()


try:
    import pandas
except ImportError:
    pandas = None


@unittest.skipIf(pandas is None, "pandas is not installed")
class UsageFramesTest(InFolder):
    def test_have_a_row_for_each_mark_and_timer(self):
        log = read_usage(self.write(LOG))
        marks = log.frame()
        self.assertIsInstance(marks, pandas.DataFrame)
        self.assertEqual(list(marks["label"]), ["beam-Start", "beam-End"])
        self.assertEqual(list(marks.itertuples(index=False, name=None)), log.marks)
        self.assertEqual(log.timer_frame()["calls"].sum(), 1002)

    def test_have_their_columns_without_rows(self):
        log = read_usage(self.write(HEAD + START + NUMBERS))
        self.assertEqual(list(log.timer_frame().columns)[:2], ["number", "name"])
        self.assertEqual(len(log.timer_frame()), 0)
