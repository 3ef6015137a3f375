"""Dicts: what a reader of the program's JSON gets, types included."""

import json
import os
from pathlib import Path
from typing import Any

import pytest
from conftest import sample_files
from designed_files import (
    ASCII,
    DOUBLE,
    IMAGE,
    LONG,
    LONG8,
    PHOTOGRAPH,
    SHORT,
    SLONG8,
    UNDEFINED,
    Field,
    designed_files,
    png,
    tiff,
)

import ifdsweep


def _value(field: Field, name: str) -> Any:
    return ifdsweep.read(tiff([[field]]))[0].to_dict()[name]


def _assert_read_back(file: ifdsweep.File) -> None:
    assert repr(file.to_dict()) == repr(json.loads(file.to_json()))


@pytest.mark.parametrize(
    ("number", "shown"),
    [
        (0.0, "0"),
        (-0.0, "-0.0"),
        (0.1, "0.1"),
        (-3.0, "-3"),
        (2.0**53 - 1, "9007199254740991"),
        (2.0**53, "9007199254740992"),
        (-(2.0**53), "-9007199254740992"),
        (2.0**63, "9223372036854775808"),
        (2.0**64, "18446744073709551616"),
        (1e21, "1e+21"),
        (1e22, "1e+22"),
        (1e300, "1e+300"),
        (5e-324, "5e-324"),
        (float("nan"), "None"),
        (float("inf"), "None"),
        (float("-inf"), "None"),
    ],
)
def test_a_number_is_what_its_digits_are(number: float, shown: str) -> None:
    assert repr(_value(Field(340, DOUBLE, [number]), "SMinSampleValue")) == shown
    several = _value(Field(340, DOUBLE, [number, 1.0]), "SMinSampleValue")
    assert repr(several) == f"[{shown}, 1]"


@pytest.mark.parametrize(
    ("kind", "number", "shown"),
    [
        (LONG8, 2**53, 2**53),
        (LONG8, 2**53 + 1, 2**53),
        (LONG8, 2**64 - 1, 2**64),
        (SLONG8, -(2**63), -(2**63)),
        (SLONG8, -(2**53) - 1, -(2**53)),
    ],
)
def test_integers_of_64_bits_are_the_doubles_of_the_records(
    kind: int, number: int, shown: int
) -> None:
    assert _value(Field(273, kind, [number]), "StripOffsets") == shown
    assert _value(Field(273, kind, [number, 1]), "StripOffsets") == [shown, 1]
    assert type(_value(Field(273, kind, [number]), "StripOffsets")) is int


@pytest.mark.parametrize(
    ("stored", "text"),
    [
        (b"", None),
        (b"plain\0", "plain"),
        (b"caf\xe9\0", "caf\xe9"),
        ("\u202eback\u200b\0".encode(), "\u202eback\u200b"),
        (b'"\\\x07\n\0', '"\\\x07\n'),
    ],
)
def test_a_text_is_what_its_escapes_stand_for(stored: bytes, text: str | None) -> None:
    file = ifdsweep.read(tiff([[Field(271, ASCII, stored), Field(256, SHORT, [1])]]))
    _assert_read_back(file)
    value = file.to_dict()["records"][0].get("Make")
    assert (value.rstrip("\0") if value else None) == text


def test_bytes_are_base64() -> None:
    for size in range(7):
        file = ifdsweep.read(tiff([[Field(37724, UNDEFINED, b"\xff\xfe\xfd\0\x01\x02"[:size]),
                                    Field(256, SHORT, [1])]]))  # fmt: skip
        _assert_read_back(file)


def test_one_row_is_a_list_and_a_matrix_is_a_list_of_rows() -> None:
    fields = [
        Field(258, SHORT, [2]),
        Field(262, SHORT, [3]),
        Field(273, LONG, [1, 2]),
        Field(320, SHORT, list(range(12))),
    ]
    file = ifdsweep.read(tiff([fields]))
    record = file[0].to_dict()
    assert record["StripOffsets"] == [1, 2]
    assert record["Colormap"] == [
        [pytest.approx(number / 65535) for number in range(row, 12, 4)] for row in range(4)
    ]
    _assert_read_back(file)


def test_records_stand_below_each_other() -> None:
    record = ifdsweep.read(tiff([PHOTOGRAPH]))[0].to_dict()
    assert record["DigitalCamera"][0]["InteroperabilityIFD"] == [
        {"InteroperabilityIndex": "R98", "InteroperabilityVersion": [48, 49, 48, 48]}
    ]
    assert record["DigitalCamera"][0]["FNumber"] is None
    assert record["GPSInfo"][0]["GPSLongitude"] == [2, 14, None]


def test_a_file_is_told_of_with_its_messages() -> None:
    file = ifdsweep.read(tiff([IMAGE[:2]])[:-2], name="cut.tif", tags="Width")
    assert list(file.to_dict()) == ["file", "initialOffset", "records", "warnings", "error"]
    assert file.to_dict()["file"] == "cut.tif"
    assert file.to_dict()["records"] == [{"Width": 40}]
    assert file.to_dict()["warnings"] == [warning.to_dict() for warning in file.warnings]
    _assert_read_back(file)


def test_an_error_tells_what_was_found() -> None:
    file = ifdsweep.read(b"Dear reader, this is no image.\n")
    assert file.error is not None
    assert file.to_dict()["records"] == []
    assert file.to_dict()["error"] == file.error.to_dict()
    assert file.to_dict()["error"]["found"] == "a text file"
    _assert_read_back(file)


def test_streams_are_told_of_one_after_the_other() -> None:
    content = png(tiff([IMAGE]), tiff([PHOTOGRAPH]), b"II*\0")
    file = ifdsweep.read(content, streams="all")
    streams = file.to_dict()["streams"]
    assert list(file.to_dict()) == ["file", "streams"]
    assert list(streams[0]) == ["container", "stream", "offset", "records", "warnings", "error"]
    assert [stream["error"] is None for stream in streams] == [True, True, False]
    _assert_read_back(file)
    _assert_read_back(ifdsweep.read(content))


def test_a_name_that_is_no_utf8_is_given_in_bytes_too(tmp_path: Path) -> None:
    path = tmp_path / os.fsdecode(b"latin \xe9.tif")
    path.write_bytes(tiff([IMAGE]))
    file = ifdsweep.read(path)
    assert file.to_dict()["file"] == f"{tmp_path}/latin \ufffd.tif"
    assert list(file.to_dict())[:2] == ["file", "fileBytes"]
    _assert_read_back(file)


def test_keys_are_one_object_each() -> None:
    one, other = (ifdsweep.read(tiff([IMAGE]))[0].to_dict() for _ in range(2))
    assert all(key is its for key, its in zip(one, other, strict=True))


@pytest.mark.parametrize("path", sample_files(), ids=lambda path: path.name)
def test_samples_are_what_their_json_is(path: Path) -> None:
    _assert_read_back(ifdsweep.read(path))
    _assert_read_back(ifdsweep.read(path, reading="contract"))


def test_designed_files_are_what_their_json_is() -> None:
    for content in designed_files().values():
        _assert_read_back(ifdsweep.read(content, streams="all", check=True))
