"""Several tables of the same files, which are read once."""

from collections.abc import Iterator, Mapping, Sequence
from typing import Any

from ifdsweep import _core
from ifdsweep._columns import Batch, ColumnChoice, Layout, Schema, _interpreter, _LateFiles
from ifdsweep._scan import planned, scan


def several_tables(
    paths: Sequence[bytes],
    layouts: Mapping[Layout, ColumnChoice],
    *,
    rest: bool = False,
    batch_rows: int = 65_536,
    batch_bytes: int = 64 << 20,
    max_value: int | None = None,
    **arguments: Any,
) -> Iterator[tuple[Layout, Batch]]:
    """The batches of several tables of files that were found in folders before.

    What is no image by its first bytes has no rows, unless `all_files` is set. A `file_id` is the
    place of the path. The batches of each layout come in the order of the paths.

    Args:
        paths: Files, in no folders.
        layouts: Which tables, and which columns of each; "images" before "tags".
        rest: "tags" has only the entries that the columns of "images" do not hold whole.
        batch_rows: Most rows of a batch.
        batch_bytes: What a batch comes to before its last row, at most.
        max_value: As for `table`.
        **arguments: As for `scan`.
    """
    merged: Any = {**(scan.__kwdefaults__ or {}), **arguments, "max_value": max_value}
    if merged["isolate"] and not merged["all_files"]:
        # The program passes over what it finds in folders, not what it is told to read.
        images = [place for place, path in enumerate(paths) if _may_be_image(path)]
    else:
        images = list(range(len(paths)))
    chosen = [paths[place] for place in images]
    plan = planned(chosen, merged)
    schemas = {layout: Schema(layout, columns) for layout, columns in layouts.items()}
    reading = _core.several_tables(
        [schema._schema for schema in schemas.values()],
        list(paths),
        plan.options,
        None if plan.program is None else _LateFiles(plan),
        _interpreter,
        batch_rows=batch_rows,
        batch_bytes=batch_bytes,
        max_value=max_value,
        rest=rest,
    )
    names = list(schemas)
    try:
        while (made := reading.next()) is not None:
            place, batch = made
            yield names[place], Batch(schemas[names[place]], batch)
    finally:
        reading.close()


def _may_be_image(path: bytes) -> bool:
    """Whether a file begins as an image; what cannot be read is told of by who reads it."""
    try:
        with open(path, "rb") as file:
            return _core.is_image(file.read(_core.LONGEST_SIGNATURE))
    except OSError:
        return True
