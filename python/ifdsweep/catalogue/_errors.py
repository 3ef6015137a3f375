"""What goes wrong with a catalogue, each with a text for its user; the last snapshot stays."""

import contextlib
from collections.abc import Iterator


class CatalogueError(Exception):
    """A catalogue cannot be made, opened, read or brought up to date."""


class CatalogueBusyError(CatalogueError):
    """Another update is at work, or was quicker; nothing was changed."""


class TooManyRemovalsError(CatalogueError):
    """An update would drop more than a fifth of the files, and was not told that it may."""


@contextlib.contextmanager
def explained(place: str) -> Iterator[None]:
    """What the system refuses in a block, as a CatalogueError that names the place."""
    try:
        yield
    except OSError as error:
        raise CatalogueError(f"{place}: {error}") from error
