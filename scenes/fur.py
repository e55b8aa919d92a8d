# SPDX-License-Identifier: Apache-2.0
"""The fur of a toy bear: hairs on its balls, combed down, in tufts. The bear looks along +z and sits on the origin."""

import math

# Centre, radius, length of the hairs and how many there are for each square unit.
BODY = ((0.0, 1.05, 0.0), 0.95, 0.30, 2000)
HEAD = ((0.0, 2.45, 0.15), 0.68, 0.24, 2600)
MUZZLE = ((0.0, 2.28, 0.72), 0.30, 0.09, 4500)
LIMBS = [((side * 0.82, 1.45, 0.42), 0.30, 0.18, 3000) for side in (-1, 1)] + \
        [((side * 0.62, 0.30, 0.80), 0.36, 0.18, 3000) for side in (-1, 1)]
EARS = [((side * 0.52, 3.00, 0.05), 0.24, 0.12, 4000) for side in (-1, 1)]
EYES = [(side * 0.29, 2.66, 0.84) for side in (-1, 1)]
BALLS = [BODY, HEAD, MUZZLE, *LIMBS, *EARS]

_BROWN, _CREAM = (0.30, 0.135, 0.045), (0.62, 0.45, 0.27)


class Hairs:
    """Cubic curves with a colour each, and a radius at each of four control points."""

    triangles = ()

    def __init__(self):
        self.numbers = []
        self.starts = []

    def add(self, color, points, radii):
        self.starts.append(len(self.numbers))
        self.numbers += color
        for point, radius in zip(points, radii):
            self.numbers += (*point, radius)

    def scene_text(self, name, label):
        """The hairs as an object of the scene language."""
        lines = [f'object "{name}"', f"    visible on  shadow on  trace on  tag {label}",
                 f"    hair degree 3 hair t 3 vertex r scalars {len(self.numbers)} ["]
        lines += [" ".join("%.5g" % number for number in self.numbers[at:at + 19]) for at in self.starts]
        lines += [f"    ] hairs {len(self.starts)} [", " ".join(map(str, self.starts)), "    ] end hair", "end object", ""]
        return "\n".join(lines)


def _noise(*whole):
    """A fixed number from -1 to 1 for whole numbers."""
    h = 0x9E3779B9
    for number in whole:
        h = ((h ^ (number & 0xFFFFFFFF)) * 0x85EBCA6B) & 0xFFFFFFFF
        h = ((h ^ (h >> 13)) * 0xC2B2AE35) & 0xFFFFFFFF
    return (h ^ (h >> 16)) / 2147483647.5 - 1.0


def _sum(a, b, factor=1.0):
    return tuple(x + factor * y for x, y in zip(a, b))


def _unit(a):
    length = math.sqrt(sum(x * x for x in a))
    return tuple(x / length for x in a)


def _on_sphere(i, count):
    """Points spread evenly: a spiral of the golden angle."""
    z = 1.0 - (2.0 * i + 1.0) / count
    r, turn = math.sqrt(max(0.0, 1.0 - z * z)), i * math.pi * (3.0 - math.sqrt(5.0))
    return (r * math.cos(turn), z, r * math.sin(turn))


def bear():
    hairs = Hairs()
    for number, (centre, radius, length, density) in enumerate(BALLS):
        count = int(4.0 * math.pi * radius * radius * density)
        tufts = [_on_sphere(i, count // 60) for i in range(count // 60)]
        light = number == 2 or number >= len(BALLS) - 2
        for i in range(count):
            out = _on_sphere(i, count)
            root = _sum(centre, out, radius)
            if any(math.dist(root, other[0]) < 0.97 * other[1] for k, other in enumerate(BALLS) if k != number):
                continue  # inside of another ball
            if any(math.dist(root, eye) < 0.24 for eye in EYES):
                continue
            jitter = [_noise(number, i, k) for k in range(6)]
            tuft = tufts[min(len(tufts) - 1, i // 60)]
            tip = _unit(_sum(_sum(out, (0.0, -0.75, 0.15)), jitter[:3], 0.28))
            tip = _unit(_sum(tip, _sum(tuft, out, -1.0), 0.8))
            long = length * (0.8 + 0.3 * jitter[3])
            points = [root, _sum(root, _unit(_sum(out, jitter[:3], 0.15)), 0.35 * long)]
            points.append(_sum(points[-1], _unit(_sum(out, tip, 1.2)), 0.35 * long))
            points.append(_sum(points[-1], tip, 0.4 * long))
            shade = 1.0 + 0.25 * jitter[4]
            base = _CREAM if light or (number == 0 and out[2] > 0.55 and abs(out[1]) < 0.75) else _BROWN
            thick = 0.0052 * (1.0 + 0.2 * jitter[5])
            hairs.add([shade * c for c in base], points, (thick, thick, 0.8 * thick, 0.1 * thick))
    return hairs
