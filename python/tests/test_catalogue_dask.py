"""Catalogues that a cluster of Dask makes: a scheduler and workers as processes."""

import os
import pickle
import signal
from collections.abc import Iterator
from pathlib import Path

import pytest

pytest.importorskip("distributed")

from catalogue_clusters import FILES, Processes, client_of, make_root, rows_of
from conftest import repetitions
from distributed import Client

from ifdsweep.catalogue import Catalogue, CatalogueError, _plan
from ifdsweep.catalogue._storage import FolderStorage
from ifdsweep.catalogue._update import Progress
from ifdsweep.catalogue.engines._dispatch import run_task
from ifdsweep.catalogue.engines.dask import Dask

pytestmark = pytest.mark.python

WORKERS = 2
PARTITIONS = 9
"""Of the root, when it is read for the first time."""


@pytest.fixture(autouse=True)
def _small_partitions(monkeypatch: pytest.MonkeyPatch) -> None:
    monkeypatch.setattr(_plan, "MOST_FILES", 5)


@pytest.fixture(scope="module")
def processes(tmp_path_factory: pytest.TempPathFactory) -> Iterator[Processes]:
    """A scheduler and its workers."""
    started = Processes(
        tmp_path_factory.mktemp("cluster") / "processes",
        settings={
            "READING_SECONDS": "0.05",
            "DASK_DISTRIBUTED__SCHEDULER__ALLOWED_FAILURES": "0",
        },
    )
    for _ in range(WORKERS):
        started.start_worker()
    try:
        yield started
    finally:
        started.close()


@pytest.fixture
def client(processes: Processes) -> Iterator[Client]:
    """A client of the cluster, all of whose workers are there."""
    with client_of(processes, WORKERS) as client:
        yield client


class TestDask:
    """The engine."""

    def test_makes_the_catalogue_that_one_process_makes(
        self, client: Client, tmp_path: Path
    ) -> None:
        root = make_root(tmp_path / "root")
        one = Catalogue.create(tmp_path / "one", root)
        one.update()
        many = Catalogue.create(tmp_path / "many", root)
        told: list[Progress] = []
        summary = many.update(Dask(client), progress=told.append)
        assert summary.partitions == PARTITIONS
        assert rows_of(many) == rows_of(one)
        assert [p.done for p in told if p.phase == "reading"][-1] == FILES + 1

    def test_goes_on_when_a_worker_is_killed(
        self, client: Client, processes: Processes, tmp_path: Path
    ) -> None:
        root = make_root(tmp_path / "root")
        one = Catalogue.create(tmp_path / "one", root)
        one.update()
        many = Catalogue.create(tmp_path / "many", root)
        pids = list(client.run(os.getpid).values())
        killed: list[int] = []

        def kill(progress: Progress) -> None:
            if progress.phase == "reading" and progress.done and not killed:
                killed.append(pids[0])
                os.kill(pids[0], signal.SIGKILL)

        many.update(Dask(client), progress=kill)
        assert killed
        assert rows_of(many) == rows_of(one)

    def test_finds_the_files_that_kill_workers(self, client: Client, tmp_path: Path) -> None:
        numbers = [7, 33][: repetitions(1, 2)]
        killers = {f"{number // 20}/killer{number:03}.tif" for number in numbers}
        root = make_root(tmp_path / "root", numbers)
        one = Catalogue.create(tmp_path / "one", root)
        one.update()
        many = Catalogue.create(tmp_path / "many", root)
        summary = many.update(Dask(client))
        assert summary.failed == len(killers)
        failures = many.failures.to_pylist()
        assert {row["file_path"] for row in failures} == killers
        assert {row["status"] for row in failures} == {"crashed"}
        ids = {row["file_id"] for row in rows_of(one)["files"] if row["file_path"] in killers}
        for table, rows in rows_of(one).items():
            expected = [row for row in rows if row["file_id"] not in ids]
            made = [row for row in rows_of(many)[table] if row["file_id"] not in ids]
            assert made == expected

    def test_tells_what_a_partition_fails_of(self, client: Client, tmp_path: Path) -> None:
        root = make_root(tmp_path / "root")
        many = Catalogue.create(tmp_path / "many", root)

        def break_plan(progress: Progress) -> None:
            if progress.phase == "reading":
                for items in (tmp_path / "many/work").rglob("items*"):
                    items.write_bytes(b"no Parquet")

        with pytest.raises(CatalogueError, match=r"partitions could not be made.*items-"):
            many.update(Dask(client), progress=break_plan)

    def test_says_that_the_scheduler_was_lost_and_goes_on_with_the_next(
        self, tmp_path: Path
    ) -> None:
        root = make_root(tmp_path / "root")
        one = Catalogue.create(tmp_path / "one", root)
        one.update()
        many = Catalogue.create(tmp_path / "many", root)
        processes = Processes(tmp_path / "cluster", settings={"READING_SECONDS": "0.1"})
        try:
            processes.start_worker()

            def kill(progress: Progress) -> None:
                if progress.phase == "reading" and progress.done:
                    processes.signal(processes.scheduler, signal.SIGKILL)

            with (
                client_of(processes, 1, timeout=2) as client,
                pytest.raises(CatalogueError, match="the scheduler was lost"),
            ):
                many.update(Dask(client), progress=kill)
        finally:
            processes.close()
        assert list((tmp_path / "many/work/000001/done").iterdir())
        assert many.update().partitions == PARTITIONS
        assert rows_of(many) == rows_of(one)


class TestTask:
    """What goes over the network."""

    def test_is_answered_with_less_than_a_kilobyte(self, tmp_path: Path) -> None:
        from ifdsweep.catalogue import _jobs
        from ifdsweep.catalogue.engines._dispatch import Task

        root = make_root(tmp_path / "root")
        Catalogue.create(tmp_path / "c", root)
        plan = _jobs.plan(tmp_path / "c")
        assert plan is not None
        storage = FolderStorage(str(tmp_path / "c"))
        for partition in plan.partitions:
            task = Task(partition.number, 1)
            result = run_task(storage, 1, task, threads=1, worker=None)
            assert len(pickle.dumps(result)) < 1_000
            assert len(pickle.dumps((storage, task))) < 1_000
