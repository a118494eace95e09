"""Files that chance has damaged are read or refused, and nothing else happens."""

import random
import struct

import iotrack_test
import kestra_utl
import usage_test
from support import InFolder, section_file

WHOLE = [
    section_file([(b"a", b"123"), (b"title", b"Truss\n"), (b"", b""), (b"a", b"9")]),
    usage_test.LOG,
    usage_test.LOG.replace(b"\n", b"\r\n"),
    (iotrack_test.HEAD + "a\nb, " + iotrack_test.INPUT + iotrack_test.SOLUTION).encode(),
    (iotrack_test.TIMED + iotrack_test.INPUT).encode(),
    iotrack_test.SUMMARY.encode(),
]
NUMBERS = [0, 1, -1, 255, 65536, 2**30, 2**31 - 1, -(2**31)]
PIECES = [
    b"\n", b"\r", b" ", b", ", b"-", b"9" * 5000, b".1 0 " * 50, b"inf", b"nan", b"1e999",
    b"!Phase,", b"!Timer ", b"beam.3 ", b"\0", b"\xff",
]  # fmt: skip


def damaged(data, chance):
    for _ in range(chance.choice([1, 1, 2, 5])):
        begin, end = sorted(chance.choices(range(len(data) + 1), k=2))
        data = chance.choice(
            [
                data[:begin],
                data[:begin] + data[end:],
                data[:end] + data[begin:],
                data[:begin] + chance.choice(PIECES) + data[begin:],
                data[:begin] + chance.randbytes(1) + data[begin + 1 :],
                data[:begin]
                + struct.pack("<i", chance.choice(NUMBERS))
                + data[begin + 4 :],
            ]
        )
    return data


def read_sections(path):
    with kestra_utl.open_sections(path) as sections:
        for name in sections:
            try:
                sections[name], sections.array(name, "u1")
            except kestra_utl.DamageError:
                pass


class RandomTest(InFolder):
    def test_damage_is_read_or_refused(self):
        chance = random.Random(7)
        outcomes = {True: 0, False: 0}
        for number in range(600):
            data = damaged(WHOLE[number % len(WHOLE)], chance)
            for read, path in [
                (read_sections, "file"),
                (kestra_utl.verify, "file"),
                (kestra_utl.read_usage, "file"),
                (kestra_utl.read_totals, "file"),
                (kestra_utl.read_individual, "file"),
                (kestra_utl.read_iotrack, "job"),
            ]:
                name = "job.ioFileSummary" if path == "job" else path
                self.write(data, name)
                try:
                    read(path)
                    outcomes[True] += 1
                except kestra_utl.KestraError as error:
                    self.assertTrue(str(error).startswith(name + ": "), str(error))
                    outcomes[False] += 1
        self.assertGreater(min(outcomes.values()), 100)
