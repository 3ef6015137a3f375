"""Types of values, for annotations."""

import os
from collections.abc import Mapping
from typing import TYPE_CHECKING, Literal, Protocol, TypeAlias, Union

if TYPE_CHECKING:
    from typing_extensions import Buffer  # in collections.abc from Python 3.12 on

    from ifdsweep._core import Directory

Value: TypeAlias = Union[
    None,
    int,
    float,
    str,
    bytes,
    "Directory",
    Mapping[str, "Value"],
    tuple["Value", ...],
]
"""The value of a field: several are a tuple, rows of them a tuple of tuples."""

EntryValue: TypeAlias = None | int | float | str | bytes | tuple[int | float | tuple[int, int], ...]
"""The value of an entry, exact: a rational is a pair of its numerator and denominator."""

Status: TypeAlias = Literal["ok", "warned", "error", "timeout", "memory", "crashed", "unreadable"]
"""How the reading of a file ended."""


class BinaryFile(Protocol):
    """A binary file object."""

    def read(self, size: int = -1, /) -> bytes | None:
        """Bytes from its position."""


Source: TypeAlias = Union[str, "os.PathLike[str]", "os.PathLike[bytes]", "Buffer", BinaryFile]
"""What can be read: a path, the content itself, a binary file object."""
