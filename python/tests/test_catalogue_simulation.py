"""Catalogues made by workers that fail in every way, in simulated time and by seed."""

import heapq
import itertools
import json
import math
import random
import shutil
import uuid
from collections.abc import Callable, Collection, Hashable, Iterator
from contextlib import suppress
from dataclasses import dataclass, field
from pathlib import Path

import pytest
from conftest import repetitions

pytest.importorskip("pyarrow")

from ifdsweep.catalogue import CatalogueError
from ifdsweep.catalogue._commit import (
    commit,
    newest_snapshot,
    read_receipt,
    receipts,
    remove_litter,
)
from ifdsweep.catalogue._model import (
    Options,
    Part,
    PartFile,
    Partition,
    Plan,
    Receipt,
    to_json,
)
from ifdsweep.catalogue._names import (
    attempt_file_name,
    part_file_name,
    plan_name,
    receipt_name,
    snapshot_name,
)
from ifdsweep.catalogue._storage import FolderStorage
from ifdsweep.catalogue.engines._dispatch import (
    IN_FLIGHT,
    LATE,
    LOSSES,
    TRIES,
    Failed,
    Lost,
    Probed,
    Result,
    Task,
    dispatch,
)

pytestmark = pytest.mark.python

FILES = 37
"""Of each partition."""
SECONDS = 20.0
"""That a partition takes, about."""


def path_of(partition: int, place: int) -> bytes:
    """A file of the plan."""
    return f"{partition:02}/{place:03}.tif".encode()


def plan_of(count: int) -> Plan:
    """A plan with some partitions."""
    partitions = tuple(
        Partition(
            number=number,
            root=0,
            old=(),
            begin=f"{number:02}/",
            end=f"{number + 1:02}/" if number < count else None,
            reads=FILES,
            bytes=FILES,
        )
        for number in range(1, count + 1)
    )
    return Plan(1, 0, 0.0, Options(), ("/r",), partitions, (), (), 0, 0, "work/000001/items")


class Attempt:
    """A try of a partition, in steps between which anything may happen."""

    def __init__(self, storage: FolderStorage, task: Task) -> None:
        self.storage = storage
        self.task = task
        self.name = uuid.uuid4().hex

    def steps(self) -> Iterator[Receipt | None]:
        """Does a step each time, as `run_partition` does; the last gives the receipt."""
        number = self.task.partition
        receipt = receipt_name(1, number)
        with suppress(CatalogueError):
            yield read_receipt(self.storage, receipt)
            return
        yield None
        statuses = {
            place: "crashed" if path_of(number, place) in self.task.crashing else "ok"
            for place in range(FILES)
        }
        tables = {}
        for table in ("files", "images"):
            rows = [[path_of(number, place).decode(), status] for place, status in statuses.items()]
            content = json.dumps(rows).encode()
            with self.storage.writing(attempt_file_name(1, number, self.name, table)) as file:
                file.write(content)
            name = part_file_name(1, number, self.name, table)
            tables[table] = PartFile(name, FILES, len(content))
            yield None
        first, last = (path_of(number, place).decode() for place in (0, FILES - 1))
        part = Part(number, 0, first, last, tables, len(self.task.crashing))
        made = Receipt(number, self.name, part, FILES, FILES, part.failed, FILES, SECONDS)
        if not self.storage.create(receipt, to_json(made)):
            made = read_receipt(self.storage, receipt)
        yield made


@dataclass
class Faults:
    """How often what goes wrong, by chance."""

    lost: float = 0.0
    """The worker is gone when the task is begun, at any step of it, or when it has ended."""
    failed: float = 0.0
    dropped: float = 0.0
    """Nobody is told of the end; the task may have been done or not."""
    delayed: float = 0.0
    """It takes up to a hundred times as long."""
    doubled: float = 0.0
    """It runs twice, and is told of twice."""
    driver: float = 0.0
    """With each receipt: the driver is killed and started again."""


@dataclass(order=True)
class Event:
    """Something that will happen."""

    time: float
    order: int
    happen: Callable[[], None] = field(compare=False)


class Cluster:
    """Workers that take one task after another, and fail by chance; an executor."""

    def __init__(
        self,
        storage: FolderStorage,
        workers: int,
        faults: Faults,
        crashing: Collection[bytes],
        seed: int,
    ) -> None:
        self.storage = storage
        self.random = random.Random(seed)
        self.faults = faults
        self.crashing = crashing
        self.now = 0.0
        self.submitted: list[Task] = []
        self.faulty = 0
        """How many tasks something was done to."""
        self.names = [f"worker {number}" for number in range(workers)]
        self.free_at = dict.fromkeys(self.names, 0.0)
        self.running: dict[str, dict[int, Task]] = {name: {} for name in self.names}
        self.events: list[Event] = []
        self.ended: list[tuple[Hashable, Result]] = []
        self.spared: dict[tuple[int, tuple[int, int] | None], int] = {}
        self.begun: set[Hashable] = set()
        self.deaths = 0
        """Of workers, but by files."""
        self.numbers = itertools.count()

    def clock(self) -> float:
        """Seconds."""
        return self.now

    def workers(self) -> int:
        """As `Executor` says."""
        return len(self.names)

    def submit(self, task: Task, avoid: Collection[str]) -> Hashable:
        """As `Executor` says."""
        handle = next(self.numbers)
        self.submitted.append(task)
        others = [name for name in self.names if name not in avoid] or self.names
        worker = min(others, key=lambda name: self.free_at[name])
        self._begin(handle, task, worker)
        if self._happens(self.faults.doubled):
            self._begin(handle, task, self.random.choice(self.names))
        return handle

    def cancel(self, handle: Hashable) -> None:
        """As `Executor` says: what waits is not begun, mostly; what runs goes on."""
        for tasks in self.running.values():
            if handle in tasks and handle not in self.begun and self._happens(0.9):
                del tasks[int(str(handle))]

    def wait(self, seconds: float) -> tuple[Hashable, Result] | None:
        """As `Executor` says."""
        until = self.now + seconds
        while not self.ended:
            if not self.events or self.events[0].time > until:
                self.now = until
                return None
            self.happen()
        return self.ended.pop(self.random.randrange(len(self.ended)))

    def happen(self) -> None:
        """Lets the next event happen."""
        event = heapq.heappop(self.events)
        self.now = max(self.now, event.time)
        event.happen()

    def _happens(self, share: float) -> bool:
        return self.random.random() < share

    def _at(self, time: float, happen: Callable[[], None]) -> None:
        heapq.heappush(self.events, Event(time, next(self.numbers), happen))

    def _begin(self, handle: int, task: Task, worker: str) -> None:
        self.running[worker][handle] = task
        seconds = SECONDS * self.random.uniform(0.5, 1.5)
        if self._happens(self.faults.delayed):
            self.faulty += 1
            seconds *= self.random.uniform(1, 100)
        begin = max(self.now, self.free_at[worker])
        self.free_at[worker] = begin + seconds
        if task.files is not None:
            paths = {path_of(task.partition, place) for place in range(*task.files)}
            result: Result = Probed(not paths.isdisjoint(self.crashing))
            self._at(begin + seconds, lambda: self._end(handle, task, worker, result))
        else:
            steps = Attempt(self.storage, task).steps()
            self._at(begin, lambda: self._go_on(handle, task, worker, steps, seconds / 4))

    def _go_on(
        self, handle: int, task: Task, worker: str, steps: Iterator[Receipt | None], seconds: float
    ) -> None:
        if handle not in self.running[worker]:  # it ended with its worker
            return
        paths = {path_of(task.partition, place) for place in range(FILES)} - {*task.crashing}
        if not paths.isdisjoint(self.crashing):
            self._lose(worker)
            return
        self.begun.add(handle)
        if self.deaths < LOSSES // 2 and self._is_struck(task, self.faults.lost):
            self.deaths += 1
            self._lose(worker)
            return
        receipt = next(steps)
        if receipt is None:
            self._at(self.now + seconds, lambda: self._go_on(handle, task, worker, steps, seconds))
        else:
            self._end(handle, task, worker, receipt)

    def _is_struck(self, task: Task, share: float) -> bool:
        """Whether a fault happens to a task; to the same no more often than it must bear."""
        unit = (task.partition, task.files)
        if not self._happens(share) or self.spared.get(unit, 0) >= TRIES - 1:
            return False
        self.spared[unit] = self.spared.get(unit, 0) + 1
        self.faulty += 1
        return True

    def _lose(self, worker: str) -> None:
        """Ends a worker, with all that it was given; another takes its place."""
        self.free_at[worker] = self.now
        tasks, self.running[worker] = self.running[worker], {}
        for handle in tasks:
            self.faulty += 1
            self.ended.append((handle, Lost(self.random.choice([worker, None]))))

    def _end(self, handle: int, task: Task, worker: str, result: Result) -> None:
        if self.running[worker].pop(handle, None) is None:
            return
        if self._is_struck(task, self.faults.failed):
            result = Failed("OSError: it failed", worker)
        if self._is_struck(task, self.faults.dropped):
            return
        self.ended.append((handle, result))


def drive(plan: Plan, cluster: Cluster, asked: set[int]) -> Iterator[Receipt]:
    """One life of the driver."""
    done = receipts(cluster.storage, plan)

    def paths(number: int) -> list[bytes]:
        asked.add(number)
        return [path_of(number, place) for place in range(FILES)]

    left = {p.number: p.reads for p in plan.partitions if p.number not in done}
    return dispatch(cluster, left, paths, cluster.clock)


def contents(storage: FolderStorage) -> dict[str, list[list[str]]]:
    """All rows of the newest snapshot, table by table."""
    rows: dict[str, list[list[str]]] = {"files": [], "images": []}
    for part in newest_snapshot(storage).parts:
        for table, file in part.tables.items():
            rows[table] += json.loads(storage.read(file.name))
    return rows


def new_storage(folder: Path, plan: Plan) -> FolderStorage:
    """A catalogue with a plan."""
    shutil.rmtree(folder, ignore_errors=True)
    folder.mkdir()
    storage = FolderStorage(str(folder))
    assert storage.create(plan_name(1), to_json(plan))
    return storage


@pytest.fixture(autouse=True)
def _no_waiting_for_disks(monkeypatch: pytest.MonkeyPatch) -> None:
    """Power does not fail here."""
    monkeypatch.setattr("os.fsync", lambda _: None)


def random_faults(chance: random.Random) -> Faults:
    """Any of the faults, seldom or often."""
    return Faults(
        **{
            name: chance.choice([0.0, 0.0, limit / 10, limit])
            for name, limit in {
                "lost": 0.08,
                "failed": 0.3,
                "dropped": 0.3,
                "delayed": 0.3,
                "doubled": 0.4,
                "driver": 0.3,
            }.items()
        }
    )


class TestRun:
    """A run over workers that fail."""

    @pytest.mark.parametrize("seed", range(repetitions(100, 1_000)))
    def test_makes_the_same_catalogue_whatever_fails(self, tmp_path: Path, seed: int) -> None:
        chance = random.Random(seed)
        plan = plan_of(chance.choice([1, 2, 5, 12]))
        crashing = {
            path_of(chance.choice(plan.partitions).number, chance.randrange(FILES))
            for _ in range(chance.choice([0, 0, 1, 3]))
        }
        storage = new_storage(tmp_path / "catalogue", plan)
        faults = random_faults(chance)
        cluster = Cluster(storage, chance.choice([1, 2, 4]), faults, crashing, seed)
        asked: set[int] = set()
        lives = 0
        is_done = False
        while not is_done:
            lives += 1
            told = set(receipts(storage, plan))
            for receipt in drive(plan, cluster, asked):
                assert receipt.partition not in told, "a receipt is given twice"
                told.add(receipt.partition)
                if chance.random() < faults.driver:
                    break
            is_done = len(told) == len(plan.partitions)
        commit(storage, plan)
        while cluster.events:  # who was left behind goes on
            cluster.happen()

        expected = sorted(
            [path.decode(), "crashed" if path in crashing else "ok"]
            for p in plan.partitions
            for path in (path_of(p.number, place) for place in range(FILES))
        )
        rows = contents(storage)
        assert sorted(rows["files"]) == expected
        assert sorted(rows["images"]) == expected
        remove_litter(storage, is_alone=True)
        parts = newest_snapshot(storage).parts
        names = {file.name for part in parts for file in part.tables.values()}
        assert set(storage.names("")) == names | {snapshot_name(1)}
        assert asked <= {int(path.split(b"/")[0]) for path in crashing}
        searched = 2 * len(crashing) * math.ceil(math.log2(FILES))
        most = TRIES * (lives * (len(plan.partitions) + searched) + 4 * cluster.faulty)
        assert len(cluster.submitted) <= most


class TestDispatch:
    """Single things that go wrong."""

    def test_submits_each_partition_once_where_nothing_fails(self, tmp_path: Path) -> None:
        plan = plan_of(40)
        cluster = Cluster(new_storage(tmp_path / "c", plan), 4, Faults(), (), 1)
        assert len(list(drive(plan, cluster, set()))) == 40
        assert [task.partition for task in cluster.submitted] == list(range(1, 41))

    def test_gives_a_late_partition_to_a_second_worker_when_few_are_left(
        self, tmp_path: Path
    ) -> None:
        plan = plan_of(40)
        cluster = Scripted(tmp_path, plan, {(7, 1): None})
        assert len(list(drive(plan, cluster, set()))) == 40
        attempts = [task.partition for task in cluster.submitted]
        assert attempts == [*range(1, 41), 7]
        usual = 1.5 * SECONDS * IN_FLIGHT
        assert cluster.now <= 10 * usual + LATE * usual

    def test_tries_what_fails_elsewhere_and_gives_up_after_three_tries(
        self, tmp_path: Path
    ) -> None:
        plan = plan_of(5)
        failing: dict[tuple[int, int], Result | None] = {
            (2, n): Failed("OSError: disk full", f"worker {n}") for n in (1, 2, 3)
        }
        cluster = Scripted(tmp_path, plan, failing)
        with pytest.raises(CatalogueError, match=r"1 of 5 partitions.*partition 2: .*disk full"):
            list(drive(plan, cluster, set()))
        assert sorted(receipts(cluster.storage, plan)) == [1, 3, 4, 5]
        assert cluster.avoided[2] == [set(), {"worker 1"}, {"worker 1", "worker 2"}]

    def test_keeps_two_tasks_for_each_worker_in_flight(self, tmp_path: Path) -> None:
        plan = plan_of(40)
        cluster = Scripted(tmp_path, plan, {})
        list(drive(plan, cluster, set()))
        assert cluster.most_in_flight == IN_FLIGHT * 4


class Scripted(Cluster):
    """Workers that do what is told of single tries of partitions: None is for good."""

    def __init__(
        self, folder: Path, plan: Plan, script: dict[tuple[int, int], Result | None]
    ) -> None:
        super().__init__(new_storage(folder / "catalogue", plan), 4, Faults(), (), 1)
        self.script = script
        self.avoided: dict[int, list[set[str]]] = {}
        self.in_flight = self.most_in_flight = 0

    def submit(self, task: Task, avoid: Collection[str]) -> Hashable:
        """As `Executor` says."""
        self.in_flight += 1
        self.most_in_flight = max(self.most_in_flight, self.in_flight)
        tries = self.avoided.setdefault(task.partition, [])
        tries.append(set(avoid))
        place = (task.partition, len(tries))
        if place not in self.script:
            return super().submit(task, avoid)
        handle = next(self.numbers)
        self.submitted.append(task)
        if (result := self.script[place]) is not None:
            self.ended.append((handle, result))
        return handle

    def wait(self, seconds: float) -> tuple[Hashable, Result] | None:
        """As `Executor` says."""
        ended = super().wait(seconds)
        self.in_flight -= ended is not None
        return ended
