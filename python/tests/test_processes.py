"""Other processes and threads: workers of every kind, Ctrl-C, and the interpreter's lock."""

import asyncio
import concurrent.futures
import multiprocessing
import os
import signal
import subprocess
import sys
import threading
import time
from collections.abc import Callable
from multiprocessing.pool import ThreadPool
from pathlib import Path

import pytest
from conftest import sample_files
from designed_files import LONG, Field, tiff

from ifdsweep import File, read, scan

both_ways = pytest.mark.parametrize("isolate", [False, True], ids=["threads", "processes"])

# How long a process may take that does not hang.
_LONG = 120


def _read(path: Path) -> File:
    return read(path)


def _scanned(path: Path) -> list[File]:
    return list(scan([path] * 3))


def _scanned_apart(path: Path) -> list[File]:
    return list(scan([path] * 3, isolate=True))


@pytest.mark.parametrize("start", ["fork", "forkserver", "spawn"])
class TestWorkers:
    def test_read_and_hand_over_what_they_read(self, start: str) -> None:
        paths = sample_files()
        list(scan(paths))  # so that a fork has a past with threads
        with multiprocessing.get_context(start).Pool(2) as pool:
            assert pool.map_async(_read, paths).get(_LONG) == [read(path) for path in paths]

    @pytest.mark.parametrize("scanned", [_scanned, _scanned_apart])
    def test_scan_too(self, start: str, scanned: Callable[[Path], list[File]]) -> None:
        paths = sample_files()
        with concurrent.futures.ProcessPoolExecutor(
            2, mp_context=multiprocessing.get_context(start)
        ) as pool:
            found = list(pool.map(scanned, paths, timeout=_LONG))
        assert found == [[read(path)] * 3 for path in paths]


class TestAForkedProcess:
    @both_ways
    def test_leaves_the_scan_of_the_other_alone(self, isolate: bool) -> None:
        paths = sample_files() * 200
        files = scan(paths, isolate=isolate)
        first = next(files)
        child = os.fork()
        if child == 0:
            status = 1
            try:
                next(files)
            except RuntimeError as error:
                status = 0 if str(error) == "a scan is for the process that began it" else 2
            del files
            os._exit(status)
        assert _status_of(child) == 0
        assert [file.path for file in (first, *files)] == [str(path) for path in paths]

    def test_may_scan_for_itself(self) -> None:
        path = sample_files()[0]
        files = scan([path] * 1000)
        next(files)
        child = os.fork()
        if child == 0:
            os._exit(0 if list(scan([path] * 1000)) == [read(path)] * 1000 else 1)
        assert _status_of(child) == 0
        files.close()


class TestThreads:
    def test_of_a_pool_read(self) -> None:
        paths = sample_files() * 50
        with ThreadPool(8) as pool:
            assert pool.map(read, paths) == list(scan(paths))

    def test_of_an_event_loop_read(self) -> None:
        async def read_all(paths: list[Path]) -> list[File]:
            return await asyncio.gather(*(asyncio.to_thread(read, path) for path in paths))

        paths = sample_files() * 5
        assert asyncio.run(read_all(paths)) == list(scan(paths))

    @both_ways
    def test_go_on_while_another_waits_for_a_file(self, slow: Path, isolate: bool) -> None:
        files = scan([slow] * 1000, isolate=isolate, value_budget="unlimited")
        threading.Timer(0.5, files.close).start()
        assert _counted_during(lambda: list(files)) > 1000

    def test_go_on_while_another_reads(self, tmp_path: Path) -> None:
        path = tmp_path / "large.tif"
        path.write_bytes(tiff([[Field(40000 + i, LONG, range(1_000_000))] for i in range(20)]))
        assert _counted_during(lambda: read(path, value_budget="unlimited")) > 1000


def _counted_during(action: Callable[[], object]) -> int:
    """How far another thread counts meanwhile, one number after the other."""
    count = 0
    is_over = threading.Event()
    has_begun = threading.Event()

    def count_on() -> None:
        nonlocal count
        while not is_over.is_set():
            count += 1
            has_begun.set()

    counter = threading.Thread(target=count_on)
    counter.start()
    has_begun.wait()
    before = count
    action()
    after = count
    is_over.set()
    counter.join()
    return after - before


_INTERRUPTED = """
import sys, threading, time
from ifdsweep import scan

path, isolate = sys.argv[1:]
files = scan([path] * 1000, isolate=isolate == "True", threads=2, value_budget="unlimited")
print("begun", flush=True)
try:
    {action}
except KeyboardInterrupt:
    print("interrupted", list(files), threading.active_count(), flush=True)
"""


class TestCtrlC:
    @both_ways
    @pytest.mark.parametrize(
        "action", ["for _ in files: pass", "next(files)", "with files: time.sleep(60)"]
    )
    def test_ends_a_scan_at_once_and_leaves_nothing_behind(
        self, slow: Path, action: str, isolate: bool
    ) -> None:
        process = subprocess.Popen(
            [sys.executable, "-P", "-c", _INTERRUPTED.format(action=action), slow, str(isolate)],
            stdout=subprocess.PIPE,
            start_new_session=True,
        )
        with process:
            assert process.stdout is not None
            assert process.stdout.readline() == b"begun\n"
            time.sleep(0.2)
            assert len(_session(process.pid)) == 1 or isolate
            begin = time.monotonic()
            process.send_signal(signal.SIGINT)
            assert process.stdout.readline() == b"interrupted [] 1\n"
            assert process.wait(_LONG) == 0
            assert time.monotonic() - begin < 2
        assert _session(process.pid) == []

    def test_ends_it_between_files_too(self) -> None:
        path = sample_files()[0]
        files = scan([path] * 2_000_000)
        threading.Timer(0.2, lambda: signal.raise_signal(signal.SIGINT)).start()
        begin = time.monotonic()
        with pytest.raises(KeyboardInterrupt):
            for _ in files:
                pass
        files.close()
        assert time.monotonic() - begin < 2
        assert list(files) == []


class TestTheEndOfThePython:
    @both_ways
    def test_ends_a_scan_that_nobody_closed(self, isolate: bool) -> None:
        script = (
            "import sys\nfrom ifdsweep import scan\n"
            f"files = scan([{str(sample_files()[0])!r}] * 100_000, isolate={isolate})\n"
            "next(files)\n"
        )
        process = subprocess.Popen([sys.executable, "-P", "-c", script], start_new_session=True)
        assert process.wait(_LONG) == 0
        assert _session(process.pid) == []

    @pytest.mark.parametrize(
        "action",
        [
            "read(path)",
            "read(content)",
            "read(io.BytesIO(content))",
            "read(Slow(content))",
            "list(scan([path] * 50))",
            "list(scan([path] * 50, isolate=True))",
        ],
    )
    def test_is_not_disturbed_by_daemon_threads(self, action: str) -> None:
        path = sample_files()[0]
        process = subprocess.run(
            [sys.executable, "-P", "-c", _DAEMONS.format(action=action), path],
            stderr=subprocess.PIPE,
            timeout=_LONG,
            check=False,
        )
        assert (process.returncode, process.stderr) == (0, b"")


_DAEMONS = """
import io, sys, threading, time
from pathlib import Path
from ifdsweep import read, scan

class Slow(io.BytesIO):
    def read(self, size):
        for _ in range(1000):
            pass
        return super().read(size)

    readinto = property()

path = sys.argv[1]
content = Path(path).read_bytes()

def read_on():
    while True:
        {action}

for _ in range(4):
    threading.Thread(target=read_on, daemon=True).start()
time.sleep(0.3)
"""


def _session(leader: int) -> list[int]:
    """The processes of a session that have not ended."""
    found = []
    for status in Path("/proc").glob("[0-9]*/stat"):
        try:
            state, _, _, session = status.read_text().rpartition(")")[2].split()[:4]
        except (FileNotFoundError, ProcessLookupError):
            continue
        if int(session) == leader and state not in "XZ":
            found.append(int(status.parent.name))
    return found


def _status_of(child: int) -> int:
    """Waits for a child, which has a minute."""
    deadline = time.monotonic() + _LONG
    while time.monotonic() < deadline:
        process, status = os.waitpid(child, os.WNOHANG)
        if process:
            return os.waitstatus_to_exitcode(status)
        time.sleep(0.01)
    os.kill(child, signal.SIGKILL)
    os.waitpid(child, 0)
    raise TimeoutError("the child hangs")


@pytest.mark.parametrize("method", ["fork", "forkserver", "spawn"])
def test_a_pool_takes_read_as_it_is(method: str) -> None:
    paths = sample_files()
    with multiprocessing.get_context(method).Pool(2) as pool:
        assert pool.map(read, paths) == [read(path) for path in paths]
