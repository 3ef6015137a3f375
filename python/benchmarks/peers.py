"""Measures the package beside the C++ call and beside other readers of tags, in one run.

    pip install './python[catalogue,numpy,peers]' pandas
    python python/benchmarks/peers.py [--runs N] [--programs FOLDER] [--workloads FOLDER] [--write]

`script/bench` makes the programs and the workloads that are measured with (docs/PERFORMANCE.md says
what they are). What is compared runs in alternation; times are medians.
Prints Markdown, which --write puts into docs/PERFORMANCE.md too.
"""

import argparse
import collections
import contextlib
import importlib.metadata
import logging
import mmap
import os
import platform
import re
import statistics
import subprocess
import sys
import tempfile
import time
import timeit
from collections.abc import Callable, Iterable, Iterator
from dataclasses import dataclass
from pathlib import Path
from typing import Any

import exifread
import numpy as np
import pandas as pd
import PIL.Image
import pyarrow.parquet as pq
import pyexiv2
import tifffile

import ifdsweep

ROOT = Path(__file__).resolve().parents[2]
BUILD = ROOT / "build/bench"
PAGE = ROOT / "docs/PERFORMANCE.md"
MARKERS = ("<!-- python: written by python/benchmarks/peers.py -->", "<!-- end of python -->")
PEERS = ("tifffile", "pillow", "exifread", "pyexiv2")
EXIF, GPS, INTEROP = 34665, 34853, 40965

# How many files of W2 the slower peers read; what they take is counted per file.
FEW = 1000


class Workloads:
    """The files that are read, and what the C++ call takes for them."""

    def __init__(self, folder: Path, programs: Path) -> None:
        self.many = sorted(str(path) for path in (folder / "W2").rglob("*.tif"))
        self.folder = folder / "W2"
        self.stack = folder / "W3/stack.tif"
        self.slide = folder / "W4/slide.tif"
        self._timer = programs / "call_timer"
        if not self.many or not self.stack.exists() or not self.slide.exists():
            sys.exit(f"peers: no workloads W2, W3, W4 in {folder}; script/bench makes them")
        if not self._timer.exists():
            sys.exit(f"peers: no call_timer in {programs}; script/bench builds it")

    def call(self, paths: Iterable[str], *options: str) -> float:
        """Seconds of the C++ call on files, values made and freed, in a process of its own."""
        command = [self._timer, *options, *paths]
        run = subprocess.run(command, capture_output=True, text=True, check=True)
        taken = re.match(r"([\d.]+) ms", run.stdout)
        assert taken, run.stderr
        return float(taken[1]) / 1000


@dataclass
class Row:
    """A line of a table."""

    what: str
    figure: str
    target: str = ""
    is_reached: bool | None = None

    def __str__(self) -> str:
        reached = {None: "", True: "reached", False: "**not reached**"}[self.is_reached]
        return f"| {self.what} | {self.figure} | {self.target} | {reached} |"


def timed(action: Callable[[], object]) -> float:
    """Seconds of one call."""
    start = time.perf_counter()
    action()
    return time.perf_counter() - start


def medians(runs: int, contestants: dict[str, Callable[[], float]]) -> dict[str, float]:
    """Median seconds of each, run in alternation; a round before the first is not counted.

    Each contestant tells what it took. Every other round runs them in the opposite order.
    """
    taken: dict[str, list[float]] = {name: [] for name in contestants}
    for turn in range(runs + 1):
        names = list(contestants) if turn % 2 else list(contestants)[::-1]
        for name in names:
            print(f"\r{turn}/{runs} {name:60}", end="", file=sys.stderr)
            seconds = contestants[name]()
            if turn > 0:
                taken[name].append(seconds)
    print(f"\r{'':70}\r", end="", file=sys.stderr)
    return {name: statistics.median(them) for name, them in taken.items()}


def exhaust(items: Iterable[object]) -> None:
    """Takes all items and drops them."""
    collections.deque(items, maxlen=0)


def milliseconds(seconds: float) -> str:
    """A time in a table."""
    return f"{seconds * 1e3:.1f} ms" if seconds < 1 else f"{seconds:.2f} s"


# Reading all tags: what each reader has for it.


def with_ifdsweep(files: Iterable[ifdsweep.File]) -> None:
    """Every directory of every file as a dict."""
    for file in files:
        for directory in file:
            directory.to_dict()


def with_tifffile(paths: Iterable[str]) -> None:
    """Every tag of every page with its value; Exif and GPS values are dicts."""
    for path in paths:
        with tifffile.TiffFile(path) as file:
            for page in file.pages:
                assert isinstance(page, tifffile.TiffPage)
                _ = {tag.name: tag.value for tag in page.tags}


def with_pillow(paths: Iterable[str]) -> None:
    """Every tag of every frame, with the nested directories that it has methods for."""
    for path in paths:
        with contextlib.suppress(PIL.UnidentifiedImageError), PIL.Image.open(path) as image:
            for frame in range(getattr(image, "n_frames", 1)):
                with contextlib.suppress(ValueError, EOFError):
                    image.seek(frame)
                    dict(image.tag_v2)  # type: ignore[attr-defined]
                exif = image.getexif()
                for nested in (EXIF, GPS):
                    dict(exif.get_ifd(nested))


def with_exifread(paths: Iterable[str]) -> None:
    """Every tag that it finds; it reads no BigTIFF."""
    for path in paths:
        with Path(path).open("rb") as opened, contextlib.suppress(Exception):
            exifread.process_file(opened, details=True)


def with_pyexiv2(paths: Iterable[str]) -> None:
    """Every Exif tag of the first image; it reads no BigTIFF."""
    for path in paths:
        with contextlib.suppress(RuntimeError), pyexiv2.Image(path) as image:
            image.read_exif()


# What is measured.


def scans(work: Workloads, runs: int) -> Iterator[Row]:
    """Scanning W2 with objects untouched beside the C++ call."""
    cores = len(os.sched_getaffinity(0))

    def scan(threads: int | None, **arguments: Any) -> Callable[[], float]:
        return lambda: timed(
            lambda: exhaust(ifdsweep.scan(work.many, threads=threads, **arguments))
        )

    times = medians(
        runs,
        {
            "call": lambda: work.call(work.many, "--full"),
            "call, contract": lambda: work.call(work.many),
            "1": scan(1),
            "1, contract": scan(1, reading="contract"),
            "2": scan(2),
            "all": scan(None),
            "folder": lambda: timed(lambda: exhaust(ifdsweep.scan(work.folder))),
            "reads": lambda: timed(lambda: exhaust(map(ifdsweep.read, work.many))),
        },
    )
    call = times["call"]
    yield Row("W2, the C++ call on one thread, full and contract reading",
              f"{milliseconds(call)}, {milliseconds(times['call, contract'])}")  # fmt: skip
    yield _speed(f"`scan()`, as many threads as cores ({cores}), objects untouched",
                 times["all"], call, 0.85)  # fmt: skip
    yield _speed("`scan()` of the folder in place of a list", times["folder"], call)
    yield _speed("`scan(threads=1)`", times["1"], call, 0.85)
    yield _speed('`scan(threads=1, reading="contract")` beside the call in that reading',
                 times["1, contract"], times["call, contract"])  # fmt: skip
    yield _speed("`read()` of one path after the other", times["reads"], call)
    ratio = times["1"] / times["2"]
    yield Row("`scan(threads=2)` beside `scan(threads=1)`",
              f"{milliseconds(times['2'])}: {ratio:.2f} ×", "≥ 1.6 ×", ratio >= 1.6)  # fmt: skip


def _speed(what: str, seconds: float, call: float, least: float | None = None) -> Row:
    ratio = call / seconds
    target = "" if least is None else f"≥ {least} × the call"
    return Row(what, f"{milliseconds(seconds)}: {ratio:.2f} × the call", target,
               None if least is None else ratio >= least)  # fmt: skip


def dicts(work: Workloads, runs: int) -> Iterator[Row]:
    """All tags of W2 as dicts beside what other readers have for it."""
    few = work.many[:: len(work.many) // FEW]
    times = medians(
        runs,
        {
            "scan": lambda: timed(lambda: with_ifdsweep(ifdsweep.scan(work.many))),
            "one": lambda: timed(lambda: with_ifdsweep(ifdsweep.scan(work.many, threads=1))),
            "files": lambda: timed(
                lambda: exhaust(file.to_dict() for file in ifdsweep.scan(work.many))
            ),
            "tifffile": lambda: timed(lambda: with_tifffile(work.many)),
            "pillow": lambda: timed(lambda: with_pillow(few)),
            "exifread": lambda: timed(lambda: with_exifread(few)),
            "pyexiv2": lambda: timed(lambda: with_pyexiv2(few)),
        },
    )
    each = {name: seconds / len(work.many) for name, seconds in times.items()}
    for name in ("pillow", "exifread", "pyexiv2"):
        each[name] = times[name] / len(few)

    def beside(name: str, other: str) -> str:
        return f"{each[name] * 1e6:.1f} µs a file: {each[other] / each[name]:.1f} × {other}"

    ratio = each["tifffile"] / each["scan"]
    yield Row("W2, `to_dict()` of every directory of `scan()`", beside("scan", "tifffile"),
              "≥ 20 × tifffile", ratio >= 20)  # fmt: skip
    yield Row("the same, `scan(threads=1)`", beside("one", "tifffile"))
    yield Row("`to_dict()` of every file, messages too", beside("files", "tifffile"))
    yield Row("tifffile, all tags of all pages", f"{each['tifffile'] * 1e6:.0f} µs a file")
    for name, what in (
        ("pillow", "Pillow, all tags of all frames, Exif and GPS"),
        ("exifread", "exifread, fails on BigTIFF"),
        ("pyexiv2", "pyexiv2, fails on BigTIFF"),
    ):
        note = f"{each[name] * 1e6:.0f} µs a file: {each[name] / each['scan']:.0f} × `scan()`"
        yield Row(what, note)


def accesses(work: Workloads, runs: int) -> Iterator[Row]:
    """What it takes to ask for one thing."""
    photograph = next(
        file for path in work.many if (file := ifdsweep.read(path))[0].exif is not None
    )
    directory = photograph[0]
    data = Path(photograph.path).read_bytes()
    page = tifffile.TiffFile(photograph.path).pages.first
    statements = {
        "`directory.Width`, an int": ("d.Width", 150),
        "`directory.Make`, a text": ("d.Make", 150),
        "`directory.XResolution`, a float": ("d.XResolution", 150),
        "`directory.TileWidth`, absent": ("d.TileWidth", 150),
        "`directory.StripOffsets`, a tuple of 8": ("d.StripOffsets", None),
        '`directory["Compression"]`, a word': ('d["Compression"]', None),
        '`directory.code("Compression")`': ('d.code("Compression")', None),
        "`directory.exif`": ("d.exif", None),
        "`file[0]`": ("f[0]", None),
        '`directory.entry("Make")`': ('d.entry("Make")', None),
        "`directory.to_dict()`, 27 fields with Exif and GPS": ("d.to_dict()", None),
        "tifffile, `page.tags['Make'].value`": ("p.tags['Make'].value", None),
        f"`read()` of {len(data):,} bytes with Exif and GPS": ("read(b)", None),
        "the same of its path": ("read(path)", None),
    }
    names = {"d": directory, "f": photograph, "p": page, "b": data, "read": ifdsweep.read}
    names["path"] = photograph.path
    for what, (statement, most) in statements.items():
        timer = timeit.Timer(statement, globals=names)
        number, taken = timer.autorange()
        number = max(1, int(number * 0.02 / taken))
        nanoseconds = statistics.median(timer.repeat(runs * 3, number)) / number * 1e9
        text = f"{nanoseconds:.0f} ns" if nanoseconds < 10_000 else f"{nanoseconds / 1000:.1f} µs"
        yield Row(what, text, *(() if most is None else (f"≤ {most} ns", nanoseconds <= most)))


def arrays(work: Workloads, runs: int) -> Iterator[Row]:
    """The tile offsets of W4 as an array, without a copy."""
    entry = ifdsweep.read(work.slide)[0].entry("TileOffsets")
    assert entry is not None
    before = _resident()
    array = entry.array()
    grown = _resident() - before
    assert array.shape == (4_000_000,)
    assert array.dtype == np.uint64
    microseconds = statistics.median(timeit.repeat(entry.array, number=100, repeat=runs * 3)) * 1e4
    yield Row("W4, `array()` of 4,000,000 tile offsets", f"{microseconds:.2f} µs", "≤ 10 µs",
              microseconds <= 10)  # fmt: skip
    yield Row("growth of memory by it", f"{grown / 1024:.0f} KiB", "none", grown < 1 << 16)
    assert int(array[-1]) == 0x1_0000_0000 + 3_999_999 * 21_347


def _resident() -> int:
    """Bytes of this process in memory."""
    return int(Path("/proc/self/statm").read_text().split()[1]) * mmap.PAGESIZE


def columns(work: Workloads, runs: int) -> Iterator[Row]:
    """One tag of each of the 100,000 directories of W3 as a column."""
    asked = ["XResolution"]

    def column(**arguments: Any) -> np.ndarray[Any, Any]:
        return ifdsweep.read(work.stack, **arguments).column("XResolution")

    def peer() -> np.ndarray[Any, Any]:
        with tifffile.TiffFile(work.stack) as file:
            pairs = [page.tags["XResolution"].value for page in file.pages]  # type: ignore[union-attr]
        numbers = np.array(pairs, np.float64)
        return numbers[:, 0] / numbers[:, 1]

    assert np.array_equal(column(), peer())
    assert np.array_equal(column(tags=asked), column())
    file = ifdsweep.read(work.stack)
    times = medians(
        runs,
        {
            "call": lambda: work.call([str(work.stack)], "--full"),
            "whole": lambda: timed(column),
            "asked": lambda: timed(lambda: column(tags=asked)),
            "column": lambda: timed(lambda: file.column("XResolution")),
            "tifffile": lambda: timed(peer),
        },
    )

    def beside(name: str) -> str:
        return f"{milliseconds(times[name])}: {times['tifffile'] / times[name]:.0f} × tifffile"

    for what, name in (
        ('W3, `read(path, tags=["XResolution"]).column("XResolution")`', "asked"),
        ('`read(path).column("XResolution")`, all tags read', "whole"),
    ):
        yield Row(what, beside(name), "≥ 50 × tifffile", times["tifffile"] / times[name] >= 50)
    yield Row("`column()` alone", milliseconds(times["column"]))
    yield Row("tifffile, the tag of every page", milliseconds(times["tifffile"]))
    yield Row("the C++ call, all tags read", milliseconds(times["call"]))


# The columns of a table of photographs that people make by hand: the tag of each.
BY_HAND = {
    "Width": 256, "Height": 257, "Compression_code": 259, "Make": 271, "Model": 272,
    "Orientation": 274, "XResolution": 282, "Software": 305, "DateTime": 306,
}  # fmt: skip
BY_HAND_OF_EXIF = ("ExposureTime", "FNumber", "FocalLength")


def with_tifffile_and_pandas(paths: Iterable[str]) -> pd.DataFrame:
    """A row of a dozen columns for each page."""
    rows = []
    for path in paths:
        with tifffile.TiffFile(path) as file:
            for page in file.pages:
                assert isinstance(page, tifffile.TiffPage)
                row: dict[str, Any] = {
                    name: tag.value if (tag := page.tags.get(number)) else None
                    for name, number in BY_HAND.items()
                }
                tag = page.tags.get(EXIF)
                exif = tag.value if tag and isinstance(tag.value, dict) else {}
                row |= {f"Exif_{name}": exif.get(name) for name in BY_HAND_OF_EXIF}
                rows.append(
                    {
                        name: value[0] / value[1]
                        if isinstance(value, tuple) and value[1]
                        else value
                        for name, value in row.items()
                    }
                )
    return pd.DataFrame(rows)


def tables(work: Workloads, runs: int) -> Iterator[Row]:
    """W2 as tables of typed columns, beside the C++ call and a table that is made by hand."""
    dozen = [*BY_HAND, *(f"Exif_{name}" for name in BY_HAND_OF_EXIF)]

    def made(layout: Any, **arguments: Any) -> Callable[[], float]:
        return lambda: timed(
            lambda: exhaust(ifdsweep.table(work.many, layout, **arguments).batches())
        )

    def frame() -> pd.DataFrame:
        return ifdsweep.table(work.many, "images", columns=dozen).to_pandas()

    with tempfile.TemporaryDirectory() as folder:
        path = Path(folder) / "images.parquet"
        images = ifdsweep.table(work.many, "images")
        times = medians(
            runs,
            {
                "call": lambda: work.call(work.many, "--full"),
                "images": made("images"),
                "images, 1": made("images", threads=1),
                "tags": made("tags"),
                "tags, 1": made("tags", threads=1),
                "pandas": lambda: timed(frame),
                "by hand": lambda: timed(lambda: with_tifffile_and_pandas(work.many)),
                "parquet": lambda: timed(lambda: images.write_parquet(path)),
            },
        )
        size = path.stat().st_size
        photographs = pq.read_metadata(path).num_rows
    call = times["call"]
    yield _speed("W2, `table()`, `images`, as many threads as cores", times["images"], call, 0.8)
    yield _speed("the same, `threads=1`", times["images, 1"], call)
    yield _speed("`table()`, `tags`, as many threads as cores", times["tags"], call, 0.8)
    yield _speed("the same, `threads=1`", times["tags, 1"], call)
    ratio = times["by hand"] / times["pandas"]
    yield Row("a dozen columns of `images`, `to_pandas()`",
              f"{milliseconds(times['pandas'])}: {ratio:.1f} × tifffile")  # fmt: skip
    yield Row("tifffile and pandas, the same columns by hand", milliseconds(times["by hand"]))
    rate = f"{size / 1e6:.1f} MB, {size / times['parquet'] / 1e6:.1f} MB/s"
    yield Row("`images`, `write_parquet()`", f"{milliseconds(times['parquet'])}: {rate}")
    bytes_each = size / photographs
    yield Row("bytes of Parquet for a row of `images`", f"{bytes_each:.0f} B", "≤ 250 B",
              bytes_each <= 250)  # fmt: skip


_UPDATE = """
import re, sys, time
from pathlib import Path
from ifdsweep import Catalogue
from ifdsweep.catalogue.engines.local import Local
catalogue = Catalogue.open(sys.argv[1])
start = time.perf_counter()
summary = catalogue.update(Local(threads=int(sys.argv[2])))
seconds = time.perf_counter() - start
print(seconds, int(re.search(r"VmHWM:\\s+(\\d+)", Path("/proc/self/status").read_text())[1]) >> 10)
"""


def catalogues(work: Workloads, runs: int) -> Iterator[Row]:
    """Catalogues of W2: made from nothing, and brought up to date when nothing changed."""
    cores = len(os.sched_getaffinity(0))
    memory = []

    def updated(folder: str, threads: int) -> float:
        command = [sys.executable, "-c", _UPDATE, folder, str(threads)]
        line = subprocess.run(command, capture_output=True, text=True, check=True).stdout.split()
        memory.append(int(line[1]))
        return float(line[0])

    def from_nothing(threads: int) -> Callable[[], float]:
        def run() -> float:
            with tempfile.TemporaryDirectory() as folder:
                ifdsweep.Catalogue.create(f"{folder}/catalogue", work.folder)
                return updated(f"{folder}/catalogue", threads)

        return run

    with tempfile.TemporaryDirectory() as folder:
        made = ifdsweep.Catalogue.create(f"{folder}/catalogue", work.folder)
        made.update()
        times = medians(
            runs,
            {
                "call": lambda: work.call(work.many, "--full"),
                "all": from_nothing(cores),
                "2": from_nothing(2),
                "1": from_nothing(1),
                "again": lambda: updated(f"{folder}/catalogue", cores),
            },
        )
        parts = [part for snapshot in made.snapshots for part in snapshot.parts]
        size = sum(file.bytes for part in parts for file in part.tables.values())
    files = made.snapshot.summary.files
    yield _speed("W2, `Catalogue.update()` from nothing", times["all"], times["call"], 0.6)
    yield _speed("the same, one thread", times["1"], times["call"])
    yield Row("two threads beside one", f"{times['1'] / times['2']:.2f} ×")
    yield Row("of it, files and Parquet", f"{files / times['all']:,.0f} files/s, "
              f"{size / times['all'] / 1e6:.1f} MB/s, {size / files:.0f} B a file")  # fmt: skip
    rate = files / times["again"]
    yield Row("`update()` when nothing changed",
              f"{milliseconds(times['again'])}: {rate:,.0f} files/s",
              "≥ 100,000 files/s", rate >= 100_000)  # fmt: skip
    most = max(memory)
    yield Row("memory of these processes, at most", f"{most} MiB", "≤ 256 MiB", most <= 256)


def imports(runs: int) -> Iterator[Row]:
    """The import, in processes of its own."""
    code = (
        "import sys, time; start = time.perf_counter(); import {0}; "
        "print(time.perf_counter() - start, 'numpy' in sys.modules)"
    )

    def importing(name: str) -> Callable[[], float]:
        def run() -> float:
            line = subprocess.run([sys.executable, "-c", code.format(name)], capture_output=True,
                                  text=True, check=True).stdout.split()  # fmt: skip
            assert name != "ifdsweep" or line[1] == "False", "numpy is imported"
            return float(line[0])

        return run

    times = medians(runs * 3, {name: importing(name) for name in ("ifdsweep", "tifffile")})
    seconds = times["ifdsweep"]
    yield Row("`import ifdsweep`, without numpy", milliseconds(seconds), "≤ 30 ms", seconds <= 0.03)
    yield Row("`import tifffile`", milliseconds(times["tifffile"]))


def machine() -> str:
    """What was measured, and on what."""
    processor = next(
        line.split(":")[1].strip()
        for line in Path("/proc/cpuinfo").read_text().splitlines()
        if line.startswith("model name")
    )
    kernel = ".".join(platform.release().split(".")[:2])
    peers = ", ".join(f"{name} {importlib.metadata.version(name)}" for name in PEERS)
    return (
        f"- {time.strftime('%Y-%m-%d')}, {processor}, {len(os.sched_getaffinity(0))} cores, "
        f"Linux {kernel}, Python {platform.python_version()}, "
        f"ifdsweep {ifdsweep.__version__}, numpy {np.__version__}\n- peers: {peers}"
    )


def main() -> None:
    """Prints the table."""
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("--runs", type=int, default=5, help="rounds; default 5")
    parser.add_argument("--programs", type=Path, default=BUILD / "programs", metavar="FOLDER")
    parser.add_argument("--workloads", type=Path, default=BUILD / "workloads", metavar="FOLDER")
    parser.add_argument("--write", action="store_true", help="put the table into the page")
    arguments = parser.parse_args()
    logging.disable(logging.CRITICAL)  # what peers say of files that they misread costs them time
    pyexiv2.set_log_level(4)
    work, runs = Workloads(arguments.workloads, arguments.programs), arguments.runs
    lines = [
        machine(),
        "",
        f"Medians of {runs} rounds in alternation, warm cache; load when it began: "
        f"{os.getloadavg()[0]:.1f}.",
        "",
        "| what | measured | asked for | |",
        "| --- | ---: | ---: | --- |",
    ]
    print("\n".join(lines))
    parts = [imports(runs), scans(work, runs), dicts(work, runs), accesses(work, runs)]
    parts += [arrays(work, runs), columns(work, runs), tables(work, runs), catalogues(work, runs)]
    for rows in parts:
        for row in rows:
            print(row, flush=True)
            lines.append(str(row))
    if arguments.write:
        before, rest = PAGE.read_text().split(MARKERS[0])
        after = rest.split(MARKERS[1])[1]
        PAGE.write_text("\n".join([before + MARKERS[0], "", *lines, "", MARKERS[1] + after]))


if __name__ == "__main__":
    main()
