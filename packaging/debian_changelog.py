#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
"""Writes the Debian changelog of one version from CHANGELOG.md, compressed.

debian_changelog.py CHANGELOG.md SOURCE VERSION MAINTAINER OUT.gz

Its date is $SOURCE_DATE_EPOCH, else that of CHANGELOG.md.
"""
import gzip
import os
import re
import sys
from email.utils import formatdate


def changes(text, version):
    """The items below the version's heading, each on one line: list items, or else paragraphs."""
    found = re.search(rf"^## {re.escape(version)}\n(.*?)(?=^## |\Z)", text, re.M | re.S)
    if not found:
        sys.exit(f"CHANGELOG.md: no heading '## {version}'; CMakeLists.txt has that version")
    items = re.split(r"\n\s*\n|\n(?=[-*] )", found.group(1).strip())
    return [" ".join(re.sub("^[-*] ", "", item).split()) for item in items if item]


def wrap(item):
    line = "  *"
    for word in item.split():
        if len(line) + 1 + len(word) > 79:
            yield line
            line = "   "
        line += f" {word}"
    yield line


def main():
    source_file, source, version, maintainer, out = sys.argv[1:]
    with open(source_file, encoding="utf-8") as file:
        items = changes(file.read(), version)
    when = int(os.environ.get("SOURCE_DATE_EPOCH") or os.path.getmtime(source_file))
    lines = [f"{source} ({version}) unstable; urgency=medium", ""]
    lines += [line for item in items for line in wrap(item)]
    lines += ["", f" -- {maintainer}  {formatdate(when, localtime=False).replace('-0000', '+0000')}",
              ""]
    with open(out, "wb") as file:
        file.write(gzip.compress("\n".join(lines).encode(), 9, mtime=0))


main()
