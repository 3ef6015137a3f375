"""Files and streams: sequences of directories, and what is known of the file."""

import copy
import datetime
import os
import pickle
import re
import typing
from collections.abc import Sequence
from pathlib import Path
from typing import Any

import numpy as np
import pytest
from designed_files import (
    ASCII,
    DOUBLE,
    FLOAT,
    IMAGE,
    LAYOUTS,
    LONG,
    LONG8,
    PHOTOGRAPH,
    RATIONAL,
    SHORT,
    Field,
    Layout,
    png,
    tiff,
)

import ifdsweep

PAGES = tiff([[Field(256, SHORT, [width])] for width in (10, 20, 30)])
TEXT = b"Dear reader, this is no image.\n"


def _widths(directories: Sequence[ifdsweep.Directory]) -> list[object]:
    return [directory["Width"] for directory in directories]


@pytest.fixture(params=["file", "stream"])
def pages(request: pytest.FixtureRequest) -> ifdsweep.File | ifdsweep.Stream:
    file = ifdsweep.read(PAGES)
    return file if request.param == "file" else file.streams[0]


class TestASequence:
    def test_is_one_for_python(self, pages: ifdsweep.File | ifdsweep.Stream) -> None:
        assert isinstance(pages, Sequence)
        assert len(pages) == 3
        assert _widths(list(pages)) == [10, 20, 30]
        assert _widths(list(reversed(pages))) == [30, 20, 10]
        assert _widths(pages.directories) == [10, 20, 30]

    @pytest.mark.parametrize(("index", "width"), [(0, 10), (2, 30), (-1, 30), (-3, 10)])
    def test_gives_a_directory(
        self, pages: ifdsweep.File | ifdsweep.Stream, index: int, width: int
    ) -> None:
        assert pages[index].Width == width
        assert pages[np.int64(index)].Width == width

    @pytest.mark.parametrize("index", [3, -4, 2**70, -(2**70)])
    def test_raises_for_what_is_not_there(
        self, pages: ifdsweep.File | ifdsweep.Stream, index: int
    ) -> None:
        with pytest.raises(IndexError):
            pages[index]

    @pytest.mark.parametrize("index", ["0", 0.0, None])
    def test_raises_for_what_is_no_index(
        self, pages: ifdsweep.File | ifdsweep.Stream, index: object
    ) -> None:
        with pytest.raises(TypeError):
            pages[index]  # type: ignore[call-overload]

    @pytest.mark.parametrize(
        ("part", "widths"),
        [
            (slice(None), [10, 20, 30]),
            (slice(1, None), [20, 30]),
            (slice(None, None, -2), [30, 10]),
            (slice(5, 9), []),
            (slice(-2, -1), [20]),
        ],
    )
    def test_gives_a_tuple_of_a_slice(
        self, pages: ifdsweep.File | ifdsweep.Stream, part: slice, widths: list[int]
    ) -> None:
        assert isinstance(pages[part], tuple)
        assert _widths(pages[part]) == widths

    def test_finds_directories_by_what_they_are(
        self, pages: ifdsweep.File | ifdsweep.Stream
    ) -> None:
        same = ifdsweep.read(PAGES)[1]
        assert same in pages
        assert pages.index(same) == 1
        assert pages.count(same) == 1
        assert 7 not in pages
        assert pages.count(7) == 0
        with pytest.raises(ValueError, match="not in tuple"):
            pages.index(same, 2)


class TestWhatIsKnownOfAFile:
    def test_of_the_system(self, tmp_path: Path) -> None:
        path = tmp_path / "pages.tif"
        path.write_bytes(PAGES)
        os.utime(path, ns=(0, 1_234_567_890_123_456_789))
        file = ifdsweep.read(path)
        status = path.stat()
        assert file.path == str(path)
        assert file.path_bytes == os.fsencode(path)
        assert file.size == len(PAGES)
        assert file.modified_ns == 1_234_567_890_123_456_789
        assert file.modified == datetime.datetime(
            2009, 2, 13, 23, 31, 30, 123456, tzinfo=datetime.UTC
        )
        assert (file.changed_ns, file.inode) == (status.st_ctime_ns, status.st_ino)

    def test_changed_before_1970(self, tmp_path: Path) -> None:
        path = tmp_path / "old.tif"
        path.write_bytes(PAGES)
        os.utime(path, ns=(0, -1_500))
        file = ifdsweep.read(path)
        assert file.modified_ns == -1_500
        assert file.modified == datetime.datetime(
            1969, 12, 31, 23, 59, 59, 999998, tzinfo=datetime.UTC
        )

    def test_whose_name_is_no_utf8(self, tmp_path: Path) -> None:
        path = tmp_path / os.fsdecode(b"\xff\x1b[2J\xe2\x80\xae.tif")
        path.write_bytes(PAGES)
        file = ifdsweep.read(path)
        assert file.path == str(path)
        assert file.path_bytes == os.fsencode(path)
        assert repr(file) == f"<File {tmp_path}/\\xff\\x1b[2J\\u202e.tif: tif, 3 directories>"

    def test_of_bytes(self) -> None:
        file = ifdsweep.read(PAGES)
        assert (file.path, file.path_bytes, file.size) == ("<bytes>", b"<bytes>", len(PAGES))
        assert (file.modified, file.modified_ns, file.changed_ns, file.inode) == (None,) * 4

    @pytest.mark.parametrize("layout", LAYOUTS)
    def test_that_is_a_tiff_file(self, layout: Layout) -> None:
        file = ifdsweep.read(tiff([IMAGE], layout))
        assert file.byte_order == {"<": "little", ">": "big"}[layout.order]
        assert (file.format, file.container, file.offset, file.embedded) == ("tif", None, 0, False)
        assert (file.status, file.error, file.warnings, file.found) == ("ok", None, (), None)

    def test_that_carries_streams(self) -> None:
        file = ifdsweep.read(png(tiff([PHOTOGRAPH]), tiff([IMAGE[:2]])), streams="all")
        assert (file.container, file.format) == ("png", "png")
        assert file.offset == 41
        assert len(file) == 1
        first, second = file.streams
        assert (first.container, first.name, first.offset) == ("png", "eXIf", 41)
        assert second.name != first.name
        assert second.offset > first.offset
        assert second[0].Width == 40
        assert list(file) == list(first)
        assert first.warnings == file.warnings
        assert repr(second) == f"<Stream {second.name}: 1 directory>"
        assert [directory.path for directory in file.walk()] == [
            "0", "0/DigitalCamera/0", "0/DigitalCamera/0/InteroperabilityIFD/0", "0/GPSInfo/0", "0",
        ]  # fmt: skip

    def test_that_is_none(self) -> None:
        file = ifdsweep.read(TEXT)
        assert (file.status, file.found, len(file)) == ("error", "a text file", 0)
        assert file.error is not None
        assert file.error.short_id in repr(file)
        assert repr(file).startswith("<File <bytes>: 0 directories, error ")
        assert (file.format, file.byte_order, file.size) == (None, None, None)


class TestCheck:
    def test_gives_the_file_itself(self) -> None:
        file = ifdsweep.read(PAGES)
        assert file.check() is file
        assert file.check(warnings=True) is file

    def test_raises_an_error_with_the_file_and_the_message(self) -> None:
        file = ifdsweep.read(TEXT, name="letter\n.txt")
        with pytest.raises(ifdsweep.ReadError) as raised:
            file.check()
        assert raised.value.file is file
        assert raised.value.message == file.error
        assert str(raised.value) == f"letter\\n.txt: {file.error}"

    def test_raises_a_warning_where_it_is_asked_to(self) -> None:
        file = ifdsweep.read(PAGES[:-2])
        assert file.status == "warned"
        assert file.check() is file
        with pytest.raises(ifdsweep.ReadError) as raised:
            file.check(warnings=True)
        assert raised.value.message == file.warnings[0]


class TestAColumn:
    @staticmethod
    def _column(fields: Sequence[Sequence[Field]], name: str) -> np.ndarray:
        return ifdsweep.read(tiff(fields)).column(name)

    def test_of_integers_is_exact(self) -> None:
        values = [0, 2**53 + 1, 2**63 - 1]
        column = self._column([[Field(273, LONG8, [value])] for value in values], "StripOffsets")
        assert column.dtype == np.int64
        assert column.tolist() == values

    def test_of_an_integer_that_int64_has_not_is_float64(self) -> None:
        column = self._column([[Field(273, LONG8, [2**63])]], "StripOffsets")
        assert column.dtype == np.float64
        assert column.tolist() == [2.0**63]

    def test_of_rationals_is_float64_though_all_are_whole(self) -> None:
        column = self._column([[Field(282, RATIONAL, [300, 1])]] * 2, "XResolution")
        assert column.dtype == np.float64
        assert column.tolist() == [300.0, 300.0]

    def test_of_floating_point_is_float64_whatever_the_name_of_the_entry(self) -> None:
        column = self._column([[Field(257, FLOAT, [48.0])]], "Height")
        assert column.dtype == np.float64

    def test_of_defaults_and_derived_fields_is_int64(self) -> None:
        file = ifdsweep.read(tiff([IMAGE, IMAGE]))
        for name, value in (("Orientation", 1), ("BitDepth", 24), ("Height", 30)):
            assert file.column(name).dtype == np.int64
            assert file.column(name).tolist() == [value, value]

    def test_has_nan_where_a_directory_has_none_or_several_numbers(self) -> None:
        several = [Field(65000, DOUBLE, [1.5]), Field(273, LONG, [1, 2])]
        column = self._column([[Field(273, LONG, [7])], several, [Field(256, SHORT, [1])]],
                              "StripOffsets")  # fmt: skip
        assert column.dtype == np.float64
        assert np.array_equal(column, [7.0, np.nan, np.nan], equal_nan=True)

    def test_of_a_field_that_no_directory_has_is_nan(self) -> None:
        column = ifdsweep.read(PAGES).column("FNumber")
        assert column.dtype == np.float64
        assert np.isnan(column).tolist() == [True] * 3

    @pytest.mark.parametrize(
        ("name", "complaint"),
        [
            ("Widht", "no field is named Widht, nearest: Width"),
            ("width", "no field is named width, nearest: Width"),
            ("ImageLength", "no field is named ImageLength, the field is Height"),
            ("LensModel", "no field is named LensModel, the tag is one of the unknown ones"),
            ("", 'no field is named ""'),
            ("Zyxwvutsrq", "no field is named Zyxwvutsrq"),
        ],
    )
    def test_of_a_name_that_no_field_can_have_raises(self, name: str, complaint: str) -> None:
        with pytest.raises(ValueError, match=f"^name: {re.escape(complaint)}$"):
            ifdsweep.read(PAGES).column(name)

    def test_of_texts_is_of_objects(self) -> None:
        column = self._column([[Field(271, ASCII, b"one\0")], [Field(256, SHORT, [1])]], "Make")
        assert column.dtype == object
        assert column.tolist() == ["one", None]

    def test_of_no_directory_is_empty(self) -> None:
        assert ifdsweep.read(TEXT).column("Width").shape == (0,)

    def test_can_be_written_to_and_outlives_the_file(self) -> None:
        column = ifdsweep.read(PAGES).column("Width")
        column[0] = 7
        assert column.tolist() == [7, 20, 30]
        assert ifdsweep.read(PAGES).column("Width").tolist() == [10, 20, 30]


class TestIdentity:
    def test_equal_files_have_equal_content_and_name(self) -> None:
        file = ifdsweep.read(PAGES)
        assert file == ifdsweep.read(bytearray(PAGES))
        assert hash(file) == hash(ifdsweep.read(PAGES))
        assert file != ifdsweep.read(PAGES, name="other")
        assert file != ifdsweep.read(PAGES[:-2])
        assert file != PAGES
        assert file.streams[0] == ifdsweep.read(PAGES).streams[0]
        assert hash(file.streams[0]) == hash(ifdsweep.read(PAGES).streams[0])

    def test_a_pickle_is_the_same_content(self) -> None:
        content = png(tiff([IMAGE]), tiff([PHOTOGRAPH]))
        file = ifdsweep.read(content, streams="all")
        for item in (file, *file.streams, *file.walk()):
            again = pickle.loads(pickle.dumps(item))
            assert again == item
            assert again is not item
            assert copy.deepcopy(item) is item

    def test_none_is_made_by_its_class_or_set_anew(self) -> None:
        file = ifdsweep.read(PAGES)
        with pytest.raises(TypeError):
            ifdsweep.File()
        with (
            pytest.warns(RuntimeWarning, match="already-initialized"),
            pytest.raises(TypeError),
        ):
            file.__setstate__(file.__getstate__())
        with pytest.raises(AttributeError):
            file.path = "other"  # type: ignore[misc]
        with pytest.raises(AttributeError):
            file.other = 1  # type: ignore[attr-defined]


def test_what_is_written_of_a_file_is_that_of_the_program() -> None:
    file = ifdsweep.read(tiff([[Field(256, SHORT, [7])]]), name="a.tif", tags="Width")
    assert file.to_json() == (
        '{"file":"a.tif","initialOffset":0,"records":[{"Width":7}],"warnings":[],"error":null}'
    )
    assert '"tag":256' in file.to_facts()
    assert file.to_text().startswith("a.tif")


def test_the_page_of_a_notebook_is_markup() -> None:
    file = ifdsweep.read(PAGES, name="<b>")
    items: list[Any] = [file, file[1]]
    pages = [item._repr_html_() for item in items]
    assert "&lt;b&gt;" in pages[0]
    assert "20" in pages[1]


def test_messages_are_explained_by_either_id() -> None:
    warning = ifdsweep.read(PAGES[:-2]).warnings[0]
    assert ifdsweep.explain(warning.id) == ifdsweep.explain(warning.short_id) == warning.explain()
    with pytest.raises(ValueError, match="id: "):
        ifdsweep.explain("tagDataPastEOV")


def test_tags_are_all_names_that_fields_have() -> None:
    tags = ifdsweep.tags()
    assert {tag.dictionary for tag in tags} == {"record", "TIFF", "GPS", "Interoperability"}
    assert [tag.name for tag in tags if tag.number == 259] == ["Compression"]
    assert all((tag.number is None) == (tag.dictionary == "record") for tag in tags)


def test_types_can_be_asked_for_while_a_program_runs() -> None:
    def show(value: ifdsweep.Value, source: ifdsweep.Source) -> ifdsweep.Status:
        raise NotImplementedError

    hints = typing.get_type_hints(show)
    assert {int, str, ifdsweep.Directory} <= set(typing.get_args(hints["value"]))
    assert {str, os.PathLike[str]} <= set(typing.get_args(hints["source"]))
    for function in (ifdsweep.read, ifdsweep.scan):
        assert typing.get_type_hints(function).keys() >= {"return", "tags", "read_budget"}
