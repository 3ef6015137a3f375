"""What goes wrong with a catalogue, each with a text for its user; the last snapshot stays."""


class CatalogueError(Exception):
    """A catalogue cannot be made, opened, read or brought up to date."""


class CatalogueBusyError(CatalogueError):
    """Another update is at work, or was quicker; nothing was changed."""


class TooManyRemovalsError(CatalogueError):
    """An update would drop more than a fifth of the files, and was not told that it may."""
