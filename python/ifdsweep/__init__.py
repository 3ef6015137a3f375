"""Reads every tag of every directory of a TIFF file.

>>> import ifdsweep
>>> file = ifdsweep.read("samples/damaged.tif")
>>> file[0].Compression, file[0].code("Compression")
('PackBits', 32773)
>>> [warning.short_id for warning in file.warnings]
['tagDataPastEOF', 'nextIfdPointerOutOfRange']
"""

import typing as _typing

from ifdsweep import _core
from ifdsweep._core import (
    Directory,
    Entry,
    File,
    Message,
    Stream,
    explain,
)
from ifdsweep._errors import ReadError
from ifdsweep._read import read
from ifdsweep._scan import Scan, scan
from ifdsweep._tags import TagName, tags
from ifdsweep._types import EntryValue, Source, Status, Value

if _typing.TYPE_CHECKING:
    from ifdsweep._columns import Batch, Batches, Column, Columns, Schema, schema, table
    from ifdsweep.catalogue import Catalogue

__version__ = _core.VERSION

__all__ = [
    "Batch",
    "Batches",
    "Catalogue",
    "Column",
    "Columns",
    "Directory",
    "Entry",
    "EntryValue",
    "File",
    "Message",
    "ReadError",
    "Scan",
    "Schema",
    "Source",
    "Status",
    "Stream",
    "TagName",
    "Value",
    "__version__",
    "explain",
    "read",
    "scan",
    "schema",
    "table",
    "tags",
]

# What few need, and where it is: imported when it is asked for.
_LATE = {
    **dict.fromkeys(
        ("Batch", "Batches", "Column", "Columns", "Schema", "schema", "table"),
        "ifdsweep._columns",
    ),
    "Catalogue": "ifdsweep.catalogue",
}


def __getattr__(name: str) -> _typing.Any:
    """A name that is imported when it is asked for."""
    try:
        module = _LATE[name]
    except KeyError:
        raise AttributeError(f"module {__name__!r} has no attribute {name!r}") from None
    from importlib import import_module

    found = globals()[name] = getattr(import_module(module), name)
    return found


def __dir__() -> list[str]:
    return sorted({*globals(), *__all__})
