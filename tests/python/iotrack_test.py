"""The I/O tracker's files: what the library writes is read, and what was cut or damaged
is told from what is whole."""

import os
import pathlib
import sys
import unittest
import unittest.mock

from kestra_utl import (
    DamageError,
    FormatError,
    KestraError,
    MissingPackageError,
    UnreadableError,
    read_individual,
    read_iotrack,
    read_totals,
)
from support import InFolder, Written
from usage_test import WHOLE

COLUMNS = (
    ", Work Write Count, Work Write MB, Work Write Time, Work Read Count, Work Read MB, "
    "Work Read Time, Scratch Write Count, Scratch Write MB, Scratch Write Time, "
    "Scratch Read Count, Scratch Read MB, Scratch Read Time\n"
)
HEAD = "IO Tracking Totals\nCode Mark, Elapsed Time" + COLUMNS
TIMED = "IO Tracking Totals\nElapsed Time" + COLUMNS
NONE = "0, 0.000000, 0.000000"
INPUT = f"0.000206, {NONE}, 2, 0.082031, 0.000191, {NONE}, {NONE}\n"
SOLUTION = (
    "0.071512, 4, 2.500488, 0.001809, 2, 0.082031, 0.000191, 4, 16.000000, 0.022546, "
    "4, 16.000000, 0.034113\n"
)
SOLUTION_VALUES = (
    0.071512, 4, 2.500488, 0.001809, 2, 0.082031, 0.000191, 4, 16.0, 0.022546,
    4, 16.0, 0.034113,
)  # fmt: skip
SUMMARY = r"""IO Summary for All Files

WORK DIRECTORY FILES
run\beam, 2.deck, 0.000000, 0.000000, 0.082031, 0.000191
run\beam.kdb, 2.500000, 0.001797, 0.000000, 0.000000


SCRATCH DIRECTORY FILES
D:\scratch\beam.mat, 16.000000, 0.022546, 16.000000, 0.034113

"""


class LibraryIoTrackTest(Written):
    def read(self, *options, level="2", **environment):
        self.run_writer(*options, KES_IO_TRACK=level, **environment)
        return read_iotrack("my job, 2")

    def test_has_totals_at_every_mark(self):
        track = self.read()
        lines = track.totals.lines
        self.assertEqual([line.label for line in lines], ["begin, 1, 2", None, *WHOLE])
        self.assertEqual(lines[0][2:], (1, 2.0, 0.5, 0, 0, 0, 0, 0, 0, 0, 0, 0))
        for line in lines[1:]:
            self.assertEqual(line[2:], (1, 2.0, 0.5, 0, 0, 0, 1, 0.5, 0.25, 1, 1.0, 1.0))
        self.assertEqual(sorted(lines, key=lambda line: line.elapsed), lines)
        self.assertFalse(track.cut or track.totals.cut or track.totals.timed)

    def test_has_increments_that_add_up(self):
        track = self.read()
        self.assertEqual(
            [(line.label, line.elapsed) for line in track.increments.lines],
            [(line.label, line.elapsed) for line in track.totals.lines],
        )
        sums = [sum(column) for column in list(zip(*track.increments.lines))[2:]]
        self.assertEqual(tuple(sums), track.totals.lines[-1][2:])

    def test_has_no_increments_at_the_first_level(self):
        track = self.read(level="1")
        self.assertIsNone(track.increments)
        self.assertEqual(len(track.totals.lines), 12)

    def test_has_a_summary(self):
        summary = self.read().summary
        self.assertEqual(
            summary.files,
            [
                ("in, out\\a file.dat", False, 2.0, 0.5, 0.0, 0.0),
                ("caf\udce9.mat", True, 0.5, 0.25, 1.0, 1.0),
            ],
        )
        self.assertFalse(summary.cut)

    def test_that_was_cut_by_a_crash_says_so(self):
        track = self.read("-die")
        self.assertIsNone(track.summary)
        self.assertTrue(track.cut)
        self.assertEqual(len(track.totals.lines), 12)

    def test_has_files_about_single_files(self):
        self.read(KES_IO_INDIVIDUAL="1")
        table = read_individual("a file.dat_ioTotal")
        self.assertEqual(
            [line.label for line in table.lines], ["begin, 1, 2", None, *WHOLE]
        )
        self.assertEqual(table.lines[0][2:], (1, 2.0, 0.5, 0, 0.0, 0.0))
        (scratch,) = pathlib.Path().glob("caf*.mat_ioTotal")
        self.assertEqual(len(read_individual(scratch).lines), 11)

    def test_of_the_timed_mode_has_no_labels(self):
        self.run_writer(KES_IO_TRACK="1", KES_IO_TIMEPOINTS="2")
        totals = read_iotrack("my job, 2").totals
        self.assertTrue(totals.timed)
        self.assertEqual({line.label for line in totals.lines}, {None})
        self.assertEqual(totals.lines[0].work_write_mb, 2.0)

    def test_cut_anywhere_has_its_first_lines(self):
        whole = self.read()
        path = pathlib.Path("my job, 2.ioTotal")
        data = path.read_bytes()
        for size in range(len(data)):
            self.write(data[:size], path)
            table = read_totals(path)
            self.assertEqual(table.lines, whole.totals.lines[: len(table.lines)])
            # A line's end is no mark of the file's end.
            self.assertTrue(table.cut or data[:size].endswith(b"\n"))
        path = pathlib.Path("my job, 2.ioFileSummary")
        data = path.read_bytes()
        for size in range(len(data)):
            self.write(data[:size], path)
            summary = read_iotrack("my job, 2").summary
            self.assertTrue(summary.cut)
            self.assertEqual(summary.files, whole.summary.files[: len(summary.files)])

    def test_with_any_byte_changed_is_read_or_refused(self):
        whole = self.read()
        for kind in ("ioTotal", "ioFileSummary"):
            path = pathlib.Path("my job, 2." + kind)
            data = path.read_bytes()
            for place in range(len(data)):
                byte = (0, 10, 44, data[place] ^ 1)[place % 4]
                self.write(data[:place] + bytes([byte]) + data[place + 1 :], path)
                try:
                    track = read_iotrack("my job, 2")
                    self.assertLessEqual(len(track.totals.lines), len(whole.totals.lines))
                    self.assertLessEqual(
                        len(track.summary.files), len(whole.summary.files)
                    )
                except KestraError as error:
                    self.assertRegex(str(error), "^my job, 2.io[A-Za-z]+: line [0-9]+: ")
            self.write(data, path)


class IoTrackTest(InFolder):
    def read(self, text):
        return read_totals(self.write(text.encode(), "ioTotal"))

    def read_summary(self, text):
        self.write(text.encode(), "beam.ioFileSummary")
        return read_iotrack("beam").summary

    def test_has_the_numbers_from_the_end_of_the_line(self):
        labels = ["", "input", "1", "a, b", ", ", "x, 0.000206, 0, 0.000000"]
        table = self.read(HEAD + "".join(f"{label}, {SOLUTION}" for label in labels))
        self.assertEqual([line.label for line in table.lines], labels)
        self.assertEqual({line[1:] for line in table.lines}, {SOLUTION_VALUES})

    def test_may_have_lines_without_label(self):
        table = self.read(HEAD + "input, " + INPUT + SOLUTION)
        self.assertEqual([line.label for line in table.lines], ["input", None])

    def test_may_have_labels_with_line_feeds(self):
        labels = ["a\nb", "\n", "a\n\nb, c", "1, 2\n3"]
        table = self.read(HEAD + "".join(f"{label}, {INPUT}" for label in labels))
        self.assertEqual([line.label for line in table.lines], labels)

    def test_may_have_sums_that_are_too_large(self):
        table = self.read(HEAD + "input, " + INPUT.replace("0.000191", "inf"))
        self.assertEqual(table.lines[0].work_read_time, float("inf"))

    def test_may_have_the_line_ends_of_windows(self):
        table = self.read((HEAD + "input, " + INPUT).replace("\n", "\r\n"))
        self.assertEqual((len(table.lines), table.cut), (1, False))
        summary = self.read_summary(SUMMARY.replace("\n", "\r\n"))
        self.assertEqual((len(summary.files), summary.cut), (3, False))

    def test_of_the_timed_mode_has_no_place_for_a_label(self):
        table = self.read(TIMED + INPUT + SOLUTION)
        self.assertTrue(table.timed)
        self.assertEqual(table.lines[1], (None, *SOLUTION_VALUES))
        self.assert_fails(
            DamageError,
            "ioTotal: line 4: there is no place for a label here",
            self.read,
            TIMED + INPUT + "input, " + INPUT,
        )

    def test_without_lines_is_of_a_process_that_died(self):
        windows = HEAD[: HEAD.index("\n")] + "\r"
        for text in ("", HEAD[:5], windows, HEAD[:25], HEAD[:-1]):
            table = self.read(text)
            self.assertEqual((table.lines, table.cut), ([], True))
        self.assertEqual((self.read(HEAD).lines, self.read(HEAD).cut), ([], False))

    def test_tells_what_is_none(self):
        for text, line in [
            ("\n", 1),
            ("PK", 1),
            (HEAD.replace("MB", "GB"), 2),
            ("IO\n", 1),
        ]:
            self.assert_fails(
                FormatError,
                f"ioTotal: line {line}: this is no such file of the I/O tracker",
                self.read,
                text,
            )
        self.assert_fails(
            FormatError,
            "ioTotal: line 2: this is no such file of the I/O tracker",
            read_individual,
            self.write(HEAD.encode(), "ioTotal"),
        )

    def test_takes_no_number_that_is_none(self):
        for number, instead in [
            ("0.000206", "0.00020"), ("0.000206", "-0.000206"), ("0.000206", "nan"),
            ("0.000206", ".000206"), (" 2,", " 2.000000,"), (" 2,", " -2,"),
            (" 2,", " 12345678901,"), (" 2,", " 1_0,"), ("0.082031", "1e5"),
        ]:  # fmt: skip
            with self.subTest(instead=instead):
                self.assert_fails(
                    DamageError,
                    "ioTotal: line 3: this is no line of counts",
                    self.read,
                    HEAD + "input, " + INPUT.replace(number, instead) + "x, " + INPUT,
                )

    def test_reads_the_files_that_are_there(self):
        self.write((HEAD + "a, " + INPUT).encode(), "beam.ioInc")
        track = read_iotrack(pathlib.Path("beam"))
        self.assertEqual((track.totals, track.summary, track.cut), (None, None, True))
        self.assertEqual(track.increments.lines[0].label, "a")
        self.assert_fails(
            UnreadableError,
            "p: there is neither p.ioTotal nor p.ioInc nor p.ioFileSummary",
            read_iotrack,
            "p",
        )

    def test_finds_files_without_job_and_with_a_suffix(self):
        os.mkdir("run")
        for name in ("ioTotal", "run/ioTotal", "run/beam.ioTotal_2", "ioTotal_2"):
            self.write((HEAD + f"{name}, " + INPUT).encode(), name)
        for job, suffix, name in [
            ("", "", "ioTotal"),
            ("run/", "", "run/ioTotal"),
            ("run/beam", "2", "run/beam.ioTotal_2"),
            ("", "2", "ioTotal_2"),
        ]:
            track = read_iotrack(job, suffix=suffix)
            self.assertEqual(track.totals.lines[0].label, name)

    def test_has_a_summary(self):
        summary = self.read_summary(SUMMARY)
        self.assertEqual(
            summary.files,
            [
                ("run\\beam, 2.deck", False, 0.0, 0.0, 0.082031, 0.000191),
                ("run\\beam.kdb", False, 2.5, 0.001797, 0.0, 0.0),
                ("D:\\scratch\\beam.mat", True, 16.0, 0.022546, 16.0, 0.034113),
            ],
        )
        self.assertFalse(summary.cut)
        self.assertFalse(read_iotrack("beam").cut)

    def test_tells_which_line_of_a_summary_is_damaged(self):
        cases = [
            (
                "IO Summary",
                "IO summary",
                FormatError,
                "1: this is no summary of the I/O tracker",
            ),
            ("Files\n\n", "Files\n", DamageError, "2: this is not ''"),
            ("WORK", "work", DamageError, "3: this is not 'WORK DIRECTORY FILES'"),
            ("0.082031", "0.08203", DamageError, "4: this is no line of a file"),
            ("0.000191", "0,000191", DamageError, "4: this is no line of a file"),
            (
                "SCRATCH",
                "scratch",
                DamageError,
                "8: this is not 'SCRATCH DIRECTORY FILES'",
            ),
            (
                "0.034113\n\n",
                "0.034113\n\n\n",
                DamageError,
                "11: nothing should follow the summary",
            ),
            (
                "0.034113\n\n",
                "0.034113\n\nx",
                DamageError,
                "11: nothing should follow the summary",
            ),
        ]
        for part, instead, kind, text in cases:
            with self.subTest(text):
                self.assertIn(part, SUMMARY)
                self.assert_fails(
                    kind,
                    "beam.ioFileSummary: line " + text,
                    self.read_summary,
                    SUMMARY.replace(part, instead),
                )

    def test_that_the_system_refuses_is_told_with_its_words(self):
        os.mkdir("ioTotal")
        self.assert_fails(UnreadableError, "ioTotal: Is a directory", read_iotrack)

    def test_needs_pandas_for_frames(self):
        self.read(HEAD)
        self.read_summary(SUMMARY)
        with unittest.mock.patch.dict(sys.modules, {"pandas": None}):
            for table in (read_totals("ioTotal"), read_iotrack("beam").summary):
                with self.assertRaisesRegex(MissingPackageError, ": .*install pandas"):
                    table.frame()


try:
    import pandas
except ImportError:
    pandas = None


@unittest.skipIf(pandas is None, "pandas is not installed")
class IoFramesTest(InFolder):
    def test_have_a_row_for_each_line(self):
        self.write((HEAD + "a, " + INPUT + "b, c, " + SOLUTION).encode(), "beam.ioTotal")
        self.write(SUMMARY.encode(), "beam.ioFileSummary")
        track = read_iotrack("beam")
        totals = track.totals.frame()
        self.assertIsInstance(totals, pandas.DataFrame)
        self.assertEqual(list(totals["label"]), ["a", "b, c"])
        self.assertEqual(totals["work_write_mb"].max(), 2.500488)
        self.assertEqual(track.summary.frame()["write_mb"].sum(), 18.5)
