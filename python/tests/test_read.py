"""`read`: where the bytes come from, what is wrong with arguments, and objects that lie."""

import array
import errno
import io
import mmap
import os
import threading
from collections.abc import Callable, Iterator
from pathlib import Path
from typing import Any

import numpy as np
import pytest
from conftest import sample_files
from designed_files import EXIF, IMAGE, PHOTOGRAPH, UNDEFINED, Field, jpeg, png, tiff

import ifdsweep

PAGES = tiff([PHOTOGRAPH, IMAGE])
# One that is not read in one piece: its second directory lies far behind the first.
FAR = tiff([[*IMAGE, Field(700, UNDEFINED, bytes(300_000))], IMAGE])
SIZED = ("Filename", "FileModDate")


def told(file: ifdsweep.File) -> dict[str, Any]:
    """What a file tells, but for its name and date."""

    def without(record: Any) -> Any:
        if isinstance(record, list):
            return [without(item) for item in record]
        if isinstance(record, dict):
            return {name: without(value) for name, value in record.items() if name not in SIZED}
        return record

    natural: dict[str, Any] = without(file.to_dict())
    del natural["file"]
    return natural


class RawSource:
    """A file object that has no more than it needs, and remembers its calls."""

    def __init__(self, content: bytes) -> None:
        self.content = content
        self.position = 3
        self.calls: list[tuple[Any, ...]] = []

    def seek(self, offset: int, whence: int = 0) -> int:
        self.calls.append(("seek", offset, whence))
        self.position = offset + [0, self.position, len(self.content)][whence]
        return self.position

    def read(self, size: int = -1) -> Any:
        self.calls.append(("read", size))
        end = len(self.content) if size < 0 else self.position + size
        piece = self.content[self.position : end]
        self.position += len(piece)
        return piece


class IntoSource(RawSource):
    """One that reads into what it is given, no more than 7 bytes at once."""

    def readinto(self, target: Any) -> Any:
        piece = self.content[self.position :][: min(7, len(target))]
        target[: len(piece)] = piece
        self.position += len(piece)
        return len(piece)


class OldSource(RawSource):
    """One whose `seek` returns nothing."""

    def seek(self, offset: int, whence: int = 0) -> Any:
        super().seek(offset, whence)

    def tell(self) -> int:
        return self.position


class PipeSource:
    """One that cannot be positioned."""

    def __init__(self, content: bytes) -> None:
        self.content = content

    def read(self, size: int = -1) -> Any:
        assert size == -1
        return self.content

    def seekable(self) -> bool:
        return False


class FsPath:
    def __init__(self, path: "str | bytes") -> None:
        self.path = path

    def __fspath__(self) -> "str | bytes":
        return self.path


def mapped(path: Path) -> mmap.mmap:
    with path.open("rb") as file:
        return mmap.mmap(file.fileno(), 0, access=mmap.ACCESS_READ)


SOURCES: dict[str, Callable[[Path], Any]] = {
    "str": str,
    "path": lambda path: path,
    "path of bytes": lambda path: FsPath(os.fsencode(path)),
    "bytes": lambda path: path.read_bytes(),
    "bytearray": lambda path: bytearray(path.read_bytes()),
    "memoryview": lambda path: memoryview(b"x" + path.read_bytes())[1:],
    "array": lambda path: array.array("B", path.read_bytes()),
    "mmap": mapped,
    "buffered file": lambda path: path.open("rb"),
    "raw file": lambda path: path.open("rb", buffering=0),
    "BytesIO": lambda path: io.BytesIO(path.read_bytes()),
    "object that reads": lambda path: RawSource(path.read_bytes()),
    "object that reads into": lambda path: IntoSource(path.read_bytes()),
    "object of old": lambda path: OldSource(path.read_bytes()),
    "object without positions": lambda path: PipeSource(path.read_bytes()),
}


class TestSources:
    @pytest.mark.parametrize("kind", SOURCES)
    @pytest.mark.parametrize("path", sample_files(), ids=lambda path: path.name)
    def test_every_kind_of_source_gives_the_same(self, kind: str, path: Path) -> None:
        source = SOURCES[kind](path)
        assert told(ifdsweep.read(source)) == told(ifdsweep.read(path))
        if hasattr(source, "close"):
            source.close()

    @pytest.mark.parametrize("make", [jpeg, lambda stream: png(stream, stream)])
    def test_containers_come_from_every_kind_of_source_too(
        self, make: Callable[[bytes], bytes], tmp_path: Path
    ) -> None:
        path = tmp_path / "container"
        path.write_bytes(make(PAGES))
        expected = told(ifdsweep.read(path, streams="all", check=True))
        assert expected
        for kind, make_source in SOURCES.items():
            source = make_source(path)
            assert told(ifdsweep.read(source, streams="all", check=True)) == expected, kind
            if hasattr(source, "close"):
                source.close()

    def test_a_path_is_the_name_of_its_file_and_has_a_stamp(self, tmp_path: Path) -> None:
        path = tmp_path / "a file.tif"
        path.write_bytes(PAGES)
        file = ifdsweep.read(path)
        assert (file.path, file.size) == (str(path), len(PAGES))
        assert file.modified_ns == path.stat().st_mtime_ns

    def test_a_name_that_is_no_text_is_kept(self, tmp_path: Path) -> None:
        path = os.fsencode(tmp_path) + b"/\xff.tif"
        Path(os.fsdecode(path)).write_bytes(PAGES)
        file = ifdsweep.read(os.fsdecode(path))
        assert (file.path_bytes, len(file)) == (path, 2)

    @pytest.mark.parametrize(
        ("source", "arguments", "name"),
        [
            (PAGES, {}, "<bytes>"),
            (PAGES, {"name": "scan 7"}, "scan 7"),
            (io.BytesIO(PAGES), {}, "<file>"),
            (io.BytesIO(PAGES), {"name": "b.tif"}, "b.tif"),
            (PipeSource(PAGES), {}, "<file>"),
        ],
    )
    def test_what_is_no_path_has_a_name(
        self, source: Any, arguments: dict[str, Any], name: str
    ) -> None:
        file = ifdsweep.read(source, **arguments)
        assert (file.path, file.to_dict()["file"], len(file)) == (name, name, 2)

    def test_a_file_object_has_its_own_name(self, tmp_path: Path) -> None:
        path = tmp_path / "own.tif"
        path.write_bytes(PAGES)
        with path.open("rb") as opened:
            assert ifdsweep.read(opened).path == str(path)
        with os.fdopen(os.open(path, os.O_RDONLY), "rb") as numbered:
            assert ifdsweep.read(numbered).path == "<file>"

    @pytest.mark.parametrize("make", [RawSource, IntoSource, OldSource])
    def test_a_file_object_gets_its_position_back(self, make: type[RawSource]) -> None:
        source = make(PAGES)
        ifdsweep.read(source)
        assert source.position == 3
        assert source.calls[:2] == [("seek", 0, 1), ("seek", 0, 2)]

    def test_no_more_is_asked_of_a_large_file_object_than_is_read(self) -> None:
        source = RawSource(PAGES + bytes(10_000_000))
        assert len(ifdsweep.read(source)) == 2
        asked = sum(call[1] for call in source.calls if call[0] == "read")
        assert 0 < asked < 100_000

    def test_the_bytes_are_held_for_the_call_alone(self) -> None:
        content = bytearray(PAGES)
        ifdsweep.read(content)
        content.clear()  # a buffer that is held would forbid it

    def test_a_file_object_may_read_files_itself(self) -> None:
        class Reading(RawSource):
            def read(self, size: int = -1) -> Any:
                assert len(ifdsweep.read(io.BytesIO(PAGES))) == 2
                return super().read(size)

        assert told(ifdsweep.read(Reading(PAGES))) == told(ifdsweep.read(PAGES))

    def test_file_objects_are_read_on_several_threads(self) -> None:
        expected = told(ifdsweep.read(PAGES))
        results: list[Any] = []

        def read() -> None:
            results.extend(told(ifdsweep.read(IntoSource(PAGES))) for _ in range(50))

        threads = [threading.Thread(target=read) for _ in range(4)]
        for thread in threads:
            thread.start()
        for thread in threads:
            thread.join()
        assert results == [expected] * 200


class TestPathsThatCannotBeRead:
    @pytest.mark.parametrize("make", [str, Path, lambda path: FsPath(str(path))])
    def test_a_missing_path(self, make: Callable[[Path], Any], tmp_path: Path) -> None:
        path = tmp_path / "missing.tif"
        with pytest.raises(FileNotFoundError) as raised:
            ifdsweep.read(make(path))
        assert (raised.value.errno, raised.value.filename) == (errno.ENOENT, str(path))

    def test_a_folder(self, tmp_path: Path) -> None:
        with pytest.raises(IsADirectoryError) as raised:
            ifdsweep.read(tmp_path)
        assert raised.value.filename == str(tmp_path)

    def test_a_path_through_a_file(self, tmp_path: Path) -> None:
        (tmp_path / "file").write_bytes(PAGES)
        with pytest.raises(NotADirectoryError):
            ifdsweep.read(tmp_path / "file" / "more.tif")

    def test_a_link_to_itself(self, tmp_path: Path) -> None:
        (tmp_path / "link").symlink_to(tmp_path / "link")
        with pytest.raises(OSError, match="link") as raised:
            ifdsweep.read(tmp_path / "link")
        assert raised.value.errno == errno.ELOOP

    def test_a_name_that_is_too_long(self) -> None:
        with pytest.raises(OSError, match="too long") as raised:
            ifdsweep.read("x" * 5000)
        assert raised.value.errno == errno.ENAMETOOLONG

    def test_an_empty_path(self) -> None:
        with pytest.raises(FileNotFoundError):
            ifdsweep.read("")

    def test_a_file_that_may_not_be_read(self, tmp_path: Path) -> None:
        path = tmp_path / "secret.tif"
        path.write_bytes(PAGES)
        path.chmod(0)
        user = os.geteuid()
        os.seteuid(user or 65534)  # root may read everything
        try:
            with pytest.raises(PermissionError) as raised:
                ifdsweep.read(path)
        finally:
            os.seteuid(user)
        assert raised.value.filename == str(path)

    def test_a_path_with_a_null_byte(self) -> None:
        with pytest.raises(ValueError, match=r"^source: embedded null byte$"):
            ifdsweep.read("a\0b")

    def test_what_fspath_raises_comes_through(self) -> None:
        class Failing:
            def __fspath__(self) -> str:
                raise LookupError("no path today")

        with pytest.raises(LookupError, match="no path today"):
            ifdsweep.read(Failing())

    @pytest.mark.parametrize("content", [b"", b"text", b"II*\0", PAGES[:50], PAGES[:-9], b"\xff"])
    def test_damage_never_raises(self, content: bytes, tmp_path: Path) -> None:
        path = tmp_path / "damaged.tif"
        path.write_bytes(content)
        for source in (path, content, io.BytesIO(content)):
            file = ifdsweep.read(source)
            assert file.error is not None or file.warnings


class BrokenError(Exception):
    """What a file object of the tests raises."""


def failing(after: int, error: BaseException, method: str = "read") -> RawSource:
    """A file object a method of which raises at some call."""
    calls: Iterator[int] = iter(range(10**9))

    def fail(self: Any, *arguments: Any) -> Any:
        if next(calls) >= after:
            raise error
        return getattr(RawSource, method)(self, *arguments)

    made = type("Failing", (RawSource,), {method: fail})
    source: RawSource = made(FAR)
    return source


class TestFileObjectsThatFail:
    @pytest.mark.parametrize("error", [BrokenError("x"), OSError(5, "disk"), KeyboardInterrupt()])
    @pytest.mark.parametrize(
        ("after", "method"), [(0, "read"), (1, "read"), (0, "seek"), (1, "seek"), (2, "seek")]
    )
    def test_what_it_raises_comes_through_as_it_is(
        self, error: BaseException, after: int, method: str
    ) -> None:
        with pytest.raises(type(error)) as raised:
            ifdsweep.read(failing(after, error, method))
        assert raised.value is error
        assert raised.value.__context__ is None

    def test_the_chain_of_causes_stays_whole(self) -> None:
        class Chained(RawSource):
            def read(self, size: int = -1) -> Any:
                try:
                    raise LookupError("first")
                except LookupError as first:
                    raise BrokenError("second") from first

        with pytest.raises(BrokenError, match="second") as raised:
            ifdsweep.read(Chained(PAGES))
        assert isinstance(raised.value.__cause__, LookupError)
        names = [frame.name for frame in raised.traceback]
        assert names[-1] == "read"

    def test_it_is_called_no_more_but_for_its_position(self) -> None:
        source = failing(0, BrokenError())
        with pytest.raises(BrokenError):
            ifdsweep.read(source)
        assert source.position == 3
        assert [call for call in source.calls if call[0] == "read"] == []

    def test_a_failure_of_the_last_seek_is_told(self) -> None:
        count = len([call for call in self.calls_of_a_reading() if call[0] == "seek"])
        with pytest.raises(BrokenError):
            ifdsweep.read(failing(count - 1, BrokenError(), "seek"))

    @staticmethod
    def calls_of_a_reading() -> list[tuple[Any, ...]]:
        source = RawSource(FAR)
        ifdsweep.read(source)
        return source.calls

    def test_a_closed_file_says_so(self, tmp_path: Path) -> None:
        (tmp_path / "file").write_bytes(PAGES)
        opened = (tmp_path / "file").open("rb")
        opened.close()
        with pytest.raises(ValueError, match="closed file"):
            ifdsweep.read(opened)

    @pytest.mark.parametrize(
        "opened", [io.StringIO("II*"), io.TextIOWrapper(io.BytesIO(PAGES), "latin-1")]
    )
    def test_text_mode_is_refused(self, opened: Any) -> None:
        with pytest.raises(TypeError, match=r"^source: .*text mode"):
            ifdsweep.read(opened)

    @pytest.mark.parametrize(
        ("method", "returned", "error", "complaint"),
        [
            ("readinto", 10**9, ValueError, r"readinto\(\) returned a number that is not from 0"),
            ("readinto", 10**30, ValueError, r"readinto\(\) returned a number that is not from 0"),
            ("readinto", -1, ValueError, r"readinto\(\) returned a number that is not from 0"),
            ("readinto", None, TypeError, r"readinto\(\) returned NoneType, expected an int"),
            ("readinto", "7", TypeError, r"readinto\(\) returned str, expected an int"),
            ("readinto", 4.0, TypeError, r"readinto\(\) returned float, expected an int"),
            ("read", "text", TypeError, r"read\(\) returned str, expected bytes"),
            ("read", None, TypeError, r"read\(\) returned NoneType, expected bytes"),
            ("read", 7, TypeError, r"read\(\) returned int, expected bytes"),
            ("read", bytes(2_000_000), ValueError, r"read\(\) returned more bytes than"),
            ("seek", -1, ValueError, r"seek\(\) returned a number that is not from 0"),
            ("seek", 2**63, ValueError, r"seek\(\) returned a number that is not from 0"),
            ("seek", "0", TypeError, r"seek\(\) returned str, expected an int"),
        ],
    )
    def test_what_it_should_not_return_is_told(
        self, method: str, returned: Any, error: type[Exception], complaint: str
    ) -> None:
        lying = type("Lying", (RawSource,), {method: lambda *_: returned})
        with pytest.raises(error, match=f"^source: {complaint}"):
            ifdsweep.read(lying(PAGES))

    def test_an_object_that_gives_no_bytes_at_all_is_an_empty_place(self) -> None:
        silent = type("Silent", (RawSource,), {"read": lambda *_: b""})
        file = ifdsweep.read(silent(PAGES))
        assert file.error is not None

    @pytest.mark.parametrize("size", [0, 1, 2**40, 2**62])
    def test_a_size_that_is_a_lie_does_no_harm(self, size: int) -> None:
        class Lying(RawSource):
            def seek(self, offset: int, whence: int = 0) -> int:
                return size if whence == 2 else super().seek(offset, whence)

        file = ifdsweep.read(Lying(tiff([[*IMAGE, *EXIF]])))
        assert file.error is not None or len(file) == 1

    def test_memory_that_an_object_keeps_is_not_ours(self) -> None:
        kept: list[Any] = []

        class Keeping(IntoSource):
            def readinto(self, target: Any) -> Any:
                kept.append(memoryview(target))
                return super().readinto(target)

        file = ifdsweep.read(Keeping(PAGES))
        before = told(file)
        for view in kept:
            view[:] = b"\xff" * len(view)
        assert told(file) == before == told(ifdsweep.read(PAGES))

    def test_bytes_that_an_object_takes_away_are_missed(self) -> None:
        class Shrinking(RawSource):
            def readinto(self, target: Any) -> int:
                length = len(target)
                target.clear()
                return length

        with pytest.raises(ValueError, match=r"^source: readinto\(\) took bytes away"):
            ifdsweep.read(Shrinking(PAGES))

    @pytest.mark.parametrize("returned", ["text", None, 7])
    def test_a_pipe_that_lies(self, returned: Any) -> None:
        with pytest.raises(TypeError, match=r"^source: read\(\) returned"):
            ifdsweep.read(PipeSource(returned))

    def test_a_view_with_gaps_is_refused(self) -> None:
        with pytest.raises(ValueError, match=r"^source: .*one after the other"):
            ifdsweep.read(memoryview(PAGES)[::2])

    def test_an_array_with_gaps_is_refused(self) -> None:
        with pytest.raises(ValueError, match=r"^source: .*contiguous"):
            ifdsweep.read(np.frombuffer(PAGES, np.uint8)[::2])  # type: ignore[arg-type]

    def test_a_view_that_was_let_go_is_refused(self) -> None:
        view = memoryview(PAGES)
        view.release()
        with pytest.raises(ValueError, match=r"^source: .*released"):
            ifdsweep.read(view)


MOST = 2**53
TOO_MANY_DIGITS = 10**5000
ARGUMENTS: list[tuple[str, Any, type[Exception], str]] = [
    ("source", None, TypeError, "expected a path, bytes, another object .*, got NoneType"),
    ("source", 7, TypeError, "got int"),
    ("source", object(), TypeError, "got object"),
    ("source", ["a.tif"], TypeError, "got list"),
    ("offset", -1, ValueError, f"expected 0 to {MOST}, got -1"),
    ("offset", MOST + 1, ValueError, f"expected 0 to {MOST}, got {MOST + 1}"),
    ("offset", TOO_MANY_DIGITS, ValueError, "expected 0 to"),
    ("offset", 1.0, TypeError, "expected an int or None, got float"),
    ("offset", "8", TypeError, "got str"),
    ("offset", True, TypeError, "got bool"),
    ("first", -1, ValueError, "got -1"),
    ("first", None, TypeError, "expected an int, got NoneType"),
    ("first", False, TypeError, "got bool"),
    ("max", -5, ValueError, "got -5"),
    ("max", "2", TypeError, "got str"),
    ("max_value", -1, ValueError, "got -1"),
    ("max_value", 2**64, ValueError, f"expected 0 to {2**64 - 1}"),
    ("max_value", "64K", TypeError, "expected an int or None, got str"),
    ("reading", "all", ValueError, 'expected "full" or "contract", got \'all\''),
    ("reading", "\ud800", ValueError, 'expected "full"'),
    ("reading", None, TypeError, "expected a str, got NoneType"),
    ("reading", b"full", TypeError, "got bytes"),
    ("read_budget", -1, ValueError, "got -1"),
    ("read_budget", "all", ValueError, "expected an int, \"unlimited\" or None, got 'all'"),
    ("read_budget", 1.5, TypeError, "got float"),
    ("value_budget", True, TypeError, "got bool"),
    ("value_budget", 2**64, ValueError, "expected 0 to"),
    ("streams", "second", ValueError, 'expected "first" or "all", got \'second\''),
    ("streams", 1, TypeError, "expected a str, got int"),
    ("check", 1, TypeError, "expected a bool, got int"),
    ("check", None, TypeError, "expected a bool, got NoneType"),
    ("name", b"x", TypeError, "expected a str or None, got bytes"),
    ("name", "", ValueError, "not empty"),
    ("name", "a\0b", ValueError, "no NUL"),
    ("tags", "", ValueError, 'no tag is named ""'),
    ("tags", "Mkae", ValueError, "no tag is named Mkae, nearest: Make"),
    ("tags", [], ValueError, "at least one name or number"),
    ("tags", ["Make", "Zzzzzzzzz"], ValueError, "no tag is named Zzzzzzzzz"),
    ("tags", [65536], ValueError, "expected 0 to 65535, got 65536"),
    ("tags", [-1], ValueError, "expected 0 to 65535, got -1"),
    ("tags", [True], TypeError, "expected names and numbers, got bool"),
    ("tags", [1.5], TypeError, "got float"),
    ("tags", [None], TypeError, "got NoneType"),
    ("tags", b"Make", TypeError, "expected a str, an iterable of names and numbers, or None"),
    ("tags", 271, TypeError, "got int"),
    ("tags", "\ud800", ValueError, "no tag is named"),
]


class TestArguments:
    @pytest.mark.parametrize(
        ("argument", "value", "error", "complaint"),
        ARGUMENTS,
        ids=[f"{row[0]}-{number}" for number, row in enumerate(ARGUMENTS)],
    )
    def test_what_is_wrong_is_told_with_its_name(
        self, argument: str, value: Any, error: type[Exception], complaint: str
    ) -> None:
        arguments = {"source": PAGES, argument: value}
        with pytest.raises(error, match=f"^{argument}: .*{complaint}"):
            ifdsweep.read(**arguments)

    @pytest.mark.parametrize(
        ("arguments", "complaint"),
        [
            ({"max_value": 5, "reading": "contract"}, 'max_value: goes with reading="full"'),
            ({"streams": "all", "reading": "contract"}, 'streams: "all" goes with reading="full"'),
            ({"streams": "all", "offset": 0}, 'streams: "all" and offset exclude each other'),
            ({"check": True, "reading": "contract"}, 'check: goes with reading="full"'),
        ],
    )
    def test_what_does_not_go_together_is_told(
        self, arguments: dict[str, Any], complaint: str
    ) -> None:
        with pytest.raises(ValueError, match=f"^{complaint}"):
            ifdsweep.read(PAGES, **arguments)

    def test_a_path_has_a_name_already(self) -> None:
        with pytest.raises(ValueError, match=r"^name: goes with a source that is no path"):
            ifdsweep.read("a.tif", name="b.tif")

    def test_what_an_iterable_of_tags_raises_comes_through(self) -> None:
        def tags() -> Iterator[str]:
            yield "Make"
            raise BrokenError

        with pytest.raises(BrokenError):
            ifdsweep.read(PAGES, tags=tags())

    def test_options_go_by_name_alone_and_have_to_be_known(self) -> None:
        read: Callable[..., Any] = ifdsweep.read
        with pytest.raises(TypeError):
            read(PAGES, 0)
        with pytest.raises(TypeError):
            read(PAGES, pages=3)
        with pytest.raises(TypeError):
            read()

    def test_numbers_may_be_of_any_whole_type(self) -> None:
        class Whole:
            def __index__(self) -> int:
                return 1

        assert len(ifdsweep.read(PAGES, first=Whole())) == 1  # type: ignore[arg-type]

    def test_directories_are_skipped_and_limited(self) -> None:
        positions = [directory.position for directory in ifdsweep.read(PAGES)]
        assert [d.position for d in ifdsweep.read(PAGES, first=1)] == positions[1:]
        assert [d.position for d in ifdsweep.read(PAGES, max=1)] == positions[:1]
        assert ifdsweep.read(b"12345678" + PAGES, offset=8).error is None
        assert ifdsweep.read(PAGES, offset=3).error is not None

    @pytest.mark.parametrize(
        "tags", ["ImageDescription,GPSLat*", ["imagedescription", "gpslat*"], (270, "GPSLat*")]
    )
    def test_tags_are_chosen_by_text_and_by_iterables(self, tags: Any) -> None:
        file = ifdsweep.read(PAGES, tags=tags)
        assert [list(directory) for directory in file] == [
            ["ImageDescription", "GPSInfo"],
            ["ImageDescription", "GPSInfo"],
        ]
        followed = {"DigitalCamera", "GPSInfo"}
        assert {entry.name for entry in file[0].entries} - followed == {"ImageDescription"}

    def test_a_long_value_is_left_in_the_file(self) -> None:
        file = ifdsweep.read(PAGES, max_value=7)
        assert file[0]["ImageDescription"] is None
        entry = file[0].entry(270)
        assert entry is not None
        assert not entry.is_loaded
        assert [warning.short_id for warning in file.warnings] == ["valuesNotLoaded"]

    def test_budgets_are_kept(self) -> None:
        assert "readBudgetSpent" in [
            m.short_id for m in ifdsweep.read(PAGES, read_budget=60).warnings
        ]
        for budget in (None, "unlimited", 10**9):
            assert len(ifdsweep.read(PAGES, read_budget=budget, value_budget=budget)) == 2
        assert "valueBudgetSpent" in [
            m.short_id for m in ifdsweep.read(PAGES, value_budget=2000).warnings
        ]

    def test_the_reading_by_the_contract_is_another(self) -> None:
        with_count = tiff([[*IMAGE, EXIF[0]]])
        assert ifdsweep.read(with_count, reading="contract").error is None
        assert ifdsweep.read(PAGES[:-30], reading="contract").error is not None

    def test_all_streams_are_read_when_asked_for(self) -> None:
        several = png(PAGES, PAGES)
        assert len(ifdsweep.read(several).streams) == 1
        assert len(ifdsweep.read(several, streams="all").streams) == 2
