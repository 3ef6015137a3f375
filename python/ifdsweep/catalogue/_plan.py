"""Plan: what an update has to do, found out from the listing and the last snapshot alone."""

import bisect
import contextlib
import itertools
import os
import time
import uuid
from collections.abc import Callable, Iterator, Sequence
from dataclasses import dataclass, field, replace
from typing import NamedTuple

import numpy as np
import pyarrow as pa
import pyarrow.compute as pc
import pyarrow.parquet as pq

from ifdsweep.catalogue._errors import CatalogueBusyError, CatalogueError, TooManyRemovalsError
from ifdsweep.catalogue._listing import SCHEMA as LISTED
from ifdsweep.catalogue._listing import Found, listed_files
from ifdsweep.catalogue._model import (
    DROP,
    READ,
    Options,
    Part,
    Partition,
    Plan,
    Snapshot,
    Unlisted,
    from_json,
    merged_paths,
    path_key,
    rows_of,
    to_json,
)
from ifdsweep.catalogue._names import again_without, items_name, plan_name, work_number
from ifdsweep.catalogue._reading import seconds_per_file
from ifdsweep.catalogue._steps import reached
from ifdsweep.catalogue._storage import Storage

TARGET_SECONDS = 20.0
"""What a partition takes, about."""
MOST_FILES = 100_000
"""Of a partition."""
FEW_FILES = 5_000
"""That are not shared out among partitions, so that parts do not become small."""
_SHARES = 64
SECONDS_PER_FILE = 0.0002
"""What reading a file takes where nobody has measured it."""
MEASURED_FILES = 25_000
"""From how many on that is measured before the first are shared out."""

_AGAIN = ("timeout", "memory", "crashed", "unreadable")
"""Statuses that ask for another try."""

ITEMS = pa.schema(
    {
        "partition": pa.int64(),
        "action": pa.int8(),
        "path": pa.binary(),
        "size": pa.int64(),
        "mtime_ns": pa.int64(),
        "ctime_ns": pa.int64(),
        "inode": pa.int64(),
    }
)
"""What is done with single files; numbers are null where the file is gone."""

_NUMBERS = ("size", "mtime_ns", "ctime_ns", "inode")


def make_plan(
    storage: Storage,
    snapshot: Snapshot,
    options: Options,
    roots: Sequence[str],
    *,
    force: bool = False,
    accept_removals: bool = False,
    progress: Callable[[int], None] | None = None,
) -> Plan | None:
    """Lists the roots, compares with the snapshot, and writes plan and items into the storage.

    A file is unchanged if path, size, mtime, ctime and inode are those of its row in `files` or
    `others`, and the row says that it had settled (`settled`: had it changed since it was read, its
    times were others) and has not a status that asks for another try (timeout, memory, crashed,
    unreadable).

    Args:
        storage: Where the catalogue lies.
        snapshot: The newest.
        options: As the catalogue was made with.
        roots: The folders that it is of.
        force: Takes no file for unchanged.
        accept_removals: Lets more than a fifth of the files go.
        progress: Is told how many files were listed so far.

    Returns:
        None where nothing is to be done: no file changed, came or went, and the folders that could
        not be listed are the same as in the snapshot.

    Raises:
        TooManyRemovalsError: More than a fifth of the files that the catalogue has are gone.
        CatalogueBusyError: Another plan for this snapshot was written in the meantime.
    """
    started = time.time()
    number = snapshot.number + 1
    items = items_name(number, uuid.uuid4().hex)
    with _items_writer(storage, items) as writer:
        planner = _Planner(
            storage, snapshot, options, roots, writer, force=force, progress=progress
        )
        for root in range(len(roots)):
            planner.plan_root(root)
        planner.carry_other_roots()
    found = planner.found
    reached("planned")
    is_same = not found.partitions and found.unlisted == list(snapshot.unlisted)
    try:
        if not is_same:
            _check_removals(storage, snapshot, found.removed, accept_removals)
    except TooManyRemovalsError:
        storage.remove(items)
        raise
    if is_same:
        storage.remove(items)
        return None
    reached("items-written")
    plan = Plan(
        snapshot=number,
        parent=snapshot.number,
        started=started,
        options=options,
        roots=tuple(roots),
        partitions=tuple(found.partitions),
        carried=tuple(found.carried),
        unlisted=tuple(found.unlisted),
        unchanged=found.unchanged,
        removed=found.removed,
        items=items,
    )
    if not storage.create(plan_name(number), to_json(plan)):
        storage.remove(items)
        raise CatalogueBusyError(
            f"{storage.location}: another update has planned meanwhile; this one changed nothing"
        )
    reached("plan-written")
    return plan


def _check_removals(storage: Storage, snapshot: Snapshot, removed: int, accept: bool) -> None:
    known = snapshot.summary.files
    if removed * 5 > known and not accept:
        raise TooManyRemovalsError(
            f"{storage.location}: {removed:,} of {known:,} files are gone, more than a fifth; if "
            "that is right, update again and accept removals"
        )


def read_plan(storage: Storage, snapshot: int) -> Plan | None:
    """The plan for a snapshot that was written before; None without one."""
    name = plan_name(snapshot)
    try:
        plan = from_json(Plan, storage.read(name))
        _check_plan(plan, snapshot)
    except FileNotFoundError:
        return None
    except (OSError, ValueError) as error:
        raise CatalogueError(
            f"{storage.location}/{name}: {error}; {again_without(snapshot)}"
        ) from error
    return plan


def _check_plan(plan: Plan, snapshot: int) -> None:
    if (plan.snapshot, plan.parent) != (snapshot, snapshot - 1):
        raise ValueError(f"it is for snapshot {plan.snapshot} after {plan.parent}")
    if work_number(plan.items) != snapshot:
        raise ValueError("it has items of another plan")
    numbers = {partition.number for partition in plan.partitions}
    if len(numbers) < len(plan.partitions):
        raise ValueError("two partitions have one number")
    if any(partition.root >= len(plan.roots) for partition in plan.partitions):
        raise ValueError("a partition is of no root")


def items_of(storage: Storage, plan: Plan, partition: int) -> pa.Table:
    """What a partition does with single files: rows of `ITEMS`, sorted by `path_key`."""
    files, folder = storage.filesystem()
    try:
        with pq.ParquetFile(f"{folder}/{plan.items}", filesystem=files) as file:
            groups = [
                group
                for group in range(file.num_row_groups)
                if file.metadata.row_group(group).column(0).statistics.min == partition
            ]
            return file.read_row_groups(groups).cast(ITEMS)
    except (OSError, ValueError, pa.ArrowException) as error:
        raise CatalogueError(
            f"{storage.location}/{plan.items}: {error}; {again_without(plan.snapshot)}"
        ) from error


@contextlib.contextmanager
def _items_writer(storage: Storage, name: str) -> Iterator[pq.ParquetWriter]:
    """Writes the items of a plan, as they come; row groups are of one partition each."""
    with (
        storage.writing(name) as file,
        pq.ParquetWriter(file, ITEMS, compression="zstd") as writer,
    ):
        yield writer


@dataclass
class _Findings:
    """What a plan is made of."""

    partitions: list[Partition] = field(default_factory=list)
    carried: list[int] = field(default_factory=list)
    unlisted: list[Unlisted] = field(default_factory=list)
    unchanged: int = 0
    removed: int = 0


class _Planner:
    """Compares listings with what the catalogue has, range of paths by range of paths."""

    def __init__(
        self,
        storage: Storage,
        snapshot: Snapshot,
        options: Options,
        roots: Sequence[str],
        writer: pq.ParquetWriter,
        *,
        force: bool,
        progress: Callable[[int], None] | None,
    ) -> None:
        self._storage = storage
        self._snapshot = snapshot
        self._options = options
        self._roots = roots
        self._writer = writer
        self._force = force
        self._progress = progress
        self._listed = 0
        self._compared = _NUMBERS if options.use_inode else _NUMBERS[:-1]
        self._seconds_per_file = snapshot.seconds_per_file
        self._seconds_per_byte = snapshot.seconds_per_byte or 0.0
        self.found = _Findings()

    def plan_root(self, root: int) -> None:
        """Compares one root with the parts that the catalogue has of it."""
        parts = [part for part in self._snapshot.parts if part.root == root]
        listing = _Listing(self._founds(root), self.found.unlisted, root)
        listing.advance()
        if listing.is_unlisted:
            self.found.carried += [part.number for part in parts]
            self.found.unchanged += sum(rows_of(part, "files") for part in parts)
            return
        edges = [os.fsencode(part.first) for part in parts[1:]]
        known: list[Part | None] = [*parts] or [None]
        for part, begin, end in zip(known, [b"", *edges], [*edges, None], strict=True):
            self._plan_range(_Range(root, part, begin, end), listing)

    def carry_other_roots(self) -> None:
        """Keeps what is of roots that the catalogue is not made of any more."""
        count = len(self._roots)
        self.found.carried += [p.number for p in self._snapshot.parts if p.root >= count]

    def _founds(self, root: int) -> Iterator[Found]:
        own = b"" if "://" in self._storage.location else os.fsencode(self._storage.location)
        for found in listed_files(os.fsencode(self._roots[root]), self._options, own):
            self._listed += found.files.num_rows
            if self._progress is not None:
                self._progress(self._listed)
            yield found

    def _plan_range(self, paths: "_Range", listing: "_Listing") -> None:
        """Plans the range of a part: in pieces, where it has become long."""
        waiting: list[_Piece] = []
        is_changed = False
        for piece in self._pieces(paths, listing):
            self.found.unchanged += piece.unchanged
            self.found.removed += piece.removed
            waiting.append(piece)
            is_changed = is_changed or piece.is_changed
            if is_changed:
                for done in waiting:
                    self._add_partitions(paths, done)
                waiting = []
        if paths.part is not None and not is_changed:
            self.found.carried.append(paths.part.number)

    def _pieces(self, paths: "_Range", listing: "_Listing") -> Iterator["_Piece"]:
        known = _known_files(self._storage, paths.part)
        end = None if paths.end is None else path_key(paths.end)
        begin: bytes | None = paths.begin
        first = 0
        while begin is not None:
            listed, cut = listing.take(end, MOST_FILES)
            stop = known.num_rows if cut is None else _first_from(known["path"], path_key(cut))
            piece = self._compare(listed, known.slice(first, stop - first), listing)
            yield piece._replace(begin=begin)
            begin, first = cut, stop

    def _compare(self, listed: pa.Table, known: pa.Table, listing: "_Listing") -> "_Piece":
        if not self._force and self._are_same(listed, known):
            images = int(pc.sum(known["is_image"], min_count=0).as_py())
            return _Piece(listed.slice(0, 0), [], known["path"], images, 0)
        return self._compare_singly(listed, known, listing)

    def _are_same(self, listed: pa.Table, known: pa.Table) -> bool:
        """Whether nothing changed, which nearly always is so."""
        return (
            listed.num_rows == known.num_rows
            and all(listed[name].equals(known[name]) for name in ("path", *self._compared))
            and bool(pc.all(known["trusted"], min_count=0).as_py())
        )

    def _compare_singly(self, listed: pa.Table, known: pa.Table, listing: "_Listing") -> "_Piece":
        places = {path: place for place, path in enumerate(known["path"].to_pylist())}
        there = np.array([places.get(path, -1) for path in listed["path"].to_pylist()], np.int64)
        is_known = there >= 0
        is_same = is_known & (not self._force)
        rows = there[is_known]
        same = known["trusted"].to_numpy()[rows]
        for name in self._compared:
            same &= listed[name].to_numpy()[is_known] == known[name].to_numpy()[rows]
        is_same[is_known] &= same
        is_gone = np.ones(known.num_rows, bool)
        is_gone[rows] = False
        for place in np.flatnonzero(is_gone):
            is_gone[place] = not listing.is_below_unlisted(known["path"][int(place)].as_py())
        is_kept = ~is_gone
        is_kept[there[is_known & ~is_same]] = False
        images = known["is_image"].to_numpy()
        return _Piece(
            reads=listed.filter(pa.array(~is_same)),
            drops=known["path"].filter(pa.array(is_gone)).to_pylist(),
            kept=known["path"].filter(pa.array(is_kept)),
            unchanged=int((is_kept & images).sum()),
            removed=int((is_gone & images).sum()),
        )

    def _add_partitions(self, paths: "_Range", piece: "_Piece") -> None:
        """Has a piece made anew, which is behind what was added of the range before."""
        partitions = self.found.partitions
        if self._seconds_per_file is None and piece.reads.num_rows >= MEASURED_FILES:
            self._measure(paths.root, piece)
        for section in self._sections(piece):
            begin = os.fsdecode(section.begin)
            if section.begin != paths.begin:
                partitions[-1] = replace(partitions[-1], end=begin)
            number = self._snapshot.next_part + len(partitions)
            partitions.append(
                Partition(
                    number=number,
                    root=paths.root,
                    old=() if paths.part is None else (paths.part.number,),
                    begin=begin,
                    end=None if paths.end is None else os.fsdecode(paths.end),
                    reads=section.reads.num_rows,
                    bytes=int(pc.sum(section.reads["size"], min_count=0).as_py()),
                )
            )
            self._writer.write_table(_items(number, section))

    def _sections(self, piece: "_Piece") -> Iterator["_Piece"]:
        """Cuts a piece where a partition would take too long, or have too many files."""
        reads: dict[bytes, int] = dict(_pairs(piece.reads, "path", "size"))
        paths = merged_paths(piece.kept.to_pylist(), list(reads))
        if not paths and not piece.drops:
            return
        # The first files are for many to share; a catalogue of many has few parts, which are long.
        most = min(MOST_FILES, max(FEW_FILES, self._listed // _SHARES))
        begins, seconds, count = [piece.begin], 0.0, 0
        for path in paths:
            cost = self._cost(reads[path]) if path in reads else 0.0
            if count == most or (count > 0 and seconds + cost > TARGET_SECONDS):
                begins.append(path)
                seconds, count = 0.0, 0
            seconds += cost
            count += 1
        for begin, end in itertools.zip_longest(begins, begins[1:]):
            yield piece.section(begin, end)

    def _measure(self, root: int, piece: "_Piece") -> None:
        """Reads some of the files to know what it takes."""
        folder = os.fsencode(self._roots[root])
        measured = seconds_per_file(self._options, folder, piece.reads["path"].to_pylist())
        self._seconds_per_file = measured or SECONDS_PER_FILE

    def _cost(self, size: int) -> float:
        """The seconds that reading a file of a size takes."""
        return (self._seconds_per_file or SECONDS_PER_FILE) + size * self._seconds_per_byte


class _Range(NamedTuple):
    """The paths of a root that belong to one part."""

    root: int
    part: Part | None
    """None where the catalogue has nothing of the root."""
    begin: bytes
    """The first path."""
    end: bytes | None
    """The first path behind it; None for the last range of a root."""


class _Piece(NamedTuple):
    """What is to be done in a range of paths."""

    reads: pa.Table
    """Rows of the listing: the files that are read, sorted."""
    drops: list[bytes]
    """The files that are gone."""
    kept: pa.ChunkedArray
    """Paths of the rows that stay."""
    unchanged: int
    removed: int
    begin: bytes = b""
    """From which path on."""

    @property
    def is_changed(self) -> bool:
        """Whether there is anything to do."""
        return self.reads.num_rows > 0 or bool(self.drops)

    def section(self, begin: bytes, end: bytes | None) -> "_Piece":
        """What is to be done from one path to before another; the first begins with the piece."""
        first = 0 if begin == self.begin else _first_from(self.reads["path"], path_key(begin))
        stop = self.reads.num_rows
        if end is not None:
            stop = _first_from(self.reads["path"], path_key(end))
        drops = [
            path
            for path in self.drops
            if (begin == self.begin or path_key(path) >= path_key(begin))
            and (end is None or path_key(path) < path_key(end))
        ]
        return self._replace(begin=begin, reads=self.reads.slice(first, stop - first), drops=drops)


class _Listing:
    """A listing of one root, taken range by range."""

    def __init__(self, founds: Iterator[Found], unlisted: list[Unlisted], root: int) -> None:
        self._founds = founds
        self._unlisted = unlisted
        self._root = root
        self._folders: set[bytes] = set()
        self._rows: pa.Table = LISTED.empty_table()
        self._is_at_end = False

    @property
    def is_unlisted(self) -> bool:
        """Whether the root itself cannot be listed."""
        return b"" in self._folders

    def advance(self) -> None:
        """Takes what comes next into the rows at hand."""
        found = next(self._founds, None)
        if found is None:
            self._is_at_end = True
            return
        for folder, error in found.unlisted:
            if folder not in self._folders:
                self._folders.add(folder)
                self._unlisted.append(Unlisted(self._root, os.fsdecode(folder), error))
        self._rows = pa.concat_tables([self._rows, pa.Table.from_batches([found.files])])

    def take(self, end: bytes | None, most: int) -> tuple[pa.Table, bytes | None]:
        """The next files before a key, and the path of the next where there are more than `most`.

        All folders are known then that could not be listed and lie before.
        """
        while not self._is_at_end and self._rows.num_rows <= most and not self._reaches(end):
            self.advance()
        place = self._rows.num_rows if end is None else _first_from(self._rows["path"], end)
        cut = None
        if place > most:
            place = most
            cut = self._rows["path"][most].as_py()
        taken = self._rows.slice(0, place).combine_chunks()
        self._rows = self._rows.slice(place)
        return taken, cut

    def _reaches(self, end: bytes | None) -> bool:
        rows = self._rows
        return end is not None and rows.num_rows > 0 and path_key(rows["path"][-1].as_py()) >= end

    def is_below_unlisted(self, path: bytes) -> bool:
        """Whether a file lies below a folder that could not be listed."""
        if not self._folders:
            return False
        parts = path.split(b"/")[:-1]
        return any(b"/".join(parts[:depth]) in self._folders for depth in range(len(parts) + 1))


_KNOWN = LISTED.append(pa.field("trusted", pa.bool_())).append(pa.field("is_image", pa.bool_()))


def _known_files(storage: Storage, part: Part | None) -> pa.Table:
    """What the catalogue has of the files of a part: rows of `_KNOWN`, sorted by `path_key`."""
    stored = {} if part is None else part.tables
    tables = [
        _known_rows(storage, stored[table].name, table == "files")
        for table in ("files", "others")
        if table in stored
    ]
    if not tables:
        return _KNOWN.empty_table()
    known = pa.concat_tables(tables)
    if len(tables) > 1:
        keys = pc.replace_substring(known["path"], b"/", b"\0")
        known = known.take(pc.sort_indices(keys))
    return known.combine_chunks()


def _known_rows(storage: Storage, name: str, is_image: bool) -> pa.Table:
    files, folder = storage.filesystem()
    names = ["file_path", "path_bytes", *_NUMBERS, "settled"]
    try:
        rows = pq.read_table(
            f"{folder}/{name}",
            filesystem=files,
            columns=[*names, "status"] if is_image else names,
            partitioning=None,
        )
    except (OSError, pa.ArrowException) as error:
        raise CatalogueError(f"{storage.location}/{name}: {error}") from error
    trusted = pc.fill_null(rows["settled"], False)
    if is_image:
        again = pc.is_in(rows["status"], pa.array(_AGAIN, rows["status"].type))
        trusted = pc.and_(trusted, pc.invert(again))
    paths = pc.coalesce(rows["path_bytes"], pc.cast(rows["file_path"], pa.binary()))
    numbers = [pc.fill_null(rows[name], -1) for name in _NUMBERS]
    marks = pa.chunked_array([pa.array(np.full(rows.num_rows, is_image))], pa.bool_())
    return pa.table([paths, *numbers, trusted, marks], schema=_KNOWN)


def _items(partition: int, piece: _Piece) -> pa.Table:
    """Rows of `ITEMS`."""
    reads = piece.reads
    gone = {
        "path": pa.array(piece.drops, pa.binary()),
        **{name: pa.nulls(len(piece.drops), pa.int64()) for name in _NUMBERS},
    }
    tables = []
    for action, columns in ((READ, {n: reads[n] for n in LISTED.names}), (DROP, gone)):
        count = len(columns["path"])
        head = {
            "partition": pa.array(np.full(count, partition)),
            "action": pa.array(np.full(count, action, np.int8)),
        }
        tables.append(pa.table({**head, **columns}, schema=ITEMS))
    return pa.concat_tables(tables)


def _pairs(table: pa.Table, one: str, other: str) -> Iterator[tuple[bytes, int]]:
    return zip(table[one].to_pylist(), table[other].to_pylist(), strict=True)


def _first_from(paths: pa.ChunkedArray, key: bytes) -> int:
    """The place of the first path from a key on."""
    return bisect.bisect_left(range(len(paths)), key, key=lambda n: path_key(paths[n].as_py()))
