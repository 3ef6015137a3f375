#!/usr/bin/env python3
"""Looks up what the documents tell people to type.

Usage: options_test.py PROJECT_FOLDER PROGRAM

Every option in the last column of a table of docs/from-exiftool.md is in the program's help, and every
name of a tag in that of a table of names is in its list of tags; the table for exiftool has the rows
that it promises. The packages that the README names are those that script/setup installs for a build.
"""

import pathlib
import re
import subprocess
import sys

# The options of exiftool that people use most.
LEAST_ROWS = 60

SPAN = re.compile(r"`([^`]+)`")
OPTION = re.compile(r"(?<![\w-])--?[A-Za-z0-9][\w-]*")


def tables(page):
    """Header and rows of each table; a row is a list of cells."""
    table = []
    for line in page.splitlines() + [""]:
        if line.startswith("|"):
            table.append([cell.strip() for cell in re.split(r"(?<!\\)\|", line.strip("|"))])
        elif table:
            yield table[0], table[2:]
            table = []


def options_of(cell):
    """The options that a cell tells to type: of what is ours, not of jq and the like."""
    for span in SPAN.findall(cell):
        ours = re.split(r"\\\||;", span.replace("for file in *.tif; do ", ""))[0]
        if re.match(r"ifdsweep |-", ours):
            yield from OPTION.findall(re.sub(r"'[^']*'|\"[^\"]*\"", "", ours))


def missing_options(page, known):
    """Row and option of each option that the program lacks."""
    return [f"{row[0]}: no option {option}" for header, rows in tables(page) if header[-1] == "Here"
            and len(header) == 3 for row in rows for option in options_of(row[-1]) if option not in known]


def missing_names(page, known):
    """Each name of a tag that the program lacks."""
    return [f"{row[0]}: no tag {name}" for header, rows in tables(page) if header[-1] == "Here"
            and len(header) == 2 for row in rows for name in SPAN.findall(row[-1]) if name not in known]


def packages(text, pattern):
    """The words that the pattern finds."""
    found = re.search(pattern, text, re.MULTILINE)
    return found[1].split() if found else []


def main():
    project, program = pathlib.Path(sys.argv[1]), sys.argv[2]

    def told(option):
        return subprocess.run([program, option], check=True, capture_output=True, text=True).stdout

    def text_of(name):
        return (project / name).read_text(encoding="utf-8")

    options = set(OPTION.findall(told("--help"))) | {"--"}
    tags = {line.split("\t")[1] for line in told("--list-tags").splitlines()}
    page = text_of("docs/from-exiftool.md")
    complaints = missing_options(page, options) + missing_names(page, tags)

    rows = {header[0]: len(rows) for header, rows in tables(page) if len(header) == 3}
    if rows.get("exiftool", 0) < LEAST_ROWS:
        complaints.append(f"{rows} rows, expected {LEAST_ROWS} for exiftool")
    named = packages(text_of("README.md"), r"apt-get install --no-install-recommends (.+)$")
    installed = packages(text_of("script/setup"), r"^build_packages=\(([^)]+)\)$")
    if not installed or named != installed:
        complaints.append(f"README.md names the packages {named}, script/setup installs {installed}")

    print("\n".join(complaints) or f"rows: {rows}; {len(options)} options, {len(tags)} tags known")
    return 1 if complaints else 0


if __name__ == "__main__":
    sys.exit(main())
