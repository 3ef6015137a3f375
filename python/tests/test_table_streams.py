"""Tables as streams: who takes them, on which thread, how they end, and what is left behind."""

import ctypes
import gc
import os
import re
import signal
import subprocess
import sys
import threading
import time
import weakref
from collections.abc import Callable
from concurrent.futures import ThreadPoolExecutor
from pathlib import Path
from typing import Any

import duckdb
import nanoarrow as na
import polars as pl
import pyarrow as pa
import pytest
from conftest import corpus_files, grown_bytes, repetitions, resident_bytes, sample_files
from designed_files import ASCII, SHORT, Field, tiff

from ifdsweep import Batch, _program, schema, table

LAYOUTS: list[Any] = ["images", "tags", "files", "warnings"]
both_ways = pytest.mark.parametrize("isolate", [False, True], ids=["threads", "processes"])

# How long a process may take that does not hang.
_LONG = 120

_IMAGE = tiff([[Field(256, SHORT, [7]), Field(271, ASCII, b"Maker\0")]] * 3)


@pytest.fixture
def images(tmp_path: Path) -> list[Path]:
    """A hundred files of three images each."""
    paths = [tmp_path / f"{number:03}.tif" for number in range(100)]
    for path in paths:
        path.write_bytes(_IMAGE)
    return paths


class TestLibrariesTakeATable:
    @pytest.mark.parametrize("layout", LAYOUTS)
    def test_as_they_take_each_other_s(self, layout: Any) -> None:
        paths = [*sample_files(), *corpus_files()[::11]]
        made = table(paths, layout, columns="all")
        expected = repr(made.to_arrow().to_pylist())
        reader = pa.RecordBatchReader.from_stream(made)
        assert repr(reader.read_all().to_pylist()) == expected
        assert repr(pa.table(na.ArrayStream(made)).to_pylist()) == expected
        assert pl.DataFrame(made).shape == made.to_arrow().shape
        assert duckdb.execute("select count(*) from made").fetchall() == [
            (made.to_arrow().num_rows,)
        ]

    def test_a_schema_and_a_batch_too(self, images: list[Path]) -> None:
        made = table(images, columns=["Width", "Make"])
        assert pa.schema(made) == pa.schema(made.schema) == pa.table(made).schema
        assert na.Schema(made.schema).type == na.Type.STRUCT
        (batch,) = made.batches()
        assert pa.record_batch(batch).to_pylist() == pa.table(made).to_pylist()
        assert pa.schema(batch) == pa.schema(made)
        assert pl.DataFrame(batch).rows() == [(7, "Maker")] * 300

    def test_as_often_as_they_like_at_once(self, images: list[Path]) -> None:
        made = table(images, columns=["file_path", "page"])
        expected = made.to_arrow()
        with ThreadPoolExecutor(4) as pool:
            found = list(pool.map(lambda _: pa.table(made), range(20)))
        assert all(each.equals(expected) for each in found)

    def test_with_a_schema_that_is_asked_for_left_out_of_account(self, images: list[Path]) -> None:
        made = table(images, columns=["Width"])
        wish = pa.schema([("Width", pa.int8())])
        reader = pa.RecordBatchReader.from_stream(made, schema=pa.schema(made))
        assert reader.schema == pa.schema(made)
        capsule = made.__arrow_c_stream__(wish.__arrow_c_schema__())
        assert pa.RecordBatchReader._import_from_c_capsule(capsule).schema == pa.schema(made)

    def test_by_sql(self, images: list[Path]) -> None:
        made = table(images, columns=["file_path", "page", "Make"], batch_rows=7)  # noqa: F841
        found = duckdb.execute("select Make, count(*), max(page) from made group by all").fetchall()
        assert found == [("Maker", 300, 2)]
        twice = duckdb.execute("select count(*) from made a join made b using (file_path, page)")
        assert twice.fetchall() == [(300,)]

    def test_without_pyarrow(self, images: list[Path]) -> None:
        program = """
import sys
sys.modules["pyarrow"] = None
import duckdb, nanoarrow, numpy, polars
from ifdsweep import table
made = table(sys.argv[1], columns=["Width", "Make", "BitsPerSample"])
for frame in (made.to_polars(), polars.DataFrame(made), polars.scan_arrow_c_stream(made).collect()):
    print(frame.shape, frame.row(0))
print(duckdb.execute("select count(*), min(Make), max(Width) from made where Width = 7").fetchall())
print(duckdb.execute("select Make from made limit 1").fetchall())
print(len(nanoarrow.ArrayStream(made).read_all()), {len(part) for part in made.to_numpy().values()})
"""
        run = subprocess.run(
            [sys.executable, "-W", "ignore", "-c", program, images[0].parent],
            capture_output=True,
            text=True,
            check=False,
        )
        assert run.stdout.splitlines() == [
            "(300, 3) (7, 'Maker', [1])",
            "(300, 3) (7, 'Maker', [1])",
            "(300, 3) (7, 'Maker', [1])",
            "[(300, 'Maker', 7)]",
            "[('Maker',)]",
            "300 {300}",
        ], run.stderr


class TestAStream:
    def test_outlives_the_table_and_what_it_was_made_of(self, images: list[Path]) -> None:
        made = table(images, columns=["page", "Make"])
        capsule = made.__arrow_c_stream__()
        gone = weakref.ref(made)
        del made
        gc.collect()
        assert gone() is None
        reader = pa.RecordBatchReader._import_from_c_capsule(capsule)
        del capsule
        gc.collect()
        assert reader.read_all()["page"].to_pylist() == [0, 1, 2] * 100

    def test_is_consumed_once(self, images: list[Path]) -> None:
        capsule = table(images, columns=["page"]).__arrow_c_stream__()
        assert pa.RecordBatchReader._import_from_c_capsule(capsule).read_all().num_rows == 300
        with pytest.raises(pa.ArrowInvalid):
            pa.RecordBatchReader._import_from_c_capsule(capsule)

    def test_begins_with_its_first_batch(self, tmp_path: Path) -> None:
        (tmp_path / "a.tif").write_bytes(_IMAGE)
        reader = pa.RecordBatchReader.from_stream(table(tmp_path, columns=["page"]))
        (tmp_path / "b.tif").write_bytes(_IMAGE)
        assert reader.read_all().num_rows == 6

    @both_ways
    def test_may_be_given_up_at_any_time(self, images: list[Path], isolate: bool) -> None:
        for count in (0, 1, 5):
            reader = pa.RecordBatchReader.from_stream(
                table(images, columns=["page"], batch_rows=10, isolate=isolate)
            )
            assert [reader.read_next_batch().num_rows for _ in range(count)] == [10] * count
            del reader
        gc.collect()
        assert _children() == []
        assert not [thread for thread in threading.enumerate() if thread.name == "ifdsweep"]

    @both_ways
    def test_may_be_consumed_and_released_on_any_thread(
        self, images: list[Path], isolate: bool
    ) -> None:
        made = table(images, columns=["page"], batch_rows=10, isolate=isolate)
        reader = [pa.RecordBatchReader.from_stream(made)]
        batches = [reader[0].read_next_batch()]

        def consume() -> None:
            batches.append(reader[0].read_next_batch())
            reader.clear()

        for thread in (threading.Thread(target=consume), threading.Thread(target=batches.clear)):
            expected = [[0, 1, 2, 0, 1, 2, 0, 1, 2, 0], [1, 2, 0, 1, 2, 0, 1, 2, 0, 1]]
            assert [batch["page"].to_pylist() for batch in batches] == expected[: len(batches)]
            thread.start()
            thread.join()
        assert (reader, batches) == ([], [])

    @both_ways
    def test_may_be_consumed_by_threads_that_are_none_of_python(
        self, images: list[Path], isolate: bool
    ) -> None:
        made = table(images * 10, columns=["page", "Make"], batch_rows=10, isolate=isolate)
        connection = duckdb.connect()
        connection.execute("set threads = 4")
        connection.register("made", made)
        found = connection.execute("select count(*), sum(page) from made where Make = 'Maker'")
        assert found.fetchall() == [(3000, 3000)]

    def test_lets_others_have_the_interpreter_while_it_waits(self, slow: Path) -> None:
        made = table([slow] * 3, "files", columns=["directories"], threads=1)
        consumers: list[Callable[[], object]] = [
            lambda: pl.DataFrame(made),
            lambda: pa.table(made),
            lambda: list(made.batches()),
        ]
        for consume in consumers:
            assert _turns_during(consume) > 100

    @both_ways
    def test_is_for_the_process_that_made_it(self, images: list[Path], isolate: bool) -> None:
        batches = table(images, columns=["page"], batch_rows=10, isolate=isolate).batches()
        next(batches)
        process = os.fork()
        if process == 0:
            status = 1
            try:
                next(batches)
            except RuntimeError as error:
                status = 7 if "the process that began it" in str(error) else 2
            finally:
                os._exit(status)
        assert os.waitstatus_to_exitcode(os.waitpid(process, 0)[1]) == 7
        assert sum(len(batch) for batch in batches) == 290

    def test_has_capsules_with_the_names_of_the_interface(self, images: list[Path]) -> None:
        made = table(images, columns=["page"])
        name = ctypes.pythonapi.PyCapsule_GetName
        name.restype, name.argtypes = ctypes.c_char_p, [ctypes.py_object]
        (batch,) = made.batches()
        capsules = [
            made.__arrow_c_stream__(),
            made.batches().__arrow_c_stream__(None),
            made.__arrow_c_schema__(),
            *batch.__arrow_c_array__(),
        ]
        assert [name(capsule) for capsule in capsules] == [
            b"arrow_array_stream",
            b"arrow_array_stream",
            b"arrow_schema",
            b"arrow_schema",
            b"arrow_array",
        ]


def _children() -> list[str]:
    """The programs that this process has not waited for."""
    tasks = Path("/proc/self/task").iterdir()
    children = [child for task in tasks for child in (task / "children").read_text().split()]
    return [child for child in children if _name_of_process(child) == "ifdsweep"]


def _name_of_process(number: str) -> str:
    try:
        return Path(f"/proc/{number}/comm").read_text().strip()
    except FileNotFoundError:
        return ""


def _turns_during(action: Callable[[], object]) -> int:
    """How often another thread had its turn while something was done."""
    turns = 0
    is_over = threading.Event()

    def count() -> None:
        nonlocal turns
        while not is_over.is_set():
            turns += 1
            time.sleep(0.001)

    thread = threading.Thread(target=count)
    thread.start()
    time.sleep(0.05)
    turns = 0
    action()
    taken = turns
    is_over.set()
    thread.join()
    return taken


class TestBatches:
    def test_may_be_taken_in_part_and_the_rest_as_a_stream(self, images: list[Path]) -> None:
        batches = table(images, columns=["page"], batch_rows=10).batches()
        assert len(next(batches)) == 10
        assert pa.schema(batches) == pa.schema(batches.schema)
        assert pa.table(batches).num_rows == 290
        assert list(batches) == []

    @both_ways
    def test_may_be_closed(self, images: list[Path], isolate: bool) -> None:
        with table(images, columns=["page"], batch_rows=10, isolate=isolate).batches() as batches:
            next(batches)
        assert list(batches) == []
        batches.close()
        with pytest.raises(OSError, match="the scan of this table was closed"):
            pa.table(batches)
        assert _children() == []

    @both_ways
    def test_may_be_closed_by_another_thread(self, slow: Path, isolate: bool) -> None:
        batches = table([slow] * 100, "files", isolate=isolate).batches()
        closing = threading.Timer(0.3, batches.close)
        begin = time.monotonic()
        closing.start()
        assert list(batches) == []
        closing.join()
        assert time.monotonic() - begin < 10

    @both_ways
    def test_may_be_shared_by_threads(self, images: list[Path], isolate: bool) -> None:
        batches = table(images, columns=["page"], batch_rows=1, isolate=isolate).batches()

        def take(_: int) -> int:
            return sum(len(batch) for batch in batches)

        with ThreadPoolExecutor(4) as pool:
            assert sum(pool.map(take, range(4))) == 300

    def test_outlive_the_scan_and_each_other(self, images: list[Path]) -> None:
        batches: list[Batch] = list(table(images, columns=["file_path"], batch_rows=10).batches())
        array = batches[3].to_numpy()["file_path"]
        arrow = pa.record_batch(batches[3])
        del batches
        gc.collect()
        assert array[0] == str(images[10])
        assert arrow["file_path"][0].as_py() == str(images[10])


class TestWhatEndsAScan:
    @pytest.mark.parametrize(
        ("script", "complaint"),
        [
            ("echo one >&2; exit 2", "the program ended with status 2: one"),
            ("kill -9 $$", "the program was ended by SIGKILL"),
            ("echo something else", "the program is of another version than the package"),
        ],
    )
    def test_is_raised_as_it_is_and_told_of_by_streams(
        self, tmp_path: Path, monkeypatch: pytest.MonkeyPatch, script: str, complaint: str
    ) -> None:
        path = tmp_path / "ifdsweep"
        path.write_text(f"#!/bin/sh\n{script}\n")
        path.chmod(0o755)
        monkeypatch.setattr(_program, "find_program", lambda: path)
        made = table(sample_files(), isolate=True, columns=["page"])
        ways: list[Callable[[], object]] = [
            made.to_arrow,
            made.to_pandas,
            made.to_polars,
            made.to_numpy,
            lambda: made.write_parquet(tmp_path / "a.parquet"),
            lambda: list(made.batches()),
        ]
        for way in ways:
            with pytest.raises(RuntimeError, match=f"^{re.escape(complaint)}$"):
                way()
        assert not (tmp_path / "a.parquet").exists()
        batches = made.batches()
        for _ in range(2):
            with pytest.raises(RuntimeError, match=f"^{re.escape(complaint)}$"):
                next(batches)
        takers: list[Callable[[Any], object]] = [
            pa.table,
            pl.DataFrame,
            lambda given: duckdb.execute("from given").fetchall(),
        ]
        for take in takers:
            with pytest.raises(Exception, match=f"RuntimeError: {re.escape(complaint)}"):
                take(made)

    def test_is_told_of_at_once_where_the_program_is_not_there(
        self, monkeypatch: pytest.MonkeyPatch
    ) -> None:
        def find() -> Path:
            raise FileNotFoundError("no program")

        monkeypatch.setattr(_program, "find_program", find)
        with pytest.raises(FileNotFoundError, match=r"^no program$"):
            table([], isolate=True)

    def test_is_no_file_that_takes_its_worker_down(self, tmp_path: Path, slow: Path) -> None:
        for name in ("a.tif", "c.tif"):
            (tmp_path / name).write_bytes(_IMAGE)
        (tmp_path / "b.tif").symlink_to(slow)
        paths = [tmp_path / name for name in ("a.tif", "b.tif", "c.tif")]
        made = table(
            paths, "files", columns=["file_path", "status"], isolate=True, timeout=0.001, threads=1
        )
        assert [row["file_path"] for row in made.to_arrow().to_pylist()] == [*map(str, paths)]
        assert made.to_arrow()["status"].to_pylist()[1] == "timeout"

    @pytest.mark.parametrize("isolate", [False, True], ids=["threads", "processes"])
    @pytest.mark.parametrize(
        "action",
        [
            "made.to_arrow()",
            "made.to_pandas()",
            "made.to_polars()",
            "made.to_numpy()",
            "made.write_parquet('interrupted.parquet')",
            "list(made.batches())",
            "pyarrow.table(made)",
            "polars.DataFrame(made)",
            "duckdb.execute('from made').fetchall()",
        ],
    )
    def test_may_be_ctrl_c(self, tmp_path: Path, slow: Path, action: str, isolate: bool) -> None:
        program = f"""
import sys, threading, time
import duckdb, numpy, pandas, polars, pyarrow, pyarrow.parquet
from ifdsweep import table
made = table([sys.argv[1]] * 1000, "files", isolate={isolate})
print("ready", flush=True)
try:
    try:
        {action}
    except Exception:
        pass
    time.sleep(5)
except KeyboardInterrupt:
    print("interrupted", flush=True)
"""
        process = subprocess.Popen(
            [sys.executable, "-c", program, slow],
            stdout=subprocess.PIPE,
            cwd=tmp_path,
            start_new_session=True,
        )
        assert process.stdout is not None
        assert process.stdout.readline() == b"ready\n"
        time.sleep(0.5)
        process.send_signal(signal.SIGINT)
        assert process.stdout.read() == b"interrupted\n"
        assert process.wait(_LONG) == 0
        process.stdout.close()
        assert list(tmp_path.iterdir()) == []
        _await_end_of_session(process.pid)

    @both_ways
    def test_may_be_the_end_of_the_program(self, images: list[Path], isolate: bool) -> None:
        program = f"""
import contextlib, sys, threading
import duckdb, pyarrow
from ifdsweep import table
made = table([sys.argv[1]] * 100_000, columns=["page"], batch_rows=1000, isolate={isolate})
reader = pyarrow.RecordBatchReader.from_stream(made)
reader.read_next_batch()
other = pyarrow.RecordBatchReader.from_stream(made)
def take():
    with contextlib.suppress(Exception):  # a thread may still hear that the interpreter ends
        pyarrow.table(made)
for _ in range(3):
    threading.Thread(target=take, daemon=True).start()
connection = duckdb.connect()
connection.execute("select page from made").fetchone()
other.read_next_batch()
"""
        process = subprocess.run(
            [sys.executable, "-c", program, images[0]],
            capture_output=True,
            timeout=_LONG,
            start_new_session=True,
            check=False,
        )
        assert (process.returncode, process.stdout, process.stderr) == (0, b"", b"")


def _await_end_of_session(leader: int) -> None:
    deadline = time.monotonic() + 10
    while sessions := _session(leader):
        assert time.monotonic() < deadline, sessions
        time.sleep(0.05)


def _session(leader: int) -> list[int]:
    """The processes of a session that have not ended."""
    members = []
    for status in Path("/proc").glob("[0-9]*/stat"):
        try:
            fields = status.read_text().rpartition(")")[2].split()
        except (FileNotFoundError, ProcessLookupError):
            continue
        if int(fields[3]) == leader and fields[0] != "Z":
            members.append(int(status.parent.name))
    return members


@pytest.mark.memory
class TestMemoryDoesNotGrow:
    def test_of_streams_taken_and_not(self) -> None:
        made = table(sample_files(), columns=["Width", "Make", "BitsPerSample", "Compression"])

        def take() -> None:
            pa.RecordBatchReader.from_stream(made).read_all()
            made.__arrow_c_stream__()
            made.__arrow_c_schema__()
            for batch in made.batches():
                batch.__arrow_c_array__()
                batch.to_numpy()

        assert grown_bytes(take, repetitions(500, 50_000)) < 4 << 20

    def test_of_arrays_given_away(self) -> None:
        (batch,) = table(sample_files(), columns="all").batches()
        assert (
            grown_bytes(lambda: batch.__arrow_c_array__()[0], repetitions(2_000, 1_000_000))
            < 1 << 20
        )

    def test_of_schemas(self) -> None:
        assert grown_bytes(lambda: schema("images", "all"), repetitions(500, 50_000)) < 2 << 20

    def test_is_bounded_by_the_batches_whatever_the_files(self, tmp_path: Path) -> None:
        for number in range(20):
            (tmp_path / f"{number}.tif").write_bytes(_IMAGE)
        paths = [tmp_path / f"{number % 20}.tif" for number in range(40_000)]
        made = table(paths, columns="all", batch_rows=1000)
        rows = 0
        before = 0
        for batch in made.batches():
            rows += len(batch)
            before = before or resident_bytes()
        assert rows == 120_000
        assert resident_bytes() - before < 64 << 20
