"""Catalogues that workers in other networks make, some of which fail in the middle."""

import os
import shutil
import signal
import subprocess
import sys
from collections.abc import Callable, Iterator
from pathlib import Path

import pytest
from conftest import repetitions

pytest.importorskip("distributed")

from catalogue_clusters import Processes, make_root, rows_of, wait_for

from ifdsweep.catalogue import Catalogue, _plan

pytestmark = [
    pytest.mark.networks,
    pytest.mark.skipif(
        not repetitions(0, 1) or os.geteuid() != 0 or shutil.which("ip") is None,
        reason="needs IFDSWEEP_HEAVY=1, root and the command ip",
    ),
]

FILES_OF_PARTITION = 2
TIME_TO_LIVE = 3
"""Seconds after which the scheduler gives up a worker that it does not hear of."""

DRIVER = f"""
import sys
from distributed import Client
from ifdsweep.catalogue import Catalogue, CatalogueError, _plan
from ifdsweep.catalogue.engines.dask import Dask

_plan.MOST_FILES = {FILES_OF_PARTITION}
with Client(sys.argv[2], timeout=5) as client:
    try:
        Catalogue.open(sys.argv[1]).update(Dask(client))
    except CatalogueError as error:
        sys.exit(str(error))
"""


def ip(command: str) -> None:
    """Runs the command."""
    subprocess.run(["ip", *command.split()], check=True)


class Networks:
    """Three: one with the scheduler and the driver, two with workers, tied to the first."""

    HUB = "ifdsweep-hub"
    SPOKES = ("ifdsweep-one", "ifdsweep-two")
    ADDRESS = "10.83.0.1"
    """Of the scheduler."""

    def __init__(self) -> None:
        self.close()
        for name in (self.HUB, *self.SPOKES):
            ip(f"netns add {name}")
            ip(f"-n {name} link set lo up")
        ip(f"-n {self.HUB} address add {self.ADDRESS}/32 dev lo")
        self.inside(self.HUB, "sysctl", "-qw", "net.ipv4.ip_forward=1")
        for number, name in enumerate(self.SPOKES, 1):
            ip(f"link add spoke{number} netns {self.HUB} type veth peer name hub netns {name}")
            ip(f"-n {self.HUB} address add 10.83.{number}.1/24 dev spoke{number}")
            ip(f"-n {self.HUB} link set spoke{number} up")
            ip(f"-n {name} address add {self.address_in(number - 1)}/24 dev hub")
            ip(f"-n {name} link set hub up")
            ip(f"-n {name} route add default via 10.83.{number}.1")

    def inside(self, name: str, *command: str) -> None:
        """Runs a command in a network."""
        subprocess.run([*self.command(name), *command], check=True)

    @staticmethod
    def command(name: str) -> list[str]:
        """What runs others in a network."""
        return ["ip", "netns", "exec", name]

    @staticmethod
    def address_in(spoke: int) -> str:
        """Of the workers in a network."""
        return f"10.83.{spoke + 1}.2"

    def set_link(self, spoke: int, state: str) -> None:
        """Cuts a network off, or joins it again: "down" or "up"."""
        ip(f"-n {self.HUB} link set spoke{spoke + 1} {state}")

    def close(self) -> None:
        """Removes them."""
        for name in (self.HUB, *self.SPOKES):
            subprocess.run(["ip", "netns", "delete", name], check=False, stderr=subprocess.DEVNULL)


@pytest.fixture(scope="module")
def networks() -> Iterator[Networks]:
    """The networks."""
    made = Networks()
    try:
        yield made
    finally:
        made.close()


class Update:
    """An update by four workers in two networks, and the driver of it as a process."""

    def __init__(self, networks: Networks, folder: Path) -> None:
        self.networks = networks
        self.folder = folder
        self.root = make_root(folder / "root")
        Catalogue.create(folder / "many", self.root)
        self.processes = Processes(
            folder / "cluster",
            address=networks.ADDRESS,
            network=networks.command(networks.HUB),
            settings={
                "READING_SECONDS": "0.5",
                "DASK_DISTRIBUTED__SCHEDULER__WORKER_TTL": f"{TIME_TO_LIVE}s",
                "DASK_DISTRIBUTED__COMM__TIMEOUTS__TCP": "12s",
                "DASK_DISTRIBUTED__COMM__TIMEOUTS__CONNECT": "3s",
            },
        )
        self.drivers: list[subprocess.Popen[bytes]] = []
        self.start_workers()

    def start_workers(self) -> None:
        """Starts four workers, two in each network."""
        for spoke, name in [*enumerate(self.networks.SPOKES)] * 2:
            self.processes.start_worker(
                address=self.networks.address_in(spoke), network=self.networks.command(name)
            )

    def drive(self) -> "subprocess.Popen[bytes]":
        """Starts the driver."""
        driver = subprocess.Popen(
            [
                *self.networks.command(self.networks.HUB),
                sys.executable,
                "-c",
                DRIVER,
                str(self.folder / "many"),
                self.processes.address,
            ],
            env={**self.processes.environment, "PYTHONPATH": ""},
            stderr=subprocess.PIPE,
        )
        self.drivers.append(driver)
        return driver

    def close(self) -> None:
        """Ends all."""
        self.processes.close()
        for driver in self.drivers:
            driver.kill()
            driver.communicate()

    def done(self) -> int:
        """How many partitions are made."""
        return len(list((self.folder / "many/work").glob("*/done/*.json")))

    def check(self, monkeypatch: pytest.MonkeyPatch) -> None:
        """The catalogue is that which one process makes."""
        monkeypatch.setattr(_plan, "MOST_FILES", FILES_OF_PARTITION)
        one = Catalogue.create(self.folder / "one", self.root)
        one.update()
        many = Catalogue.open(self.folder / "many")
        assert many.snapshot.number == 1
        assert many.snapshot.summary.partitions == one.snapshot.summary.partitions
        assert rows_of(many) == rows_of(one)


@pytest.fixture
def update(networks: Networks, tmp_path: Path) -> Iterator[Update]:
    """A cluster with a catalogue that is to be updated."""
    made = Update(networks, tmp_path)
    try:
        yield made
    finally:
        made.close()


def kill_worker(update: Update) -> Callable[[], None]:
    """One of four is gone, with its nanny."""
    update.processes.signal(update.processes.workers[0], signal.SIGKILL)
    return lambda: None


def stop_worker(update: Update) -> Callable[[], None]:
    """One of four stands still, until the scheduler has given it up."""
    update.processes.signal(update.processes.workers[0], signal.SIGSTOP)
    return lambda: update.processes.signal(update.processes.workers[0], signal.SIGCONT)


def cut_off(update: Update) -> Callable[[], None]:
    """Two of four cannot be reached."""
    update.networks.set_link(0, "down")
    return lambda: update.networks.set_link(0, "up")


class TestNetworks:
    """Workers in networks of their own."""

    @pytest.mark.parametrize("fail", [kill_worker, stop_worker, cut_off])
    def test_make_the_same_catalogue_when_some_fail(
        self,
        update: Update,
        monkeypatch: pytest.MonkeyPatch,
        fail: Callable[[Update], Callable[[], None]],
    ) -> None:
        driver = update.drive()
        wait_for(lambda: update.done() >= 3)
        mend = fail(update)
        try:
            with pytest.raises(subprocess.TimeoutExpired):
                driver.wait(TIME_TO_LIVE + 2)
        finally:
            mend()
        driver.wait(60)
        assert driver.returncode == 0
        update.check(monkeypatch)

    def test_go_on_after_the_scheduler_was_killed(
        self, update: Update, monkeypatch: pytest.MonkeyPatch
    ) -> None:
        driver = update.drive()
        wait_for(lambda: update.done() >= 3)
        update.processes.signal(update.processes.scheduler, signal.SIGKILL)
        _, error = driver.communicate(timeout=60)
        assert driver.returncode == 1
        assert b"the scheduler was lost; what was made is kept" in error
        made = update.done()
        assert made >= 3
        update.processes.start_scheduler()
        update.start_workers()  # those of before ended with their scheduler
        driver = update.drive()
        driver.communicate(timeout=60)
        assert driver.returncode == 0
        update.check(monkeypatch)
