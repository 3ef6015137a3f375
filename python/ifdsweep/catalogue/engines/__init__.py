"""Engines: what runs the partitions of an update."""

from collections.abc import Iterator, Sequence
from typing import Protocol

from ifdsweep.catalogue._model import Plan, Receipt
from ifdsweep.catalogue._storage import Storage


class Engine(Protocol):
    """Runs partitions, each at least once."""

    def run(self, storage: Storage, plan: Plan, partitions: Sequence[int]) -> Iterator[Receipt]:
        """Gives a receipt for each partition, as they are done.

        Raises:
            CatalogueError: A partition could not be done in as many tries as the engine makes.
        """
        ...
