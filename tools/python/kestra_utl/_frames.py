"""Rows of named fields as data frames, if pandas is installed."""

from __future__ import annotations

from collections.abc import Sequence
from typing import TYPE_CHECKING, Any

from ._errors import MissingPackageError

if TYPE_CHECKING:
    import pandas


def frame(path: str, fields: Sequence[str], rows: Sequence[Any]) -> pandas.DataFrame:
    """A data frame of the rows, its columns named by the fields."""
    try:
        import pandas
    except ImportError:
        raise MissingPackageError(
            path,
            "",
            "a data frame needs the package pandas: python3 -m pip install pandas, "
            "or on Debian and Ubuntu apt-get install python3-pandas",
        ) from None
    return pandas.DataFrame(rows, columns=list(fields))
