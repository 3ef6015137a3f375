"""Catalogues that arrays of jobs make."""

import multiprocessing
import os
import signal
from collections.abc import Callable
from pathlib import Path

import pytest

pytest.importorskip("distributed")

from catalogue_clusters import make_root, rows_of
from catalogue_trees import settled  # noqa: F401

from ifdsweep.catalogue import Catalogue, CatalogueError, _jobs, _plan
from ifdsweep.catalogue._model import Receipt
from ifdsweep.catalogue._partition import run_partition

pytestmark = pytest.mark.python

PARTITIONS = 9


@pytest.fixture(autouse=True)
def _small_partitions(monkeypatch: pytest.MonkeyPatch) -> None:
    monkeypatch.setattr(_plan, "MOST_FILES", 5)


@pytest.fixture
def root(tmp_path: Path) -> Path:
    """A folder of images."""
    return make_root(tmp_path / "root")


@pytest.fixture
def one(tmp_path: Path, root: Path) -> Catalogue:
    """The catalogue of it that one process makes."""
    made = Catalogue.create(tmp_path / "one", root)
    made.update()
    return made


@pytest.fixture
def many(tmp_path: Path, root: Path) -> Path:
    """A catalogue of it that has a plan."""
    Catalogue.create(tmp_path / "many", root)
    plan = _jobs.plan(tmp_path / "many")
    assert plan is not None
    assert len(plan.partitions) == PARTITIONS
    return tmp_path / "many"


class TestArray:
    """An array of jobs."""

    @pytest.mark.parametrize("stride", [1, 2, 20])
    def test_makes_the_catalogue_that_one_process_makes(
        self, one: Catalogue, many: Path, stride: int
    ) -> None:
        made: list[Receipt] = []
        for index in reversed(range(stride)):
            assert _jobs.run(many, index, stride, threads=1, progress=made.append) == 0
        assert sorted(receipt.partition for receipt in made) == list(range(1, PARTITIONS + 1))
        assert _jobs.commit(many).number == 1
        assert rows_of(Catalogue.open(many)) == rows_of(one)

    def test_may_be_there_twice_at_once(self, one: Catalogue, many: Path) -> None:
        context = multiprocessing.get_context("spawn")
        jobs = [context.Process(target=_run, args=(many, i % 2, 2)) for i in range(4)]
        for job in jobs:
            job.start()
        for job in jobs:
            job.join()
        assert [job.exitcode for job in jobs] == [0] * 4
        _jobs.commit(many)
        assert rows_of(Catalogue.open(many)) == rows_of(one)

    def test_goes_on_where_a_job_was_killed(self, one: Catalogue, many: Path) -> None:
        context = multiprocessing.get_context("spawn")
        job = context.Process(target=_run_and_die, args=(many,))
        job.start()
        job.join()
        assert job.exitcode == -signal.SIGKILL
        with pytest.raises(CatalogueError, match="7 of 9 partitions are not done yet"):
            _jobs.commit(many)
        assert _jobs.run(many, 0, 1) == 0
        _jobs.commit(many)
        assert rows_of(Catalogue.open(many)) == rows_of(one)

    def test_makes_the_other_partitions_when_one_fails(
        self, many: Path, monkeypatch: pytest.MonkeyPatch, capsys: pytest.CaptureFixture[str]
    ) -> None:
        def fail_of_3(*arguments: object, **options: object) -> Receipt:
            if arguments[2] == 3:
                raise CatalogueError("it is damaged")
            made: Callable[..., Receipt] = run_partition
            return made(*arguments, **options)

        monkeypatch.setattr(_jobs, "run_partition", fail_of_3)
        assert _jobs.run(many, 0, 1) == 1
        assert capsys.readouterr().err == "ifdsweep-catalogue: partition 3: it is damaged\n"
        with pytest.raises(CatalogueError, match="1 of 9 partitions are not done yet"):
            _jobs.commit(many)

    def test_has_nothing_to_do_when_all_is_committed(self, many: Path) -> None:
        assert _jobs.run(many, 0, 1) == 0
        assert _jobs.commit(many).number == 1
        assert _jobs.run(many, 0, 1) == 0
        assert _jobs.commit(many).number == 1

    def test_ends_well_when_others_commit_meanwhile(self, many: Path) -> None:
        def commit(_: Receipt) -> None:
            if len(seen) == 0:
                seen.append(1)
                assert _jobs.run(many, 0, 1) == 0
                _jobs.commit(many)

        seen: list[int] = []
        assert _jobs.run(many, 0, 1, progress=commit) == 0
        assert Catalogue.open(many).snapshot.number == 1

    @pytest.mark.parametrize(("index", "stride"), [(-1, 2), (2, 2), (0, 0)])
    def test_has_no_other_jobs(self, many: Path, index: int, stride: int) -> None:
        with pytest.raises(ValueError, match="index"):
            _jobs.run(many, index, stride)


class TestPlan:
    """The plan of an array."""

    def test_stays_until_it_is_committed(self, many: Path) -> None:
        first = _jobs.plan(many)
        assert first == _jobs.plan(many)

    @pytest.mark.usefixtures("settled")
    def test_is_none_where_nothing_changed(self, many: Path, root: Path) -> None:
        _jobs.run(many, 0, 1)
        _jobs.commit(many)
        assert _jobs.plan(many) is None
        assert _jobs.commit(many).number == 1
        os.utime(root / "0/image003.tif", (1, 1))
        plan = _jobs.plan(many)
        assert plan is not None
        assert [partition.reads for partition in plan.partitions] == [1]


def _run(many: Path, index: int, stride: int) -> None:
    raise SystemExit(_jobs.run(many, index, stride, threads=1))


def _run_and_die(many: Path) -> None:
    def die(receipt: Receipt) -> None:
        if receipt.partition == 2:
            os.kill(os.getpid(), signal.SIGKILL)

    _jobs.run(many, 0, 1, threads=1, progress=die)
