"""Runs what the documents show, and looks up the names that they tell of.

With IFDSWEEP_WRITE_PYTHON=1 what the documents show is written anew, and nothing is compared.
"""

import doctest
import inspect
import json
import os
import re
import subprocess
import sys
import traceback
from collections.abc import Callable
from pathlib import Path
from types import TracebackType
from typing import Any

import document_files
import pytest

import ifdsweep

PROJECT = Path(__file__).resolve().parents[2]
WRITES = bool(os.environ.get("IFDSWEEP_WRITE_PYTHON"))

# Every document with Python in it, and the least number of examples.
DOCUMENTS = [
    ("README.md", 3),
    ("docs/catalogue.md", 6),
    ("docs/python.md", 60),
    ("python/README.md", 3),
]

_TRACEBACK = "Traceback (most recent call last):\n"
_BLOCK = re.compile(r"^```python\n(.*?)^```$", re.MULTILINE | re.DOTALL)
_ROW = re.compile(r"^\| (`.*?) \|", re.MULTILINE)
_NAME = re.compile(r"`(\w+)")
_SECTION = re.compile(r"^### (`\w+`.*?)$(.*?)(?=^##|\Z)", re.MULTILINE | re.DOTALL)


@pytest.fixture
def archive(tmp_path: Path, monkeypatch: pytest.MonkeyPatch) -> None:
    """The folder in which the documents' lines are run: it holds archive/ and samples/."""
    document_files.write_archive(tmp_path / "archive")
    (tmp_path / "samples").symlink_to(PROJECT / "samples")
    monkeypatch.chdir(tmp_path)


class _Runner(doctest.DocTestRunner):
    """A runner that notes what each example gives."""

    def __init__(self) -> None:
        super().__init__(verbose=False)
        self.given: dict[int, str] = {}

    def _note(self, example: doctest.Example, got: str) -> None:
        if got.startswith(_TRACEBACK):
            got = f"{_TRACEBACK}    ...\n{got.splitlines(keepends=True)[-1]}"
        self.given[example.lineno] = got

    def report_success(
        self, out: Any, test: doctest.DocTest, example: doctest.Example, got: str
    ) -> None:
        self._note(example, got)

    def report_failure(
        self, out: Any, test: doctest.DocTest, example: doctest.Example, got: str
    ) -> None:
        self._note(example, got)
        super().report_failure(out, test, example, got)

    def report_unexpected_exception(
        self,
        out: Any,
        test: doctest.DocTest,
        example: doctest.Example,
        exc_info: tuple[type[BaseException], BaseException, TracebackType],
    ) -> None:
        last = "".join(traceback.format_exception_only(exc_info[1]))
        self.given[example.lineno] = f"{_TRACEBACK}    ...\n{last}"
        super().report_unexpected_exception(out, test, example, exc_info)


def _examples(page: str) -> str:
    """The blocks of Python in their lines, all others empty."""
    lines = [""] * page.count("\n")
    for block in _BLOCK.finditer(page):
        first = page.count("\n", 0, block.start(1))
        for number, line in enumerate(block[1].splitlines(), first):
            lines[number] = line
    return "\n".join(lines) + "\n"


def _written_anew(page: str, test: doctest.DocTest, given: dict[int, str]) -> str:
    """The page with what its examples gave."""
    lines = page.splitlines(keepends=True)
    for example in reversed(test.examples):
        first = example.lineno + example.source.count("\n")
        shown = given.get(example.lineno, example.want)
        lines[first : first + example.want.count("\n")] = shown.splitlines(keepends=True)
    return "".join(lines)


def _test_of(document: str, page: str) -> doctest.DocTest:
    return doctest.DocTestParser().get_doctest(_examples(page), {}, document, document, 0)


@pytest.mark.usefixtures("archive")
@pytest.mark.parametrize(("document", "least"), DOCUMENTS)
def test_every_line_of_python_gives_what_the_document_shows(document: str, least: int) -> None:
    page = (PROJECT / document).read_text(encoding="utf-8")
    test = _test_of(document, page)
    runner = _Runner()
    report: list[str] = []
    result = runner.run(test, out=report.append)
    if WRITES:
        (PROJECT / document).write_text(_written_anew(page, test, runner.given), encoding="utf-8")
        pytest.skip("written anew")
    assert not result.failed, "".join(report)
    assert result.attempted >= least


@pytest.mark.types
@pytest.mark.parametrize("document", [document for document, _ in DOCUMENTS])
def test_the_lines_of_python_use_the_types_as_they_are(document: str, tmp_path: Path) -> None:
    page = (PROJECT / document).read_text(encoding="utf-8")
    lines = tmp_path / "lines.py"
    lines.write_text("".join(example.source for example in _test_of(document, page).examples))
    command = ["mypy", "--config-file", str(PROJECT / "python/pyproject.toml"), str(lines)]
    run = subprocess.run([sys.executable, "-m", *command], capture_output=True, text=True)
    assert run.returncode == 0, run.stdout + run.stderr


def test_a_document_shows_no_place_of_the_machine_that_it_was_written_on() -> None:
    for document, _ in DOCUMENTS:
        page = (PROJECT / document).read_text(encoding="utf-8")
        assert not re.findall(r'^ *File ".*', page, re.MULTILINE)


@pytest.mark.usefixtures("archive")
def test_every_line_in_the_docstring_of_the_package_gives_what_it_shows() -> None:
    result = doctest.testmod(ifdsweep)
    assert not result.failed
    assert result.attempted >= 3


def _documented() -> dict[str, set[str]]:
    """The members that the sections of docs/python.md tell of, by class."""
    page = (PROJECT / "docs/python.md").read_text(encoding="utf-8")
    return {
        name: {member for row in _ROW.findall(section) for member in _NAME.findall(row)}
        for heading, section in _SECTION.findall(page)
        for name in _NAME.findall(heading)
    }


def _public(owner: object) -> set[str]:
    return {name for name in dir(owner) if not name.startswith("_")}


def test_the_document_has_a_section_for_every_public_name() -> None:
    assert set(_documented()) == set(ifdsweep.__all__)


def test_nothing_is_public_but_what_the_package_says() -> None:
    names = {name for name in _public(ifdsweep) if not inspect.ismodule(getattr(ifdsweep, name))}
    assert names | {"__version__"} == set(ifdsweep.__all__)


@pytest.mark.parametrize("name", ["File", "Stream", "Directory", "Entry", "Message", "Scan"])
def test_the_document_tells_of_every_member_and_of_no_other(name: str) -> None:
    fields = {tag.name for tag in ifdsweep.tags()} if name == "Directory" else set()
    members = _public(getattr(ifdsweep, name))
    assert _documented()[name] == members - (fields - _documented()[name])


@pytest.mark.parametrize("function", [ifdsweep.read, ifdsweep.scan], ids=["read", "scan"])
def test_the_document_shows_the_arguments_of_a_function_as_they_are(
    function: Callable[..., object],
) -> None:
    page = (PROJECT / "docs/python.md").read_text(encoding="utf-8")
    shown = re.search(rf"^`{function.__name__}\((.*?)\) -> \w+`$", page, re.MULTILINE | re.DOTALL)
    assert shown is not None
    arguments = [
        name if given.default is given.empty else f"{name}={given.default!r}".replace("'", '"')
        for name, given in inspect.signature(function).parameters.items()
    ]
    arguments.insert(1, "*")
    told = re.split(r",\s+", shown[1])
    if told[-1] == "…":  # the rest is that of read
        arguments[len(told) - 1 :] = ["…"]
    assert told == arguments


def test_the_notebook_is_kept_without_output() -> None:
    notebook = json.loads((PROJECT / "docs/notebooks/ifdsweep.ipynb").read_text(encoding="utf-8"))
    cells = [cell for cell in notebook["cells"] if cell["cell_type"] == "code"]
    assert len(cells) >= 5
    assert all(cell["outputs"] == [] and cell["execution_count"] is None for cell in cells)
