"""Where catalogues lie: folders that others can reach, too."""

import errno
import os
import threading
import time
from pathlib import Path

import pytest

pytest.importorskip("pyarrow")

from catalogue_trees import make_tree, photo, unprivileged

from ifdsweep.catalogue import Catalogue, CatalogueError, _storage
from ifdsweep.catalogue._storage import FolderStorage, storage_of


@pytest.fixture
def storage(tmp_path: Path) -> FolderStorage:
    made = storage_of(tmp_path / "catalogue", make=True)
    assert isinstance(made, FolderStorage)
    return made


@pytest.fixture
def catalogue(tmp_path: Path) -> Catalogue:
    make_tree(tmp_path / "root", {"a.tif": photo()})
    made = Catalogue.create(tmp_path / "catalogue", tmp_path / "root")
    made.update()
    return made


class TestFiles:
    def test_are_there_whole_or_not_at_all(self, storage: FolderStorage) -> None:
        block = storage.writing("work/1/a")
        block.__enter__().write(b"half")
        assert not block.__exit__(OSError, OSError("no more"), None)
        assert list(storage.names("")) == []
        with storage.writing("work/1/a") as file:
            file.write(b"whole")
        assert storage.read("work/1/a") == b"whole"

    def test_have_sizes(self, storage: FolderStorage) -> None:
        assert storage.create("work/1/a", b"12345")
        assert storage.sizes(["work/1/a", "work/1/b"]) == [5, None]

    def test_are_made_by_the_first_alone(self, storage: FolderStorage) -> None:
        made: list[bool] = []

        def make() -> None:
            made.append(storage.create("snapshots/1", b"one"))

        threads = [threading.Thread(target=make) for _ in range(16)]
        for thread in threads:
            thread.start()
        for thread in threads:
            thread.join()
        assert sorted(made) == [False] * 15 + [True]
        assert list(storage.names("")) == ["snapshots/1"]

    def test_are_nothing_that_one_waits_for(self, storage: FolderStorage) -> None:
        os.mkfifo(Path(storage.location) / "pipe")
        with pytest.raises(OSError, match="Not a regular file"):
            storage.read("pipe")

    def test_bring_no_folder_back_that_is_gone(self, tmp_path: Path) -> None:
        storage = FolderStorage(str(tmp_path / "gone"))
        with pytest.raises(FileNotFoundError):
            storage.create("snapshots/1", b"")
        assert not (tmp_path / "gone").exists()


class TestWithoutLinks:
    """As on file systems that have none."""

    @pytest.fixture(autouse=True)
    def _refuse_links(self, monkeypatch: pytest.MonkeyPatch) -> None:
        def refuse(*_: object, **__: object) -> None:
            raise OSError(errno.EPERM, "no links here")

        monkeypatch.setattr(os, "link", refuse)

    def test_are_made_by_the_first_alone(self, storage: FolderStorage) -> None:
        TestFiles().test_are_made_by_the_first_alone(storage)

    def test_the_claim_of_who_was_killed_does_not_last(
        self, storage: FolderStorage, monkeypatch: pytest.MonkeyPatch
    ) -> None:
        monkeypatch.setattr(_storage, "_CLAIM_SECONDS", 0.05)
        (Path(storage.location) / "a.json.claim").touch()
        begun = time.monotonic()
        assert storage.create("a.json", b"made")
        assert 0.05 < time.monotonic() - begun < 5
        assert list(storage.names("")) == ["a.json"]

    def test_a_catalogue_is_what_it_is_with_them(self, catalogue: Catalogue) -> None:
        assert catalogue.images.count_rows() == 1
        assert catalogue.vacuum() == []


class TestReadOnly:
    def test_folders_are_told_and_stay_as_they_are(self) -> None:
        with unprivileged() as folder:
            make_tree(folder / "root", {"a.tif": photo()})
            made = Catalogue.create(folder / "catalogue", folder / "root")
            made.update()
            make_tree(folder / "root", {"b.tif": photo()})
            there = [path for path, _, _ in os.walk(made.location)]
            for path in there:
                os.chmod(path, 0o555)
            with pytest.raises(CatalogueError, match=r"Permission denied: '.*/catalogue/work'"):
                made.update()
            assert Catalogue.open(made.location).images.count_rows() == 1
            with pytest.raises(CatalogueError, match="catalogue/new: Permission denied"):
                Catalogue.create(folder / "catalogue/new", folder / "root")
            for path in there:
                os.chmod(path, 0o755)
            assert made.update().files == 2


class TestVacuum:
    def test_leaves_what_is_not_of_the_catalogue(self, catalogue: Catalogue) -> None:
        folder = Path(catalogue.location)
        foreign = ["README", "images/mine.parquet", "snapshots/notes.txt", "work/list", "x/y"]
        litter = [
            "images/s000001-p00001-" + "0" * 32 + ".parquet",
            "snapshots/." + "0" * 32 + ".part",
            "work/000001/attempts/00001.0/files.parquet",
        ]
        make_tree(folder, dict.fromkeys([*foreign, *litter], b""))
        assert sorted(catalogue.vacuum()) == sorted(litter)
        assert all((folder / name).exists() for name in foreign)
        assert catalogue.images.count_rows() == 1


class TestParts:
    def test_that_were_cut_are_told_before_they_are_seen(
        self, tmp_path: Path, monkeypatch: pytest.MonkeyPatch, catalogue: Catalogue
    ) -> None:
        make_tree(tmp_path / "root", {"b.tif": photo("Two")})

        def cut(step: str) -> None:
            if step == "receipt-written":
                for path in Path(catalogue.location).glob("work/000002/attempts/*/images.parquet"):
                    os.truncate(path, 100)

        monkeypatch.setattr("ifdsweep.catalogue._partition.reached", cut)
        complaint = r"it has 100 bytes and not [\d,]+, as when it was made; remove work/000002 and"
        with pytest.raises(CatalogueError, match=complaint):
            catalogue.update()
        assert Catalogue.open(catalogue.location).snapshot.number == 1
