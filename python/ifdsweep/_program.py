"""The program of the package as a process that reads files for a scan."""

import contextlib
import fcntl
import io
import os
import select
import signal
import sys
import threading
import time
from collections.abc import Callable, Iterable, Sequence
from pathlib import Path
from typing import Self

from ifdsweep import _core
from ifdsweep._core import File

_NAME = "ifdsweep"
_PIPE_SIZE = 1 << 20
_MESSAGES_KEPT = 1 << 13  # bytes of the end of its error stream
_SIZE_BYTES = 8  # of the size before each block
_GOOD_ENDS = (0, 1)  # all files were read; some failed, which their blocks tell

# Seconds that the program may take to end, after its output and when it is asked to; and how long
# it is not looked at meanwhile.
_LONGEST_REST = 10.0
_GRACE = 0.5
_PAUSE = 0.01


def find_program() -> Path:
    """The program that was installed with the package, or lies beside the interpreter."""
    from importlib.metadata import PackageNotFoundError, distribution  # takes longer than all else

    candidates: list[Path] = []
    with contextlib.suppress(PackageNotFoundError):
        files = distribution(_NAME).files or []
        candidates += [Path(str(file.locate())) for file in files if file.name == _NAME]
    candidates.append(Path(sys.executable).with_name(_NAME))
    for path in candidates:
        if path.is_file() and os.access(path, os.X_OK):
            return path.resolve()
    raise FileNotFoundError(
        f"the program {_NAME} is neither among the files of the package nor beside {sys.executable}"
    )


class ProgramScan:
    """Files read by the program: an iterator that leaves no process behind when it is closed."""

    def __init__(self, arguments: Sequence[bytes], paths: Iterable[bytes]) -> None:
        self._owner = os.getpid()
        self._reading = threading.Lock()
        self._buffer = bytearray()
        self._begin = 0  # in the buffer, of what was not taken yet
        self._is_begun = False
        self._is_closed = False
        self._program = _Program(arguments, paths)

    def __iter__(self) -> Self:
        return self

    def __next__(self) -> File:
        if os.getpid() != self._owner:
            raise RuntimeError("a scan is for the process that began it")
        with self._reading:
            if self._is_closed or not self._begins() or not self._fill(_SIZE_BYTES):
                self._conclude()
                raise StopIteration
            with self._take(_SIZE_BYTES) as head:
                size = int.from_bytes(head, "little")
            if not self._fill(size):
                self._conclude()
                raise StopIteration
            with self._take(size) as block:
                return _core.parse_packed(block)

    def is_ready(self, seconds: float) -> bool:
        """Waits so long at most; whether the next file, or the end, comes at once or nearly so."""
        if os.getpid() != self._owner:
            return True
        with self._reading:
            return self._is_closed or self._has_block() or self._program.has_output(seconds)

    def close(self) -> None:
        """Ends the program, and so the waiting of a thread for a file."""
        if os.getpid() != self._owner:
            return
        self._is_closed = True
        self._program.ask_to_end()
        if not self._reading.acquire(timeout=_GRACE):
            self._program.make_end()
            self._reading.acquire()
        try:
            self._program.end(_GRACE)
        finally:
            self._reading.release()

    def __del__(self) -> None:
        with contextlib.suppress(AttributeError):  # of one that was never whole
            self.close()

    def _begins(self) -> bool:
        """Whether the head of the output was taken."""
        head = _core.PACKED_HEAD
        if self._is_begun:
            return True
        if not self._fill(len(head)):
            return False
        with self._take(len(head)) as begin:
            if begin != head:
                raise RuntimeError("the program is of another version than the package")
        self._is_begun = True
        return True

    def _has_block(self) -> bool:
        head = self._buffer[self._begin : self._begin + _SIZE_BYTES]
        size = _SIZE_BYTES + int.from_bytes(head, "little")
        return self._is_begun and len(self._buffer) - self._begin >= size

    def _fill(self, size: int) -> bool:
        """Reads until so many bytes can be taken; False where the output ends before."""
        while len(self._buffer) - self._begin < size:
            more = self._program.read()
            if not more:
                return False
            del self._buffer[: self._begin]
            self._begin = 0
            self._buffer += more
        return True

    def _take(self, size: int) -> memoryview:
        """Bytes of the buffer, to be let go of before it is filled again."""
        begin = self._begin
        self._begin += size
        return memoryview(self._buffer)[begin : self._begin]

    def _conclude(self) -> None:
        """Ends the scan where its output ends; raises what is wrong with that end."""
        if self._is_closed:
            return
        self._is_closed = True
        is_whole = self._is_begun and self._begin == len(self._buffer)
        status, messages = self._program.end(_LONGEST_REST)
        if not is_whole or status not in _GOOD_ENDS:
            lines = messages.decode("utf-8", "backslashreplace").splitlines()[-1:]
            raise RuntimeError(": ".join([f"the program {_ending(status)}", *lines]))


class _Program:
    """The running program: its process, its output and its messages.

    It leads a process group of its own, so that it hears of Ctrl-C from here alone.
    """

    def __init__(self, arguments: Sequence[bytes], paths: Iterable[bytes]) -> None:
        program = find_program()
        self._state = threading.Lock()  # of the status; until it is known the number is the process
        self._status: int | None = None
        self._last_messages = b""
        with contextlib.ExitStack() as theirs:
            names = theirs.enter_context(_name_list(paths))
            self._output, output = _pipe(theirs)
            self._messages, messages = _pipe(theirs)
            self._process = _spawn(program, arguments, (names.fileno(), output, messages))
        self._both = select.poll()
        self._both.register(self._output, select.POLLIN)
        self._both.register(self._messages, select.POLLIN)

    def read(self) -> bytes:
        """Waits for output; empty at its end."""
        while not self.has_output(None):
            pass
        return self._output.read(_PIPE_SIZE) or b""

    def has_output(self, seconds: float | None) -> bool:
        """Waits so long at most for output or its end, and takes note of messages meanwhile."""
        ready = {fd for fd, _ in self._both.poll(None if seconds is None else seconds * 1000)}
        if self._messages.fileno() in ready and not self._take_messages():
            self._both.unregister(self._messages)
        return self._output.fileno() in ready

    def ask_to_end(self) -> None:
        self._signal(signal.SIGTERM, os.kill)

    def make_end(self) -> None:
        self._signal(signal.SIGKILL, os.killpg)

    def end(self, patience: float) -> tuple[int | None, bytes]:
        """Waits so long for its end, then makes it end: its status, and its last messages."""
        self._output.close()
        if not self._await_end(patience):
            self.ask_to_end()
            if not self._await_end(_GRACE):
                self.make_end()
                self._await_end(_GRACE)
        self._messages.close()
        return self._status, self._last_messages

    def _signal(self, number: int, send: Callable[[int, int], None]) -> None:
        with self._state, contextlib.suppress(ProcessLookupError):
            if self._status is None:
                send(self._process, number)

    def _await_end(self, seconds: float) -> bool:
        """Waits so long for its end, and takes note of what it has to say."""
        deadline = time.monotonic() + seconds
        while not (has_ended := self._has_ended()) and time.monotonic() < deadline:
            self._await_messages(_PAUSE)
        while self._await_messages(0):
            pass
        return has_ended

    def _has_ended(self) -> bool:
        with self._state:
            if self._status is None:
                try:
                    process, status = os.waitpid(self._process, os.WNOHANG)
                except ChildProcessError:  # somebody else waited for it
                    self._status = _GOOD_ENDS[0]
                else:
                    self._status = os.waitstatus_to_exitcode(status) if process else None
            return self._status is not None

    def _await_messages(self, seconds: float) -> bool:
        """Waits so long for messages; whether there may be more."""
        if self._messages.closed:
            return False
        poll = select.poll()
        poll.register(self._messages, select.POLLIN)
        return bool(poll.poll(seconds * 1000)) and self._take_messages()

    def _take_messages(self) -> bool:
        more = self._messages.read(_PIPE_SIZE) or b""
        self._last_messages = (self._last_messages + more)[-_MESSAGES_KEPT:]
        return bool(more)


def _pipe(theirs: contextlib.ExitStack) -> tuple[io.FileIO, int]:
    """A pipe to read from, and its end for the program."""
    end, begin = os.pipe()
    theirs.callback(os.close, begin)
    with contextlib.suppress(OSError):  # a user's pipes together have a limit
        fcntl.fcntl(end, fcntl.F_SETPIPE_SZ, _PIPE_SIZE)
    return io.FileIO(end, "rb"), begin


def _name_list(paths: Iterable[bytes]) -> io.FileIO:
    """A file in memory with the names, as `--files-from` takes them."""
    names = io.FileIO(os.memfd_create("names"), "w+b")
    names.write(b"".join(path + b"\0" for path in paths))
    names.seek(0)
    return names


def _spawn(program: Path, arguments: Sequence[bytes], streams: tuple[int, int, int]) -> int:
    """Starts the program with these as its standard streams; its process number."""
    with contextlib.ExitStack() as copies:
        high = [fcntl.fcntl(stream, fcntl.F_DUPFD_CLOEXEC, 3) for stream in streams]
        for descriptor in high:
            copies.callback(os.close, descriptor)
        return os.posix_spawn(
            program,
            [os.fsencode(program), *arguments],
            os.environ,
            file_actions=[(os.POSIX_SPAWN_DUP2, high[i], i) for i in range(3)],
            setpgroup=0,
            setsigmask=(),
            setsigdef=(signal.SIGPIPE, signal.SIGXFSZ),  # which Python ignores
        )


def _ending(status: int | None) -> str:
    if status is None or status < 0:
        number = -status if status else signal.SIGKILL
        try:
            return f"was ended by {signal.Signals(number).name}"
        except ValueError:  # most signals of real time have no name
            return f"was ended by signal {number}"
    return f"ended with status {status}"
