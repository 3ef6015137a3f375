"""Types of values, for annotations."""

import os
import sys
from collections.abc import Mapping
from typing import TYPE_CHECKING, Any, Literal, Protocol, TypeAlias

from ifdsweep._core import Directory

# Whoever asks for the types of a function while it runs needs them without names that only type
# checkers look up: values in values are Any then.
if TYPE_CHECKING:
    from typing_extensions import Buffer

    _Inner: TypeAlias = "Value"
else:
    _Inner = Any
    if sys.version_info >= (3, 12):
        from collections.abc import Buffer
    else:
        Buffer = bytes | bytearray | memoryview  # and all others with a buffer

Value: TypeAlias = (
    None | int | float | str | bytes | Directory | Mapping[str, _Inner] | tuple[_Inner, ...]
)
"""The value of a field: several are a tuple, rows of them a tuple of tuples."""

EntryValue: TypeAlias = None | int | float | str | bytes | tuple[int | float | tuple[int, int], ...]
"""The value of an entry, exact: a rational is a pair of its numerator and denominator."""

Status: TypeAlias = Literal["ok", "warned", "error", "timeout", "memory", "crashed", "unreadable"]
"""How the reading of a file ended."""


class BinaryFile(Protocol):
    """A binary file object."""

    def read(self, size: int = -1, /) -> bytes | None:
        """Bytes from its position."""


Source: TypeAlias = str | os.PathLike[str] | os.PathLike[bytes] | Buffer | BinaryFile
"""What can be read: a path, the content itself, a binary file object."""
