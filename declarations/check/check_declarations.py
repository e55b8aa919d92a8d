#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
"""Compares the shaders that a library declares for scenes with those that it exports.

A shader's parameters are spelled twice: in its declaration, which scenes read, and in the C++ record that is laid over
the block of parameters. This script reads declarations (.mi) and

  headers  writes for each declaration a header that compares it with the record at compile time; the shader's source
           includes it at its end
  library  compares a linked library with its declarations: every shader is declared, exported and compared
  layout   prints where every parameter lies in its block

OrcaDeclarations.cmake runs the first two as parts of a build. Python's standard library is all that is needed.
"""

import argparse
import dataclasses
import os
import re
import subprocess
import sys

sys.dont_write_bytecode = True  # the folder may be an installed one
from declaration_reader import SIMPLE_TYPES, Fault, read_declarations, size_of

class HeaderWriter:
    """The header that compares one declaration with the record."""

    def __init__(self, declaration):
        self.declaration = declaration
        name = identifier(declaration.name, declaration.place)
        # No line numbers here: a line more in the declarations is no reason to compile every shader again.
        self.lines = [f"// Written by check_declarations.py from {declaration.place.file_name()}; do not edit.",
                      "#pragma once", "", '#include "declaration_check.h"', "",
                      "// All members are made of words of four bytes, so offsets hold in derived records, too.",
                      "#pragma GCC diagnostic push", '#pragma GCC diagnostic ignored "-Winvalid-offsetof"', "",
                      f"namespace orca::declared::{name} {{", ""]
        if declaration.kind == "shader":
            self.lines += [f"using Entry = EntryPoint<decltype(::{name})>;",
                           "using Record = Entry::Record;", "using Result = Entry::Result;"]
            self.result(declaration.result)
        else:
            self.lines.append(f"using Record = ::{name};")
        if declaration.parameters:
            self.fields("Record", declaration.parameters, name)
        else:
            self.expect("NoFields<Record>", declaration.place, f"{name} is declared without parameters")
        self.lines += ["", f"}} // namespace orca::declared::{name}", "", "#pragma GCC diagnostic pop"]

    def text(self):
        return "\n".join(self.lines) + "\n"

    def expect(self, condition, place, message):
        quoted = f"{place.file_name()}: {message}".replace("\\", "\\\\").replace('"', '\\"')
        self.lines.append(f'static_assert({condition}, "{quoted}");')

    def result(self, result):
        name = self.declaration.name
        if result.array:
            raise Fault(f"{result.place}: the result of {name} is an array, which no record holds")
        if result.type == "struct":
            self.fields("Result", result.members, f"result of {name}", lambda member: re.sub(
                r"^out([A-Z])", lambda first: first[1].lower(), member))
        else:
            self.expect(f"SameResult<Result, {SIMPLE_TYPES[result.type][0]}>", self.declaration.place,
                        f"the result of {name} is declared {result.type}, and is of another type in the source")

    def fields(self, record, parameters, owner, field_name=lambda name: name):
        for parameter in parameters:
            name = identifier(field_name(parameter.name), parameter.place)
            said = f"{owner}: {parameter.spelled()} is declared"
            field_type = f"decltype({record}::{name})"
            self.lines.append("")
            if parameter.array:
                self.field(record, f"i_{name}", "miInteger", parameter.offset, parameter.place, said)
                self.field(record, f"n_{name}", "miInteger", parameter.offset + 4, parameter.place, said)
                self.expect(f"std::extent_v<{field_type}> == 1", parameter.place, f"{said}; its field is {name}[1]")
                field_type = f"std::remove_extent_t<{field_type}>"
            if parameter.type == "struct":
                inner = f"{record}_{name}"
                self.lines.append(f"using {inner} = {field_type};")
            else:
                self.expect(f"SameType<{field_type}, {SIMPLE_TYPES[parameter.type][0]}>", parameter.place,
                            f"{said}; {name} is of another type in the record")
            self.offset(record, name, parameter.storage(), parameter.place, said)
            if parameter.type == "struct":
                self.fields(inner, parameter.members, f'{owner}, "{parameter.name}"')
        self.lines.append("")
        size = size_of(parameters)
        self.expect(f"sizeof({record}) == {size}", self.declaration.place,
                    f"{owner}: {size} bytes are declared; the record has more fields or fewer")

    def field(self, record, name, field_type, offset, place, said):
        self.expect(f"SameType<decltype({record}::{name}), {field_type}>", place,
                    f"{said}; {name} is of another type in the record")
        self.offset(record, name, offset, place, said)

    def offset(self, record, name, offset, place, said):
        self.expect(f"offsetof({record}, {name}) == {offset}", place,
                    f"{said} with {name} at byte {offset}; the record has it elsewhere")


def identifier(name, place):
    if not re.fullmatch(r"[A-Za-z_]\w*", name):
        raise Fault(f'{place}: "{name}" cannot be a name in C++')
    return name


def write_headers(arguments):
    declarations, files = read_declarations(arguments.declarations, arguments.include)
    folder = os.path.join(arguments.output, "declared")
    os.makedirs(folder, exist_ok=True)
    headers = {f"{d.name}.h": HeaderWriter(d).text() for d in declarations.values()}
    for stale in set(os.listdir(folder)) - set(headers):
        os.remove(os.path.join(folder, stale))
    for name, text in headers.items():
        path = os.path.join(folder, name)
        # A header that stays as it is keeps its time, so that nothing is compiled again.
        if os.path.isfile(path):
            with open(path, encoding="utf-8") as file:
                if file.read() == text:
                    continue
        with open(path, "w", encoding="utf-8") as file:
            file.write(text)
    print("\n".join(dict.fromkeys(files)))


def exported_shaders(library, nm):
    """A shader is a function `name` with a function `name_version`."""
    listed = subprocess.run([nm, "-D", "--defined-only", library], capture_output=True, text=True, check=False)
    if listed.returncode != 0:
        raise Fault(f"{library}: {nm}: {listed.stderr.strip()}")
    symbols = {line.split()[-1] for line in listed.stdout.splitlines() if line.strip()}
    return {name.removesuffix("_version") for name in symbols if name.endswith("_version")} & symbols


def included_checks(lists):
    """Names of the declarations whose headers the sources include. A list's first line is the sources' folder."""
    included = set()
    for path in lists:
        with open(path, encoding="utf-8") as file:
            folder, *sources = file.read().split("\n")
        for source in sources:
            if not source.endswith((".cpp", ".cc", ".cxx", ".C")):
                continue
            with open(os.path.join(folder, source), encoding="utf-8", errors="replace") as file:
                included |= set(re.findall(r'^\s*#\s*include\s*["<]declared/(\w+)\.h[">]', file.read(), re.MULTILINE))
    return included


def check_library(arguments):
    declarations, _ = read_declarations(arguments.declarations, arguments.include)
    exported = exported_shaders(arguments.library, arguments.nm)
    included = included_checks(arguments.sources)
    shaders = {name for name, declaration in declarations.items() if declaration.kind == "shader"}
    library = os.path.basename(arguments.library)
    faults = [f'{arguments.declarations[0]}: "{name}" is not declared, but {library} exports it'
              for name in sorted(exported - shaders)]
    faults += [f'{declarations[name].place}: "{name}" is declared, but {library} does not export it'
               for name in sorted(shaders - exported)]
    faults += [f'{declarations[name].place}: "{name}" is declared, but no source of {library} includes '
               f'"declared/{name}.h", which compares its record'
               for name in sorted(set(declarations) - included - (shaders - exported))]
    if faults:
        raise Fault("\n".join(faults))


def print_layout(arguments):
    def show(owner, parameters):
        for parameter in parameters:
            print(f"{owner}.{parameter.name}", parameter.storage())
            show(f"{owner}.{parameter.name}", parameter.members)

    declarations, _ = read_declarations(arguments.declarations, arguments.include)
    for declaration in declarations.values():
        print(declaration.name, size_of(declaration.parameters))
        show(declaration.name, declaration.parameters)
        if declaration.result:
            show(f"{declaration.name}.result", declaration.result.members)


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    commands = parser.add_subparsers(required=True, metavar="COMMAND")

    def command(name, function, text):
        subparser = commands.add_parser(name, help=text)
        subparser.set_defaults(function=function)
        subparser.add_argument("declarations", nargs="+", metavar="FILE.mi")
        subparser.add_argument("-I", dest="include", action="append", default=[], metavar="DIR",
                               help="where included files are looked for besides the including file's folder")
        return subparser

    headers = command("headers", write_headers, "write OUTPUT/declared/NAME.h for each declaration; print files read")
    headers.add_argument("--output", required=True, metavar="DIR")
    library = command("library", check_library, "compare a linked library with its declarations")
    library.add_argument("--library", required=True, metavar="FILE.so")
    library.add_argument("--nm", default="nm", metavar="PROGRAM", help="lists a library's symbols (default: nm)")
    library.add_argument("--sources", action="append", default=[], metavar="LIST",
                         help="a file with a folder and then the sources in it, one on a line")
    command("layout", print_layout, "print the offset in bytes of every parameter")
    arguments = parser.parse_args()
    try:
        arguments.function(arguments)
    except Fault as fault:
        sys.exit("\n".join(f"error: {line}" for line in str(fault).splitlines()))


if __name__ == "__main__":
    main()
