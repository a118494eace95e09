"""What the tests of the Python package share."""

import os
import pathlib
import shutil
import struct
import subprocess
import tempfile
import unittest

import kestra_utl

TAG = b"\x28\xc1\x1d\xaf"


def plain_crc(data):
    """The checksum bit by bit, as the page of the format has it."""
    register = 0xFFFFFFFF
    for byte in data:
        register ^= byte << 24
        for _ in range(8):
            carry = register >> 31
            register = (register << 1) & 0xFFFFFFFF
            if carry:
                register ^= 0x04C11DB7
    return register


def section_file(sections, count=None):
    """The bytes of a file of (name, data) pairs, by the page of the format."""
    directory = b"".join(
        struct.pack("<i", len(name))
        + name
        + struct.pack("<iI", len(data), plain_crc(data))
        for name, data in sections
    )
    if count is None:
        count = len(sections)
    head = TAG + struct.pack("<ii", 1, count)
    return head + directory + b"".join(data for _, data in sections)


class InFolder(unittest.TestCase):
    """Works in an empty folder of its own."""

    def setUp(self):
        self.folder = pathlib.Path(tempfile.mkdtemp())
        self.addCleanup(shutil.rmtree, self.folder)
        self.addCleanup(os.chdir, os.getcwd())
        os.chdir(self.folder)

    def write(self, data, name="file"):
        """Makes the file anew: to empty one can take a disk a millisecond and more."""
        path = pathlib.Path(name)
        path.unlink(missing_ok=True)
        path.write_bytes(data)
        return name

    def assert_fails(self, kind, text, call, *arguments):
        """That the call raises exactly this class with exactly this text."""
        with self.assertRaises(kestra_utl.KestraError) as caught:
            call(*arguments)
        self.assertEqual((type(caught.exception), str(caught.exception)), (kind, text))


class Written(InFolder):
    """Reads what the library writes; for Windows, its programs run under Wine."""

    def run_writer(self, *options, **environment):
        """Has the files of a job written, "my job, 2" unless an option says otherwise."""
        run = [
            word for word in (os.environ.get("RUN"), os.environ["WRITE_FILES"]) if word
        ]
        if "-job" not in options:
            options = ("-job", "my job, 2", *options)
        done = subprocess.run(
            [*run, *options],
            env={**os.environ, **environment},
            capture_output=True,
            encoding="utf-8",
            errors="replace",
        )
        said = done.stderr.replace("Completed TimedOutTask\n", "")
        self.assertEqual((done.returncode, said), (0, ""))
