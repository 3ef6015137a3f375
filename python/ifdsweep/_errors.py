"""Errors that are asked for."""

from ifdsweep._core import File, Message


class ReadError(Exception):
    """A file could not be read, or was read with warnings, and `File.check` was called."""

    def __init__(self, file: File, message: Message) -> None:
        super().__init__(file, message)
        self.file = file
        self.message = message

    def __str__(self) -> str:
        return f"{repr(self.file.path)[1:-1]}: {self.message}"


ReadError.__module__ = "ifdsweep"  # as it is known to those who see it raised
