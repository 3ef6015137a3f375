"""Local engine: runs partitions in this process."""

import itertools
import os
import threading
from collections.abc import Iterator, Sequence
from concurrent.futures import FIRST_COMPLETED, Future, ThreadPoolExecutor, wait

from ifdsweep.catalogue._model import Plan, Receipt
from ifdsweep.catalogue._partition import run_partition
from ifdsweep.catalogue._storage import Storage


class Local:
    """Runs partitions in threads, a few at a time, so that one is read while another is written."""

    def __init__(self, *, threads: int | None = None, partitions: int = 2) -> None:
        """
        Args:
            threads: That read files, of all partitions together; None: as many as there are cores.
            partitions: How many are made at a time; each takes some 50 MiB of memory.
        """
        self.threads = threads or len(os.sched_getaffinity(0))
        self.partitions = partitions

    def run(self, storage: Storage, plan: Plan, partitions: Sequence[int]) -> Iterator[Receipt]:
        """Gives a receipt for each partition, as they are done."""
        left = iter(partitions)
        threads = max(1, self.threads // min(self.partitions, max(1, len(partitions))))
        pool = ThreadPoolExecutor(self.partitions, thread_name_prefix="ifdsweep-partition")
        running: set[Future[Receipt]] = set()
        ended = threading.Event()
        try:
            while True:
                for number in itertools.islice(left, self.partitions - len(running)):
                    running.add(
                        pool.submit(
                            run_partition,
                            storage,
                            plan.snapshot,
                            number,
                            threads=threads,
                            ended=ended.is_set,
                        )
                    )
                if not running:
                    return
                done, running = wait(running, return_when=FIRST_COMPLETED)
                for future in done:
                    yield future.result()
        finally:
            ended.set()
            pool.shutdown(wait=True, cancel_futures=True)
