"""Listings: the files that a scan of the folder finds, in its order, none of which is opened."""

import contextlib
import os
import shutil
import tempfile
from collections.abc import Iterator
from pathlib import Path
from typing import Any

import pytest
from catalogue_trees import unprivileged
from conftest import repetitions
from hypothesis import example, given, settings
from hypothesis import strategies as st

from ifdsweep import scan, table
from ifdsweep.catalogue import Options
from ifdsweep.catalogue import _listing as listing_module
from ifdsweep.catalogue._listing import SCHEMA, listed_files
from ifdsweep.catalogue._model import path_key

Row = tuple[bytes, int, int, int, int]


def listed(
    root: Path, options: Options | None = None, leave_out: Path | None = None
) -> tuple[list[Row], list[tuple[bytes, str]]]:
    """The rows of a listing, and the folders that could not be listed."""
    rows: list[Row] = []
    unlisted = []
    left_out = b"" if leave_out is None else os.fsencode(leave_out)
    for found in listed_files(os.fsencode(root), options or Options(), left_out):
        found.files.validate(full=True)
        assert found.files.schema == SCHEMA
        columns: list[list[Any]] = [column.to_pylist() for column in found.files.columns]
        rows += zip(*columns, strict=True)
        unlisted += found.unlisted
    return rows, unlisted


def paths_of(root: Path, **options: Any) -> list[bytes]:
    """The paths of a listing in which nothing went wrong."""
    rows, unlisted = listed(root, Options(**options))
    assert unlisted == []
    return [path for path, *_ in rows]


def scanned(root: Path, **options: Any) -> list[bytes]:
    """The paths that a scan of everything gives, from the root on."""
    names = [file.path_bytes for file in scan(root, all_files=True, **options)]
    begin = os.fsencode(root) + b"/"
    assert all(name.startswith(begin) for name in names)
    return [name[len(begin) :] for name in names]


NAMES = st.sampled_from(
    [
        *(b"a", b"A", b"a.tif", b"A.TIF", b"a-", b"a b", b".hidden", b"b", b"\xff", b"\xc3\xa4"),
        *(b"\n", b"-", b"*", b"[a]", b"{a,b}", b"\\", b"~", b"a\x01", b"!a"),
    ]
)
PATHS = st.lists(NAMES, min_size=1, max_size=4).map(b"/".join)
TREES = st.lists(
    st.tuples(st.sampled_from(["file", "file", "folder", "link", "fifo"]), PATHS, PATHS),
    max_size=12,
)
OF_FILES = st.sampled_from(
    [
        *("*", "a", "/a", "./a", "*.tif", "**/*.tif", "a/**", "/a/*", "?", "[!a]", "b/a", ".*"),
        *("{a,b}/*", "\\*", "\\[a\\]", "[[:alpha:]]", "**/b/**"),
    ]
)
OF_FOLDERS = st.sampled_from(["a/", "a*/", "/b/a/", "?/"])


def _make(root: bytes, kind: str, path: bytes, target: bytes) -> None:
    """One more thing below a folder, where there is room for it."""
    whole = os.path.join(root, path)
    with contextlib.suppress(OSError):
        os.makedirs(os.path.dirname(whole), exist_ok=True)
        match kind:
            case "file":
                with open(whole, "xb") as file:
                    file.write(target)
            case "folder":
                os.makedirs(whole)
            case "link":
                os.symlink(os.path.join(root, target), whole)
            case "fifo":
                os.mkfifo(whole)


@contextlib.contextmanager
def tree(things: list[tuple[str, bytes, bytes]]) -> Iterator[Path]:
    """A folder of files, folders, links and pipes, for the time of a block."""
    with tempfile.TemporaryDirectory(prefix="ifdsweep-") as name:
        root = os.fsencode(name) + b"/root"
        os.mkdir(root)
        for thing in things:
            _make(root, *thing)
        yield Path(os.fsdecode(root))


class TestAListing:
    @given(
        things=TREES,
        include=st.lists(OF_FILES, max_size=3),
        exclude=st.lists(OF_FILES | OF_FOLDERS, max_size=3),
        ignore_case=st.booleans(),
        follow=st.booleans(),
    )
    @example([("file", b"a/b", b""), ("link", b"a/c", b"a")], [], [], False, True)
    @example([("link", b"a", b"a"), ("link", b"b", b"gone")], [], [], False, False)
    @example([("file", b"a/b", b""), ("file", b"a-", b""), ("file", b"a", b"")], [], [], True, True)
    @settings(max_examples=repetitions(60, 5_000), deadline=None)
    def test_has_the_files_of_a_scan_in_its_order(
        self,
        things: list[tuple[str, bytes, bytes]],
        include: list[str],
        exclude: list[str],
        ignore_case: bool,
        follow: bool,
    ) -> None:
        with tree(things) as root:
            chosen: dict[str, Any] = {"ignore_case": ignore_case, "follow": follow}
            expected = scanned(root, include=include, exclude=exclude, **chosen)
            rows, unlisted = listed(
                root, Options(include=tuple(include), exclude=tuple(exclude), **chosen)
            )
            paths = [path for path, *_ in rows]
            assert paths == expected
            assert paths == sorted(set(paths), key=path_key)
            for path, size, changed, status_changed, inode in rows:
                whole = os.path.join(os.fsencode(root), path)
                status = os.stat(whole) if os.path.exists(whole) else os.lstat(whole)
                assert (size, changed, status_changed, inode) == (
                    status.st_size,
                    status.st_mtime_ns,
                    status.st_ctime_ns,
                    status.st_ino,
                )
            leads_nowhere = [p for p in paths if not (root / os.fsdecode(p)).exists()]
            assert [folder for folder, _ in unlisted] == (leads_nowhere if follow else [])

    @pytest.mark.parametrize("chunk", [1, 2, 3, 65_536, 1 << 40])
    def test_comes_in_pieces(
        self, tmp_path: Path, monkeypatch: pytest.MonkeyPatch, chunk: int
    ) -> None:
        for place in range(7):
            (tmp_path / f"{place % 2}").mkdir(exist_ok=True)
            (tmp_path / f"{place % 2}/{place}").touch()
        monkeypatch.setattr(listing_module, "_CHUNK", chunk)
        founds = list(listed_files(os.fsencode(tmp_path), Options()))
        assert max(found.files.num_rows for found in founds) <= chunk
        assert paths_of(tmp_path) == [b"0/0", b"0/2", b"0/4", b"0/6", b"1/1", b"1/3", b"1/5"]

    def test_of_an_empty_folder_is_empty(self, tmp_path: Path) -> None:
        assert listed(tmp_path) == ([], [])

    def test_knows_times_that_nanoseconds_cannot_count_as_their_rows_do(
        self, tmp_path: Path
    ) -> None:
        for name, seconds in (("early.tif", -(10**11)), ("late.tif", 10**11), ("1969.tif", -1)):
            (tmp_path / name).write_bytes(b"II*\0\0\0\0\0")
            os.utime(tmp_path / name, (0, seconds))
        times = {path: changed for path, _, changed, *_ in listed(tmp_path)[0]}
        rows = table(tmp_path, "files").to_arrow()
        assert list(times) == [b"1969.tif", b"early.tif", b"late.tif"]
        assert times[b"1969.tif"] == -(10**9)
        assert list(times.values()) == rows["mtime_ns"].to_pylist()

    @pytest.mark.parametrize("name", ["cat", "CAT", "c[a]t {1}", "..cat", "cat\udcff"])
    def test_leaves_a_folder_out_whatever_path_leads_to_it(self, tmp_path: Path, name: str) -> None:
        for path in (f"{name}/x", "other/cat/x", "Cat/x"):
            (tmp_path / path).parent.mkdir(parents=True, exist_ok=True)
            (tmp_path / path).touch()
        (tmp_path / "a-link").symlink_to(name)
        (tmp_path / "spare").symlink_to(tmp_path)
        for out in (tmp_path / name, tmp_path / "a-link", tmp_path / "spare" / name):
            for follow in (False, True):
                options = Options(follow=follow, ignore_case=True)
                rows, unlisted = listed(tmp_path, options, out)
                assert [path for path, *_ in rows] == [b"Cat/x", b"other/cat/x"]
                assert unlisted == []


class TestWhatCannotBeListed:
    @pytest.mark.parametrize(
        ("name", "error"),
        [("gone", "No such file or directory"), ("file", "Not a directory")],
    )
    def test_is_the_root(self, tmp_path: Path, name: str, error: str) -> None:
        (tmp_path / "file").touch()
        assert listed(tmp_path / name) == ([], [(b"", error)])

    @pytest.mark.parametrize(
        ("mode", "error"),
        [
            (0o000, "cannot read the folder: Permission denied"),
            (0o300, "cannot read the folder: Permission denied"),
            (0o600, "cannot look at the files in the folder: Permission denied"),
        ],
    )
    def test_is_a_folder_that_may_not_be_read(self, mode: int, error: str) -> None:
        with unprivileged() as folder:
            root = folder / "root"
            for name in ("a", "b/1", "b/2", "b-", "c/d/1", "c/e"):
                (root / name).parent.mkdir(parents=True, exist_ok=True)
                (root / name).touch()
            for name in ("b", "c/d"):
                (root / name).chmod(mode)
            rows, unlisted = listed(root)
            for name in ("b", "c/d"):
                (root / name).chmod(0o700)
            assert [path for path, *_ in rows] == [b"a", b"b-", b"c/e"]
            assert unlisted == [(b"b", error), (b"c/d", error)]

    def test_is_a_folder_whose_path_is_too_long(self, tmp_path: Path) -> None:
        here = os.getcwd()
        part = "x" * 200
        (tmp_path / "a").touch()
        try:
            os.chdir(tmp_path)
            for _ in range(25):
                os.mkdir(part)
                os.chdir(part)
        finally:
            os.chdir(here)
        rows, unlisted = listed(tmp_path)
        shutil.rmtree(tmp_path)
        assert [path for path, *_ in rows] == [b"a"]
        ((folder, error),) = unlisted
        assert set(folder.split(b"/")) == {part.encode()}
        assert error == "cannot read the folder: File name too long"

    def test_is_what_lies_behind_a_link_that_leads_nowhere(self, tmp_path: Path) -> None:
        (tmp_path / "link").symlink_to("gone")
        rows, unlisted = listed(tmp_path, Options(follow=True))
        assert [path for path, *_ in rows] == [b"link"]
        assert unlisted == [(b"link", "the link leads nowhere: No such file or directory")]
        assert listed(tmp_path)[1] == []
