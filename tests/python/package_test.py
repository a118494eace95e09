"""The package as its users get it: examples, types, and the wheel."""

import doctest
import importlib
import importlib.util
import os
import pathlib
import shutil
import subprocess
import sys
import unittest
import zipfile

import kestra_utl
from support import InFolder

ROOT = pathlib.Path(os.environ["ROOT"])

CLIENT = """\
import kestra_utl

with kestra_utl.open_sections("demo.kdb") as sections:
    data: bytes = sections["loads"]
    first: float = sections.array("loads", "f8")[0]
label: "str | None" = kestra_utl.read_totals("ioTotal").lines[0].label
wall: int = kestra_utl.read_usage("demo.use").marks[0].wall
"""


class ExamplesTest(InFolder):
    @unittest.skipUnless("KST_TRUSS" in os.environ, "the examples are not built")
    def test_of_the_page_print_what_it_says(self):
        deck = ROOT / "examples/truss/decks/space_truss.deck"
        done = subprocess.run(
            [os.environ["KST_TRUSS"], "-job", "space_truss", "-export", "space_truss.bin",
             "-import", "space_truss.bin", deck],
            env={**os.environ, "KES_RESOURCE_MONITOR": "ON", "KES_IO_TRACK": "1"},
            capture_output=True,
        )  # fmt: skip
        self.assertEqual(done.returncode, 0, done.stderr)
        page = str(ROOT / "tools/python/README.md")
        result = doctest.testfile(page, module_relative=False)
        self.assertEqual(result.failed, 0)
        self.assertGreater(result.attempted, 10)

    def test_of_the_modules_print_what_they_say(self):
        attempted = 0
        for name in ("__init__", "_checksum", "_text"):
            module = importlib.import_module(
                f"kestra_utl.{name}".removesuffix(".__init__")
            )
            result = doctest.testmod(module)
            self.assertEqual(result.failed, 0)
            attempted += result.attempted
        self.assertGreaterEqual(attempted, 6)


class TypesTest(InFolder):
    def setUp(self):
        super().setUp()
        if importlib.util.find_spec("mypy") is None:
            self.skipTest("mypy is not installed")

    def mypy(self, *arguments, folder="."):
        settings = str(ROOT / "tools/python/pyproject.toml")
        done = subprocess.run(
            [sys.executable, "-m", "mypy", "--config-file", settings,
             "--cache-dir", self.folder / "cache", *arguments],
            cwd=folder, capture_output=True, text=True,
        )  # fmt: skip
        return done.stdout + done.stderr

    def test_are_checked_strictly(self):
        said = self.mypy("kestra_utl", "setup.py", folder=ROOT / "tools/python")
        self.assertRegex(said, r"^Success: no issues found in [0-9]+ source files\n$")

    def test_tell_clients_what_they_get(self):
        self.write(CLIENT.encode(), "right.py")
        wrong = CLIENT.replace("bytes", "int").replace("wall: int", "wall: str")
        self.write(wrong.encode(), "wrong.py")
        shutil.copytree(ROOT / "tools/python/kestra_utl", "kestra_utl")
        self.assertEqual(
            self.mypy("right.py"), "Success: no issues found in 1 source file\n"
        )
        said = self.mypy("wrong.py")
        self.assertIn("wrong.py:4: error: Incompatible types in assignment", said)
        self.assertIn("wrong.py:7: error: Incompatible types in assignment", said)


class WheelTest(InFolder):
    """Made without a network, of a copy of the sources."""

    def setUp(self):
        super().setUp()
        shutil.copytree(
            ROOT / "tools/python", "clone/tools/python",
            ignore=shutil.ignore_patterns("build", "dist", "*.egg-info", "__pycache__"),
        )  # fmt: skip
        shutil.copy(ROOT / "CMakeLists.txt", "clone")

    def run_python(self, *arguments, **environment):
        quiet = {"PIP_NO_INDEX": "1", "PIP_DISABLE_PIP_VERSION_CHECK": "1",
                 "PIP_ROOT_USER_ACTION": "ignore"}  # fmt: skip
        done = subprocess.run(
            [sys.executable, *arguments],
            env={**os.environ, **quiet, **environment},
            capture_output=True, text=True,
        )  # fmt: skip
        self.assertEqual(done.returncode, 0, done.stdout + done.stderr)
        return done.stdout

    def build(self, source):
        self.run_python("-m", "pip", "wheel", "--no-build-isolation", "--no-deps", "-q",
                        "-w", "wheels", source)  # fmt: skip
        (wheel,) = pathlib.Path("wheels").glob("*.whl")
        return wheel

    def test_has_the_version_of_the_product_and_all_modules(self):
        wheel = self.build("./clone/tools/python")
        self.assertEqual(
            wheel.name, f"kestra_utl-{os.environ['VERSION']}-py3-none-any.whl"
        )
        names = {
            name for name in zipfile.ZipFile(wheel).namelist() if ".dist-info" not in name
        }
        sources = ROOT.glob("tools/python/kestra_utl/*.*")
        self.assertEqual(names, {f"kestra_utl/{source.name}" for source in sources})
        self.assertIn("kestra_utl/py.typed", names)

    def test_is_installed_and_used(self):
        wheel = self.build("./clone/tools/python")
        self.run_python(
            "-m", "pip", "install", "--no-deps", "-q", "--target", "there", wheel
        )
        program = (
            "import importlib.metadata, kestra_utl;"
            "print(kestra_utl.__file__, importlib.metadata.version('kestra-utl'))"
        )
        said = self.run_python(
            "-W", "error", "-c", program, PYTHONPATH=str(self.folder / "there")
        )
        self.assertEqual(
            said, f"{self.folder}/there/kestra_utl/__init__.py {os.environ['VERSION']}\n"
        )

    def test_is_made_of_an_archive_of_the_sources_too(self):
        program = "from setuptools import build_meta; build_meta.build_sdist('../..')"
        os.chdir("clone/tools/python")
        self.run_python("-c", program)
        os.chdir(self.folder)
        (archive,) = pathlib.Path("clone").glob("*.tar.gz")
        wheel = self.build(f"./{archive}")
        self.assertEqual(
            wheel.name, f"kestra_utl-{os.environ['VERSION']}-py3-none-any.whl"
        )


class NamesTest(unittest.TestCase):
    def test_that_are_public_are_all_explained(self):
        for name in kestra_utl.__all__:
            self.assertTrue(getattr(kestra_utl, name).__doc__, name)
        self.assertEqual(sorted(kestra_utl.__all__), kestra_utl.__all__)
