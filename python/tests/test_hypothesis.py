"""Whatever a file holds, reading does not raise, and the laws of sequences and mappings hold."""

import copy
import json
import pickle
import unicodedata
from collections.abc import Mapping, Sequence
from fractions import Fraction
from typing import Any

import numpy as np
import pytest
from conftest import repetitions
from designed_files import LAYOUTS, LETTERS, Chain, Field, designed_files, jpeg, mutate, png, tiff
from hypothesis import HealthCheck, given, settings
from hypothesis import strategies as st

import ifdsweep

settings.register_profile(
    "ifdsweep",
    max_examples=repetitions(150, 10_000),
    deadline=None,
    suppress_health_check=[HealthCheck.too_slow, HealthCheck.data_too_large],
)
settings.load_profile("ifdsweep")

_TAGS = sorted({tag.number for tag in ifdsweep.tags() if tag.number is not None})
_DESIGNED = designed_files()


def _numbers(kind: int) -> st.SearchStrategy[Sequence[int | float]]:
    """Values of a type."""
    letters = LETTERS[kind]
    item: st.SearchStrategy[int | float]
    if letters == "f":
        item = st.floats(width=32)
    elif letters == "d":
        item = st.floats()
    else:
        bits = {"b": 8, "h": 16, "i": 32, "q": 64}[letters[0].lower()]
        least = -(2 ** (bits - 1)) if letters.islower() else 0
        item = st.integers(least, least + 2**bits - 1)
    size = len(letters)
    return st.lists(item, max_size=6 * size).map(
        lambda values: values[: len(values) // size * size]
    )


def _fields(below: st.SearchStrategy[Any]) -> st.SearchStrategy[Field]:
    """Entries of any kind, some with a lie about their count."""
    tags = st.sampled_from(_TAGS) | st.integers(0, 65535)
    counts = st.none() | st.none() | st.none() | st.integers(0, 2**40)
    number = st.sampled_from(sorted(LETTERS)).flatmap(
        lambda kind: st.builds(Field, tags, st.just(kind), _numbers(kind), counts)
    )
    texts = st.binary(max_size=40) | st.text(max_size=20).map(
        lambda text: text.encode("utf-8", "surrogatepass") + b"\0"
    )
    text = st.builds(Field, tags, st.sampled_from((1, 2, 7, 0, 14, 400)), texts, counts)
    pointer = st.builds(
        Field,
        st.sampled_from((330, 34665, 34853, 40965)),
        st.sampled_from((4, 13, 16)),
        st.lists(below, min_size=1, max_size=3),
    )
    return number | text | pointer


_DIRECTORY = st.recursive(
    st.lists(_fields(st.just([[]])), max_size=6),
    lambda below: st.lists(_fields(st.lists(below, max_size=2)), max_size=6),
    max_leaves=6,
)
_CHAINS: st.SearchStrategy[Chain] = st.lists(_DIRECTORY, min_size=1, max_size=3)
_TIFFS = st.builds(tiff, _CHAINS, st.sampled_from(LAYOUTS))
_WRAPPED = _TIFFS | _TIFFS.map(jpeg) | st.lists(_TIFFS, max_size=3).map(lambda them: png(*them))
_MUTATED = st.builds(
    mutate, _WRAPPED | st.sampled_from(list(_DESIGNED.values())), st.integers(0, 2**32)
)
_CONTENTS = st.binary(max_size=200) | _WRAPPED | _MUTATED


def _allowed(arguments: dict[str, Any]) -> dict[str, Any]:
    """Without what other arguments exclude."""
    if arguments.get("reading") == "contract":
        for name in ("check", "max_value", "streams"):
            arguments.pop(name, None)
    if arguments.get("offset") is not None:
        arguments.pop("streams", None)
    return arguments


# Pointers that lead back end at a budget alone, and a test asks for all that came before.
_ARGUMENTS = st.fixed_dictionaries(
    {"value_budget": st.integers(0, 20_000)},
    optional={
        "offset": st.none() | st.integers(0, 100) | st.integers(0, 2**53),
        "first": st.integers(0, 3),
        "max": st.integers(0, 3),
        "tags": st.sampled_from(("Make", "GPS*", ["Width", 65000], "*", [256, "exif*"])),
        "max_value": st.none() | st.integers(0, 100),
        "reading": st.sampled_from(("full", "contract")),
        "read_budget": st.none() | st.just("unlimited") | st.integers(0, 5000),
        "streams": st.sampled_from(("first", "all")),
        "check": st.booleans(),
        "name": st.none() | st.text(min_size=1, max_size=10).filter(lambda name: "\0" not in name),
    },
).map(_allowed)


@given(_CONTENTS, _ARGUMENTS)
def test_reading_never_raises_and_all_can_be_asked(
    content: bytes, arguments: dict[str, Any]
) -> None:
    file = ifdsweep.read(content, **arguments)
    _ask_everything(file)


@given(_CONTENTS, _ARGUMENTS)
def test_dicts_are_what_a_reader_of_the_json_gets(
    content: bytes, arguments: dict[str, Any]
) -> None:
    file = ifdsweep.read(content, **arguments)
    assert repr(file.to_dict()) == repr(json.loads(file.to_json()))
    assert repr(file.to_dict()) == repr(json.loads(file.to_json(pretty=True)))
    for stream in file.streams:
        for directory in stream:
            assert directory.to_dict() in _records(file.to_dict())
    for line in file.to_facts().splitlines():
        assert isinstance(json.loads(line), dict)


@given(_CONTENTS, _ARGUMENTS)
def test_equal_bytes_give_equal_files(content: bytes, arguments: dict[str, Any]) -> None:
    first = ifdsweep.read(content, **arguments)
    second = ifdsweep.read(bytearray(content), **arguments)
    third = pickle.loads(pickle.dumps(first))
    for other in (second, third):
        assert first == other
        assert not first != other  # noqa: SIM202
        assert hash(first) == hash(other)
        for one, its in zip(first, other, strict=True):
            assert one == its
            assert hash(one) == hash(its)
            assert dict(one).keys() == dict(its).keys()
        assert first.to_json() == other.to_json()
        assert first.warnings == other.warnings


@given(_CONTENTS, st.data())
def test_a_file_is_a_sequence(content: bytes, data: st.DataObject) -> None:
    file = ifdsweep.read(content)
    for sequence in (file, *file.streams):
        _assert_sequence(sequence, data)


@given(_WRAPPED)
def test_a_directory_is_a_mapping(content: bytes) -> None:
    for directory in ifdsweep.read(content).walk():
        assert isinstance(directory, Mapping)
        names = list(directory)
        assert len(directory) == len(names) == len(set(names))
        assert list(directory.keys()) == names
        assert [name for name, _ in directory.items()] == names
        assert len(list(directory.values())) == len(names)
        for name in names:
            assert name in directory
            assert repr(directory.get(name)) == repr(directory[name])
        for absent in ("no such field", "", "\0", "Wid", "\ud800"):
            assert absent not in directory
            assert directory.get(absent, 7) == 7
            with pytest.raises(KeyError):
                directory[absent]
        assert directory.to_dict().keys() == set(names)


@given(_WRAPPED)
def test_numbers_are_those_of_the_entries(content: bytes) -> None:
    """What an array, the fractions and the value of an entry say is the same."""
    for directory in ifdsweep.read(content).walk():
        for entry in directory.entries:
            if not entry.is_loaded or entry.type not in _NUMERIC:
                continue
            array = entry.array()
            value = entry.value if entry.count != 1 else (entry.value,)
            assert isinstance(value, tuple)
            assert len(value) == len(array) == entry.count
            if entry.type in ("RATIONAL", "SRATIONAL"):
                assert [tuple(pair) for pair in array.tolist()] == list(value)
                assert entry.fractions == tuple(
                    Fraction(*pair) if pair[1] else None  # type: ignore[index, misc]
                    for pair in value
                )
            elif entry.type in ("FLOAT", "DOUBLE"):
                assert np.array_equal(array, np.array(value, array.dtype), equal_nan=True)
            else:
                assert array.tolist() == list(value)
            assert array.tobytes() == entry.bytes


_NUMERIC = {"BYTE", "SHORT", "LONG", "RATIONAL", "SBYTE", "SSHORT", "SLONG", "SRATIONAL", "FLOAT"}
_NUMERIC |= {"DOUBLE", "IFD", "LONG8", "SLONG8", "IFD8"}


def _assert_sequence(sequence: Sequence[ifdsweep.Directory], data: st.DataObject) -> None:
    items = list(sequence)
    assert isinstance(sequence, Sequence)
    assert len(sequence) == len(items)
    assert bool(items) == (len(sequence) > 0)
    assert list(reversed(sequence)) == items[::-1]
    for number, item in enumerate(items):
        assert sequence[number] == sequence[number - len(items)] == item
        assert item in sequence
        assert sequence.count(item) == items.count(item)
        assert sequence.index(item) == items.index(item)
    for beyond in (len(items), -len(items) - 1, 2**70, -(2**70)):
        with pytest.raises(IndexError):
            sequence[beyond]
    part = data.draw(st.slices(len(items)))
    assert list(sequence[part]) == items[part]


def _ask_everything(file: ifdsweep.File) -> None:
    """Every attribute of everything; none raises, and each is what it is said to be."""
    _ask_object(file, skip={"check", "column", "index", "count"})
    assert file.to_text() or file.error is not None
    assert file.to_facts() is not None
    if file.error is None:
        assert file.check() is file
    else:
        with pytest.raises(ifdsweep.ReadError) as raised:
            file.check()
        assert raised.value.file == file
        assert raised.value.message == file.error
    for message in (*file.warnings, *([file.error] if file.error else [])):
        _ask_object(message)
        assert message.explain()
    for stream in file.streams:
        _ask_object(stream, skip={"index", "count"})
    for directory in file.walk():
        _ask_object(directory, skip=_OF_DIRECTORY)
        _ask_directory(directory)
    for name in ("Width", "Make", "XResolution", "TileOffsets", "GPSLatitude"):
        assert len(file.column(name)) == len(file)


_OF_DIRECTORY = {"code", "entry", "array", "is_default", "get"}


# Names of entries that are not those of their fields.
_FIELDS = {tag.alias: tag.name for tag in ifdsweep.tags() if tag.alias}


def _ask_directory(directory: ifdsweep.Directory) -> None:
    for name, value in directory.items():
        _assert_value(value)
        code = directory.code(name)
        assert code is None or isinstance(code, int | float | tuple)
        assert isinstance(directory.is_default(name), bool)
        entry = directory.entry(name)
        if entry is not None:
            assert _FIELDS.get(entry.name or "", entry.name) == name
            assert directory.entry(entry.tag) is not None
    for entry in (*directory.entries, *directory.unknown, *directory.defaults):
        _ask_object(entry, skip={"array", "fractions"})
        assert entry.directory == directory
        if entry.is_loaded and not entry.is_default and entry.type in _NUMERIC:
            assert not entry.array().flags.writeable


def _ask_object(item: object, skip: frozenset[str] | set[str] = frozenset()) -> None:
    for name in dir(item):
        if name.startswith("_") or name in skip:
            continue
        attribute = getattr(item, name)
        if callable(attribute):
            attribute()
    line = repr(item)
    assert not _hidden(line)
    assert line.startswith("<")
    assert line.endswith(">")
    assert hash(item) == hash(item)
    assert item == copy.copy(item)
    assert copy.deepcopy(item) is item
    assert pickle.loads(pickle.dumps(item)) == item
    if hasattr(item, "_repr_html_"):
        page = item._repr_html_()
        assert not _hidden(page)
        assert page.count("<") == page.count(">")


def _hidden(text: str) -> list[str]:
    """Its control, format and bidirectional characters, line and paragraph ends, surrogates."""
    hidden = {"Cc", "Cf", "Cs", "Zl", "Zp"}
    return [character for character in text if unicodedata.category(character) in hidden]


def _assert_value(value: object) -> None:
    """A value is of the documented types all the way down."""
    if isinstance(value, tuple):
        for item in value:
            _assert_value(item)
    elif isinstance(value, Mapping) and not isinstance(value, ifdsweep.Directory):
        for name, item in value.items():
            assert isinstance(name, str)
            _assert_value(item)
    else:
        assert value is None or isinstance(value, int | float | str | bytes | ifdsweep.Directory)


def _records(written: dict[str, Any]) -> list[Any]:
    """The records of all streams of a file's object, as they can be compared."""
    streams = written.get("streams", [written])
    return [record for stream in streams for record in stream.get("records") or []]
