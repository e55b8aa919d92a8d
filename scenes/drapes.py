# SPDX-License-Identifier: Apache-2.0
"""Square cloths that hang over balls, without simulation: where a cloth hangs, its folds take up the length around that is too much."""

import math

from mesh import Mesh, smooth_step
from shapes import TURN


def drape(folds, side, turn):
    """Cloth over the ball of radius 1 about the origin.

    `folds`: how many hang down around; `side`: half of the sheet's; `turn`: makes each cloth another.
    """
    contact = math.radians(72.0)  # polar angle where the cloth leaves the ball

    def reach(angle):
        """Length from the middle of the sheet to its rim; the corners are rounded."""
        return side / (abs(math.cos(angle)) ** 6 + abs(math.sin(angle)) ** 6) ** (1.0 / 6.0)

    def surface(u, v):
        # The same direction on the sheet and around the ball.
        angle = TURN * u
        if v <= 0.0:
            return (0.0, 1.0, 0.0)
        s = v * reach(angle)
        if s < contact:
            radius, height = math.sin(s), math.cos(s)
        else:
            hanging = s - contact
            radius, height = math.sin(contact) + 0.16 * hanging * math.exp(-0.6 * hanging), math.cos(contact) - 0.975 * hanging
        # A ring radius + a cos(n angle) is as long as the sheet there for (n a / radius)^2 of about 1.9 (q^2 - 1).
        excess = math.sqrt(max(0.0, 1.9 * ((s / radius) ** 2 - 1.0)))
        depth = min(excess * radius / folds, 0.34) * smooth_step(0.75, 1.7, s)
        phase = folds * angle + 0.9 * math.sin(2.0 * angle + turn) + 0.6 * math.sin(3.0 * angle + 2.3 * turn) + 0.25 * (s - contact) * math.sin(angle + turn)
        wave = math.cos(phase)
        sharpened = wave + 0.16 * math.cos(2.0 * phase + 0.5)
        # Folds start thinly and grow, and deep ones lean a little.
        radius += depth * (0.95 + sharpened) * (0.85 + 0.25 * math.sin(1.3 * angle + 1.7 * turn))
        around = angle + 0.35 * depth * math.sin(phase + 0.6 * turn)
        height += 0.02 * depth * wave
        return (radius * math.cos(around), height, -radius * math.sin(around))

    mesh = Mesh()
    mesh.add_grid(288, 96, lambda u, v: surface(u, 1.0 - v), wraps=True)
    return mesh
