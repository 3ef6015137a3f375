"""Catalogues: what their tables hold, and that updates keep them up to date."""

import json
import os
import pickle
import time
from pathlib import Path
from typing import Any

import pyarrow as pa
import pyarrow.compute as pc
import pyarrow.parquet as pq
import pytest
from catalogue_trees import (
    digest,
    make_tree,
    photo,
    rows,
    settled,  # noqa: F401
    unprivileged,
)
from conftest import corpus_files, repetitions, sample_files
from hypothesis import HealthCheck, given
from hypothesis import settings as given_settings
from hypothesis import strategies as st

from ifdsweep import table
from ifdsweep.catalogue import (
    Catalogue,
    CatalogueBusyError,
    CatalogueError,
    TooManyRemovalsError,
    _partition,
)
from ifdsweep.catalogue import _plan as plan_module
from ifdsweep.catalogue._model import TABLES
from ifdsweep.catalogue._storage import FolderStorage, storage_of
from ifdsweep.catalogue._tables import schema_of

pytestmark = pytest.mark.usefixtures("settled")

TREE = {
    "a.tif": photo("One"),
    "b/c.tif": photo("Two"),
    "b/d/e.tif": photo("Three"),
    "b-1.tif": photo("Four"),
    "b.txt": b"no image",
    "f.tif": photo("Five"),
}


@pytest.fixture
def root(tmp_path: Path) -> Path:
    """A folder of images."""
    folder = tmp_path / "root"
    make_tree(folder, TREE)
    return folder


@pytest.fixture
def catalogue(tmp_path: Path, root: Path) -> Catalogue:
    """A catalogue of the folder, up to date."""
    made = Catalogue.create(tmp_path / "catalogue", root)
    made.update()
    return made


def makes(catalogue: Catalogue) -> dict[str, str]:
    """Who made the images, by the paths of the files."""
    images = catalogue.images.to_table(columns=["file_path", "Make"])
    return dict(zip(images["file_path"].to_pylist(), images["Make"].to_pylist(), strict=True))


class TestTables:
    def test_hold_what_tables_of_the_same_files_hold(self, tmp_path: Path) -> None:
        folders = sorted({path.parent for path in (*sample_files(), *corpus_files())})
        for number, folder in enumerate(folders):
            made = Catalogue.create(tmp_path / str(number), folder, tags="all")
            made.update()
            for layout in ("files", "images", "tags", "warnings"):
                columns: Any = "core" if layout == "images" else "all"
                expected = table(folder, layout, columns=columns).to_arrow()
                found = made.dataset(layout).to_table()
                for name in expected.column_names:
                    if name in ("file_id", "file_path", "path_bytes", "root"):
                        continue
                    # As texts: what is no number is not equal to itself.
                    assert str(found[name].to_pylist()) == str(expected[name].to_pylist()), name
                paths = [f"{folder}/{path}" for path in found["file_path"].to_pylist()]
                assert paths == expected["file_path"].to_pylist()

    def test_lose_nothing_when_tags_have_the_rest_alone(self, tmp_path: Path) -> None:
        """Each entry has a row in `tags`, or its tag a value in the row of its image."""
        folder = sample_files()[0].parent
        part = Catalogue.create(tmp_path / "rest", folder, columns="all")
        part.update()
        whole = Catalogue.create(tmp_path / "all", folder, columns="all", tags="all")
        whole.update()
        key = ["file_path", "dir_path", "ordinal"]
        left = {tuple(row[name] for name in key) for row in rows(part, "tags")}
        assert 0 < len(left) < len(rows(whole, "tags"))
        names = set(part.images.schema.names)
        prefixes = {"primary": "", "exif": "Exif_", "gps": "", "interoperability": "Interop_"}
        for row in rows(whole, "tags"):
            if tuple(row[name] for name in key) not in left:
                public = row["name"]
                name = prefixes[row["dir_kind"]] + public
                renamed = {"Width", "Length", "ImageWidth", "ImageLength"}
                assert {name, f"{name}_code", public} & names or public in renamed, row

    def test_have_one_schema_in_every_part(self, catalogue: Catalogue, root: Path) -> None:
        make_tree(root, {"b/new.tif": photo("Six"), "zz.tif": b"II*\0\xff\xff\xff\xff"})
        catalogue.update()
        folder = Path(catalogue.location)
        for name in TABLES:
            parts = sorted((folder / name).iterdir())
            schema = schema_of(name, catalogue.options)
            assert all(pq.read_schema(part).equals(schema) for part in parts)

    def test_join_by_the_number_of_the_file(self, catalogue: Catalogue) -> None:
        answer = catalogue.sql(
            "select f.file_path, i.Make, t.tag from files f join images i using (file_id) "
            "left join tags t using (file_id) order by all"
        )
        assert answer.to_pylist() == [
            {"file_path": path, "Make": make, "tag": 65_001}
            for path, make in sorted(makes(catalogue).items())
        ]

    def test_are_sorted_by_path_folder_by_folder(self, catalogue: Catalogue) -> None:
        files = catalogue.files.to_table()
        assert files["file_path"].to_pylist() == [
            "a.tif",
            "b/c.tif",
            "b/d/e.tif",
            "b-1.tif",
            "f.tif",
        ]
        assert files["file_id"].to_pylist() == [(1 << 24) + n for n in (0, 1, 2, 3, 5)]
        others = catalogue.dataset("others").to_table()
        assert others["file_path"].to_pylist() == ["b.txt"]
        assert others["file_id"].to_pylist() == [(1 << 24) + 4]

    def test_of_an_empty_catalogue_have_columns_and_no_rows(self, tmp_path: Path) -> None:
        (tmp_path / "root").mkdir()
        made = Catalogue.create(tmp_path / "catalogue", tmp_path / "root")
        for state in ("created", "updated"):
            for name in TABLES:
                assert made.dataset(name).count_rows() == 0, state
                assert made.dataset(name).schema.equals(schema_of(name, made.options))
            assert made.sql("select count(*) n from images").to_pylist() == [{"n": 0}]
            assert made.failures.num_rows == 0
            assert made.update().files == 0

    def test_keep_names_that_are_no_text(self, tmp_path: Path) -> None:
        folder = os.fsencode(tmp_path / "root")
        os.makedirs(folder + b"/\xff")
        for name in (b"\xff/a\n.tif", b"x\xfe.tif"):
            Path(os.fsdecode(folder + b"/" + name)).write_bytes(photo())
        made = Catalogue.create(tmp_path / "catalogue", os.fsdecode(folder))
        made.update()
        found = made.files.to_table()
        assert found["path_bytes"].to_pylist() == [b"x\xfe.tif", b"\xff/a\n.tif"]
        assert found["file_path"].to_pylist() == ["x\ufffd.tif", "\ufffd/a\n.tif"]
        assert made.update().read == 0

    def test_are_of_several_roots(self, tmp_path: Path) -> None:
        for name in ("one", "two"):
            make_tree(tmp_path / name, {"same.tif": photo(name)})
        made = Catalogue.create(tmp_path / "c", [tmp_path / "one", tmp_path / "two"])
        made.update()
        answer = made.sql(
            "select root, f.file_path, Make "
            "from files f join images i using (file_id) order by root"
        )
        assert answer.to_pylist() == [
            {"root": 0, "file_path": "same.tif", "Make": "one"},
            {"root": 1, "file_path": "same.tif", "Make": "two"},
        ]

    def test_tell_of_files_that_cannot_be_read(self, catalogue: Catalogue, root: Path) -> None:
        (root / "gone.tif").symlink_to("nowhere")
        (root / "cut.tif").write_bytes(b"II*\0\xff\xff\xff\xff")
        summary = catalogue.update()
        assert summary.failed == 2
        failures = catalogue.failures.to_pylist()
        assert [(row["file_path"], row["status"]) for row in failures] == [
            ("cut.tif", "error"),
            ("gone.tif", "unreadable"),
        ]
        assert catalogue.update().read == 1, "what could not be read is tried again"


class TestAnUpdate:
    def test_makes_no_snapshot_when_nothing_changed(self, catalogue: Catalogue) -> None:
        before = [s.number for s in catalogue.snapshots]
        summary = catalogue.update()
        assert (summary.read, summary.unchanged, summary.partitions) == (0, 5, 0)
        assert [s.number for s in catalogue.snapshots] == before
        assert not (Path(catalogue.location) / "work").exists()

    def test_reads_what_is_new_or_changed_alone(self, catalogue: Catalogue, root: Path) -> None:
        make_tree(root, {"b/c.tif": photo("Zwei", 9), "b/new.tif": photo("Six")})
        summary = catalogue.update()
        assert (summary.read, summary.unchanged, summary.removed) == (2, 4, 0)
        assert makes(catalogue)["b/c.tif"] == "Zwei"
        assert makes(catalogue)["b/new.tif"] == "Six"

    def test_sees_a_change_that_keeps_size_and_time(self, catalogue: Catalogue, root: Path) -> None:
        path = root / "a.tif"
        status = path.stat()
        path.write_bytes(photo("Eno"))
        os.utime(path, ns=(status.st_atime_ns, status.st_mtime_ns))
        assert path.stat().st_size == status.st_size
        assert catalogue.update().read == 1
        assert makes(catalogue)["a.tif"] == "Eno"

    def test_reads_again_what_had_just_changed(
        self, tmp_path: Path, root: Path, monkeypatch: pytest.MonkeyPatch
    ) -> None:
        monkeypatch.setattr("ifdsweep.catalogue._partition.GRAIN_NS", 2_000_000_000)
        made = Catalogue.create(tmp_path / "new", root)
        assert made.update().read == 6
        assert not any(made.files.to_table()["settled"].to_pylist())
        assert made.update().read == 6

    def test_drops_what_is_gone(self, catalogue: Catalogue, root: Path) -> None:
        (root / "f.tif").unlink()
        assert catalogue.update().removed == 1
        assert "f.tif" not in makes(catalogue)

    def test_refuses_to_drop_more_than_a_fifth_unless_told(
        self, catalogue: Catalogue, root: Path
    ) -> None:
        before = digest(catalogue)
        for name in ("a.tif", "f.tif"):
            (root / name).unlink()
        with pytest.raises(TooManyRemovalsError, match="2 of 5 files are gone"):
            catalogue.update()
        assert digest(Catalogue.open(catalogue.location)) == before
        assert not (Path(catalogue.location) / "work").exists()
        assert catalogue.update(accept_removals=True).removed == 2

    def test_keeps_what_is_in_a_root_that_is_not_there(
        self, catalogue: Catalogue, root: Path
    ) -> None:
        before = digest(catalogue)
        root.rename(root.with_name("elsewhere"))
        summary = catalogue.update()
        assert (summary.files, summary.removed, summary.unlisted) == (5, 0, 1)
        assert digest(catalogue) == before
        assert catalogue.failures.to_pylist() == [
            {
                "root": 0,
                "file_path": "",
                "status": "unlisted",
                "error_id": None,
                "error_text": "No such file or directory",
            }
        ]
        number = catalogue.snapshot.number
        catalogue.update()
        assert catalogue.snapshot.number == number
        root.with_name("elsewhere").rename(root)
        assert catalogue.update().read == 0
        assert catalogue.failures.num_rows == 0

    def test_keeps_what_is_in_a_folder_that_cannot_be_listed(self) -> None:
        with unprivileged() as folder:
            root = folder / "root"
            make_tree(root, TREE)
            made = Catalogue.create(folder / "catalogue", root)
            made.update()
            before = makes(made)
            (root / "b").chmod(0)
            try:
                summary = made.update()
            finally:
                (root / "b").chmod(0o755)
            assert (summary.removed, summary.unlisted) == (0, 1)
            assert makes(made) == before
            assert [row["file_path"] for row in made.failures.to_pylist()] == ["b"]

    def test_with_force_reads_all(self, catalogue: Catalogue) -> None:
        before = digest(catalogue)
        assert catalogue.update(force=True).read == 6
        assert digest(catalogue) == before

    def test_does_not_look_into_the_catalogue_itself(self, root: Path) -> None:
        made = Catalogue.create(root / "b" / "a [strange] {folder}", root)
        assert made.update().files == 5
        assert made.update().partitions == 0

    def test_carries_parts_that_nothing_changed_in(
        self, tmp_path: Path, root: Path, monkeypatch: pytest.MonkeyPatch
    ) -> None:
        monkeypatch.setattr(plan_module, "MOST_FILES", 2)
        made = Catalogue.create(tmp_path / "catalogue", root)
        assert made.update().partitions == 3
        before = {part.first: part.number for part in made.snapshot.parts}
        (root / "b/d/e.tif").write_bytes(photo("Drei", 7))
        summary = made.update()
        assert (summary.partitions, summary.read) == (1, 1)
        after = {part.first: part.number for part in made.snapshot.parts}
        assert after.keys() == before.keys()
        assert sum(before[first] == number for first, number in after.items()) == 2
        fresh = Catalogue.create(tmp_path / "fresh", root)
        fresh.update()
        assert digest(made) == digest(fresh)

    def test_leaves_older_snapshots_readable_until_vacuum(
        self, catalogue: Catalogue, root: Path
    ) -> None:
        digests = {1: digest(catalogue)}
        for number in range(2, 5):
            make_tree(root, {"a.tif": photo(f"Make {number}")})
            catalogue.update()
            digests[number] = digest(catalogue)
        assert len(set(digests.values())) == 4
        for number, expected in digests.items():
            assert digest(catalogue.at(number)) == expected
        listed = catalogue.vacuum(keep=2, dry_run=True)
        assert catalogue.vacuum(keep=2) == listed
        assert [snapshot.number for snapshot in catalogue.snapshots] == [3, 4]
        assert digest(catalogue.at(3)) == digests[3]
        assert digest(catalogue.at(4)) == digests[4]
        assert catalogue.vacuum(keep=2) == []
        with pytest.raises(CatalogueError, match="there is no snapshot 1"):
            catalogue.at(1)

    def test_is_refused_while_another_is_at_work(self, catalogue: Catalogue) -> None:
        with storage_of(catalogue.location).lock():
            for action in (catalogue.update, catalogue.vacuum):
                with pytest.raises(CatalogueBusyError, match=f"process {os.getpid()} on "):
                    action()

    def test_that_was_slower_changes_nothing_where_there_are_no_locks(
        self, catalogue: Catalogue, root: Path, monkeypatch: pytest.MonkeyPatch
    ) -> None:
        import contextlib

        from ifdsweep.catalogue import _steps

        monkeypatch.setattr(FolderStorage, "lock", lambda _: contextlib.nullcontext())
        make_tree(root, {"new.tif": photo("Six")})
        other = Catalogue.open(catalogue.location)

        def overtake(step: str) -> None:
            if step == "snapshot-prepared":
                monkeypatch.setattr(_steps, "observer", None)
                other.update()

        monkeypatch.setattr(_steps, "observer", overtake)
        with pytest.raises(CatalogueBusyError, match="this one changed nothing"):
            catalogue.update()
        fresh = Catalogue.open(catalogue.location)
        assert fresh.snapshot.number == 2
        assert makes(fresh)["new.tif"] == "Six"
        assert fresh.vacuum(keep=2) == []


OPERATIONS = st.lists(
    st.tuples(
        st.sampled_from(["write", "write", "touch", "rename", "delete", "prune", "hide", "update"]),
        st.sampled_from(["a", "b", "b/a", "b/b", "b/c/a", "b-", "c/a"]),
        st.sampled_from(["a", "b/b", "b/d/a", "d", "c/b"]),
        st.integers(0, 5),
    ),
    max_size=12,
)


class TestSettled:
    """Whether files may change again without other times."""

    SECOND = 1_000_000_000

    @pytest.mark.parametrize(
        ("changed", "status", "expected"),
        [
            (-3600, -3600, True),
            (-3600, 0, False),
            (0, -3600, False),
            (-1, -1, False),
            (-3, -3, True),
            (3600, -3600, True),  # a camera's clock, or that of another machine
            (3600, 3600, True),
            (3600, 0, False),
            (1, 1, False),
            (None, -3600, False),
        ],
    )
    def test_is_told_by_both_times(
        self,
        monkeypatch: pytest.MonkeyPatch,
        changed: int | None,
        status: int | None,
        expected: bool,
    ) -> None:
        monkeypatch.setattr(_partition, "GRAIN_NS", 2 * self.SECOND)
        now = time.time_ns()

        def times(seconds: int | None) -> pa.Array:
            return pa.array([None if seconds is None else now + seconds * self.SECOND], pa.int64())

        assert _partition._settled(times(changed), times(status), now).to_pylist() == [expected]


class TestAModel:
    """Whatever happens to the files, a catalogue says what one that is made anew says."""

    @given(operations=OPERATIONS)
    @given_settings(
        max_examples=repetitions(15, 500),
        deadline=None,
        suppress_health_check=[HealthCheck.function_scoped_fixture],
    )
    def test_of_files_that_come_change_and_go(
        self,
        operations: list[tuple[str, str, str, int]],
        tmp_path_factory: pytest.TempPathFactory,
        monkeypatch: pytest.MonkeyPatch,
    ) -> None:
        monkeypatch.setattr(plan_module, "MOST_FILES", 3)
        folder = tmp_path_factory.mktemp("model")
        root = folder / "root"
        root.mkdir()
        made = Catalogue.create(folder / "catalogue", root)
        for operation, one, other, number in [*operations, ("update", "", "", 0)]:
            _operate(root, operation, one, other, number)
            if operation != "update":
                continue
            known = makes(made)
            summary = made.update(accept_removals=True)
            fresh = Catalogue.create(
                folder / f"fresh-{made.snapshot.number}-{os.urandom(4).hex()}", root
            )
            fresh.update()
            assert digest(made) == digest(fresh)
            assert summary.files == fresh.snapshot.summary.files
            assert summary.unchanged + summary.removed <= len(known)
            assert made.update(accept_removals=True).read == 0


def _operate(root: Path, operation: str, one: str, other: str, number: int) -> None:
    path = root / f"{one}.tif"
    match operation:
        case "write":
            content = b"no image" if number == 5 else photo(f"Make {number}")
            make_tree(root, {f"{one}.tif": content})
        case "touch" if path.exists():
            os.utime(path, ns=(0, number * 10**9))
        case "rename" if path.exists():
            (root / other).parent.mkdir(parents=True, exist_ok=True)
            path.rename(root / f"{other}.tif")
        case "delete":
            path.unlink(missing_ok=True)
        case "prune":
            import shutil

            shutil.rmtree(root / "b", ignore_errors=True)


class TestOpening:
    def test_fails_where_there_is_none(self, tmp_path: Path) -> None:
        with pytest.raises(CatalogueError, match="there is no catalogue"):
            Catalogue.open(tmp_path)
        with pytest.raises(CatalogueError, match="there is no catalogue"):
            Catalogue.open(tmp_path / "nothing")

    @pytest.mark.parametrize(
        ("content", "complaint"),
        [
            (b"", "Expecting value"),
            (b"[]", "Description: a value that does not belong there"),
            (b"{}", "Description: members are missing: format, options, roots"),
            (b'{"format": "1", "roots": [], "options": {}}', "Description.format: a value"),
            (b'{"format": 1, "roots": [1], "options": {}}', r"Description.roots\[0\]: a value"),
            (b'{"format": 1, "roots": [], "options": {"x": 1}}', "unknown members: x"),
            (b'{"format": 9, "roots": [], "options": {}}', "a later version of ifdsweep made it"),
            (b"[" * 100_000, "recursion"),
            (b"\xff\xfe", "codec can't decode|Expecting value"),
        ],
    )
    def test_fails_where_it_is_damaged(
        self, tmp_path: Path, content: bytes, complaint: str
    ) -> None:
        (tmp_path / "catalogue.json").write_bytes(content)
        with pytest.raises(CatalogueError, match=complaint):
            Catalogue.open(tmp_path)

    def test_fails_where_the_newest_snapshot_is_damaged(self, catalogue: Catalogue) -> None:
        name = Path(catalogue.location) / "snapshots/000001.json"
        name.write_bytes(name.read_bytes()[:-40])
        with pytest.raises(CatalogueError, match=r"snapshots/000001\.json: "):
            Catalogue.open(catalogue.location)

    def test_finds_it_where_it_was_moved_to(self, catalogue: Catalogue, tmp_path: Path) -> None:
        before = digest(catalogue)
        os.rename(catalogue.location, tmp_path / "moved")
        moved = Catalogue.open(tmp_path / "moved")
        assert digest(moved) == before
        assert moved.update().read == 0


class TestShowing:
    def test_tells_how_much_there_is(self, catalogue: Catalogue) -> None:
        assert [catalogue.tables[name].rows for name in TABLES] == [5, 5, 5, 0, 1]
        assert [catalogue.tables[name].parts for name in TABLES] == [1, 1, 1, 0, 1]
        for name in TABLES:
            files = (Path(catalogue.location) / name).glob("*")
            assert catalogue.tables[name].bytes == sum(file.stat().st_size for file in files)

    def test_has_files_that_are_no_images(self, catalogue: Catalogue) -> None:
        assert catalogue.others.to_table()["file_path"].to_pylist() == ["b.txt"]

    def test_is_a_table_in_notebooks_without_markup_of_names(self, tmp_path: Path) -> None:
        (tmp_path / "root").mkdir()
        made = Catalogue.create(tmp_path / "<b>\u202e", tmp_path / "root")
        page = made._repr_html_()
        assert page.startswith("<div><p>Catalogue /")
        assert "&lt;b&gt;" in page
        assert "<b>" not in page
        assert "\u202e" not in page
        assert page.count("<tr>") == 1 + len(TABLES)


class TestTheClock:
    def test_is_doubted_when_snapshots_are_of_the_future(self, catalogue: Catalogue) -> None:
        path = Path(catalogue.location) / "snapshots/000001.json"
        snapshot = json.loads(path.read_bytes())
        path.write_text(json.dumps({**snapshot, "ended": time.time() + 3600}))
        with pytest.warns(UserWarning, match="snapshot 1 was made in the future") as told:
            Catalogue.open(catalogue.location).update()
        assert len(told) == 1


class TestCreating:
    def test_leaves_what_is_there(self, catalogue: Catalogue, root: Path) -> None:
        with pytest.raises(CatalogueError, match="there is something already"):
            Catalogue.create(catalogue.location, root)
        with pytest.raises(CatalogueError, match="there is something already"):
            Catalogue.create(root, root)

    @pytest.mark.parametrize(
        ("options", "error", "complaint"),
        [
            ({"colour": 1}, TypeError, "there is no option 'colour'; options are all_files, "),
            ({"tags": "some"}, ValueError, "Options.tags: a value"),
            ({"columns": ["Mak"]}, ValueError, "columns: .*Make"),
            ({"max_value": "1"}, ValueError, "Options.max_value"),
        ],
    )
    def test_refuses_options_that_there_are_not(
        self,
        tmp_path: Path,
        root: Path,
        options: dict[str, Any],
        error: type[Exception],
        complaint: str,
    ) -> None:
        with pytest.raises(error, match=complaint):
            Catalogue.create(tmp_path / "new", root, **options)
        assert not (tmp_path / "new").exists()

    def test_takes_columns_by_name(self, tmp_path: Path, root: Path) -> None:
        made = Catalogue.create(tmp_path / "new", root, columns=["Make"], tags="none")
        made.update()
        assert made.images.schema.names == ["file_id", "file_path", "dir_path", "Make"]
        assert made.tags.count_rows() == 0

    def test_chooses_files_by_patterns(self, tmp_path: Path, root: Path) -> None:
        made = Catalogue.create(tmp_path / "new", root, include="*.tif", exclude=["b/d/"])
        assert made.update().files == 4
        assert made.dataset("others").count_rows() == 0

    def test_pickles_as_what_it_is(self, catalogue: Catalogue) -> None:
        storage = pickle.loads(pickle.dumps(storage_of(catalogue.location)))
        assert digest(Catalogue.open(storage)) == digest(catalogue)
        assert pc.sum(pa.array([1])).as_py() == 1
