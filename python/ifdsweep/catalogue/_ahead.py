"""Ahead: what an iterator gives, made by a thread of its own while what was given is used."""

import queue
import threading
from collections.abc import Iterable, Iterator
from typing import TypeVar

_Item = TypeVar("_Item")

_WAITING = 2
"""Items that wait to be taken."""


def ahead(source: Iterable[_Item]) -> Iterator[_Item]:
    """The same items, a few of which are made ahead. What the source raises is raised here.

    The thread has ended when this has.
    """
    made: queue.Queue[tuple[bool, _Item | BaseException | None]] = queue.Queue(_WAITING)
    stop = threading.Event()

    def put(is_item: bool, item: _Item | BaseException | None) -> None:
        while not stop.is_set():
            try:
                made.put((is_item, item), timeout=0.1)
            except queue.Full:
                continue
            return

    def run() -> None:
        try:
            for item in source:
                put(True, item)
                if stop.is_set():
                    return
        except BaseException as error:
            put(False, error)
        else:
            put(False, None)

    thread = threading.Thread(target=run, daemon=True)
    thread.start()
    try:
        while True:
            is_item, item = made.get()
            if isinstance(item, BaseException):
                raise item
            if not is_item:
                return
            yield item  # type: ignore[misc]
    finally:
        stop.set()
        thread.join()
