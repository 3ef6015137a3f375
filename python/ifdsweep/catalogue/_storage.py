"""Where a catalogue lies: files under names with slashes, that are there whole or not at all.

A storage is what `storage_of` makes of a location; it pickles, so that workers elsewhere have it.
"""

import contextlib
import errno
import fcntl
import os
import re
import socket
import stat
import time
import uuid
from collections.abc import Iterator, Mapping, Sequence
from contextlib import AbstractContextManager
from pathlib import Path
from typing import Any, BinaryIO, Protocol

from ifdsweep.catalogue._errors import CatalogueBusyError, CatalogueError
from ifdsweep.catalogue._names import claim_name, temporary_name

_CLAIM_SECONDS = 5.0
"""How long the name of a file may be claimed; who claimed it is gone then."""


class Storage(Protocol):
    """Files by name. Errors: OSError, that of the system or one made of the store's own."""

    location: str
    """As `storage_of` takes it."""

    def read(self, name: str) -> bytes:
        """The content; FileNotFoundError without such a file."""
        ...

    def create(self, name: str, content: bytes) -> bool:
        """Makes a file that is not there yet; False, and nothing, when it is.

        Of several that do so at a time one succeeds. When it returns the file lasts.
        """
        ...

    def writing(self, name: str) -> AbstractContextManager[BinaryIO]:
        """A new file, there when the block has ended well; it lasts then. Names are used once."""
        ...

    def move(self, targets: Mapping[str, str]) -> None:
        """Gives files other names, by those that they have. Nothing happens where one has it
        already; FileNotFoundError where it has neither. It lasts when this returns. Folders that
        are empty then go."""
        ...

    def names(self, folder: str) -> Iterator[str]:
        """The names of all files below a folder, from the catalogue's own, in no order; "" is the
        catalogue's."""
        ...

    def sizes(self, names: Sequence[str]) -> list[int | None]:
        """How many bytes files have; None for one that is not there."""
        ...

    def remove(self, name: str) -> None:
        """Removes a file, and folders that are empty then; nothing without such a file."""
        ...

    def lock(self) -> AbstractContextManager[bool]:
        """Held by one update at a time; CatalogueBusyError while another has it.

        Gives whether it keeps others out: a storage without locks lets all pass, and who makes the
        snapshot first wins.
        """
        ...

    def filesystem(self) -> tuple[Any, str]:
        """A file system of pyarrow's, and the folder of the catalogue in it."""
        ...


def storage_of(location: str | os.PathLike[str] | Storage, *, make: bool = False) -> Storage:
    """The storage at a location: a folder, or a URL of an object store (s3://…, gs://…, az://…).

    Args:
        location: Where; a storage is itself.
        make: Makes the folder, if it is not there.

    Raises:
        CatalogueError: For a location that is none.
    """
    if not isinstance(location, str | os.PathLike):
        return location
    text = os.fspath(location)
    if re.match(r"[A-Za-z][A-Za-z0-9+.-]*://", text):
        return _object_storage(text)
    folder = Path(text)
    if make:
        try:
            folder.mkdir(parents=True, exist_ok=True)
        except OSError as error:
            raise CatalogueError(f"{text}: {error.strerror or error}") from error
    return FolderStorage(str(folder.absolute()))


def _object_storage(location: str) -> Storage:
    try:
        from ifdsweep.catalogue._objects import ObjectStorage
    except ModuleNotFoundError as error:
        raise CatalogueError(
            f"{location}: {error}; pip install 'ifdsweep[catalogue,objects]'"
        ) from error
    try:
        return ObjectStorage(location)
    except (OSError, ValueError) as error:
        raise CatalogueError(f"{location}: {error}") from error


class FolderStorage:
    """A folder of a file system, of this machine or shared by several."""

    def __init__(self, location: str) -> None:
        self.location = location

    def __repr__(self) -> str:
        return f"FolderStorage({self.location!r})"

    def _path(self, name: str) -> str:
        return os.path.join(self.location, name)

    def read(self, name: str) -> bytes:
        """As `Storage` says."""
        with open(self._path(name), "rb", opener=_open_regular) as file:
            return file.read()

    def create(self, name: str, content: bytes) -> bool:
        """As `Storage` says."""
        path = self._path(name)
        if os.path.lexists(path):
            return False
        with self._temporary(path) as (file, temporary):
            file.write(content)
            _sync(file)
            return _link(temporary, path)

    @contextlib.contextmanager
    def writing(self, name: str) -> Iterator[BinaryIO]:
        """As `Storage` says."""
        path = self._path(name)
        with self._temporary(path) as (file, temporary):
            yield file
            _sync(file)
            if not _link(temporary, path):
                raise FileExistsError(errno.EEXIST, os.strerror(errno.EEXIST), path)

    @contextlib.contextmanager
    def _temporary(self, path: str) -> Iterator[tuple[BinaryIO, str]]:
        """A file beside the one that it becomes; gone at the end of the block."""
        temporary = os.path.join(os.path.dirname(path), temporary_name(uuid.uuid4().hex))
        with self._new(temporary) as file:
            try:
                yield file, temporary
            finally:
                with contextlib.suppress(FileNotFoundError):
                    os.unlink(temporary)

    def _new(self, path: str) -> BinaryIO:
        """A new file, in a folder that others may remove as long as it is empty."""
        for _ in range(100):
            self._make_folder(os.path.dirname(path))
            with contextlib.suppress(FileNotFoundError):
                return open(path, "xb")
        raise FileNotFoundError(errno.ENOENT, os.strerror(errno.ENOENT), path)

    def _make_folder(self, folder: str) -> None:
        """Makes a folder, and those above, that last; that of the catalogue is there."""
        if len(folder) <= len(self.location) or os.path.isdir(folder):
            return
        above = os.path.dirname(folder)
        self._make_folder(above)
        with contextlib.suppress(FileExistsError, FileNotFoundError):
            os.mkdir(folder)
            _sync_folder(above)

    def move(self, targets: Mapping[str, str]) -> None:
        """As `Storage` says."""
        for name, target in targets.items():
            self._move(name, self._path(target))
        for folder in {os.path.dirname(self._path(target)) for target in targets.values()}:
            _sync_folder(folder)
        for folder in {os.path.dirname(self._path(name)) for name in targets}:
            self._remove_empty(folder)

    def _move(self, name: str, path: str) -> None:
        if os.path.lexists(path):
            return
        self._make_folder(os.path.dirname(path))
        try:
            os.rename(self._path(name), path)
        except FileNotFoundError:
            if not os.path.lexists(path):
                raise

    def names(self, folder: str) -> Iterator[str]:
        """As `Storage` says."""
        for parent, _, files in os.walk(self._path(folder), onerror=_unless_gone):
            yield from (os.path.relpath(os.path.join(parent, f), self.location) for f in files)

    def sizes(self, names: Sequence[str]) -> list[int | None]:
        """As `Storage` says."""
        return [_size(self._path(name)) for name in names]

    def remove(self, name: str) -> None:
        """As `Storage` says."""
        path = self._path(name)
        with contextlib.suppress(FileNotFoundError):
            os.unlink(path)
        self._remove_empty(os.path.dirname(path))

    def _remove_empty(self, folder: str) -> None:
        """Removes a folder that is empty, and those above that are then."""
        with contextlib.suppress(OSError):  # it is not
            while len(folder) > len(self.location):
                os.rmdir(folder)
                folder = os.path.dirname(folder)

    @contextlib.contextmanager
    def lock(self) -> Iterator[bool]:
        """As `Storage` says."""
        keeps_out = True
        descriptor = os.open(self._path("lock"), os.O_RDWR | os.O_CREAT | os.O_CLOEXEC, 0o666)
        try:
            try:
                fcntl.flock(descriptor, fcntl.LOCK_EX | fcntl.LOCK_NB)
            except BlockingIOError:
                holder = ascii(os.read(descriptor, 256).decode(errors="replace").strip())[1:-1]
                raise CatalogueBusyError(
                    f"{self.location}: another update is at work ({holder or 'unknown process'})"
                ) from None
            except OSError as error:
                # A file system without locks: who makes the snapshot first wins.
                if error.errno not in {errno.ENOLCK, errno.ENOSYS, errno.EOPNOTSUPP}:
                    raise
                keeps_out = False
            os.ftruncate(descriptor, 0)
            os.pwrite(descriptor, f"process {os.getpid()} on {socket.gethostname()}\n".encode(), 0)
            yield keeps_out
        finally:
            os.close(descriptor)

    def filesystem(self) -> tuple[Any, str]:
        """As `Storage` says."""
        from pyarrow.fs import LocalFileSystem

        return LocalFileSystem(use_mmap=False), self.location


def _open_regular(path: str, flags: int) -> int:
    """Opens a file without waiting for what a pipe of that name would bring."""
    descriptor = os.open(path, flags | os.O_NONBLOCK | os.O_CLOEXEC)
    if stat.S_ISREG(os.fstat(descriptor).st_mode):
        return descriptor
    os.close(descriptor)
    raise OSError(errno.EINVAL, "Not a regular file", path)


def _unless_gone(error: OSError) -> None:
    if not isinstance(error, FileNotFoundError):
        raise error


def _size(path: str) -> int | None:
    try:
        return os.stat(path).st_size
    except FileNotFoundError:
        return None


def _sync(file: BinaryIO) -> None:
    file.flush()
    os.fsync(file.fileno())


def _sync_folder(folder: str) -> None:
    descriptor = os.open(folder, os.O_RDONLY | os.O_DIRECTORY | os.O_CLOEXEC)
    try:
        os.fsync(descriptor)
    except OSError as error:
        if error.errno not in {errno.EINVAL, errno.ENOTSUP}:  # of folders there
            raise
    finally:
        os.close(descriptor)


def _link(temporary: str, path: str) -> bool:
    """Gives a file that is whole its name too; False where another has it."""
    try:
        os.link(temporary, path)
    except FileExistsError:
        # Over a network the answer to a link that was made may be lost, and the second try fails.
        return os.stat(temporary).st_nlink == 2 and os.path.samefile(temporary, path)
    except OSError as error:
        if error.errno not in {errno.EPERM, errno.EOPNOTSUPP, errno.ENOSYS, errno.EMLINK}:
            raise
        if not _rename_new(temporary, path):
            return False
    _sync_folder(os.path.dirname(path))
    return True


def _rename_new(temporary: str, path: str) -> bool:
    """The same where the file system has no links: an empty file keeps others off meanwhile."""
    claim = claim_name(path)
    _make_claim(claim)
    try:
        if os.path.lexists(path):
            return False
        os.rename(temporary, path)
    finally:
        with contextlib.suppress(FileNotFoundError):
            os.unlink(claim)
    return True


def _make_claim(claim: str) -> None:
    """Waits until a name is nobody's, but not for who was killed meanwhile."""
    seen = None
    patience = 0.0
    while True:
        with contextlib.suppress(FileExistsError):
            os.close(os.open(claim, os.O_WRONLY | os.O_CREAT | os.O_EXCL | os.O_CLOEXEC, 0o666))
            return
        with contextlib.suppress(FileNotFoundError):
            status = os.stat(claim)
            if seen != (status.st_ino, status.st_mtime_ns):
                seen = status.st_ino, status.st_mtime_ns
                patience = time.monotonic() + _CLAIM_SECONDS
            elif time.monotonic() > patience:
                os.unlink(claim)
        time.sleep(0.01)
