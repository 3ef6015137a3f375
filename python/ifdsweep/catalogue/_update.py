"""Update: brings a catalogue up to date, or goes on with an update that was ended."""

import time
import warnings
from collections.abc import Callable
from dataclasses import dataclass, replace

from ifdsweep.catalogue._commit import (
    commit,
    newest_snapshot,
    receipts,
    remove_litter,
    unless_overtaken,
)
from ifdsweep.catalogue._errors import CatalogueError
from ifdsweep.catalogue._model import Options, Plan, Snapshot, Summary
from ifdsweep.catalogue._names import again_without, plan_name
from ifdsweep.catalogue._plan import make_plan, read_plan
from ifdsweep.catalogue._storage import Storage
from ifdsweep.catalogue.engines import Engine

_CLOCK_SECONDS = 60.0
"""That clocks of machines may differ by."""


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
    with storage.lock() as is_alone:
        snapshot = newest_snapshot(storage)
        plan = planned(
            storage,
            snapshot,
            options,
            roots,
            is_alone=is_alone,
            force=force,
            accept_removals=accept_removals,
            progress=lambda files: tell(Progress("listing", files, 0)),
        )
        if plan is None:
            return _nothing_done(snapshot)
        with unless_overtaken(storage, plan):
            _run(storage, plan, engine, tell)
            tell(Progress("committing", 0, 0))
            return commit(storage, plan).summary


def planned(
    storage: Storage,
    snapshot: Snapshot,
    options: Options,
    roots: tuple[str, ...],
    *,
    is_alone: bool,
    force: bool,
    accept_removals: bool,
    progress: Callable[[int], None] | None,
) -> Plan | None:
    """The plan for the snapshot after the newest: that which is there, or a new one; None where
    nothing changed. Removes what nobody goes on with before.

    Args:
        is_alone: Whether the lock keeps others out.
        storage, snapshot, options, roots, force, accept_removals, progress: As `make_plan` has it.
    """
    _warn_of_clock(storage, snapshot)
    remove_litter(storage, is_alone)
    plan = read_plan(storage, snapshot.number + 1)
    if plan is None:
        return make_plan(
            storage,
            snapshot,
            options,
            roots,
            force=force,
            accept_removals=accept_removals,
            progress=progress,
        )
    if (plan.options, plan.roots) != (options, roots):
        raise CatalogueError(
            f"{storage.location}/{plan_name(plan.snapshot)}: it is for other folders or options "
            f"than those of the catalogue; {again_without(plan.snapshot)}"
        )
    return plan


def _warn_of_clock(storage: Storage, snapshot: Snapshot) -> None:
    if snapshot.ended > time.time() + _CLOCK_SECONDS:
        warnings.warn(
            f"{storage.location}: by the clock of this machine snapshot {snapshot.number} was made "
            "in the future; times of snapshots may be wrong, what is in them is not",
            stacklevel=5,
        )


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
