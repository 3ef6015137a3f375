"""Catalogues in an object store, which here is a server of this machine's own."""

import pickle
from collections.abc import Iterator
from pathlib import Path

import boto3
import pytest
from catalogue_trees import digest, make_tree, photo, settled  # noqa: F401
from moto.server import ThreadedMotoServer

from ifdsweep.catalogue import Catalogue, CatalogueBusyError, CatalogueError, _steps
from ifdsweep.catalogue._objects import ObjectStorage
from ifdsweep.catalogue._storage import storage_of

pytestmark = [pytest.mark.python, pytest.mark.usefixtures("settled")]

BUCKET = "archive"


@pytest.fixture(scope="module")
def server() -> Iterator[str]:
    """The address of a server."""
    made = ThreadedMotoServer(ip_address="127.0.0.1", port=0, verbose=False)
    made.start()
    host, port = made.get_host_and_port()
    yield f"http://{host}:{port}"
    made.stop()


@pytest.fixture
def location(server: str, monkeypatch: pytest.MonkeyPatch, request: pytest.FixtureRequest) -> str:
    """A place in a bucket that nobody else has."""
    for name in ("http_proxy", "https_proxy", "all_proxy"):
        monkeypatch.delenv(name, raising=False)
        monkeypatch.delenv(name.upper(), raising=False)
    for name, value in {
        "AWS_ACCESS_KEY_ID": "key",
        "AWS_SECRET_ACCESS_KEY": "secret",
        "AWS_ENDPOINT_URL": server,
        "AWS_ALLOW_HTTP": "true",
        "AWS_REGION": "us-east-1",
    }.items():
        monkeypatch.setenv(name, value)
    client = boto3.client("s3", endpoint_url=server, region_name="us-east-1")
    client.create_bucket(Bucket=BUCKET)
    return f"s3://{BUCKET}/{request.node.name}"


@pytest.fixture
def root(tmp_path: Path) -> Path:
    folder = tmp_path / "root"
    make_tree(folder, {f"{place}.tif": photo(f"Make {place}") for place in range(6)})
    make_tree(folder, {"notes.txt": b"no image"})
    return folder


class TestStorage:
    def test_makes_a_file_once(self, location: str) -> None:
        storage = ObjectStorage(location)
        assert storage.create("a/b.json", b"one")
        assert not storage.create("a/b.json", b"other")
        assert storage.read("a/b.json") == b"one"
        with pytest.raises(FileNotFoundError):
            storage.read("a/nothing")

    def test_moves_removes_and_lists(self, location: str) -> None:
        storage = pickle.loads(pickle.dumps(storage_of(location)))
        storage.create("a/one", b"1")
        storage.move({"a/one": "b/two"})
        storage.move({"a/one": "b/two"})
        assert list(storage.names("a")) == []
        assert list(storage.names("")) == ["b/two"]
        with pytest.raises(FileNotFoundError):
            storage.move({"a/one": "b/three"})
        storage.remove("b/two")
        storage.remove("b/two")
        assert list(storage.names("")) == []

    def test_has_no_file_whose_writing_went_wrong(self, location: str) -> None:
        storage = ObjectStorage(location)

        def write_half() -> None:
            with storage.writing("a/one") as file:
                file.write(b"1")
                raise ZeroDivisionError

        with pytest.raises(ZeroDivisionError):
            write_half()
        assert list(storage.names("")) == []
        with storage.writing("a/one") as file:
            file.write(b"1" * (20 << 20))
        assert storage.read("a/one") == b"1" * (20 << 20)


class TestACatalogue:
    def test_is_what_it_would_be_in_a_folder(
        self, location: str, root: Path, tmp_path: Path
    ) -> None:
        there = Catalogue.create(location, root)
        here = Catalogue.create(tmp_path / "catalogue", root)
        for number in range(3):
            make_tree(root, {"0.tif": photo(f"Changed {number}"), f"new {number}.tif": photo()})
            assert there.update().read == here.update().read
            assert digest(there) == digest(here)
        assert Catalogue.open(location).snapshot.number == 3
        query = "select Make, count(*) n from images group by all order by all"
        assert there.sql(query).equals(here.sql(query))
        assert digest(there.at(1)) == digest(here.at(1))
        assert len(there.vacuum()) == len(here.vacuum())
        assert list(there.vacuum()) == []
        assert digest(Catalogue.open(location)) == digest(here)

    def test_goes_on_after_an_update_that_was_ended(
        self, location: str, root: Path, monkeypatch: pytest.MonkeyPatch
    ) -> None:
        made = Catalogue.create(location, root)
        for step in ("plan-written", "attempt-written", "receipt-written", "parts-moved"):

            def end(taken: str, wanted: str = step) -> None:
                if taken == wanted:
                    raise KeyboardInterrupt

            monkeypatch.setattr(_steps, "observer", end)
            with pytest.raises(KeyboardInterrupt):
                made.update()
            assert made.files.count_rows() == 0
        monkeypatch.setattr(_steps, "observer", None)
        assert made.update().files == 6

    def test_has_one_winner_of_two_updates(
        self, location: str, root: Path, monkeypatch: pytest.MonkeyPatch
    ) -> None:
        made = Catalogue.create(location, root)
        other = Catalogue.open(location)

        def overtake(step: str) -> None:
            if step == "snapshot-prepared":
                monkeypatch.setattr(_steps, "observer", None)
                other.update()

        monkeypatch.setattr(_steps, "observer", overtake)
        with pytest.raises(CatalogueBusyError, match="changed nothing"):
            made.update()
        assert Catalogue.open(location).files.count_rows() == 6

    def test_is_not_there(self, location: str, server: str) -> None:
        with pytest.raises(CatalogueError, match="there is no catalogue"):
            Catalogue.open(location)
        with pytest.raises(CatalogueError):
            Catalogue.open("nonsense://place")
