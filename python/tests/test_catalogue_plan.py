"""Plans: which files an update reads, which it takes for gone, and which it leaves alone."""

import os
import shutil
import stat
import subprocess
import sys
from collections.abc import Iterator, Sequence
from contextlib import suppress
from dataclasses import dataclass, field, replace
from pathlib import Path
from typing import Any

import pyarrow as pa
import pyarrow.parquet as pq
import pytest
from catalogue_trees import make_tree, photo, settled, unprivileged  # noqa: F401
from conftest import repetitions
from hypothesis import HealthCheck, example, given, settings
from hypothesis import strategies as st

from ifdsweep.catalogue import (
    Catalogue,
    Options,
    Snapshot,
    Summary,
    TooManyRemovalsError,
    _commit,
    _reading,
)
from ifdsweep.catalogue import _plan as plan_module
from ifdsweep.catalogue._commit import commit, newest_snapshot
from ifdsweep.catalogue._listing import SCHEMA as LISTED
from ifdsweep.catalogue._listing import Found
from ifdsweep.catalogue._model import DROP, EMPTY, READ, Part, PartFile, Plan, Receipt, path_key
from ifdsweep.catalogue._plan import items_of, make_plan
from ifdsweep.catalogue._storage import Storage, storage_of
from ifdsweep.catalogue.engines.local import Local

pytestmark = pytest.mark.usefixtures("settled")

Key = tuple[int, str]
"""A root and a path from there."""


def items(storage: Storage, plan: Plan) -> dict[int, set[Key]]:
    """The files of a plan, by what is done with them."""
    found: dict[int, set[Key]] = {READ: set(), DROP: set()}
    for partition in plan.partitions:
        rows = items_of(storage, plan, partition.number).to_pylist()
        paths = [row["path"] for row in rows]
        keys = [path_key(path) for path in paths]
        reads = [row for row in rows if row["action"] == READ]
        assert len(reads) == partition.reads
        assert sum(row["size"] for row in reads) == partition.bytes
        for row, key in zip(rows, keys, strict=True):
            assert path_key(os.fsencode(partition.begin)) <= key
            assert partition.end is None or key < path_key(os.fsencode(partition.end))
            found[row["action"]].add((partition.root, os.fsdecode(row["path"])))
    return found


def plan_of(catalogue: Catalogue, **arguments: Any) -> Plan | None:
    """The plan of the next update."""
    storage = storage_of(catalogue.location)
    return make_plan(
        storage, newest_snapshot(storage), catalogue.options, catalogue.roots, **arguments
    )


def reads_of(catalogue: Catalogue, **arguments: Any) -> list[str]:
    """The files that the next update would read, of the only root; forgets the plan."""
    plan = plan_of(catalogue, **arguments)
    storage = storage_of(catalogue.location)
    found = [] if plan is None else [path for _, path in sorted(items(storage, plan)[READ])]
    shutil.rmtree(Path(catalogue.location) / "work", ignore_errors=True)
    return found


@dataclass(frozen=True)
class Known:
    """What a catalogue has of a file."""

    status: tuple[int, int, int, int]
    make: str | None
    """None for what is no image."""


@dataclass
class Model:
    """Files below two roots, and what a catalogue of them has to know: written down plainly."""

    folder: Path
    contents: dict[Key, str | None] = field(default_factory=dict)
    """Who made the images that are there, whoever may see them."""
    known: dict[Key, Known] = field(default_factory=dict)
    locked: set[Path] = field(default_factory=set)
    unlisted: list[Key] = field(default_factory=list)
    count: int = 0

    ROOTS = ("one", "two")

    def root(self, number: int) -> Path:
        return self.folder / self.ROOTS[number]

    def path(self, key: Key) -> Path:
        return self.root(key[0]) / key[1]

    def write(self, key: Key, is_image: bool) -> None:
        self.count += 1
        make = f"Make {self.count}" if is_image else None
        self.path(key).parent.mkdir(parents=True, exist_ok=True)
        self.path(key).write_bytes(photo(make) if make else b"no image")
        self.contents[key] = make

    def rename(self, key: Key, other: Key) -> None:
        self.path(other).parent.mkdir(parents=True, exist_ok=True)
        self.path(key).rename(self.path(other))
        self.contents[other] = self.contents.pop(key)

    def lock(self, folder: Path) -> None:
        folder.chmod(0)
        self.locked.add(folder)

    def unlock(self) -> None:
        for folder in self.locked:
            folder.chmod(0o700)
        self.locked.clear()

    def visible(self) -> tuple[dict[Key, tuple[int, int, int, int]], list[Key]]:
        """The files that can be seen, and the folders that cannot be looked into."""
        seen = {}
        unlisted: list[Key] = []
        for root in range(len(self.ROOTS)):
            begin = str(self.root(root))

            def fail(error: OSError, root: int = root, begin: str = begin) -> None:
                unlisted.append((root, error.filename[len(begin) + 1 :]))

            for folder, _, names in os.walk(begin, onerror=fail):
                for name in names:
                    status = os.stat(f"{folder}/{name}")
                    assert stat.S_ISREG(status.st_mode)
                    seen[root, f"{folder}/{name}"[len(begin) + 1 :]] = (
                        status.st_size,
                        status.st_mtime_ns,
                        status.st_ctime_ns,
                        status.st_ino,
                    )
        return seen, sorted(unlisted, key=lambda key: (key[0], path_key(key[1].encode())))

    def update(self, catalogue: Catalogue, force: bool) -> None:
        """Updates, and holds all that is planned and made to what is known here."""
        seen, unlisted = self.visible()
        kept = {key for key in self.known if _is_below(key, unlisted)} - seen.keys()
        drops = self.known.keys() - seen.keys() - kept
        reads = {
            key
            for key, status in seen.items()
            if force or key not in self.known or self.known[key].status != status
        }
        images = {key for key, known in self.known.items() if known.make is not None}
        storage = storage_of(catalogue.location)
        plan = plan_of(catalogue, force=force, accept_removals=True)
        if not reads and not drops and unlisted == self.unlisted:
            assert plan is None
            return
        assert plan is not None
        assert items(storage, plan) == {READ: reads, DROP: drops}
        assert plan.unchanged == len(images - reads - drops)
        assert plan.removed == len(images & drops)
        assert [(folder.root, folder.folder) for folder in plan.unlisted] == unlisted
        self.unlisted = unlisted
        list(Local(threads=1).run(storage, plan, [p.number for p in plan.partitions]))
        snapshot = commit(storage, plan)
        for key in drops:
            del self.known[key]
        for key in reads:
            self.known[key] = Known(seen[key], self.contents[key])
        self.check(catalogue.at(snapshot.number))

    def check(self, catalogue: Catalogue) -> None:
        """Holds the tables to what is known."""
        answer = catalogue.sql(
            "select root, file_path, Make from files join images using (file_id, file_path)"
        )
        assert {(row["root"], row["file_path"]): row["Make"] for row in answer.to_pylist()} == {
            key: known.make for key, known in self.known.items() if known.make is not None
        }
        others = catalogue.dataset("others").to_table(columns=["root", "file_path"]).to_pylist()
        assert sorted((row["root"], row["file_path"]) for row in others) == sorted(
            key for key, known in self.known.items() if known.make is None
        )


def _is_below(key: Key, folders: list[Key]) -> bool:
    return any(
        key[0] == root and (not folder or key[1].startswith(f"{folder}/"))
        for root, folder in folders
    )


ROOTS = st.sampled_from([0, 0, 0, 1])
PATHS = st.sampled_from(["a", "b", "b/a", "b/b", "b/c/a", "b/c/b", "b-", "c/a", "c/b", "d"])
OPERATIONS = st.one_of(
    st.tuples(st.just("write"), ROOTS, PATHS, st.booleans()),
    st.tuples(st.just("rename"), ROOTS, PATHS, PATHS),
    st.tuples(st.sampled_from(["touch", "delete"]), ROOTS, PATHS, st.none()),
    st.tuples(
        st.sampled_from(["prune", "lock"]), ROOTS, st.sampled_from(["b", "b/c", "c"]), st.none()
    ),
    st.tuples(st.sampled_from(["unmount", "unlock"]), ROOTS, st.just(""), st.none()),
    st.tuples(st.just("update"), ROOTS, st.just(""), st.sampled_from([False, False, True])),
)


def _operate(model: Model, operation: str, root: int, path: str, other: Any) -> None:
    """Does what can be done."""
    key = (root, path)
    away = model.root(root).with_suffix(".away")
    match operation:
        case "write" if model.root(root).is_dir():
            model.write(key, other)
        case "rename" if key in model.contents and not model.path((root, other)).exists():
            model.rename(key, (root, other))
        case "touch":
            os.utime(model.path(key), ns=(0, model.path(key).stat().st_mtime_ns + 1))
        case "delete":
            model.path(key).unlink()
        case "prune":
            shutil.rmtree(model.path(key))
        case "lock" if model.path(key).is_dir():
            model.lock(model.path(key))
        case "unlock":
            model.unlock()
        case "unmount" if away.exists():
            away.rename(model.root(root))
        case "unmount":
            model.root(root).rename(away)


_LONG = [("write", 0, f"{n:02}", n % 3 > 0) for n in range(12)]


class TestAModel:
    @given(operations=st.lists(OPERATIONS, max_size=25))
    @example(operations=[*_LONG, ("update", 0, "", False), ("prune", 0, "b", None)])
    @example(
        operations=[
            *[("write", 0, path, True) for path in ("a", "b/a", "b/c/a", "b/c/b", "c/a", "d")],
            ("update", 0, "", False),
            ("lock", 0, "b/c", None),
            ("delete", 0, "c/a", None),
            ("update", 0, "", False),
            ("unmount", 0, "", None),
            ("update", 0, "", True),
            ("unmount", 0, "", None),
            ("unlock", 0, "", None),
        ]
    )
    @settings(
        max_examples=repetitions(10, 2_000),
        deadline=None,
        suppress_health_check=[HealthCheck.function_scoped_fixture],
    )
    def test_of_files_that_come_change_go_and_cannot_be_seen(
        self, operations: list[tuple[str, int, str, Any]], monkeypatch: pytest.MonkeyPatch
    ) -> None:
        monkeypatch.setattr(plan_module, "MOST_FILES", 3)
        with unprivileged() as folder:
            model = Model(folder)
            for name in Model.ROOTS:
                (folder / name).mkdir()
            made = Catalogue.create(folder / "c", [folder / name for name in Model.ROOTS])
            try:
                for operation, root, path, other in [*operations, ("update", 0, "", False)]:
                    if operation == "update":
                        model.update(made, force=other)
                    else:
                        with suppress(OSError):
                            _operate(model, operation, root, path, other)
                model.update(made, force=False)  # to which there is nothing to do
            finally:
                for way in (model.root, lambda n: model.root(n).with_suffix(".away")):
                    for parent, folders, _ in (w for n in (0, 1) for w in os.walk(way(n))):
                        for name in folders:
                            (Path(parent) / name).chmod(0o700)


@pytest.fixture
def root(tmp_path: Path) -> Path:
    """A folder of four images and a file that is none."""
    folder = tmp_path / "root"
    make_tree(folder, {f"{name}.tif": photo(name) for name in "abcd"})
    make_tree(folder, {"notes.txt": b"no image"})
    return folder


@pytest.fixture
def catalogue(tmp_path: Path, root: Path) -> Catalogue:
    """A catalogue of the folder, up to date."""
    made = Catalogue.create(tmp_path / "catalogue", root)
    made.update()
    return made


def alter(catalogue: Catalogue, table: str, column: str, value: Any) -> None:
    """Puts another value into all rows of a column."""
    (path,) = (Path(catalogue.location) / table).iterdir()
    rows = pq.read_table(path, partitioning=None)
    place = rows.schema.get_field_index(column)
    kind = rows.schema.field(column)
    values = pa.array([value] * rows.num_rows, kind.type)
    path.unlink()
    pq.write_table(rows.set_column(place, kind, values), path)


class TestAFileIsReadAgain:
    IMAGES = ("a.tif", "b.tif", "c.tif", "d.tif")

    @pytest.mark.parametrize(
        ("status", "is_read"),
        [
            ("ok", False),
            ("warned", False),
            ("error", False),
            ("timeout", True),
            ("memory", True),
            ("crashed", True),
            ("unreadable", True),
        ],
    )
    def test_by_how_reading_it_ended(
        self, catalogue: Catalogue, status: str, is_read: bool
    ) -> None:
        assert reads_of(catalogue) == []
        alter(catalogue, "files", "status", status)
        assert reads_of(catalogue) == list(self.IMAGES if is_read else ())

    @pytest.mark.parametrize("value", [False, None])
    @pytest.mark.parametrize(("table", "expected"), [("files", IMAGES), ("others", ("notes.txt",))])
    def test_unless_it_had_settled(
        self, catalogue: Catalogue, table: str, expected: tuple[str, ...], value: bool | None
    ) -> None:
        alter(catalogue, table, "settled", value)
        assert reads_of(catalogue) == list(expected)

    @pytest.mark.parametrize("table", ["files", "others"])
    @pytest.mark.parametrize("value", [3, None])
    @pytest.mark.parametrize("column", ["size", "mtime_ns", "ctime_ns", "inode"])
    def test_when_one_number_is_another(
        self, catalogue: Catalogue, table: str, column: str, value: int | None
    ) -> None:
        alter(catalogue, table, column, value)
        assert reads_of(catalogue) == list(self.IMAGES if table == "files" else ["notes.txt"])

    def test_with_another_inode_unless_these_are_made_up(self, tmp_path: Path, root: Path) -> None:
        made = Catalogue.create(tmp_path / "new", root, use_inode=False)
        made.update()
        alter(made, "files", "inode", 3)
        assert reads_of(made) == []
        alter(made, "files", "size", 3)
        assert reads_of(made) == list(self.IMAGES)

    def test_when_it_is_asked_for(self, catalogue: Catalogue) -> None:
        assert reads_of(catalogue, force=True) == [*self.IMAGES, "notes.txt"]


class TestTooManyRemovals:
    @pytest.mark.parametrize(
        ("images", "gone", "is_refused"),
        [(1, 1, True), (4, 1, True), (5, 1, False), (9, 2, True), (10, 2, False), (10, 3, True)],
    )
    def test_are_more_than_a_fifth_of_the_images(
        self, tmp_path: Path, images: int, gone: int, is_refused: bool
    ) -> None:
        root = tmp_path / "root"
        make_tree(root, {f"{n}.tif": photo() for n in range(images)})
        make_tree(root, {f"{n}.txt": b"no image" for n in range(7)})
        made = Catalogue.create(tmp_path / "catalogue", root)
        made.update()
        for number in range(7):
            (root / f"{number}.txt").unlink()
        for number in range(gone):
            (root / f"{number}.tif").unlink()
        make_tree(root, {f"new/{n}.tif": photo() for n in range(50)})
        if is_refused:
            with pytest.raises(TooManyRemovalsError, match=f"{gone} of {images} files are gone"):
                plan_of(made)
            assert not (Path(made.location) / "work").exists()
        plan = plan_of(made, accept_removals=is_refused)
        assert plan is not None
        assert plan.removed == gone

    def test_are_none_where_a_root_is_not_there(self, catalogue: Catalogue, root: Path) -> None:
        root.rename(root.with_name("away"))
        plan = plan_of(catalogue)
        assert plan is not None
        assert (plan.unchanged, plan.removed, plan.partitions) == (4, 0, ())

    def test_are_all_where_a_root_is_empty(self, catalogue: Catalogue, root: Path) -> None:
        """Such as the folder on which a disk is mounted at other times."""
        root.rename(root.with_name("away"))
        root.mkdir()
        with pytest.raises(TooManyRemovalsError, match="4 of 4 files are gone"):
            plan_of(catalogue)


class TestPartitions:
    def _planned(self, tmp_path: Path, root: Path, **known: Any) -> Plan:
        storage = storage_of(tmp_path / "storage", make=True)
        plan = make_plan(storage, replace(EMPTY, **known), Options(), [str(root)])
        assert plan is not None
        read = items(storage, plan)[READ]
        assert len(read) == sum(partition.reads for partition in plan.partitions)
        begins = [partition.begin for partition in plan.partitions]
        ends = [partition.end for partition in plan.partitions]
        assert [*begins, None] == ["", *ends], "each begins where the one before ends"
        return plan

    @pytest.mark.parametrize(
        ("per_file", "per_byte", "most", "expected"),
        [
            (None, None, 100_000, [12]),
            (None, None, 5, [5, 5, 2]),
            (None, None, 4, [4, 4, 4]),
            (4.0, None, 100_000, [5, 5, 2]),
            (4.0, None, 3, [3, 3, 3, 3]),
            (30.0, None, 100_000, [1] * 12),
            (0.001, 0.001, 100_000, [5, 4, 3]),
        ],
    )
    def test_take_about_as_long_as_each_other(
        self,
        tmp_path: Path,
        monkeypatch: pytest.MonkeyPatch,
        per_file: float | None,
        per_byte: float | None,
        most: int,
        expected: list[int],
    ) -> None:
        monkeypatch.setattr(plan_module, "MOST_FILES", most)
        root = tmp_path / "root"
        make_tree(root, {f"{n:02}": b"x" * (17_000 if n == 5 else 990) for n in range(12)})
        plan = self._planned(tmp_path, root, seconds_per_file=per_file, seconds_per_byte=per_byte)
        assert [partition.reads for partition in plan.partitions] == expected

    def test_have_the_numbers_behind_those_of_all_parts_that_there_were(
        self, tmp_path: Path, root: Path, monkeypatch: pytest.MonkeyPatch
    ) -> None:
        monkeypatch.setattr(plan_module, "MOST_FILES", 2)
        plans = [self._planned(tmp_path / name, root, next_part=40) for name in ("one", "two")]
        assert [p.number for p in plans[0].partitions] == [40, 41, 42]
        assert plans[0].partitions == plans[1].partitions

    def test_of_a_root_that_is_new_leave_the_others_alone(
        self, catalogue: Catalogue, root: Path, tmp_path: Path
    ) -> None:
        make_tree(tmp_path / "more", {"x.tif": photo()})
        storage = storage_of(catalogue.location)
        snapshot = newest_snapshot(storage)
        plan = make_plan(
            storage, snapshot, catalogue.options, [*catalogue.roots, str(tmp_path / "more")]
        )
        assert plan is not None
        assert items(storage, plan) == {READ: {(1, "x.tif")}, DROP: set()}
        assert plan.carried == tuple(part.number for part in snapshot.parts)
        assert [partition.root for partition in plan.partitions] == [1]

    def test_of_many_new_files_are_planned_without_holding_all_of_them(
        self, tmp_path: Path, monkeypatch: pytest.MonkeyPatch
    ) -> None:
        files = repetitions(300_000, 10_000_000)
        most = 10_000
        monkeypatch.setattr(plan_module, "MOST_FILES", most)
        monkeypatch.setattr(plan_module, "FEW_FILES", most)

        def listed(*_: object) -> Iterator[Found]:
            for begin in range(0, files, 1_000):
                paths = [b"%08d/%s" % (n, b"x" * 91) for n in range(begin, begin + 1_000)]
                columns = [pa.array(paths, pa.binary()), *[pa.array(range(1_000))] * 4]
                yield Found(pa.RecordBatch.from_arrays(columns, schema=LISTED), [])

        monkeypatch.setattr(plan_module, "listed_files", listed)
        held: list[int] = []
        begun = pa.total_allocated_bytes()
        plan = make_plan(
            storage_of(tmp_path / "storage", make=True),
            EMPTY,
            Options(),
            [str(tmp_path)],
            progress=lambda _: held.append(pa.total_allocated_bytes() - begun),
        )
        assert plan is not None
        assert [partition.reads for partition in plan.partitions] == [most] * (files // most)
        assert len(held) == files // 1_000
        assert max(held) < 10 * most * 132, "of a few parts"


class Clock:
    """A clock that goes on by what is said to take time."""

    def __init__(self) -> None:
        self.now = 1_000.0

    def monotonic(self) -> float:
        return self.now


class TestWhatAFileTakes:
    @pytest.mark.parametrize(
        ("begin", "each", "files", "expected", "most_read"),
        [
            (0.0, 0.001, 5_000, 0.001, 1_000),
            (0.3, 0.0001, 100_000, 0.0001, 1_000),
            (0.3, 0.01, 5_000, 0.01, 400),
            (0.0, 4.0, 5_000, 4.0, 20),
            (0.5, 0.0, 1_000, 1e-6, 1_000),
            (0.0, 0.02, 7, 0.02, 7),
        ],
    )
    def test_is_found_out_from_some_of_them(
        self,
        monkeypatch: pytest.MonkeyPatch,
        begin: float,
        each: float,
        files: int,
        expected: float,
        most_read: int,
    ) -> None:
        clock = Clock()
        read: list[bytes] = []

        def take(
            options: Options,
            root: bytes,
            paths: Sequence[bytes],
            ids: Sequence[int],
            *,
            threads: int,
        ) -> Iterator[None]:
            assert list(ids) == list(range(len(paths)))
            assert (options.isolate, options.timeout, root, threads) == (True, 5.0, b"/root", 1)
            read.extend(paths)
            clock.now += begin + each * len(paths)
            yield None

        monkeypatch.setattr(_reading, "time", clock)
        monkeypatch.setattr(_reading, "read_tables", take)
        paths = [b"%d" % number for number in range(files)]
        measured = _reading.seconds_per_file(Options(), b"/root", paths)
        assert measured == pytest.approx(expected)
        assert len(read) == len(set(read)) == most_read
        assert read == sorted(read, key=int)

    def test_is_not_known_where_they_cannot_be_read(self, monkeypatch: pytest.MonkeyPatch) -> None:
        def fail(*_: object, **__: object) -> Iterator[None]:
            raise RuntimeError("the program was killed")
            yield

        monkeypatch.setattr(_reading, "read_tables", fail)
        assert _reading.seconds_per_file(Options(), b"/root", [b"a"]) is None

    def test_is_found_out_before_the_first_are_shared_out(
        self, tmp_path: Path, monkeypatch: pytest.MonkeyPatch
    ) -> None:
        asked: list[int] = []

        def measured(options: Options, root: bytes, paths: Sequence[bytes]) -> float:
            asked.append(len(paths))
            taken = _reading.seconds_per_file(options, root, paths)
            assert taken is not None
            assert 0 < taken < 1
            return 2.5

        monkeypatch.setattr(plan_module, "MEASURED_FILES", 30)
        monkeypatch.setattr(plan_module, "seconds_per_file", measured)
        make_tree(tmp_path / "root", {f"{n:02}": photo() for n in range(20)})
        make_tree(tmp_path / "root", {f"{n:02}": b"II*\0\xff" for n in range(20, 40)})
        for known, expected in ((None, [8] * 5), (10.0, [2] * 20)):
            storage = storage_of(tmp_path / f"storage-{known}", make=True)
            snapshot = replace(EMPTY, seconds_per_file=known)
            plan = make_plan(storage, snapshot, Options(), [str(tmp_path / "root")])
            assert plan is not None
            assert [partition.reads for partition in plan.partitions] == expected
        assert asked == [40]

    @pytest.mark.parametrize(
        ("receipts", "expected"),
        [
            ([], 7.0),
            ([(99, 99, 1.0)], 7.0),
            ([(100, 100, 1.0)], 0.01),
            ([(100, 200, 1.0), (300, 300, 1.0)], 0.005),
            ([(100, 201, 1.0), (300, 300, 3.0)], 0.01),
            ([(5_000, 50_000, 900.0)], 7.0),
        ],
    )
    def test_is_told_by_partitions_that_mostly_read(
        self, receipts: list[tuple[int, int, float]], expected: float
    ) -> None:
        done = [
            Receipt(
                partition=1,
                attempt="",
                part=Part(1, 0, "", "", {"files": PartFile("", files, 0)}, 0),
                files=files,
                read=read,
                failed=0,
                bytes_read=0,
                seconds=seconds,
            )
            for read, files, seconds in receipts
        ]
        parent = replace(EMPTY, seconds_per_file=7.0)
        assert _commit._seconds_per_file(parent, done) == pytest.approx(expected)


OPENINGS = """
import sys
from ifdsweep.catalogue import Catalogue
print(Catalogue.open(sys.argv[1]).update())
"""


def openings(catalogue: Catalogue, log: Path) -> list[str]:
    """The paths of the files, and of no folders, that an update in another process opens."""
    subprocess.run(
        [
            *("strace", "-f", "-qq", "-s", "4096", "-o", log),
            *("-e", "trace=open,openat,openat2,creat,open_by_handle_at,execve"),
            *(sys.executable, "-c", OPENINGS, catalogue.location),
        ],
        check=True,
        capture_output=True,
    )
    lines = log.read_text().splitlines()
    assert any("execve(" in line for line in lines), "it was watched"
    return [line.split('"')[1] for line in lines if "O_DIRECTORY" not in line and '"' in line]


class TestARescan:
    @pytest.mark.skipif(shutil.which("strace") is None, reason="there is no strace")
    def test_opens_no_file_that_did_not_change(self, tmp_path: Path) -> None:
        root = tmp_path / "root"
        count = repetitions(300, 1_000_000)
        names = [f"{n // 500:04}/{n:06}.{'txt' if n % 10 == 9 else 'tif'}" for n in range(count)]
        image = photo()
        make_tree(root, {n: b"no image" if n.endswith("txt") else image for n in names})
        made = Catalogue.create(tmp_path / "catalogue", root)
        made.update()
        changed = {names[0], names[count // 2], names[-1]}
        make_tree(root, dict.fromkeys(changed, photo("Changed")))
        begin = f"{root}/"
        opened = openings(made, tmp_path / "log")
        read = {path[len(begin) :] for path in opened if path.startswith(begin)}
        assert read == changed, "and so the files that are opened are seen"
        again = openings(made, tmp_path / "log")
        found = {path[len(begin) :] for path in again if path.startswith(begin)}
        assert found <= changed, "those that had only just changed are read again"
        assert isinstance(Catalogue.open(made.location).snapshot, Snapshot)
        assert Catalogue.open(made.location).snapshot.summary != Summary()
