"""The catalogue as its users see it."""

import os
from collections.abc import Callable, Iterable
from dataclasses import fields
from pathlib import Path
from typing import TYPE_CHECKING, Any, NamedTuple, Self

import pyarrow as pa
import pyarrow.compute as pc
import pyarrow.dataset as ds

from ifdsweep._html import table_html
from ifdsweep.catalogue._commit import (
    newest_snapshot,
    read_snapshot,
    snapshot_numbers,
    vacuum,
)
from ifdsweep.catalogue._errors import CatalogueError, explained
from ifdsweep.catalogue._model import (
    FORMAT,
    TABLES,
    Description,
    Options,
    Snapshot,
    Summary,
    Table,
    description_from_json,
    from_json,
    to_json,
)
from ifdsweep.catalogue._names import is_temporary
from ifdsweep.catalogue._storage import Storage, storage_of
from ifdsweep.catalogue._tables import schema_of
from ifdsweep.catalogue._update import Progress, update
from ifdsweep.catalogue.engines import Engine
from ifdsweep.catalogue.engines.local import Local

if TYPE_CHECKING:
    import duckdb

_DESCRIPTION = "catalogue.json"

_FAILURES = pa.schema(
    {
        "root": pa.int16(),
        "file_path": pa.utf8(),
        "status": pa.utf8(),
        "error_id": pa.utf8(),
        "error_text": pa.utf8(),
    }
)


class TableState(NamedTuple):
    """How much there is of a table."""

    rows: int
    bytes: int
    """Of its files."""
    parts: int
    """Parts that have rows of it."""


class Catalogue:
    """What is in the images below some folders, as tables that are kept up to date.

    It shows the snapshot that was the newest when it was opened, or when `update` returned.
    """

    __slots__ = ("_description", "_snapshot", "_storage")

    def __init__(self, storage: Storage, description: Description, snapshot: Snapshot) -> None:
        self._storage = storage
        self._description = description
        self._snapshot = snapshot

    @classmethod
    def create(
        cls,
        path: str | os.PathLike[str],
        roots: str | os.PathLike[str] | Iterable[str | os.PathLike[str]],
        **options: Any,
    ) -> Self:
        """Makes a catalogue that is empty until it is updated.

        Args:
            path: A folder that is not there yet or is empty.
            roots: The folders whose images it will have, one or more; absolute paths are kept.
            **options: The members of `Options`.

        Raises:
            CatalogueError: There is something at the path.
            TypeError, ValueError: For an option.
        """
        given = [roots] if isinstance(roots, str | os.PathLike) else list(roots)
        if not given:
            raise ValueError("roots: expected at least one folder")
        chosen = _options(options)
        schema_of("images", chosen)  # raises for columns that there are not
        storage = storage_of(path, make=True)
        with explained(storage.location):
            if any(not is_temporary(name) for name in storage.names("")):
                raise CatalogueError(f"{storage.location}: there is something already")
        description = Description(
            FORMAT, tuple(str(Path(root).absolute()) for root in given), chosen
        )
        with explained(storage.location):
            is_made = storage.create(_DESCRIPTION, to_json(description))
        if not is_made:
            raise CatalogueError(f"{storage.location}: there is a catalogue already")
        return cls.open(storage)

    @classmethod
    def open(cls, path: str | os.PathLike[str] | Storage) -> Self:
        """Opens a catalogue.

        Raises:
            CatalogueError: There is none, it is damaged, or made by a later version.
        """
        storage = storage_of(path)
        try:
            description = description_from_json(storage.read(_DESCRIPTION))
        except FileNotFoundError:
            raise CatalogueError(f"{storage.location}: there is no catalogue") from None
        except (OSError, ValueError) as error:
            raise CatalogueError(f"{storage.location}/{_DESCRIPTION}: {error}") from error
        return cls(storage, description, newest_snapshot(storage))

    def _repr_html_(self) -> str:
        """A small table for notebooks: what there is of each table."""
        rows = [(name, *(f"{n:,}" for n in there)) for name, there in self.tables.items()]
        return table_html(repr(self)[1:-1], ("table", *TableState._fields), rows)

    def __repr__(self) -> str:
        snapshot = self._snapshot
        files = f"{snapshot.summary.files:,} files"
        return f"<Catalogue {self.location}: snapshot {snapshot.number}, {files}>"

    @property
    def location(self) -> str:
        """Where it lies."""
        return self._storage.location

    @property
    def roots(self) -> tuple[str, ...]:
        """The folders whose images it has; `root` of the tables is a place in it."""
        return self._description.roots

    @property
    def options(self) -> Options:
        """What it was made with."""
        return self._description.options

    @property
    def snapshot(self) -> Snapshot:
        """The state that the tables show."""
        return self._snapshot

    @property
    def snapshots(self) -> list[Snapshot]:
        """All states that are there, the oldest first."""
        return [read_snapshot(self._storage, n) for n in snapshot_numbers(self._storage)]

    @property
    def tables(self) -> dict[Table, "TableState"]:
        """How much there is of each table."""
        return {table: self._state_of(table) for table in TABLES}

    def _state_of(self, table: Table) -> "TableState":
        stored = [part.tables[table] for part in self._snapshot.parts if table in part.tables]
        rows, size = sum(file.rows for file in stored), sum(file.bytes for file in stored)
        return TableState(rows, size, len(stored))

    def at(self, snapshot: int) -> Self:
        """The catalogue as it was in a snapshot that is still there."""
        return type(self)(self._storage, self._description, read_snapshot(self._storage, snapshot))

    def update(
        self,
        engine: Engine | str = "local",
        *,
        force: bool = False,
        accept_removals: bool = False,
        progress: Callable[[Progress], None] | None = None,
    ) -> Summary:
        """Reads what is new or changed, and drops what is gone: a new snapshot, unless nothing
        changed. An update that was ended before is gone on with.

        Args:
            engine: What runs it; "local": threads of this process.
            force: Reads all files again.
            accept_removals: Lets more than a fifth of the files go.
            progress: Is told how far it is.

        Raises:
            CatalogueBusyError: Another update is at work, or was quicker.
            TooManyRemovalsError: More than a fifth of the files are gone.
            CatalogueError: The catalogue is damaged, or cannot be written.
        """
        if isinstance(engine, str):
            if engine != "local":
                raise ValueError(f'engine: expected "local" or an engine, got {engine!r}')
            engine = Local()
        with explained(self.location):
            summary = update(
                self._storage,
                self.options,
                self.roots,
                engine=engine,
                force=force,
                accept_removals=accept_removals,
                progress=progress,
            )
        self._snapshot = newest_snapshot(self._storage)
        return summary

    def dataset(self, table: Table) -> ds.Dataset:
        """A table over the parts of the snapshot: "files", "images", "tags", "warnings" or
        "others"."""
        filesystem, folder = self._storage.filesystem()
        names = [
            f"{folder}/{part.tables[table].name}"
            for part in self._snapshot.parts
            if table in part.tables
        ]
        schema = schema_of(table, self.options)
        if not names:
            return ds.dataset(schema.empty_table())
        return ds.FileSystemDataset.from_paths(
            names, schema=schema, format=ds.ParquetFileFormat(), filesystem=filesystem
        )

    @property
    def files(self) -> ds.Dataset:
        """A row for each image file."""
        return self.dataset("files")

    @property
    def images(self) -> ds.Dataset:
        """A row for each image in them."""
        return self.dataset("images")

    @property
    def tags(self) -> ds.Dataset:
        """A row for each entry that `images` does not hold, unless it was made otherwise."""
        return self.dataset("tags")

    @property
    def warnings(self) -> ds.Dataset:
        """A row for each message."""
        return self.dataset("warnings")

    @property
    def others(self) -> ds.Dataset:
        """A row for each file that is no image."""
        return self.dataset("others")

    @property
    def failures(self) -> pa.Table:
        """Files with a status other than ok and warned, and folders that could not be listed:
        root, file_path, status, error_id, error_text."""
        failed = self.files.to_table(
            columns=_FAILURES.names, filter=~pc.field("status").isin(["ok", "warned"])
        )
        folders = self._snapshot.unlisted
        unlisted = {
            "root": [folder.root for folder in folders],
            "file_path": [_shown(folder.folder) for folder in folders],
            "status": ["unlisted"] * len(folders),
            "error_id": [None] * len(folders),
            "error_text": [folder.error for folder in folders],
        }
        return pa.concat_tables([failed.cast(_FAILURES), pa.table(unlisted, schema=_FAILURES)])

    def duckdb(self) -> "duckdb.DuckDBPyConnection":
        """A connection of DuckDB in memory, whose views are the tables of the snapshot."""
        import duckdb

        connection = duckdb.connect(
            config={
                "autoinstall_known_extensions": False,
                "autoload_known_extensions": False,
                "python_enable_replacements": False,  # variables of Python are no tables
            }
        )
        for table in TABLES:
            connection.register(table, self.dataset(table))
        return connection

    def sql(self, query: str, parameters: Any = None) -> pa.Table:
        """The answer to a query over `files`, `images`, `tags`, `warnings` and `others`."""
        with self.duckdb() as connection:
            answer = connection.sql(query, params=parameters)
            return pa.table({}) if answer is None else answer.to_arrow_table()

    def vacuum(self, *, keep: int = 1, dry_run: bool = False) -> list[str]:
        """Removes all snapshots but the newest, the parts that none of those left has, and what
        updates left behind that were ended; gives the names of the files."""
        return vacuum(self._storage, keep=keep, dry_run=dry_run)


def _options(given: dict[str, Any]) -> Options:
    """The options, as what they are on disk."""
    known = {field.name for field in fields(Options)}
    for name in given:
        if name not in known:
            raise TypeError(f"there is no option {name!r}; options are {', '.join(sorted(known))}")
    return from_json(Options, to_json(Options(**{n: _listed(n, v) for n, v in given.items()})))


def _listed(name: str, value: Any) -> Any:
    """The value of an option that may be several, as a tuple."""
    if name not in {"include", "exclude", "columns"} or value in ("core", "all"):
        return value
    return (value,) if isinstance(value, str) else tuple(value)


def _shown(path: str) -> str:
    return os.fsencode(path).decode(errors="replace")
