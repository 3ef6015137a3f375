"""Files and the program that the tests read with.

IFDSWEEP_CORPUS names a folder of real files, IFDSWEEP_SEEDS one of the fuzz targets' seeds,
IFDSWEEP_PROGRAM another program than that of the wheel. With IFDSWEEP_HEAVY=1 the tests that repeat
themselves do so a hundred times as often.
"""

import gc
import mmap
import os
import shutil
import signal
import struct
import subprocess
import sysconfig
from collections.abc import Callable, Iterator, Sequence
from pathlib import Path
from typing import Any

import pytest
from designed_files import LAYOUTS, Field, Layout, tiff

import ifdsweep

_PROJECT = Path(__file__).resolve().parents[2]
_HEAVY = os.environ.get("IFDSWEEP_HEAVY", "0") != "0"


def repetitions(ordinary: int, heavy: int) -> int:
    """How often a test repeats itself."""
    return heavy if _HEAVY else ordinary


def sample_files() -> list[Path]:
    """The project's samples."""
    return sorted(
        path for path in (_PROJECT / "samples").iterdir() if path.suffix in {".tif", ".jpg"}
    )


def corpus_files() -> list[Path]:
    """Real files and their containers; none where there is no corpus."""
    named = os.environ.get("IFDSWEEP_CORPUS")
    folder = Path(named) if named else _PROJECT.parent / "shared/corpus"
    return sorted(path for path in folder.rglob("*") if path.is_file() and path.suffix != ".tsv")


def seed_files() -> list[Path]:
    """The seeds of the fuzz targets; none where they are not named."""
    folder = os.environ.get("IFDSWEEP_SEEDS")
    return sorted(path for path in Path(folder).rglob("seed_*")) if folder else []


ENTRY_TAG = 65000


def entry_of(
    kind: int, value: Any, layout: Layout = LAYOUTS[2], count: int | None = None
) -> ifdsweep.Entry:
    """The only entry of a file."""
    content = tiff([[Field(ENTRY_TAG, kind, value, count)]], layout)
    (entry,) = ifdsweep.read(content)[0].entries
    return entry


def resident_bytes() -> int:
    """Bytes of this process in memory."""
    return int(Path("/proc/self/statm").read_text().split()[1]) * mmap.PAGESIZE


def grown_bytes(action: Callable[[], object], times: int) -> int:
    """How many bytes of memory a number of calls leave behind, once the allocators are warm.

    What is lost at each call is lost in each quarter; what an allocator takes now and then, also
    for threads that other tests left, is not.
    """

    def grown_by(calls: int) -> int:
        before = resident_bytes()
        for _ in range(calls):
            action()
        gc.collect()
        return resident_bytes() - before

    grown_by(max(times // 5, 1))
    return 4 * min(grown_by(max(times // 4, 1)) for _ in range(4))


class Program:
    """The program `ifdsweep`."""

    def __init__(self, path: str) -> None:
        self.path = path

    def output(self, options: Sequence[str], paths: Sequence[Path]) -> bytes:
        """What it writes of files, in their order."""
        command = [self.path, "--quiet", "--jobs", "1", *options, "--null", "--files-from", "-"]
        names = b"".join(os.fsencode(path) + b"\0" for path in paths)
        run = subprocess.run(command, input=names, capture_output=True, check=False)
        assert run.returncode in (0, 1), run.stderr.decode()
        return run.stdout


@pytest.fixture(scope="session", autouse=True)
def _interruptible() -> Iterator[None]:
    """Ctrl-C is for these tests and their children, also where a shell had them ignore it."""
    before = signal.signal(signal.SIGINT, signal.default_int_handler)
    yield
    signal.signal(signal.SIGINT, before)


@pytest.fixture(scope="session")
def program() -> Program:
    """The program of the wheel."""
    named = os.environ.get("IFDSWEEP_PROGRAM")
    path = named or shutil.which("ifdsweep", path=sysconfig.get_path("scripts"))
    assert path is not None, "the package has no program"
    return Program(path)


@pytest.fixture(scope="session")
def slow(tmp_path_factory: pytest.TempPathFactory) -> Path:
    """A file that takes long to read."""
    size, count = 18, 400_000
    data = bytearray(b"II*\0" + struct.pack("<I", 8))
    for number in range(count):
        link = 8 + (number + 1) * size if number < count - 1 else 0
        data += struct.pack("<HHHIHHI", 1, 277, 3, 1, 3, 0, link)
    path = tmp_path_factory.mktemp("slow") / "slow.tif"
    path.write_bytes(data)
    return path
