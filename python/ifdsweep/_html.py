"""Tables for notebooks: what `_repr_html_` of a file and of a directory gives.

Nothing of a file reaches a page as markup, or as a character that is not seen: hidden characters
stand as the program's text format shows them. A page is small, whatever the file.
"""

import html
import re
from collections.abc import Iterable, Iterator, Mapping

from ifdsweep._core import Directory, Entry, File, Message

# The most that a page shows: of directories, messages, items of a value, characters of a text.
_DIRECTORIES = 20
_MESSAGES = 50
_ITEMS = 12
_CHARACTERS = 300

# Values with more items than this are told of by type and count, and not made.
_LARGEST_VALUE = 1 << 16

# The hidden characters of the program, by Unicode 15.0 (the general categories Cc, Cf, Zl and Zp,
# and Default_Ignorable_Code_Point), and surrogates, which stand for bytes that are no UTF-8.
_HIDDEN = re.compile(
    r"[\x00-\x1f\x7f-\x9f\xad\u034f\u0600-\u0605\u061c\u06dd\u070f\u0890\u0891\u08e2\u115f\u1160"
    r"\u17b4\u17b5\u180b-\u180f\u200b-\u200f\u2028-\u202e\u2060-\u206f\u3164\ufe00-\ufe0f\ufeff"
    r"\uffa0\ufff0-\ufffb\ud800-\udfff\U000110bd\U000110cd\U00013430-\U0001343f"
    r"\U0001bca0-\U0001bca3\U0001d173-\U0001d17a\U000e0000-\U000e0fff]"
)
_SHORT_ESCAPES = {"\n": "\\n", "\r": "\\r", "\t": "\\t"}


def file_html(file: File) -> str:
    """The page of a file: a line, its messages, and the directories of its first stream."""
    page = _Page()
    page.line("p", repr(file)[1:-1])
    page.messages(file)
    page.directories(file)
    return page.text()


def directory_html(directory: Directory) -> str:
    """The page of a directory and of those below it."""
    page = _Page()
    page.directories((directory,))
    return page.text()


def table_html(title: str, names: Iterable[str], rows: Iterable[Iterable[str]]) -> str:
    """A page of a line and a table."""
    page = _Page()
    page.line("p", title)
    page.table(names, rows)
    return page.text()


class _Page:
    """A page that grows until it is full. Texts become markup in `line` and `row` alone."""

    def __init__(self) -> None:
        self._parts: list[str] = []
        self._room = _DIRECTORIES
        self._hidden = 0

    def text(self) -> str:
        """The whole page."""
        if self._hidden:
            self.line("p", f"… {self._hidden:,} more directories")
        return f"<div>{''.join(self._parts)}</div>"

    def line(self, element: str, text: str) -> None:
        """Appends an element that holds a text."""
        self._parts.append(f"<{element}>{_escaped(text)}</{element}>")

    def row(self, element: str, *cells: str) -> None:
        """Appends a row of a table."""
        self._parts.append("<tr>")
        for cell in cells:
            self._parts.append(f'<{element} style="text-align: left">{_escaped(cell)}</{element}>')
        self._parts.append("</tr>")

    def table(self, names: Iterable[str], rows: Iterable[Iterable[str]]) -> None:
        """Appends a table."""
        self._parts.append("<table><thead>")
        self.row("th", *names)
        self._parts.append("</thead><tbody>")
        for row in rows:
            self.row("td", *row)
        self._parts.append("</tbody></table>")

    def messages(self, file: File) -> None:
        """Appends the error and the warnings, if there are any."""
        messages = [("warning", warning) for warning in file.warnings]
        if file.error is not None:
            messages.insert(0, ("error", file.error))
        if messages:
            self._parts.append("<ul>")
            for kind, message in messages[:_MESSAGES]:
                self.line("li", f"{kind}{_place(message)}: {message} ({message.short_id})")
            if len(messages) > _MESSAGES:
                self.line("li", f"… {len(messages) - _MESSAGES:,} more")
            self._parts.append("</ul>")

    def directories(self, directories: Iterable[Directory]) -> None:
        """Appends directories while there is room, all but the first of the page folded."""
        for directory in directories:
            if self._room == 0:
                self._hidden += 1
                continue
            self._parts.append("<details open>" if self._room == _DIRECTORIES else "<details>")
            self._room -= 1
            self.line("summary", repr(directory)[1:-1])
            self.directories(self._fields(directory))
            self._parts.append("</details>")

    def _fields(self, directory: Directory) -> list[Directory]:
        """Appends the table of the fields, and returns the directories that stand in others."""
        nested: list[Directory] = []
        self._parts.append("<table><thead>")
        self.row("th", "Field", "Value", "Stored as")
        self._parts.append("</thead><tbody>")
        for name in directory:
            entry = directory.entry(name)
            stored = "" if entry is None else _stored(entry)
            if entry is not None and entry.count > _LARGEST_VALUE:
                self.row("td", name, "…", stored)
                continue
            value = directory[name]
            if value is None and entry is None:
                continue  # another directory of the chain has it
            if below := [*_directories_in(value)]:
                nested += below
                continue
            code = directory.code(name) if isinstance(value, str) else None
            if isinstance(code, int):
                stored = f"{stored} {code}".lstrip()
            if directory.is_default(name):
                stored = "default"
            self.row("td", name, _shown(value), stored)
        self._parts.append("</tbody></table>")
        return nested


def _stored(entry: Entry) -> str:
    """The type of an entry, and how many items it has unless that is one."""
    return str(entry.type) if entry.count == 1 else f"{entry.type}[{entry.count:,}]"


def _directories_in(value: object) -> Iterator[Directory]:
    """The directories of a field, which may be tuples of tuples."""
    if isinstance(value, Directory):
        yield value
    elif isinstance(value, tuple):
        for item in value:
            yield from _directories_in(item)


def _place(message: Message) -> str:
    """Where a message arose, as far as is known."""
    path = f" in {message.path}" if message.path else ""
    return path + ("" if message.tag is None else f", tag {message.tag}")


def _shown(value: object) -> str:
    """A value in few characters."""
    match value:
        case None:
            return ""
        case str():
            rest = f" … {len(value):,} characters" if len(value) > _CHARACTERS else ""
            return value[:_CHARACTERS].replace("\\", "\\\\") + rest
        case bytes():
            rest = f" … {len(value):,} bytes" if len(value) > _ITEMS else ""
            return value[:_ITEMS].hex(" ") + rest
        case tuple():
            separator = "; " if value and isinstance(value[0], tuple | Mapping) else ", "
            rest = f" … {len(value):,} values" if len(value) > _ITEMS else ""
            return separator.join(map(_shown, value[:_ITEMS])) + rest
        case Mapping():
            return " ".join(f"{name} {_shown(item)}" for name, item in value.items())
        case float():
            return f"{value:.6g}"
    return str(value)


def _escaped(text: str) -> str:
    """The text as markup that shows it, with hidden characters as escapes."""
    return html.escape(_HIDDEN.sub(_escape, text))


def _escape(found: re.Match[str]) -> str:
    character = found[0]
    code = ord(character)
    if code >= 0x10000:
        return f"\\U{code:08x}"
    if code >= 0x80 and not 0xDC80 <= code <= 0xDCFF:
        return f"\\u{code:04x}"
    return _SHORT_ESCAPES.get(character, f"\\x{code & 0xFF:02x}")
