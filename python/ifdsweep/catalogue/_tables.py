"""Tables of a catalogue: their schemas, and how Parquet files of them are written."""

import contextlib
import functools
import sys
from collections.abc import Iterator
from concurrent.futures import Future, ThreadPoolExecutor, wait
from contextlib import AbstractContextManager
from typing import BinaryIO, Literal

import pyarrow as pa
import pyarrow.parquet as pq

from ifdsweep._columns import ColumnChoice, Layout, Schema, _plain_words
from ifdsweep.catalogue._errors import CatalogueError
from ifdsweep.catalogue._model import Options, PartFile, Table
from ifdsweep.catalogue._storage import Storage

SETTLED = pa.field("settled", pa.bool_(), metadata={b"PARQUET:field_id": b"1000"})
"""Column behind those of `files`: the file would have other times if it changed after it was read.
Where it might have the same, as far as the grain of clocks tells, an update reads it again."""

OTHERS = pa.schema(
    [
        pa.field(name, kind, metadata={b"PARQUET:field_id": str(number).encode()})
        for number, (name, kind) in enumerate(
            {
                "file_id": pa.int64(),
                "root": pa.int16(),
                "file_path": pa.utf8(),
                "path_bytes": pa.binary(),
                "size": pa.int64(),
                "mtime_ns": pa.int64(),
                "ctime_ns": pa.int64(),
                "inode": pa.int64(),
            }.items(),
            1,
        )
    ]
    + [SETTLED]
)
"""Of files that are no images: so that they are not looked at again."""


@functools.lru_cache
def schemas_of(options: Options) -> dict[Layout, Schema]:
    """The tables that reading makes, with texts in place of words: "images" before "tags"."""
    return {
        layout: Schema(layout, columns).with_plain_words()
        for layout, columns in _layouts_of(options).items()
    }


def _layouts_of(options: Options) -> dict[Layout, ColumnChoice]:
    """The columns of the tables that reading makes."""
    layouts: dict[Layout, ColumnChoice] = {
        "files": "all",
        "images": _with_keys(options.columns),
    }
    if options.tags != "none":
        layouts["tags"] = "all"
    layouts["warnings"] = "all"
    return layouts


def _with_keys(columns: tuple[str, ...] | Literal["core", "all"]) -> ColumnChoice:
    """The columns, with those that tell which file a row is of."""
    if isinstance(columns, str):
        return columns
    keys = ("file_id", "file_path", "dir_path")
    return [*keys, *(name for name in columns if name not in keys)]


@functools.lru_cache
def schema_of(table: Table, options: Options) -> pa.Schema:
    """The schema of a table: that of each of its parts."""
    if table == "others":
        return OTHERS
    schema = _plain_words(pa.schema(Schema(table, _layouts_of(options).get(table, "all"))))
    return schema.append(SETTLED) if table == "files" else schema


_GROUP_ROWS = 65_536
_GROUP_BYTES = 16 << 20


class TableWriter:
    """Writes one table of a part, in another thread; its file is made with the first row."""

    def __init__(
        self,
        storage: Storage,
        name: str,
        schema: pa.Schema,
        compression: str,
        thread: ThreadPoolExecutor,
    ) -> None:
        """
        Args:
            storage: Where the file will be.
            name: Its name there.
            schema: Of the rows.
            compression: Of the columns.
            thread: That writes, one thing after the other.
        """
        self._storage = storage
        self._name = name
        self._schema = schema
        self._compression = compression
        self._waiting: list[pa.Table] = []
        self._waiting_rows = 0
        self._waiting_bytes = 0
        self._block: AbstractContextManager[BinaryIO] | None = None
        self._writer: pq.ParquetWriter | None = None
        self._thread = thread
        self._begun: list[Future[None]] = []
        self.rows = 0
        self.bytes = 0

    def write(self, rows: pa.Table) -> None:
        """Adds rows. Raises what went wrong with those before."""
        self._waiting.append(rows)
        self._waiting_rows += rows.num_rows
        self._waiting_bytes += rows.get_total_buffer_size()
        self.rows += rows.num_rows
        if self._waiting_rows >= _GROUP_ROWS or self._waiting_bytes >= _GROUP_BYTES:
            self._await()
            self._begin_group()

    def finish(self) -> None:
        """Has the rows written that are left, and the file ended; there are no more."""
        self._begin_group()
        self._begun.append(self._thread.submit(self._end))

    def close(self, error: BaseException | None = None) -> None:
        """Waits until the file is there; with an error, there is none."""
        try:
            if error is None:
                self._await()
        finally:
            for task in self._begun:
                task.cancel()
            wait(self._begun)
            self._discard(error or sys.exception())

    def _discard(self, failure: BaseException | None) -> None:
        """Removes the file if it is not there yet."""
        block, self._block = self._block, None
        if block is None or failure is None:
            return
        if self._writer is not None:
            with contextlib.suppress(Exception):  # or else it would write when it is gone
                self._writer.close()
        with contextlib.suppress(type(failure)):
            block.__exit__(type(failure), failure, failure.__traceback__)

    def _begin_group(self) -> None:
        waiting, self._waiting = self._waiting, []
        if self._waiting_rows:
            self._begun.append(self._thread.submit(self._write_group, pa.concat_tables(waiting)))
        self._waiting_rows = self._waiting_bytes = 0

    def _await(self) -> None:
        for task in self._begun:
            task.result()
        self._begun.clear()

    def _write_group(self, group: pa.Table) -> None:
        if self._writer is None:
            self._block = self._storage.writing(self._name)
            self._file = self._block.__enter__()
            self._writer = pq.ParquetWriter(self._file, self._schema, compression=self._compression)
        self._writer.write_table(group, row_group_size=group.num_rows)

    def _end(self) -> None:
        if self._writer is not None and self._block is not None:
            self._writer.close()
            self.bytes = self._file.tell()
            self._block.__exit__(None, None, None)
            self._block = None

    def part_file(self, name: str) -> PartFile:
        """What became of it, under the name that it will have."""
        return PartFile(name, self.rows, self.bytes)


def rows_of_file(storage: Storage, name: str, columns: list[str] | None) -> Iterator[pa.Table]:
    """The rows of a Parquet file, some at a time; CatalogueError for a damaged one."""
    files, folder = storage.filesystem()
    try:
        with pq.ParquetFile(f"{folder}/{name}", filesystem=files) as file:
            for batch in file.iter_batches(batch_size=16_384, columns=columns):
                yield pa.Table.from_batches([batch])
    except (OSError, pa.ArrowException) as error:
        raise CatalogueError(f"{storage.location}/{name}: {error}") from error
