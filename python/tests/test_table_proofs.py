"""What tables promise as a whole: that they hold what records hold, that columns do not depend on
files, and that memory does not grow."""

import itertools
from collections import defaultdict
from collections.abc import Iterator, Sequence
from pathlib import Path
from typing import Any, NamedTuple

import duckdb
import pandas as pd
import polars as pl
import pyarrow as pa
import pyarrow.dataset as ds
import pytest
from conftest import corpus_files, grown_bytes, repetitions, sample_files
from designed_files import designed_files, mutate
from rebuilt_records import SIZES, Directory, Row, directories, rebuilt_records

from ifdsweep import read, schema, table

# What records have and no table: how many numbers of a field the tables have, and why not all.
BEGINNINGS = {
    # The byte order mark. The version word is neither 42 nor 43 in RW2 and ORF files and in damaged
    # ones, and the table of files has the layout that was read and not the word.
    "FormatSignature": 2,
}

WHOLE: dict[str, Any] = {"columns": "all", "max_value": 1 << 40, "streams": "all"}


class Tables(NamedTuple):
    """The rows of files, and those of their streams by the number of the file and the name."""

    files: list[Row]
    images: dict[tuple[int, str | None], list[Row]]
    tags: dict[tuple[int, str | None], list[Row]]


def _tables(paths: Sequence[Path]) -> Tables:
    rows: dict[Any, list[Row]] = {
        layout: table(paths, layout, **WHOLE).to_arrow().to_pylist()
        for layout in ("files", "images", "tags")
    }
    return Tables(rows["files"], _by_stream(rows["images"]), _by_stream(rows["tags"]))


def _by_stream(rows: list[Row]) -> dict[tuple[int, str | None], list[Row]]:
    streams: dict[tuple[int, str | None], list[Row]] = defaultdict(list)
    for row in rows:
        streams[row["file_id"], row["stream"]].append(row)
    return streams


def _chosen(name: str, folder: Path) -> list[Path]:
    if name == "samples":
        return sample_files()
    if name == "corpus":
        return corpus_files()
    contents = designed_files()
    if name == "mutated":
        whole = [*contents.values(), *(path.read_bytes() for path in sample_files())]
        count = repetitions(1_000, 100_000)
        contents = {f"{seed}.tif": mutate(whole[seed % len(whole)], seed) for seed in range(count)}
    return _written(folder, contents)


def _written(folder: Path, contents: dict[str, bytes]) -> list[Path]:
    paths = [folder / name for name in contents]
    for path, content in zip(paths, contents.values(), strict=True):
        path.write_bytes(content)
    return paths


@pytest.mark.parametrize("files", ["samples", "corpus", "designed", "mutated"])
class TestWhatRecordsHoldIsInTheTables:
    """Files are taken a hundred at a time, for rows of Python are large."""

    @pytest.fixture
    def parts(self, files: str, tmp_path: Path) -> Iterator[tuple[list[Path], Tables]]:
        """Some files and their tables, as often as there are some."""
        paths = _chosen(files, tmp_path)
        if not paths:
            pytest.skip("no corpus here")
        return (
            (part, _tables(part))
            for part in (paths[begin : begin + 100] for begin in range(0, len(paths), 100))
        )

    def test_records_rebuilt_from_rows_are_those_of_the_files(
        self, parts: Iterator[tuple[list[Path], Tables]]
    ) -> None:
        for paths, tables in parts:
            for path, row in zip(paths, tables.files, strict=True):
                document = read(path, streams="all").to_dict()
                for stream in document.get("streams", [document]):
                    key = row["file_id"], stream.get("stream")
                    if _is_ambiguous(tables.images[key]):
                        continue
                    start = stream.get("initialOffset", stream.get("offset"))
                    mine = rebuilt_records(row, tables.images[key], tables.tags[key], start)
                    theirs = stream["records"] or []
                    assert _told(mine) == _told(theirs), _difference(mine, theirs, str(path))

    def test_a_value_that_no_column_has_is_named_beside_the_columns(
        self, parts: Iterator[tuple[list[Path], Tables]]
    ) -> None:
        names = set(schema("images", "all"))
        for _, tables in parts:
            for key, tags in tables.tags.items():
                for directory in directories(tables.images[key], tags):
                    for row in _last_of_each_tag(directory):
                        for image, prefix in directory.columns:
                            name = prefix + str(SIZES.get(row["tag"], row["name"]))
                            assert name not in names or _is_shown_or_named(image, name, row), row


def _is_ambiguous(images: Sequence[Row]) -> bool:
    """Whether directories have no record, or one that is not found: so where a pointer stands
    twice, and leads to one directory by two ways of the same name. BitDepth and ColorType are then
    null."""
    paths = [image["dir_path"] for image in images]
    is_twice = len(set(paths)) < len(paths)
    return is_twice and any(image["BitDepth"] is None for image in images)


def _last_of_each_tag(directory: Directory) -> list[Row]:
    """The rows of tags with a name that have a value and are in the record."""
    rows = (row for row in directory.rows if row["warning_id"] is None and row["name"])
    last = {row["tag"]: row for row in rows}
    return [row for row in last.values() if row["count"] or row["floats"]]


def _is_shown_or_named(image: Row, name: str, row: Row) -> bool:
    codes = name + "_code"
    if image[name] is not None or image.get(codes) is not None:
        return True
    noted = (image[list_] or [] for list_ in ("misfit_tags", "invalid_tags", "described_tags"))
    return any(row["tag"] in tags for tags in noted)


def _told(value: Any) -> Any:
    """A record or a list of records without fields that hold nothing and numbers that no table
    has."""
    if isinstance(value, dict):
        fields = {name: _told(held) for name, held in value.items()}
        fields |= {name: fields[name][:most] for name, most in BEGINNINGS.items() if name in fields}
        return {name: held for name, held in fields.items() if held not in (None, [])}
    return [_told(item) for item in value] if isinstance(value, list) else value


def _difference(mine: Any, theirs: Any, way: str) -> str:
    """The way to the first difference, and what stands there."""
    if isinstance(mine, dict) and isinstance(theirs, dict):
        for name in sorted(mine.keys() | theirs.keys()):
            if _told({name: mine.get(name, [])}) != _told({name: theirs.get(name, [])}):
                return _difference(mine.get(name), theirs.get(name), f"{way}: {name}")
    if isinstance(mine, list) and isinstance(theirs, list) and len(mine) == len(theirs):
        for number, (one, other) in enumerate(zip(mine, theirs, strict=True)):
            if _told(one) != _told(other):
                return _difference(one, other, f"{way}[{number}]")
    return f"{way}: {mine!r:.300}, and in the file {theirs!r:.300}"


LAYOUTS: list[Any] = ["images", "tags", "files", "warnings"]


COUNT = repetitions(3_000, 100_000)
PARTS = 6


@pytest.fixture(scope="module")
def mixed(tmp_path_factory: pytest.TempPathFactory) -> list[list[Path]]:
    """Files in as many parts, the first of nothing that can be read."""
    found = [*corpus_files(), *sample_files()]
    small = [path.read_bytes() for path in found if path.stat().st_size < 1 << 18]
    whole = [*designed_files().values(), *small]
    size = COUNT // PARTS
    contents = {f"{number}.tif": b"no image %d" % number for number in range(size)}
    for seed in range(size, COUNT):
        contents[f"{seed}.tif"] = mutate(whole[seed % len(whole)], seed)
    paths = _written(tmp_path_factory.mktemp("mixed"), contents)
    return [paths[part * size :][: size if part < PARTS - 1 else None] for part in range(PARTS)]


class TestColumnsDoNotDependOnFiles:
    """Of files of all kinds, most of them damaged, written as several Parquet files."""

    @pytest.mark.parametrize("layout", LAYOUTS)
    def test_every_batch_has_the_schema_of_no_file(
        self, layout: Any, mixed: list[list[Path]]
    ) -> None:
        expected = pa.schema(schema(layout, "all"))
        rows = 0
        for part in mixed:
            reader = pa.RecordBatchReader.from_stream(
                table(part, layout, columns="all", batch_rows=500)
            )
            assert reader.schema.equals(expected, check_metadata=True)
            for batch in reader:
                assert batch.schema.equals(expected, check_metadata=True)
                batch.validate(full=True)
                rows += batch.num_rows
        assert rows >= COUNT // 2

    @pytest.mark.parametrize("layout", LAYOUTS)
    def test_parts_in_parquet_are_opened_together_without_options(
        self, layout: Any, mixed: list[list[Path]], tmp_path: Path
    ) -> None:
        files = [str(tmp_path / f"part-{number}.parquet") for number in range(PARTS)]
        for part, file in zip(mixed, files, strict=True):
            table(part, layout).write_parquet(file)
        schemas = [ds.dataset(file).schema for file in files]
        assert all(other.equals(schemas[0], check_metadata=True) for other in schemas)
        expected = pa.concat_tables(table(part, layout).to_arrow() for part in mixed)
        names = list(schema(layout))
        assert schemas[0].names == names
        shape = expected.num_rows, len(names)
        assert shape[0] >= COUNT // 2

        whole = ds.dataset(files).to_table()
        assert whole.schema.equals(schemas[0], check_metadata=True)
        for name in names:
            assert _are_same(whole[name], expected[name].cast(whole[name].type)), name
        frame = pl.scan_parquet(files).collect()
        assert frame.shape == shape
        assert frame.columns == names
        relation = duckdb.connect().read_parquet(files)
        assert relation.columns == names
        assert relation.shape == shape
        assert pd.read_parquet(tmp_path).shape == shape

        # Values, where one column stands for all: the way of each row to its file.
        ways = expected["file_path"].to_pylist()
        assert frame["file_path"].to_list() == ways
        assert [way for (way,) in relation.project("file_path").fetchall()] == ways
        assert pd.read_parquet(tmp_path)["file_path"].tolist() == ways

    def test_of_files_that_cannot_be_read_every_column_of_images_is_null(
        self, mixed: list[list[Path]]
    ) -> None:
        """There is no row, so that nothing tells a type but the schema."""
        assert table(mixed[0], "images").to_arrow().num_rows == 0
        assert table(mixed[0], "tags").to_arrow().num_rows == 0
        assert table(mixed[0], "files").to_arrow()["format"].null_count == len(mixed[0])
        warnings = table(mixed[0], "warnings").to_arrow()
        assert warnings["dir_path"].null_count == warnings.num_rows == len(mixed[0])


def _are_same(one: Any, other: Any) -> bool:
    """Whether two Arrow columns hold the same; a NaN is the same as another."""
    return bool(one.equals(other)) or repr(one.to_pylist()) == repr(other.to_pylist())


@pytest.mark.memory
class TestMemoryDoesNotGrow:
    """20,000 exports in an ordinary run and 10^6 in a heavy one, of streams a quarter of that."""

    times = repetitions(20_000, 1_000_000)

    def test_of_exports_of_a_batch(self) -> None:
        """Of schema and rows, taken by another library, looked at, or let go as they are."""
        (batch,) = table(sample_files(), "images").batches()

        def export() -> None:
            batch.__arrow_c_schema__()
            batch.__arrow_c_array__()
            taken = pa.record_batch(batch)
            assert taken.num_rows == len(batch)
            assert pa.schema(batch) == taken.schema

        assert grown_bytes(export, self.times // 4) < 1 << 20

    def test_of_streams(self, tmp_path: Path) -> None:
        """Read to the end, left after a batch, and never asked for anything."""
        (path,) = _written(tmp_path, {"rich.tif": next(iter(designed_files().values()))})
        made = table(path, "tags", threads=1, batch_rows=4)
        turn = itertools.count()

        def export() -> None:
            capsule = made.__arrow_c_stream__()
            if (which := next(turn) % 3) == 0:
                return
            reader = pa.RecordBatchReader._import_from_c_capsule(capsule)
            if which == 1:
                reader.read_next_batch()
            else:
                assert reader.read_all().num_rows > 4

        assert grown_bytes(export, self.times // 4) < 1 << 20
