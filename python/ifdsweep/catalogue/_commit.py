"""Commit: makes the snapshot of a plan whose partitions are all done, and takes away what is left.

Each step may be done again: who is killed in between goes on with the same.
"""

import contextlib
import itertools
import os
import time
from collections.abc import Iterable, Iterator, Sequence

import pyarrow as pa

from ifdsweep.catalogue._errors import CatalogueBusyError, CatalogueError, explained
from ifdsweep.catalogue._model import (
    EMPTY,
    Part,
    PartFile,
    Partition,
    Plan,
    Receipt,
    Snapshot,
    Summary,
    from_json,
    path_key,
    rows_of,
    to_json,
)
from ifdsweep.catalogue._names import (
    again_without,
    attempt_file_name,
    is_temporary,
    part_file_name,
    part_snapshot,
    plan_name,
    receipt_name,
    snapshot_name,
    snapshot_of,
    work_folder,
    work_number,
)
from ifdsweep.catalogue._steps import reached
from ifdsweep.catalogue._storage import Storage


def snapshot_numbers(storage: Storage) -> list[int]:
    """The numbers of the snapshots that are there, ascending."""
    with explained(storage.location):
        numbers = [snapshot_of(name) for name in storage.names("snapshots")]
    return sorted(number for number in numbers if number is not None)


def newest_snapshot(storage: Storage) -> Snapshot:
    """The state of a catalogue; `EMPTY` before the first."""
    numbers = snapshot_numbers(storage)
    return read_snapshot(storage, numbers[-1]) if numbers else EMPTY


def read_snapshot(storage: Storage, number: int) -> Snapshot:
    """A snapshot; CatalogueError where there is none or it is damaged."""
    name = snapshot_name(number)
    try:
        with explained(f"{storage.location}/{name}"):
            content = storage.read(name)
    except CatalogueError as error:
        if isinstance(error.__cause__, FileNotFoundError):
            raise CatalogueError(f"{storage.location}: there is no snapshot {number}") from None
        raise
    try:
        snapshot = from_json(Snapshot, content)
        _check_snapshot(snapshot, number)
    except ValueError as error:
        raise CatalogueError(
            f"{storage.location}/{name}: {error}; without it the catalogue is what it was before"
        ) from error
    return snapshot


def _check_snapshot(snapshot: Snapshot, number: int) -> None:
    if snapshot.number != number:
        raise ValueError(f"it says that it is {snapshot.number}")
    numbers = {part.number for part in snapshot.parts}
    if len(numbers) < len(snapshot.parts) or max(numbers, default=0) >= snapshot.next_part:
        raise ValueError("parts have numbers that they cannot have")
    _check_places(snapshot.parts)


def receipts(storage: Storage, plan: Plan) -> dict[int, Receipt]:
    """The receipts that are there, by the number of the partition; CatalogueError for one that is
    damaged or of something else."""
    folder = f"{work_folder(plan.snapshot)}/done"
    there = set(storage.names(folder))
    found = {}
    for partition in plan.partitions:
        name = receipt_name(plan.snapshot, partition.number)
        if name in there:
            found[partition.number] = receipt = read_receipt(storage, name)
            with _described(storage, name):
                _check_receipt(receipt, plan, partition)
    return found


def read_receipt(storage: Storage, name: str) -> Receipt:
    """A receipt; CatalogueError where it is damaged."""
    with _described(storage, name):
        return from_json(Receipt, storage.read(name))


@contextlib.contextmanager
def _described(storage: Storage, name: str) -> Iterator[None]:
    """What is wrong with a file that an update works with, as a CatalogueError."""
    try:
        yield
    except (OSError, ValueError) as error:
        remedy = again_without(work_number(name) or 0)
        raise CatalogueError(f"{storage.location}/{name}: {error}; {remedy}") from error


def _check_receipt(receipt: Receipt, plan: Plan, partition: Partition) -> None:
    if receipt.partition != partition.number:
        raise ValueError(f"it is of partition {receipt.partition}")
    part = receipt.part
    if part is None:
        return
    if part.number != partition.number or not _is_inside(part, partition):
        raise ValueError("its part is of other paths")
    for table, file in part.tables.items():
        if file.name != part_file_name(plan.snapshot, part.number, receipt.attempt, table):
            raise ValueError("its part has files of others")


def _is_inside(part: Part, partition: Partition) -> bool:
    """Whether a part has paths of a partition alone."""
    return (
        part.root == partition.root
        and _key(partition.begin) <= _key(part.first) <= _key(part.last)
        and (partition.end is None or _key(part.last) < _key(partition.end))
    )


def commit(storage: Storage, plan: Plan) -> Snapshot:
    """Checks the receipts against the plan, moves the parts into the tables, and makes the
    snapshot.

    Raises:
        CatalogueError: A partition is not done, or a part is not there or not as it was.
        CatalogueBusyError: The snapshot was made by another update; nothing was changed.
    """
    parent = newest_snapshot(storage)
    if parent.number != plan.parent:
        raise overtaken(storage, plan)
    done = receipts(storage, plan)
    if missing := [p.number for p in plan.partitions if p.number not in done]:
        raise CatalogueError(
            f"{storage.location}: {len(missing):,} of {len(plan.partitions):,} partitions are not "
            f"done yet; the first is {missing[0]}"
        )
    _move_parts(storage, plan, done.values())
    reached("parts-moved")
    snapshot = _snapshot(parent, plan, list(done.values()))
    with _described(storage, plan_name(plan.snapshot)):
        _check_snapshot(snapshot, parent.number + 1)
    reached("snapshot-prepared")
    if not storage.create(snapshot_name(snapshot.number), to_json(snapshot)):
        raise overtaken(storage, plan)
    reached("snapshot-written")
    with contextlib.suppress(OSError):  # the next update removes what is left
        remove_work(storage, plan.snapshot)
    reached("work-removed")
    return snapshot


def overtaken(storage: Storage, plan: Plan) -> CatalogueBusyError:
    """The error of an update whose snapshot another made."""
    return CatalogueBusyError(
        f"{storage.location}: another update was quicker and made snapshot {plan.snapshot}; "
        "this one changed nothing"
    )


@contextlib.contextmanager
def unless_overtaken(storage: Storage, plan: Plan) -> Iterator[None]:
    """A block that goes on with a plan. Where there are no locks another update may make the
    snapshot, and take away what this one works with: what goes wrong then is that alone."""
    try:
        yield
    except CatalogueBusyError:
        raise
    except (CatalogueError, OSError, pa.ArrowException) as error:
        if newest_snapshot(storage).number < plan.snapshot:
            raise
        raise overtaken(storage, plan) from error


def _move_parts(storage: Storage, plan: Plan, done: Iterable[Receipt]) -> None:
    files = {
        attempt_file_name(plan.snapshot, receipt.partition, receipt.attempt, table): file
        for receipt in done
        if receipt.part is not None
        for table, file in receipt.part.tables.items()
    }
    try:
        storage.move({name: file.name for name, file in files.items()})
    except FileNotFoundError as error:
        raise CatalogueError(
            f"{storage.location}: {error.filename or error} is gone, though its partition was "
            f"done; {again_without(plan.snapshot)}"
        ) from None
    _check_sizes(storage, plan, list(files.values()))


def _check_sizes(storage: Storage, plan: Plan, files: list[PartFile]) -> None:
    sizes = storage.sizes([file.name for file in files])
    for file, size in zip(files, sizes, strict=True):
        if size != file.bytes:
            raise CatalogueError(
                f"{storage.location}/{file.name}: it has {size or 0:,} bytes and not "
                f"{file.bytes:,}, as when it was made; {again_without(plan.snapshot)}"
            )


def _snapshot(parent: Snapshot, plan: Plan, done: list[Receipt]) -> Snapshot:
    carried = set(plan.carried)
    parts = [part for part in parent.parts if part.number in carried]
    parts += [receipt.part for receipt in done if receipt.part is not None]
    parts.sort(key=_place)
    ended = max(time.time(), plan.started)
    read = sum(receipt.read for receipt in done)
    return Snapshot(
        number=plan.snapshot,
        parent=plan.parent,
        started=plan.started,
        ended=ended,
        parts=tuple(parts),
        next_part=max([parent.next_part, *(p.number + 1 for p in plan.partitions)]),
        summary=Summary(
            files=sum(rows_of(part, "files") for part in parts),
            read=read,
            unchanged=plan.unchanged,
            removed=plan.removed,
            failed=sum(part.failed for part in parts),
            unlisted=len(plan.unlisted),
            partitions=len(plan.partitions),
            seconds=round(ended - plan.started, 3),
        ),
        unlisted=plan.unlisted,
        seconds_per_file=_seconds_per_file(parent, done),
        seconds_per_byte=parent.seconds_per_byte,
    )


def _place(part: Part) -> tuple[int, bytes]:
    return part.root, _key(part.first)


def _check_places(parts: Sequence[Part]) -> None:
    """Raises ValueError unless parts are sorted and have no paths in common."""
    for one, other in itertools.pairwise(parts):
        if (one.root, _key(one.last)) >= _place(other):
            raise ValueError(f"the parts {one.number} and {other.number} overlap")


def _key(path: str) -> bytes:
    return path_key(os.fsencode(path))


def _seconds_per_file(parent: Snapshot, done: list[Receipt]) -> float | None:
    """What reading a file took on one core, from enough of them to tell.

    Where more was kept than read, it was that which took the time.
    """
    telling = [receipt for receipt in done if 2 * receipt.read >= _files_of(receipt.part)]
    read = sum(receipt.read for receipt in telling)
    if read < 100:
        return parent.seconds_per_file
    return sum(receipt.seconds for receipt in telling) / read


def _files_of(part: Part | None) -> int:
    return 0 if part is None else rows_of(part, "files") + rows_of(part, "others")


def remove_work(storage: Storage, snapshot: int) -> list[str]:
    """Removes what an update worked with, first what others would go on with."""
    folder = work_folder(snapshot)
    names = sorted(storage.names(folder), key=lambda name: name != plan_name(snapshot))
    for name in names:
        storage.remove(name)
    return names


def remove_litter(storage: Storage, is_alone: bool) -> None:
    """Removes what updates worked with that nobody goes on with.

    Args:
        storage: Where the catalogue lies.
        is_alone: Whether the lock keeps others out.
    """
    names = list(storage.names("work"))  # first: what comes later is others'
    keeps = _Keeps(storage, is_alone)
    for name in sorted(names):
        if not keeps.is_pending(name):
            storage.remove(name)


def vacuum(storage: Storage, *, keep: int = 1, dry_run: bool = False) -> list[str]:
    """Removes snapshots but for the newest ones, parts that none of those left has, and what is
    left of updates that nobody will go on with.

    An update that was ended is gone on with by the next, and so is kept. While one is at work
    nothing is removed; where there are no locks, nothing that one might need. Files that are none
    of the catalogue's stay.

    Args:
        keep: How many snapshots stay.
        dry_run: Removes nothing.

    Returns:
        The names of the files that were, or would be, removed.

    Raises:
        CatalogueBusyError: An update is at work.
        CatalogueError: A snapshot that stays is damaged, or files cannot be removed.
    """
    if keep < 1:
        raise ValueError(f"keep: expected at least 1, got {keep}")
    with explained(storage.location), storage.lock() as is_alone:
        names = _superfluous(storage, keep, is_alone)
        if not dry_run:
            for name in names:
                storage.remove(name)
    return names


def _superfluous(storage: Storage, keep: int, is_alone: bool) -> list[str]:
    """Names, in an order that may end anywhere: snapshots go before their parts."""
    keeps = _Keeps(storage, is_alone)
    kept = keeps.numbers[-keep:]
    needed = {
        file.name
        for number in kept
        for part in read_snapshot(storage, number).parts
        for file in part.tables.values()
    }
    there = sorted(storage.names(""))
    older = [name for name in there if (n := snapshot_of(name)) in keeps.numbers and n not in kept]
    return older + [name for name in there if name not in needed and keeps.is_litter(name)]


class _Keeps:
    """What an update may need that is at work, or was ended and is gone on with.

    It makes the snapshot after the newest; parts and work of earlier ones are nobody's. Before
    there is its plan it makes nothing but that.
    """

    def __init__(self, storage: Storage, is_alone: bool) -> None:
        self.numbers = snapshot_numbers(storage)
        self._following = self.numbers[-1] + 1 if self.numbers else 1
        self._is_alone = is_alone
        self._is_planned = plan_name(self._following) in storage.names(work_folder(self._following))

    def is_litter(self, name: str) -> bool:
        """Whether a file that no snapshot has is superfluous; not if it is none of ours."""
        if work_number(name) is not None:
            return not self.is_pending(name)
        if is_temporary(name):
            return self._is_alone
        made_for = part_snapshot(name)
        return made_for is not None and not self._is_awaited(made_for)

    def is_pending(self, name: str) -> bool:
        """Whether a file of an update is still for use."""
        number = work_number(name)
        if number is None:
            return True
        if number == self._following and not self._is_planned and not self._is_alone:
            # Another may be about to plan; what comes after a plan is of one that was removed.
            return not name.startswith(tuple(f"{work_folder(number)}/{n}/" for n in _AFTER_PLAN))
        return self._is_awaited(number)

    def _is_awaited(self, snapshot: int) -> bool:
        """Whether a snapshot that is not there will be made of what is there."""
        if not self._is_alone:
            return snapshot >= self._following
        return snapshot == self._following and self._is_planned


_AFTER_PLAN = ("attempts", "done")
