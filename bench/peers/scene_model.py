# SPDX-License-Identifier: Apache-2.0
"""What a scene for several renderers is made of: y up, metres, radiance; angles in degrees.

A surface reflects `color / pi` of what it receives, so that a light's strength and the picture's value do not depend on who renders.
"""
import dataclasses
import math

import numpy


@dataclasses.dataclass
class Material:
    """Diffuse colour, then what is added to it. Glass is a sharp refraction alone; with a roughness, the material is of GGX facets alone."""
    color: tuple = (0.0, 0.0, 0.0)
    highlight: float = 0.0        # strength of a Phong lobe of the lights
    exponent: float = 30.0        # of that lobe
    mirror: float = 0.0           # sharp reflection
    glass: tuple = ()             # colour that each crossed surface multiplies by, its shadow too
    ior: float = 1.5
    roughness: float = 0.0        # above 0: facets of a dielectric over the colour, or of metal of this colour; its square is GGX's alpha
    metalness: float = 0.0


@dataclasses.dataclass
class Mesh:
    points: list
    faces: list                   # corners, counter-clockwise seen from outside
    material: Material
    normals: list = dataclasses.field(default_factory=list)  # at the points; none: flat


@dataclasses.dataclass
class Instance:
    mesh: str
    place: numpy.ndarray = dataclasses.field(default_factory=lambda: numpy.eye(4))  # of columns, object to world
    moved: tuple = (0.0, 0.0, 0.0)  # by how much it moves in the world while the shutter is open


@dataclasses.dataclass
class PointLight:
    """`intensity` over the squared distance is the radiance of a white diffuse surface that faces it."""
    position: tuple
    intensity: tuple
    radius: float = 0.0


@dataclasses.dataclass
class Sun:
    """`strength` is the radiance of a white diffuse surface that faces it."""
    direction: tuple              # in which the light goes
    strength: tuple
    angle: float = 0.0            # across its disc


@dataclasses.dataclass
class SquareLamp:
    """Shines down, from a square parallel to the ground."""
    centre: tuple
    size: float
    radiance: tuple


@dataclasses.dataclass
class Sky:
    """One colour all around. It lights surfaces when `lights` is set, and is seen, reflected and refracted in any case."""
    color: tuple
    lights: bool = False
    samples: int = 2              # along each side of a sample's square, for orca-render's dome light


@dataclasses.dataclass
class Camera:
    eye: tuple
    target: tuple
    focal: float                  # over the width of the picture
    lens_radius: float = 0.0
    focus: float = 1.0            # distance along the view axis


@dataclasses.dataclass
class Scene:
    meshes: dict
    instances: list
    lights: list
    camera: Camera
    sky: Sky = None
    reflections: int = 0
    refractions: int = 0
    bounces: int = 0              # of diffuse light
    light_samples: int = 0        # lights that orca-render chooses at each point; 0: all
    size: tuple = (480, 270)


def unit(vector):
    return numpy.asarray(vector, dtype=float) / numpy.linalg.norm(vector)


def looking(eye, target):
    """Place of something that looks along its own -z, x level: right, up, back and position are the columns."""
    back = unit(numpy.subtract(eye, target))
    right = unit(numpy.cross((0.0, 1.0, 0.0), back))
    place = numpy.eye(4)
    place[:3, 0], place[:3, 1], place[:3, 2], place[:3, 3] = right, numpy.cross(back, right), back, eye
    return place


def at(x, y, z, scale=1.0, turn=0.0):
    """Scaled, turned about y, moved."""
    c, s = math.cos(math.radians(turn)), math.sin(math.radians(turn))
    place = numpy.eye(4)
    place[:3, :3] = scale * numpy.array([[c, 0, s], [0, 1, 0], [-s, 0, c]])
    place[:3, 3] = x, y, z
    return place


def box(half):
    """Points and faces of a box around the origin."""
    points = [(x * half[0], y * half[1], z * half[2]) for z in (-1, 1) for y in (-1, 1) for x in (-1, 1)]
    return points, [(4, 5, 7, 6), (1, 0, 2, 3), (5, 1, 3, 7), (0, 4, 6, 2), (6, 7, 3, 2), (0, 1, 5, 4)]


def sphere(slices, stacks):
    """Unit sphere of triangles; its points are its normals."""
    points = [(0.0, 1.0, 0.0)]
    for j in range(1, stacks):
        t = math.pi * j / stacks
        points += [(math.sin(t) * math.cos(p), math.cos(t), -math.sin(t) * math.sin(p))
                   for p in (2 * math.pi * i / slices for i in range(slices))]
    points.append((0.0, -1.0, 0.0))
    index = lambda j, i: 1 + (j - 1) * slices + i % slices
    faces = [(0, index(1, i), index(1, i + 1)) for i in range(slices)]
    for j in range(1, stacks - 1):
        for i in range(slices):
            a, b, c, d = index(j, i), index(j + 1, i), index(j + 1, i + 1), index(j, i + 1)
            faces += [(a, b, c), (a, c, d)]
    return points, faces + [(index(stacks - 1, i), len(points) - 1, index(stacks - 1, i + 1)) for i in range(slices)]


def smooth_normals(points, faces):
    """Of triangles, weighted by their areas."""
    p, f = numpy.asarray(points), numpy.asarray(faces)
    across = numpy.cross(p[f[:, 1]] - p[f[:, 0]], p[f[:, 2]] - p[f[:, 0]])
    sums = numpy.zeros_like(p)
    for corner in range(3):
        numpy.add.at(sums, f[:, corner], across)
    return [tuple(n) for n in sums / numpy.linalg.norm(sums, axis=1, keepdims=True)]
