"""Clusters of Dask as processes of their own, and catalogues that are made by them."""

import json
import os
import signal
import subprocess
import sys
import time
from collections.abc import Callable, Iterator, Mapping, Sequence
from contextlib import contextmanager
from pathlib import Path
from typing import Any

from designed_files import ASCII, LAYOUTS, LONG, SHORT, Field, tiff
from distributed import Client

from ifdsweep.catalogue import Catalogue
from ifdsweep.catalogue._model import TABLES

FILES = 40
"""Of the roots that `make_root` makes."""

HOOK = '''
"""Whoever reads waits a while, and is killed by files that are named for it."""
import builtins, os, signal, sys, time

original = builtins.__import__

def importing(*arguments, **options):
    module = original(*arguments, **options)
    reader = sys.modules.get("ifdsweep.catalogue._reading")
    read = getattr(reader, "several_tables", None)
    if read is not None:
        builtins.__import__ = original

        def reading(folder, paths, *arguments, **options):
            time.sleep(float(os.environ.get("READING_SECONDS", 0)))
            if any(os.path.basename(path).startswith(b"killer") for path in paths):
                os.kill(os.getpid(), signal.SIGKILL)
            return read(folder, paths, *arguments, **options)

        reader.several_tables = reading
    return module

builtins.__import__ = importing
'''


def make_root(folder: Path, killers: Sequence[int] = ()) -> Path:
    """A folder of small images, some of which kill who reads them under `HOOK`."""
    for number in range(FILES):
        name = f"{'killer' if number in killers else 'image'}{number:03}.tif"
        place = folder / f"{number // 20}"
        place.mkdir(parents=True, exist_ok=True)
        fields = [
            Field(256, LONG, [number]),
            Field(257, LONG, [number * 2]),
            Field(271, ASCII, f"Maker {number % 7}".encode() + b"\0"),
            Field(65000, SHORT, [number]),
        ]
        (place / name).write_bytes(tiff([fields] * (1 + number % 3), LAYOUTS[number % 4]))
    (folder / "notes.txt").write_text("no image")
    return folder


def rows_of(catalogue: Catalogue) -> dict[str, list[dict[str, Any]]]:
    """All that a catalogue holds, but for whether files had settled."""
    rows: dict[str, list[dict[str, Any]]] = {}
    for name in TABLES:
        table = catalogue.dataset(name).to_table()
        if "settled" in table.column_names:
            table = table.drop_columns(["settled"])
        rows[name] = sorted(table.to_pylist(), key=repr)
    return rows


class Processes:
    """A scheduler and workers, each of which may stand in a network of its own."""

    def __init__(
        self,
        folder: Path,
        *,
        address: str = "127.0.0.1",
        network: Sequence[str] = (),
        settings: Mapping[str, str] | None = None,
    ) -> None:
        """
        Args:
            folder: Of logs and such; it is made.
            address: That the scheduler listens at.
            network: A command that others run in the scheduler's network.
            settings: Variables of the environment of all.
        """
        self.folder = folder
        self.network = network
        (folder / "hook").mkdir(parents=True)
        (folder / "hook/sitecustomize.py").write_text(HOOK)
        self.environment = {
            **os.environ,
            "PYTHONPATH": str(folder / "hook"),
            "DASK_DISTRIBUTED__WORKER__MEMORY__TERMINATE": "false",
            "DASK_DISTRIBUTED__ADMIN__LOW_LEVEL_LOG_LENGTH": "0",
            **(settings or {}),
        }
        self.workers: list[subprocess.Popen[bytes]] = []
        self.port = 0
        self.host = address
        self.scheduler = self.start_scheduler()

    def start_scheduler(self) -> "subprocess.Popen[bytes]":
        """Starts the scheduler: where the last one was, if there was one."""
        file = self.folder / "scheduler.json"
        file.unlink(missing_ok=True)
        options = ["--host", self.host, "--port", str(self.port), "--no-dashboard", "--no-show"]
        scheduler = self.start("scheduler", [*options, "--scheduler-file", str(file)], self.network)
        wait_for(lambda: file.exists() and file.read_text().endswith("}"))
        self.port = int(json.loads(file.read_text())["address"].rsplit(":", 1)[1])
        self.scheduler = scheduler
        return scheduler

    @property
    def address(self) -> str:
        """Of the scheduler."""
        return f"tcp://{self.host}:{self.port}"

    def start_worker(
        self, *, address: str = "127.0.0.1", network: Sequence[str] = ()
    ) -> "subprocess.Popen[bytes]":
        """Starts a worker of one thread, with a nanny."""
        options = ["--nthreads", "1", "--no-dashboard", "--memory-limit", "0"]
        options += ["--host", address, "--local-directory", str(self.folder / "space")]
        options += ["--death-timeout", "60"]
        worker = self.start("worker", [self.address, *options], network)
        self.workers.append(worker)
        return worker

    def start(
        self, kind: str, options: Sequence[str], network: Sequence[str]
    ) -> "subprocess.Popen[bytes]":
        """Starts a process, and with it a group of processes."""
        with (self.folder / f"{kind}-{time.monotonic_ns()}.log").open("wb") as log:
            return subprocess.Popen(
                [*network, sys.executable, "-m", "dask", kind, *options],
                env=self.environment,
                stdout=log,
                stderr=log,
                start_new_session=True,
            )

    def signal(self, process: "subprocess.Popen[bytes]", number: int) -> None:
        """Sends a signal to a process and those that it started."""
        os.killpg(process.pid, number)
        if number == signal.SIGKILL:
            process.wait()

    def close(self) -> None:
        """Ends all."""
        for process in [self.scheduler, *self.workers]:
            if process.poll() is None:
                self.signal(process, signal.SIGKILL)


@contextmanager
def client_of(processes: Processes, workers: int, timeout: float = 20) -> Iterator[Client]:
    """A client, when so many workers are there."""
    made: Any = Client
    with made(processes.address, timeout=timeout, set_as_default=False) as client:
        client.wait_for_workers(workers, timeout=60)
        yield client


def wait_for(is_so: Callable[[], bool], seconds: float = 30.0) -> None:
    """Waits until something is so."""
    until = time.monotonic() + seconds
    while not is_so():
        assert time.monotonic() < until, "it did not happen in time"
        time.sleep(0.02)
