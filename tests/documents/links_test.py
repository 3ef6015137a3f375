#!/usr/bin/env python3
"""Follows every link between the documents, and looks for each document in the README's table.

Usage: links_test.py PROJECT_FOLDER

A link is one of Markdown, or the src or srcset of a picture. Where it leads to a heading, the heading
must be there. Links to the net are not followed.
"""

import pathlib
import re
import sys
import urllib.parse

# The folders of the documents.
DOCUMENTS = (".", "docs", "samples")

FENCE = re.compile(r"^```.*?^```$", re.MULTILINE | re.DOTALL)
CODE = re.compile(r"`[^`\n]*`")
LINK = re.compile(r"\]\(([^)\s]+)\)|\b(?:src|srcset|href)=\"([^\"]+)\"")
HEADING = re.compile(r"^#+ (.+)$", re.MULTILINE)


def prose(page):
    """The text of a page without its blocks of code, in which a link is none."""
    return FENCE.sub("", page.read_text(encoding="utf-8"))


def anchor(heading):
    """What a page calls a heading in its address: lower case, words joined by hyphens."""
    return re.sub(r"[^\w\- ]", "", heading.lower()).replace(" ", "-")


def links(page):
    """Every target that the page leads to."""
    return [markdown or html for markdown, html in LINK.findall(CODE.sub("", prose(page)))]


def complaint(page, target, project):
    """What is wrong with a link, or nothing."""
    if urllib.parse.urlsplit(target).scheme:
        return None
    path, _, heading = target.partition("#")
    file = (page.parent / urllib.parse.unquote(path)).resolve() if path else page
    if not file.is_relative_to(project) or not file.exists():
        return f"leads nowhere: {target}"
    if heading and heading not in map(anchor, HEADING.findall(prose(file))):
        return f"no such heading: {target}"
    return None


def main():
    project = pathlib.Path(sys.argv[1]).resolve()
    readme = project / "README.md"
    pages = [page for folder in DOCUMENTS for page in sorted((project / folder).glob("*.md"))]
    complaints = [f"{page.relative_to(project)}: {wrong}" for page in pages for target in links(page)
                  if (wrong := complaint(page, target, project))]
    table = readme.read_text(encoding="utf-8").partition("\n## Documents\n")[2]
    names = [str(page.relative_to(project)) for page in pages if page != readme]
    complaints += [f"README.md: no row of {name} under Documents"
                   for name in names if f"| [{name}]({name}) | " not in table]
    count = sum(len(links(page)) for page in pages)
    print("\n".join(complaints) or f"{count} links of {len(pages)} pages")
    return 1 if complaints or not count else 0


if __name__ == "__main__":
    sys.exit(main())
