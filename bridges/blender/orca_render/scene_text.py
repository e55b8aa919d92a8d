# SPDX-License-Identifier: Apache-2.0
"""What a scene file is written with, where Blender's things are concerned; and the record of what it leaves out."""

import mathutils

from .orca import scene_text as shared
from .orca.scene_text import HEAD, color, number, quoted, switch  # noqa: F401

# Blender's z axis points up, that of the scenes y: (x, y, z) becomes (x, z, -y).
UPRIGHT = mathutils.Matrix(((1, 0, 0, 0), (0, 0, 1, 0), (0, -1, 0, 0), (0, 0, 0, 1)))

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


def is_invertible(matrix):
    determinant = matrix.to_3x3().determinant()
    return abs(determinant) > LEAST_DETERMINANT and all(abs(v) < 1e18 for row in matrix for v in row)


def rigid(matrix):
    """The placement without its scale and shear, right-handed."""
    place, turn, _ = matrix.decompose()
    return mathutils.Matrix.LocRotScale(place, turn, None)


class SceneText(shared.SceneText):
    """Writes a scene to a binary stream. Names of elements are those of Blender made unique."""

    def transform(self, placement, word="transform"):
        """Prints a matrix as instances take it: from the parent's space into their own, for points as rows.

        placement: matrix of Blender, with z up, from the instance's space into the world
        """
        inward = (UPRIGHT @ placement).inverted().transposed()
        self.print(f"    {word} {shared.matrix(inward)}")
