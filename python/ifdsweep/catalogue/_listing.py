"""Listing: the files below a root, sorted by `path_key`, with what tells whether they changed.

No file is opened. They are those that a scan of the root would find, in its order.
"""

import os
from collections.abc import Iterator
from dataclasses import dataclass
from typing import Any

import pyarrow as pa

from ifdsweep import _core
from ifdsweep._scan import planned, scan
from ifdsweep.catalogue._model import Options

_CHUNK = 16_384

SCHEMA = pa.schema(
    {
        "path": pa.binary(),
        "size": pa.int64(),
        "mtime_ns": pa.int64(),
        "ctime_ns": pa.int64(),
        "inode": pa.int64(),
    }
)
"""Of files that were found, whatever they hold; paths are from the root."""


@dataclass(frozen=True, slots=True)
class Found:
    """Some of the files below a root, and what could not be looked into on the way to them."""

    files: pa.RecordBatch
    """Of `SCHEMA`."""
    unlisted: list[tuple[bytes, str]]
    """Folders from the root, b"" for the root itself, and why: not all of their files are listed.
    A folder comes no later than the files behind it."""


def listed_files(root: bytes, options: Options, leave_out: bytes = b"") -> Iterator[Found]:
    """The files below a root that a scan would find.

    Args:
        root: A folder.
        options: include, exclude, ignore_case, follow.
        leave_out: A folder that is not looked into, wherever it lies.
    """
    if error := _why_no_folder(root):
        yield Found(_batch(0, b"\0\0\0\0", b"", []), [(b"", error)])
        return
    arguments: dict[str, Any] = {
        **(scan.__kwdefaults__ or {}),
        "include": options.include,
        "exclude": options.exclude,
        "ignore_case": options.ignore_case,
        "follow": options.follow,
    }
    plan = planned(root, arguments)  # type: ignore[arg-type]
    listing = _core.FileListing(plan.options, leave_out)
    while True:
        count, ends, paths, *numbers, unlisted = listing.next(_CHUNK)
        if not count and not unlisted:
            return
        yield Found(_batch(count, ends, paths, numbers), unlisted)


def _batch(count: int, ends: bytes, paths: bytes, numbers: list[bytes]) -> pa.RecordBatch:
    columns = [pa.Array.from_buffers(pa.binary(), count, [None, *map(pa.py_buffer, (ends, paths))])]
    columns += [
        pa.Array.from_buffers(pa.int64(), count, [None, pa.py_buffer(column)])
        for column in numbers or [b""] * 4
    ]
    return pa.RecordBatch.from_arrays(columns, schema=SCHEMA)


def _why_no_folder(root: bytes) -> str | None:
    try:
        os.close(os.open(root, os.O_RDONLY | os.O_DIRECTORY | os.O_CLOEXEC))
    except OSError as error:
        return error.strerror or str(error)
    return None
