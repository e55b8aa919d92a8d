# SPDX-License-Identifier: Apache-2.0
"""What a scene file is written with: names, numbers, matrices, binary blocks; and the record of what it leaves out."""

import mathutils
import numpy

# Blender's z axis points up, that of the scenes y: (x, y, z) becomes (x, z, -y).
UPRIGHT = mathutils.Matrix(((1, 0, 0, 0), (0, 0, 1, 0), (0, -1, 0, 0), (0, 0, 0, 1)))

LONGEST_NAME = 200
# Smaller placements have no inverse in single precision.
LEAST_DETERMINANT = 1e-30


class Losses:
    """What a scene leaves out: for each kind of thing the names of those that had it."""

    SHOWN = 3

    def __init__(self):
        self._lost = {}

    def add(self, what, who=""):
        self._lost.setdefault(what, {})[who] = None

    def lines(self):
        """One line for each kind of thing."""
        for what, who in sorted(self._lost.items()):
            names = [f'"{name}"' for name in list(who)[:self.SHOWN] if name]
            more = f" and {len(who) - self.SHOWN} more" if len(who) > self.SHOWN else ""
            yield f"{what}: {', '.join(names)}{more}" if names else what


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


def is_invertible(matrix):
    determinant = matrix.to_3x3().determinant()
    return abs(determinant) > LEAST_DETERMINANT and all(abs(v) < 1e18 for row in matrix for v in row)


def rigid(matrix):
    """The placement without its scale and shear, right-handed."""
    place, turn, _ = matrix.decompose()
    return mathutils.Matrix.LocRotScale(place, turn, None)


class SceneText:
    """Writes a scene to a binary stream.

    Names of the scene language are those of Blender made unique, because there lights, materials and objects share
    one table.
    """

    def __init__(self, stream):
        self._stream = stream
        self._names = set()

    def print(self, text):
        self._stream.write(text.encode())
        self._stream.write(b"\n")

    def name(self, wanted):
        """A name that nothing else in the scene has."""
        clean = "".join("_" if c in '"\\:' or ord(c) < 32 or ord(c) == 127 else c for c in wanted)[:LONGEST_NAME] or "unnamed"
        unique, count = clean, 1
        while unique in self._names:
            count += 1
            unique = f"{clean} {count}"
        self._names.add(unique)
        return unique

    def transform(self, placement, word="transform"):
        """Prints a matrix as instances take it: from the parent's space into their own, for points as rows.

        placement: matrix of Blender, with z up, from the instance's space into the world
        """
        inward = (UPRIGHT @ placement).inverted().transposed()
        # Adding zero leaves no negative zeros.
        self.print(f"    {word} " + "  ".join(" ".join(number(v + 0.0) for v in row) for row in inward))

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
