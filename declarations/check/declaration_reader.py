# SPDX-License-Identifier: Apache-2.0
"""Reads the declarations of shaders and data blocks in scene files, and lays out their parameter blocks."""

import dataclasses
import os
import re

# Declared type: the C++ type of its field, and its size in bytes.
SIMPLE_TYPES = {
    "boolean": ("miBoolean", 4), "integer": ("miInteger", 4), "scalar": ("miScalar", 4),
    "vector": ("miVector", 12), "color": ("miColor", 16), "transform": ("miMatrix", 64),
} | {tag: ("miTag", 4) for tag in (
    "string", "shader", "texture", "color texture", "scalar texture", "vector texture", "light", "material",
    "geometry", "lightprofile", "data", "spectrum")}


class Fault(Exception):
    """What is wrong with a declaration or a library, with its place."""


@dataclasses.dataclass
class Place:
    file: str
    line: int

    def __str__(self):
        return f"{self.file}:{self.line}"

    def file_name(self):
        return os.path.basename(self.file)


@dataclasses.dataclass
class Token:
    kind: str  # word, string, number, bytes, mark, or end
    text: str
    place: Place

    def __str__(self):
        return "the end of the file" if self.kind == "end" else f'"{self.text}"'


@dataclasses.dataclass
class Parameter:
    name: str
    type: str
    array: bool
    members: list  # of a struct
    place: Place
    offset: int = 0  # bytes, within the block or the enclosing struct

    def element_size(self):
        return size_of(self.members) if self.type == "struct" else SIMPLE_TYPES[self.type][1]

    def storage(self):
        """Where the parameter's own value lies: an array's follows its start and its count."""
        return self.offset + 8 if self.array else self.offset

    def spelled(self):
        return ("array " if self.array else "") + f'{self.type} "{self.name}"'


@dataclasses.dataclass
class Declaration:
    kind: str  # shader or data
    name: str
    result: Parameter  # of a shader
    parameters: list
    place: Place


def size_of(parameters):
    return sum(p.element_size() + (8 if p.array else 0) for p in parameters)


def lay_out(parameters):
    """Everything is made of words of four bytes, in order and without gaps."""
    offset = 0
    for parameter in parameters:
        parameter.offset = offset
        offset += parameter.element_size() + (8 if parameter.array else 0)
    return parameters


class TokenStream:
    """Tokens of a file and of what it includes, with conditionals resolved."""

    PATTERN = re.compile(
        r'''(?P<space>[ \t\r\n\f\v]+|\#[^\n]*)
          | "(?P<string>(?:\\["\\]|\\(?!["\\])|[^"\\\n])*)"
          | ^\$(?P<command>\w+)
          | (?P<word>[A-Za-z_]\w*)
          | (?P<number>[-+]?\.?\d[\w.+-]*)
          | '(?P<bytes>[^']*)'
          | (?P<mark>[()\[\]{},=])''', re.MULTILINE | re.VERBOSE)
    INCLUDED = re.compile(r'[ \t]*(?:"([^"\n]*)"|<([^>\n]*)>)')

    def __init__(self, path, include_dirs):
        self.include_dirs = include_dirs
        self.variables = {}
        self.files = []
        self.ahead = []
        self.tokens = self.read(path)
        self.end = Token("end", "", Place(path, 0))

    def next(self):
        return self.ahead.pop() if self.ahead else next(self.tokens, self.end)

    def peek(self):
        if not self.ahead:
            self.ahead.append(self.next())
        return self.ahead[-1]

    def accept(self, text):
        """Takes a word or mark."""
        token = self.peek()
        if token.kind in ("word", "mark") and token.text == text:
            self.next()
            return True
        return False

    def expect(self, text, after):
        if not self.accept(text):
            raise Fault(f'{self.peek().place}: expected "{text}" after {after}, not {self.peek()}')

    def read(self, path):
        try:
            with open(path, encoding="utf-8") as file:
                text = file.read()
        except OSError as fault:
            raise Fault(f"{path}: {fault.strerror}") from fault
        self.files.append(path)
        at, line = 0, 1
        conditions = []  # of the enclosing conditionals: "read", "skip" (a later part may be read) or "done"
        while at < len(text):
            place = Place(path, line)
            match = self.PATTERN.match(text, at)
            if not match:
                raise Fault(f"{place}: unexpected character {text[at]!r}")
            at = match.end()
            line += match.group().count("\n")
            if match.lastgroup == "command":
                included = self.INCLUDED.match(text, at) if match["command"] == "include" else None
                if included:
                    at = included.end()
                    if all(condition == "read" for condition in conditions):
                        yield from self.read(self.find(path, included, place))
                else:
                    at = self.conditional(match["command"], text, at, conditions, place)
            elif match.lastgroup != "space" and all(condition == "read" for condition in conditions):
                yield Token(match.lastgroup, match[match.lastgroup], place)
        if conditions:
            raise Fault(f"{path}: a conditional has no $endif")

    def find(self, including, included, place):
        name = included[1] or included[2]
        for folder in ([os.path.dirname(including)] if included[1] else []) + self.include_dirs:
            path = os.path.join(folder, name)
            if os.path.isfile(path):
                return path
        raise Fault(f'{place}: the included file "{name}" is not found')

    def conditional(self, word, text, at, conditions, place):
        count = {"ifdef": 1, "ifndef": 1, "ifeq": 2, "ifneq": 2, "else": 0, "elseifdef": 1, "elseifeq": 2, "endif": 0}
        if word not in count:
            raise Fault(f"{place}: ${word} has no place in declarations")
        keys = []
        for _ in range(count[word]):
            match = re.compile(r'\s*"([^"\n]*)"').match(text, at)
            if not match:
                raise Fault(f"{place}: ${word} needs a quoted string")
            keys.append(match[1])
            at = match.end()
        if word.startswith("if"):
            reading = all(condition == "read" for condition in conditions)
            conditions.append("done" if not reading else "read" if self.test(word, keys, place) else "skip")
            return at
        if not conditions:
            raise Fault(f"{place}: ${word} belongs to no conditional")
        if word == "endif":
            conditions.pop()
        elif conditions[-1] == "skip":
            if word == "else" or self.test(word.removeprefix("else"), keys, place):
                conditions[-1] = "read"
        elif conditions[-1] == "read":
            conditions[-1] = "done"
        return at

    def test(self, word, keys, place):
        key = keys[0]
        if re.search(r"(?<!\$)\{", key):
            raise Fault(f'{place}: "{key}": registry entries are not known here')
        substituted = re.sub(r"\$\{(\??)(\w+)\}",
                             lambda m: ("1" if m[2] in os.environ else "") if m[1] else os.environ.get(m[2], ""), key)
        value = (substituted or None) if "{" in key else self.variables.get(key)
        if word.endswith("def"):
            return (value is not None) == (word == "ifdef")
        return ((value or "") == keys[1]) == (word == "ifeq")


class DeclarationReader:
    """The declarations that stand in one file; those of files that it includes are not the file's."""

    def __init__(self, path, include_dirs):
        self.stream = TokenStream(path, include_dirs)
        self.declarations = []
        while (token := self.stream.next()).kind != "end":
            if token.kind != "word":
                continue
            if token.text == "declare":
                declaration = self.declaration()
                if declaration and token.place.file == path:
                    self.declarations.append(declaration)
            elif token.text == "set":
                name = self.name("the variable")
                self.stream.variables[name.text] = ""
                if self.stream.peek().kind == "string":
                    self.stream.variables[name.text] = self.stream.next().text

    def name(self, of):
        token = self.stream.next()
        if token.kind not in ("string", "word"):
            raise Fault(f"{token.place}: expected the name of {of}, not {token}")
        return token

    def declaration(self):
        stream = self.stream
        if stream.accept("phenomenon"):
            while not (stream.accept("end") and stream.accept("declare")):
                if stream.next().kind == "end":
                    raise Fault(f"{stream.files[0]}: a phenomenon is not closed")
            return None
        kind, closed = "shader", stream.accept("shader")
        if not closed and stream.accept("data"):
            kind, closed = "data", True
        result = None
        if kind == "shader":
            result = Parameter("", "color", False, [], stream.peek().place)
            result.array = stream.accept("array")
            if stream.peek().kind == "word":
                result.type = self.type()
                if result.type == "struct":
                    result.members = self.parameters("{", "}", '"struct"')
        name = self.name("what is declared")
        parameters = self.parameters("(", ")", "the declared name")
        # The old form ends with its parameters; what it says of the shader may still follow.
        if closed or stream.peek().text in ("version", "apply"):
            while not stream.accept("end"):
                if stream.next().kind == "end":
                    raise Fault(f'{name.place}: "{name.text}" is not closed by "end declare"')
            stream.expect("declare", '"end"')
        return Declaration(kind, name.text, result, parameters, name.place)

    def type(self):
        token = self.stream.next()
        text = token.text
        if text in ("color", "scalar", "vector") and self.stream.accept("texture"):
            text += " texture"
        if token.kind != "word" or (text != "struct" and text not in SIMPLE_TYPES):
            raise Fault(f"{token.place}: expected a parameter's type, not {token}")
        return text

    def parameters(self, opening, closing, after):
        stream = self.stream
        stream.expect(opening, after)
        parameters = []
        while not stream.accept(closing):
            array = stream.accept("array")
            kind = self.type()
            name = self.name("the parameter")
            members = self.parameters("{", "}", "the struct's name") if kind == "struct" else []
            if name.text in (p.name for p in parameters):
                raise Fault(f'{name.place}: "{name.text}" is declared twice in one list')
            parameters.append(Parameter(name.text, kind, array, members, name.place))
            if stream.accept("default"):
                self.skip_value()
            if not stream.accept(",") and stream.peek().text != closing:
                raise Fault(f'{stream.peek().place}: expected "," or "{closing}" in the list that "{opening}" opens, '
                            f"not {stream.peek()}")
        return lay_out(parameters)

    def skip_value(self):
        depth = 0
        while True:
            token = self.stream.peek()
            if token.kind == "end":
                return
            if token.kind == "mark":
                if depth == 0 and token.text in ",)}]":
                    return
                depth += (token.text in "([{") - (token.text in ")]}")
            self.stream.next()


def read_declarations(paths, include_dirs):
    """Declarations of the files, and all files that were read for them."""
    declarations, files = {}, []
    for path in paths:
        reader = DeclarationReader(path, include_dirs)
        files += reader.stream.files
        for declaration in reader.declarations:
            earlier = declarations.setdefault(declaration.name, declaration)
            if earlier is not declaration:
                raise Fault(f'{declaration.place}: "{declaration.name}" is declared at {earlier.place} already')
    return declarations, files
