"""Reads every tag of every directory of a TIFF file.

>>> import ifdsweep
>>> file = ifdsweep.read("samples/damaged.tif")
>>> file[0].Compression, file[0].code("Compression")
('PackBits', 32773)
>>> [warning.short_id for warning in file.warnings]
['tagDataPastEOF', 'nextIfdPointerOutOfRange']
"""

from ifdsweep import _core
from ifdsweep._columns import Batch, Batches, Column, Columns, Schema, schema, table
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

__version__ = _core.VERSION

__all__ = [
    "Batch",
    "Batches",
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
