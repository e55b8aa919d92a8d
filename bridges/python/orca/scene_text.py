# SPDX-License-Identifier: Apache-2.0
"""What a scene file is written with: names, numbers, matrices, blocks of binary numbers, triangles."""

import numpy

HEAD = '''link "velabase.so"
link "orca.so"
$include <velabase.mi>
$include <orca.mi>
'''

LONGEST_NAME = 200


def quoted(text):
    """A string of the scene language."""
    return '"' + text.replace("\\", "\\\\").replace('"', '\\"') + '"'


def number(value):
    """Nine digits tell every single-precision number apart."""
    return f"{value:.9g}"


def color(rgb):
    """Red, green and blue, with an alpha of 1."""
    return " ".join(f"{channel:.6g}" for channel in rgb[:3]) + " 1"


def switch(value):
    return "on" if value else "off"


def matrix(rows):
    """Sixteen numbers, for points as rows. Adding zero leaves no negative zeros."""
    return "  ".join(" ".join(number(v + 0.0) for v in row) for row in rows)


class SceneText:
    """Writes a scene to a binary stream."""

    def __init__(self, stream):
        self._stream = stream
        self._names = set()

    def print(self, text):
        self._stream.write(text.encode("utf-8", "surrogateescape"))
        self._stream.write(b"\n")

    def name(self, wanted):
        """A name that nothing else in the scene has: all elements share one table."""
        clean = "".join("_" if c in '"\\:' or ord(c) < 32 or ord(c) == 127 else c for c in wanted)[:LONGEST_NAME] or "unnamed"
        unique, count = clean, 1
        while unique in self._names:
            count += 1
            unique = f"{clean} {count}"
        self._names.add(unique)
        return unique

    def block(self, array):
        """Prints an array of numbers as a block of bytes, most significant first."""
        kind = ">f4" if array.dtype.kind == "f" else ">i4"
        self._stream.write(b"`")
        self._stream.write(numpy.ascontiguousarray(array).astype(kind).tobytes())
        self._stream.write(b"`\n")

    def bytes(self, data):
        """Prints bytes as strings of hexadecimal digits, of which each holds at most 1024."""
        data = bytes(data)
        for start in range(0, len(data), 1024):
            self.print(f"'{data[start:start + 1024].hex()}'")

    def triangles(self, name, codes, vertices, corners, slots=None):
        """Prints an object of triangles.

        codes: what the numbers of a vertex are: "p" its place, then perhaps "n" a normal, "t 2" texture coordinates
        vertices: a row of these numbers for each vertex
        corners: three vertices for each triangle, counter-clockwise seen from outside
        slots: for each triangle which of its instance's materials it has; None: the only one
        """
        tagged = "" if slots is None else "  tagged on"
        self.print(f'object "{name}"\n    visible on  shadow on  trace on{tagged}\n    group\n'
                   f"        trilist vertex {len(vertices)} {codes} triangle {len(corners)}\n            scalar")
        self.block(vertices)
        self.print("            integer")
        self.block(corners if slots is None else numpy.concatenate([slots[:, None], corners], axis=1))
        self.print("        end trilist\n    end group\nend object\n")

    def hairs(self, name, points, starts):
        """Prints an object of hairs with straight pieces.

        points: rows of a place and a radius, for all hairs
        starts: the first point of each hair
        """
        self.print(f'object "{name}"\n    visible on  shadow on  trace on\n    hair degree 1 vertex r scalars {4 * len(points)}')
        self.block(points)
        self.print(f"        hairs {len(starts)}")
        self.block(4 * starts)
        self.print("    end hair\nend object\n")
