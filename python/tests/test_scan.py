"""Scans: which files come, in which order, from threads and from processes, and how they end."""

import importlib.metadata
import inspect
import os
import pickle
import re
import stat
import threading
import time
from collections.abc import Callable, Iterator
from pathlib import Path
from typing import Any

import pytest
from conftest import corpus_files, resident_bytes, sample_files
from designed_files import ASCII, SHORT, Field, designed_files, tiff

import ifdsweep
from ifdsweep import File, Scan, _program, _scan, read, scan

IMAGE = tiff([[Field(256, SHORT, [7]), Field(271, ASCII, b"Maker\0")]])

both_ways = pytest.mark.parametrize("isolate", [False, True], ids=["threads", "processes"])


def paths_of(files: Iterator[File]) -> list[str]:
    return [file.path for file in files]


@pytest.fixture
def tree(tmp_path: Path) -> Path:
    """Folders with images, one of them without an image's name, and a text."""
    folder = tmp_path / "tree"
    for name in ("b/2.tif", "b/1.TIF", "b/c/3.jpg", "a.tif", "Old/4.tif", "z/noname"):
        path = folder / name
        path.parent.mkdir(parents=True, exist_ok=True)
        path.write_bytes(IMAGE)
    (folder / "b/notes.txt").write_text("no image")
    return folder


@pytest.fixture
def images(tmp_path: Path) -> list[str]:
    """The paths of two hundred images."""
    paths = [str(tmp_path / f"{number:03}.tif") for number in range(200)]
    for path in paths:
        Path(path).write_bytes(IMAGE)
    return paths


class TestFilesComeInTheirOrder:
    @both_ways
    @pytest.mark.parametrize("threads", [1, 2, 8, None])
    def test_it_is_that_of_the_paths(
        self, images: list[str], threads: int | None, isolate: bool
    ) -> None:
        paths = images[::-1]
        assert paths_of(scan(paths, threads=threads, isolate=isolate)) == paths

    @pytest.mark.parametrize("threads", [1, 8])
    def test_without_one_they_are_the_same(self, images: list[str], threads: int) -> None:
        assert sorted(paths_of(scan(images, threads=threads, ordered=False))) == images

    @both_ways
    def test_in_folders_it_is_that_of_the_bytes_of_their_names(
        self, tree: Path, isolate: bool
    ) -> None:
        names = ["Old/4.tif", "a.tif", "b/1.TIF", "b/2.tif", "b/c/3.jpg", "z/noname"]
        assert paths_of(scan(tree, isolate=isolate)) == [f"{tree}/{name}" for name in names]


FOLDER_CASES: list[tuple[dict[str, Any], list[str]]] = [
    ({"recursive": False}, ["a.tif"]),
    ({"include": "*.tif"}, ["Old/4.tif", "a.tif", "b/2.tif"]),
    ({"include": ["*.jpg", "noname"]}, ["b/c/3.jpg", "z/noname"]),
    ({"include": "*.tif", "ignore_case": True}, ["Old/4.tif", "a.tif", "b/1.TIF", "b/2.tif"]),
    ({"include": ["*.tif"], "exclude": ("old/",)}, ["Old/4.tif", "a.tif", "b/2.tif"]),
    (
        {"include": ["*.tif"], "exclude": ("old/",), "ignore_case": True},
        ["a.tif", "b/1.TIF", "b/2.tif"],
    ),
    ({"exclude": ["b", "z/"]}, ["Old/4.tif", "a.tif"]),
    ({"exclude": {"*.*": None}}, ["z/noname"]),
    (
        {"all_files": True, "include": "b/*"},
        ["b/1.TIF", "b/2.tif", "b/notes.txt"],
    ),
    ({"include": "no such name"}, []),
]


class TestFoldersAreWalked:
    @both_ways
    @pytest.mark.parametrize(("options", "names"), FOLDER_CASES)
    def test_for_what_is_asked_for(
        self, tree: Path, options: dict[str, Any], names: list[str], isolate: bool
    ) -> None:
        found = paths_of(scan(tree, isolate=isolate, **options))
        assert found == [f"{tree}/{name}" for name in names]

    @both_ways
    def test_links_to_folders_are_followed_on_demand(self, tree: Path, isolate: bool) -> None:
        (tree / "z/link").symlink_to(tree / "b/c", target_is_directory=True)
        assert paths_of(scan(tree / "z", isolate=isolate)) == [f"{tree}/z/noname"]
        followed = paths_of(scan(tree / "z", isolate=isolate, follow=True))
        assert followed == [f"{tree}/z/link/3.jpg", f"{tree}/z/noname"]


class TestPathsMayBe:
    @pytest.mark.parametrize(
        "given",
        [str, Path, os.fsencode, lambda path: [path], lambda path: {Path(path): None}, os.scandir],
        ids=["str", "Path", "bytes", "list", "dict", "scandir"],
    )
    def test_one_or_an_iterable(self, tmp_path: Path, given: Callable[[str], Any]) -> None:
        (tmp_path / "a.tif").write_bytes(IMAGE)
        assert paths_of(scan(given(str(tmp_path)))) == [f"{tmp_path}/a.tif"]

    @both_ways
    def test_those_of_a_generator(self, images: list[str], isolate: bool) -> None:
        files = scan((Path(path) for path in images[:20]), isolate=isolate)
        assert paths_of(files) == images[:20]

    @both_ways
    def test_none(self, isolate: bool) -> None:
        assert paths_of(scan([], isolate=isolate)) == []

    @both_ways
    def test_of_files_that_are_not_there(self, tmp_path: Path, isolate: bool) -> None:
        paths = [str(tmp_path / "none.tif"), str(tmp_path / "nor this")]
        files = list(scan(paths, isolate=isolate))
        assert [file.path for file in files] == paths
        assert [file.status for file in files] == ["unreadable"] * 2
        assert all(file.error is not None and len(file) == 0 for file in files)

    @both_ways
    def test_of_what_is_no_file(self, tmp_path: Path, isolate: bool) -> None:
        os.mkfifo(tmp_path / "pipe")
        (file,) = scan(tmp_path / "pipe", isolate=isolate)
        assert file.error is not None
        assert file.error.short_id == "inputFailure"

    @both_ways
    def test_a_dash_which_is_no_standard_input(
        self, tmp_path: Path, monkeypatch: pytest.MonkeyPatch, isolate: bool
    ) -> None:
        monkeypatch.chdir(tmp_path)
        Path("-").write_bytes(IMAGE)
        (file,) = scan("-", isolate=isolate)
        assert (file.path, file.status, len(file)) == ("./-", "ok", 1)

    @both_ways
    @pytest.mark.parametrize("name", [b"\xff\xfe.tif", b"--help", b"two\nlines", b"\t# why"])
    def test_of_any_bytes(
        self, tmp_path: Path, monkeypatch: pytest.MonkeyPatch, name: bytes, isolate: bool
    ) -> None:
        monkeypatch.chdir(tmp_path)
        Path(os.fsdecode(name)).write_bytes(IMAGE)
        (file,) = scan(os.fsdecode(name), isolate=isolate)
        assert file.path_bytes == name
        assert file.status == "ok"

    def test_those_of_an_iterable_that_raises(self, images: list[str]) -> None:
        def generate() -> Iterator[str]:
            yield images[0]
            raise LookupError("no more")

        with pytest.raises(LookupError, match="no more"):
            scan(generate())


READ_CASES: list[dict[str, Any]] = [
    {},
    {"tags": "Make,GPS*"},
    {"tags": ["Compression", 50000, 0x10F]},
    {"first": 1, "max": 1},
    {"offset": 0},
    {"max_value": 16},
    {"reading": "contract"},
    {"reading": "contract", "tags": "Make"},
    {"read_budget": 100_000, "value_budget": "unlimited"},
    {"streams": "all"},
    {"check": True},
]


class TestFilesAreTheSame:
    @both_ways
    @pytest.mark.parametrize("options", READ_CASES, ids=str)
    def test_as_read_gives_them(
        self, tmp_path: Path, options: dict[str, Any], isolate: bool
    ) -> None:
        paths = sample_files()
        for name, content in designed_files().items():
            paths.append(tmp_path / name.replace("/", "_"))
            paths[-1].write_bytes(content)
        files = list(scan(paths, isolate=isolate, **options))
        assert len(files) == len(paths)
        for path, file in zip(paths, files, strict=True):
            assert file == read(path, **options), path

    def test_from_processes_and_threads_of_real_files(self) -> None:
        paths = corpus_files()
        if not paths:
            pytest.skip("there is no corpus")
        for mine, other in zip(scan(paths), scan(paths, isolate=True), strict=True):
            assert mine == other, mine.path

    def test_however_often_tags_can_be_gone_through(self) -> None:
        path = sample_files()[0]
        tags: list[str | int] = ["Make", 256]
        for isolate in (False, True):
            (file,) = scan(path, tags=iter(tags), isolate=isolate)
            assert file == read(path, tags=tags)


class TestLimitsOfAFile:
    def test_its_memory_in_a_process_of_its_own(self, tmp_path: Path) -> None:
        many = tiff([[Field(40000, SHORT, [1] * 4_000_000)]])
        (tmp_path / "a.tif").write_bytes(IMAGE)
        (tmp_path / "b.tif").write_bytes(many)
        (tmp_path / "c.tif").write_bytes(IMAGE)
        files = list(scan(tmp_path, isolate=True, memory=32 << 20))
        assert [file.status for file in files] == ["ok", "memory", "ok"]

    def test_its_time_in_a_process_of_its_own(self, slow: Path) -> None:
        (file,) = scan(slow, isolate=True, timeout=0.02, value_budget="unlimited")
        assert file.status == "timeout"


class TestAScan:
    def test_is_an_iterator_and_a_context(self, images: list[str]) -> None:
        with scan(images) as files:
            assert isinstance(files, Scan)
            assert isinstance(files, Iterator)
            assert iter(files) is files
            assert next(files).path == images[0]
        assert list(files) == []

    @both_ways
    def test_has_no_more_files_once_it_is_closed(self, images: list[str], isolate: bool) -> None:
        files = scan(images, isolate=isolate)
        assert next(files).path == images[0]
        files.close()
        files.close()
        assert list(files) == []

    @both_ways
    def test_stays_at_its_end(self, images: list[str], isolate: bool) -> None:
        files = scan(images[:3], isolate=isolate)
        assert len(list(files)) == 3
        assert list(files) == []
        files.close()

    @both_ways
    def test_may_go_before_its_end(self, images: list[str], isolate: bool) -> None:
        files = scan(images, isolate=isolate)
        next(files)
        del files
        assert threading.active_count() == 1

    @both_ways
    def test_may_go_before_its_begin(self, images: list[str], isolate: bool) -> None:
        scan(images, isolate=isolate)

    def test_cannot_be_stored(self, images: list[str]) -> None:
        with scan(images) as files, pytest.raises(TypeError):
            pickle.dumps(files)

    @both_ways
    def test_gives_each_file_to_one_of_those_who_ask(
        self, images: list[str], isolate: bool
    ) -> None:
        with scan(images * 5, isolate=isolate) as files:
            taken: list[list[str]] = [[] for _ in range(4)]
            threads = [
                threading.Thread(target=lambda mine=mine: mine.extend(paths_of(files)))
                for mine in taken
            ]
            for thread in threads:
                thread.start()
            for thread in threads:
                thread.join()
        assert sorted(path for mine in taken for path in mine) == sorted(images * 5)

    @both_ways
    def test_that_is_closed_lets_those_go_who_wait(self, slow: Path, isolate: bool) -> None:
        files = scan([slow] * 1000, isolate=isolate, value_budget="unlimited")
        is_left = threading.Event()

        def take_all() -> None:
            list(files)
            is_left.set()

        threading.Thread(target=take_all).start()
        time.sleep(0.1)
        begin = time.monotonic()
        files.close()
        assert is_left.wait(timeout=60)
        assert time.monotonic() - begin < 2

    def test_reads_no_more_ahead_than_its_window(self, tmp_path: Path) -> None:
        path = tmp_path / "large.tif"
        path.write_bytes(tiff([[Field(271, ASCII, b"x" * (4 << 20))]]))
        before = resident_bytes()
        with scan([path] * 500, threads=2) as files:
            next(files)
            time.sleep(1)
            assert resident_bytes() - before < 800 << 20  # what is all together 2 GiB


class TestTheProgram:
    def test_is_that_of_the_package(self) -> None:
        path = _program.find_program()
        assert path.name == "ifdsweep"
        assert os.stat(path).st_mode & stat.S_IXUSR

    def test_has_to_be_there(self, monkeypatch: pytest.MonkeyPatch, tmp_path: Path) -> None:
        def no_distribution(name: str) -> None:
            raise importlib.metadata.PackageNotFoundError(name)

        monkeypatch.setattr(importlib.metadata, "distribution", no_distribution)
        monkeypatch.setattr("sys.executable", str(tmp_path / "python"))
        with pytest.raises(FileNotFoundError, match="neither among the files of the package nor"):
            scan(tmp_path, isolate=True)

    @pytest.mark.parametrize(
        ("script", "complaint"),
        [
            ("echo one >&2; echo two >&2; exit 2", "the program ended with status 2: two"),
            ("exit 0", "the program ended with status 0"),
            ("kill -9 $$", "the program was ended by SIGKILL"),
            ("kill -40 $$", "the program was ended by signal 40"),
            ("echo something else", "the program is of another version than the package"),
            ("printf 'HEAD'; printf abc", "the program ended with status 0"),
            (
                r"printf 'HEAD'; printf '\004\0\0\0\0\0\0\0abc'; echo lost >&2",
                "the program ended with status 0: lost",
            ),
            (
                r"printf 'HEAD'; printf '\003\0\0\0\0\0\0\0abc'",
                "this is no packed file of this version",
            ),
        ],
    )
    def test_that_fails_ends_the_scan(
        self, tmp_path: Path, monkeypatch: pytest.MonkeyPatch, script: str, complaint: str
    ) -> None:
        head = "".join(f"\\{byte:03o}" for byte in ifdsweep._core.PACKED_HEAD)
        _pretend(tmp_path, monkeypatch, script.replace("HEAD", head))
        files = scan(tmp_path, isolate=True)
        with pytest.raises((RuntimeError, ValueError), match=re.escape(complaint) + "$"):
            next(files)
        assert list(files) == []

    def test_that_says_much_is_waited_for(
        self, tmp_path: Path, monkeypatch: pytest.MonkeyPatch
    ) -> None:
        _pretend(
            tmp_path,
            monkeypatch,
            "i=0; while [ $i -lt 20000 ]; do echo line $i >&2; i=$((i+1)); done; exit 2",
        )
        with pytest.raises(RuntimeError, match=r"status 2: line 19999$"):
            next(scan(tmp_path, isolate=True))

    def test_that_does_not_end_is_made_to(
        self, tmp_path: Path, monkeypatch: pytest.MonkeyPatch
    ) -> None:
        _pretend(tmp_path, monkeypatch, "trap '' TERM PIPE; while :; do sleep 0.01; done")
        files = scan(tmp_path, isolate=True)
        begin = time.monotonic()
        files.close()
        assert time.monotonic() - begin < 2
        assert list(files) == []


def _pretend(folder: Path, monkeypatch: pytest.MonkeyPatch, script: str) -> None:
    """Has another program take the place of that of the package."""
    path = folder / "ifdsweep"
    path.write_text("#!/bin/sh\n" + script + "\n")
    path.chmod(0o755)
    monkeypatch.setattr(_program, "find_program", lambda: path)


BAD_ARGUMENTS: list[tuple[dict[str, Any], type[Exception], str]] = [
    ({"paths": 1}, TypeError, "paths: expected a path or an iterable of paths, got int"),
    ({"paths": [1]}, TypeError, "paths: expected a str, bytes or os.PathLike, got int"),
    ({"paths": [["a"]]}, TypeError, "paths: expected a str, bytes or os.PathLike, got list"),
    ({"paths": ""}, ValueError, "paths: expected at least one character, got ''"),
    ({"paths": ["a\0b"]}, ValueError, r"paths: a null character in 'a\x00b'"),
    ({"paths": "\ud800"}, ValueError, r"paths: the system has no such name: '\ud800'"),
    ({"recursive": 1}, TypeError, "recursive: expected a bool, got int"),
    ({"ignore_case": None}, TypeError, "ignore_case: expected a bool, got NoneType"),
    ({"all_files": "yes"}, TypeError, "all_files: expected a bool, got str"),
    ({"follow": 0}, TypeError, "follow: expected a bool, got int"),
    ({"ordered": 0}, TypeError, "ordered: expected a bool, got int"),
    ({"isolate": 0}, TypeError, "isolate: expected a bool, got int"),
    ({"include": 1}, TypeError, "include: expected a str or an iterable of them, got int"),
    ({"include": b"*"}, TypeError, "include: expected a str or an iterable of them, got bytes"),
    ({"exclude": [b"*"]}, TypeError, "exclude: expected a str, got bytes"),
    ({"include": "[a"}, ValueError, "include: '[a': [ without ] in the same part"),
    ({"exclude": ["a", "{b"]}, ValueError, "exclude: '{b': { without }"),
    ({"exclude": ""}, ValueError, "exclude: expected at least one character, got ''"),
    (
        {"include": "thumbs/"},
        ValueError,
        "include: a slash at the end is for folders, and files are included; what lies in "
        "folders NAME is **/NAME/**",
    ),
    ({"threads": 0}, ValueError, "threads: expected 1 to 1024, got 0"),
    ({"threads": 1025}, ValueError, "threads: expected 1 to 1024, got 1025"),
    ({"threads": 1.0}, TypeError, "threads: expected an int or None, got float"),
    ({"threads": True}, TypeError, "threads: expected an int or None, got bool"),
    (
        {"timeout": 1},
        ValueError,
        "timeout: goes with isolate=True; else files are read in this process",
    ),
    (
        {"memory": 1},
        ValueError,
        "memory: goes with isolate=True; else files are read in this process",
    ),
    (
        {"timeout": "1s", "isolate": True},
        TypeError,
        "timeout: expected a number of seconds or None, got str",
    ),
    (
        {"timeout": 0, "isolate": True},
        ValueError,
        "timeout: expected a finite number above 0, got 0",
    ),
    (
        {"timeout": float("nan"), "isolate": True},
        ValueError,
        "timeout: expected a finite number above 0, got nan",
    ),
    (
        {"memory": 0, "isolate": True},
        ValueError,
        "memory: expected 1 to 18446744073709551615, got 0",
    ),
    ({"memory": 1.5, "isolate": True}, TypeError, "memory: expected an int or None, got float"),
    ({"offset": -1}, ValueError, "offset: expected 0 to 9007199254740992, got -1"),
    ({"tags": "Mkae"}, ValueError, "tags: "),
    ({"tags": 1}, TypeError, "tags: expected a str, an iterable of names and numbers, or None"),
    ({"reading": "half"}, ValueError, "reading: "),
    ({"check": 1}, TypeError, "check: expected a bool, got int"),
]


class TestArgumentsAreChecked:
    @pytest.mark.parametrize(("arguments", "kind", "text"), BAD_ARGUMENTS, ids=str)
    @both_ways
    def test_at_once_and_by_name(
        self, arguments: dict[str, Any], kind: type[Exception], text: str, isolate: bool
    ) -> None:
        limits = {"timeout", "memory"} & arguments.keys()
        given = {"paths": "/nowhere", "isolate": isolate and not limits, **arguments}
        with pytest.raises(kind, match="^" + re.escape(text)) as raised:
            scan(**given)
        assert raised.type is kind

    def test_those_of_read_as_read_does(self) -> None:
        for arguments in ({"max": "1"}, {"max_value": -1}, {"streams": "all", "offset": 4}):
            with pytest.raises((TypeError, ValueError)) as mine:
                scan("a", **arguments)
            with pytest.raises((TypeError, ValueError)) as other:
                read("a", **arguments)
            assert (mine.type, str(mine.value)) == (other.type, str(other.value))


def test_a_reading_has_the_same_arguments_in_read_and_in_scan() -> None:
    one = inspect.signature(read).parameters
    many = inspect.signature(scan).parameters
    shared = [name for name in one if name not in {"source", "name"}]
    assert list(many)[-len(shared) :] == shared
    assert [many[name] for name in shared] == [one[name] for name in shared]
    options = {name: one[name].default for name in shared if name not in {"tags", "check"}}
    assert options == _scan._READ_OPTIONS
