#!/usr/bin/env python3
"""Runs every command that a page shows and compares the output.

Usage: cookbook_test.py PAGE.md PROGRAM MAKE_ARCHIVE SAMPLES [QUESTIONS]

A command is a line "$ …" of a block fenced as ```console, its output the lines up to the next one.
A command goes on in the next line while the shell finds it unfinished. All commands run one after the other in
one folder that holds archive/ and samples/. With IFDSWEEP_WRITE_COOKBOOK=1 the page is written anew,
and the test counts as skipped.
QUESTIONS is the number of sections that the page must have, each with a command.
"""

import difflib
import os
import pathlib
import re
import shutil
import subprocess
import sys
import tempfile

BLOCK = re.compile(r"^```console\n(.*?)^```$", re.MULTILINE | re.DOTALL)

# CTest's sign of a test that tested nothing.
SKIPPED = 77


def is_whole(command):
    """Whether the shell would run the command rather than wait for another line of it."""
    checked = subprocess.run(["bash", "-n", "-c", command], check=False, stderr=subprocess.DEVNULL)
    return checked.returncode == 0 and not command.endswith("\\")


def commands_of(block):
    """Yields each command of a block; what stands between them is output."""
    lines = iter(block.splitlines())
    for line in lines:
        if line.startswith("$ "):
            command = line[2:]
            while not is_whole(command):
                following = next(lines, None)
                if following is None:
                    sys.exit(f"the command has no end: {command}")
                command += "\n" + following
            yield command


def run(command, folder, program):
    """The lines that a terminal would show: both outputs, in the order of their writing."""
    environment = {
        "PATH": os.path.dirname(program) + os.pathsep + os.environ["PATH"],
        "HOME": folder,
        "LC_ALL": "C.UTF-8",
        "TZ": "UTC",
        "TERM": "dumb",
        # What the sanitizers of a build are told.
        **{key: value for key, value in os.environ.items() if key.endswith("SAN_OPTIONS")},
    }
    done = subprocess.run(["bash", "-c", command], cwd=folder, env=environment, check=False,
                          stdin=subprocess.DEVNULL, stdout=subprocess.PIPE,
                          stderr=subprocess.STDOUT)
    # A table in CSV ends its lines with CR LF; a CR elsewhere is shown, for it is a mistake.
    text = done.stdout.decode("utf-8").replace("\r\n", "\n").replace("\r", "\\r")
    return text.removesuffix("\n").split("\n") if text else []


def check_sections(page, wanted):
    """Ends the test unless the page has that many sections, each with a command."""
    sections = re.split(r"^### ", page, flags=re.MULTILINE)[1:]
    bare = [section.splitlines()[0] for section in sections if not BLOCK.search(section)]
    if len(sections) != wanted or bare:
        sys.exit(f"{len(sections)} sections, expected {wanted}; without a command: {bare}")


def main():
    page_path, program, make_archive, samples = sys.argv[1:5]
    page = pathlib.Path(page_path).read_text(encoding="utf-8")
    if not BLOCK.search(page):
        sys.exit(f"{page_path} shows no command")
    for wanted in sys.argv[5:]:
        check_sections(page, int(wanted))

    with tempfile.TemporaryDirectory() as folder:
        archive = os.path.join(folder, "archive")
        os.mkdir(archive)
        subprocess.run([make_archive, archive], check=True)
        shutil.copytree(samples, os.path.join(folder, "samples"))

        def renew(match):
            lines = []
            for command in commands_of(match.group(1)):
                lines += ["$ " + command, *run(command, folder, os.path.abspath(program))]
            return "```console\n" + "".join(line + "\n" for line in lines) + "```"

        renewed = BLOCK.sub(renew, page)

    if os.environ.get("IFDSWEEP_WRITE_COOKBOOK") == "1":
        pathlib.Path(page_path).write_text(renewed, encoding="utf-8")
        print(f"{page_path}: written anew, nothing is compared")
        return SKIPPED
    if renewed == page:
        return 0
    sys.stdout.writelines(difflib.unified_diff(page.splitlines(True), renewed.splitlines(True),
                                               "the page", "the true output"))
    return 1


if __name__ == "__main__":
    sys.exit(main())
