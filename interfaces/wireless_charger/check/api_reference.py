#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
"""Writes the API reference from the comments of the .aidl files, and names those that are missing.

api_reference.py FOLDER OUT

Every type, field, enum value and method needs a doc comment; that of a method also `@param NAME` for
each parameter, `@return` unless it returns nothing, and, unless it is oneway, `Errors:` and `Takes:`.
A number whose comment gives no unit, range or meaning is for the reviewer: nobody else sees it.
"""
import re
import sys
from pathlib import Path

TOKEN = re.compile(r"""(?P<doc>/\*\*.*?\*/) | (?P<skip>//[^\n]*|/\*.*?\*/|\s+) |
                       (?P<word>[\w.]+|"[^"]*"|<<|>>|\S)""", re.X | re.S)
KINDS = ("parcelable", "enum", "interface", "union")
TAG = re.compile(r"^(@param \w+|@return|Errors:|Takes:)\s*", re.M)


class Member:
    """A declaration: its words, its text, its comment and the line it begins in."""

    def __init__(self, words, comment, source, line):
        self.words = words
        self.source = source
        self.line = line
        body = re.sub(r"^[ \t]*\* ?", "", comment[3:-2], flags=re.M).strip()
        pieces = TAG.split(body)
        self.purpose = " ".join(pieces[0].split())
        self.paragraphs = [" ".join(text.split()) for text in re.split(r"\n\s*\n", pieces[0].strip())]
        self.tags = {tag: " ".join(text.split()) for tag, text in zip(pieces[1::2], pieces[2::2])}


class Type:
    """One .aidl file: the head of its declaration, and its members."""

    def __init__(self, path):
        self.path = path
        self.kind = ""
        self.members = []
        text = Path(path).read_text(encoding="utf-8")
        words, comment, begin, depth = [], "", 0, 0

        def take(end):
            source = " ".join(text[begin:end].split()).replace("( ", "(")
            return Member(words, comment, source, text.count("\n", 0, begin) + 1)

        for token in TOKEN.finditer(text):
            word = token["word"]
            if token["doc"]:
                comment = token["doc"]
            elif not word:
                continue
            elif word == "{":
                self.head = take(token.start())
                self.kind = next(kind for kind in KINDS if kind in words)
                self.name = words[words.index(self.kind) + 1]
                words, comment, depth = [], "", 1
            elif word in ";}" or (word == "," and self.kind == "enum"):
                if words and depth:
                    self.members.append(take(token.start()))
                words, comment, depth = [], "", depth and word != "}"
            else:
                begin = begin if words else token.start()
                words.append(word)

    def missing(self):
        """(line, what is missing) of this type."""
        if not self.head.purpose:
            yield self.head.line, f"{self.name} has no comment"
        for member in self.members:
            name = name_of(member, self.kind)
            if not member.purpose:
                yield member.line, f"{name} has no comment"
            if self.kind != "interface":
                continue
            needed = [f"@param {parameter}" for parameter in parameters(member)]
            needed += [] if member.words[0] == "void" else ["@return"]
            needed += [] if "oneway" in self.head.words else ["Errors:", "Takes:"]
            for tag in needed:
                if not member.tags.get(tag):
                    yield member.line, f"{name}: its comment has no '{tag}'"
            for tag in member.tags:
                if tag not in needed:
                    yield member.line, f"{name}: its comment has '{tag}', which it does not have"


def name_of(member, kind):
    words = member.words
    if kind == "interface":
        return words[words.index("(") - 1]
    return words[0] if kind == "enum" else words[:words.index("=")][-1] if "=" in words else words[-1]


def parameters(member):
    inside = " ".join(member.words[member.words.index("(") + 1:-1])
    return [one.split()[-1] for one in inside.split(" , ") if one.strip()]


def cell(text):
    return text.replace("|", "\\|")


def write(one):
    """The section of a type."""
    yield f"## {one.name}\n"
    yield from (f"{paragraph}\n" for paragraph in one.head.paragraphs)
    if one.kind != "interface":
        yield f"| {'value' if one.kind == 'enum' else 'field'} | meaning |\n| --- | --- |"
        for member in one.members:
            yield f"| `{member.source}` | {cell(member.purpose)} |"
        yield ""
        return
    for member in one.members:
        yield f"### {name_of(member, one.kind)}\n\n```\n{member.source}\n```\n"
        yield from (f"{paragraph}\n" for paragraph in member.paragraphs)
        for tag, text in member.tags.items():
            label = tag.removeprefix("@param ")
            label = {"@return": "returns", "Errors:": "errors", "Takes:": "takes"}.get(
                tag, f"`{label}`")
            yield f"- {label}: {text}"
        yield ""


def main():
    folder, out = map(Path, sys.argv[1:])
    types = [Type(path) for path in sorted(folder.glob("*.aidl"))]
    faults = [f"{one.path}:{line}: error: {what}" for one in types for line, what in one.missing()]
    if faults:
        sys.exit("\n".join(faults))
    # The service first, then its callbacks, then what they pass.
    types.sort(key=lambda one: (one.kind != "interface", "oneway" in one.head.words, one.name))
    lines = ["# API reference\n", "Made from the comments of the .aidl files.\n"]
    lines += [line for one in types for line in write(one)]
    out.write_text("\n".join(lines), encoding="utf-8")


if __name__ == "__main__":
    main()
