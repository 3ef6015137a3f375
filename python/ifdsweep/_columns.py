"""Tables: many files as columns of fixed types, for libraries of tables.

Batches are made in C++ and handed on by the Arrow PyCapsule interface, for which nothing is needed;
pyarrow, pandas, polars and NumPy are imported by the methods that are named for them.
"""

import atexit
import contextlib
import importlib
import operator
import os
import stat
import threading
import weakref
from collections.abc import Iterable, Iterator, Mapping
from types import TracebackType
from typing import (
    TYPE_CHECKING,
    Any,
    BinaryIO,
    Literal,
    NamedTuple,
    Self,
    TypeAlias,
    Unpack,
    get_args,
)

from ifdsweep import _core
from ifdsweep._core import File
from ifdsweep._scan import (
    AnyPath,
    FileArguments,
    Plan,
    planned,
    scan,
    whole,
)

if TYPE_CHECKING:
    import numpy.typing
    import pandas
    import polars
    import pyarrow

    from ifdsweep._program import ProgramScan

Layout: TypeAlias = Literal["images", "tags", "files", "warnings"]
"""What a row of a table is: an image, an entry, a file, a message."""

ColumnChoice: TypeAlias = Literal["core", "all"] | Iterable[str]
"""The columns of a table: those that most want, all that there are, or by their names."""

Compression: TypeAlias = Literal["zstd", "snappy", "gzip", "brotli", "lz4", "none"]
"""How the columns of a Parquet file are compressed."""

# A column of 32-bit offsets has room for twice as much.
_MOST_ROWS = (1 << 31) - 1
_MOST_BYTES = 1 << 30

# Types of columns that are numbers in NumPy, and what they are there.
_NUMPY_TYPES = {
    "int16": "int16",
    "int32": "int32",
    "int64": "int64",
    "float64": "float64",
    "boolean": "bool",
    "time": "datetime64[us]",
    "instant": "datetime64[us]",
}


class Column(NamedTuple):
    """A column of a table."""

    name: str
    type: str
    """In words: ``"int64"``, ``"list<float64>"``, ``"word"``."""
    id: int
    """Its number, which no other column of the layout ever has."""
    meaning: str
    source: str
    """The tag or the standard that it is taken from."""


class Schema(Mapping[str, Column]):
    """The columns of a table by their names, in their order.

    It follows from the layout and from what was asked for, whatever the files hold.
    """

    __slots__ = ("_columns", "_schema", "layout")

    def __init__(self, layout: Layout, columns: ColumnChoice = "core") -> None:
        self._schema = _core.table_schema(layout, _choice(columns))
        self._columns = {row[0]: Column(*row) for row in self._schema.columns}
        self.layout: Layout = layout

    def with_plain_words(self) -> "Schema":
        """The same columns with texts in place of words, for those who want no dictionaries."""
        plain = Schema.__new__(Schema)
        plain._schema = self._schema.with_plain_words()
        plain._columns = {row[0]: Column(*row) for row in plain._schema.columns}
        plain.layout = self.layout
        return plain

    @property
    def names(self) -> tuple[str, ...]:
        """The names of the columns."""
        return tuple(self._columns)

    @property
    def types(self) -> tuple[str, ...]:
        """Their types, in words."""
        return tuple(column.type for column in self._columns.values())

    @property
    def identity(self) -> str:
        """A text that only equal schemas have in common: layout, numbers, names and types."""
        return self._schema.identity

    def __arrow_c_schema__(self) -> object:
        """The schema as an Arrow struct, in a capsule."""
        return self._schema.capsule()

    def __getitem__(self, name: str) -> Column:
        return self._columns[name]

    def __iter__(self) -> Iterator[str]:
        return iter(self._columns)

    def __len__(self) -> int:
        return len(self._columns)

    def __eq__(self, other: object) -> bool:
        return isinstance(other, Schema) and self.identity == other.identity

    def __hash__(self) -> int:
        return hash(self.identity)

    def __reduce__(self) -> tuple[type[Self], tuple[Layout, list[str]]]:
        return type(self), (self.layout, list(self._columns))

    def __repr__(self) -> str:
        return f"<Schema of {self.layout}: {_counted(len(self), 'column')}>"

    def __str__(self) -> str:
        """A line for each column: its name, its type, its meaning."""
        width = max(len(name) for name in self._columns)
        return "\n".join(
            f"{column.name:{width}}  {column.type:13}  {column.meaning}"
            for column in self._columns.values()
        )


class Batch:
    """Some rows of a table."""

    __slots__ = ("_batch", "schema")

    def __init__(self, schema: Schema, batch: _core.TableBatch) -> None:
        self.schema = schema
        self._batch = batch

    def __len__(self) -> int:
        return self._batch.rows

    def __repr__(self) -> str:
        return f"<Batch of {self.schema.layout}: {_counted(len(self), 'row')}>"

    def __arrow_c_schema__(self) -> object:
        """The schema of the table, in a capsule."""
        return self.schema.__arrow_c_schema__()

    def __arrow_c_array__(self, requested_schema: object = None) -> tuple[object, object]:
        """The schema and the rows as an Arrow struct, in two capsules; no bytes are copied."""
        return self.__arrow_c_schema__(), self._batch.capsule()

    def to_numpy(self) -> "dict[str, numpy.typing.NDArray[Any]]":
        """The columns as arrays, as those of `Columns.to_numpy`, but that numbers are read-only."""
        return {name: self._array(number) for number, name in enumerate(self.schema)}

    def _array(self, number: int) -> "numpy.typing.NDArray[Any]":
        np = _imported("numpy", "numpy")
        if not self._batch.has_numbers(number):
            values = self._batch.values(number)
            objects: numpy.typing.NDArray[Any] = np.fromiter(values, object, len(values))
            return objects
        numbers, nulls = self._batch.numbers(number)
        kind = _NUMPY_TYPES[self.schema.types[number]]
        masked: numpy.typing.NDArray[Any] = np.ma.MaskedArray(
            numbers.view(kind), np.ma.nomask if nulls is None else nulls
        )
        return masked


class Batches(Iterator[Batch]):
    """The batches of a table, one after the other: its files are read meanwhile.

    Threads may share it, as a `Scan`. It is closed after the last batch, by what ends it, at the
    end of a `with` block, and when the object is gone. As an Arrow stream it gives the batches that
    are left.
    """

    __slots__ = ("_scan", "schema")

    def __init__(self, schema: Schema, scan: _core.TableScan) -> None:
        self.schema = schema
        self._scan = scan

    def __iter__(self) -> Self:
        return self

    def __next__(self) -> Batch:
        batch = self._scan.next()
        if batch is None:
            raise StopIteration
        return Batch(self.schema, batch)

    def close(self) -> None:
        """Ends the reading: there are no more batches. May be called more than once, by any
        thread."""
        self._scan.close()

    def __enter__(self) -> Self:
        return self

    def __exit__(
        self,
        kind: type[BaseException] | None,
        error: BaseException | None,
        traceback: TracebackType | None,
    ) -> None:
        self.close()

    def __arrow_c_schema__(self) -> object:
        """The schema of the table, in a capsule."""
        return self.schema.__arrow_c_schema__()

    def __arrow_c_stream__(self, requested_schema: object = None) -> object:
        """The batches that are left, in a capsule."""
        return self._scan.capsule(is_asked=False)


class Columns:
    """A table of files that are read when its rows are asked for, each time anew.

    Libraries take it as it is, by the Arrow PyCapsule interface: ``polars.DataFrame(table)``,
    ``duckdb.sql("from table")``, ``pyarrow.table(table)``. What they ask for in `requested_schema`
    is not looked at: the schema is always its own.
    """

    __slots__ = ("__weakref__", "_limits", "_plan", "schema")

    def __init__(self, schema: Schema, plan: Plan, limits: "_Limits") -> None:
        self.schema = schema
        self._plan = plan
        self._limits = limits

    def __repr__(self) -> str:
        return f"<Columns of {self.schema.layout}: {_counted(len(self.schema), 'column')}>"

    def __arrow_c_schema__(self) -> object:
        """The schema of the table, in a capsule."""
        return self.schema.__arrow_c_schema__()

    def __arrow_c_stream__(self, requested_schema: object = None) -> object:
        """The table as an Arrow stream, in a capsule.

        Its files are read from the first batch on, by a scan of its own. It may be consumed by any
        thread, and outlives this object. What ends the scan ends the stream with its text; Ctrl-C
        also raises KeyboardInterrupt once the consumer is back.
        """
        return self.batches().__arrow_c_stream__(requested_schema)

    def batches(self) -> Batches:
        """The rows, batch by batch."""
        return Batches(self.schema, self._begin())

    def to_arrow(self) -> "pyarrow.Table":
        """A table of pyarrow."""
        pa = _imported("pyarrow", "arrow")
        with _Stream(self) as stream:
            table: pyarrow.Table = pa.table(stream)
        return table

    def to_pandas(self) -> "pandas.DataFrame":
        """A DataFrame of pandas whose columns have the types of Arrow (`pandas.ArrowDtype`).

        So a column of integers is one whether or not any is null. Words are texts.
        """
        pd = _imported("pandas", "pandas")
        pa = _imported("pyarrow", "pandas")
        with _Stream(self) as stream:
            table = pa.table(stream)
        plain = table.cast(_plain_words(table.schema))
        frame: pandas.DataFrame = plain.to_pandas(types_mapper=pd.ArrowDtype)
        return frame

    def to_polars(self) -> "polars.DataFrame":
        """A DataFrame of polars. Words are categories there."""
        pl = _imported("polars", "polars")
        with _Stream(self) as stream:
            frame: polars.DataFrame = pl.DataFrame(stream)
        return frame

    def to_numpy(self) -> "dict[str, numpy.typing.NDArray[Any]]":
        """A dict of the columns as arrays of NumPy.

        Integers, floating-point numbers, truth values and times (``datetime64[us]``; an instant is
        in UTC) are masked arrays, masked where they are null. All others are arrays of objects:
        str and bytes; tuples of lists; pairs of rationals; None for null.
        """
        np = _imported("numpy", "numpy")
        parts: dict[str, list[Any]] = {name: [] for name in self.schema}
        for batch in self.batches():
            for name, array in batch.to_numpy().items():
                parts[name].append(array)
        return {name: _joined(np, self.schema[name], parts.pop(name)) for name in self.schema}

    def write_parquet(
        self, path: str | os.PathLike[str], *, compression: Compression = "zstd"
    ) -> None:
        """Writes a Parquet file by pyarrow, a row group for each batch. Words are plain texts.

        The file has its name when it is whole: until then, and when something goes wrong, what had
        that name before is there. Links are followed. A file that begins as an image is never
        written over.

        Args:
            path: The name of the file.
            compression: "zstd", "snappy", "gzip", "brotli", "lz4" or "none".

        Raises:
            FileExistsError: The name is that of an image, or of what is no file.
            ValueError: For another compression.
        """
        if compression not in get_args(Compression):
            words = ", ".join(f'"{word}"' for word in get_args(Compression))
            raise ValueError(f"compression: expected one of {words}, got {compression!r}")
        pa = _imported("pyarrow", "arrow")
        parquet = _imported("pyarrow.parquet", "arrow")
        schema = _plain_words(pa.schema(self.schema))
        with (
            _replacing(path) as file,
            parquet.ParquetWriter(file, schema, compression=compression) as writer,
        ):
            for batch in self.batches():
                writer.write_batch(pa.record_batch(batch).cast(schema), len(batch))

    def _begin(self) -> _core.TableScan:
        if self._plan.program is None:
            return _core.thread_table(
                self.schema._schema, self._plan.options, **self._limits._asdict()
            )
        return _core.iterator_table(
            self.schema._schema, _LateFiles(self._plan), _interpreter, **self._limits._asdict()
        )


class _Limits(NamedTuple):
    """What the batches of a table hold at most."""

    batch_rows: int
    batch_bytes: int
    max_value: int | None


class _Stream:
    """A table as a stream for a library: a block, out of which comes what ended the scan itself
    in place of what the library made of it."""

    def __init__(self, columns: Columns) -> None:
        self._scan = columns._begin()

    def __arrow_c_stream__(self, requested_schema: object = None) -> object:
        return self._scan.capsule(is_asked=True)

    def __enter__(self) -> Self:
        return self

    def __exit__(
        self,
        kind: type[BaseException] | None,
        error: BaseException | None,
        traceback: TracebackType | None,
    ) -> None:
        self._scan.close()
        if isinstance(error, Exception):
            try:
                self._scan.check()
            except BaseException as cause:
                raise cause from None


class _LateFiles:
    """The files of a plan of the program's, which is begun when the first is asked for."""

    def __init__(self, plan: Plan) -> None:
        self._plan = plan
        self._lock = threading.Lock()  # of the members below
        self._files: ProgramScan | None = None
        self._is_closed = False

    def __next__(self) -> File:
        files = self._begun()
        if files is None:
            raise StopIteration
        return files.__next__()

    def is_ready(self, seconds: float) -> bool:
        """As `ProgramScan` says."""
        files = self._begun()
        return files is None or files.is_ready(seconds)

    def close(self) -> None:
        """Ends the program."""
        with self._lock:
            self._is_closed = True
            files = self._files
        if files is not None:
            files.close()

    def _begun(self) -> "ProgramScan | None":
        with self._lock:
            if self._files is None and not self._is_closed:
                self._files = self._plan.begin_program()
                _open_files.add(self)
            return self._files


_open_files: weakref.WeakSet[_LateFiles] = weakref.WeakSet()
_interpreter = _core.Interpreter()


@atexit.register
def _end() -> None:
    """Leaves no process behind, for streams that a library still holds."""
    for files in list(_open_files):
        files.close()
    _interpreter.end()


def table(
    paths: AnyPath | Iterable[AnyPath],
    layout: Layout = "images",
    *,
    columns: ColumnChoice = "core",
    batch_rows: int = 65_536,
    batch_bytes: int = 64 << 20,
    max_value: int | None = None,
    **arguments: Unpack[FileArguments],
) -> Columns:
    """Many files as a table of typed columns.

    Nothing is read before its rows are asked for. A file that cannot be read is a row of "files"
    and "warnings" like others.

    Args:
        paths: As for `scan`.
        layout: What a row is: "images", "tags", "files" or "warnings".
        columns: "core", "all", or the names of columns, in their order.
        batch_rows: Most rows of a batch.
        batch_bytes: What a batch comes to before its last row, at most.
        max_value: Longest value that is read, in bytes, and the longest that a row has. None: all
            are read, and rows have values of at most 1,024 items and 64 KiB. Of a longer one the
            layout "tags" has type, count and position.
        **arguments: As for `scan`.

    Raises:
        TypeError, ValueError: For an argument, which is named; for a column that is not there,
            with names that are like it.
        FileNotFoundError: With `isolate`, if the program is not there.
    """
    defaults: dict[str, Any] = scan.__kwdefaults__ or {}
    for name in arguments:
        if name not in defaults:
            raise TypeError(f"table() got an unexpected keyword argument {name!r}")
    merged: Any = {**defaults, **arguments, "max_value": max_value}
    schema_of_table = Schema(layout, columns)
    rows = whole("batch_rows", batch_rows, _MOST_ROWS, "an int")
    size = whole("batch_bytes", batch_bytes, _MOST_BYTES, "an int")
    plan = planned(paths, merged)
    if plan.program is not None:
        from ifdsweep._program import find_program  # needed by few, and imports much

        find_program()
    longest = None if max_value is None else operator.index(max_value)
    return Columns(schema_of_table, plan, _Limits(rows, size, longest))


def schema(layout: Layout, columns: ColumnChoice = "core") -> Schema:
    """The columns that a table has, without any file.

    Args:
        layout: "images", "tags", "files" or "warnings".
        columns: "core", "all", or the names of columns, in their order.

    Raises:
        TypeError, ValueError: As for `table`.
    """
    return Schema(layout, columns)


def _choice(columns: ColumnChoice) -> str | list[str]:
    kind = type(columns).__name__
    if isinstance(columns, str):
        return columns
    if isinstance(columns, bytes | bytearray) or not isinstance(columns, Iterable):
        raise TypeError(f"columns: expected a str or an iterable of them, got {kind}")
    names = list(columns)
    for name in names:
        if not isinstance(name, str):
            raise TypeError(f"columns: expected a str, got {type(name).__name__}")
    return names


def _counted(number: int, thing: str) -> str:
    return f"{number:,} {thing}{'' if number == 1 else 's'}"


def _imported(module: str, extra: str) -> Any:
    """A package that is not needed otherwise."""
    try:
        return importlib.import_module(module)
    except ModuleNotFoundError as error:
        package = module.partition(".")[0]
        if error.name is None or error.name.partition(".")[0] != package:
            raise
        raise ModuleNotFoundError(
            f"{package} is not installed: pip install 'ifdsweep[{extra}]'", name=error.name
        ) from None


def _plain_words(schema: "pyarrow.Schema") -> "pyarrow.Schema":
    """The schema with texts in place of words."""
    import pyarrow as pa

    plain = [
        field.with_type(pa.utf8()) if pa.types.is_dictionary(field.type) else field
        for field in schema
    ]
    return pa.schema(plain, schema.metadata)


def _joined(np: Any, column: Column, parts: list[Any]) -> "numpy.typing.NDArray[Any]":
    """One array of those of the batches."""
    kind = _NUMPY_TYPES.get(column.type)
    joined: numpy.typing.NDArray[Any] = (
        np.concatenate([np.empty(0, object), *parts])
        if kind is None
        else np.ma.concatenate([np.ma.MaskedArray(np.empty(0, kind)), *parts])
    )
    return joined


@contextlib.contextmanager
def _replacing(path: str | os.PathLike[str]) -> Iterator[BinaryIO]:
    """A new file that has the path when the block ends well."""
    target = os.path.realpath(path)
    _refuse_image(target)
    name = os.path.join(os.path.dirname(target), f".ifdsweep-{os.urandom(8).hex()}.part")
    try:
        with open(name, "xb") as file:
            yield file
            file.flush()
            os.fsync(file.fileno())
        _refuse_image(target)
        os.replace(name, target)
    except BaseException:
        with contextlib.suppress(FileNotFoundError):
            os.unlink(name)
        raise


def _refuse_image(path: str) -> None:
    """Raises FileExistsError for a path that must not be written over."""
    try:
        status = os.stat(path)
    except FileNotFoundError:
        return
    if not stat.S_ISREG(status.st_mode):
        raise FileExistsError(f"{path} is no regular file and is left as it is")
    with open(path, "rb") as file:
        begin = file.read(_core.LONGEST_SIGNATURE)
    if _core.is_image(begin):
        raise FileExistsError(f"{path} is an image and is left as it is")
