"""A terminal of a given size, with a program in its foreground.

What is printed is kept as it came but for the carriage returns before line ends.
"""

import fcntl
import os
import pty
import re
import select
import signal
import struct
import termios
import time

PATIENCE = 60  # seconds, of a machine that has much else to do


class Terminal:
    """Runs a command on a terminal of its own; to be used with `with`, which ends all of it."""

    def __init__(self, command, columns=80, rows=50, folder=".", **environment):
        self.text = ""
        self.status = None
        self._bytes = b""
        names = {"HOME": "/nonexistent", "PATH": os.environ["PATH"], "LANG": "C.UTF-8", "TERM": "xterm"}
        names.update({key: value for key, value in environment.items() if value is not None})
        for name in ("ASAN_OPTIONS", "UBSAN_OPTIONS", "TSAN_OPTIONS"):
            if name in os.environ:
                names[name] = os.environ[name]
        self.process, self._master = pty.fork()
        if self.process == 0:
            try:
                fcntl.ioctl(1, termios.TIOCSWINSZ, struct.pack("HHHH", rows, columns, 0, 0))
                for number in range(1, signal.NSIG):
                    if number not in (signal.SIGKILL, signal.SIGSTOP):
                        try:
                            signal.signal(number, signal.SIG_DFL)
                        except (OSError, ValueError):
                            pass
                os.chdir(folder)
                os.execvpe(command[0], command, names)
            finally:
                os._exit(127)

    def __enter__(self):
        return self

    def __exit__(self, *_):
        for process in self.processes():
            try:
                os.kill(process, signal.SIGKILL)
            except ProcessLookupError:
                pass
        if self.status is None:
            os.waitpid(self.process, 0)
        os.close(self._master)

    def type(self, keys):
        os.write(self._master, keys.encode())

    def send(self, number):
        """To the first process alone."""
        os.kill(self.process, number)

    def _read(self, seconds):
        """Whether something came."""
        if not select.select([self._master], [], [], seconds)[0]:
            return False
        try:
            piece = os.read(self._master, 65536)
        except OSError:  # nobody has the terminal open any more
            return False
        self._bytes += piece
        self.text = self._bytes.decode(errors="replace").replace("\r\n", "\n")
        return bool(piece)

    def wait_until(self, is_true, complaint):
        """Reads until something holds."""
        end = time.monotonic() + PATIENCE
        while not is_true():
            if time.monotonic() > end:
                raise AssertionError(f"{complaint}: {self.text!r}")
            self._read(0.05)

    def wait_for(self, pattern):
        """Reads until the text has a match; the match."""
        self.wait_until(lambda: re.search(pattern, self.text), f"{pattern!r} does not come")
        return re.search(pattern, self.text)

    def settle(self):
        """Reads until nothing comes for a while."""
        while self._read(0.4):
            pass

    def wait(self):
        """Reads to the end of the first process; its exit status, as a shell tells it."""
        end = time.monotonic() + PATIENCE
        while self.status is None:
            self._read(0.02)
            process, status = os.waitpid(self.process, os.WNOHANG)
            if process:
                code = os.waitstatus_to_exitcode(status)
                self.status = 128 - code if code < 0 else code
            elif time.monotonic() > end:
                raise AssertionError(f"it does not end: {self.text!r}")
        while self._read(0.05):
            pass
        return self.status

    def processes(self):
        """Those of the terminal's session that run, the first one among them."""
        found = []
        for name in os.listdir("/proc"):
            try:
                if name.isdigit() and os.getsid(int(name)) == self.process and not self._has_ended(name):
                    found.append(int(name))
            except (ProcessLookupError, FileNotFoundError):
                pass
        return found

    @staticmethod
    def _has_ended(name):
        """Whether nobody has waited for it yet, as where the first of all processes does not."""
        with open(f"/proc/{name}/stat") as file:
            return file.read().rpartition(")")[2].split()[0] in "ZX"


def without_colours(text):
    return re.sub(r"\x1b\[[0-9;]*m", "", text)


def shown(text):
    """What the terminal shows in the end, line by line: colours gone, lines that were replaced too."""
    lines = []
    for line in without_colours(text).split("\n"):
        lines.append(line.split("\r\x1b[K")[-1])
    return lines
