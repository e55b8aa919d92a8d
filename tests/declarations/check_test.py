#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
"""The build's comparison of declarations with records, and of libraries with declarations, finds what it is for."""

import os
import subprocess
import sys
import tempfile
import unittest

COMPILER, CHECK, INTERFACE = sys.argv[1:4]

DECLARATION = """$include "extent.mi"
declare shader struct { color "outColor", scalar "outAlpha" } "stripes" (
    color "first" default 1 1 1 1,
$ifeq "kind" "other"
    color "never",
$else
    integer "count", # a comment, "with quotes
$endif
    array struct "bands" { scalar "position", color texture "image" } default [ { "position" 0.5 } ]
) version 1 apply texture end declare
declare data "stripesData" ( array scalar "widths", boolean "on" default on ) end declare
"""

SOURCE = """#include <shader.h>
struct Band { miScalar position; miTag image; };
struct Stripes { miColor first; miInteger count; int i_bands, n_bands; Band bands[1]; };
struct Answer { miColor color; miScalar alpha; };
struct Widths { int i_widths, n_widths; miScalar widths[1]; miBoolean on; };
extern "C" {
DLLEXPORT int stripes_version(void) { return 1; }
DLLEXPORT miBoolean stripes(Answer*, miState*, Stripes*) { return miTRUE; }
}
#include "declared/stripes.h"
using stripesData = Widths;
#include "declared/stripesData.h"
"""

# What is replaced in the source, and what the compiler has to say: shader, parameter, and both sides.
RECORD_FAULTS = [
    ("miInteger count; int i_bands, n_bands;", "int i_bands, n_bands; miInteger count;",
     r'stripes: integer "count" is declared with count at byte 16.*\n(.*\n)*.*24 == 16'),
    ("miInteger count", "miScalar count", r'stripes: integer "count" is declared.*\n(.*\n)*.*float; Declared = int'),
    ("miInteger count", "miInteger amount", r"count. is not a member of .orca::declared::stripes::Record.*Stripes"),
    ("Band bands[1];", "Band bands[1]; miTag more;", r"stripes: 36 bytes are declared.*\n(.*\n)*.*40 == 36"),
    ("miTag image", "miInteger image", r'stripes, "bands": color texture "image" is declared'),
    ("int i_bands, n_bands", "int n_bands, i_bands", r'array struct "bands" is declared with i_bands at byte 20'),
    ("miScalar alpha", "miVector alpha", r'result of stripes: scalar "outAlpha" is declared'),
    ("miBoolean on", "miScalar on", r'stripesData: boolean "on" is declared'),
]
DECLARATION_FAULTS = [
    ('color "first"', 'colour "first"', r'stripes\.mi:3: expected a parameter.s type, not "colour"'),
    ('"count",', '"first",', r'stripes\.mi:7: "first" is declared twice'),
    ("$endif", "", r"stripes\.mi: a conditional has no \$endif"),
    ('"extent.mi"', '"nowhere.mi"', r'stripes\.mi:1: the included file "nowhere.mi" is not found'),
]
LIBRARY_FAULTS = [
    ("stripes_version", "bars_version",
     r'stripes\.mi:2: "stripes" is declared, but stripes\.so does not export it'),
    ('extern "C" {',
     'extern "C" {\nDLLEXPORT int bars_version(void) { return 1; }\n'
     "DLLEXPORT miBoolean bars(miColor*, miState*) { return miTRUE; }",
     r'"bars" is not declared, but stripes\.so exports it'),
    ('#include "declared/stripesData.h"', "",
     r'"stripesData" is declared, but no source of stripes\.so includes "declared/stripesData\.h"'),
]


class Check(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.folder = folder.name
        self.write("extent.mi", 'declare shader "elsewhere" ( ) end declare\n')

    def path(self, name):
        return os.path.join(self.folder, name)

    def write(self, name, text):
        with open(self.path(name), "w", encoding="utf-8") as file:
            file.write(text)

    def output(self, *command):
        """What a command says when it fails; empty when it does not."""
        done = subprocess.run(command, capture_output=True, text=True, check=False, env=dict(os.environ, LC_ALL="C"))
        return (done.stderr or "failed without a word") if done.returncode else ""

    def headers(self, declaration):
        self.write("stripes.mi", declaration)
        return self.output(sys.executable, CHECK, "headers", self.path("stripes.mi"), "--output", self.path("out"))

    def compiled(self, source, *options):
        self.write("stripes.cpp", source)
        return self.output(COMPILER, "-std=c++20", "-Wall", "-Wextra", "-Werror", "-isystem", INTERFACE, "-I",
                           self.path("out"), "-I", os.path.dirname(CHECK), *options, self.path("stripes.cpp"))

    def library(self, source):
        fault = self.compiled(source, "-shared", "-fPIC", "-o", self.path("stripes.so"))
        self.write("sources.txt", f"{self.folder}\nstripes.cpp")
        return fault or self.output(sys.executable, CHECK, "library", self.path("stripes.mi"), "--library",
                                    self.path("stripes.so"), "--sources", self.path("sources.txt"))

    def replaced(self, text, old, new):
        self.assertEqual(text.count(old), 1, old)
        return text.replace(old, new)

    def test_records(self):
        self.assertEqual(self.headers(DECLARATION), "")
        self.assertEqual(self.compiled(SOURCE, "-fsyntax-only"), "")
        for old, new, expected in RECORD_FAULTS:
            with self.subTest(new):
                self.assertRegex(self.compiled(self.replaced(SOURCE, old, new), "-fsyntax-only"), expected)

    def test_declarations(self):
        for old, new, expected in DECLARATION_FAULTS:
            with self.subTest(new):
                self.assertRegex(self.headers(self.replaced(DECLARATION, old, new)), expected)

    def test_libraries(self):
        self.assertEqual(self.headers(DECLARATION), "")
        self.assertEqual(self.library(SOURCE), "")
        for old, new, expected in LIBRARY_FAULTS:
            with self.subTest(expected):
                self.assertRegex(self.library(self.replaced(SOURCE, old, new)), expected)


if __name__ == "__main__":
    unittest.main(argv=sys.argv[:1])
