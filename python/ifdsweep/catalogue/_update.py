"""Update: brings a catalogue up to date, or goes on with an update that was ended."""

from collections.abc import Callable
from dataclasses import dataclass, replace

from ifdsweep.catalogue._commit import (
    commit,
    newest_snapshot,
    receipts,
    remove_work,
    snapshot_numbers,
)
from ifdsweep.catalogue._model import Options, Plan, Snapshot, Summary
from ifdsweep.catalogue._names import work_number
from ifdsweep.catalogue._plan import make_plan, read_plan
from ifdsweep.catalogue._storage import Storage
from ifdsweep.catalogue.engines import Engine


@dataclass(frozen=True, slots=True)
class Progress:
    """How far an update is."""

    phase: str
    """"listing", "reading" or "committing"."""
    done: int
    """Files."""
    total: int
    """Files; 0 as long as nobody knows."""


def update(
    storage: Storage,
    options: Options,
    roots: tuple[str, ...],
    *,
    engine: Engine,
    force: bool = False,
    accept_removals: bool = False,
    progress: Callable[[Progress], None] | None = None,
) -> Summary:
    """Plans, runs what is not done yet by an engine, commits. Holds the lock meanwhile.

    A plan that is there already is gone on with, if it is one for the snapshot after the newest:
    what changed since is for the next update.

    Raises:
        CatalogueBusyError: Another update is at work, or was quicker; nothing was changed.
        TooManyRemovalsError: More than a fifth of the files are gone.
        CatalogueError: The catalogue is damaged.
    """
    tell = progress or (lambda _: None)
    with storage.lock():
        snapshot = newest_snapshot(storage)
        remove_litter(storage)
        plan = read_plan(storage, snapshot.number + 1)
        if plan is None:
            plan = make_plan(
                storage,
                snapshot,
                options,
                roots,
                force=force,
                accept_removals=accept_removals,
                progress=lambda files: tell(Progress("listing", files, 0)),
            )
        if plan is None:
            return _nothing_done(snapshot)
        _run(storage, plan, engine, tell)
        tell(Progress("committing", 0, 0))
        return commit(storage, plan).summary


def _nothing_done(snapshot: Snapshot) -> Summary:
    """What there is to say where nothing changed."""
    known = snapshot.summary
    return replace(known, read=0, removed=0, partitions=0, unchanged=known.files, seconds=0.0)


def _run(storage: Storage, plan: Plan, engine: Engine, tell: Callable[[Progress], None]) -> None:
    done = receipts(storage, plan)
    total = sum(partition.reads for partition in plan.partitions)
    read = sum(receipt.read for receipt in done.values())
    tell(Progress("reading", read, total))
    left = [p.number for p in plan.partitions if p.number not in done]
    for receipt in engine.run(storage, plan, left):
        read += receipt.read
        tell(Progress("reading", read, total))


def remove_litter(storage: Storage) -> None:
    """Removes what updates worked with whose snapshots are there."""
    numbers = snapshot_numbers(storage)
    newest = numbers[-1] if numbers else 0
    for number in {work_number(name) for name in storage.names("work")}:
        if number is not None and number <= newest:
            remove_work(storage, number)
