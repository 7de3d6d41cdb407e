# SPDX-License-Identifier: Apache-2.0
"""Reads Android.bp files that consist of modules alone: no variables, no `+`, no `select`."""
import re

TOKEN = re.compile(r'(?P<space>\s+|//[^\n]*|/\*.*?\*/)|(?P<word>[A-Za-z_]\w*|-?\d+)'
                   r'|(?P<string>"(?:[^"\\\n]|\\.)*")|(?P<sign>[{}\[\]:,])', re.S)


class Module:
    def __init__(self, kind, properties, line):
        self.kind, self.properties, self.line = kind, properties, line
        self.name = properties.get("name", "")

    def leaves(self):
        """Every value with the names of the properties around it; each item of a list by itself."""
        todo = [((), self.properties)]
        while todo:
            names, value = todo.pop(0)
            if isinstance(value, dict):
                todo += [(names + (name,), inner) for name, inner in value.items()]
            elif isinstance(value, list):
                todo += [(names, inner) for inner in value]
            else:
                yield names, value

    def all(self, key):
        return [value for names, value in self.leaves() if names[-1] == key]


class Parser:
    def __init__(self, path, text):
        self.path, self.tokens, self.at = path, [], 0
        position, line = 0, 1
        while position < len(text):
            match = TOKEN.match(text, position)
            if not match:
                raise ValueError(f"{path}:{line}: cannot read {text[position]!r}")
            if match.lastgroup != "space":
                self.tokens.append((match.lastgroup, match.group(), line))
            line += match.group().count("\n")
            position = match.end()
        self.tokens.append(("end", "the end of the file", line))

    def take(self, *wanted):
        """The next token's text; its kind or text must be one of those wanted."""
        kind, text, line = self.tokens[self.at]
        if kind not in wanted and text not in wanted:
            raise ValueError(f"{self.path}:{line}: {text} instead of {' or '.join(wanted)}")
        self.at += 1
        return text

    def file(self):
        modules = []
        while self.tokens[self.at][0] != "end":
            line = self.tokens[self.at][2]
            modules.append(Module(self.take("word"), self.block(), line))
        return modules

    def value(self):
        text = self.tokens[self.at][1]
        if text == "{":
            return self.block()
        if text == "[":
            return self.list()
        return self.take("string", "word").strip('"')

    def list(self):
        result = []
        self.take("[")
        while self.tokens[self.at][1] != "]":
            result.append(self.value())
            if self.tokens[self.at][1] != "]":
                self.take(",")
        self.take("]")
        return result

    def block(self):
        result = {}
        self.take("{")
        while self.tokens[self.at][1] != "}":
            line = self.tokens[self.at][2]
            key = self.take("word")
            self.take(":")
            if key in result:
                raise ValueError(f"{self.path}:{line}: {key} stands here twice")
            result[key] = self.value()
            if self.tokens[self.at][1] != "}":
                self.take(",")
        self.take("}")
        return result


def parse(path, text):
    """The modules of one file; ValueError says where and why it cannot be read."""
    return Parser(path, text).file()
