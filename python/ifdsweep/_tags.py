"""The names that fields can have."""

from typing import NamedTuple

from ifdsweep import _core


class TagName(NamedTuple):
    """A name of a field."""

    number: int | None
    """The tag; None for a field that is no tag."""
    name: str
    dictionary: str
    """``"TIFF"``, ``"GPS"``, ``"Interoperability"`` or ``"record"``."""
    alias: str
    """Another name of the tag, or an empty text."""


def tags() -> tuple[TagName, ...]:
    """Every name: fields that are no tag, then each dictionary by its numbers."""
    return tuple(TagName(*name) for name in _core.tag_names())
