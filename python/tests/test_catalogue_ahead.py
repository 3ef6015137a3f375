"""What threads make ahead, and the memory that they take."""

import subprocess
import sys
import threading
from collections.abc import Callable, Iterator

import pytest

pytest.importorskip("pyarrow")

from ifdsweep.catalogue._ahead import ahead

Source = Callable[[], Iterator[int]]


def source(begin: int, end: int) -> Source:
    return lambda: iter(range(begin, end))


class TestAhead:
    @pytest.mark.parametrize("at_a_time", [1, 2, 5])
    @pytest.mark.parametrize("waiting", [1, 3, 100])
    def test_gives_one_source_after_the_other(self, at_a_time: int, waiting: int) -> None:
        sources = [source(0, 10), source(10, 10), source(10, 11), source(11, 30)]
        assert list(ahead(sources, at_a_time=at_a_time, waiting=waiting)) == list(range(30))

    def test_of_no_sources_is_nothing(self) -> None:
        assert list(ahead(list[Source](), at_a_time=2, waiting=1)) == []

    def test_runs_no_more_sources_than_it_is_told_to(self) -> None:
        begun: list[int] = []

        def noted(number: int) -> Source:
            def run() -> Iterator[int]:
                begun.append(number)
                yield number

            return run

        given = ahead((noted(number) for number in range(9)), at_a_time=3, waiting=1)
        for number in range(9):
            assert next(given) == number
            assert len(begun) <= number + 3
        assert next(given, None) is None
        assert sorted(begun) == list(range(9))

    def test_makes_no_more_items_than_may_wait(self) -> None:
        made: list[int] = []

        def endless() -> Iterator[int]:
            while True:
                made.append(len(made))
                yield len(made)

        given = ahead([endless], at_a_time=1, waiting=4)
        for _ in range(10):
            next(given)
        assert len(made) <= 10 + 4 + 2  # in the queue, and on the way into it
        given.close()  # type: ignore[attr-defined]

    def test_raises_what_a_source_raises_behind_what_it_gave(self) -> None:
        def failing() -> Iterator[int]:
            yield 1
            raise ValueError("two")

        given = ahead([source(0, 1), failing, source(5, 9)], at_a_time=3, waiting=8)
        assert [next(given), next(given)] == [0, 1]
        with pytest.raises(ValueError, match="two"):
            next(given)

    def test_has_no_threads_when_it_was_left(self) -> None:
        before = threading.active_count()
        given = ahead([source(0, 1_000)] * 4, at_a_time=4, waiting=1)
        assert next(given) == 0
        assert threading.active_count() == before + 4
        given.close()  # type: ignore[attr-defined]
        assert threading.active_count() == before


class TestMemory:
    @pytest.mark.parametrize(
        ("before", "chosen", "pool"),
        [("", None, "system"), ("", "mimalloc", "mimalloc"), ("import pyarrow", None, None)],
    )
    def test_is_of_the_c_library_unless_somebody_chose(
        self, before: str, chosen: str | None, pool: str | None
    ) -> None:
        code = f"""
import os
{before}
import ifdsweep.catalogue, pyarrow
print(pyarrow.default_memory_pool().backend_name, os.environ.get("ARROW_DEFAULT_MEMORY_POOL"))
"""
        run = subprocess.run(
            [sys.executable, "-c", code],
            env={} if chosen is None else {"ARROW_DEFAULT_MEMORY_POOL": chosen},
            capture_output=True,
            text=True,
            check=True,
        )
        name, variable = run.stdout.split()
        assert variable == str(chosen)
        assert name == pool or pool is None
