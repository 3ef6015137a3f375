"""Files made to try every kind of value and damage, and mutations of any files."""

import random
import struct
import zlib
from collections.abc import Iterator, Sequence
from dataclasses import dataclass

BYTE, ASCII, SHORT, LONG, RATIONAL, SBYTE, UNDEFINED = 1, 2, 3, 4, 5, 6, 7
SSHORT, SLONG, SRATIONAL, FLOAT, DOUBLE, IFD, LONG8, SLONG8, IFD8 = 8, 9, 10, 11, 12, 13, 16, 17, 18

LETTERS = {
    BYTE: "B",
    SHORT: "H",
    LONG: "I",
    RATIONAL: "II",
    SBYTE: "b",
    SSHORT: "h",
    SLONG: "i",
    SRATIONAL: "ii",
    FLOAT: "f",
    DOUBLE: "d",
    IFD: "I",
    LONG8: "Q",
    SLONG8: "q",
    IFD8: "Q",
}


@dataclass(frozen=True)
class Field:
    """An entry: bytes for ASCII and UNDEFINED or any raw value, numbers, or chains of directories.

    A count other than that of the value is a lie.
    """

    tag: int
    type: int
    value: "bytes | Sequence[int | float] | Sequence[Chain]"
    count: int | None = None


Chain = Sequence[Sequence[Field]]


@dataclass(frozen=True)
class Layout:
    """Byte order and classic or BigTIFF."""

    order: str = "<"
    is_big: bool = False

    def offset(self, number: int) -> bytes:
        """An offset as the layout stores it."""
        return struct.pack(self.order + ("Q" if self.is_big else "I"), number)


LAYOUTS = [Layout(order, is_big) for is_big in (False, True) for order in "<>"]


def tiff(chain: Chain, layout: Layout = LAYOUTS[0]) -> bytes:
    """A TIFF file with the chain, and what its directories lead to."""
    mark = b"II" if layout.order == "<" else b"MM"
    version = struct.pack(
        layout.order + ("HHH" if layout.is_big else "H"), *((43, 8, 0) if layout.is_big else (42,))
    )
    data = bytearray(mark + version)
    link = len(data)
    data += layout.offset(0)
    first = _append_chain(data, chain, layout)
    data[link : link + len(layout.offset(0))] = layout.offset(first)
    return bytes(data)


def _append_chain(data: bytearray, chain: Chain, layout: Layout) -> int:
    """Appends the directories of a chain; returns the position of the first, 0 for none."""
    first = 0
    link = None
    for fields in chain:
        position, next_link = _append_directory(data, fields, layout)
        if link is None:
            first = position
        else:
            data[link : link + len(layout.offset(0))] = layout.offset(position)
        link = next_link
    return first


def _append_directory(data: bytearray, fields: Sequence[Field], layout: Layout) -> tuple[int, int]:
    """Appends what the entries lead to, then the table; returns where it and its link are."""
    room = 8 if layout.is_big else 4
    table = bytearray()
    for field in fields:
        stored, count = _stored(data, field, layout)
        if len(stored) > room:
            data += bytes(len(data) % 2)
            place = layout.offset(len(data))
            data += stored
        else:
            place = stored.ljust(room, b"\0")
        count = count if field.count is None else field.count
        table += struct.pack(layout.order + "HH", field.tag, field.type)
        table += layout.offset(count & (2 ** (8 * room) - 1)) + place
    data += bytes(len(data) % 2)
    position = len(data)
    data += struct.pack(layout.order + ("Q" if layout.is_big else "H"), len(fields))
    data += table
    link = len(data)
    data += layout.offset(0)
    return position, link


def _stored(data: bytearray, field: Field, layout: Layout) -> tuple[bytes, int]:
    """The bytes of a value and the count that is true of them."""
    if isinstance(field.value, bytes):
        return field.value, len(field.value)
    numbers: list[int | float] = []
    for item in field.value:
        if isinstance(item, int | float):
            numbers.append(item)
        else:
            numbers.append(_append_chain(data, item, layout))
    letters = LETTERS.get(field.type, "B")
    stored = struct.pack(layout.order + letters[0] * len(numbers), *numbers)
    return stored, len(numbers) // len(letters)


def jpeg(stream: bytes) -> bytes:
    """A JPEG file with an Exif segment."""
    exif = b"Exif\0\0" + stream
    head = struct.pack(">H", len(exif) + 2) + exif
    return b"\xff\xd8\xff\xe1" + head + b"\xff\xda\0\2picture\xff\xd9"


def png(*streams: bytes) -> bytes:
    """A PNG file with an eXIf chunk for each stream."""
    header = struct.pack(">IIBBBBB", 1, 1, 8, 0, 0, 0, 0)
    data = bytearray(b"\x89PNG\r\n\x1a\n")
    chunks = [(b"IHDR", header), *((b"eXIf", stream) for stream in streams), (b"IEND", b"")]
    for name, content in chunks:
        checked = name + content
        data += struct.pack(">I", len(content)) + checked + struct.pack(">I", zlib.crc32(checked))
    return bytes(data)


IMAGE = [
    Field(254, LONG, [0]),
    Field(256, SHORT, [40]),
    Field(257, LONG, [30]),
    Field(258, SHORT, [8, 8, 8]),
    Field(259, SHORT, [32773]),
    Field(262, SHORT, [2]),
    Field(270, ASCII, b"a chart\0"),
    Field(273, LONG, [8, 16, 24]),
    Field(277, SHORT, [3]),
    Field(279, LONG, [8, 8, 8]),
    Field(282, RATIONAL, [72, 1]),
    Field(283, RATIONAL, [72009, 1994]),
    Field(306, ASCII, b"2024:05:17 09:30:00\0"),
]
INTEROP = [Field(1, ASCII, b"R98\0"), Field(2, UNDEFINED, b"0100")]
EXIF = [
    Field(33434, RATIONAL, [1, 250]),
    Field(33437, RATIONAL, [28, 0]),
    Field(34850, SHORT, [2]),
    Field(36864, UNDEFINED, b"0230"),
    Field(36867, ASCII, b"2024:05:17 09:30:00\0"),
    Field(37380, SRATIONAL, [-1, 3]),
    Field(37383, SHORT, [5]),
    Field(37500, UNDEFINED, bytes(range(60))),
    Field(37510, UNDEFINED, b"ASCII\0\0\0by hand"),
    Field(40965, LONG, [[INTEROP]]),
    Field(42036, ASCII, b"a lens\0"),
]
GPS = [
    Field(0, BYTE, [2, 3, 0, 0]),
    Field(1, ASCII, b"N\0"),
    Field(2, RATIONAL, [51, 1, 30, 1, 1213, 100]),
    Field(3, ASCII, b"W\0"),
    Field(4, RATIONAL, [2, 1, 14, 1, 0, 0]),
    Field(29, ASCII, b"2024:05:17\0"),
]
PHOTOGRAPH = [*IMAGE, Field(34665, LONG, [[EXIF]]), Field(34853, LONG, [[GPS]])]

_NUMBERS: dict[int, list[int | float]] = {
    BYTE: [0, 255, 7],
    SHORT: [0, 65535, 7],
    LONG: [0, 2**32 - 1, 7],
    RATIONAL: [1, 3, 0, 0, 7, 0, 2**32 - 1, 1],
    SBYTE: [0, -128, 127],
    SSHORT: [0, -32768, 32767],
    SLONG: [0, -(2**31), 2**31 - 1],
    SRATIONAL: [-1, 3, 0, 0, 7, 0, -(2**31), -1],
    FLOAT: [0.0, -0.0, 0.1, 3e38, float("inf"), float("nan"), 16777216.0],
    DOUBLE: [0.0, -0.0, 0.1, 5e-324, 1e300, float("-inf"), float("nan"), 2.0**60],
    IFD: [0, 2**32 - 1, 8],
    LONG8: [0, 2**64 - 1, 2**53 + 1],
    SLONG8: [0, -(2**63), 2**63 - 1, -(2**53) - 1],
    IFD8: [0, 2**64 - 1, 8],
}
# Tags that want something else than what they get: texts, one number, several, tables, codes.
_VARIED = [254, 256, 257, 258, 259, 262, 269, 271, 273, 279, 282, 296, 301, 306, 318, 320, 339]
_VARIED += [340, 342, 529, 532, 700, 33421, 33432, 33723, 34377, 34675, 37724, 50706, 65000]

_TEXTS = [
    b"",
    b"\0",
    b"plain\0",
    b"no end",
    b"two\0texts\0",
    b"trailing\0\0\0",
    "gr\u00fc\u00dfe \U0001f600\0".encode(),
    b"latin \xe9\xff\0",
    b"\xf0\x9f\x98\0",
    b"\xed\xa0\x80\0",
    b"<b>&\"'\x1b[2J\x07\r\n\t\\\0",
    "\u202eback\u200bwards\ufeff\0".encode(),
]


def designed_files() -> dict[str, bytes]:
    """Names and contents."""
    files: dict[str, bytes] = {}
    for layout in LAYOUTS:
        kind = f"{'big' if layout.is_big else 'classic'}_{'ab'[layout.order == '>']}"
        for name, chain in _chains():
            files[f"{kind}_{name}.tif"] = tiff(chain, layout)
    whole = tiff([PHOTOGRAPH, IMAGE])
    other = tiff([[Field(271, ASCII, b"Maker\0")]], LAYOUTS[1])
    files |= {
        "photograph.jpg": jpeg(whole),
        "photograph.png": png(whole),
        "several.png": png(whole, other, b"II*\0"),
        "none.png": png(),
        "none.jpg": b"\xff\xd8\xff\xda\0\2\xff\xd9",
        "empty.tif": b"",
        "text.tif": b"Dear reader, this is no image.\n",
        "header.tif": b"II*\0",
        "far.tif": b"MM\0*\xff\xff\xff\xff",
        "raw.rw2": b"IIU\0" + whole[4:],
    }
    for length in range(9, len(whole), 211):
        files[f"cut_{length:04}.tif"] = whole[:length]
    return files


def _chains() -> Iterator[tuple[str, Chain]]:
    """Chains of directories, by what they try."""
    yield "photograph", [PHOTOGRAPH, IMAGE]
    yield "nothing", [[]]
    yield "subifds", [[Field(330, LONG, [[IMAGE, IMAGE], [IMAGE[:4]]]), Field(256, SHORT, [7])]]
    deep: Sequence[Field] = IMAGE
    for _ in range(5):
        deep = [Field(256, SHORT, [1]), Field(330, LONG, [[deep]])]
    yield "deep", [deep]
    yield "two_exifs", [[Field(34665, LONG, [[EXIF], [EXIF[:3]]]), Field(34665, LONG, [[GPS]])]]
    yield "cycle", [[Field(330, LONG, [8]), Field(34665, LONG, [16])]]
    yield (
        "pointers",
        [[Field(34853, BYTE, [1, 2]), Field(34665, FLOAT, [8.0]), Field(330, LONG, [0, 2**31])]],
    )
    for number in LETTERS:
        values = _NUMBERS[number]
        one = len(LETTERS[number])
        yield f"one_{number}", [[Field(tag, number, values[-one:]) for tag in _VARIED]]
        yield f"some_{number}", [[Field(tag, number, values) for tag in _VARIED]]
        yield f"none_{number}", [[Field(tag, number, []) for tag in _VARIED]]
    for number, text in enumerate(_TEXTS):
        for kind in (ASCII, UNDEFINED, BYTE):
            yield f"text_{number}_{kind}", [[Field(tag, kind, text) for tag in _VARIED]]
    yield "untyped", [[Field(256, 0, b"\1"), Field(257, 14, b"\1\2"), Field(65000, 99, b"abcd")]]
    yield (
        "counts",
        [
            [
                Field(256, SHORT, [1], 2**31),
                Field(258, SHORT, [8, 8, 8], 2**40),
                Field(273, LONG, [1, 2], 5),
            ]
        ],
    )
    yield (
        "twice",
        [
            [
                Field(256, SHORT, [1]),
                Field(256, LONG, [2]),
                Field(259, SHORT, [5]),
                Field(259, SHORT, [77]),
            ]
        ],
    )
    yield "unsorted", [list(reversed(PHOTOGRAPH))]
    yield (
        "codes",
        [
            [
                Field(tag, SHORT, [code])
                for code in (0, 1, 8, 5000)
                for tag in (259, 262, 266, 274, 284, 290, 296, 338, 339, 41486, 37383)
            ]
        ],
    )
    yield (
        "tables",
        [
            [
                Field(258, SHORT, [2]),
                Field(262, SHORT, [3]),
                Field(320, SHORT, list(range(12))),
                Field(301, SHORT, list(range(12))),
                Field(529, RATIONAL, [1, 2] * 3),
                Field(532, RATIONAL, [0, 1, 255, 1] * 3),
                Field(318, RATIONAL, [3127, 10000, 329, 1000]),
            ]
        ],
    )
    yield (
        "unknown",
        [
            [Field(60000 + n, kind, values) for n, (kind, values) in enumerate(_NUMBERS.items())]
            + [Field(61000 + n, ASCII, text) for n, text in enumerate(_TEXTS)]
        ],
    )


_EXTREMES = [0, 1, 2, 3, 4, 7, 8, 42, 43, 255, 256, 330, 34665, 34853, 65535, 2**31, 2**32 - 1]


def mutate(data: bytes, seed: int) -> bytes:
    """The data with a few changes; the same for the same seed."""
    chance = random.Random(seed)
    mutated = bytearray(data)
    for _ in range(chance.choice((1, 1, 2, 3, 8))):
        if not mutated:
            break
        place = chance.randrange(len(mutated))
        match chance.randrange(6):
            case 0:
                mutated[place] ^= 1 << chance.randrange(8)
            case 1:
                mutated[place] = chance.randrange(256)
            case 2 | 3:
                width = chance.choice((2, 4, 8))
                number = chance.choice(_EXTREMES) & (2 ** (8 * width) - 1)
                word = number.to_bytes(width, chance.choice(("little", "big")))
                place -= place % 2
                mutated[place : place + width] = word[: len(mutated) - place]
            case 4:
                other = chance.randrange(len(mutated))
                length = chance.randrange(1, 25)
                mutated[place : place + length] = mutated[other : other + length]
            case _:
                del mutated[max(place, 8) :]
    return bytes(mutated)
