# SPDX-License-Identifier: Apache-2.0
"""The scenes that are rendered beside other renderers, by name."""
import dataclasses
import math
import random

import numpy

from scene_model import (Camera, Instance, Material, Mesh, PointLight, Scene, Sky, SquareLamp, Sun, at, box, smooth_normals, sphere)


# --- still life: a rock, balls of plastic, mirror and glass on a ground; 260,002 triangles --------------------------

def lattice(ix, iy, iz):
    """Fixed numbers from -1 to 1 at whole coordinates."""
    h = (ix * 374761393 + iy * 668265263 + iz * 2147483647 + 1274126177) & 0xFFFFFFFF
    h = ((h ^ (h >> 13)) * 1103515245) & 0xFFFFFFFF
    h = ((h ^ (h >> 16)) * 2246822519) & 0xFFFFFFFF
    return (h ^ (h >> 15)) / 2147483647.5 - 1.0


def value_noise(points):
    """Lattice numbers, interpolated smoothly between the eight around each point."""
    whole = numpy.floor(points)
    cells, at_cell = numpy.unique(whole.astype(numpy.int64), axis=0, return_inverse=True)
    corners = numpy.array([[lattice(*(int(c) + d for c, d in zip(cell, (k & 1, k >> 1 & 1, k >> 2)))) for k in range(8)]
                           for cell in cells])[at_cell.ravel()]
    t = points - whole
    t = t * t * (3.0 - 2.0 * t)
    along = corners[:, 0::2] + (corners[:, 1::2] - corners[:, 0::2]) * t[:, :1]
    across = along[:, 0::2] + (along[:, 1::2] - along[:, 0::2]) * t[:, 1:2]
    return across[:, 0] + (across[:, 1] - across[:, 0]) * t[:, 2]


def rock(slices, stacks):
    points, faces = sphere(slices, stacks)
    directions = numpy.asarray(points)
    height, strength, frequency = numpy.zeros(len(points)), 0.30, 1.6
    for octave in range(6):
        height += strength * value_noise(directions * frequency + [11.0 * octave, 0, 0])
        strength, frequency = strength * 0.52, frequency * 2.03
    points = [tuple(p) for p in directions * (1.3 * (1.0 + height))[:, None]]
    return points, faces, smooth_normals(points, faces)


def still_life():
    ground = [(-14.0, 0.0, 14.0), (14.0, 0.0, 14.0), (14.0, 0.0, -14.0), (-14.0, 0.0, -14.0)], [(0, 1, 2), (0, 2, 3)]
    ball, ball_faces = sphere(100, 101)
    stone, stone_faces, stone_normals = rock(400, 251)
    plastic = Material((0.60, 0.07, 0.05), highlight=0.6)
    return Scene(
        meshes={"ground": Mesh(*ground, Material((0.55, 0.52, 0.48))),
                "rock": Mesh(stone, stone_faces, Material((0.45, 0.36, 0.27)), stone_normals),
                "plastic": Mesh(ball, ball_faces, plastic, ball), "mirror": Mesh(ball, ball_faces, Material(mirror=0.9), ball),
                "glass": Mesh(ball, ball_faces, Material(glass=(0.86, 0.93, 0.90)), ball)},
        instances=[Instance("ground"), Instance("rock", at(-0.1, 1.25, -1.5)), Instance("plastic", at(-2.15, 0.85, 0.75, 0.85)),
                   Instance("mirror", at(2.15, 0.95, -0.1, 0.95)), Instance("glass", at(0.45, 0.68, 2.1, 0.68))],
        lights=[PointLight((3.6, 5.6, 4.4), (36.0, 33.48, 29.52)), Sun((0.55, -1.0, -0.5), (0.3375, 0.3825, 0.45))],
        camera=Camera((0.0, 2.6, 8.2), (0.0, 0.95, 0.0), 0.5 / math.tan(math.radians(21.0))),
        sky=Sky((0.22, 0.30, 0.42)), reflections=2, refractions=4)


def soft_shadows():
    scene = still_life()
    scene.lights[0].radius, scene.lights[1].angle = 0.35, 6.0
    return scene


def motion():
    """Balls that move while the shutter is open, in front of and behind what is in focus."""
    scene = still_life()
    scene.camera.lens_radius, scene.camera.focus = 0.07, 8.0
    for instance in scene.instances:
        instance.moved = {"plastic": (0.5, 0.0, 0.1), "mirror": (0.0, 0.35, 0.0)}.get(instance.mesh, (0.0, 0.0, 0.0))
    return scene


def materials():
    """Balls of metal, from glossy at the left to rough at the right; a lamp above and an even sky.

    Not of plastic: Cycles' Principled leaves the light that facets of a dielectric reflect in the diffuse light below as well.
    """
    ball, ball_faces = sphere(64, 33)
    meshes = {"ground": Mesh([(-14.0, 0.0, 14.0), (14.0, 0.0, 14.0), (14.0, 0.0, -14.0), (-14.0, 0.0, -14.0)], [(0, 1, 2), (0, 2, 3)],
                             Material((0.4, 0.39, 0.37)))}
    instances = [Instance("ground")]
    for row, metal in enumerate(((0.9, 0.45, 0.16), (0.6, 0.58, 0.55), (0.9, 0.7, 0.3))):
        for column, roughness in enumerate((0.1, 0.25, 0.4, 0.55, 0.75, 1.0)):
            name = f"ball{row}{column}"
            meshes[name] = Mesh(ball, ball_faces, Material(metal, roughness=roughness, metalness=1.0), ball)
            instances.append(Instance(name, at(2.3 * column - 5.75, 1.0, 3.0 - 2.5 * row)))
    return Scene(meshes, instances, [SquareLamp((-3.0, 7.0, 3.0), 2.5, (9.0, 8.6, 8.0))], Camera((0.0, 6.9, 15.5), (0.0, 0.6, 0.4), 0.97),
                 sky=Sky((0.35, 0.40, 0.5), lights=True, samples=4), reflections=2)


# --- a room ------------------------------------------------------------------------------------------------------------

WOOD, CLOTH, PAINT, CLAY = ((0.45, 0.28, 0.15), (0.25, 0.35, 0.5), (0.7, 0.2, 0.15), (0.6, 0.5, 0.4))


def room(window):
    """Furniture in a room, without lights; with an opening to the sky in the wall to the left, or closed."""
    meshes, instances = {}, []

    def add(points, faces, place, color):
        name = f"thing{len(meshes)}"
        meshes[name] = Mesh(points, faces, Material(color))
        instances.append(Instance(name, place))

    def put_box(x, y, z, half, color, turn=0.0):
        add(*box(half), at(x, y, z, turn=turn), color)

    points, inward = box((3, 1.4, 4))
    walls = [tuple(reversed(face)) for face in inward]
    if window:  # the wall at x = -3, face 3, is four parts around the opening
        outer = [points[k] for k in walls[3]]
        low, high, front, back = -0.5, 0.9, 1.5, -1.5
        inner = [(-3.0, low if p[1] < 0 else high, front if p[2] > 0 else back) for p in outer]
        first = len(points)
        points = points + outer + inner
        walls[3:4] = [(first + k, first + (k + 1) % 4, first + 4 + (k + 1) % 4, first + 4 + k) for k in range(4)]
    add(points, walls, at(0, 1.4, 1), (0.75, 0.72, 0.68))
    put_box(0, 0.72, -0.6, (0.9, 0.03, 0.5), WOOD)
    for x in (-0.8, 0.8):
        for z in (-1.0, -0.2):
            put_box(x, 0.345, z, (0.04, 0.345, 0.04), WOOD)
    for x, z, turn in ((-1.3, -0.6, 80), (1.3, -0.7, -95), (0.1, 0.4, 175), (-0.2, -1.5, 5)):
        put_box(x, 0.42, z, (0.24, 0.04, 0.24), CLOTH, turn)
        put_box(x, 0.2, z, (0.05, 0.18, 0.05), WOOD, turn)
        back = math.radians(turn)
        put_box(x - 0.22 * math.sin(back), 0.75, z - 0.22 * math.cos(back), (0.24, 0.25, 0.02), CLOTH, turn)
    put_box(-2.7, 1.0, -1.6, (0.25, 1.0, 0.9), PAINT)
    put_box(2.75, 0.4, 0.2, (0.22, 0.4, 1.0), PAINT)
    ball, faces = sphere(32, 16)
    for x, y, z, radius in ((-0.4, 0.9, -0.5, 0.15), (0.2, 0.85, -0.7, 0.1), (0.5, 0.83, -0.4, 0.08), (2.7, 0.95, 0.0, 0.15),
                            (-1.9, 0.3, 1.0, 0.3), (1.8, 0.25, 0.9, 0.25)):
        add(ball, faces, at(x, y, z, radius), CLAY)
    return Scene(meshes, instances, [], Camera((0.6, 1.6, 4.6), (-0.1, 0.95, -0.5), 0.9), size=(320, 180))


def lamps():
    """Twenty lamps below the ceiling, direct light alone, and a sky through the window."""
    scene = room(window=True)
    for i in range(5):
        for j in range(4):
            warm = (i + 2 * j) % 3 / 2
            scene.lights.append(SquareLamp((-2.2 + 1.1 * i, 2.75, -2.2 + 1.6 * j), 0.4, (1.6 + 0.5 * warm, 1.8, 2.3 - 0.8 * warm)))
    scene.sky, scene.light_samples = Sky((1.2, 1.5, 2.0), lights=True, samples=8), 4
    return scene


def many_lights():
    """A thousand small lamps, low over a yard full of boxes."""
    chance = random.Random(2)
    meshes = {"ground": Mesh([(-24.0, 0.0, 24.0), (24.0, 0.0, 24.0), (24.0, 0.0, -24.0), (-24.0, 0.0, -24.0)], [(0, 1, 2), (0, 2, 3)],
                             Material((0.6, 0.58, 0.55)))}
    for i, color in enumerate((WOOD, CLOTH, PAINT, CLAY)):
        meshes[f"box{i}"] = Mesh(*box((1, 1, 1)), Material(color))
    instances = [Instance("ground")]
    for _ in range(400):
        size = chance.uniform(0.1, 0.45)
        instances.append(Instance(f"box{chance.randrange(4)}",
                                  at(chance.uniform(-20, 20), size, chance.uniform(-20, 20), size, chance.uniform(0, 90))))
    lamps = [SquareLamp((chance.uniform(-20, 20), chance.uniform(1.0, 2.5), chance.uniform(-20, 20)), chance.uniform(0.05, 0.2),
                        tuple(chance.uniform(10, 60) for _ in range(3))) for _ in range(1000)]
    return Scene(meshes, instances, lamps, Camera((0.0, 9.0, 24.0), (0.0, 0.0, 4.0), 1.0), size=(320, 180), light_samples=16)


def bounces():
    """The room lit by what its surfaces send one another: only the sky behind the window shines."""
    scene = room(window=True)
    scene.sky, scene.bounces = Sky((9.0, 10.5, 12.0), lights=True), 3
    return scene


# --- many instances ------------------------------------------------------------------------------------------------------

def instances():
    """100,000 pebbles of metal in five colours."""
    chance = random.Random(1)
    ball, faces = sphere(24, 13)
    scene = still_life()
    colors = ((0.5, 0.12, 0.08), (0.45, 0.4, 0.3), (0.15, 0.3, 0.4), (0.3, 0.35, 0.15), (0.6, 0.5, 0.2))
    scene.meshes = {f"pebble{i}": Mesh(ball, faces, Material(color, roughness=0.45, metalness=1.0), ball) for i, color in enumerate(colors)}
    scene.meshes["ground"] = Mesh([(-40.0, 0.0, 40.0), (40.0, 0.0, 40.0), (40.0, 0.0, -40.0), (-40.0, 0.0, -40.0)], [(0, 1, 2), (0, 2, 3)],
                                  Material((0.4, 0.38, 0.35)))
    scene.instances = [Instance("ground")]
    for _ in range(100_000):
        x, z, radius = chance.uniform(-16, 16), chance.uniform(-30, 6.5), chance.uniform(0.03, 0.09)
        scene.instances.append(Instance(f"pebble{chance.randrange(5)}", at(x, radius * chance.uniform(0.6, 4.0), z, radius)))
    scene.reflections, scene.refractions = 1, 0
    return scene


BY_NAME = {make.__name__.replace("_", "-"): make for make in (still_life, soft_shadows, motion, materials, lamps, many_lights, bounces, instances)}


def scene_named(name, size=None):
    scene = BY_NAME[name]()
    return dataclasses.replace(scene, size=size) if size else scene
