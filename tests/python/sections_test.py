"""Section files: what the library writes is read, and what is damaged is told."""

import array
import io
import os
import pathlib
import struct
import sys
import tracemalloc
import unittest
import unittest.mock

import kestra_utl
from kestra_utl import (
    ClosedError,
    DamageError,
    FormatError,
    KestraError,
    NoSectionError,
    UnreadableError,
    ValuesError,
    open_sections,
    verify,
)
from support import TAG, InFolder, Written, plain_crc, section_file

# The example of the page of the format, and its bytes there.
EXAMPLE = [(b"a", b"\1\2\3"), (b"title", b"Truss\n"), (b"none", b"")]
EXAMPLE_BYTES = bytes.fromhex(
    "28C11DAF 01000000 03000000 01000000 61 03000000 51690D1B 05000000 7469746C65"
    "06000000 E07A0736 04000000 6E6F6E65 00000000 FFFFFFFF 010203 54727573730A"
)


class LibrarySectionsTest(Written):
    def setUp(self):
        super().setUp()
        self.run_writer()
        self.file = "my job, 2.kdb"

    def test_have_the_names_in_their_order(self):
        with open_sections(self.file) as sections:
            self.assertEqual(
                list(sections),
                ["", "title", "loads", "node ids", "caf\udce9", "none", "bytes"],
            )
            self.assertEqual(len(sections), 7)

    def test_have_the_bytes(self):
        with open_sections(self.file) as sections:
            self.assertEqual(sections[""], b"abc")
            self.assertEqual(sections["title"], b"Truss\n")
            self.assertEqual(sections["loads"], struct.pack("<3d", 1.5, -2.0, 1e300))
            self.assertEqual(sections["node ids"], struct.pack("<3i", 1, -2, 2147483647))
            self.assertEqual(sections["none"], b"")
            self.assertEqual(sections["bytes"], (bytes(range(256)) * 1200)[:300000])

    def test_are_found_by_names_of_any_bytes(self):
        with open_sections(self.file) as sections:
            self.assertEqual(sections["caf\udce9"], b"\xe9")
            self.assertEqual(sections[b"caf\xe9"], b"\xe9")
            self.assertEqual(kestra_utl.as_bytes("caf\udce9").decode("cp1252"), "café")

    def test_are_whole(self):
        result = verify(self.file)
        self.assertTrue(result)
        self.assertEqual(len(result.whole), 7)
        self.assertEqual((result.damaged, result.damages), ([], []))

    def test_are_told_to_be_damaged_where_a_byte_was_changed(self):
        data = bytearray(pathlib.Path(self.file).read_bytes())
        data[-1] ^= 1
        self.write(data, self.file)
        result = verify(self.file)
        self.assertFalse(result)
        self.assertEqual(len(result.whole), 6)
        self.assertEqual([section.name for section in result.damaged], ["bytes"])
        place = len(data) - 300000
        self.assertEqual(result.damages[0].place, f"section 'bytes' at byte {place}")
        self.assertIn("its checksum is ", str(result.damages[0]))

    def test_are_the_values_that_were_written(self):
        with open_sections(self.file) as sections:
            self.assertEqual(list(sections.array("loads", "f8")), [1.5, -2.0, 1e300])
            self.assertEqual(list(sections.array("node ids", "i4")), [1, -2, 2147483647])


class SectionsTest(InFolder):
    def test_are_laid_out_as_the_page_says(self):
        self.assertEqual(section_file(EXAMPLE), EXAMPLE_BYTES)
        with open_sections(self.write(EXAMPLE_BYTES)) as sections:
            self.assertEqual(
                dict(sections), {"a": b"\1\2\3", "title": b"Truss\n", "none": b""}
            )
            self.assertEqual(
                list(sections.directory()),
                [("a", 3, 0x1B0D6951, 58), ("title", 6, 0x36077AE0, 61),
                 ("none", 0, 0xFFFFFFFF, 67)],
            )  # fmt: skip

    def test_are_a_mapping(self):
        with open_sections(pathlib.Path(self.write(EXAMPLE_BYTES))) as sections:
            self.assertIn("a", sections)
            self.assertIn(b"a", sections)
            self.assertNotIn("A", sections)
            self.assertNotIn("", sections)
            self.assertNotIn(1, sections)
            self.assertNotIn("\ud800", sections)  # a text that has no bytes
            self.assertEqual(sections.get("b", b"-"), b"-")
            self.assertEqual(repr(sections), "<Sections of file, 3 in the file>")
            self.assert_fails(
                NoSectionError, "file: there is no section 'b'", sections.__getitem__, "b"
            )
            for name in ("b", b"b", 1, None):
                with self.assertRaises(KeyError):
                    sections[name]

    def test_of_one_name_the_first_is_meant(self):
        data = section_file([(b"a", b"1"), (b"b", b"2"), (b"a", b"3"), (b"b\0x", b"4")])
        with open_sections(self.write(data)) as sections:
            self.assertEqual(dict(sections), {"a": b"1", "b": b"2"})
            self.assertEqual(sections["b\0y"], b"2")
            self.assertEqual((len(sections), sections.count), (2, 4))
            self.assertEqual(
                [s.name for s in sections.directory()], ["a", "b", "a", "b\0x"]
            )
        self.assertTrue(verify("file"))

    def test_may_be_none_at_all(self):
        for count in (0, -1):
            with open_sections(self.write(section_file([], count))) as sections:
                self.assertEqual(dict(sections), {})
            self.assertTrue(verify("file"))

    def test_are_read_when_they_are_asked_for(self):
        sections = open_sections(self.write(EXAMPLE_BYTES))
        pathlib.Path("file").write_bytes(EXAMPLE_BYTES.replace(b"Truss", b"Bruss"))
        self.assertEqual(sections["a"], b"\1\2\3")
        with self.assertRaises(DamageError):
            sections["title"]
        sections.close()
        sections.close()
        self.assert_fails(
            ClosedError,
            "file: section 'a' at byte 58: the file was closed",
            sections.__getitem__,
            "a",
        )
        self.assertIn("closed", repr(sections))

    def test_close_the_file_when_they_cannot_be_opened(self):
        opened = []

        def remember(*arguments, **options):
            opened.append(io.open(*arguments, **options))
            return opened[0]

        with unittest.mock.patch("builtins.open", remember):
            with self.assertRaises(FormatError):
                open_sections(self.write(b"no sections"))
        self.assertTrue(opened[0].closed)

    def test_may_be_named_in_any_way(self):
        name = b"caf\xe9.kdb"
        self.write(EXAMPLE_BYTES, os.fsdecode(name))
        for path in (name, os.fsdecode(name), pathlib.Path(os.fsdecode(name))):
            with open_sections(path) as sections:
                self.assertEqual(sections.path, "caf\udce9.kdb")
        self.write(b"", os.fsdecode(name))
        self.assert_fails(
            FormatError,
            "caf\\udce9.kdb: byte 0: this is no multisection file",
            open_sections,
            name,
        )


class DamagedSectionsTest(InFolder):
    def test_are_refused_with_file_and_place(self):
        def entry(name_length, length=0, name=b""):
            return struct.pack("<i", name_length) + name + struct.pack("<iI", length, 0)

        def file(count, *entries):
            return TAG + struct.pack("<ii", 1, count) + b"".join(entries)

        cases = [
            (b"", FormatError, "byte 0: this is no multisection file"),
            (TAG[:3], FormatError, "byte 0: this is no multisection file"),
            (b"PK\3\4" + bytes(60), FormatError, "byte 0: this is no multisection file"),
            (TAG, FormatError, "byte 4: its version is missing, and only 1 can be read"),
            (
                TAG + struct.pack("<ii", 2, 0),
                FormatError,
                "byte 4: its version is 2, and only 1 can be read",
            ),
            (
                EXAMPLE_BYTES[:8],
                DamageError,
                "byte 8: the file ends within the directory",
            ),
            (
                EXAMPLE_BYTES[:11],
                DamageError,
                "byte 8: the file ends within the directory",
            ),
            (file(1), DamageError, "byte 8: the file is too short for 1 sections"),
            (
                file(2**31 - 1, entry(0)),
                DamageError,
                "byte 8: the file is too short for 2147483647 sections",
            ),
            (file(1, entry(-1)), DamageError, "byte 12: a name has the length -1"),
            (
                file(1, entry(2**31 - 1)),
                DamageError,
                "byte 12: the file ends within the directory",
            ),
            (
                file(2, entry(5, 0, b"title"), entry(0)[:8]),
                DamageError,
                "byte 29: the file ends within the directory",
            ),
        ]
        for data, kind, text in cases:
            with self.subTest(text, data=data):
                self.assert_fails(kind, "file: " + text, open_sections, self.write(data))
                if kind is DamageError:
                    self.assertEqual([str(d) for d in verify("file").damages], [text])
                else:
                    self.assert_fails(kind, "file: " + text, verify, "file")

    def test_of_which_one_has_no_length_leave_the_others(self):
        for length in (-1, -(2**31)):
            data = bytearray(section_file([(b"a", b""), (b"b", b"2")]))
            data[17:21] = struct.pack("<i", length)
            with open_sections(self.write(data)) as sections:
                self.assert_fails(
                    DamageError,
                    f"file: section 'a' at byte 38: its length is {length}",
                    sections.__getitem__,
                    "a",
                )
                with self.assertRaises(DamageError):
                    sections.array("a", "u1")
                self.assertEqual(sections["b"], b"2")
            self.assertEqual([s.name for s in verify("file").whole], ["b"])

    def test_that_are_cut_are_told_with_what_they_lack(self):
        self.write(EXAMPLE_BYTES[:-8])
        with open_sections("file") as sections:
            for name, text in [
                ("a", "'a' at byte 58: the file lacks 2 of its 3 bytes"),
                ("title", "'title' at byte 61: the file lacks 6 of its 6 bytes"),
            ]:
                self.assert_fails(
                    DamageError, "file: section " + text, sections.__getitem__, name
                )
            self.assertEqual(sections["none"], b"")
        self.assertEqual([s.name for s in verify("file").whole], ["none"])

    def test_that_are_followed_by_something_are_not_whole(self):
        result = verify(self.write(EXAMPLE_BYTES + b"12"))
        self.assertFalse(result)
        self.assertEqual(len(result.whole), 3)
        self.assertEqual(
            [str(damage) for damage in result.damages],
            ["byte 67: 2 bytes follow the end of the last section"],
        )

    def test_take_no_memory_for_what_is_not_there(self):
        huge = bytearray(EXAMPLE_BYTES)
        huge[17:21] = struct.pack("<i", 2**31 - 1)
        promises = [
            TAG + struct.pack("<ii", 1, 2**31 - 1) + bytes(100),
            TAG + struct.pack("<iii", 1, 1, 2**31 - 1) + bytes(100),
            bytes(huge),
        ]
        for data in promises:
            self.write(data)
            tracemalloc.start()
            self.assertFalse(verify("file"))
            with self.assertRaises(DamageError):
                with open_sections("file") as sections:
                    sections["a"]
            peak = tracemalloc.get_traced_memory()[1]
            tracemalloc.stop()
            self.assertLess(peak, 1 << 20)

    def test_of_large_size_are_verified_in_pieces(self):
        self.write(section_file([(b"a", b"")]))
        size = 8 << 20
        with open("file", "r+b") as file:
            file.truncate(25 + size)
            file.seek(17)
            file.write(struct.pack("<i", size))
        tracemalloc.start()
        self.assertFalse(verify("file"))
        peak = tracemalloc.get_traced_memory()[1]
        tracemalloc.stop()
        self.assertLess(peak, 4 << 20)

    def test_with_any_byte_changed_or_cut_off_are_right_or_refused(self):
        right = {data for _, data in EXAMPLE}
        names = [range(16, 17), range(29, 34), range(46, 50)]
        changed = [
            (place, EXAMPLE_BYTES[:place] + bytes([byte]) + EXAMPLE_BYTES[place + 1 :])
            for place in range(len(EXAMPLE_BYTES))
            for byte in {0, 1, 127, 128, 255, EXAMPLE_BYTES[place] ^ 1}
            - {EXAMPLE_BYTES[place]}
        ]
        cut = [(None, EXAMPLE_BYTES[:size]) for size in range(len(EXAMPLE_BYTES))]
        for place, data in changed + cut:
            self.write(data)
            try:
                with open_sections("file") as sections:
                    for name in sections:
                        try:
                            self.assertIn(sections[name], right)
                        except DamageError:
                            pass
                is_whole = bool(verify("file"))
            except (FormatError, DamageError):
                is_whole = False
            # A name has no checksum.
            self.assertEqual(
                is_whole, any(place in name for name in names), (place, data)
            )

    def test_that_are_cut_short_while_they_are_open_are_refused(self):
        with open_sections(self.write(EXAMPLE_BYTES)) as sections:
            os.truncate("file", 60)
            with self.assertRaisesRegex(DamageError, "lacks 1 of its 3 bytes"):
                sections["a"]
        real = os.fstat

        def larger(descriptor):
            return unittest.mock.Mock(st_size=real(descriptor).st_size + 1000)

        with unittest.mock.patch("os.fstat", larger):
            for size in (9, 12, 20, 57):
                with self.subTest(size=size):
                    self.write(EXAMPLE_BYTES[:size])
                    self.assert_fails(
                        DamageError,
                        "file: the file was cut short while it was read",
                        open_sections,
                        "file",
                    )
            with open_sections(self.write(EXAMPLE_BYTES[:60])) as sections:
                self.assert_fails(
                    DamageError,
                    "file: the file was cut short while it was read",
                    sections.__getitem__,
                    "a",
                )

    def test_that_the_system_refuses_are_told_with_its_words(self):
        for path, text in [
            ("none.kdb", "none.kdb: No such file or directory"),
            (".", ".: Is a directory"),
            ("a\0b", "a\\x00b: no path has a zero byte"),
        ]:
            self.assert_fails(UnreadableError, text, open_sections, path)
            self.assert_fails(UnreadableError, text, verify, path)
        with self.assertRaises(OSError) as caught:
            open_sections("none.kdb")
        self.assertEqual(
            (caught.exception.errno, caught.exception.filename), (2, "none.kdb")
        )

    def test_that_the_disk_refuses_are_told_with_their_place(self):
        with open_sections(self.write(EXAMPLE_BYTES)) as sections:
            with unittest.mock.patch.object(sections, "_file") as file:
                file.closed = False
                file.fileno.side_effect = OSError(5, "Input/output error")
                self.assert_fails(
                    UnreadableError,
                    "file: section 'a' at byte 58: Input/output error",
                    sections.__getitem__,
                    "a",
                )

    def test_with_long_and_odd_names_make_short_and_plain_messages(self):
        data = bytearray(section_file([(b"\x1b[2J" + b"x" * 1000, b"1")]))
        data[-1] ^= 1
        with open_sections(self.write(data)) as sections:
            with self.assertRaises(DamageError) as caught:
                sections[next(iter(sections))]
        self.assertTrue(str(caught.exception).startswith("file: section '\\x1b[2Jxxx"))
        self.assertLess(len(str(caught.exception)), 200)


class ChecksumTest(unittest.TestCase):
    def test_is_that_of_the_catalogue(self):
        self.assertEqual(kestra_utl.crc32_mpeg2(b"123456789"), 0x0376E6E7)
        self.assertEqual(kestra_utl.crc32_mpeg2(b""), 0xFFFFFFFF)

    def test_is_that_of_its_definition(self):
        for size in (1, 2, 255, 4097):
            data = bytes(i * i % 251 for i in range(size))
            self.assertEqual(kestra_utl.crc32_mpeg2(data), plain_crc(data))

    def test_goes_on_across_pieces(self):
        data = bytes(i % 253 for i in range(1 << 20))
        whole = kestra_utl.crc32_mpeg2(data)
        for cut in (0, 1, 1 << 18, (1 << 18) + 1, len(data)):
            front = kestra_utl.crc32_mpeg2(data[:cut])
            self.assertEqual(kestra_utl.crc32_mpeg2(memoryview(data)[cut:], front), whole)


class PlainArrayTest(InFolder):
    """Without numpy."""

    def setUp(self):
        super().setUp()
        patch = unittest.mock.patch.dict(sys.modules, {"numpy": None})
        patch.start()
        self.addCleanup(patch.stop)

    def open(self, data):
        sections = open_sections(self.write(section_file([(b"x", data)])))
        self.addCleanup(sections.close)
        return sections

    def test_has_the_values_of_every_plain_type(self):
        for names, form, values in [
            (["i1", "int8"], "<3b", [1, -2, 127]),
            (["u1", "uint8"], "<3B", [1, 2, 255]),
            (["i2", "int16"], "<3h", [1, -2, 32767]),
            (["u2", "uint16"], "<3H", [1, 2, 65535]),
            (["i4", "int32"], "<3i", [1, -2, 2147483647]),
            (["u4", "uint32"], "<3I", [1, 2, 4294967295]),
            (["i8", "int64"], "<3q", [1, -2, 2**63 - 1]),
            (["u8", "uint64"], "<3Q", [1, 2, 2**64 - 1]),
            (["f4", "float32"], "<3f", [1.5, -2.0, 0.0]),
            (["f8", "float64", "<f8"], "<3d", [1.5, -2.0, 1e300]),
        ]:
            sections = self.open(struct.pack(form, *values))
            for name in names:
                found = sections.array("x", name)
                self.assertIsInstance(found, array.array)
                self.assertEqual(list(found), values)

    def test_has_the_values_on_machines_with_the_other_byte_order(self):
        with unittest.mock.patch("sys.byteorder", "big"):
            found = self.open(struct.pack(">2i", 1, -2)).array("x", "i4")
        self.assertEqual(list(found), [1, -2])

    def test_refuses_what_is_no_whole_number_of_values(self):
        self.assert_fails(
            ValuesError,
            "file: section 'x' at byte 25: "
            "7 bytes are no whole number of values of 8 bytes",
            self.open(bytes(7)).array,
            "x",
            "f8",
        )

    def test_refuses_other_types(self):
        for dtype in ("O", ">f8", "f16", "", float, None, 8):
            with self.assertRaisesRegex(TypeError, "without numpy"):
                self.open(bytes(8)).array("x", dtype)


try:
    import numpy
except ImportError:
    numpy = None


@unittest.skipIf(numpy is None, "numpy is not installed")
class NumpyTest(InFolder):
    def open(self, data):
        sections = open_sections(self.write(section_file([(b"x", data)])))
        self.addCleanup(sections.close)
        return sections

    def test_has_values_of_any_type(self):
        sections = self.open(struct.pack("<3d", 1.5, -2.0, 1e300))
        for dtype in ("f8", "<f8", float, numpy.float64, numpy.dtype("f8")):
            values = sections.array("x", dtype)
            self.assertIsInstance(values, numpy.ndarray)
            self.assertEqual(values.tolist(), [1.5, -2.0, 1e300])
        pairs = self.open(struct.pack("<idid", 1, 0.5, 2, 0.25))
        values = pairs.array("x", [("id", "<i4"), ("load", "<f8")])
        self.assertEqual(values["load"].tolist(), [0.5, 0.25])

    def test_has_values_of_its_own(self):
        sections = self.open(struct.pack("<2i", 1, 2))
        sections.array("x", "i4")[0] = 7
        self.assertEqual(sections.array("x", "i4").tolist(), [1, 2])

    def test_may_be_empty(self):
        self.assertEqual(self.open(b"").array("x", "f8").shape, (0,))

    def test_refuses_what_is_no_whole_number_of_values(self):
        self.assert_fails(
            ValuesError,
            "file: section 'x' at byte 25: "
            "7 bytes are no whole number of values of 8 bytes",
            self.open(bytes(7)).array,
            "x",
            "f8",
        )

    def test_refuses_types_without_a_size(self):
        for dtype in ("O", "V0", "S", "U"):
            with self.assertRaisesRegex(TypeError, "no fixed number of bytes"):
                self.open(bytes(8)).array("x", dtype)


class ErrorsTest(unittest.TestCase):
    def test_are_one_family(self):
        kinds = [
            (ClosedError, ValueError),
            (DamageError, ValueError),
            (FormatError, ValueError),
            (NoSectionError, KeyError),
            (UnreadableError, OSError),
            (ValuesError, ValueError),
            (kestra_utl.MissingPackageError, ImportError),
        ]
        for kind, builtin in kinds:
            error = kind("demo.kdb", "byte 4", "wrong")
            self.assertIsInstance(error, (KestraError, builtin))
            self.assertIsInstance(error, builtin)
            self.assertEqual(str(error), "demo.kdb: byte 4: wrong")
            self.assertEqual(
                (error.file, error.place, error.message), ("demo.kdb", "byte 4", "wrong")
            )
