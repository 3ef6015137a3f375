"""`Entry`: the stored values, exact, and what tells of them."""

import copy
import json
import math
import pickle
import struct
from collections import Counter
from collections.abc import Sequence
from fractions import Fraction
from pathlib import Path
from typing import Any

import pytest
from conftest import ENTRY_TAG, Program, entry_of, sample_files
from designed_files import (
    ASCII,
    BYTE,
    DOUBLE,
    FLOAT,
    IFD,
    IFD8,
    IMAGE,
    LAYOUTS,
    LONG,
    LONG8,
    RATIONAL,
    SBYTE,
    SHORT,
    SLONG,
    SLONG8,
    SRATIONAL,
    SSHORT,
    UNDEFINED,
    Field,
    Layout,
    designed_files,
    tiff,
)

import ifdsweep


def one_float(number: float) -> float:
    """A number as 32 bits hold it."""
    packed: float = struct.unpack("f", struct.pack("f", number))[0]
    return packed


# Field type, stored numbers or bytes, value, text.
VALUES: list[tuple[int, Any, Any, str]] = [
    (BYTE, [255], 255, "255"),
    (BYTE, [0, 255], (0, 255), "0 255"),
    (SBYTE, [-128], -128, "-128"),
    (SHORT, [65535], 65535, "65535"),
    (SSHORT, [-32768, 32767], (-32768, 32767), "-32768 32767"),
    (LONG, [2**32 - 1], 2**32 - 1, "4294967295"),
    (SLONG, [-(2**31)], -(2**31), "-2147483648"),
    (LONG8, [2**64 - 1], 2**64 - 1, "18446744073709551615"),
    (LONG8, [2**53 + 1, 2**63], (2**53 + 1, 2**63), "9007199254740993 9223372036854775808"),
    (SLONG8, [-(2**63)], -(2**63), "-9223372036854775808"),
    (IFD, [8], 8, "8"),
    (IFD8, [2**64 - 8], 2**64 - 8, "18446744073709551608"),
    (FLOAT, [0.1], one_float(0.1), "0.1"),
    (FLOAT, [math.inf, -0.5], (math.inf, -0.5), "inf -0.5"),
    (DOUBLE, [0.1, 1e300], (0.1, 1e300), "0.1 1e+300"),
    (RATIONAL, [72009, 1994], (72009, 1994), "72009/1994"),
    (RATIONAL, [1, 0, 0, 0], ((1, 0), (0, 0)), "1/0 0/0"),
    (SRATIONAL, [-(2**31), -1], (-(2**31), -1), "-2147483648/-1"),
    (UNDEFINED, b"0230", b"0230", "4 bytes: 30 32 33 30"),
    (UNDEFINED, b"\x07", b"\x07", "1 byte: 07"),
    (
        UNDEFINED,
        bytes(range(17)),
        bytes(range(17)),
        "17 bytes: " + bytes(range(16)).hex(" ") + " …",
    ),
    (ASCII, b"plain\0", "plain", "plain"),
    (ASCII, b"no end", "no end", "no end"),
    (ASCII, b"\0", "", ""),
    (ASCII, b"two\0texts\0", "two\0texts", "two\0texts"),
    (ASCII, b"spare\0\0\0", "spare\0\0", "spare"),
    (ASCII, "gr\u00fc\u00dfe\0".encode(), "gr\u00fc\u00dfe", "gr\u00fc\u00dfe"),
    (ASCII, b"caf\xe9 \x80\0", b"caf\xe9 \x80\0", "caf\u00e9 \u20ac"),
    (SHORT, list(range(17)), tuple(range(17)), " ".join(map(str, range(16))) + " … (17 values)"),
]


class TestValues:
    @pytest.mark.parametrize("layout", LAYOUTS, ids=str)
    @pytest.mark.parametrize(("kind", "stored", "value", "text"), VALUES)
    def test_values_are_exact(
        self, kind: int, stored: Any, value: Any, text: str, layout: Layout
    ) -> None:
        entry = entry_of(kind, stored, layout)
        assert entry.value == value
        assert type(entry.value) is type(value)
        assert entry.text == text

    def test_what_is_no_number_is_a_float(self) -> None:
        value = entry_of(DOUBLE, [math.nan]).value
        assert isinstance(value, float)
        assert math.isnan(value)

    @pytest.mark.parametrize("kind", [FLOAT, DOUBLE])
    def test_whole_floats_stay_floats(self, kind: int) -> None:
        assert type(entry_of(kind, [300.0]).value) is float

    def test_fractions_are_exact_and_none_where_the_denominator_is_zero(self) -> None:
        entry = entry_of(RATIONAL, [72009, 1994, 7, 0, 4, 2])
        assert entry.fractions == (Fraction(72009, 1994), None, Fraction(2))
        assert entry_of(SRATIONAL, [-1, 3]).fractions == (Fraction(-1, 3),)

    @pytest.mark.parametrize("kind", [SHORT, FLOAT, UNDEFINED, BYTE])
    def test_other_types_have_no_fractions(self, kind: int) -> None:
        entry = entry_of(kind, b"\1\2\3\4" if kind == UNDEFINED else [1])
        with pytest.raises(TypeError, match=r"^fractions: the entry is of no rational type$"):
            _ = entry.fractions

    @pytest.mark.parametrize(
        ("kind", "stored", "letters"),
        [(SHORT, [1, 2], "HH"), (RATIONAL, [1, 3], "II"), (DOUBLE, [0.1], "d"), (SBYTE, [-1], "b")],
    )
    @pytest.mark.parametrize("layout", LAYOUTS, ids=str)
    def test_bytes_are_in_the_order_of_the_machine(
        self, kind: int, stored: Sequence[float], letters: str, layout: Layout
    ) -> None:
        assert entry_of(kind, stored, layout).bytes == struct.pack("=" + letters, *stored)

    def test_a_wrong_count_is_kept_and_the_values_are_those_that_are_there(self) -> None:
        file = ifdsweep.read(tiff([[Field(258, SHORT, [8, 8, 8]), Field(259, SHORT, [1, 1])]]))
        entry = file[0].entry(259)
        assert entry is not None
        assert (entry.count, entry.value) == (2, (1, 1))


class TestWhatIsTold:
    def test_a_stored_entry(self) -> None:
        (entry,) = ifdsweep.read(tiff([[Field(259, SHORT, [32773])]]))[0].entries
        assert (entry.tag, entry.name, entry.type, entry.count) == (259, "Compression", "SHORT", 1)
        assert (entry.position, entry.value_position, entry.inline) == (10, 18, True)
        assert (entry.is_default, entry.is_loaded) == (False, True)
        assert (entry.value, entry.value_name, entry.text) == (32773, "PackBits", "PackBits")
        assert entry.dropped_by is None
        assert repr(entry) == "<Entry Compression: SHORT, PackBits>"

    def test_a_value_that_lies_elsewhere(self) -> None:
        entry = entry_of(ASCII, b"Maker of things\0", LAYOUTS[0])
        assert (entry.position, entry.value_position, entry.inline) == (26, 8, False)
        assert repr(entry) == "<Entry 65000: ASCII[16], Maker of things>"

    def test_an_unknown_type(self) -> None:
        fields = [Field(259, SHORT, [1]), Field(ENTRY_TAG, 99, b"abc")]
        entry = ifdsweep.read(tiff([fields]))[0].entries[1]
        assert (entry.name, entry.type, entry.count) == (None, 99, 3)
        assert (entry.value, entry.bytes, entry.text) == (None, None, "")
        assert (entry.is_loaded, entry.value_position) == (False, None)
        assert entry.dropped_by is not None
        assert entry.dropped_by.endswith("unrecognizedTagFormatId")
        assert (
            repr(entry)
            == "<Entry 65000: type 99[3], not loaded, dropped by unrecognizedTagFormatId>"
        )

    def test_a_default(self) -> None:
        directory = ifdsweep.read(tiff([IMAGE]))[0]
        entry = next(entry for entry in directory.defaults if entry.name == "FillOrder")
        assert (entry.type, entry.position, entry.value_position) == (None, None, None)
        assert (entry.is_default, entry.inline, entry.bytes) == (True, False, None)
        assert (entry.value, entry.count) == (1, 1)
        assert type(entry.value) is int
        assert repr(entry) == "<Entry FillOrder: default, 1>"

    def test_the_directory_leads_back(self) -> None:
        directory = ifdsweep.read(tiff([IMAGE, IMAGE]))[1]
        for entry in directory.entries:
            assert entry.directory == directory
            assert entry.directory.path == "1"

    def test_nothing_hidden_gets_into_a_representation(self) -> None:
        entry = entry_of(ASCII, "\x1b[2J\u202e\\\n".encode() + bytes(1))
        assert entry.value == "\x1b[2J\u202e\\\n"
        assert repr(entry) == r"<Entry 65000: ASCII[10], \x1b[2J\u202e\\\n>"

    def test_a_long_text_is_cut_in_a_representation_between_characters(self) -> None:
        entry = entry_of(ASCII, b"a" + "\u20ac".encode() * 50)
        assert repr(entry) == "<Entry 65000: ASCII[151], a" + "\u20ac" * 23 + "…>"

    def test_it_cannot_be_made_or_changed(self) -> None:
        with pytest.raises(TypeError):
            ifdsweep.Entry()
        with pytest.raises(AttributeError):
            entry_of(SHORT, [1]).tag = 7  # type: ignore[misc]

    def test_the_dict_is_the_line_of_the_facts(self) -> None:
        file = ifdsweep.read(tiff([[Field(282, RATIONAL, [72009, 1994])]]), name="a.tif")
        assert file[0].entries[0].to_dict() == {
            "file": "a.tif",
            "path": "0",
            "kind": "TIFF",
            "tag": 282,
            "name": "XResolution",
            "type": "RATIONAL",
            "count": 1,
            "entryOffset": 18,
            "valueOffset": 8,
            "inline": False,
            "value": [[72009, 1994]],
        }

    def test_dicts_of_all_files_are_the_lines_of_the_program(
        self, program: Program, tmp_path: Path
    ) -> None:
        paths = sample_files()
        for name, content in designed_files().items():
            paths.append(tmp_path / name)
            paths[-1].write_bytes(content)
        lines = map(json.loads, program.output(["--format", "facts"], paths).splitlines())
        expected = Counter(repr(line) for line in lines if "tag" in line)
        # Directories that are not kept have lines of their own besides.
        given = Counter(
            repr(entry.to_dict())
            for path in paths
            for directory in ifdsweep.read(path).walk()
            for entry in (*directory.entries, *directory.defaults)
        )
        assert given.total() > 10_000
        assert not given - expected


class TestContent:
    ONE = tiff([[Field(271, ASCII, b"Maker\0"), Field(ENTRY_TAG, SHORT, [7])]])

    def entries(self, content: bytes = ONE) -> Sequence[ifdsweep.Entry]:
        return ifdsweep.read(content)[0].entries

    def test_equal_content_is_equal_and_has_equal_hashes(self) -> None:
        assert self.entries() == self.entries()
        assert list(map(hash, self.entries())) == list(map(hash, self.entries()))
        assert len({*self.entries(), *self.entries()}) == 2

    @pytest.mark.parametrize(
        "other",
        [
            Field(271, ASCII, b"Makes\0"),
            Field(271, UNDEFINED, b"Maker\0"),
            Field(272, ASCII, b"Maker\0"),
            Field(271, ASCII, b"Maker\0", 5),
        ],
    )
    def test_other_content_is_not(self, other: Field) -> None:
        changed = tiff([[other, Field(ENTRY_TAG, SHORT, [7])]])
        assert self.entries()[0] != self.entries(changed)[0]
        assert self.entries()[1] == self.entries(changed)[1]

    def test_it_is_equal_to_nothing_else(self) -> None:
        entry = self.entries()[0]
        assert entry != "Maker"
        assert entry != self.entries()[0].to_dict()

    def test_the_directory_does_not_count(self) -> None:
        second = [Field(271, ASCII, b"Maker\0"), Field(ENTRY_TAG, SHORT, [7])]
        chained = tiff([[Field(330, LONG, [0])], second])
        # The same bytes, but the second directory hangs below the first.
        link = chained.index(struct.pack("<HHII", 330, LONG, 1, 0)) + 8
        place = chained[link + 4 : link + 8]
        nested = chained[:link] + place + bytes(4) + chained[link + 8 :]
        (one,) = (d for d in ifdsweep.read(chained).walk() if d.path == "1")
        (other,) = (d for d in ifdsweep.read(nested).walk() if d.path == "0/SubIFDs[0]/0")
        assert one.entries == other.entries
        assert list(map(hash, one.entries)) == list(map(hash, other.entries))
        assert one.entries[0].directory != other.entries[0].directory

    @pytest.mark.parametrize("protocol", range(2, pickle.HIGHEST_PROTOCOL + 1))
    def test_it_is_pickled(self, protocol: int) -> None:
        for entry in self.entries():
            back = pickle.loads(pickle.dumps(entry, protocol))
            assert (back, back.directory, back.to_dict()) == (
                entry,
                entry.directory,
                entry.to_dict(),
            )

    def test_states_of_other_origin_are_refused(self) -> None:
        file = ifdsweep.read(self.ONE)
        for state, error in [
            ((file, 2**32 - 1), IndexError),
            ((file, 10**30), TypeError),
            ((file, -1), TypeError),
            ((file,), TypeError),
            (("file", 0), TypeError),
            (None, TypeError),
        ]:
            entry = ifdsweep.Entry.__new__(ifdsweep.Entry)
            with pytest.raises(error):
                entry.__setstate__(state)

    def test_a_copy_is_the_same_object(self) -> None:
        entry = self.entries()[0]
        assert copy.copy(entry) is entry
        assert copy.deepcopy(entry) is entry
