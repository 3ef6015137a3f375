"""What the package gives is what the program writes, to the character, and the same values."""

import contextlib
import json
import os
import random
import textwrap
from collections import defaultdict
from collections.abc import Iterator, Sequence
from pathlib import Path
from typing import Any, NamedTuple

import pytest
from conftest import Program, corpus_files, repetitions, sample_files, seed_files
from designed_files import designed_files, mutate

import ifdsweep


class Reading(NamedTuple):
    """One way to read, as options of the program and as arguments."""

    name: str
    options: list[str]
    arguments: dict[str, Any]


READINGS = [
    Reading("full", [], {}),
    Reading("contract", ["--reading", "contract"], {"reading": "contract"}),
    Reading("streams", ["--streams", "all"], {"streams": "all"}),
    Reading(
        "tags",
        ["--tags", "Make,GPS*,exif*,65000,256"],
        {"tags": ["Make", "GPS*", "exif*", 65000, 256]},
    ),
    Reading(
        "contract_tags",
        ["--tags", "Width,sub*", "--reading", "contract"],
        {"tags": "Width,sub*", "reading": "contract"},
    ),
    Reading("max_value", ["--max-value", "9"], {"max_value": 9}),
    Reading("check", ["--check"], {"check": True}),
    Reading("part", ["--first", "1", "--max", "2"], {"first": 1, "max": 2}),
    Reading("offset", ["--offset", "0"], {"offset": 0}),
    Reading(
        "budgets",
        ["--read-budget", "700", "--value-budget", "300"],
        {"read_budget": 700, "value_budget": 300},
    ),
]


def _written(folder: Path, files: dict[str, bytes]) -> list[Path]:
    paths = [folder / name for name in files]
    for path, data in zip(paths, files.values(), strict=True):
        path.write_bytes(data)
    return paths


@pytest.fixture(scope="module")
def designed(tmp_path_factory: pytest.TempPathFactory) -> list[Path]:
    """The designed files, in a folder."""
    return _written(tmp_path_factory.mktemp("designed"), designed_files())


@pytest.fixture(scope="module")
def seeds(tmp_path_factory: pytest.TempPathFactory) -> list[Path]:
    """The seeds of the fuzz targets; those that begin with choices without them, too."""
    files: dict[str, bytes] = {}
    for number, path in enumerate(seed_files()):
        files[f"{number}.tif"] = path.read_bytes()
        if path.parent.name == "whole_call":
            files[f"{number}_cut.tif"] = path.read_bytes()[6:]
    return _written(tmp_path_factory.mktemp("seeds"), files)


@pytest.mark.parametrize("reading", READINGS, ids=lambda reading: reading.name)
class TestEveryFileIsReadAsTheProgramReadsIt:
    """Samples, real files, designed files, seeds."""

    def test_samples(self, program: Program, reading: Reading) -> None:
        _assert_equal(program, reading, sample_files())

    def test_corpus(self, program: Program, reading: Reading) -> None:
        if not corpus_files():
            pytest.skip("no corpus here")
        _assert_equal(program, reading, corpus_files())

    def test_designed_files(self, program: Program, reading: Reading, designed: list[Path]) -> None:
        _assert_equal(program, reading, designed)

    def test_seeds(self, program: Program, reading: Reading, seeds: list[Path]) -> None:
        if not seeds:
            pytest.skip("no seeds are named")
        _assert_equal(program, reading, seeds)


_PARTS = 10


@pytest.mark.parametrize("part", range(_PARTS))
def test_mutations_are_read_as_the_program_reads_them(
    program: Program, tmp_path: Path, part: int
) -> None:
    """500 of them, or 20,000; each read in full, as the contract has it, and in one more way."""
    originals = [path.read_bytes() for path in sample_files()] + list(designed_files().values())
    originals += [data for path in corpus_files() if len(data := path.read_bytes()) < 100_000]
    number = repetitions(500, 20_000) // _PARTS
    chance = random.Random(part)
    mutations = {
        f"{seed:06}.tif": mutate(chance.choice(originals), seed)
        for seed in range(part * number, (part + 1) * number)
    }
    paths = _written(tmp_path, mutations)
    for reading in (READINGS[0], READINGS[1], READINGS[2 + part % (len(READINGS) - 2)]):
        _assert_equal(program, reading, paths)


def test_json_is_written_in_lines_of_its_own_when_asked(program: Program) -> None:
    for path in sample_files():
        written = program.output(["--format", "json", "--pretty"], [path]).decode()
        assert json.loads(written) == [json.loads(ifdsweep.read(path).to_json(pretty=True))]
        pretty = ifdsweep.read(path).to_json(pretty=True)
        assert textwrap.indent(pretty, "  ") in written


def test_text_is_that_of_the_program(program: Program) -> None:
    for path in sample_files():
        written = program.output(["--format", "text"], [path]).decode()
        assert ifdsweep.read(path, max_value=64 << 10).to_text() == written


def test_a_name_that_is_no_utf8_is_written_as_the_program_writes_it(
    program: Program, tmp_path: Path
) -> None:
    path = tmp_path / os.fsdecode(b"latin \xe9 \xf0\x9f.tif")
    path.write_bytes(sample_files()[0].read_bytes())
    _assert_equal(program, READINGS[0], [path])


def _assert_equal(program: Program, reading: Reading, files: Sequence[Path]) -> None:
    """JSON, dicts and facts of all files; says which file is the first that differs.

    They have short names: the budget of values counts long ones once more for each entry, when
    entries are told, which the program's JSON has no need of.
    """
    folder = files[0].parent
    names = [path.relative_to(folder) for path in files]
    with contextlib.chdir(folder):
        _assert_equal_here(program, reading, names)


def _assert_equal_here(program: Program, reading: Reading, paths: Sequence[Path]) -> None:
    objects = _objects(program.output(["--format", "json", *reading.options], paths))
    facts = _facts(program.output(["--format", "facts", *reading.options], paths))
    assert len(objects) == len(paths)
    for path, written in zip(paths, objects, strict=True):
        file = ifdsweep.read(path, **reading.arguments)
        assert file.to_json() == written, path
        _assert_same(file.to_dict(), json.loads(written), str(path))
        lines = facts.pop(json.loads(written)["file"], [])
        assert file.to_facts().splitlines() == lines, path
        _assert_entries(file, lines, path)
    assert not facts


def _objects(output: bytes) -> list[str]:
    """The objects of an array in JSON, each as it stands on its line."""
    lines = output.decode().split("\n")
    assert (lines[0], lines[-2:]) == ("[", ["]", ""])
    return [line.removesuffix(",") for line in lines[1:-2]]


def _facts(output: bytes) -> dict[str, list[str]]:
    """The lines of facts by their file."""
    lines: dict[str, list[str]] = defaultdict(list)
    for line in output.decode().split("\n")[:-1]:
        lines[json.loads(line)["file"]].append(line)
    return dict(lines)


def _assert_entries(file: ifdsweep.File, lines: Sequence[str], path: Path) -> None:
    """The entries of each directory that was kept are those of the lines that name it.

    Where two pointers have the same tag, two directories are of one name, and one of them is kept.
    """
    told: dict[tuple[Any, ...], list[Any]] = defaultdict(list)
    for line in lines:
        fact = json.loads(line)
        if "tag" in fact and "kind" in fact:
            told[fact.get("stream"), fact["path"], fact["kind"]].append(fact)
    for stream in file.streams:
        for directory in _below(stream):
            mine = [entry.to_dict() for entry in (*directory.entries, *directory.defaults)]
            if mine:
                key = mine[0].get("stream"), directory.path, directory.kind
                first = told[key].index(mine[0]) if mine[0] in told[key] else 0
                theirs = told[key][first : first + len(mine)]
                _assert_same(mine, theirs, f"{path}: {directory.path}")
                del told[key][first : first + len(mine)]
    kept = {(stream.name, directory.path) for stream in file.streams for directory in stream}
    assert not [
        left for (stream, place, _), left in told.items() if left and (stream, place) in kept
    ]


def _below(directories: Sequence[ifdsweep.Directory]) -> Iterator[ifdsweep.Directory]:
    """Directories with those that stand in their fields."""
    for directory in directories:
        yield directory
        for value in directory.values():
            yield from _in_value(value)


def _in_value(value: object) -> Iterator[ifdsweep.Directory]:
    if isinstance(value, ifdsweep.Directory):
        yield from _below([value])
    elif isinstance(value, tuple):
        for item in value:
            yield from _in_value(item)


def _assert_same(mine: Any, other: Any, where: str) -> None:
    """Equality of values and types, and of the order of names; -0.0 is not 0.0."""
    assert type(mine) is type(other), where
    if isinstance(mine, dict):
        assert list(mine) == list(other), where
        for name, value in mine.items():
            _assert_same(value, other[name], f"{where}: {name}")
    elif isinstance(mine, list):
        assert len(mine) == len(other), where
        if set(map(type, mine)) <= {int} and set(map(type, other)) <= {int}:
            assert mine == other, where
        else:
            for number, (item, its) in enumerate(zip(mine, other, strict=True)):
                _assert_same(item, its, f"{where}[{number}]")
    else:
        assert repr(mine) == repr(other), where
