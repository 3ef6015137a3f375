"""Catalogues: what is in the images of whole archives, as Parquet files that are kept up to date.

>>> from ifdsweep.catalogue import Catalogue
>>> catalogue = Catalogue.create("photos.catalogue", ["/archive/photos"])  # doctest: +SKIP
>>> catalogue.update()  # doctest: +SKIP
>>> catalogue.sql("select Make, count(*) from images group by Make")  # doctest: +SKIP

Needs pyarrow; `Catalogue.sql` and `ifdsweep-catalogue sql` need DuckDB: `pip install
'ifdsweep[catalogue]'`.
"""

import ifdsweep.catalogue._memory  # noqa: F401  # before anything else imports pyarrow
from ifdsweep.catalogue._catalogue import Catalogue
from ifdsweep.catalogue._errors import (
    CatalogueBusyError,
    CatalogueError,
    TooManyRemovalsError,
)
from ifdsweep.catalogue._model import Options, Snapshot, Summary, Unlisted

__all__ = [
    "Catalogue",
    "CatalogueBusyError",
    "CatalogueError",
    "Options",
    "Snapshot",
    "Summary",
    "TooManyRemovalsError",
    "Unlisted",
]
