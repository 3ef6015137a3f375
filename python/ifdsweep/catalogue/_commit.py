"""Commit: makes the snapshot of a plan whose partitions are all done, and takes away what is left.

Each step may be done again: who is killed in between goes on with the same.
"""

import itertools
import os
import time
from collections.abc import Iterable, Iterator

from ifdsweep.catalogue._errors import CatalogueBusyError, CatalogueError
from ifdsweep.catalogue._model import (
    EMPTY,
    Part,
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
    attempt_file_name,
    receipt_name,
    snapshot_name,
    snapshot_of,
    work_folder,
)
from ifdsweep.catalogue._steps import reached
from ifdsweep.catalogue._storage import Storage


def snapshot_numbers(storage: Storage) -> list[int]:
    """The numbers of the snapshots that are there, ascending."""
    numbers = (snapshot_of(name) for name in storage.names("snapshots"))
    return sorted(number for number in numbers if number is not None)


def newest_snapshot(storage: Storage) -> Snapshot:
    """The state of a catalogue; `EMPTY` before the first."""
    numbers = snapshot_numbers(storage)
    return read_snapshot(storage, numbers[-1]) if numbers else EMPTY


def read_snapshot(storage: Storage, number: int) -> Snapshot:
    """A snapshot; CatalogueError where there is none or it is damaged."""
    name = snapshot_name(number)
    try:
        snapshot = from_json(Snapshot, storage.read(name))
    except FileNotFoundError:
        raise CatalogueError(f"{storage.location}: there is no snapshot {number}") from None
    except (OSError, ValueError) as error:
        raise CatalogueError(f"{storage.location}/{name}: {error}") from error
    if snapshot.number != number:
        raise CatalogueError(f"{storage.location}/{name}: it says that it is {snapshot.number}")
    return snapshot


def receipts(storage: Storage, plan: Plan) -> dict[int, Receipt]:
    """The receipts that are there, by the number of the partition."""
    folder = f"{work_folder(plan.snapshot)}/done"
    there = set(storage.names(folder))
    found = {}
    for partition in plan.partitions:
        name = receipt_name(plan.snapshot, partition.number)
        if name in there:
            found[partition.number] = read_receipt(storage, name)
    return found


def read_receipt(storage: Storage, name: str) -> Receipt:
    """A receipt; CatalogueError where it is damaged."""
    try:
        return from_json(Receipt, storage.read(name))
    except (OSError, ValueError) as error:
        raise CatalogueError(f"{storage.location}/{name}: {error}") from error


def commit(storage: Storage, plan: Plan) -> Snapshot:
    """Checks the receipts against the plan, moves the parts into the tables, and makes the
    snapshot.

    Raises:
        CatalogueError: A partition is not done, or a part is not there or not as it was.
        CatalogueBusyError: The snapshot was made by another update; nothing was changed.
    """
    parent = newest_snapshot(storage)
    if parent.number != plan.parent:
        raise _busy(storage, plan)
    done = receipts(storage, plan)
    if missing := [p.number for p in plan.partitions if p.number not in done]:
        raise CatalogueError(
            f"{storage.location}: {len(missing):,} of {len(plan.partitions):,} partitions are not "
            f"done yet; the first is {missing[0]}"
        )
    _move_parts(storage, plan, done.values())
    reached("parts-moved")
    snapshot = _snapshot(parent, plan, list(done.values()))
    reached("snapshot-prepared")
    if not storage.create(snapshot_name(snapshot.number), to_json(snapshot)):
        raise _busy(storage, plan)
    reached("snapshot-written")
    remove_work(storage, plan.snapshot)
    reached("work-removed")
    return snapshot


def _busy(storage: Storage, plan: Plan) -> CatalogueBusyError:
    return CatalogueBusyError(
        f"{storage.location}: another update was quicker and made snapshot {plan.snapshot}; "
        "this one changed nothing"
    )


def _move_parts(storage: Storage, plan: Plan, done: Iterable[Receipt]) -> None:
    targets = {
        attempt_file_name(plan.snapshot, receipt.partition, receipt.attempt, table): file.name
        for receipt in done
        if receipt.part is not None
        for table, file in receipt.part.tables.items()
    }
    try:
        storage.move(targets)
    except FileNotFoundError as error:
        raise CatalogueError(
            f"{storage.location}: {error.filename or error} is gone, though its partition was "
            f"done; remove {work_folder(plan.snapshot)} and update again"
        ) from None


def _snapshot(parent: Snapshot, plan: Plan, done: list[Receipt]) -> Snapshot:
    carried = set(plan.carried)
    parts = [part for part in parent.parts if part.number in carried]
    parts += [receipt.part for receipt in done if receipt.part is not None]
    parts.sort(key=_place)
    _check_places(parts)
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


def _check_places(parts: list[Part]) -> None:
    for one, other in itertools.pairwise(parts):
        if one.root == other.root and _key(one.last) >= _key(other.first):
            raise CatalogueError(f"the parts {one.number} and {other.number} overlap")


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
    names = sorted(storage.names(folder), key=lambda name: not name.endswith("/plan.json"))
    for name in names:
        storage.remove(name)
    return names


def vacuum(storage: Storage, *, keep: int = 1, dry_run: bool = False) -> list[str]:
    """Removes snapshots but for the newest ones, parts that none of those left has, and what is
    left of updates that nobody will go on with.

    An update that was ended is gone on with by the next, and so is kept; while one is at work
    nothing is removed.

    Args:
        keep: How many snapshots stay.
        dry_run: Removes nothing.

    Returns:
        The names of the files that were, or would be, removed.

    Raises:
        CatalogueBusyError: An update is at work.
    """
    if keep < 1:
        raise ValueError(f"keep: expected at least 1, got {keep}")
    with storage.lock():
        names = list(_superfluous(storage, keep))
        if not dry_run:
            for name in names:
                storage.remove(name)
    return names


def _superfluous(storage: Storage, keep: int) -> Iterator[str]:
    """Names, in an order that may end anywhere: snapshots go before their parts."""
    numbers = snapshot_numbers(storage)
    kept = numbers[-keep:]
    yield from (snapshot_name(number) for number in numbers if number not in kept)
    needed = {
        file.name
        for number in kept
        for part in read_snapshot(storage, number).parts
        for file in part.tables.values()
    }
    newest = numbers[-1] if numbers else 0
    going_on = f"{work_folder(newest + 1)}/"
    pending = _pending_names(storage, newest + 1)
    for table in ("files", "images", "tags", "warnings", "others"):
        yield from (n for n in storage.names(table) if n not in needed and n not in pending)
    for name in storage.names("work"):
        if not name.startswith(going_on):
            yield name
    yield from (n for n in storage.names("snapshots") if snapshot_of(n) is None)


def _pending_names(storage: Storage, snapshot: int) -> set[str]:
    """Names that parts of an update that was ended have, or will have."""
    folder = f"{work_folder(snapshot)}/done"
    names: set[str] = set()
    for name in storage.names(folder):
        if name.endswith(".json"):
            part = read_receipt(storage, name).part
            if part is not None:
                names.update(file.name for file in part.tables.values())
    return names
