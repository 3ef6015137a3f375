"""Reading: all tables of some files of a root, and what making them takes."""

import itertools
import os
import time
from collections.abc import Iterator, Sequence
from dataclasses import replace
from typing import NamedTuple

import numpy as np
import numpy.typing as npt

from ifdsweep._columns import Batch, Layout
from ifdsweep._several import several_tables
from ifdsweep.catalogue._model import Options
from ifdsweep.catalogue._tables import schemas_of

_BATCH_BYTES = 2 << 20
"""Of each table, four of which are made at a time."""

_RANGE_FILES = 1_000
_MOST_RANGES = 4
"""At a time: each has batches of its own."""

_SAMPLES = (20, 80, 300, 600)
"""How many files are read to know what one takes: the more, the quicker they are read."""
_ENOUGH_SECONDS = 2.0
_MOST_SECONDS = 5.0
"""For one of them."""


def read_tables(
    options: Options, root: bytes, paths: Sequence[bytes], ids: Sequence[int], *, threads: int
) -> Iterator[tuple[Layout, Batch]]:
    """Batches of all tables of some files, whose paths are from the root, and whose rows have ids.

    Who asks for them reads, or programs in as many processes.
    """
    return several_tables(
        os.path.join(root, b""),
        paths,
        ids,
        schemas_of(options),
        rest=options.tags == "rest",
        batch_rows=16_384,
        batch_bytes=_BATCH_BYTES,
        max_value=options.max_value,
        all_files=options.all_files,
        threads=threads,
        isolate=options.isolate,
        timeout=options.timeout,
        memory=options.memory,
        streams=options.streams,
    )


class Ranges(NamedTuple):
    """Files that are read in ranges, some of these at a time, so that not one thread fills the
    tables of all."""

    places: list[npt.NDArray[np.int64]]
    at_a_time: int


def ranges_of(options: Options, places: npt.NDArray[np.int64], threads: int) -> Ranges:
    """Ranges of about the same numbers of files. Programs in processes of their own have one."""
    at_a_time = 1 if options.isolate else min(threads, _MOST_RANGES)
    rounds = -(-len(places) // (at_a_time * _RANGE_FILES))
    count = 1 if options.isolate else rounds * at_a_time
    cut = np.array_split(places, max(1, count))
    return Ranges([section for section in cut if len(section)], at_a_time)


def seconds_per_file(options: Options, root: bytes, paths: Sequence[bytes]) -> float | None:
    """What a file takes on one core, from reading up to 1,000 of them, evenly chosen.

    They are read in other processes, for who asks is not to end by a damaged one. None where that
    cannot be done.
    """
    isolated = replace(options, isolate=True, timeout=options.timeout or _MOST_SECONDS)
    chosen = iter(paths[:: max(1, len(paths) // sum(_SAMPLES))])
    begun = time.monotonic()
    taken: list[tuple[int, float]] = []
    for size in _SAMPLES:
        sample = list(itertools.islice(chosen, size))
        start = time.monotonic()
        try:
            for _ in read_tables(isolated, root, sample, range(len(sample)), threads=1):
                pass
        except (OSError, RuntimeError):
            return None
        end = time.monotonic()
        taken.append((len(sample), end - start))
        if end - begun > _ENOUGH_SECONDS or len(sample) < size:
            break
    (few, short), (many, long) = taken[0], taken[-1]
    # The difference leaves out what it takes to begin.
    seconds = (long - short) / (many - few) if many > few else short / few
    return max(seconds, 1e-6)
