"""Tables: their schemas and arguments, and what NumPy, pandas, polars and Parquet make of them."""

import os
import pickle
import re
import stat
import subprocess
import sys
from pathlib import Path
from typing import Any

import numpy as np
import pandas as pd
import polars as pl
import pyarrow as pa
import pyarrow.parquet as pq
import pytest
from conftest import corpus_files, sample_files
from designed_files import (
    ASCII,
    IMAGE,
    LONG,
    RATIONAL,
    SHORT,
    UNDEFINED,
    Field,
    designed_files,
    tiff,
)

from ifdsweep import Column, schema, table

LAYOUTS: list[Any] = ["images", "tags", "files", "warnings"]

# A directory with one value of every kind that a column can have, and one with hardly any.
RICH = [
    Field(256, SHORT, [40]),
    Field(257, LONG, [30]),
    Field(258, SHORT, [8, 8, 8]),
    Field(259, SHORT, [32773]),
    Field(271, ASCII, b"Example Optics\0"),
    Field(282, RATIONAL, [300, 1]),
    Field(306, ASCII, b"2024:05:17 09:30:00\0"),
    Field(318, RATIONAL, [1, 4, 1, 0]),
    Field(65000, SHORT, [1, 2]),
]
BARE = [Field(256, SHORT, [7])]


@pytest.fixture
def files(tmp_path: Path) -> list[Path]:
    """A file of two directories, one that is damaged, and one that is no image."""
    contents = {"rich.tif": tiff([RICH, BARE]), "cut.tif": tiff([IMAGE])[:-40], "text": b"no image"}
    paths = [tmp_path / name for name in contents]
    for path, content in zip(paths, contents.values(), strict=True):
        path.write_bytes(content)
    return paths


class TestASchema:
    @pytest.mark.parametrize("layout", LAYOUTS)
    @pytest.mark.parametrize("columns", ["core", "all"])
    def test_is_the_same_for_whatever_files(
        self, files: list[Path], layout: Any, columns: Any
    ) -> None:
        expected = schema(layout, columns)
        for paths in ([], files, files[:1]):
            made = table(paths, layout, columns=columns)
            assert made.schema == expected
            assert made.to_arrow().schema.equals(pa.schema(expected), check_metadata=True)

    @pytest.mark.parametrize("layout", LAYOUTS)
    def test_of_all_columns_begins_with_the_core_in_its_order(self, layout: Any) -> None:
        core = schema(layout).names
        assert [name for name in schema(layout, "all") if name in core] == list(core)

    @pytest.mark.parametrize("layout", LAYOUTS)
    def test_has_a_number_a_meaning_and_a_source_for_every_column(self, layout: Any) -> None:
        columns = schema(layout, "all").values()
        assert len({column.id for column in columns}) == len(columns)
        assert all(column.id > 0 and column.meaning and column.source for column in columns)
        assert len({column.name.casefold() for column in columns}) == len(columns)

    def test_is_a_mapping_of_its_columns_by_name(self) -> None:
        chosen = schema("images", ["Height", "Width"])
        assert list(chosen) == ["Height", "Width"] == list(chosen.names)
        assert chosen.types == ("int64", "int64")
        assert isinstance(chosen["Width"], Column)
        assert chosen["Width"].type == "int64"
        assert "Make" not in chosen
        assert len(chosen) == 2
        with pytest.raises(KeyError):
            chosen["Make"]

    def test_tells_of_itself(self) -> None:
        chosen = schema("warnings", ["seq", "id"])
        assert repr(chosen) == "<Schema of warnings: 2 columns>"
        assert str(chosen).splitlines() == [
            "seq  int32          " + chosen["seq"].meaning,
            "id   word           " + chosen["id"].meaning,
        ]

    def test_equals_those_with_the_same_columns_in_the_same_order(self) -> None:
        one = schema("images", ["Width", "Height"])
        assert one == schema("images", ("Width", "Height"))
        assert hash(one) == hash(schema("images", iter(["Width", "Height"])))
        assert one != schema("images", ["Height", "Width"])
        assert one != schema("images")
        assert schema("files", ["file_path"]) != schema("tags", ["file_path"])

    @pytest.mark.parametrize("layout", LAYOUTS)
    def test_can_be_pickled(self, layout: Any) -> None:
        again = pickle.loads(pickle.dumps(schema(layout, "all")))
        assert again == schema(layout, "all")
        assert again.layout == layout

    @pytest.mark.parametrize("layout", LAYOUTS)
    def test_has_the_types_in_arrow_that_it_tells_of(self, layout: Any) -> None:
        chosen = schema(layout, "all")
        fields = pa.schema(chosen)
        assert fields.names == list(chosen.names)
        for field, column in zip(fields, chosen.values(), strict=True):
            assert field.nullable
            assert field.metadata[b"PARQUET:field_id"] == str(column.id).encode()
            assert field.type == _arrow_type(column.type)


def _arrow_type(word: str) -> pa.DataType:
    if word.startswith("list<"):
        return pa.list_(_arrow_type(word[5:-1]))
    integers = {"int16": pa.int16(), "int32": pa.int32(), "int64": pa.int64()}
    unknown = [
        ("tag", pa.int32()),
        ("type", pa.int32()),
        ("count", pa.int64()),
        ("position", pa.int64()),
        ("text", pa.utf8()),
        ("numbers", pa.list_(pa.float64())),
    ]
    return {
        **integers,
        "float64": pa.float64(),
        "boolean": pa.bool_(),
        "utf8": pa.utf8(),
        "binary": pa.binary(),
        "word": pa.dictionary(pa.int32(), pa.utf8()),
        "time": pa.timestamp("us"),
        "instant": pa.timestamp("us", "UTC"),
        "rational": pa.struct([("num", pa.int64()), ("den", pa.int64())]),
        "unknownTag": pa.struct(unknown),
    }[word]


BAD_ARGUMENTS: list[tuple[dict[str, Any], type[Exception], str]] = [
    (
        {"layout": "image"},
        ValueError,
        'layout: expected "images", "tags", "files" or "warnings", got "image"',
    ),
    (
        {"columns": "Make"},
        ValueError,
        'columns: expected "core", "all" or an iterable of names, got "Make"',
    ),
    ({"columns": 1}, TypeError, "columns: expected a str or an iterable of them, got int"),
    ({"columns": b"all"}, TypeError, "columns: expected a str or an iterable of them, got bytes"),
    ({"columns": ["Make", 1]}, TypeError, "columns: expected a str, got int"),
    ({"columns": ["Mkae"]}, ValueError, "columns: no column Mkae in images: Make?"),
    (
        {"columns": ["make"]},
        ValueError,
        "columns: no column make in images: Make, MakerNoteSafety, page?",
    ),
    ({"columns": []}, ValueError, "columns: a table needs at least one column"),
    (
        {"columns": ["Make", "Make"]},
        ValueError,
        "columns: the column Make is asked for twice",
    ),
    ({"batch_rows": 0}, ValueError, "batch_rows: expected 1 to 2147483647, got 0"),
    ({"batch_rows": None}, TypeError, "batch_rows: expected an int, got NoneType"),
    ({"batch_rows": True}, TypeError, "batch_rows: expected an int, got bool"),
    ({"batch_bytes": 0}, ValueError, "batch_bytes: expected 1 to 1073741824, got 0"),
    ({"batch_bytes": 1 << 31}, ValueError, "batch_bytes: expected 1 to 1073741824, got 2147483648"),
    ({"batch_bytes": 1.5}, TypeError, "batch_bytes: expected an int, got float"),
    ({"max_value": -1}, ValueError, "max_value: "),
    ({"max_value": "1"}, TypeError, "max_value: "),
    ({"paths": [1]}, TypeError, "paths: expected a str, bytes or os.PathLike, got int"),
    ({"threads": 0}, ValueError, "threads: expected 1 to 1024, got 0"),
    ({"tags": "Mkae"}, ValueError, "tags: "),
    ({"tgas": "Make"}, TypeError, "table() got an unexpected keyword argument 'tgas'"),
    ({"timeout": 1, "isolate": False}, ValueError, "timeout: goes with isolate=True"),
]


class TestArgumentsAreChecked:
    @pytest.mark.parametrize(("arguments", "kind", "text"), BAD_ARGUMENTS, ids=str)
    @pytest.mark.parametrize("isolate", [False, True], ids=["threads", "processes"])
    def test_at_once_and_by_name(
        self, arguments: dict[str, Any], kind: type[Exception], text: str, isolate: bool
    ) -> None:
        given = {"paths": "/nowhere", "isolate": isolate, **arguments}
        with pytest.raises(kind, match="^" + re.escape(text)) as raised:
            table(**given)
        assert raised.type is kind

    def test_those_of_a_scan_are_all_taken(self, tmp_path: Path) -> None:
        (tmp_path / "a.tif").write_bytes(tiff([RICH]))
        (tmp_path / "b.jpg").write_bytes(b"no image")
        made = table(
            tmp_path,
            columns=["file_path", "Width", "Make"],
            recursive=False,
            include="*",
            exclude="*.txt",
            ignore_case=True,
            all_files=True,
            follow=True,
            threads=2,
            ordered=True,
            offset=None,
            first=0,
            max=1,
            tags=["Width"],
            max_value=100,
            reading="full",
            read_budget="unlimited",
            value_budget=1 << 20,
            streams="all",
            check=True,
        )
        assert made.to_arrow().to_pylist() == [
            {"file_path": f"{tmp_path}/a.tif", "Width": 40, "Make": None}
        ]


class TestColumns:
    def test_tell_of_themselves(self) -> None:
        made = table([], "files", columns=["file_path", "size"])
        assert repr(made) == "<Columns of files: 2 columns>"
        assert made.schema == schema("files", ["file_path", "size"])

    def test_read_nothing_before_rows_are_asked_for(self, tmp_path: Path) -> None:
        made = table(tmp_path, columns=["Width"])
        pa.schema(made)
        made.__arrow_c_stream__()
        (tmp_path / "late.tif").write_bytes(tiff([BARE]))
        assert made.to_arrow().to_pylist() == [{"Width": 7}]

    def test_are_read_anew_each_time(self, tmp_path: Path) -> None:
        made = table(iter([tmp_path]), columns=["Width"])
        for number in range(3):
            (tmp_path / f"{number}.tif").write_bytes(tiff([BARE]))
            assert made.to_arrow().num_rows == number + 1

    def test_come_in_batches_of_so_many_rows(self, tmp_path: Path) -> None:
        (tmp_path / "a.tif").write_bytes(tiff([BARE] * 10))
        made = table(tmp_path, columns=["page"], batch_rows=4)
        batches = list(made.batches())
        assert [len(batch) for batch in batches] == [4, 4, 2]
        assert [repr(batch) for batch in batches[1:]] == [
            "<Batch of images: 4 rows>",
            "<Batch of images: 2 rows>",
        ]
        assert made.to_arrow()["page"].to_pylist() == list(range(10))
        assert batches[1].schema == made.schema

    def test_come_in_batches_of_so_many_bytes(self, tmp_path: Path) -> None:
        text = b"x" * 999 + b"\0"
        (tmp_path / "a.tif").write_bytes(tiff([[Field(270, ASCII, text)]] * 100))
        made = table(tmp_path, columns=["ImageDescription"], batch_bytes=10_000)
        lengths = [len(batch) for batch in made.batches()]
        assert sum(lengths) == 100
        assert max(lengths) <= 10

    def test_have_values_up_to_a_length_and_tell_of_longer_ones(self, tmp_path: Path) -> None:
        path = tmp_path / "a.tif"
        path.write_bytes(tiff([[*BARE, Field(270, ASCII, b"x" * 70_000 + b"\0")]]))
        columns = ["ImageDescription", "described_tags"]

        def row(**limits: Any) -> tuple[int | None, list[int] | None]:
            (found,) = table(path, columns=columns, **limits).to_arrow().to_pylist()
            text = found["ImageDescription"]
            return None if text is None else len(text), found["described_tags"]

        assert row() == (None, [270])
        assert row(max_value=100_000) == (70_000, None)
        assert row(max_value=100) == (None, [270])

    @pytest.mark.parametrize("layout", LAYOUTS)
    def test_of_no_files_have_no_rows(self, layout: Any) -> None:
        made = table([], layout)
        assert made.to_arrow().num_rows == 0
        assert list(made.batches()) == []


class TestNumPy:
    def test_has_numbers_masked_where_they_are_null(self, files: list[Path]) -> None:
        found = table(files[0]).to_numpy()
        expected: dict[str, tuple[str, list[Any]]] = {
            "Width": ("int64", [40, 7]),
            "Height": ("int64", [30, None]),
            "Compression_code": ("int32", [32773, 1]),
            "XResolution": ("float64", [300.0, None]),
            "depth": ("int16", [0, 0]),
        }
        for name, (kind, values) in expected.items():
            assert isinstance(found[name], np.ma.MaskedArray)
            assert (found[name].dtype, found[name].tolist()) == (np.dtype(kind), values)

    def test_has_times_as_its_own(self, files: list[Path]) -> None:
        taken = table(files[0]).to_numpy()["DateTime_parsed"]
        assert taken.dtype == np.dtype("datetime64[us]")
        assert taken[0] == np.datetime64("2024-05-17T09:30:00")
        assert np.ma.getmaskarray(taken).tolist() == [False, True]
        modified = table(files[0], "files").to_numpy()["mtime"]
        assert modified[0] == np.datetime64(files[0].stat().st_mtime_ns // 1000, "us")

    def test_has_texts_words_and_lists_as_objects(self, files: list[Path]) -> None:
        found = table(files[0]).to_numpy()
        expected: dict[str, list[Any]] = {
            "Make": ["Example Optics", None],
            "Compression": ["PackBits", "Uncompressed"],
            "Software": [None, None],
            "BitsPerSample": [(8, 8, 8), (1,)],
            "WhitePoint": [(0.25, None), None],
        }
        for name, values in expected.items():
            assert found[name].dtype == np.dtype(object)
            assert not isinstance(found[name], np.ma.MaskedArray)
            assert found[name].tolist() == values
        ((unknown,), nothing) = found["unknown"]
        assert nothing is None
        assert (unknown["tag"], unknown["type"], unknown["count"]) == (65000, 3, 2)
        assert unknown["numbers"] == (1.0, 2.0)

    def test_has_pairs_bytes_and_truth_values_of_tags(self, files: list[Path]) -> None:
        files[0].write_bytes(tiff([[*RICH, Field(65001, UNDEFINED, b"\0\x01\xff")]]))
        found = table(files[0], "tags").to_numpy()
        row = {int(tag): number for number, tag in enumerate(found["tag"].tolist())}
        assert found["rationals"][row[282]] == ((300, 1),)
        assert found["rationals"][row[318]] == ((1, 4), (1, 0))
        assert found["bytes"][row[65001]] == b"\0\x01\xff"
        assert found["ints"][row[258]] == (8, 8, 8)
        assert found["stored"].dtype == np.dtype(bool)
        assert found["stored"][row[258]]
        assert not found["stored"][row[296]]

    def test_is_the_same_by_whatever_batches(self) -> None:
        paths = sample_files()
        for layout in LAYOUTS:
            whole = table(paths, layout).to_numpy()
            parts = table(paths, layout, batch_rows=1).to_numpy()
            assert list(whole) == list(schema(layout))
            for name in whole:
                assert whole[name].dtype == parts[name].dtype
                assert repr(whole[name].tolist()) == repr(parts[name].tolist())

    @pytest.mark.parametrize("layout", LAYOUTS)
    def test_has_the_types_of_a_full_table_in_an_empty_one(self, layout: Any) -> None:
        empty = table([], layout, columns="all").to_numpy()
        full = table(sample_files(), layout, columns="all").to_numpy()
        for name in full:
            assert (type(empty[name]), empty[name].dtype) == (type(full[name]), full[name].dtype)
            assert empty[name].shape == (0,)

    @pytest.mark.parametrize("layout", LAYOUTS)
    def test_has_what_arrow_has(self, layout: Any) -> None:
        paths = [*sample_files(), *corpus_files()[::7]]
        arrow = table(paths, layout, columns="all").to_arrow()
        arrays = table(paths, layout, columns="all").to_numpy()
        for name in arrow.column_names:
            expected = arrow[name].to_pylist()
            found = arrays[name]
            if found.dtype.kind == "M":
                expected = arrow[name].cast(pa.int64()).to_pylist()
                found = np.ma.MaskedArray(found.view("int64"), np.ma.getmaskarray(found))
            assert repr(_plain(found.tolist())) == repr(_plain(expected)), name

    def test_of_a_batch_cannot_be_written(self, files: list[Path]) -> None:
        (batch,) = table(files[0]).batches()
        width = batch.to_numpy()["Width"]
        assert not np.asarray(width).flags.writeable
        whole = table(files[0]).to_numpy()["Width"]
        whole[0] = 41
        assert whole.tolist() == [41, 7]


def _plain(value: Any) -> Any:
    """The value with tuples for lists and for pairs."""
    if isinstance(value, list | tuple):
        return tuple(_plain(item) for item in value)
    if isinstance(value, dict):
        if value.keys() == {"num", "den"}:
            return value["num"], value["den"]
        return {name: _plain(item) for name, item in value.items()}
    return value


class TestLibraries:
    def test_pandas_has_the_types_of_arrow_whatever_is_null(self, files: list[Path]) -> None:
        columns = ["Width", "Height", "Make", "Compression", "BitsPerSample", "DateTime_parsed"]
        for paths in (files, files[:1], []):
            frame = table(paths, columns=columns).to_pandas()
            assert [str(kind) for kind in frame.dtypes] == [
                "int64[pyarrow]",
                "int64[pyarrow]",
                "string[pyarrow]",
                "string[pyarrow]",
                "list<item: int32>[pyarrow]",
                "timestamp[us][pyarrow]",
            ]
        frame = table(files[0], columns=columns).to_pandas()
        assert frame["Width"].tolist() == [40, 7]
        assert frame["Height"].isna().tolist() == [False, True]
        assert frame["Compression"][0] == "PackBits"
        assert frame["DateTime_parsed"][0] == pd.Timestamp("2024-05-17 09:30")

    def test_polars_has_categories_of_words(self, files: list[Path]) -> None:
        columns = ["Width", "Make", "Compression", "BitsPerSample"]
        frame = table(files[0], columns=columns).to_polars()
        assert frame.schema.names() == columns
        assert frame.schema["Width"] == pl.Int64
        assert frame.schema["Compression"] == pl.Categorical
        assert frame.schema["BitsPerSample"] == pl.List(pl.Int32)
        assert frame.rows() == [
            (40, "Example Optics", "PackBits", [8, 8, 8]),
            (7, None, "Uncompressed", [1]),
        ]

    @pytest.mark.parametrize(
        ("method", "module", "text"),
        [
            ("to_arrow", "pyarrow", "pyarrow is not installed: pip install 'ifdsweep[arrow]'"),
            ("to_pandas", "pandas", "pandas is not installed: pip install 'ifdsweep[pandas]'"),
            ("to_pandas", "pyarrow", "pyarrow is not installed: pip install 'ifdsweep[pandas]'"),
            ("to_polars", "polars", "polars is not installed: pip install 'ifdsweep[polars]'"),
            ("to_numpy", "numpy", "numpy is not installed: pip install 'ifdsweep[numpy]'"),
            ("write_parquet", "pyarrow", "pyarrow is not installed: pip install 'ifdsweep[arrow]'"),
        ],
    )
    def test_that_are_missing_are_named_with_what_installs_them(
        self, monkeypatch: pytest.MonkeyPatch, tmp_path: Path, method: str, module: str, text: str
    ) -> None:
        for name in [name for name in sys.modules if name.partition(".")[0] == module]:
            monkeypatch.delitem(sys.modules, name)
        monkeypatch.setitem(sys.modules, module, None)
        arguments = [tmp_path / "a.parquet"] if method == "write_parquet" else []
        with pytest.raises(ModuleNotFoundError, match="^" + re.escape(text) + "$") as raised:
            getattr(table(sample_files()), method)(*arguments)
        assert raised.value.name == module
        assert list(tmp_path.iterdir()) == []

    def test_need_not_be_there_for_a_table(self) -> None:
        program = """
import sys
for name in ("numpy", "pyarrow", "pandas", "polars"):
    sys.modules[name] = None
import ifdsweep
made = ifdsweep.table(sys.argv[1:])
print(sum(len(batch) for batch in made.batches()), len(made.schema) > 100)
"""
        run = subprocess.run(
            [sys.executable, "-c", program, *sample_files()], capture_output=True, check=False
        )
        assert (run.stdout, run.stderr) == (b"9 True\n", b"")


class TestParquet:
    def test_holds_the_table_with_texts_for_words(self, files: list[Path], tmp_path: Path) -> None:
        for layout in LAYOUTS:
            made = table(files, layout, columns="all")
            path = tmp_path / f"{layout}.parquet"
            made.write_parquet(path)
            arrow = made.to_arrow()
            read = pq.read_table(path)
            read.validate(full=True)
            assert read.schema.names == arrow.schema.names
            assert not any(pa.types.is_dictionary(field.type) for field in read.schema)
            assert read.to_pylist() == arrow.to_pylist()

    def test_is_compressed_in_row_groups_of_a_batch(self, tmp_path: Path) -> None:
        (tmp_path / "a.tif").write_bytes(tiff([BARE] * 10))
        path = tmp_path / "table.parquet"
        made = table(tmp_path / "a.tif", columns=["page", "Width", "file_path"], batch_rows=4)
        made.write_parquet(str(path))
        metadata = pq.ParquetFile(path).metadata
        groups = [metadata.row_group(number) for number in range(metadata.num_row_groups)]
        assert [group.num_rows for group in groups] == [4, 4, 2]
        assert {group.column(0).compression for group in groups} == {"ZSTD"}
        made.write_parquet(path, compression="none")
        assert pq.ParquetFile(path).metadata.row_group(0).column(0).compression == "UNCOMPRESSED"

    def test_has_one_schema_whatever_the_files(self, files: list[Path], tmp_path: Path) -> None:
        schemas = []
        choices: list[list[Path]] = [files, [], sample_files(), [Path("/nowhere")]]
        for number, paths in enumerate(choices):
            path = tmp_path / f"{number}.parquet"
            table(paths, columns="all").write_parquet(path)
            schemas.append(pq.ParquetFile(path))
        first = schemas[0]
        assert all(other.schema.equals(first.schema) for other in schemas)
        assert all(
            other.schema_arrow.equals(first.schema_arrow, check_metadata=True) for other in schemas
        )

    def test_has_the_numbers_of_the_columns(self, tmp_path: Path) -> None:
        path = tmp_path / "a.parquet"
        table([]).write_parquet(path)
        found = {
            field.name: int(field.metadata[b"PARQUET:field_id"]) for field in pq.read_schema(path)
        }
        assert found == {column.name: column.id for column in schema("images").values()}

    @pytest.mark.parametrize("suffix", [".tif", ".jpg", ""])
    def test_never_takes_the_place_of_an_image(self, tmp_path: Path, suffix: str) -> None:
        content = tiff([RICH]) if suffix != ".jpg" else sample_files()[2].read_bytes()
        path = tmp_path / f"image{suffix}"
        path.write_bytes(content)
        link = tmp_path / "link.parquet"
        link.symlink_to(path)
        for name in (path, link):
            with pytest.raises(FileExistsError, match="is an image and is left as it is"):
                table(path).write_parquet(name)
        assert path.read_bytes() == content
        assert {entry.name for entry in tmp_path.iterdir()} == {path.name, "link.parquet"}

    def test_takes_the_place_of_no_folder_and_no_pipe(self, tmp_path: Path) -> None:
        os.mkfifo(tmp_path / "pipe")
        for path in (tmp_path, tmp_path / "pipe", Path(os.devnull)):
            with pytest.raises(FileExistsError, match="is no regular file"):
                table([]).write_parquet(path)
        assert stat.S_ISCHR(os.stat(os.devnull).st_mode)

    def test_takes_the_place_of_another_file_and_keeps_a_link(self, tmp_path: Path) -> None:
        path = tmp_path / "table.parquet"
        path.write_bytes(b"something else")
        link = tmp_path / "link.parquet"
        link.symlink_to(path)
        table(sample_files()).write_parquet(link)
        assert link.is_symlink()
        assert pq.read_metadata(path).num_rows == 9

    def test_is_there_as_a_whole_or_not_at_all(
        self, tmp_path: Path, monkeypatch: pytest.MonkeyPatch
    ) -> None:
        path = tmp_path / "table.parquet"
        path.write_bytes(b"before")
        seen: list[bytes] = []
        write = pq.ParquetWriter.write_batch

        def fail(writer: Any, *arguments: Any) -> None:
            write(writer, *arguments)
            seen.append(path.read_bytes())
            raise OSError(28, "No space left on device")

        monkeypatch.setattr(pq.ParquetWriter, "write_batch", fail)
        with pytest.raises(OSError, match="No space left"):
            table(sample_files()).write_parquet(path)
        assert seen == [b"before"]
        assert path.read_bytes() == b"before"
        assert [entry.name for entry in tmp_path.iterdir()] == ["table.parquet"]

    def test_leaves_nothing_behind_where_it_cannot_be_written(self, tmp_path: Path) -> None:
        with pytest.raises(FileNotFoundError):
            table([]).write_parquet(tmp_path / "absent/table.parquet")
        with pytest.raises(ValueError, match=r"^compression: expected one of .*, got 'fast'$"):
            table([]).write_parquet(tmp_path / "a.parquet", compression="fast")  # type: ignore[arg-type]
        assert list(tmp_path.iterdir()) == []

    def test_has_the_permissions_of_other_new_files(self, tmp_path: Path) -> None:
        before = os.umask(0o027)
        try:
            table([]).write_parquet(tmp_path / "a.parquet")
        finally:
            os.umask(before)
        assert stat.S_IMODE((tmp_path / "a.parquet").stat().st_mode) == 0o640


@pytest.mark.parametrize("layout", LAYOUTS)
def test_designed_and_real_files_make_valid_tables_that_are_the_same_in_processes(
    tmp_path: Path, layout: Any
) -> None:
    for name, content in designed_files().items():
        (tmp_path / name).write_bytes(content)
    paths = [tmp_path, *corpus_files(), Path("/nowhere")]
    options: dict[str, Any] = {"columns": "all", "all_files": True, "streams": "all"}
    arrow = table(paths, layout, batch_rows=100, **options).to_arrow()
    arrow.validate(full=True)
    assert arrow.num_rows > 50
    other = table(paths, layout, isolate=True, **options).to_arrow()
    other.validate(full=True)
    for name in arrow.column_names:
        assert repr(other[name].to_pylist()) == repr(arrow[name].to_pylist())
