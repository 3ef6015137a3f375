"""One file."""

from collections.abc import Iterable
from typing import Literal

from ifdsweep import _core
from ifdsweep._core import File
from ifdsweep._types import Source


# A function of Python's own, so that pools of processes can be given it: those of an extension have
# no pickles.
def read(
    source: Source,
    *,
    offset: int | None = None,
    first: int = 0,
    max: int = 0,  # noqa: A002
    tags: str | Iterable[str | int] | None = None,
    max_value: int | None = None,
    reading: Literal["full", "contract"] = "full",
    read_budget: int | Literal["unlimited"] | None = None,
    value_budget: int | Literal["unlimited"] | None = None,
    streams: Literal["first", "all"] = "first",
    check: bool = False,
    name: str | None = None,
) -> File:
    """Reads one file.

    Damage never raises: what can be read is in the file, what went wrong in its
    ``warnings`` and ``error``.

    Args:
        source: a path (``str`` or ``os.PathLike``); the content itself (``bytes``, ``mmap`` or
            another object with a buffer, which is not copied); or a binary file object. One that
            can be positioned is read piece by piece and gets its position back, every other whole.
        offset: position of the TIFF stream in bytes. None: found, 0 or where the file's format has
            it.
        first: directories of the primary chain to skip.
        max: most directories of the primary chain to read; 0: all.
        tags: what is read, and nothing else: names in any case, patterns and numbers, as
            ``"Make,gps*,0x110"`` or one by one. None: everything.
        max_value: longest value that is loaded, in bytes. None: all are.
        reading: ``"full"``, or ``"contract"``: what the entry point of the module gives.
        read_budget: bytes that may be read. None: 256 KiB plus 8 times the file's size.
        value_budget: what the values may come to. None: 64 MiB plus 32 times the file's size.
        streams: ``"first"``, or ``"all"`` TIFF streams of a file that carries several.
        check: whether strips, tiles and JPEG data are checked.
        name: what a source that is no path is called. None: its own ``name``, else ``"<bytes>"`` or
            ``"<file>"``.

    Raises:
        OSError: the path does not exist or cannot be read; FileNotFoundError and so on, with
            ``filename``. What the methods of a file object raise comes through as it is.
        TypeError, ValueError: an argument is wrong, which the message names.
    """
    return _core.read(
        source,
        offset,
        first,
        max,
        tags,
        max_value,
        reading,
        read_budget,
        value_budget,
        streams,
        check,
        name,
    )
