"""Ahead: what iterators give, made by threads of their own while what was given is used."""

import collections
import contextlib
import itertools
import queue
import threading
from collections.abc import Callable, Iterable, Iterator
from types import TracebackType
from typing import Generic, Self, TypeVar

_Item = TypeVar("_Item")


class _Ahead(Generic[_Item]):
    """An iterator that a thread of its own runs, a few items ahead. Leaving it ends the thread."""

    def __init__(self, make: Callable[[], Iterable[_Item]], waiting: int) -> None:
        self._make = make
        self._made: queue.Queue[tuple[bool, _Item | BaseException | None]] = queue.Queue(waiting)
        self._stop = threading.Event()
        self._thread = threading.Thread(target=self._run, daemon=True)

    def __enter__(self) -> Self:
        self._thread.start()
        return self

    def __exit__(
        self,
        kind: type[BaseException] | None,
        error: BaseException | None,
        traceback: TracebackType | None,
    ) -> None:
        self._stop.set()
        self._thread.join()

    def __iter__(self) -> Iterator[_Item]:
        while True:
            is_item, item = self._made.get()
            if isinstance(item, BaseException):
                raise item
            if not is_item:
                return
            yield item  # type: ignore[misc]

    def _run(self) -> None:
        try:
            for item in self._make():
                self._put(True, item)
                if self._stop.is_set():
                    return
        except BaseException as error:
            self._put(False, error)
        else:
            self._put(False, None)

    def _put(self, is_item: bool, item: _Item | BaseException | None) -> None:
        while not self._stop.is_set():
            with contextlib.suppress(queue.Full):
                self._made.put((is_item, item), timeout=0.1)
                return


def ahead(
    sources: Iterable[Callable[[], Iterable[_Item]]], *, at_a_time: int, waiting: int
) -> Iterator[_Item]:
    """The items of some sources, one source after the other. What they raise is raised here.

    The threads have ended when this has.

    Args:
        sources: Each is called, and run, by a thread of its own.
        at_a_time: How many are run.
        waiting: How many items of one wait to be taken, at most.
    """
    left = iter(sources)
    running: collections.deque[_Ahead[_Item]] = collections.deque()
    with contextlib.ExitStack() as begun:
        while True:
            for make in itertools.islice(left, at_a_time - len(running)):
                running.append(begun.enter_context(_Ahead(make, waiting)))
            if not running:
                return
            yield from running[0]
            running.popleft()
