"""The files that documents show: a small archive of photographs, scans and images of science."""

from collections.abc import Mapping, Sequence
from pathlib import Path

import designed_files
from designed_files import ASCII, LONG, RATIONAL, SHORT, UNDEFINED, Field

# What is written for a tag: a text, bytes, integers, fractions, or directories that it leads to.
Stored = str | bytes | Sequence["int | tuple[int, int] | Fields"]
Fields = Mapping[int, Stored]

WIDTH, LENGTH, BITS, COMPRESSION, PHOTOMETRIC = 256, 257, 258, 259, 262
NEW_SUBFILE_TYPE, DESCRIPTION, MAKE, MODEL, STRIP_OFFSETS = 254, 270, 271, 272, 273
SAMPLES, ROWS_PER_STRIP, STRIP_BYTE_COUNTS = 277, 278, 279
X_RESOLUTION, Y_RESOLUTION, RESOLUTION_UNIT, SOFTWARE, DATE_TIME = 282, 283, 296, 305, 306
TILE_WIDTH, TILE_LENGTH, TILE_OFFSETS, TILE_BYTE_COUNTS, SUB_IFDS = 322, 323, 324, 325, 330
EXIF, GPS = 34665, 34853
EXPOSURE_TIME, F_NUMBER, TAKEN, FOCAL_LENGTH, LENS_MODEL = 33434, 33437, 36867, 37386, 42036
GPS_VERSION, LATITUDE_REF, LATITUDE, LONGITUDE_REF, LONGITUDE = 0, 1, 2, 3, 4

_SHORTS = {BITS, COMPRESSION, PHOTOMETRIC, SAMPLES, RESOLUTION_UNIT}


def _field(tag: int, value: Stored) -> Field:
    """The entry of a value; numbers are LONG, where the tag does not take SHORT alone."""
    if isinstance(value, str):
        return Field(tag, ASCII, value.encode() + b"\0")
    if isinstance(value, bytes):
        return Field(tag, UNDEFINED, value)
    if isinstance(value[0], Mapping):
        return Field(tag, LONG, [[_directory(item)] for item in value if isinstance(item, Mapping)])
    if isinstance(value[0], tuple):
        parts = [part for item in value if isinstance(item, tuple) for part in item]
        return Field(tag, RATIONAL, parts)
    numbers = [item for item in value if isinstance(item, int)]
    return Field(tag, SHORT if tag in _SHORTS else LONG, numbers)


def _directory(fields: Fields) -> list[Field]:
    return [_field(tag, value) for tag, value in sorted(fields.items())]


def tiff(*directories: Fields) -> bytes:
    """A little-endian TIFF file with a chain of directories."""
    return designed_files.tiff([_directory(fields) for fields in directories])


def _photograph(
    model: str, taken: str, focal_length: int, position: tuple[str, str] | None = None
) -> bytes:
    fields: dict[int, Stored] = {
        MAKE: "Example Optics",
        MODEL: model,
        EXIF: [
            {
                EXPOSURE_TIME: [(1, 125)],
                F_NUMBER: [(56, 10)],
                TAKEN: taken,
                FOCAL_LENGTH: [(focal_length * 10, 10)],
                LENS_MODEL: "Prime 50" if focal_length == 50 else "Kit",
            }
        ],
    }
    # A camera that did not find where it was writes no more than the version.
    place: dict[int, Stored] = {GPS_VERSION: b"\2\3\0\0"}
    if position is not None:
        place |= {
            LATITUDE_REF: "N",
            LATITUDE: _angle(position[0]),
            LONGITUDE_REF: "W",
            LONGITUDE: _angle(position[1]),
        }
    return designed_files.jpeg(tiff({**fields, GPS: [place]}))


def _angle(text: str) -> list[tuple[int, int]]:
    """Degrees, minutes and hundredths of seconds of a text such as "51 30 12.13"."""
    degrees, minutes, seconds = text.split()
    return [(int(degrees), 1), (int(minutes), 1), (round(float(seconds) * 100), 100)]


def _scan(software: str, date: str, resolution: int) -> dict[int, Stored]:
    return {
        WIDTH: [2480],
        LENGTH: [3508],
        BITS: [8],
        COMPRESSION: [8],
        PHOTOMETRIC: [1],
        STRIP_OFFSETS: [8],
        SAMPLES: [1],
        ROWS_PER_STRIP: [3508],
        STRIP_BYTE_COUNTS: [64],
        X_RESOLUTION: [(resolution, 1)],
        Y_RESOLUTION: [(resolution, 1)],
        RESOLUTION_UNIT: [2],
        SOFTWARE: software,
        DATE_TIME: date,
    }


def _level(width: int, length: int, tile: int) -> dict[int, Stored]:
    tiles = -(-width // tile) * -(-length // tile)
    return {
        NEW_SUBFILE_TYPE: [1],
        WIDTH: [width],
        LENGTH: [length],
        BITS: [8],
        COMPRESSION: [8],
        PHOTOMETRIC: [1],
        SAMPLES: [1],
        TILE_WIDTH: [tile],
        TILE_LENGTH: [tile],
        TILE_OFFSETS: [8] * tiles,
        TILE_BYTE_COUNTS: [4] * tiles,
    }


def _pyramid() -> bytes:
    levels = [_level(4096 >> level, 3072 >> level, 256) for level in range(5)]
    whole: Fields = {
        NEW_SUBFILE_TYPE: [0],
        DESCRIPTION: "A section of a root",
        SUB_IFDS: levels[1:],
    }
    return tiff({**levels[0], **whole})


def write_archive(folder: Path) -> None:
    """Writes the archive below a folder."""
    scan = tiff(_scan("scanner 1.2", "2019:11:05 14:03:22", 300))
    files = {
        "photos/2023/heron.jpg": _photograph(
            "Trail 2", "2023:05:02 06:12:40", 300, ("51 30 12.13", "2 14 42")
        ),
        "photos/2023/marsh.jpg": _photograph(
            "Trail 2", "2023:05:02 07:01:09", 35, ("51 30 30", "2 14 15")
        ),
        "photos/2024/quarry.jpg": _photograph(
            "Field One", "2024:03:02 11:20:31", 50, ("50 45 21", "3 1 9")
        ),
        "photos/2024/tower.jpg": _photograph("Field One", "2024:06:21 21:48:00", 24),
        "photos/2024/workshop.jpg": _photograph("Field One", "2024:09:12 15:30:11", 50),
        "scans/cut_short.tif": scan[:-70],
        "scans/page_1.tif": scan,
        # Its resolution is a text.
        "scans/odd.tif": tiff(
            {**_scan("scanner 0.9", "1998:01:30 16:20:00", 300), X_RESOLUTION: "?"}
        ),
        "scans/page_1_again.tif": tiff(_scan("scanner 2.0", "2024:02:28 10:11:12", 400)),
        "scans/cut_start.tif": scan[:6],
        "science/root.tif": _pyramid(),
    }
    for name, data in files.items():
        path = folder / name
        path.parent.mkdir(parents=True, exist_ok=True)
        path.write_bytes(data)
