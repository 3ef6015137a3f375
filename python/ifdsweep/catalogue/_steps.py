"""Named steps of an update, in the order in which they happen: where tests look, or pull the plug.

planned items-written plan-written                              once
attempt-begun attempt-written receipt-written                   for each partition
parts-moved snapshot-prepared snapshot-written work-removed     once
"""

from collections.abc import Callable

observer: Callable[[str], None] | None = None
"""Is told of each step; None: nobody is."""


def reached(step: str) -> None:
    """Tells that a step is done."""
    if observer is not None:
        observer(step)
