"""What a catalogue consists of, as plain immutable values, and their JSON.

On disk, below the folder of a catalogue (NNNNNN is the number of a snapshot):

    catalogue.json                        what it is made with; written once
    snapshots/NNNNNN.json                 a state of the catalogue; the newest is the catalogue
    files/ images/ tags/ warnings/        parts: Parquet files that never change
    others/                               parts: what was looked at and is no image
    work/NNNNNN/plan.json, items-….parquet  how the snapshot NNNNNN is made
    work/NNNNNN/attempts/PPPPP.UUID/…     one try of one partition
    work/NNNNNN/done/PPPPP.json           the receipt of the try that was first
    lock                                  held by an update while it runs

Paths of files are relative to their root and bytes, as the system has them; in JSON they are
str by `os.fsdecode`. Their order is that of their components: `path_key`.
"""

import json
import math
import re
from collections.abc import Mapping
from contextlib import suppress
from dataclasses import asdict, dataclass, is_dataclass
from types import NoneType, UnionType
from typing import (
    Annotated,
    Any,
    Literal,
    TypeAlias,
    TypeVar,
    Union,
    get_args,
    get_origin,
    get_type_hints,
)

from ifdsweep.catalogue._names import ATTEMPT, ITEMS_NAME, PART_NAME

FORMAT = 1
"""The version of what is on disk."""

Table: TypeAlias = Literal["files", "images", "tags", "warnings", "others"]
TABLES: tuple[Table, ...] = ("files", "images", "tags", "warnings", "others")

FILE_BITS = 24
"""`file_id` is the number of the part, so many bits to the left, and the file's place in it."""

PartNumber: TypeAlias = Annotated[int, range(1 << 63 - FILE_BITS)]
RootNumber: TypeAlias = Annotated[int, range(1 << 15)]

_Kind = TypeVar("_Kind")


def path_key(path: bytes) -> bytes:
    """What paths are sorted by: component by component, each by its bytes."""
    return path.replace(b"/", b"\0")


def merged_paths(kept: list[bytes], reads: list[bytes]) -> list[bytes]:
    """Paths of files that are kept and of others, each sorted by `path_key`, as one such list."""
    return sorted([*kept, *reads], key=path_key) if kept else reads


@dataclass(frozen=True, slots=True)
class Options:
    """What a catalogue is made with, for good."""

    include: tuple[str, ...] = ()
    exclude: tuple[str, ...] = ()
    ignore_case: bool = False
    all_files: bool = False
    """Every file has a row, not only those that begin as an image."""
    follow: bool = False
    columns: tuple[str, ...] | Literal["core", "all"] = "core"
    """Those of `images`."""
    tags: Literal["rest", "all", "none"] = "rest"
    """Entries that have a row in `tags`; "rest": those that columns of `images` do not hold."""
    max_value: int | None = None
    isolate: bool = False
    timeout: float | None = None
    memory: int | None = None
    streams: Literal["first", "all"] = "first"
    compression: Literal["zstd", "snappy", "gzip", "brotli", "lz4", "none"] = "zstd"
    use_inode: bool = True
    """Whether a file with another inode is another file; not on file systems that make them up."""


@dataclass(frozen=True, slots=True)
class Description:
    """What `catalogue.json` says: a catalogue without what is in it."""

    format: int
    roots: tuple[str, ...]
    options: Options


@dataclass(frozen=True, slots=True)
class PartFile:
    """A Parquet file of a part: one of its tables."""

    name: Annotated[str, PART_NAME]
    """From the folder of the catalogue."""
    rows: int
    bytes: int


@dataclass(frozen=True, slots=True)
class Part:
    """The rows of the files in a range of paths of one root."""

    number: PartNumber
    """Counted over the life of the catalogue: no two parts of snapshots share one."""
    root: RootNumber
    first: str
    """The path of its first file, image or not."""
    last: str
    tables: Mapping[str, PartFile]
    """By `TABLES`; a table without rows has no file."""
    failed: int
    """How many of its files have a status other than ok and warned."""


def rows_of(part: Part, table: Table) -> int:
    """How many rows a table of a part has."""
    return part.tables[table].rows if table in part.tables else 0


@dataclass(frozen=True, slots=True)
class Unlisted:
    """A folder that could not be listed: what was known of its files was kept."""

    root: RootNumber
    folder: str
    """"" is the root itself."""
    error: str


@dataclass(frozen=True, slots=True)
class Summary:
    """What an update did, in files but for the last."""

    files: int = 0
    """That the catalogue has now."""
    read: int = 0
    unchanged: int = 0
    removed: int = 0
    failed: int = 0
    """That the catalogue has now with a status other than ok and warned."""
    unlisted: int = 0
    """Folders that could not be listed."""
    partitions: int = 0
    seconds: float = 0.0


@dataclass(frozen=True, slots=True)
class Snapshot:
    """A state of a catalogue."""

    number: int
    """From 1 on; 0 is the empty one that no file stands for."""
    parent: int
    started: float
    """Seconds since 1970; what changed later may be missing."""
    ended: float
    parts: tuple[Part, ...]
    """By root and path."""
    next_part: PartNumber
    summary: Summary
    unlisted: tuple[Unlisted, ...] = ()
    seconds_per_file: float | None = None
    """What reading took, for the size of partitions."""
    seconds_per_byte: float | None = None


EMPTY = Snapshot(0, 0, 0.0, 0.0, (), 1, Summary())


@dataclass(frozen=True, slots=True)
class Partition:
    """A range of paths of one root that an update makes anew: one part, whose number it has."""

    number: PartNumber
    root: RootNumber
    old: tuple[PartNumber, ...]
    """Numbers of the parts of which rows are kept."""
    begin: str
    """First path of the range; of the old parts the partition keeps what is in the range."""
    end: str | None
    """First path behind it; None for the last range of a root."""
    reads: int
    """How many files are read."""
    bytes: int
    """Their size."""


@dataclass(frozen=True, slots=True)
class Plan:
    """How a snapshot is made: what an update found out, before anything is read.

    What is to be done with single files stands in the file `items`, sorted by partition and path:
    columns `partition` int64, `action` int8 (`READ`, `DROP`), `path` binary.
    """

    snapshot: int
    parent: int
    started: float
    options: Options
    roots: tuple[str, ...]
    partitions: tuple[Partition, ...]
    carried: tuple[PartNumber, ...]
    """Numbers of the parts that go into the snapshot as they are."""
    unlisted: tuple[Unlisted, ...]
    unchanged: int
    removed: int
    items: Annotated[str, ITEMS_NAME]
    """The name of the file."""


READ = 0
"""Action: the file is read; rows that the old parts have of it are dropped."""
DROP = 1
"""Action: the file is gone."""


@dataclass(frozen=True, slots=True)
class Receipt:
    """What a try of a partition made; below 1 kB of JSON but for long paths."""

    partition: PartNumber
    attempt: Annotated[str, ATTEMPT]
    part: Part | None
    """Names are those that the files have in the tables; None where no file is left."""
    files: int
    """Rows of `files`."""
    read: int
    failed: int
    bytes_read: int
    seconds: float
    """That reading and writing took."""


def to_json(value: Any) -> bytes:
    """One of the values above as JSON."""
    return json.dumps(asdict(value), indent=1).encode()


def from_json(kind: type[_Kind], content: bytes) -> _Kind:
    """The value of a kind; ValueError, which tells what is wrong, for what is none.

    Members that have a default may be missing; there are no others than those of the kind.
    """
    made: _Kind = _built(kind, _parsed(content), kind.__name__)
    return made


def description_from_json(content: bytes) -> Description:
    """What `catalogue.json` says; ValueError as of `from_json`, or since a later version made it,
    of which nothing else is looked at."""
    value = _parsed(content)
    if isinstance(value, dict) and type(value.get("format")) is int and value["format"] > FORMAT:
        raise ValueError("a later version of ifdsweep made it")
    made: Description = _built(Description, value, "Description")
    return made


def _parsed(content: bytes) -> Any:
    try:
        return json.loads(content)
    except (RecursionError, UnicodeDecodeError) as error:
        raise ValueError(f"no JSON: {error}") from error


def _built(kind: Any, value: Any, place: str) -> Any:
    """A value of a type, made of what JSON has for it."""
    if is_dataclass(kind):
        return _built_object(kind, value, place)
    origin = get_origin(kind)
    arguments = get_args(kind)
    if origin is Annotated:
        made = _built(arguments[0], value, place)
        if _is_within(arguments[1], made):
            return made
    if origin is tuple and isinstance(value, list):
        return tuple(_built(arguments[0], item, f"{place}[{n}]") for n, item in enumerate(value))
    if origin is Mapping and isinstance(value, dict):
        keys = [_built(arguments[0], key, f"{place}: a name") for key in value]
        return {key: _built(arguments[1], value[key], f"{place}.{key}") for key in keys}
    if origin is Literal and value in arguments:
        return value
    if origin in {Union, UnionType}:
        for choice in arguments:
            with suppress(ValueError):
                return _built(choice, value, place)
    if kind is float and type(value) in {int, float} and _is_time(value):
        return float(value)
    if kind is int and type(value) is int and 0 <= value < 1 << 63:
        return value
    if kind is str and type(value) is str and _is_path(value):
        return value
    if kind in {bool, NoneType} and type(value) is kind:
        return value
    raise ValueError(f"{place}: a value that does not belong there")


def _is_within(limit: Any, value: Any) -> bool:
    """Whether a value is in a range, or a text like a pattern."""
    if isinstance(limit, re.Pattern):
        return limit.fullmatch(value) is not None
    return value in limit


def _is_time(value: float) -> bool:
    """Whether it is a number of seconds that computing with does no harm."""
    return 0 <= value < 1e12 and math.isfinite(value)


def _is_path(value: str) -> bool:
    """Whether a text could be a path by `os.fsdecode`, as all texts here could."""
    try:
        value.encode("utf-8", "surrogateescape")
    except UnicodeEncodeError:
        return False
    return "\0" not in value


def _built_object(kind: Any, value: Any, place: str) -> Any:
    if not isinstance(value, dict):
        raise ValueError(f"{place}: a value that does not belong there")
    types = get_type_hints(kind, include_extras=True)
    if surplus := value.keys() - types.keys():
        names = ", ".join(ascii(name)[1:-1] for name in sorted(surplus))
        raise ValueError(f"{place}: unknown members: {names}")
    given = {name: _built(types[name], item, f"{place}.{name}") for name, item in value.items()}
    try:
        return kind(**given)
    except TypeError:
        missing = sorted(types.keys() - value.keys())
        raise ValueError(f"{place}: members are missing: {', '.join(missing)}") from None
