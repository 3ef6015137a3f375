"""Several tables of the same files, which are read once."""

from collections.abc import Iterator, Mapping, Sequence
from typing import Any

from ifdsweep import _core
from ifdsweep._columns import Batch, Layout, Schema, _interpreter, _LateFiles
from ifdsweep._scan import planned, scan


def several_tables(
    folder: bytes,
    paths: Sequence[bytes],
    ids: Sequence[int],
    schemas: Mapping[Layout, Schema],
    *,
    rest: bool = False,
    batch_rows: int = 65_536,
    batch_bytes: int = 64 << 20,
    max_value: int | None = None,
    **arguments: Any,
) -> Iterator[tuple[Layout, Batch]]:
    """The batches of several tables of files that were found in folders before.

    What is no image by its first bytes has no rows, unless `all_files` is set. The batches of each
    layout come in the order of the paths. It is who asks for them that reads, or processes of its
    own.

    Args:
        folder: What all paths begin with, and rows leave out.
        paths: Files, in no folders.
        ids: One for each path: `file_id` of its rows.
        schemas: Of the tables; "images" before "tags".
        rest: "tags" has only the entries that the columns of "images" do not hold whole.
        batch_rows: Most rows of a batch.
        batch_bytes: What a batch comes to before its last row, at most.
        max_value: As for `table`.
        **arguments: As for `scan`.
    """
    merged: Any = {**(scan.__kwdefaults__ or {}), **arguments, "max_value": max_value}
    chosen: Sequence[bytes] = ()
    if merged["isolate"]:
        # The program passes over what it finds in folders, not what it is told to read.
        whole = (folder + path for path in paths)
        chosen = [path for path in whole if merged["all_files"] or _may_be_image(path)]
    plan = planned(chosen, merged)
    reading = _core.several_tables(
        [schema._schema for schema in schemas.values()],
        folder,
        list(paths),
        list(ids),
        plan.options,
        None if plan.program is None else _LateFiles(plan),
        _interpreter,
        batch_rows=batch_rows,
        batch_bytes=batch_bytes,
        max_value=max_value,
        rest=rest,
    )
    tables = list(schemas.items())
    try:
        while (made := reading.next()) is not None:
            place, batch = made
            layout, schema = tables[place]
            yield layout, Batch(schema, batch)
    finally:
        reading.close()


def _may_be_image(path: bytes) -> bool:
    """Whether a file begins as an image; what cannot be read is told of by who reads it."""
    try:
        with open(path, "rb") as file:
            return _core.is_image(file.read(_core.LONGEST_SIGNATURE))
    except OSError:
        return True
