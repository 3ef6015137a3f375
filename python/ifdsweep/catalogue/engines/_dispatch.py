"""Dispatch: what all engines share that run partitions on many workers.

A state machine over an `Executor`, without a clock of its own. It keeps a bounded number of tasks
in flight, tries again elsewhere what failed, gives late partitions a second worker, and searches a
partition that took its worker down for the files that do so: by halves, each read by a process of
its own, until single files are left, which become rows with the status crashed.
"""

import os
import pickle
import signal
import statistics
import subprocess
import sys
from collections import deque
from collections.abc import Callable, Collection, Hashable, Iterator, Mapping, Sequence
from dataclasses import dataclass, field
from typing import Protocol, TypeAlias

from ifdsweep.catalogue._errors import CatalogueError
from ifdsweep.catalogue._model import READ, Plan, Receipt
from ifdsweep.catalogue._partition import probe_files, run_partition
from ifdsweep.catalogue._plan import TARGET_SECONDS, items_of
from ifdsweep.catalogue._storage import Storage

TRIES = 3
"""As often is run what fails."""
LOSSES = 6
"""As often is run what loses its worker, though no file is to blame."""
FAILURES = 10
"""So many partitions that failed for good end the run; else the others are done first."""
IN_FLIGHT = 2
"""Tasks for each worker: one that runs and one that waits for it."""

LATE = 4
"""An attempt that takes so many times the median is late when few partitions are left."""
OVERDUE = 20
"""The same as long as many are left."""
SHORTEST_LATE = 2.0
"""Seconds; nothing is late before."""


@dataclass(frozen=True, slots=True)
class Task:
    """What a worker is asked to do: make a partition, or read a range of its files."""

    partition: int
    attempt: int
    """Counted over the run, so that no two tasks of it are the same."""
    crashing: tuple[bytes, ...] = ()
    files: tuple[int, int] | None = None
    """Places in the items from one to before another; None where the partition is made."""


@dataclass(frozen=True, slots=True)
class Probed:
    """A range of files was read by a process of its own."""

    is_crashing: bool
    """That process is dead."""


@dataclass(frozen=True, slots=True)
class Failed:
    """A task ended with an error."""

    error: str
    worker: str | None = None


@dataclass(frozen=True, slots=True)
class Lost:
    """A task ended with its worker."""

    worker: str | None = None


Result: TypeAlias = Receipt | Probed | Failed | Lost


class Executor(Protocol):
    """What runs tasks: by `run_task`, in any process on any machine."""

    def workers(self) -> int:
        """How many tasks can run at a time now."""
        ...

    def submit(self, task: Task, avoid: Collection[str]) -> Hashable:
        """Has a task run, rather not by some workers; gives a handle for it."""
        ...

    def wait(self, seconds: float) -> tuple[Hashable, Result] | None:
        """The next task that ended, and how; None if there is none for so long."""
        ...

    def cancel(self, handle: Hashable) -> None:
        """Nobody waits for a task any more, whether it is begun or not."""
        ...


def run_task(
    storage: Storage, snapshot: int, task: Task, *, threads: int | None, worker: str | None
) -> Receipt | Probed | Failed:
    """Runs a task: what a worker calls. Errors are a result, too, so that all of them travel."""
    try:
        if task.files is not None:
            return Probed(_is_crashing(storage, snapshot, task.partition, *task.files))
        return run_partition(
            storage, snapshot, task.partition, threads=threads, crashing=task.crashing
        )
    except Exception as error:
        return Failed(f"{type(error).__name__}: {error}"[:500], worker)


_LOST = "its workers were lost, though no file of it takes a process down"

_BEGUN, _ENDED = b"begun\n", b"ended\n"

_OF_OTHERS = {-signal.SIGHUP, -signal.SIGINT, -signal.SIGTERM}
"""Exit statuses of a process that was told to end."""


def _is_crashing(storage: Storage, snapshot: int, partition: int, begin: int, end: int) -> bool:
    """Whether reading some files takes a process down: another than this one."""
    child = subprocess.run(
        [sys.executable, "-c", f"from {__name__} import _probe; _probe()"],
        input=pickle.dumps((storage, snapshot, partition, begin, end)),
        capture_output=True,
        check=False,
    )
    if child.stdout == _BEGUN and child.returncode not in _OF_OTHERS:
        return True
    if child.stdout != _BEGUN + _ENDED:
        text = child.stdout.removeprefix(_BEGUN) or child.stderr[-400:]
        raise CatalogueError(f"files could not be probed: {text.decode(errors='replace').strip()}")
    return False


def _probe() -> None:
    """What the other process does; what it writes tells how far it came."""
    arguments = pickle.load(sys.stdin.buffer)
    os.write(1, _BEGUN)
    try:
        probe_files(*arguments)
    except Exception as error:
        os.write(1, f"{type(error).__name__}: {error}".encode(errors="replace"))
    else:
        os.write(1, _ENDED)


def paths_of(storage: Storage, plan: Plan, partition: int) -> list[bytes]:
    """The files that a partition reads, by their places in its items."""
    items = items_of(storage, plan, partition)
    rows = zip(items["action"].to_pylist(), items["path"].to_pylist(), strict=True)
    return [path for action, path in rows if action == READ]


def dispatch(
    executor: Executor,
    partitions: Mapping[int, int],
    paths: Callable[[int], Sequence[bytes]],
    clock: Callable[[], float],
) -> Iterator[Receipt]:
    """Has partitions made, and gives their receipts as they come.

    Args:
        executor: Runs the tasks.
        partitions: Their numbers, and how many files each reads.
        paths: The files that a partition reads; asked for those that take workers down.
        clock: Seconds that have gone by.

    Raises:
        CatalogueError: Partitions could not be made; what was made stays.
    """
    run = _Run(executor, partitions, paths, clock)
    try:
        while run.is_going:
            run.fill()
            ended = executor.wait(run.patience())
            receipt = None if ended is None else run.take(*ended)
            run.repeat_late()
            if receipt is not None:
                yield receipt
    finally:
        run.cancel()
    run.complain()


@dataclass(eq=False)
class _Unit:
    """Something that is to be done: by any of the tasks that are begun for it."""

    partition: int
    files: tuple[int, int] | None = None
    begun: dict[Hashable, float] = field(default_factory=dict)
    """The tasks in flight, and when each was submitted."""
    avoid: set[str] = field(default_factory=set)
    """Workers on which it failed."""
    tries: int = 0
    losses: int = 0
    is_over: bool = False

    @property
    def may_repeat(self) -> bool:
        """Whether it may have another task beside those in flight."""
        return 0 < len(self.begun) < TRIES


@dataclass(eq=False)
class _Search:
    """The search of a partition for files that take workers down."""

    making: _Unit
    open: int = 0
    """Ranges that are not probed yet."""
    found: set[int] = field(default_factory=set)
    """Places of the files."""


class _Run:
    """All that is known of a run."""

    def __init__(
        self,
        executor: Executor,
        partitions: Mapping[int, int],
        paths: Callable[[int], Sequence[bytes]],
        clock: Callable[[], float],
    ) -> None:
        self._executor = executor
        self._reads = partitions
        self._paths = paths
        self._clock = clock
        self._waiting = deque(_Unit(number) for number in partitions)
        self._flying: dict[Hashable, _Unit] = {}
        self._left = len(partitions)
        self._few = max(1, len(partitions) // 20)
        self._attempts = 0
        self._seconds: list[float] = []
        self._crashing: dict[int, set[int]] = {}
        self._searches: dict[int, _Search] = {}
        self._failures: dict[int, str] = {}

    @property
    def is_going(self) -> bool:
        """Whether there is anything left to do or to wait for."""
        return self._left > 0 and len(self._failures) < FAILURES

    def fill(self) -> None:
        """Submits what waits, as much as may be in flight."""
        if not self._waiting:
            return
        most = IN_FLIGHT * max(self._executor.workers(), 2)
        while self._waiting and len(self._flying) < most:
            unit = self._waiting.popleft()
            if not unit.is_over:
                self._submit(unit)

    def _submit(self, unit: _Unit) -> None:
        self._attempts += 1
        crashing: tuple[bytes, ...] = ()
        if unit.files is None and (places := self._crashing.get(unit.partition)):
            paths = self._paths(unit.partition)
            crashing = tuple(paths[place] for place in sorted(places))
        task = Task(unit.partition, self._attempts, crashing, unit.files)
        handle = self._executor.submit(task, unit.avoid)
        unit.begun[handle] = self._clock()
        self._flying[handle] = unit

    def take(self, handle: Hashable, result: Result) -> Receipt | None:
        """Takes how a task ended; the receipt of a partition that is made by it."""
        unit = self._flying.pop(handle, None)
        if unit is None:  # another was quicker, or it is told of twice
            return None
        seconds = self._clock() - unit.begun.pop(handle)
        if isinstance(result, Failed | Lost):
            self._take_failure(unit, result)
            return None
        self._end(unit)
        if isinstance(result, Probed):
            self._take_probe(unit, result)
            return None
        self._seconds.append(seconds)
        self._left -= 1
        return result

    def _take_failure(self, unit: _Unit, result: Failed | Lost) -> None:
        if result.worker is not None:
            unit.avoid.add(result.worker)
        if isinstance(result, Failed):
            unit.tries += 1
        else:
            unit.losses += 1
        if unit.begun and isinstance(result, Failed):
            return
        error = result.error if isinstance(result, Failed) else _LOST
        if unit.tries >= TRIES or unit.losses >= LOSSES:
            self._give_up(unit, error)
        elif isinstance(result, Lost) and unit.files is None and self._reads[unit.partition]:
            self._land(unit)
            self._search(unit)
        elif not unit.begun:
            self._waiting.appendleft(unit)

    def _search(self, unit: _Unit) -> None:
        """Looks for the files that took workers down, before the partition is made again."""
        self._searches[unit.partition] = search = _Search(unit)
        self._halve(search, 0, self._reads[unit.partition])

    def _halve(self, search: _Search, begin: int, end: int) -> None:
        middle = (begin + end) // 2
        for files in ((begin, middle), (middle, end)):
            if files[0] < files[1]:
                self._waiting.appendleft(_Unit(search.making.partition, files))
                search.open += 1

    def _take_probe(self, unit: _Unit, result: Probed) -> None:
        search = self._searches[unit.partition]
        search.open -= 1
        if result.is_crashing and unit.files is not None:
            begin, end = unit.files
            if end - begin > 1:
                self._halve(search, begin, end)
            else:
                search.found.add(begin)
        if not search.open:
            self._end_search(search)

    def _end_search(self, search: _Search) -> None:
        making = search.making
        del self._searches[making.partition]
        known = self._crashing.setdefault(making.partition, set())
        if not search.found <= known:
            known |= search.found
            making.tries = making.losses = 0
        self._waiting.appendleft(making)

    def _give_up(self, unit: _Unit, error: str) -> None:
        """A partition has failed for good."""
        search = self._searches.pop(unit.partition, None)
        self._failures[unit.partition] = error
        self._left -= 1
        self._end(unit)
        if search is not None:
            for other in [*self._flying.values(), *self._waiting]:
                if other.partition == unit.partition:
                    self._end(other)

    def _end(self, unit: _Unit) -> None:
        unit.is_over = True
        self._land(unit)

    def _land(self, unit: _Unit) -> None:
        """Waits for none of the tasks of a unit any more."""
        for handle in unit.begun:
            del self._flying[handle]
            self._executor.cancel(handle)
        unit.begun.clear()

    def patience(self) -> float:
        """Seconds until a task may be late."""
        late = self._late_seconds()
        newest = [max(unit.begun.values()) for unit in self._flying.values() if unit.may_repeat]
        return max(min(newest, default=self._clock()) + late - self._clock(), 0.05)

    def _late_seconds(self) -> float:
        times = LATE if self._left <= self._few else OVERDUE
        usual = statistics.median(self._seconds) if self._seconds else TARGET_SECONDS
        return max(times * usual, SHORTEST_LATE)

    def repeat_late(self) -> None:
        """Gives what is late another try beside those that run."""
        now = self._clock()
        late = self._late_seconds()
        for unit in dict.fromkeys(self._flying.values()):
            if unit.may_repeat and now - max(unit.begun.values()) > late:
                self._submit(unit)

    def cancel(self) -> None:
        """Leaves what is in flight to itself."""
        for handle in self._flying:
            self._executor.cancel(handle)

    def complain(self) -> None:
        """Raises the error of what could not be done."""
        if not self._failures:
            return
        number, error = next(iter(self._failures.items()))
        raise CatalogueError(
            f"{len(self._failures):,} of {len(self._reads):,} partitions could not be made; what "
            f"was made is kept for the next try; partition {number}: {error}"
        )
