# SPDX-License-Identifier: Apache-2.0
"""Hair as Blender evaluates it, of hair curves and of particle systems."""

import dataclasses

import numpy

# Of hair curves without a radius, as Cycles has it.
DEFAULT_RADIUS = 0.005


@dataclasses.dataclass
class Strands:
    """Straight pieces through points."""
    points: numpy.ndarray  # rows of place, in the object's space, and radius
    starts: numpy.ndarray  # the first point of each hair

    def drawn(self):
        """Without hairs of fewer than two points; None where no others are."""
        counts = numpy.diff(self.starts, append=len(self.points))
        if (counts >= 2).all():
            return self if len(counts) else None
        kept = counts >= 2
        points = self.points[numpy.repeat(kept, counts)]
        counts = counts[kept]
        return Strands(points, numpy.cumsum(counts) - counts) if len(counts) else None


def of_curves(data):
    """Those of a hair curves data block; None where it has none."""
    points = numpy.empty((len(data.points), 4), numpy.float32)
    places = numpy.empty(len(data.points) * 3, numpy.float32)
    data.points.foreach_get("position", places)
    points[:, :3] = places.reshape(-1, 3)
    radius = data.attributes.get("radius")
    points[:, 3] = DEFAULT_RADIUS
    if radius is not None and radius.domain == "POINT":
        radii = numpy.empty(len(points), numpy.float32)
        radius.data.foreach_get("value", radii)
        points[:, 3] = radii
    starts = numpy.empty(len(data.curves), numpy.int32)
    data.curves.foreach_get("first_point_index", starts)
    return Strands(numpy.nan_to_num(points), starts).drawn()


def _radii(settings, count):
    """Along a hair, from its root to its tip: Blender's widths are diameters."""
    left = 1 - numpy.linspace(0, 1, count)
    shape = settings.shape
    if shape < 0:
        left **= 1 + shape
    elif shape > 0:
        left **= 1 / max(1 - shape, 1e-6)
    radii = 0.5 * settings.radius_scale * (settings.tip_radius + left * (settings.root_radius - settings.tip_radius))
    if settings.use_close_tip:
        radii[-1] = 0
    return radii


def of_particles(thing, system):
    """The hairs that a particle system renders as paths, children in place of their parents; None where it has none."""
    settings = system.settings
    parents, children = len(system.particles), len(system.child_particles)
    first = 0 if settings.child_type == "NONE" or not children else parents
    steps = 2 ** settings.render_step + 1
    if settings.kink == "SPIRAL":
        steps += settings.kink_extra_steps
    hairs = parents + children - first
    points = numpy.empty((hairs, steps, 4), numpy.float32)
    for hair in range(hairs):
        for step in range(steps):
            points[hair, step, :3] = system.co_hair(object=thing, particle_no=first + hair, step=step)
    inward = numpy.array(thing.matrix_world.inverted_safe(), numpy.float32)
    points[:, :, :3] = points[:, :, :3] @ inward[:3, :3].T + inward[:3, 3]
    points[:, :, 3] = _radii(settings, steps)
    return Strands(numpy.nan_to_num(points).reshape(-1, 4), numpy.arange(hairs, dtype=numpy.int32) * steps).drawn()
