"""Records that are put together from rows of the tables `files`, `images` and `tags` and of nothing
else: what a reader of the tables can know of a file.

A value comes from the column of its tag where `images` has one that is not null and that stands for
what the file stores, and from the row of its entry in `tags` otherwise.
"""

import base64
import itertools
import math
import re
import struct
from collections import defaultdict
from collections.abc import Iterable, Mapping, Sequence
from dataclasses import dataclass, field
from typing import Any

from designed_files import ASCII, LETTERS

Row = Mapping[str, Any]
Record = dict[str, Any]

BASE64_TAG, COLORMAP, DESCRIPTION, GRAY_UNIT, PROFILE, SAMPLE_FORMAT, XMP, BITS = (
    37724, 320, 270, 290, 34675, 339, 700, 258,
)  # fmt: skip
SIZES = {256: "Width", 257: "Height"}
POINTERS = {330: "SubIFDs", 34665: "DigitalCamera", 34853: "GPSInfo", 40965: "InteroperabilityIFD"}
# Field types that hold no position of a directory: ASCII, RATIONAL, SRATIONAL, FLOAT, DOUBLE.
NO_OFFSETS = {2, 5, 10, 11, 12}

# TIFF 6.0, section 19 and GrayResponseUnit: what codes of a list stand for.
SAMPLE_FORMATS = {
    1: "Unsigned integer",
    2: "Two's complement signed integer",
    3: "IEEE floating point",
    4: "Undefined",
    5: "Complex integer",
    6: "Complex IEEE floating point",
}
GRAY_UNITS: dict[float, float] = {1: 0.1, 2: 0.01, 3: 0.001, 4: 0.0001, 5: 0.00001}

# How the names of columns of `images` begin, by the kind of the directory whose values they have.
PREFIXES = {"exif": "Exif_", "gps": "", "interoperability": "Interop_"}


def rebuilt_records(
    file: Row, images: Iterable[Row], tags: Iterable[Row], start: int
) -> list[Record]:
    """The records of the primary chain of a stream.

    Args:
        file: the file's row of `files`.
        images: the stream's rows of `images`.
        tags: its rows of `tags`.
        start: position of the stream in the file.
    """
    chains = _Chains()
    for directory in reversed(directories(images, tags)):
        record = _Maker(file, directory, chains.below(directory.path), start).record()
        if record:
            chains.put(directory.path, record)
    return chains.below("").get("", [])


@dataclass
class Directory:
    """A directory: its entries, and what shows it in `images`."""

    rows: list[Row]
    image: Row | None = None
    """The row that is of this directory itself."""
    columns: list[tuple[Row, str]] = field(default_factory=list)
    """Rows with columns that have its values, and how the names of these columns begin."""

    @property
    def path(self) -> str:
        """The way to it, which directories may share where a pointer stands twice."""
        return str(self.rows[0]["dir_path"])


def directories(images: Iterable[Row], tags: Iterable[Row]) -> list[Directory]:
    """The directories of a stream in the order in which they began, which is that of the rows."""
    found: list[Directory] = []
    for row in tags:
        if row["ordinal"] == 0:
            found.append(Directory([]))
        found[-1].rows.append(row)
    rows = list(images)[::-1]
    latest: dict[str, Row] = {}
    for directory in found:
        if rows and _is_of(rows[-1], directory):
            directory.image = latest[directory.path] = rows.pop()
        directory.columns = _columns(directory, latest)
    assert not rows, rows[-1]
    return found


def _is_of(image: Row, directory: Directory) -> bool:
    """Whether the first entry stands behind the number of entries of the image's directory."""
    first = directory.rows[0]
    place = first["entry_offset"] - image["dir_offset"] if first["stored"] else 0
    return first["dir_kind"] == "primary" and place in (2, 8)


def _columns(directory: Directory, images: Mapping[str, Row]) -> list[tuple[Row, str]]:
    kind, image = directory.rows[0]["dir_kind"], directory.image
    if kind == "primary":
        # TIFF/EP has the tags of Exif in a primary directory.
        prefixes = ["", "Exif_"] if image and not image["exif_directories"] else [""]
        return [] if image is None else [(image, prefix) for prefix in prefixes]
    way = r"(.+?)(/DigitalCamera/0)?/(DigitalCamera|GPSInfo|InteroperabilityIFD)/0"
    first = re.fullmatch(way, directory.path)
    image = images.get(first[1]) if first and (not first[2] or kind[0] == "i") else None
    # Where a pointer stands twice, columns have its first directory and records its last.
    count = "gps_directories" if kind == "gps" else "exif_directories"
    return [] if image is None or image[count] > 1 else [(image, PREFIXES[kind])]


class _Chains:
    """Records of chains by the directory that leads to them and the pointer.

    They come from the last to the first; nested ones come before the one that they are of. Where
    a pointer stands twice, the last one counts.
    """

    def __init__(self) -> None:
        self._chains: dict[str, dict[str, list[Record]]] = defaultdict(dict)
        self._whole: dict[str, set[str]] = defaultdict(set)

    def put(self, path: str, record: Record) -> None:
        """Another record, by the way to its directory."""
        parent, pointer, number = ["", "", *path.rsplit("/", 2)][-3:]
        tag = pointer.partition("[")[0]
        if tag in self._whole[parent]:
            return
        self._chains[parent].setdefault(pointer, []).insert(0, record)
        if number == "0" and pointer in (tag, f"{tag}[0]"):
            self._whole[parent].add(tag)

    def below(self, path: str) -> dict[str, list[Record]]:
        """Takes what a directory leads to."""
        self._whole.pop(path, None)
        return self._chains.pop(path, {})


class _Maker:
    """Makes the record of a directory."""

    def __init__(
        self, file: Row, directory: Directory, chains: Mapping[str, list[Record]], start: int
    ) -> None:
        self.file = file
        self.directory = directory
        self.chains = chains
        self.start = start

    def record(self) -> Record:
        """The fields; none of a directory that is not kept."""
        rows, image = self.directory.rows, self.directory.image
        if rows[0]["dir_kind"] != "primary":
            return self._fields(rows)
        return {} if image is None else self._image_fields(image, rows) | self._fields(rows)

    def _image_fields(self, image: Row, rows: Sequence[Row]) -> Record:
        """What the record of an image has without an entry."""
        kept = [row for row in rows if row["warning_id"] is None]
        bits = next((_numbers(row) for row in reversed(kept) if row["tag"] == BITS), [])
        color = next((row for row in reversed(kept) if row["tag"] == 262 and _numbers(row)), None)
        fields: Record = {
            "Filename": self.file["file_path"],
            "FileModDate": self.file["mtime"].astimezone().strftime("%d-%b-%Y %H:%M:%S"),
            "FileSize": self.file["size"],
            "Format": self.file["format"],
            "BitDepth": _json(sum(bits)) if image["BitDepth"] is None else image["BitDepth"],
            "ColorType": image["ColorType"],
            "Width": 0,
            "Height": 0,
        }
        if fields["ColorType"] is None:
            fields["ColorType"] = -1 if color is None else _signed(_numbers(color)[0])
        if self.file["container"] is None:
            fields["ByteOrder"] = self.file["byte_order"]
            fields["FormatSignature"] = _signature(self.file)
            fields["Offset"] = image["dir_offset"]
        return fields

    def _fields(self, rows: Sequence[Row]) -> Record:
        fields: Record = {}
        unknown = []
        for row in rows:
            if row["warning_id"] is not None:
                continue
            tag, name = row["tag"], row["name"]
            if tag in SIZES:
                if row["dir_kind"] == "primary" and (numbers := self._numbers(row)):
                    fields[SIZES[tag]] = _json(numbers[0])
            elif tag in POINTERS and (not row["count"] or row["type"] not in NO_OFFSETS):
                if nested := self._nested(name):
                    fields[name] = nested
            elif name is None or tag in POINTERS:
                unknown.append(self._unknown(row))
            else:
                fields[name] = self._value(row)
        if unknown:
            fields["UnknownTags"] = unknown
        return fields

    def _nested(self, name: str) -> Any:
        """Of a pointer the first chain, of SubIFDs all of them."""
        if name != "SubIFDs":
            return self.chains.get(name)
        chains = (self.chains.get(f"{name}[{number}]") for number in itertools.count())
        return list(itertools.takewhile(bool, chains))

    def _unknown(self, row: Row) -> Record:
        value: Any = _one_or_all([_json(number) for number in _numbers(row)])
        if row["type"] == ASCII and row["count"]:
            value = row["text"].split("\0")[0]
        return {"ID": row["tag"], "Offset": self._offset(row), "Value": value}

    def _offset(self, row: Row) -> int:
        return 0 if row["value_offset"] is None else row["value_offset"] - self.start

    def _value(self, row: Row) -> Any:
        """The value of a field; None without one."""
        tag = row["tag"]
        of_tiff = row["dir_kind"] in ("primary", "exif")
        if of_tiff and tag == PROFILE and row["count"] and row["type"] != ASCII:
            return self._offset(row)
        if tag == BASE64_TAG:
            return base64.b64encode(_bytes(row)[: row["count"]]).decode()
        if tag == COLORMAP:
            return _colors(self._numbers(row))
        if tag == SAMPLE_FORMAT and len(numbers := self._numbers(row)) != 1:
            return [SAMPLE_FORMATS.get(_low_bits(number, 16), "unknown") for number in numbers]
        if row["value_name"] is not None:
            return self._column(row, str) or row["value_name"]
        if of_tiff and tag == XMP and row["type"] != ASCII and row["count"]:
            return _text(bytes(_low_bits(number, 8) for number in _numbers(row)))
        if row["type"] == ASCII:
            return self._text_of(row) if row["count"] else None
        numbers = self._numbers(row)
        if of_tiff and tag == GRAY_UNIT and row["stored"]:
            numbers[:1] = [GRAY_UNITS.get(number, number) for number in numbers[:1]]
        return _one_or_all([_json(number) for number in numbers]) if numbers else None

    def _text_of(self, row: Row) -> str | None:
        if row["tag"] != DESCRIPTION or row["dir_kind"] not in ("primary", "exif"):
            text: str | None = self._column(row, str) or row["text"]
            return text
        # Its last character is the NUL that ends it, and goes whatever it is.
        return _text(_bytes(row)[: row["count"] - 1]) if row["count"] > 1 else None

    def _numbers(self, row: Row) -> list[float]:
        number = self._column(row, int | float)
        if number is not None:
            return [float(number)]
        numbers = self._column(row, list)
        return [float(each) for each in numbers] if numbers else _numbers(row)

    def _column(self, row: Row, form: Any) -> Any:
        """What the column of a tag in `images` has, if it has it in a form; else None."""
        for image, prefix in self.directory.columns:
            value = image.get(prefix + (SIZES.get(row["tag"]) or row["name"] or ""))
            if isinstance(value, form) and not (isinstance(value, list) and None in value):
                return value
        return None


def _signature(file: Row) -> list[int]:
    """The byte order mark; no table has the version word behind it."""
    return list(b"II" if file["byte_order"] == "little-endian" else b"MM")


def _numbers(row: Row) -> list[float]:
    """The numbers of an entry as doubles; none of one that is a text."""
    return [float(number) for number in _exact(row)]


def _exact(row: Row) -> list[Any]:
    """The numbers as they are stored."""
    if row["rationals"] is not None:
        pairs = [(item["num"], item["den"]) for item in row["rationals"]]
        return [top / bottom if bottom else math.nan for top, bottom in pairs]
    if row["text"] is not None and row["type"] != ASCII:
        return [int(digits) for digits in row["text"].split(" ")]
    if row["bytes"] is not None and row["type"] != ASCII:
        return list(row["bytes"])
    return list(row["ints"] or row["floats"] or [])


def _bytes(row: Row) -> bytes:
    """The bytes of an entry as they lie in memory."""
    if row["bytes"] is not None:
        return bytes(row["bytes"])
    if row["type"] == ASCII:
        return bytes(row["text"], "utf-8").ljust(row["count"], b"\0")
    items: list[tuple[Any, ...]] = [(pair["num"], pair["den"]) for pair in row["rationals"] or ()]
    items = items or [(number,) for number in _exact(row)]
    return b"".join(struct.pack("<" + LETTERS[row["type"]], *item) for item in items)


def _text(content: bytes) -> str:
    content = content.rstrip(b"\0")
    try:
        return content.decode()
    except UnicodeDecodeError:
        one = (bytes([byte]) for byte in content)
        return "".join(_windows_1252(byte) for byte in one)


def _windows_1252(byte: bytes) -> str:
    """A character; what has none there is a control of the same number."""
    try:
        return byte.decode("cp1252")
    except UnicodeDecodeError:
        return byte.decode("latin-1")


def _colors(numbers: Sequence[float]) -> Any:
    """Reds, greens and blues as rows of three shares."""
    size = len(numbers) // 3
    return _one_or_all(
        [[_json(numbers[row + size * color] / 65535) for color in range(3)] for row in range(size)]
    )


def _signed(number: float) -> int:
    """A number as a signed one of 32 bits; the least one where it is none."""
    return int(number) if abs(number) < 1 << 31 else -1 << 31


def _low_bits(number: float, bits: int) -> int:
    """The lowest bits of the whole part; 0 of what has none."""
    return int(number) & (1 << bits) - 1 if math.isfinite(number) else 0


def _one_or_all(items: list[Any]) -> Any:
    return items[0] if len(items) == 1 else items


def _json(number: float) -> float | None:
    """A number as JSON has it."""
    return number if math.isfinite(number) else None
