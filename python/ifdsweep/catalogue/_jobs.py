"""Jobs: an update in steps that are jobs of their own, for arrays of jobs on a shared file system.

`plan` once, `run` in each job of the array, `commit` once behind them. Each may be killed and
started again, be done twice, or at the same time as another of its kind.
"""

import os
import sys
from collections.abc import Callable

import pyarrow as pa

from ifdsweep.catalogue._catalogue import Catalogue
from ifdsweep.catalogue._commit import commit as commit_plan
from ifdsweep.catalogue._commit import newest_snapshot, unless_overtaken
from ifdsweep.catalogue._errors import CatalogueError
from ifdsweep.catalogue._model import Plan, Receipt, Snapshot
from ifdsweep.catalogue._names import plan_name, work_number
from ifdsweep.catalogue._partition import run_partition
from ifdsweep.catalogue._plan import read_plan
from ifdsweep.catalogue._storage import Storage, storage_of
from ifdsweep.catalogue._update import planned


def plan(
    location: str | os.PathLike[str] | Storage,
    *,
    force: bool = False,
    accept_removals: bool = False,
    progress: Callable[[int], None] | None = None,
) -> Plan | None:
    """Finds out what an update has to do; a plan that is there already stays.

    Args:
        location: Of the catalogue.
        force: Reads all files again.
        accept_removals: Lets more than a fifth of the files go.
        progress: Is told how many files were listed so far.

    Returns:
        The plan, which may have no partitions and still is to be committed; None where nothing
        changed.

    Raises:
        CatalogueBusyError: Another update is at work.
        TooManyRemovalsError: More than a fifth of the files are gone.
        CatalogueError: There is no catalogue, or it is damaged.
    """
    storage = storage_of(location)
    catalogue = Catalogue.open(storage)
    with storage.lock() as is_alone:
        return planned(
            storage,
            newest_snapshot(storage),
            catalogue.options,
            catalogue.roots,
            is_alone=is_alone,
            force=force,
            accept_removals=accept_removals,
            progress=progress,
        )


def run(
    location: str | os.PathLike[str] | Storage,
    index: int,
    stride: int,
    *,
    threads: int | None = None,
    progress: Callable[[Receipt], None] | None = None,
) -> int:
    """Makes the partitions that one job of an array has: every `stride`-th, those without a
    receipt. A partition that fails keeps none of the others from being made.

    Args:
        location: Of the catalogue.
        index: Of the job, from 0 on.
        stride: How many jobs there are.
        threads: With which files are read; None: as many as there are cores.
        progress: Is told of each partition that is made.

    Returns:
        The exit status: 0 when they are made, or committed already; 1 when some failed, each with
        a line on the error output.

    Raises:
        CatalogueError: There is no catalogue, or it is damaged.
        ValueError: For an index that no job has.
    """
    if not 0 <= index < stride:
        raise ValueError(f"index: expected 0 to {stride - 1}, got {index}")
    storage = storage_of(location)
    Catalogue.open(storage)
    plan = _open_plan(storage)
    if plan is None:
        return 0
    failed = 0
    for partition in plan.partitions[index::stride]:
        number = partition.number
        try:
            receipt = run_partition(storage, plan.snapshot, number, threads=threads)
        except (CatalogueError, OSError, pa.ArrowException) as error:
            if newest_snapshot(storage).number >= plan.snapshot:
                return 0  # others made what was left, and it is committed
            print(f"ifdsweep-catalogue: partition {number}: {error}", file=sys.stderr)
            failed += 1
        else:
            if progress is not None:
                progress(receipt)
    return 1 if failed else 0


def catalogue_of(plan: str) -> str:
    """The folder of the catalogue that a plan lies in; CatalogueError for what is no plan's name.

    Args:
        plan: The path of `work/NNNNNN/plan.json`, or its address in an object store.
    """
    folder, work, rest = plan.rpartition("work/")
    number = work_number(work + rest)
    if number is None or work + rest != plan_name(number):
        raise CatalogueError(f"{plan}: a plan is work/NNNNNN/plan.json in a catalogue")
    return folder or "."


def commit(location: str | os.PathLike[str] | Storage) -> Snapshot:
    """Makes the snapshot of what the jobs made.

    Returns:
        The newest snapshot: also where there was nothing to commit, or it was done before.

    Raises:
        CatalogueBusyError: Another update is at work, or was quicker.
        CatalogueError: A partition is not made yet, or the catalogue is damaged.
    """
    storage = storage_of(location)
    Catalogue.open(storage)
    with storage.lock():
        plan = _open_plan(storage)
        if plan is None:
            return newest_snapshot(storage)
        with unless_overtaken(storage, plan):
            return commit_plan(storage, plan)


def _open_plan(storage: Storage) -> Plan | None:
    """The plan for the snapshot after the newest."""
    return read_plan(storage, newest_snapshot(storage).number + 1)
