"""Objects and arrays live as long as someone holds them, and no longer; any thread may look."""

import copy
import gc
import io
import mmap
import pickle
import sys
import threading
from concurrent.futures import ThreadPoolExecutor
from pathlib import Path

import numpy as np
import pytest
from conftest import grown_bytes, repetitions, sample_files
from designed_files import IMAGE, LAYOUTS, LONG8, PHOTOGRAPH, Field, jpeg, png, tiff

import ifdsweep

PHOTO = tiff([PHOTOGRAPH, IMAGE])
OFFSETS = np.arange(8, 8 + 3 * 50_000, 3, dtype=np.uint64)
SLIDE = tiff([[Field(324, LONG8, OFFSETS.tolist())]], LAYOUTS[2])


class TestWhatIsHeldStays:
    def test_an_array_outlives_entry_directory_file_and_the_bytes_that_were_read(self) -> None:
        content = bytearray(SLIDE)
        array = ifdsweep.read(content)[0].array("TileOffsets")
        content[:] = bytes(len(content))
        del content
        gc.collect()
        _scribble()
        assert np.array_equal(array, OFFSETS)

    def test_a_view_of_an_array_outlives_it(self) -> None:
        part = ifdsweep.read(SLIDE)[0].array("TileOffsets")[10:20]
        gc.collect()
        _scribble()
        assert np.array_equal(part, OFFSETS[10:20])

    def test_an_array_is_the_same_memory_each_time(self) -> None:
        directory = ifdsweep.read(SLIDE)[0]
        first, second = directory.array("TileOffsets"), directory.array("TileOffsets")
        assert np.shares_memory(first, second)
        assert not first.flags.writeable
        with pytest.raises(ValueError, match="read-only"):
            first[0] = 1
        with pytest.raises(ValueError, match="WRITEABLE"):
            first.flags.writeable = True

    def test_directories_entries_messages_and_streams_outlive_their_file(self) -> None:
        damaged = ifdsweep.read(PHOTO[:-60])
        message = damaged.warnings[0]
        text = str(message)
        stream = ifdsweep.read(png(PHOTO)).streams[0]
        directory = ifdsweep.read(PHOTO)[0]
        exif = directory.exif
        entry = directory.entry("ImageDescription")
        assert exif is not None
        assert entry is not None
        del damaged, directory
        gc.collect()
        _scribble()
        assert str(message) == text
        assert stream[0].Width == 40
        assert exif.ExposureTime == 0.004
        assert exif.parent is not None
        assert exif.parent.Width == 40
        assert entry.value == "a chart"
        assert entry.directory.Width == 40

    def test_a_file_outlives_the_scan_that_gave_it(self) -> None:
        files = list(ifdsweep.scan(sample_files()))
        gc.collect()
        _scribble()
        assert [file.to_json() for file in files] == [
            ifdsweep.read(path).to_json() for path in sample_files()
        ]


class TestWhatIsReadIsLetGo:
    def test_bytes_are_held_no_longer_than_the_reading_takes(self) -> None:
        before = sys.getrefcount(PHOTO)
        file = ifdsweep.read(PHOTO)
        assert sys.getrefcount(PHOTO) == before
        assert len(file) == 2

    def test_a_bytearray_can_be_resized_after_it_was_read(self) -> None:
        content = bytearray(PHOTO)
        file = ifdsweep.read(content)
        content += b"more"
        assert len(file) == 2

    def test_a_memory_map_can_be_closed_after_it_was_read(self, tmp_path: Path) -> None:
        path = tmp_path / "photo.tif"
        path.write_bytes(PHOTO)
        with path.open("rb") as opened:
            mapped = mmap.mmap(opened.fileno(), 0, access=mmap.ACCESS_READ)
        file = ifdsweep.read(mapped)
        mapped.close()
        assert file.to_dict()["records"][0]["Width"] == 40

    def test_buffers_are_let_go_when_reading_fails(self) -> None:
        content = bytearray(PHOTO)
        with pytest.raises(ValueError, match="reading"):
            ifdsweep.read(content, reading="wrong")  # type: ignore[arg-type]
        content += b"more"

    def test_a_file_object_is_neither_closed_nor_kept(self) -> None:
        opened = io.BytesIO(PHOTO)
        before = sys.getrefcount(opened)
        file = ifdsweep.read(opened)
        assert sys.getrefcount(opened) == before
        assert not opened.closed
        assert len(file) == 2

    def test_what_a_file_object_raises_leaves_nothing_behind(self) -> None:
        class Failing(io.BytesIO):
            def read(self, size: int | None = -1, /) -> bytes:
                raise ArithmeticError("on purpose")

            def readinto(self, buffer: object, /) -> int:
                raise ArithmeticError("on purpose")

        opened = Failing(PHOTO)
        before = sys.getrefcount(opened)
        for _ in range(100):
            with pytest.raises(ArithmeticError, match="on purpose"):
                ifdsweep.read(opened)
        gc.collect()
        assert sys.getrefcount(opened) == before

    @pytest.mark.memory
    def test_an_array_lets_go_of_its_file(self) -> None:
        directory = ifdsweep.read(SLIDE)[0]

        def hold_and_drop() -> None:
            for _ in range(100):
                directory.array("TileOffsets")

        assert grown_bytes(hold_and_drop, 100) < 1 << 20


@pytest.mark.memory
class TestMemoryDoesNotGrow:
    """10^5 times in an ordinary run, 10^6 times in a heavy one."""

    times = repetitions(100_000, 1_000_000)

    def test_of_reading_bytes(self) -> None:
        assert grown_bytes(lambda: ifdsweep.read(PHOTO), self.times) < 1 << 20

    def test_of_reading_what_cannot_be_read(self) -> None:
        assert grown_bytes(lambda: ifdsweep.read(b"no image"), self.times) < 1 << 20

    def test_of_reading_with_warnings(self) -> None:
        damaged = PHOTO[:-60]
        assert ifdsweep.read(damaged).warnings
        assert grown_bytes(lambda: ifdsweep.read(damaged).warnings[-1].text, self.times) < 1 << 20

    def test_of_reading_containers(self) -> None:
        for content in (jpeg(PHOTO), png(PHOTO, PHOTO)):
            action = lambda content=content: ifdsweep.read(content, streams="all")  # noqa: E731
            assert grown_bytes(action, self.times // 10) < 1 << 20

    def test_of_asking_for_directories_and_fields(self) -> None:
        file = ifdsweep.read(PHOTO)

        def ask() -> object:
            directory = file[0]
            return directory["Compression"], directory.Make, directory.exif, directory.code("XMP")

        assert grown_bytes(ask, self.times) < 1 << 20

    def test_of_asking_for_entries_and_values(self) -> None:
        directory = ifdsweep.read(PHOTO)[0]

        def ask() -> object:
            entries = directory.entries
            return [entry.value for entry in entries], entries[1].array()

        assert grown_bytes(ask, self.times // 10) < 1 << 20

    def test_of_dicts_texts_and_pickles(self) -> None:
        file = ifdsweep.read(PHOTO)

        def ask() -> object:
            return file.to_dict(), file.to_json(), file.to_facts(), pickle.loads(pickle.dumps(file))

        assert grown_bytes(ask, self.times // 10) < 1 << 20

    def test_of_objects_and_references(self) -> None:
        file = ifdsweep.read(PHOTO)
        directory = file[0]
        objects = [None, "Width", file, directory, 40, "PackBits"]
        before = [sys.getrefcount(item) for item in objects]
        for _ in range(1000):
            _look_at(file)
        gc.collect()
        after = [sys.getrefcount(item) for item in objects]
        assert all(abs(new - old) < 100 for old, new in zip(before, after, strict=True))


class TestObjectsCanBeCopiedAndStored:
    def test_a_copy_is_the_same_object(self) -> None:
        file = ifdsweep.read(PHOTO)
        for item in (file, file[0], file[0].entries[0], file.streams[0]):
            assert copy.copy(item) is item
            assert copy.deepcopy(item) is item

    @pytest.mark.parametrize("protocol", range(2, pickle.HIGHEST_PROTOCOL + 1))
    def test_a_pickle_is_equal_and_outlives_what_it_was_made_of(self, protocol: int) -> None:
        stored = pickle.dumps(ifdsweep.read(PHOTO[:-60]), protocol)
        gc.collect()
        assert pickle.loads(stored) == ifdsweep.read(PHOTO[:-60])
        assert hash(pickle.loads(stored)) == hash(ifdsweep.read(PHOTO[:-60]))

    def test_a_pickle_that_was_tampered_with_raises_and_does_no_harm(self) -> None:
        file = ifdsweep.read(PHOTO)
        block = file.__getstate__()
        for changed in (b"", block[:-1], block[1:], block + b"\0", bytes(len(block))):
            with pytest.raises(ValueError, match="no packed file"):
                ifdsweep.File.__new__(ifdsweep.File).__setstate__(changed)

    def test_flipped_bits_in_a_pickle_never_lead_astray(self) -> None:
        stored = pickle.dumps(ifdsweep.read(PHOTO))
        for place in range(0, len(stored), repetitions(7, 1)):
            changed = bytearray(stored)
            changed[place] ^= 0x41
            try:
                file = pickle.loads(bytes(changed))
            except Exception:  # whatever the pickle module finds wrong
                continue
            if isinstance(file, ifdsweep.File):
                _look_at(file)


class TestAnyThreadMayLook:
    def test_many_threads_read_at_once(self) -> None:
        expected = ifdsweep.read(PHOTO)

        def read(_: int) -> bool:
            return ifdsweep.read(PHOTO) == expected

        with ThreadPoolExecutor(8) as pool:
            assert all(pool.map(read, range(repetitions(2_000, 100_000))))

    def test_many_threads_look_at_one_file(self) -> None:
        file = ifdsweep.read(PHOTO)
        expected = _look_at(file)
        barrier = threading.Barrier(8)

        def look(_: int) -> bool:
            barrier.wait()
            return all(_look_at(file) == expected for _ in range(repetitions(50, 5_000)))

        with ThreadPoolExecutor(8) as pool:
            assert all(pool.map(look, range(8)))

    def test_the_last_one_may_go_on_another_thread(self) -> None:
        def drop(_: int) -> int:
            return len(ifdsweep.read(PHOTO)[0].entries)

        files = [ifdsweep.read(SLIDE)[0].array("TileOffsets") for _ in range(100)]
        thread = threading.Thread(target=files.clear)
        thread.start()
        with ThreadPoolExecutor(4) as pool:
            assert set(pool.map(drop, range(500))) == {len(PHOTOGRAPH)}
        thread.join()


def _look_at(file: ifdsweep.File) -> tuple[object, ...]:
    """Something of everything that a file has."""
    return (
        file.to_json(),
        repr(file),
        hash(file),
        [dict(directory).keys() for directory in file.walk()],
        [entry.to_dict() for directory in file.walk() for entry in directory.entries],
        [entry.array().tolist() for directory in file for entry in directory.entries],
        [str(message) for message in file.warnings],
    )


def _scribble() -> None:
    """Uses memory that was let go."""
    for size in (100, 1_000, 10_000, 400_000, 1_200_000):
        for block in [bytearray(b"\xa5" * size) for _ in range(20)]:
            block.clear()
