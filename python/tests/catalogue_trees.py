"""Folders of small images, and what catalogues say of them."""

import contextlib
import ctypes
import hashlib
import json
import tempfile
from collections.abc import Iterator
from pathlib import Path
from typing import Any

import pyarrow as pa
import pytest
from designed_files import ASCII, SHORT, Field, tiff

from ifdsweep.catalogue import Catalogue, _partition
from ifdsweep.catalogue._model import TABLES


def photo(make: str = "One", width: int = 8) -> bytes:
    """A small image that says who made it, with a tag that nobody knows."""
    return tiff(
        [
            [
                Field(256, SHORT, [width]),
                Field(257, SHORT, [9]),
                Field(271, ASCII, make.encode() + b"\0"),
                Field(65_001, SHORT, [1, 2, 3]),
            ]
        ]
    )


def make_tree(root: Path, files: dict[str, bytes]) -> None:
    """Writes files below a folder."""
    for name, content in files.items():
        path = root / name
        path.parent.mkdir(parents=True, exist_ok=True)
        path.write_bytes(content)


def rows(catalogue: Catalogue, table: Any) -> list[dict[str, Any]]:
    """The rows of a table without what differs from one way of making it to another."""
    plain: pa.Table = catalogue.dataset(table).to_table()
    kept: list[dict[str, Any]] = plain.drop_columns(["file_id"]).to_pylist()
    return kept


def digest(catalogue: Catalogue) -> str:
    """Of all rows of all tables, sorted."""
    whole = hashlib.sha256()
    for table in TABLES:
        texts = [json.dumps(row, sort_keys=True, default=repr) for row in rows(catalogue, table)]
        whole.update("\n".join([table, *sorted(texts), ""]).encode())
    return whole.hexdigest()


@pytest.fixture
def settled(monkeypatch: pytest.MonkeyPatch) -> None:
    """Files count as settled at once: tests do not wait for the grain of clocks."""
    monkeypatch.setattr(_partition, "GRAIN_NS", -(1 << 60))


@contextlib.contextmanager
def unprivileged() -> Iterator[Path]:
    """A folder, for a block whose thread is held to the permissions of files, even as root."""
    with tempfile.TemporaryDirectory(prefix="ifdsweep-") as name:
        known = _capabilities()
        _set_capabilities([known[0] & ~_READING_ALL, *known[1:]])
        try:
            yield Path(name)
        finally:
            _set_capabilities(known)


_READING_ALL = 1 << 1 | 1 << 2
"""CAP_DAC_OVERRIDE and CAP_DAC_READ_SEARCH."""
_HEADER = (ctypes.c_uint32 * 2)(0x2008_0522, 0)
"""The version of what follows, and the calling thread."""


def _capabilities() -> list[int]:
    """Effective, permitted and inheritable, of low numbers and of high ones."""
    sets = (ctypes.c_uint32 * 6)()
    if ctypes.CDLL(None, use_errno=True).capget(_HEADER, sets):
        raise OSError(ctypes.get_errno(), "capget")
    return list(sets)


def _set_capabilities(sets: list[int]) -> None:
    if ctypes.CDLL(None, use_errno=True).capset(_HEADER, (ctypes.c_uint32 * 6)(*sets)):
        raise OSError(ctypes.get_errno(), "capset")
