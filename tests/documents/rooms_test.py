#!/usr/bin/env python3
"""Compares the rooms that ARCHITECTURE.md lists with src/ROOMS and with the folders of src/.

Usage: rooms_test.py PROJECT_FOLDER
"""

import pathlib
import re
import sys

# The contract has no folder in src/: its headers are what other programs include.
WITHOUT_FOLDER = {"contract"}

# No room may hold more of the lines of src/.
LARGEST_SHARE = 1 / 6


def documented(page):
    """Room and wing of each row of the table in the page."""
    return re.findall(r"^\| `(\w+)` \| (\w+) \| \S.*\|$", page.read_text(encoding="utf-8"), re.M)


def declared(table):
    """Room and wing of each line of the table of rooms."""
    lines = table.read_text(encoding="utf-8").splitlines()
    words = [line.split() for line in lines if line and not line.startswith("#")]
    return [(room, wing) for room, wing, *_ in words if room not in WITHOUT_FOLDER]


def sizes(source):
    """The lines of each folder."""
    return {
        folder.name: sum(
            len(file.read_text(encoding="utf-8").splitlines())
            for file in folder.rglob("*") if file.suffix in {".h", ".cpp"})
        for folder in source.iterdir() if folder.is_dir()}


def main():
    project = pathlib.Path(sys.argv[1])
    in_page = documented(project / "ARCHITECTURE.md")
    in_table = declared(project / "src/ROOMS")
    lines = sizes(project / "src")
    complaints = []
    if in_page != in_table:
        complaints.append(f"ARCHITECTURE.md lists {in_page}\nsrc/ROOMS lists        {in_table}")
    if {room for room, _ in in_table} != set(lines):
        complaints.append(f"src/ROOMS lists {in_table}\nsrc/ holds      {sorted(lines)}")
    most = sum(lines.values()) * LARGEST_SHARE
    complaints += [f"src/{room} has {count} lines, more than a sixth of src/"
                   for room, count in lines.items() if count > most]
    print("\n".join(complaints) or f"{len(lines)} rooms, the largest of {max(lines.values())} lines")
    return 1 if complaints else 0


if __name__ == "__main__":
    sys.exit(main())
