#!/usr/bin/env python3
"""Builds the programs of a page against an installation, as the page says, and runs them.

Usage: library_test.py PAGE.md PREFIX SOURCES VERSION FLAGS COMPILER...

A file of the page is a fenced block that follows its name on a line of its own, such as `a.cpp`:.
Every compiler builds the programs with CMake, by the CMakeLists.txt of the page, and with
pkg-config, by the lines of its blocks fenced as ```sh. The commands of blocks fenced as ```console
are lines "$ ..."; what they print stands after them, up to the next one. With
IFDSWEEP_WRITE_LIBRARY=1 the page is written anew, and the test counts as skipped. Last, the first
compiler makes the programs of the CMakeLists.txt with add_subdirectory in place of find_package, as
far as they are the page's.
"""

import difflib
import os
import pathlib
import re
import shutil
import subprocess
import sys
import tempfile

FILE = re.compile(r"^`([\w.]+)`:\n\n```\w+\n(.*?)^```$", re.MULTILINE | re.DOTALL)
BUILD = re.compile(r"^```sh\n(.*?)^```$", re.MULTILINE | re.DOTALL)
CONSOLE = re.compile(r"^```console\n(.*?)^```$", re.MULTILINE | re.DOTALL)
FIND = re.compile(r"^find_package\(ifdsweep .*\)$", re.MULTILINE)
WARNINGS = "-Wall -Wextra -Werror"

# CTest's sign of a test that did not compare.
SKIPPED = 77

# What a project that finds the package may ask of it besides the page's programs.
TARGET_CHECK = """
foreach(target IN ITEMS ifdsweep::module ifdsweep::program)
  get_target_property(location ${target} LOCATION)
  if(NOT EXISTS "${location}")
    message(FATAL_ERROR "${target} is not at ${location}")
  endif()
endforeach()
"""


class Failure(Exception):
    """What went wrong in one way of building."""


def run(command, folder, **environment):
    """Runs a command that must succeed and gives what it prints."""
    done = subprocess.run(command, cwd=folder, env={**os.environ, **environment}, check=False,
                          stdin=subprocess.DEVNULL, stdout=subprocess.PIPE,
                          stderr=subprocess.STDOUT, encoding="utf-8")
    if done.returncode != 0:
        raise Failure(f"{' '.join(map(str, command))}\n{done.stdout}")
    return done.stdout


class Page:
    """The page, and what it is to be built against."""

    def __init__(self, path, prefix, sources, version, flags):
        self.path = pathlib.Path(path)
        self.prefix = prefix
        self.sources = pathlib.Path(sources).resolve()
        self.version = version
        self.flags = flags
        self.text = self.path.read_text(encoding="utf-8")
        self.files = dict(FILE.findall(self.text))
        if "CMakeLists.txt" not in self.files or not BUILD.search(self.text):
            sys.exit(f"{path}: no CMakeLists.txt or no commands")

    def write_files(self, folder):
        for name, text in self.files.items():
            (folder / name).write_text(text, encoding="utf-8")
        (folder / "samples").symlink_to(self.sources / "samples")

    def configure(self, folder, compiler, *definitions):
        run(["cmake", "-S", folder, "-B", folder / "build", "-G", "Ninja",
             f"-DCMAKE_CXX_COMPILER={compiler}", f"-DCMAKE_CXX_FLAGS={self.flags} {WARNINGS}",
             "-DCMAKE_RUNTIME_OUTPUT_DIRECTORY=" + str(folder), *definitions], folder)

    def build_with_cmake(self, folder, compiler):
        with open(folder / "CMakeLists.txt", "a", encoding="utf-8") as lists:
            lists.write(TARGET_CHECK)
        self.configure(folder, compiler, f"-DCMAKE_PREFIX_PATH={self.prefix}")
        run(["cmake", "--build", folder / "build"], folder)

    def build_with_pkg_config(self, folder, compiler):
        wrapper = folder / "tools" / "c++"
        wrapper.parent.mkdir()
        wrapper.write_text(f'#!/bin/sh\nexec {compiler} {self.flags} {WARNINGS} "$@"\n')
        wrapper.chmod(0o755)
        environment = {"PATH": f"{wrapper.parent}:{os.environ['PATH']}",
                       "PKG_CONFIG_PATH": f"{self.prefix}/lib/pkgconfig"}
        for package in ("ifdsweep", "ifdsweep-module"):
            version = run(["pkg-config", "--modversion", package], folder, **environment).strip()
            if version != self.version:
                raise Failure(f"pkg-config says that {package} has version {version}")
        for block in BUILD.findall(self.text):
            for line in block.splitlines():
                run(["sh", "-c", line], folder, **environment)

    def check_add_subdirectory(self, folder, compiler):
        """Without what the tests need, and without an installation; the library is not compiled."""
        lists, count = FIND.subn(f"add_subdirectory({self.sources} ifdsweep)",
                                 self.files["CMakeLists.txt"])
        if count != 1:
            raise Failure("the page's CMakeLists.txt does not find the package")
        (folder / "CMakeLists.txt").write_text(lists, encoding="utf-8")
        self.configure(folder, compiler, "-DCMAKE_DISABLE_FIND_PACKAGE_GTest=ON",
                       "-DCMAKE_DISABLE_FIND_PACKAGE_CLI11=ON")
        programs = [name.removesuffix(".cpp") for name in self.files if name.endswith(".cpp")]
        for program in programs:
            run(["ninja", "-C", folder / "build", f"CMakeFiles/{program}.dir/{program}.cpp.o"], folder)
        commands = run(["ninja", "-C", folder / "build", "-t", "commands", *programs], folder)
        for library in ("libifdsweep.a", "libifdsweep_module.a"):
            if not re.search(rf"-o {folder}/\w+ .*{library}", commands):
                raise Failure(f"nothing is linked with {library}")
        # By whole paths: the folder that all of it lies in may have any name.
        if f" {self.sources}/src/read/" not in commands:
            raise Failure("the commands do not name sources as expected")
        if any(f" {self.sources}/{part}/" in commands for part in ("tests", "src/cli")):
            raise Failure("more is built than the libraries")

    def with_output(self, folder):
        """The page with what its commands print in a folder."""
        def shown(block):
            lines = []
            for command in re.findall(r"^\$ (.*)$", block.group(1), re.MULTILINE):
                done = subprocess.run(["sh", "-c", command], cwd=folder, check=False,
                                      stdin=subprocess.DEVNULL, stdout=subprocess.PIPE,
                                      stderr=subprocess.STDOUT, encoding="utf-8")
                lines += [f"$ {command}", *done.stdout.splitlines()]
            return "```console\n" + "\n".join(lines) + "\n```"
        return CONSOLE.sub(shown, self.text)


def main():
    page = Page(*sys.argv[1:6])
    compilers = sys.argv[6:]
    ways = [(page.build_with_cmake, "CMake", compiler) for compiler in compilers]
    ways += [(page.build_with_pkg_config, "pkg-config", compiler) for compiler in compilers]
    ways += [(page.check_add_subdirectory, "add_subdirectory", compilers[0])]
    is_writing = os.environ.get("IFDSWEEP_WRITE_LIBRARY") == "1"
    failures = 0
    for build, name, compiler in ways:
        folder = pathlib.Path(tempfile.mkdtemp(prefix="ifdsweep_library_")).resolve()
        try:
            page.write_files(folder)
            build(folder, compiler)
            if build != page.check_add_subdirectory:
                text = page.with_output(folder)
                if is_writing:
                    page.path.write_text(text, encoding="utf-8")
                elif text != page.text:
                    raise Failure("\n".join(difflib.unified_diff(
                        page.text.splitlines(), text.splitlines(), "the page", "the programs",
                        lineterm="")))
            print(f"library: {compiler} with {name}: built" +
                  ("" if build == page.check_add_subdirectory else " and run"))
        except Failure as failure:
            print(f"library: {compiler} with {name}: FAILED\n{failure}")
            failures += 1
        finally:
            shutil.rmtree(folder)
    if failures:
        return 1
    if is_writing:
        print(f"library: {page.path} is written anew, its output is not compared")
        return SKIPPED
    return 0


if __name__ == "__main__":
    sys.exit(main())
