"""Catalogues whose updates are killed: the next one goes on, and nothing tells what happened."""

import contextlib
import json
import os
import random
import resource
import signal
import subprocess
import sys
import threading
import time
from pathlib import Path

import pytest
from catalogue_trees import digest, make_tree, photo, settled  # noqa: F401
from conftest import repetitions

from ifdsweep.catalogue import Catalogue, CatalogueBusyError, CatalogueError, _steps
from ifdsweep.catalogue import _plan as plan_module
from ifdsweep.catalogue._commit import newest_snapshot
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
import contextlib, os, signal, sys
from ifdsweep.catalogue import Catalogue, _partition, _plan, _steps, _storage

location, wanted, count, locks = sys.argv[1], sys.argv[2], int(sys.argv[3]), sys.argv[4]
if locks == "False":
    _storage.FolderStorage.lock = lambda _: contextlib.nullcontext(False)
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


def begin_update(
    catalogue: Catalogue, step: str = "", count: int = 0, locks: bool = True
) -> subprocess.Popen[bytes]:
    """An update in a process of its own, which kills itself when a step was taken so often."""
    return subprocess.Popen(
        [sys.executable, "-c", UPDATE, catalogue.location, step, str(count), str(locks)],
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


def _fill(path: Path, spare: int) -> None:
    """Fills a disk with a file, but for some bytes."""
    path.unlink(missing_ok=True)
    status = os.statvfs(path.parent)
    with open(path, "wb") as file:
        os.posix_fallocate(file.fileno(), 0, max(1, status.f_bavail * status.f_frsize - spare))


def _error_of(catalogue: Catalogue) -> CatalogueError | None:
    try:
        catalogue.update()
    except CatalogueError as error:
        return error
    return None


def _undisturbed(root: Path, folder: Path) -> str:
    made = Catalogue.create(folder, root)
    made.update()
    return digest(made)


def _check_whole(location: str, expected: str) -> None:
    """Goes on with what was begun, and looks at all that is there then."""
    found = Catalogue.open(location)
    found.update(accept_removals=True)
    assert digest(found) == expected
    _check_nothing_is_left(found)


def _check_nothing_is_left(catalogue: Catalogue) -> None:
    """Looks for files that no snapshot has."""
    catalogue.vacuum(keep=100)
    folder = Path(catalogue.location)
    there = {str(path.relative_to(folder)) for path in folder.rglob("*") if path.is_file()}
    shown = catalogue.snapshots
    expected = {"catalogue.json", "lock", *(f"snapshots/{s.number:06}.json" for s in shown)}
    expected |= {f.name for s in shown for part in s.parts for f in part.tables.values()}
    assert there == expected


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
        _check_whole(catalogue.location, expected)
        assert digest(catalogue.at(1)) == before
        assert digest(catalogue.at(2)) == expected

    @pytest.mark.parametrize("seed", range(repetitions(1, 50)))
    def test_at_any_moment_is_gone_on_with(
        self, tmp_path: Path, root: Path, catalogue: Catalogue, seed: int
    ) -> None:
        generator = random.Random(seed)
        known = {1: digest(catalogue)}
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
            for shown in found.snapshots:
                assert digest(found.at(shown.number)) == known.get(shown.number, expected)
            found.update(accept_removals=True)  # goes on, or begins
            found.update(accept_removals=True)  # with what has changed since it was planned
            assert digest(found) == expected
            if number == 2:
                found.vacuum(keep=2)
            _check_nothing_is_left(found)
            known = {s.number: digest(found.at(s.number)) for s in found.snapshots}

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

        _steps.observer = look
        try:
            catalogue.update()
        finally:
            _steps.observer = None
        assert seen == [True] * len(done)
        assert catalogue.update().read == 1


class TestUpdatesAtOnce:
    @pytest.mark.parametrize("step", STEPS)
    def test_have_a_winner_whenever_one_overtakes_the_other(
        self,
        root: Path,
        tmp_path: Path,
        catalogue: Catalogue,
        monkeypatch: pytest.MonkeyPatch,
        step: str,
    ) -> None:
        """Where there are no locks, one update is done while another is at a step."""
        monkeypatch.setattr(FolderStorage, "lock", lambda _: contextlib.nullcontext(False))
        expected = _undisturbed(root, tmp_path / "undisturbed")
        other = Catalogue.open(catalogue.location)
        lock = threading.Lock()
        taken: list[str] = []

        def overtake(now: str) -> None:
            with lock:
                is_first = now == step and not taken
                taken.append(now)
            if is_first:
                monkeypatch.setattr(_steps, "observer", None)
                other.update(accept_removals=True)

        def look(now: str) -> None:
            if now == step and not taken:
                overtake(now)

        monkeypatch.setattr(_steps, "observer", look)
        if step in ("snapshot-written", "work-removed"):
            catalogue.update(accept_removals=True)  # was quicker itself
        else:
            with pytest.raises(CatalogueBusyError, match="made snapshot 2; this one changed noth"):
                catalogue.update(accept_removals=True)
        monkeypatch.undo()
        assert taken
        found = Catalogue.open(catalogue.location)
        assert [shown.number for shown in found.snapshots] == [1, 2]
        assert digest(found) == expected
        Path(catalogue.location, "lock").touch()
        _check_whole(catalogue.location, expected)

    @pytest.mark.parametrize("locks", [True, False])
    def test_have_a_winner_when_they_begin_together(
        self, root: Path, tmp_path: Path, catalogue: Catalogue, locks: bool
    ) -> None:
        for turn in range(repetitions(1, 40)):
            make_tree(root, {"02.tif": photo(f"Turn {turn}")})
            number = newest_snapshot(FolderStorage(catalogue.location)).number
            updates = [begin_update(catalogue, locks=locks) for _ in range(3)]
            for update in updates:
                assert update.stdout is not None
                update.stdout.readline()
            ends = [(update.communicate(timeout=60)[1], update.returncode) for update in updates]
            assert any(status == 0 for _, status in ends)
            for error, status in ends:
                assert status == 0 or b"CatalogueBusyError: " in error.splitlines()[-1], error
            found = Catalogue.open(catalogue.location)
            assert found.snapshot.number == number + 1
            expected = _undisturbed(root, tmp_path / f"undisturbed-{turn}")
            assert digest(found) == expected
            _check_whole(catalogue.location, expected)


class TestWhatGoesWrongOutside:
    def _expect_whole(self, catalogue: Catalogue, complaint: str) -> None:
        before = digest(Catalogue.open(catalogue.location))
        with pytest.raises(CatalogueError, match=complaint):
            catalogue.update(accept_removals=True)
        assert digest(Catalogue.open(catalogue.location)) == before

    @pytest.mark.parametrize("most", [0, 64, 1000, 2500, 6000, 20_000, 60_000])
    def test_is_told_when_files_cannot_grow(
        self, root: Path, tmp_path: Path, catalogue: Catalogue, most: int
    ) -> None:
        expected = _undisturbed(root, tmp_path / "undisturbed")
        limit = resource.getrlimit(resource.RLIMIT_FSIZE)
        handler = signal.signal(signal.SIGXFSZ, signal.SIG_IGN)
        resource.setrlimit(resource.RLIMIT_FSIZE, (most, limit[1]))
        try:
            self._expect_whole(catalogue, "File too large")
        finally:
            resource.setrlimit(resource.RLIMIT_FSIZE, limit)
            signal.signal(signal.SIGXFSZ, handler)
        _check_whole(catalogue.location, expected)

    @pytest.mark.skipif(os.geteuid() != 0, reason="only root may mount")
    def test_is_told_when_the_disk_is_full(self, tmp_path: Path) -> None:
        """As many bytes are left as let the update come further each time."""
        disk = tmp_path / "disk"
        disk.mkdir()
        mount = ["mount", "-t", "tmpfs", "-o", "size=4M", "tmpfs", str(disk)]
        if subprocess.run(mount, capture_output=True).returncode != 0:
            pytest.skip("nothing can be mounted here")
        try:
            root = tmp_path / "root"
            make_tree(root, {f"{place}.tif": photo(f"Make {place}") for place in range(9)})
            catalogue = Catalogue.create(disk / "catalogue", root)
            catalogue.update()
            make_tree(root, {"9.tif": photo("New")})
            expected = _undisturbed(root, tmp_path / "undisturbed")
            before = digest(catalogue)
            failed = 0
            for pages in range(0, 400, repetitions(40, 3)):
                _fill(disk / "filler", 4096 * pages)
                error = _error_of(catalogue)
                if error is None:
                    break
                assert "No space left on device" in str(error)
                assert digest(Catalogue.open(catalogue.location)) == before
                failed += 1
            assert failed > 0
            (disk / "filler").unlink()
            _check_whole(catalogue.location, expected)
        finally:
            subprocess.run(["umount", "--lazy", str(disk)], check=True)

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
