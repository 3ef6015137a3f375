"""Catalogues whose updates are killed: the next one goes on, and nothing tells what happened."""

import json
import os
import random
import resource
import signal
import subprocess
import sys
import time
from pathlib import Path

import pytest
from catalogue_trees import digest, make_tree, photo, settled  # noqa: F401
from conftest import repetitions

from ifdsweep.catalogue import Catalogue, CatalogueError
from ifdsweep.catalogue import _plan as plan_module
from ifdsweep.catalogue._commit import newest_snapshot
from ifdsweep.catalogue._model import Snapshot, from_json, to_json
from ifdsweep.catalogue._storage import FolderStorage

pytestmark = [pytest.mark.python, pytest.mark.usefixtures("settled")]

STEPS = {
    "planned": 1,
    "items-written": 1,
    "plan-written": 1,
    "attempt-begun": 4,
    "attempt-written": 4,
    "receipt-written": 4,
    "parts-moved": 1,
    "snapshot-prepared": 1,
    "snapshot-written": 1,
    "work-removed": 1,
}
"""How often each step of the update is taken."""

UPDATE = """
import os, signal, sys
from ifdsweep.catalogue import Catalogue, _partition, _plan, _steps

location, wanted, count = sys.argv[1], sys.argv[2], int(sys.argv[3])
_partition.GRAIN_NS = -(1 << 60)
_plan.MOST_FILES = 3
taken = []

def look(step):
    if step == wanted:
        taken.append(step)
        if len(taken) == count:
            os.kill(os.getpid(), signal.SIGKILL)

_steps.observer = look
print("ready", flush=True)
Catalogue.open(location).update(accept_removals=True)
"""


def begin_update(catalogue: Catalogue, step: str = "", count: int = 0) -> subprocess.Popen[bytes]:
    """An update in a process of its own, which kills itself when a step was taken so often."""
    return subprocess.Popen(
        [sys.executable, "-c", UPDATE, catalogue.location, step, str(count)],
        stdout=subprocess.PIPE,
        stderr=subprocess.PIPE,
    )


@pytest.fixture
def root(tmp_path: Path) -> Path:
    folder = tmp_path / "root"
    make_tree(folder, {f"{place:02}.tif": photo(f"Make {place}") for place in range(10)})
    make_tree(folder, {"05/a.tif": photo("Deep"), "notes.txt": b"no image"})
    return folder


@pytest.fixture
def catalogue(tmp_path: Path, root: Path, monkeypatch: pytest.MonkeyPatch) -> Catalogue:
    """A catalogue of four parts that is out of date."""
    monkeypatch.setattr(plan_module, "MOST_FILES", 3)
    made = Catalogue.create(tmp_path / "catalogue", root)
    assert made.update().partitions == 4
    for place in (0, 4, 7):
        make_tree(root, {f"{place:02}.tif": photo(f"Changed {place}")})
    (root / "08.tif").unlink()
    make_tree(root, {"99.tif": photo("New")})
    return made


def _undisturbed(root: Path, folder: Path) -> str:
    made = Catalogue.create(folder, root)
    made.update()
    return digest(made)


def _check_whole(catalogue: Catalogue, expected: str) -> None:
    """Goes on with what was begun, and looks at all that is there then."""
    found = Catalogue.open(catalogue.location)
    found.update(accept_removals=True)
    assert digest(found) == expected
    assert found.vacuum(keep=2) == [], "nothing is left behind"
    names = sorted(path.name for path in Path(catalogue.location).iterdir())
    assert names == sorted(
        ["catalogue.json", "files", "images", "lock", "others", "snapshots", "tags", "warnings"][
            : len(names)
        ]
    ) or set(names) <= {
        "catalogue.json",
        "files",
        "images",
        "lock",
        "others",
        "snapshots",
        "tags",
        "warnings",
    }


class TestAnUpdateThatIsKilled:
    @pytest.mark.parametrize(
        ("step", "count"),
        [(step, count) for step, most in STEPS.items() for count in sorted({1, most})],
    )
    def test_at_a_step_is_gone_on_with(
        self, tmp_path: Path, root: Path, catalogue: Catalogue, step: str, count: int
    ) -> None:
        before = digest(catalogue)
        process = begin_update(catalogue, step, count)
        process.communicate(timeout=60)
        assert process.returncode == -signal.SIGKILL, "the step was taken"
        is_visible = step in ("snapshot-written", "work-removed")
        found = Catalogue.open(catalogue.location)
        assert found.snapshot.number == (2 if is_visible else 1)
        assert (digest(found) == before) is not is_visible
        expected = _undisturbed(root, tmp_path / "undisturbed")
        _check_whole(catalogue, expected)
        assert digest(Catalogue.open(catalogue.location).at(2)) == expected

    @pytest.mark.parametrize("seed", range(repetitions(1, 50)))
    def test_at_any_moment_is_gone_on_with(
        self, tmp_path: Path, root: Path, catalogue: Catalogue, seed: int
    ) -> None:
        generator = random.Random(seed)
        for number in range(4):
            make_tree(root, {"02.tif": photo(f"Again {number}")})
            process = begin_update(catalogue)
            assert process.stdout is not None
            process.stdout.readline()
            time.sleep(generator.random() * 0.06)
            process.kill()
            process.communicate(timeout=60)
            expected = _undisturbed(root, tmp_path / f"undisturbed-{number}")
            found = Catalogue.open(catalogue.location)
            found.update(accept_removals=True)  # goes on, or begins
            found.update(accept_removals=True)  # with what has changed since it was planned
            assert digest(found) == expected
            found.vacuum()
            assert found.vacuum() == []

    def test_goes_on_with_what_is_done(self, root: Path, catalogue: Catalogue) -> None:
        begin_update(catalogue, "receipt-written", 2).communicate(timeout=60)
        done = sorted(Path(catalogue.location).glob("work/000002/done/*.json"))
        assert len(done) >= 2
        begun = {path: path.stat().st_mtime_ns for path in done}
        part = json.loads(done[0].read_bytes())["part"]
        os.utime(root / part["first"], ns=(0, 0))  # is in what is done: for the next update
        seen: list[bool] = []

        def look(step: str) -> None:
            if step == "parts-moved":
                seen.extend(path.stat().st_mtime_ns == begun[path] for path in done)

        from ifdsweep.catalogue import _steps

        _steps.observer = look
        try:
            catalogue.update()
        finally:
            _steps.observer = None
        assert seen == [True] * len(done)
        assert catalogue.update().read == 1


class TestWhatGoesWrongOutside:
    def _expect_whole(self, catalogue: Catalogue, complaint: str) -> None:
        before = digest(Catalogue.open(catalogue.location))
        with pytest.raises(CatalogueError, match=complaint):
            catalogue.update(accept_removals=True)
        assert digest(Catalogue.open(catalogue.location)) == before

    def test_is_told_when_files_cannot_grow(self, catalogue: Catalogue) -> None:
        limit = resource.getrlimit(resource.RLIMIT_FSIZE)
        handler = signal.signal(signal.SIGXFSZ, signal.SIG_IGN)
        resource.setrlimit(resource.RLIMIT_FSIZE, (64, limit[1]))
        try:
            self._expect_whole(catalogue, "File too large")
        finally:
            resource.setrlimit(resource.RLIMIT_FSIZE, limit)
            signal.signal(signal.SIGXFSZ, handler)
        catalogue.update(accept_removals=True)
        assert catalogue.vacuum(keep=2) == []

    @pytest.mark.parametrize(
        ("step", "pattern", "content"),
        [
            ("plan-written", "work/000002/plan.json", b"{"),
            ("plan-written", "work/000002/plan.json", b"{}"),
            ("plan-written", "work/000002/items-*.parquet", b"PAR1"),
            ("receipt-written", "work/000002/done/*.json", b"[]"),
            ("plan-written", "files/*.parquet", b"PAR1PAR1"),
            ("plan-written", "snapshots/000001.json", b"null"),
        ],
    )
    def test_is_told_when_files_are_damaged(
        self, catalogue: Catalogue, step: str, pattern: str, content: bytes
    ) -> None:
        begin_update(catalogue, step, 1).communicate(timeout=60)
        for path in Path(catalogue.location).glob(pattern):
            path.write_bytes(content)
        with pytest.raises(CatalogueError, match=pattern.split("/")[0]):
            Catalogue.open(catalogue.location).update(accept_removals=True)

    def test_is_told_when_parts_are_gone(self, catalogue: Catalogue) -> None:
        begin_update(catalogue, "receipt-written", 4).communicate(timeout=60)
        for path in Path(catalogue.location).glob("work/000002/attempts/*/images.parquet"):
            path.unlink()
        self._expect_whole(catalogue, r"images\.parquet is gone, .* remove work/000002 and update")

    def test_of_a_clock_that_was_set_back_does_no_harm(
        self, catalogue: Catalogue, root: Path, tmp_path: Path
    ) -> None:
        storage = FolderStorage(catalogue.location)
        snapshot = newest_snapshot(storage)
        later = snapshot.ended + 1e6
        from dataclasses import replace

        name = Path(catalogue.location) / "snapshots/000001.json"
        name.write_bytes(to_json(replace(snapshot, ended=later)))
        assert from_json(Snapshot, name.read_bytes()).ended == later
        found = Catalogue.open(catalogue.location)
        found.update(accept_removals=True)
        assert digest(found) == _undisturbed(root, tmp_path / "undisturbed")
