"""Arrays: the bytes of entries as NumPy sees them, without a copy."""

import gc
import struct
import subprocess
import sys
import time
import weakref
from pathlib import Path
from typing import Any

import numpy as np
import pytest
from conftest import entry_of
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
    tiff,
)

import ifdsweep

# Field type, stored numbers or bytes, type of the array, its numbers.
ARRAYS: list[tuple[int, Any, str, Any]] = [
    (BYTE, [0, 255], "uint8", [0, 255]),
    (ASCII, b"ab\0", "uint8", [97, 98, 0]),
    (SHORT, [1, 65535], "uint16", [1, 65535]),
    (LONG, [1, 2**32 - 1], "uint32", [1, 2**32 - 1]),
    (RATIONAL, [72, 1, 1, 0], "uint32", [[72, 1], [1, 0]]),
    (SBYTE, [-128, 127], "int8", [-128, 127]),
    (UNDEFINED, b"0230", "uint8", list(b"0230")),
    (SSHORT, [-32768, 1], "int16", [-32768, 1]),
    (SLONG, [-(2**31)], "int32", [-(2**31)]),
    (SRATIONAL, [-1, 3], "int32", [[-1, 3]]),
    (FLOAT, [0.5, -2.0], "float32", [0.5, -2.0]),
    (DOUBLE, [0.1], "float64", [0.1]),
    (IFD, [8, 2**32 - 8], "uint32", [8, 2**32 - 8]),
    (LONG8, [2**64 - 1], "uint64", [2**64 - 1]),
    (SLONG8, [-(2**63)], "int64", [-(2**63)]),
    (IFD8, [2**63], "uint64", [2**63]),
]
MANY = 4_000_000


@pytest.fixture(scope="module")
def many() -> ifdsweep.Entry:
    """An entry of four million offsets."""
    offsets = np.arange(MANY, dtype="<u4").tobytes()
    table = struct.pack("<HHHII", 1, 324, LONG, MANY, 8) + bytes(4)
    content = b"II*\0" + struct.pack("<I", 8 + len(offsets)) + offsets + table
    entry = ifdsweep.read(content)[0].entry(324)
    assert entry is not None
    return entry


class TestArrays:
    @pytest.mark.parametrize("layout", LAYOUTS, ids=str)
    @pytest.mark.parametrize(("kind", "stored", "dtype", "numbers"), ARRAYS)
    def test_every_type_has_its_own(
        self, kind: int, stored: Any, dtype: str, numbers: Any, layout: Layout
    ) -> None:
        array = entry_of(kind, stored, layout).array()
        assert (array.dtype, array.tolist()) == (np.dtype(dtype), numbers)
        assert array.ndim == (2 if kind in (RATIONAL, SRATIONAL) else 1)
        assert array.tobytes() == entry_of(kind, stored, layout).bytes

    def test_a_default_is_of_floats(self) -> None:
        directory = ifdsweep.read(tiff([IMAGE]))[0]
        entry = next(entry for entry in directory.defaults if entry.name == "MaxSampleValue")
        array = entry.array()
        assert (array.dtype, array.tolist()) == (np.dtype("float64"), [255.0] * 3)

    def test_what_was_not_loaded_has_none(self) -> None:
        entry = ifdsweep.read(tiff([IMAGE]), max_value=3)[0].entry(270)
        assert entry is not None
        with pytest.raises(ValueError, match=r"^the value of this entry was not loaded$"):
            entry.array()

    def test_it_cannot_be_written(self) -> None:
        array = entry_of(SHORT, [1, 2, 3]).array()
        assert not array.flags.writeable
        with pytest.raises(ValueError, match="read-only"):
            array[0] = 7
        with pytest.raises(ValueError, match="WRITEABLE"):
            array.flags.writeable = True

    def test_two_arrays_share_one_memory(self) -> None:
        entry = entry_of(DOUBLE, [0.1, 0.2])
        assert np.shares_memory(entry.array(), entry.array())
        assert entry.array().ctypes.data % 8 == 0

    def test_an_array_outlives_everything(self) -> None:
        content = bytearray(tiff([[Field(65000, LONG, list(range(1000)))]]))
        file = ifdsweep.read(content)
        entry = file[0].entries[0]
        array = entry.array()
        view = array[::7]
        content[:] = bytes(len(content))
        del file, entry, array, content
        gc.collect()
        spoiled = [ifdsweep.read(tiff([[Field(65000, LONG, [7] * 1000)]])) for _ in range(100)]
        assert len(spoiled) == 100
        assert view.tolist() == list(range(0, 1000, 7))

    def test_an_array_goes_when_it_is_not_needed_any_more(self) -> None:
        entry = entry_of(LONG, [1, 2])
        before = sys.getrefcount(entry)
        array = entry.array()
        gone = weakref.ref(array)
        del array
        gc.collect()
        assert gone() is None
        assert sys.getrefcount(entry) == before

    @pytest.mark.memory
    def test_many_arrays_leave_nothing_behind(self, many: ifdsweep.Entry) -> None:
        def resident() -> int:
            return int(Path("/proc/self/statm").read_text().split()[1])

        many.array()
        before = resident()
        for _ in range(20_000):
            many.array()
        assert resident() - before < 500  # pages, of the 4,000 that one copy would take


class TestManyNumbers:
    def test_four_million_numbers_are_not_copied(self, many: ifdsweep.Entry) -> None:
        times = []
        for _ in range(200):
            start = time.perf_counter()
            array = many.array()
            times.append(time.perf_counter() - start)
        assert len(array) == MANY
        assert min(times) < 10e-6

    def test_they_are_exact(self, many: ifdsweep.Entry) -> None:
        array = many.array()
        assert array.dtype == np.dtype("uint32")
        assert np.array_equal(array, np.arange(MANY, dtype="u4"))

    def test_their_text_is_short(self, many: ifdsweep.Entry) -> None:
        assert many.text.endswith("14 15 … (4000000 values)")
        assert len(repr(many)) < 150


def test_without_numpy_an_array_says_so_and_the_rest_goes_on() -> None:
    program = """
import sys
sys.modules["numpy"] = None
import ifdsweep
entry = ifdsweep.read(sys.stdin.buffer.read())[0].entries[0]
assert entry.value == (1, 2)
try:
    entry.array()
except ImportError as error:
    print(type(error).__name__, error.name)
"""
    content = tiff([[Field(65000, SHORT, [1, 2])]])
    run = subprocess.run([sys.executable, "-c", program], input=content, capture_output=True)
    assert (run.stdout, run.stderr) == (b"ModuleNotFoundError numpy\n", b"")
