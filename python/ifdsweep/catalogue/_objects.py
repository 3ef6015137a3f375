"""Object storage: a catalogue in a bucket, by obstore, which knows the protocols and how to log in.

A file is made by one conditional request, so that the first to make it wins. What a store cannot
do, it does otherwise: moving is copying and removing, and there are no locks.
"""

import contextlib
import tempfile
from collections.abc import Iterator, Mapping, Sequence
from concurrent.futures import ThreadPoolExecutor
from contextlib import AbstractContextManager
from typing import Any, BinaryIO, cast

import obstore
from obstore.exceptions import AlreadyExistsError, BaseError, NotFoundError
from obstore.store import from_url

_IN_MEMORY = 16 << 20
_AT_A_TIME = 16
"""Requests."""


class ObjectStorage:
    """A place in an object store: ``s3://bucket/archive``, ``gs://…``, ``az://…``.

    Keys, region and endpoint are those of the environment, such as ``AWS_ACCESS_KEY_ID``.
    """

    def __init__(self, location: str) -> None:
        self.location = location.rstrip("/")
        self._scheme, _, self._folder = self.location.partition("://")
        with _as_os_error(location):
            self._store = from_url(self.location)

    def __repr__(self) -> str:
        return f"ObjectStorage({self.location!r})"

    def __reduce__(self) -> tuple[type["ObjectStorage"], tuple[str]]:
        return ObjectStorage, (self.location,)

    def read(self, name: str) -> bytes:
        """As `Storage` says."""
        with _as_os_error(name):
            return bytes(obstore.get(self._store, name).bytes())

    def create(self, name: str, content: bytes) -> bool:
        """As `Storage` says."""
        try:
            with _as_os_error(name):
                obstore.put(self._store, name, content, mode="create", use_multipart=False)
        except FileExistsError:
            return False
        return True

    @contextlib.contextmanager
    def writing(self, name: str) -> Iterator[BinaryIO]:
        """As `Storage` says. What is written waits on this machine for its end."""
        with tempfile.SpooledTemporaryFile(_IN_MEMORY) as file:
            yield cast("BinaryIO", file)
            file.seek(0)
            with _as_os_error(name):
                obstore.put(self._store, name, cast("BinaryIO", file))

    def move(self, targets: Mapping[str, str]) -> None:
        """As `Storage` says."""
        for name, target in targets.items():
            try:
                with _as_os_error(name):
                    obstore.copy(self._store, name, target)
            except FileNotFoundError:
                with _as_os_error(name):
                    obstore.head(self._store, target)
            self.remove(name)

    def names(self, folder: str) -> Iterator[str]:
        """As `Storage` says."""
        with _as_os_error(folder):
            for found in obstore.list(self._store, folder or None):
                yield from (item["path"] for item in found)

    def sizes(self, names: Sequence[str]) -> list[int | None]:
        """As `Storage` says."""
        with ThreadPoolExecutor(_AT_A_TIME) as pool:
            return list(pool.map(self._size, names))

    def _size(self, name: str) -> int | None:
        try:
            with _as_os_error(name):
                return obstore.head(self._store, name)["size"]
        except FileNotFoundError:
            return None

    def remove(self, name: str) -> None:
        """As `Storage` says."""
        with contextlib.suppress(FileNotFoundError), _as_os_error(name):
            obstore.delete(self._store, name)

    def lock(self) -> AbstractContextManager[bool]:
        """As `Storage` says: who makes the snapshot first wins."""
        return contextlib.nullcontext(False)

    def filesystem(self) -> tuple[Any, str]:
        """As `Storage` says."""
        from obstore.fsspec import FsspecStore
        from pyarrow.fs import FSSpecHandler, PyFileSystem

        make_store: Any = FsspecStore  # its types know each scheme apart
        return PyFileSystem(FSSpecHandler(make_store(self._scheme))), self._folder


@contextlib.contextmanager
def _as_os_error(name: str) -> Iterator[None]:
    """What a store raises, as the file system would."""
    try:
        yield
    except (AlreadyExistsError, NotFoundError, FileNotFoundError) as error:
        kind = FileExistsError if isinstance(error, AlreadyExistsError) else FileNotFoundError
        raise kind(f"{name}: {error}") from error
    except BaseError as error:
        raise OSError(f"{name}: {error}") from error
