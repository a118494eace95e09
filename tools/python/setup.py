"""What pyproject.toml cannot say: the version is the product's, which CMake knows."""

import pathlib
import re

from setuptools import setup

_HERE = pathlib.Path(__file__).resolve().parent


def version() -> str:
    """From the one place where it stands, or, in an archive of the sources without that
    place, from the archive's own record."""
    places = [
        (_HERE.parents[1] / "CMakeLists.txt", r"project\(KSTutl VERSION ([0-9.]+)"),
        (_HERE / "PKG-INFO", r"(?m)^Version: ([0-9.]+)$"),
    ]
    for file, pattern in places:
        if file.exists():
            found = re.search(pattern, file.read_text(encoding="utf-8"))
            if found:
                return found[1]
    raise RuntimeError("the version of the product is not known here")


setup(version=version())
