"""Many files: read by threads of this process, or by the program in processes of their own."""

import math
import operator
import os
from collections.abc import Iterable, Iterator, Mapping
from types import TracebackType
from typing import TYPE_CHECKING, Any, Literal, NamedTuple, Protocol, Self, TypeAlias, TypedDict

from ifdsweep import _core
from ifdsweep._core import File

if TYPE_CHECKING:
    from ifdsweep._program import ProgramScan

AnyPath: TypeAlias = str | bytes | os.PathLike[str] | os.PathLike[bytes]

_MOST_THREADS = 1024


class FileArguments(TypedDict, total=False):
    """The arguments of a scan behind its paths, but for the longest value."""

    recursive: bool
    include: str | Iterable[str]
    exclude: str | Iterable[str]
    ignore_case: bool
    all_files: bool
    follow: bool
    threads: int | None
    ordered: bool
    isolate: bool
    timeout: float | None
    memory: int | None
    offset: int | None
    first: int
    max: int
    tags: str | Iterable[str | int] | None
    reading: Literal["full", "contract"]
    read_budget: int | Literal["unlimited"] | None
    value_budget: int | Literal["unlimited"] | None
    streams: Literal["first", "all"]
    check: bool


class ScanArguments(FileArguments, total=False):
    """The arguments of a scan behind its paths."""

    max_value: int | None


class Files(Protocol):
    """Files that come one after the other, until there are no more or they are closed."""

    def __next__(self) -> File: ...
    def close(self) -> None: ...


class Plan(NamedTuple):
    """What a scan does, checked: it can be begun more than once."""

    options: _core.ScanOptions
    """For threads of this process."""
    program: list[bytes] | None
    """The arguments of the program that reads in its own processes."""
    names: list[bytes]
    """The paths, for the program."""

    def begin(self) -> Files:
        """Begins to read."""
        return _core.ThreadScan(self.options) if self.program is None else self.begin_program()

    def begin_program(self) -> "ProgramScan":
        """Has the program begin."""
        from ifdsweep._program import ProgramScan  # needed by few, and imports much

        return ProgramScan(self.program or [], self.names)


class Scan(Iterator[File]):
    """The files of a scan, as `scan` gives them.

    Files are read ahead, at most 256 of them and 256 MiB. Threads may share a scan: each file goes
    to one of them. It is closed after the last file and by any exception, Ctrl-C too, at the end of
    a `with` block, and when the object is gone: files that are being read are then given up, and
    no thread or process is left behind.

    A scan is for the process that began it. In one that was forked from that it raises
    RuntimeError.
    """

    __slots__ = ("_files",)

    def __init__(self, files: Files) -> None:
        self._files = files

    def __iter__(self) -> Self:
        return self

    def __next__(self) -> File:
        try:
            return self._files.__next__()
        except BaseException:
            self.close()
            raise

    def close(self) -> None:
        """Ends the scan: there are no more files. May be called more than once, by any thread."""
        self._files.close()

    def __enter__(self) -> Self:
        return self

    def __exit__(
        self,
        kind: type[BaseException] | None,
        error: BaseException | None,
        traceback: TracebackType | None,
    ) -> None:
        self.close()


def scan(
    paths: AnyPath | Iterable[AnyPath],
    *,
    recursive: bool = True,
    include: str | Iterable[str] = (),
    exclude: str | Iterable[str] = (),
    ignore_case: bool = False,
    all_files: bool = False,
    follow: bool = False,
    threads: int | None = None,
    ordered: bool = True,
    isolate: bool = False,
    timeout: float | None = None,
    memory: int | None = None,
    offset: int | None = None,
    first: int = 0,
    max: int = 0,  # noqa: A002
    tags: str | Iterable[str | int] | None = None,
    max_value: int | None = None,
    reading: Literal["full", "contract"] = "full",
    read_budget: int | Literal["unlimited"] | None = None,
    value_budget: int | Literal["unlimited"] | None = None,
    streams: Literal["first", "all"] = "first",
    check: bool = False,
) -> Scan:
    """Reads many files, several at a time.

    Damage never raises, and a path that cannot be read is a `File` with an error. Files found in
    folders that do not begin as an image are passed over.

    Args:
        paths: Files and folders, one or an iterable of them, which is asked for all at once. No
            path stands for the standard input: "-" is a file of that name, which becomes "./-".
        recursive: Goes down into the folders of a folder.
        include: Patterns; of the files found in folders, only those that match one.
        exclude: Patterns; files and folders found in folders that match one are left out.
        ignore_case: Letters A to Z of patterns match in either case.
        all_files: Tries every file of a folder, not only those that begin as an image.
        follow: Follows symbolic links to folders.
        threads: How many files are read at a time; as many as there are cores for this process.
        ordered: Gives files in the order of the paths, and names in folders sorted by their bytes.
            False lets quick files pass slow ones, but with `isolate`.
        isolate: Reads in processes of the program that comes with the package, never forked from
            this one, so that no file can do harm here.
        timeout: With `isolate`, most seconds for one file; 10 minutes unless set.
        memory: With `isolate`, most bytes of memory for one file; 8 GiB unless set, or less where
            the machine has less.
        offset: As all that follow: see `read`.

    Raises:
        TypeError, ValueError: For an argument, which is named.
        FileNotFoundError: With `isolate`, if the program is not there.
        RuntimeError: From the scan, if the program ends before its work is done.
    """
    arguments: ScanArguments = {
        "recursive": recursive,
        "include": include,
        "exclude": exclude,
        "ignore_case": ignore_case,
        "all_files": all_files,
        "follow": follow,
        "threads": threads,
        "ordered": ordered,
        "isolate": isolate,
        "timeout": timeout,
        "memory": memory,
        "offset": offset,
        "first": first,
        "max": max,
        "tags": tags,
        "max_value": max_value,
        "reading": reading,
        "read_budget": read_budget,
        "value_budget": value_budget,
        "streams": streams,
        "check": check,
    }
    return Scan(planned(paths, arguments).begin())


def planned(paths: AnyPath | Iterable[AnyPath], arguments: ScanArguments) -> Plan:
    """Checks all arguments of a scan. See `scan` for what it raises."""
    given: dict[str, Any] = {**arguments}
    flags = {name: given[name] for name in _FLAGS}
    for name, flag in flags.items():
        if not isinstance(flag, bool):
            raise TypeError(f"{name}: expected a bool, got {type(flag).__name__}")
    isolate = flags.pop("isolate")
    limits = _limits(isolate, given["timeout"], given["memory"])
    threads = given["threads"]
    count = _cores() if threads is None else whole("threads", threads, _MOST_THREADS)
    patterns = {name: _patterns(name, given[name]) for name in ("include", "exclude")}
    read_options = {name: given[name] for name in _READ_ARGUMENTS}
    read_options["tags"] = _tags(given["tags"])
    names = _names(paths)
    options = _core.scan_options(
        paths=[] if isolate else names, threads=count, **flags, **patterns, **read_options
    )
    if not isolate:
        return Plan(options, None, [])
    texts = [
        *_PROGRAM_OPTIONS,
        f"--jobs={count}",
        *limits,
        *_flag_options({**flags, "check": read_options["check"]}),
        *_pattern_options(patterns, flags["ignore_case"]),
        *_read_options(read_options),
    ]
    return Plan(options, [os.fsencode(text) for text in texts], names)


# Arguments that are true or false.
_FLAGS = ("recursive", "ignore_case", "all_files", "follow", "ordered", "isolate")

# Arguments of a reading.
_READ_ARGUMENTS = (
    "offset",
    "first",
    "max",
    "tags",
    "max_value",
    "reading",
    "read_budget",
    "value_budget",
    "streams",
    "check",
)

# What the program is asked for whatever is scanned.
_PROGRAM_OPTIONS = ("--format=packed", "--quiet", "--no-progress", "--files-from=-", "--null")

# Arguments that are flags: what they are unless the option is given.
_FLAG_OPTIONS = {
    "recursive": (True, "--no-recursive"),
    "all_files": (False, "--all"),
    "follow": (False, "--follow"),
    "check": (False, "--check"),
}

_PATTERN_OPTIONS = {
    ("include", False): "--include",
    ("include", True): "--iglob",
    ("exclude", False): "--exclude",
    ("exclude", True): "--iexclude",
}

# Arguments of a reading that are options of the same name, and what they are unless they are given.
_READ_OPTIONS = {
    "offset": None,
    "first": 0,
    "max": 0,
    "max_value": None,
    "reading": "full",
    "read_budget": None,
    "value_budget": None,
    "streams": "first",
}


def _cores() -> int:
    return min(len(os.sched_getaffinity(0)), _MOST_THREADS)


def whole(name: str, number: int, most: int, expected: str = "an int or None") -> int:
    """A whole number from 1 on."""
    if isinstance(number, bool) or not hasattr(number, "__index__"):
        raise TypeError(f"{name}: expected {expected}, got {type(number).__name__}")
    whole = operator.index(number)
    if not 1 <= whole <= most:
        raise ValueError(f"{name}: expected 1 to {most}, got {whole}")
    return whole


def _limits(isolate: bool, timeout: float | None, memory: int | None) -> list[str]:
    """The limits of a file, as options of the program."""
    for name, limit in (("timeout", timeout), ("memory", memory)):
        if limit is not None and not isolate:
            raise ValueError(f"{name}: goes with isolate=True; else files are read in this process")
    options = []
    if timeout is not None:
        if isinstance(timeout, bool) or not isinstance(timeout, int | float):
            kind = type(timeout).__name__
            raise TypeError(f"timeout: expected a number of seconds or None, got {kind}")
        if not 0 < timeout < math.inf:
            raise ValueError(f"timeout: expected a finite number above 0, got {timeout}")
        options.append(f"--timeout={timeout!r}")
    if memory is not None:
        options.append(f"--memory={whole('memory', memory, (1 << 64) - 1)}")
    return options


def _patterns(name: str, given: str | Iterable[str]) -> list[bytes]:
    """Patterns in system bytes."""
    kind = type(given).__name__
    if isinstance(given, bytes | bytearray) or not isinstance(given, Iterable):
        raise TypeError(f"{name}: expected a str or an iterable of them, got {kind}")
    patterns = []
    for pattern in [given] if isinstance(given, str) else given:
        if not isinstance(pattern, str):
            raise TypeError(f"{name}: expected a str, got {type(pattern).__name__}")
        patterns.append(_system_bytes(name, pattern))
    return patterns


def _tags(tags: str | Iterable[str | int] | None) -> str | tuple[str | int, ...] | None:
    """Tags that can be gone through more than once."""
    if isinstance(tags, str | bytes | bytearray) or not isinstance(tags, Iterable):
        return tags  # type: ignore[return-value]  # what is no list of tags is refused with the others
    return tuple(tags)


def _names(paths: AnyPath | Iterable[AnyPath]) -> list[bytes]:
    """Paths in system bytes."""
    if isinstance(paths, str | bytes | os.PathLike):
        return [_path_bytes(paths)]
    if not isinstance(paths, Iterable):
        kind = type(paths).__name__
        raise TypeError(f"paths: expected a path or an iterable of paths, got {kind}")
    return [_path_bytes(path) for path in paths]


def _path_bytes(path: AnyPath) -> bytes:
    if not isinstance(path, str | bytes | os.PathLike):
        kind = type(path).__name__
        raise TypeError(f"paths: expected a str, bytes or os.PathLike, got {kind}")
    return _system_bytes("paths", path)


def _system_bytes(name: str, text: AnyPath) -> bytes:
    try:
        encoded = os.fsencode(text)
    except UnicodeEncodeError:
        raise ValueError(f"{name}: the system has no such name: {text!r}") from None
    if not encoded or b"\0" in encoded:
        flaw = "a null character in" if encoded else "expected at least one character, got"
        raise ValueError(f"{name}: {flaw} {text!r}")
    return encoded


def _flag_options(flags: Mapping[str, bool]) -> list[str]:
    return [option for name, (usual, option) in _FLAG_OPTIONS.items() if flags[name] is not usual]


def _pattern_options(patterns: Mapping[str, Iterable[bytes]], ignore_case: bool) -> list[str]:
    return [
        f"{_PATTERN_OPTIONS[name, ignore_case]}={os.fsdecode(pattern)}"
        for name, given in patterns.items()
        for pattern in given
    ]


def _read_options(options: Mapping[str, object]) -> list[str]:
    """The options of a reading that was checked, as those of the program."""
    arguments = []
    for name, usual in _READ_OPTIONS.items():
        if (value := options[name]) != usual:
            text = value if isinstance(value, str) else operator.index(value)  # type: ignore[arg-type]
            arguments.append(f"--{name.replace('_', '-')}={text}")
    tags = options["tags"]
    if isinstance(tags, tuple):
        tags = ",".join(tag if isinstance(tag, str) else str(operator.index(tag)) for tag in tags)
    if tags is not None:
        arguments.append(f"--tags={tags}")
    return arguments
