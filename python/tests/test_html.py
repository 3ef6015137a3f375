"""Tables for notebooks, parsed as a browser would."""

import re
import unicodedata
from html.parser import HTMLParser
from pathlib import Path

import document_files as files
import pytest

import ifdsweep
from ifdsweep import _html

PROJECT = Path(__file__).resolve().parents[2]

# All that a page is made of.
ELEMENTS = {
    "div",
    "p",
    "ul",
    "li",
    "details",
    "summary",
    "table",
    "thead",
    "tbody",
    "tr",
    "th",
    "td",
}
ATTRIBUTES = {("open", None), ("style", "text-align: left")}

HOSTILE = [
    "<script>alert(1)</script>",
    '"><img src=x onerror=alert(1)>',
    "</td></tr></table></details></div><h1>",
    "<!-- ",
    "]]><style>*{display:none}</style>",
    "&lt;b&gt; &#x3c;b&#x3e;",
    "javascript:alert(1)",
    "evil\u202egpj.exe",
    "\x1b[2J\x9b31m\x01\x7f\r\n\t",
    "zero\u200bwidth \u2066isolate\u2069 \U000e0041",
    r"back\slash",
]


class Page(HTMLParser):
    """Elements, attributes and texts of a page; every element must be ended."""

    def __init__(self, page: str) -> None:
        super().__init__(convert_charrefs=True)
        self.elements: set[str] = set()
        self.attributes: set[tuple[str, str | None]] = set()
        self.texts: list[tuple[str, str]] = []
        self._open: list[str] = []
        self.feed(page)
        self.close()
        assert not self._open

    def handle_starttag(self, tag: str, attrs: list[tuple[str, str | None]]) -> None:
        self._open.append(tag)
        self.elements.add(tag)
        self.attributes.update(attrs)

    def handle_endtag(self, tag: str) -> None:
        assert self._open.pop() == tag

    def handle_data(self, data: str) -> None:
        self.texts.append((self._open[-1], data))

    def handle_comment(self, data: str) -> None:
        pytest.fail(f"a comment: {data}")

    def handle_decl(self, decl: str) -> None:
        pytest.fail(f"a declaration: {decl}")

    def of(self, element: str) -> list[str]:
        """The texts of all elements of a kind."""
        return [text for inside, text in self.texts if inside == element]


def visible(text: str) -> str:
    """The text as the program's text format has it."""
    short = {"\\": "\\\\", "\n": "\\n", "\r": "\\r", "\t": "\\t"}

    def shown(character: str) -> str:
        code = ord(character)
        if character in short:
            return short[character]
        if unicodedata.category(character) not in {"Cc", "Cf", "Zl", "Zp"}:
            return character
        return (
            f"\\x{code:02x}"
            if code < 0x80
            else f"\\u{code:04x}"
            if code < 0x10000
            else (f"\\U{code:08x}")
        )

    return "".join(map(shown, text))


@pytest.mark.parametrize("text", HOSTILE)
def test_a_hostile_text_stands_in_its_cell_and_nowhere_else(text: str) -> None:
    data = files.tiff({files.DESCRIPTION: text, files.MAKE: "Example Optics", 65000: text})
    page = Page(file_page := _html.file_html(ifdsweep.read(data)))
    assert page.elements <= ELEMENTS
    assert page.attributes <= ATTRIBUTES
    cells = page.of("td")
    assert cells[cells.index("ImageDescription") + 1] == visible(text)
    assert cells[cells.index("Make") + 1] == "Example Optics"
    assert not [c for c in file_page if unicodedata.category(c) in {"Cc", "Cf", "Zl", "Zp"}]


@pytest.mark.parametrize("name", HOSTILE)
def test_a_hostile_name_of_a_file_is_text(name: str) -> None:
    for data in (files.tiff({files.MAKE: "Example Optics"}), b"II*\0", b"no image"):
        text = _html.file_html(ifdsweep.read(data, name=name))
        page = Page(text)
        assert page.elements <= ELEMENTS
        assert page.attributes <= ATTRIBUTES
        assert visible(name).replace("\\\\", "\\") in page.of("p")[0].replace("\\\\", "\\")
        assert not [c for c in text if unicodedata.category(c) in {"Cc", "Cf", "Zl", "Zp"}]


def test_the_hidden_characters_are_those_of_the_program() -> None:
    source = (PROJECT / "src/text/hidden_characters.cpp").read_text(encoding="utf-8")
    ranges = [
        range(int(first, 16), int(last, 16) + 1)
        for first, last in re.findall(r"Range\{0x(\w+), 0x(\w+)\}", source)
    ]
    assert len(ranges) > 20
    of_program = set(range(0x20)).union(*ranges, range(0xD800, 0xE000))
    assert {code for code in range(0x110000) if _html._HIDDEN.match(chr(code))} == of_program


def test_directories_unfold_below_the_one_that_leads_to_them() -> None:
    page = Page(_html.file_html(ifdsweep.read(PROJECT / "samples/big_pages.tif")))
    summaries = [text.partition(":")[0] for text in page.of("summary")]
    assert summaries == [
        "Directory 0",
        "Directory 0/DigitalCamera/0",
        "Directory 0/GPSInfo/0",
        "Directory 1",
    ]
    below = Page(_html.directory_html(ifdsweep.read(PROJECT / "samples/big_pages.tif")[1]))
    assert [text.partition(":")[0] for text in below.of("summary")] == ["Directory 1"]


def test_warnings_and_errors_stand_first() -> None:
    page = Page(_html.file_html(ifdsweep.read(PROJECT / "samples/damaged.tif")))
    assert page.of("li") == [
        "warning in 0, tag 271: the value of tag 271, 15 bytes, reaches past the end of the file"
        " (tagDataPastEOF)",
        "warning in 0: the next directory is at position 1048576, at or past the end of the file"
        " (nextIfdPointerOutOfRange)",
    ]
    page = Page(_html.file_html(ifdsweep.read(b"II*\0")))
    assert page.of("li") == ["error: the file ends inside the TIFF header (tiffHeaderReadFailure)"]


def test_a_value_has_beside_it_how_it_is_stored() -> None:
    page = Page(_html.file_html(ifdsweep.read(PROJECT / "samples/rgb_strips.tif")))
    cells = page.of("td")
    place = cells.index("Compression")
    assert cells[place : place + 3] == ["Compression", "PackBits", "SHORT 32773"]
    place = cells.index("Height")
    assert cells[place : place + 3] == ["Height", "48", "SHORT"]
    place = cells.index("StripOffsets")
    assert cells[place : place + 3] == ["StripOffsets", "8, 72, 136", "LONG[3]"]
    place = cells.index("FillOrder")
    assert cells[place : place + 3] == ["FillOrder", "1", "default"]


def test_fields_of_other_directories_are_left_out() -> None:
    photo = ifdsweep.read(PROJECT / "samples/exif.jpg")
    assert "Make" in photo[1]
    assert "Make" in Page(_html.directory_html(photo[0])).of("td")
    assert "Make" not in Page(_html.directory_html(photo[1])).of("td")


def test_long_values_are_shortened() -> None:
    fields: files.Fields = {files.DESCRIPTION: "x" * 1000, files.TILE_OFFSETS: list(range(1000))}
    page = Page(_html.file_html(ifdsweep.read(files.tiff(fields))))
    cells = page.of("td")
    assert cells[cells.index("ImageDescription") + 1] == "x" * 300 + " … 1,000 characters"
    assert cells[cells.index("TileOffsets") + 1] == (
        "0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11 … 1,000 values"
    )


@pytest.mark.parametrize(
    "data",
    [
        files.tiff(*[{files.MAKE: "x"}] * 5000),
        files.tiff({files.SUB_IFDS: [{files.MAKE: "x"}] * 5000}),
        files.tiff({files.TILE_OFFSETS: [1] * 1000000, files.DESCRIPTION: "<" * 1000000}),
        files.tiff({tag: [1] for tag in range(2, 60000, 2)}),
    ],
    ids=["directories", "nested directories", "long values", "warnings and unknown tags"],
)
def test_a_page_is_small_whatever_the_file(data: bytes) -> None:
    text = _html.file_html(ifdsweep.read(data))
    assert Page(text).elements <= ELEMENTS
    assert 500 < len(text) < 100_000
