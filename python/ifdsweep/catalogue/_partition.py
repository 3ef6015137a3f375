"""Partition: one task of an update, which makes one part. Any process on any machine may run it,
more than once: the first to leave its receipt wins, and what others made is never looked at."""

import functools
import os
import time
import uuid
from collections.abc import Callable, Collection, Iterator, Mapping
from concurrent.futures import ThreadPoolExecutor
from dataclasses import dataclass
from typing import Any, TypeAlias

import numpy as np
import numpy.typing as npt
import pyarrow as pa
import pyarrow.compute as pc

from ifdsweep.catalogue._ahead import ahead
from ifdsweep.catalogue._commit import read_receipt, read_snapshot
from ifdsweep.catalogue._errors import CatalogueError
from ifdsweep.catalogue._model import (
    FILE_BITS,
    READ,
    TABLES,
    Options,
    Part,
    PartFile,
    Partition,
    Plan,
    Receipt,
    Table,
    merged_paths,
    path_key,
    to_json,
)
from ifdsweep.catalogue._names import attempt_file_name, part_file_name, receipt_name
from ifdsweep.catalogue._plan import items_of, read_plan
from ifdsweep.catalogue._reading import ranges_of, read_tables
from ifdsweep.catalogue._steps import reached
from ifdsweep.catalogue._storage import Storage, storage_of
from ifdsweep.catalogue._tables import (
    OTHERS,
    TableWriter,
    rows_of_file,
    schema_of,
)

GRAIN_NS = 2_000_000_000
"""A file that changed less than this before it was read may change again without another time."""

_Numbers: TypeAlias = pa.Array | pa.ChunkedArray

_WAITING_BATCHES = 2
"""Of a range of files, that wait to be written."""

_EACH_TIME = "each time that it was read"
"""How the process ended."""


def run_partition(
    storage: Storage | str,
    snapshot: int,
    partition: int,
    *,
    threads: int | None = None,
    crashing: Collection[bytes] = (),
    ended: Callable[[], bool] = lambda: False,
) -> Receipt:
    """Makes the part of a partition by the plan of a snapshot, unless that was done before.

    The rows of unchanged files come from the old parts, those of others from reading: in one pass
    over the files for all tables. The tables lie sorted by path in
    `work/NNNNNN/attempts/PPPPP.UUID/TABLE.parquet`; then the receipt is made.

    Args:
        storage: Where the catalogue lies.
        snapshot: That the plan is for.
        partition: The number of the partition.
        threads: With which files are read; None: as many as there are cores.
        crashing: Files that took processes down before: not read; rows with the status crashed.
        ended: Is asked now and then; true: the try is given up.

    Returns:
        The receipt of the try that was first, of this call or not.

    Raises:
        CatalogueError: There is no such plan or partition, files of the catalogue are damaged, or
            the try was given up.
    """
    storage = storage_of(storage)
    name = receipt_name(snapshot, partition)
    try:
        storage.read(name)
    except FileNotFoundError:
        pass
    else:
        return read_receipt(storage, name)
    job = _job(storage, snapshot, partition)
    attempt = uuid.uuid4().hex
    reached("attempt-begun")
    receipt = _made(job, attempt, threads, crashing, ended)
    reached("attempt-written")
    if not storage.create(name, to_json(receipt)):
        for table in TABLES:
            storage.remove(attempt_file_name(snapshot, partition, attempt, table))
        return read_receipt(storage, name)
    reached("receipt-written")
    return receipt


def probe_files(
    storage: Storage | str, snapshot: int, partition: int, begin: int, end: int
) -> None:
    """Reads some of the files that a partition reads, by their places in its items, and makes
    nothing: whether that takes the process down is what is to be found out."""
    job = _job(storage_of(storage), snapshot, partition)
    paths = job.reads[begin:end]
    for _ in read_tables(job.options, job.root, paths, range(len(paths)), threads=1):
        pass


@dataclass(frozen=True)
class _Job:
    """What a partition is made of."""

    storage: Storage
    plan: Plan
    partition: Partition
    items: pa.Table
    """Those that are read: rows of `ITEMS`."""
    drops: frozenset[bytes]
    """Paths of which no old rows are kept."""

    @property
    def options(self) -> Options:
        return self.plan.options

    @property
    def root(self) -> bytes:
        return os.fsencode(self.plan.roots[self.partition.root])

    @property
    def reads(self) -> list[bytes]:
        """Paths from the root."""
        paths: list[bytes] = self.items["path"].to_pylist()
        return paths


def _job(storage: Storage, snapshot: int, number: int) -> _Job:
    plan = read_plan(storage, snapshot)
    if plan is None:
        raise CatalogueError(f"{storage.location}: there is no plan for snapshot {snapshot}")
    partition = next((p for p in plan.partitions if p.number == number), None)
    if partition is None:
        raise CatalogueError(f"{storage.location}: the plan has no partition {number}")
    items = items_of(storage, plan, number)
    reads = items.filter(pc.equal(items["action"], READ))
    return _Job(storage, plan, partition, reads, frozenset(items["path"].to_pylist()))


def _made(
    job: _Job,
    attempt: str,
    threads: int | None,
    crashing: Collection[bytes],
    ended: Callable[[], bool],
) -> Receipt:
    """Makes the tables of a part."""
    begun = time.monotonic()
    number = job.partition.number
    kept = _Kept(job)
    reads = job.reads
    paths = merged_paths(kept.paths, reads)
    ids = {path: number << FILE_BITS | place for place, path in enumerate(paths)}
    kept.number(ids)
    new = _NewRows(job, reads, [ids[path] for path in reads], threads, crashing)
    with ThreadPoolExecutor(1) as long, ThreadPoolExecutor(1) as short:
        writers = {
            table: TableWriter(
                job.storage,
                attempt_file_name(job.plan.snapshot, number, attempt, table),
                schema_of(table, job.options),
                job.options.compression,
                long if table == "images" else short,
            )
            for table in TABLES
        }
        try:
            _write(job, kept, new, writers, ended)
            for writer in writers.values():
                writer.close()
        except BaseException as error:
            for writer in writers.values():
                writer.close(error)
            raise
    tables: dict[str, PartFile] = {
        table: writer.part_file(part_file_name(job.plan.snapshot, number, attempt, table))
        for table, writer in writers.items()
        if writer.rows
    }
    failed = new.failed + kept.failed
    part = Part(
        number=number,
        root=job.partition.root,
        first=os.fsdecode(paths[0]) if paths else "",
        last=os.fsdecode(paths[-1]) if paths else "",
        tables=tables,
        failed=failed,
    )
    return Receipt(
        partition=number,
        attempt=attempt,
        part=part if tables else None,
        files=writers["files"].rows,
        read=len(reads),
        failed=failed,
        bytes_read=int(pc.sum(job.items["size"], min_count=0).as_py()),
        seconds=round(time.monotonic() - begun, 6),
    )


def _write(
    job: _Job,
    kept: "_Kept",
    new: "_NewRows",
    writers: Mapping[Table, TableWriter],
    ended: Callable[[], bool],
) -> None:
    """Merges rows that are kept and new ones, table by table as they come."""
    merges = {
        table: _Merge(kept.rows(table), writer, schema_of(table, job.options))
        for table, writer in writers.items()
    }
    for table, rows in new.rows():
        if ended():
            raise CatalogueError("the update was ended")
        merges[table].add(rows)
    for merge in merges.values():
        merge.finish()
    for writer in writers.values():
        writer.finish()


class _Merge:
    """Rows that are kept, between which new ones are put as they come."""

    def __init__(self, kept: Iterator[pa.Table], writer: TableWriter, schema: pa.Schema) -> None:
        self._kept = kept
        self._writer = writer
        self._schema = schema
        self._waiting = schema.empty_table()

    def add(self, rows: pa.Table) -> None:
        """Writes new rows, and those kept rows that belong before the last of them."""
        last = rows["file_id"][-1].as_py()
        before = [part for part in self._take(last) if part.num_rows]
        if before:
            both = pa.concat_tables([*before, rows])
            rows = both.take(pc.sort_indices(both["file_id"]))
        self._writer.write(rows)

    def _take(self, last: int) -> Iterator[pa.Table]:
        while True:
            if not self._waiting.num_rows:
                following = next(self._kept, None)
                if following is None:
                    return
                self._waiting = following
                continue
            ids = self._waiting["file_id"].to_numpy()
            count = int(np.searchsorted(ids, last))
            yield self._waiting.slice(0, count)
            self._waiting = self._waiting.slice(count)
            if self._waiting.num_rows:
                return

    def finish(self) -> None:
        """Writes what is left."""
        self._writer.write(self._waiting)
        for rows in self._kept:
            self._writer.write(rows)


class _Kept:
    """Rows of old parts whose files did not change."""

    def __init__(self, job: _Job) -> None:
        self._job = job
        self._parts = _old_parts(job)
        self._files = [self._known(part) for part in self._parts]
        self.paths = [path for files in self._files for path in files]
        self.failed = 0
        self._ids: list[npt.NDArray[np.int64]] = []

    def _known(self, part: Part) -> dict[bytes, int]:
        """The old ids of the files that stay, by their paths."""
        begin = path_key(os.fsencode(self._job.partition.begin))
        end = self._job.partition.end
        end_key = None if end is None else path_key(os.fsencode(end))
        known: dict[bytes, int] = {}
        for table in ("files", "others"):
            if table not in part.tables:
                continue
            columns = ["file_id", "file_path", "path_bytes"]
            for rows in rows_of_file(self._job.storage, part.tables[table].name, columns):
                paths = pc.coalesce(rows["path_bytes"], pc.cast(rows["file_path"], pa.binary()))
                for path, old in zip(paths.to_pylist(), rows["file_id"].to_pylist(), strict=True):
                    key = path_key(path)
                    if (
                        path not in self._job.drops
                        and key >= begin
                        and (end_key is None or key < end_key)
                    ):
                        known[path] = old
        return known

    def number(self, ids: Mapping[bytes, int]) -> None:
        """Gives the files their new ids."""
        for files in self._files:
            new = np.full(max((_place(old) for old in files.values()), default=-1) + 1, -1)
            for path, old in files.items():
                new[_place(old)] = ids[path]
            self._ids.append(new)

    def rows(self, table: Table) -> Iterator[pa.Table]:
        """The rows of a table, sorted by their new ids."""
        schema = schema_of(table, self._job.options)
        for part, new in zip(self._parts, self._ids, strict=True):
            if table not in part.tables:
                continue
            for rows in rows_of_file(self._job.storage, part.tables[table].name, None):
                yield from self._renumbered(rows.cast(schema), new, table)

    def _renumbered(
        self, rows: pa.Table, new: npt.NDArray[np.int64], table: Table
    ) -> Iterator[pa.Table]:
        places = rows["file_id"].to_numpy() & ((1 << FILE_BITS) - 1)
        ids = np.full(len(places), -1)
        is_known = places < len(new)
        ids[is_known] = new[places[is_known]]
        stays = pa.array(ids >= 0)
        column = rows.schema.get_field_index("file_id")
        left = rows.set_column(column, rows.schema.field(column), pa.array(ids)).filter(stays)
        if table == "files":
            self.failed += _failed(left)
        if left.num_rows:
            yield left


def _place(file_id: int) -> int:
    return file_id & ((1 << FILE_BITS) - 1)


def _old_parts(job: _Job) -> list[Part]:
    if not job.partition.old:
        return []
    parts = {part.number: part for part in read_snapshot(job.storage, job.plan.parent).parts}
    try:
        return [parts[number] for number in job.partition.old]
    except KeyError as error:
        raise CatalogueError(
            f"{job.storage.location}: the plan asks for part {error}, which is not there"
        ) from None


class _NewRows:
    """Rows of files that are read."""

    def __init__(
        self,
        job: _Job,
        reads: list[bytes],
        ids: list[int],
        threads: int | None,
        crashing: Collection[bytes],
    ) -> None:
        self._job = job
        self._reads = reads
        self._ids = np.array(ids, np.int64)
        self._threads = threads
        left_out = frozenset(crashing)
        self._has_row = np.array([path in left_out for path in reads], bool)
        self._read_places = np.flatnonzero(~self._has_row)
        self._crashed_places = np.flatnonzero(self._has_row)
        self._started = time.time_ns()
        self._schemas = {table: schema_of(table, job.options) for table in TABLES}
        self.failed = 0

    def rows(self) -> Iterator[tuple[Table, pa.Table]]:
        """Rows of the tables; of each sorted by their ids."""
        crashed = self._crashed()
        for table, rows in self._made():
            if table == "files":
                self.failed += _failed(rows)
                if crashed.num_rows:
                    is_before = pc.less(crashed["file_id"], rows["file_id"][-1])
                    rows = pa.concat_tables([rows, crashed.filter(is_before)]).sort_by("file_id")
                    crashed = crashed.filter(pc.invert(is_before))
            yield table, rows
        if crashed.num_rows:
            self.failed += crashed.num_rows
            yield "files", crashed
        others = self._others()
        if others.num_rows:
            yield "others", others

    def _made(self) -> Iterator[tuple[Table, pa.Table]]:
        """The rows of the files that are read: of ranges of them, some at a time."""
        threads = self._threads or len(os.sched_getaffinity(0))
        ranges = ranges_of(self._job.options, self._read_places, threads)
        read = functools.partial(self._rows_of, threads=max(1, threads // ranges.at_a_time))
        yield from ahead(
            (functools.partial(read, places) for places in ranges.places),
            at_a_time=ranges.at_a_time,
            waiting=_WAITING_BATCHES,
        )

    def _rows_of(
        self, places: npt.NDArray[np.int64], threads: int
    ) -> Iterator[tuple[Table, pa.Table]]:
        """The rows of some of the files, by their places."""
        paths = [self._reads[place] for place in places]
        ids = self._ids[places].tolist()
        for table, batch in read_tables(
            self._job.options, self._job.root, paths, ids, threads=threads
        ):
            rows = pa.record_batch(batch)
            if table == "files":
                yield table, self._files(rows)
            else:
                yield table, pa.Table.from_arrays(rows.columns, schema=self._schemas[table])

    def _files(self, rows: pa.RecordBatch) -> pa.Table:
        """Rows of `files` as the catalogue has them."""
        columns = dict(zip(rows.schema.names, rows.columns, strict=True))
        self._has_row[np.searchsorted(self._ids, columns["file_id"].to_numpy())] = True
        columns["root"] = self._root_of(rows.num_rows)
        columns["settled"] = _settled(columns["mtime_ns"], columns["ctime_ns"], self._started)
        return pa.table(columns, schema=self._schemas["files"])

    def _crashed(self) -> pa.Table:
        """Rows of `files` for those that are not read, since that took processes down."""
        items = self._job.items.take(pa.array(self._crashed_places))
        schema = self._schemas["files"]
        count = items.num_rows
        known: dict[str, Any] = {
            **self._keys(self._crashed_places),
            **{name: items[name] for name in ("size", "mtime_ns", "ctime_ns", "inode")},
            "mtime": items["mtime_ns"]
            .cast(pa.timestamp("ns", "UTC"))
            .cast(schema.field("mtime").type, safe=False),
            "status": ["crashed"] * count,
            "error_id": ["ifdsweep:workerDied"] * count,
            "error_args": [[_EACH_TIME]] * count,
            "error_text": [f"the process that read the file ended: {_EACH_TIME}"] * count,
            "settled": _settled(items["mtime_ns"], items["ctime_ns"], self._started),
        }
        rows = pa.table(known, schema=pa.schema(schema.field(name) for name in known))
        return pa.concat_tables([schema.empty_table(), rows], promote_options="default")

    def _others(self) -> pa.Table:
        """Files that no table has a row of: they are no images."""
        places = np.flatnonzero(~self._has_row)
        items = self._job.items.take(pa.array(places))
        started = int(self._job.plan.started * 1e9)
        known: dict[str, Any] = {
            **self._keys(places),
            **{name: items[name] for name in ("size", "mtime_ns", "ctime_ns", "inode")},
            "settled": _settled(items["mtime_ns"], items["ctime_ns"], started),
        }
        return pa.table(known, schema=OTHERS)

    def _keys(self, places: npt.NDArray[np.int64]) -> dict[str, pa.Array]:
        """What says which files rows are of."""
        paths = [self._reads[place] for place in places]
        return {
            "file_id": pa.array(self._ids[places]),
            "root": self._root_of(len(paths)),
            "file_path": pa.array([path.decode(errors="replace") for path in paths], pa.utf8()),
            "path_bytes": pa.array([_unless_utf8(path) for path in paths], pa.binary()),
        }

    def _root_of(self, rows: int) -> pa.Array:
        return pa.array(np.full(rows, self._job.partition.root, np.int16))


def _settled(changed: _Numbers, status: _Numbers, started: int) -> _Numbers:
    """Whether files would have other times if they changed again: these times are none of now, as
    far as clocks tell. Those of the future are not, either."""
    before, after = started - GRAIN_NS, time.time_ns() + GRAIN_NS
    outside = [
        pc.or_(pc.less(times, before), pc.greater(times, after)) for times in (changed, status)
    ]
    return pc.fill_null(pc.and_(*outside), False)


def _failed(files: pa.Table) -> int:
    """How many rows of `files` have a status other than ok and warned."""
    fine = pc.is_in(files["status"], pa.array(["ok", "warned"]))
    count: int = files.num_rows
    return count - int(pc.sum(fine, min_count=0).as_py())


def _unless_utf8(path: bytes) -> bytes | None:
    try:
        path.decode()
    except UnicodeDecodeError:
        return path
    return None
