"""Engine over dask.distributed: runs partitions on the workers of a cluster.

The workers see the same roots and the same storage, under the same names, and have the package.
"""

import queue
import time
import uuid
from collections.abc import Collection, Hashable, Iterator, Mapping, Sequence
from typing import Any

from distributed import Client, KilledWorker, get_worker

from ifdsweep.catalogue._errors import CatalogueError
from ifdsweep.catalogue._model import Plan, Receipt
from ifdsweep.catalogue._storage import Storage
from ifdsweep.catalogue.engines._dispatch import (
    Failed,
    Lost,
    Probed,
    Result,
    Task,
    dispatch,
    paths_of,
    run_task,
)

_LOOK_SECONDS = 1.0
"""The workers are counted again after so long."""


class Dask:
    """Runs partitions on the workers of a client."""

    def __init__(
        self,
        client: Client,
        *,
        threads: int | None = 1,
        resources: Mapping[str, float] | None = None,
    ) -> None:
        """
        Args:
            client: Of the cluster; it stays open.
            threads: With which each partition reads files.
            resources: What a partition takes of what workers have, as for `Client.submit`.
        """
        self.client = client
        self.threads = threads
        self.resources = resources

    def run(self, storage: Storage, plan: Plan, partitions: Sequence[int]) -> Iterator[Receipt]:
        """Gives a receipt for each partition, as they are done.

        Raises:
            CatalogueError: A partition could not be made, or the scheduler was lost.
        """
        reads = {partition.number: partition.reads for partition in plan.partitions}
        return dispatch(
            _Executor(self, storage, plan.snapshot),
            {number: reads[number] for number in partitions},
            lambda number: paths_of(storage, plan, number),
            time.monotonic,
        )


class _Executor:
    """Tasks as futures of a client."""

    def __init__(self, engine: Dask, storage: Storage, snapshot: int) -> None:
        self._client = engine.client
        self._threads = engine.threads
        self._resources = engine.resources
        self._storage = storage
        self._snapshot = snapshot
        self._job = f"ifdsweep-{uuid.uuid4().hex[:12]}"
        self._futures: dict[str, Any] = {}
        self._threads_of: dict[str, int] = {}
        self._asked = -_LOOK_SECONDS
        self._ended: queue.SimpleQueue[str] = queue.SimpleQueue()

    def workers(self) -> int:
        """As `Executor` says."""
        return sum(self._threads_of_workers().values())

    def _threads_of_workers(self) -> dict[str, int]:
        """As the scheduler knew them a short while ago."""
        now = time.monotonic()
        if now >= self._asked + _LOOK_SECONDS:
            try:
                self._threads_of = self._client.nthreads()  # type: ignore[no-untyped-call]
            except Exception as error:
                raise _without_scheduler() from error
            self._asked = now
        return self._threads_of

    def submit(self, task: Task, avoid: Collection[str]) -> Hashable:
        """As `Executor` says."""
        key = f"{self._job}-{task.partition}-{task.attempt}"
        if task.files is not None:
            key += f"-{task.files[0]}-{task.files[1]}"
        options: dict[str, Any] = {"key": key, "pure": False, "retries": 0}
        if self._resources is not None:
            options["resources"] = self._resources
        if avoid and (others := self._threads_of_workers().keys() - avoid):
            options |= {"workers": sorted(others), "allow_other_workers": True}
        try:
            future: Any = self._client.submit(
                _run, self._storage, self._snapshot, task, self._threads, **options
            )
        except Exception as error:
            raise _without_scheduler() from error
        self._futures[key] = future
        future.add_done_callback(lambda _: self._ended.put(key))
        return key

    def wait(self, seconds: float) -> tuple[Hashable, Result] | None:
        """As `Executor` says."""
        try:
            key = self._ended.get(timeout=seconds)
        except queue.Empty:
            return None
        future = self._futures.pop(key, None)
        return None if future is None else (key, _result(future))

    def cancel(self, handle: Hashable) -> None:
        """As `Executor` says."""
        future = self._futures.pop(str(handle), None)
        if future is not None and self._client.status == "running":
            future.cancel()


def _run(
    storage: Storage, snapshot: int, task: Task, threads: int | None
) -> Receipt | Probed | Failed:
    return run_task(storage, snapshot, task, threads=threads, worker=get_worker().address)


def _result(future: Any) -> Result:
    """How a task ended."""
    if future.status == "cancelled":
        raise _without_scheduler()
    try:
        if future.status != "error":
            result: Result = future.result()
            return result
        error = future.exception()
    except Exception as lost:  # it is fetched from the worker by way of the scheduler
        raise _without_scheduler() from lost
    return Lost() if isinstance(error, KilledWorker) else Failed(f"{error!r}"[:500])


def _without_scheduler() -> CatalogueError:
    return CatalogueError(
        "the scheduler was lost; what was made is kept: start the cluster and the update again, "
        "which goes on"
    )
