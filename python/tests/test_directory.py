"""Directories: mappings of fields, and the way to others and to entries."""

import math
from collections.abc import Mapping
from types import MappingProxyType

import numpy as np
import pytest
from designed_files import (
    ASCII,
    BYTE,
    DOUBLE,
    EXIF,
    FLOAT,
    IMAGE,
    LAYOUTS,
    LONG,
    LONG8,
    PHOTOGRAPH,
    RATIONAL,
    SHORT,
    SLONG8,
    UNDEFINED,
    Field,
    Layout,
    tiff,
)

import ifdsweep


def _directory(*fields: Field, layout: Layout = LAYOUTS[0]) -> ifdsweep.Directory:
    return ifdsweep.read(tiff([fields], layout))[0]


PHOTO = ifdsweep.read(tiff([PHOTOGRAPH, IMAGE]))[0]
PYRAMID = ifdsweep.read(
    tiff([[Field(256, SHORT, [7]), Field(330, LONG, [[IMAGE, IMAGE], [IMAGE[:4]]])]])
)[0]


class TestAMapping:
    def test_is_one_for_python(self) -> None:
        assert isinstance(PHOTO, Mapping)
        assert dict(PHOTO)["Width"] == 40
        assert dict(PHOTO.items()) == {**PHOTO}
        assert list(PHOTO) == list(PHOTO.keys()) == list(PHOTO.to_dict())
        assert len(PHOTO) == len(PHOTO.values()) == len(list(PHOTO))
        match PHOTO:
            case {"Width": width, "Compression": "PackBits"}:
                assert width == 40
            case _:
                pytest.fail("it is not matched as a mapping")

    def test_has_the_fields_of_its_record_in_their_order(self) -> None:
        assert PHOTO.gps is not None
        assert list(PHOTO.gps) == [
            "GPSVersionID", "GPSLatitudeRef", "GPSLatitude", "GPSLongitudeRef", "GPSLongitude",
            "GPSDateStamp",
        ]  # fmt: skip

    def test_has_none_for_a_field_that_is_empty_and_raises_for_one_that_is_not_there(self) -> None:
        assert "Colormap" in PHOTO
        assert PHOTO["Colormap"] is None
        assert PHOTO.get("Colormap", 7) is None
        for absent in ("Artist", "width", "", "\ud800", "no such field"):
            assert absent not in PHOTO
            assert PHOTO.get(absent) is None
            assert PHOTO.get(absent, 7) == 7
            with pytest.raises(KeyError) as raised:
                PHOTO[absent]
            assert raised.value.args == (absent,)
        assert 256 not in PHOTO  # type: ignore[comparison-overlap]
        with pytest.raises(KeyError):
            PHOTO[256]  # type: ignore[index]

    def test_has_an_attribute_for_every_name_of_a_field(self) -> None:
        assert PHOTO.Compression == "PackBits"
        assert PHOTO.Colormap is None
        assert PHOTO.Artist is None
        for tag in ifdsweep.tags():
            assert hasattr(ifdsweep.Directory, tag.name)
        for name in PHOTO:
            value, other = getattr(PHOTO, name), PHOTO[name]
            assert repr(value) == repr(other)
        with pytest.raises(AttributeError):
            PHOTO.NoSuchField  # type: ignore[attr-defined]  # noqa: B018
        with pytest.raises(AttributeError):
            PHOTO.Width = 7  # type: ignore[misc]


class TestValues:
    @pytest.mark.parametrize("layout", LAYOUTS)
    def test_are_integers_where_the_file_has_integers(self, layout: Layout) -> None:
        directory = _directory(Field(256, SHORT, [65535]), Field(273, LONG, [1, 2**32 - 1]),
                               layout=layout)  # fmt: skip
        assert repr(directory["Width"]) == "65535"
        assert repr(directory["StripOffsets"]) == "(1, 4294967295)"

    @pytest.mark.parametrize(
        ("kind", "numbers"),
        [
            (LONG8, [2**53 + 1]),
            (LONG8, [0, 2**53 + 1, 2**64 - 1]),
            (SLONG8, [-(2**63), 2**63 - 1]),
        ],
    )
    def test_have_all_bits_of_64(self, kind: int, numbers: list[int]) -> None:
        value = _directory(Field(273, kind, numbers))["StripOffsets"]
        assert value == (numbers[0] if len(numbers) == 1 else tuple(numbers))

    def test_are_floats_where_the_file_has_rationals_or_floating_point(self) -> None:
        directory = _directory(
            Field(282, RATIONAL, [300, 1]), Field(283, RATIONAL, [0, 0]),
            Field(318, RATIONAL, [1, 2, 3, 1]), Field(340, DOUBLE, [-0.0]),
        )  # fmt: skip
        assert repr(directory["XResolution"]) == "300.0"
        assert isinstance(directory["YResolution"], float)
        assert math.isnan(directory["YResolution"])
        assert repr(directory["WhitePoint"]) == "(0.5, 3.0)"
        assert repr(directory["SMinSampleValue"]) == "-0.0"

    def test_are_floats_whatever_the_name_of_the_entry(self) -> None:
        directory = _directory(Field(256, FLOAT, [64.0]), Field(257, FLOAT, [48.0]))
        assert [repr(directory[name]) for name in ("Width", "Height")] == ["64.0", "48.0"]

    def test_are_integers_where_they_are_derived_or_defaults(self) -> None:
        assert repr(PHOTO["BitDepth"]) == "24"
        assert repr(PHOTO["Offset"]) == str(PHOTO.position)
        assert repr(PHOTO["Orientation"]) == "1"
        assert repr(PHOTO["MaxSampleValue"]) == "(255, 255, 255)"
        assert repr(PHOTO["GrayResponseUnit"]) == "0.01"

    @pytest.mark.parametrize(
        ("stored", "text"),
        [
            (b"plain\0", "plain"),
            ("grüße \U0001f600\0".encode(), "grüße \U0001f600"),
            (b"caf\xe9 \x80\0", "café €"),
            (b"a\x1bb\0", "a\x1bb"),
            (b"one\0two\0", "one\0two"),
        ],
    )
    def test_are_texts_as_the_json_has_them(self, stored: bytes, text: str) -> None:
        directory = _directory(Field(271, ASCII, stored))
        assert directory["Make"] == directory.to_dict()["Make"]
        assert isinstance(directory["Make"], str)
        assert directory["Make"].rstrip("\0") == text

    def test_are_rows_of_rows_where_the_record_has_a_matrix(self) -> None:
        directory = _directory(
            Field(258, SHORT, [2]), Field(262, SHORT, [3]), Field(320, SHORT, list(range(12)))
        )
        colormap = directory["Colormap"]
        assert isinstance(colormap, tuple)
        assert [list(row) for row in colormap] == directory.to_dict()["Colormap"]  # type: ignore[arg-type]
        assert {len(row) for row in colormap} == {3}  # type: ignore[arg-type]

    def test_are_directories_and_read_only_mappings(self) -> None:
        assert PHOTO["DigitalCamera"] == (PHOTO.exif,)
        assert PYRAMID["SubIFDs"] == (PYRAMID.subifds[:2], PYRAMID.subifds[2:])
        directory = _directory(Field(65000, SHORT, [1, 2]), Field(65001, ASCII, b"x\0"))
        unknown = directory["UnknownTags"]
        assert unknown == (
            {"ID": 65000, "Offset": 0, "Value": (1, 2)},
            {"ID": 65001, "Offset": 0, "Value": "x"},
        )
        assert isinstance(unknown, tuple)
        assert set(map(type, unknown)) == {MappingProxyType}


class TestEntries:
    def test_are_those_of_the_file_in_its_order(self) -> None:
        assert [entry.tag for entry in PHOTO.entries] == [field.tag for field in PHOTOGRAPH]
        assert all(entry.directory == PHOTO for entry in PHOTO.entries)

    def test_are_found_by_name_and_number(self) -> None:
        entry = PHOTO.entry("Compression")
        assert entry is not None
        assert entry == PHOTO.entry(259)
        assert (entry.tag, entry.name, entry.value) == (259, "Compression", 32773)
        for absent in ("Artist", "", "\ud800", 315, -1, 2**70):
            assert PHOTO.entry(absent) is None
        for wrong in (None, 259.0, True, b"Compression"):
            with pytest.raises(TypeError, match=r"^name_or_tag: expected a str or an int, got "):
                PHOTO.entry(wrong)  # type: ignore[arg-type]

    def test_are_found_by_every_name_of_their_tag(self) -> None:
        for name in ("Height", "Length", "ImageLength"):
            assert PHOTO.entry(name) == PHOTO.entry(257)
            assert PHOTO.code(name) == 30
            assert PHOTO.array(name).tolist() == [30]
            assert not PHOTO.is_default(name)
        assert PHOTO.entry("imagelength") is None

    def test_are_found_by_names_that_no_field_has(self) -> None:
        directory = _directory(Field(256, SHORT, [1]), Field(42036, ASCII, b"50mm\0"))
        entry = directory.entry("LensModel")
        assert entry is not None
        assert (entry.tag, entry.name, entry.value) == (42036, None, "50mm")

    def test_have_the_names_of_their_kind_of_directory(self) -> None:
        # 31 is a public tag of GPS directories and none of others.
        directory = _directory(
            Field(31, SHORT, [7]),
            Field(34853, LONG, [[[Field(31, SHORT, [8])]]]),
        )
        assert directory.gps is not None
        assert directory.entry("GPSHPositioningError") is None
        entry = directory.gps.entry("GPSHPositioningError")
        assert entry is not None
        assert entry.value == 8
        assert directory.gps.entry("LensModel") is None

    def test_that_were_left_out_have_no_name(self) -> None:
        directory = _directory(Field(256, SHORT, [1]), Field(257, 99, b"abc"))
        assert [entry.dropped_by is None for entry in directory.entries] == [True, False]
        assert directory.entry("Height") is None
        assert directory.entry(257) == directory.entries[1]

    def test_of_a_tag_that_occurs_twice_are_told_apart_by_what_the_record_shows(self) -> None:
        directory = _directory(Field(259, SHORT, [5]), Field(259, SHORT, [77]))
        entry = directory.entry("Compression")
        assert entry is not None
        assert [one.value for one in directory.entries] == [5, 77]
        assert entry == directory.entry(259)
        assert entry.value == directory.code("Compression")
        assert entry.value_name == directory["Compression"]

    def test_without_a_name_are_unknown(self) -> None:
        directory = _directory(Field(256, SHORT, [1]), Field(65000, BYTE, [1]))
        assert [entry.tag for entry in directory.unknown] == [65000]
        assert PHOTO.unknown == ()

    def test_of_defaults_stand_apart(self) -> None:
        names = [entry.name for entry in PHOTO.defaults]
        assert "Orientation" in names
        assert "Compression" not in names
        assert all(entry.is_default for entry in PHOTO.defaults)
        assert PHOTO.is_default("Orientation")
        assert PHOTO.is_default(274)
        assert not PHOTO.is_default("Compression")
        assert not PHOTO.is_default("no such field")
        orientation = PHOTO.entry("Orientation")
        assert orientation is not None
        assert orientation.is_default

    def test_give_the_number_behind_a_word(self) -> None:
        directory = _directory(
            Field(259, SHORT, [5]), Field(339, SHORT, [1, 2]), Field(282, RATIONAL, [72, 1]),
            Field(271, ASCII, b"maker\0"),
        )  # fmt: skip
        assert (directory["Compression"], directory.code("Compression")) == ("LZW", 5)
        assert directory.code("SampleFormat") == (1, 2)
        assert directory.code("ResolutionUnit") == 2
        assert directory.code(259) == 5
        for name in ("XResolution", "Make", "Artist"):
            assert directory.code(name) is None

    def test_give_arrays(self) -> None:
        assert np.array_equal(PHOTO.array("StripOffsets"), np.array([8, 16, 24], np.uint32))
        assert np.array_equal(PHOTO.array(258), [8, 8, 8])
        with pytest.raises(KeyError) as raised:
            PHOTO.array("Artist")
        assert raised.value.args == ("Artist",)


def test_an_editor_of_notebooks_is_told_the_keys() -> None:
    keys = PHOTO._ipython_key_completions_()
    assert keys == list(PHOTO)


class TestPlaces:
    def test_of_those_below(self) -> None:
        assert PHOTO.exif is not None
        assert PHOTO.gps is not None
        assert PHOTO.exif.interop is not None
        assert [
            (one.kind, one.path) for one in (PHOTO, PHOTO.exif, PHOTO.gps, PHOTO.exif.interop)
        ] == [
            ("TIFF", "0"),
            ("Exif", "0/DigitalCamera/0"),
            ("GPS", "0/GPSInfo/0"),
            ("Interoperability", "0/DigitalCamera/0/InteroperabilityIFD/0"),
        ]
        assert PHOTO.exif.interop.parent == PHOTO.exif
        assert PHOTO.exif.parent == PHOTO
        assert PHOTO.parent is None
        assert (PHOTO.interop, PHOTO.exif.exif, PHOTO.exif.gps) == (None, None, None)

    def test_of_subifds_are_flat_and_in_order(self) -> None:
        assert [one.path for one in PYRAMID.subifds] == [
            "0/SubIFDs[0]/0", "0/SubIFDs[0]/1", "0/SubIFDs[1]/0",
        ]  # fmt: skip
        assert [one.index for one in PYRAMID.subifds] == [0, 1, 0]
        assert all(one.parent == PYRAMID for one in PYRAMID.subifds)
        assert PHOTO.subifds == ()

    def test_in_the_file_are_positions(self) -> None:
        content = tiff([PHOTOGRAPH, IMAGE])
        for directory in ifdsweep.read(content).walk():
            count = int.from_bytes(content[directory.position :][:2], "little")
            assert count == len(directory.entries)


class TestRepresentations:
    def test_tell_of_an_image(self) -> None:
        assert repr(PHOTO) == "<Directory 0: 40 x 30 truecolor, 15 entries>"
        assert repr(PYRAMID.subifds[2]) == "<Directory 0/SubIFDs[1]/0: 40 x 30, 4 entries>"

    def test_tell_of_others_by_their_kind(self) -> None:
        assert repr(PHOTO.exif) == "<Directory 0/DigitalCamera/0: Exif, 11 entries>"
        assert repr(_directory(Field(271, ASCII, b"x\0"))) == "<Directory 0: TIFF, 1 entry>"


class TestEquality:
    def test_is_by_content_and_place(self) -> None:
        again = ifdsweep.read(tiff([PHOTOGRAPH, IMAGE]))
        assert again[0] == PHOTO
        assert PHOTO is not again[0]
        assert hash(PHOTO) == hash(again[0])
        assert again[0] != again[1]
        assert again[0] != dict(again[0])
        assert len({PHOTO, again[0], again[1]}) == 2

    def test_sees_nan_as_itself(self) -> None:
        content = tiff([[Field(34665, LONG, [[EXIF]])]])
        assert ifdsweep.read(content)[0].exif == ifdsweep.read(content)[0].exif

    def test_sees_what_the_entries_alone_have(self) -> None:
        one = _directory(Field(282, RATIONAL, [72, 1]))
        other = _directory(Field(282, RATIONAL, [144, 2]))
        assert one.to_dict() == other.to_dict()
        assert one != other


def test_bytes_are_bytes_and_base64_in_the_dict() -> None:
    directory = _directory(Field(37724, UNDEFINED, bytes(range(250, 256))))
    assert directory["ImageSourceData"] == bytes(range(250, 256))
    assert directory.to_dict()["ImageSourceData"] == "+vv8/f7/"
