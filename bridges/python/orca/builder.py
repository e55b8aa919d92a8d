# SPDX-License-Identifier: Apache-2.0
"""Elements of a scene, made from Python's values and arrays."""

import io
import math

import numpy

from .placing import into_instance, looking
from .scene_text import HEAD, SceneText, matrix, number, quoted, switch

OPTIONS = '''    object space
    samples 0 2  contrast 0.05 0.05 0.05 0.05  filter gauss 3 3
    trace on  trace depth 4 6 8  shadow on
    state "velaBaseState" ( "additivePasses" on ) "orcaFrameBufferState" ( )
'''


class Connected:
    """A parameter's value that a shader of the scene computes: Connected("planks.outColor")."""

    def __init__(self, shader):
        self.shader = shader


def parameter(value):
    """A value as shaders' parameters are written: a number, a switch, a text or an element's name, a colour or vector, a Connected
    shader; lists of more than four are arrays."""
    if isinstance(value, Connected):
        return f"= {quoted(value.shader)}"
    if isinstance(value, (bool, numpy.bool_)):
        return switch(value)
    if isinstance(value, str):
        return quoted(value)
    if isinstance(value, (int, numpy.integer)):
        return str(int(value))
    if isinstance(value, (float, numpy.floating)):
        return number(value)
    items = list(value)
    if 1 < len(items) <= 4 and all(isinstance(item, (int, float, numpy.number)) for item in items):
        return " ".join(number(item) for item in items)
    return "[ " + ", ".join(parameter(item) for item in items) + " ]"


def call(declaration, parameters):
    """A shader with its parameters."""
    return quoted(declaration) + " ( " + ", ".join(f"{quoted(name)} {parameter(value)}" for name, value in parameters.items()) + " )"


def _triangles(points, corners, normals, uvs):
    """Codes, rows of vertices and their numbers for the triangles. Raises ValueError for arrays that do not fit together."""
    points, corners = numpy.asarray(points, numpy.float32), numpy.asarray(corners)
    if points.ndim != 2 or points.shape[1] != 3:
        raise ValueError(f"points are rows of three numbers, not an array of shape {points.shape}")
    if corners.ndim != 2 or corners.shape[1] != 3 or corners.dtype.kind not in "iu":
        raise ValueError(f"triangles are rows of three whole numbers, not {corners.dtype} of shape {corners.shape}")
    if corners.size and not (0 <= corners.min() and corners.max() < len(points)):
        raise ValueError(f"triangles name points from {corners.min()} to {corners.max()}, and there are {len(points)}")
    given = [("n", "normals", normals, 3), ("t 2", "uvs", uvs, 2)]
    given = [(code, what, numpy.asarray(values, numpy.float32), width) for code, what, values, width in given if values is not None]
    for _, what, values, width in given:
        if values.shape not in ((len(points), width), (len(corners), 3, width)):
            raise ValueError(f"{what} are rows of {width} numbers, one for each point or three for each triangle, not {values.shape}")
    if any(values.ndim == 3 for _, _, values, _ in given):  # each corner is a vertex of its own
        given = [(code, what, values.reshape(-1, width) if values.ndim == 3 else values[corners].reshape(-1, width), width)
                 for code, what, values, width in given]
        points = points[corners].reshape(-1, 3)
        corners = numpy.arange(len(points)).reshape(-1, 3)
    rows = numpy.concatenate([points, *(values for _, _, values, _ in given)], axis=1)
    if not numpy.isfinite(rows).all():
        raise ValueError("points, normals and uvs have to be finite")
    return " ".join(["p", *(code for code, _, _, _ in given)]), rows, corners.astype(numpy.int32)


class Builder:
    """Collects the text of a scene. Elements are named by their caller, and refer to what was added before them."""

    def __init__(self, knows_libraries):
        self._stream = io.BytesIO()
        self._writer = SceneText(self._stream)
        self._members = []  # of the root group
        self._camera = None  # name of its instance
        self._options = ""
        if knows_libraries:
            self._writer.print(HEAD)

    @property
    def text(self):
        """What was added so far, in the scene language. Its bytes that are no UTF-8, such as binary numbers of meshes, are lone
        surrogates, as of os.fsdecode()."""
        return self._stream.getvalue().decode("utf-8", "surrogateescape")

    @text.setter
    def text(self, text):
        self._stream.seek(0)
        self._stream.truncate()
        self._stream.write(text.encode("utf-8", "surrogateescape"))

    def add(self, text):
        """Adds statements of the scene language."""
        self._writer.print(text)

    def options(self, statements):
        """Statements for the options of a scene that is built here, such as "finalgather on", after those that it has anyway."""
        self._options += f"    {statements}\n"

    def shader(self, name, declaration, **parameters):
        """A named shader, for parameters that are Connected to it and for materials."""
        self.add(f"shader {quoted(name)} {call(declaration, parameters)}")
        return name

    def material(self, name, declaration="orcaVelaLambert", *, shadow="orcaVelaFastShadow", statements="", **parameters):
        """A material of a surface shader with these parameters, which casts the shadow of a shadow shader.

        statements: further ones, such as 'displace "waves" ( )'
        """
        surface = self._writer.name(f"{name} surface")
        self.shader(surface, declaration, **parameters)
        opaque = "" if "transparency" in parameters else " opaque"
        self.add(f"material {quoted(name)}{opaque}\n    {call('orcaVelaShadingEngine', {'surfaceShader': surface})}\n"
                 f"    shadow {call(shadow, {})}\n    {statements}\nend material")
        return name

    def mesh(self, name, points, triangles, normals=None, uvs=None):
        """An object of triangles, from arrays; instance() places it.

        points: rows of three numbers; triangles: rows of three points' numbers from 0, counter-clockwise seen from outside;
        normals, uvs: rows of three and of two numbers, for each point, or of shape (triangles, 3, ...) for each corner
        """
        codes, rows, corners = _triangles(points, triangles, normals, uvs)
        if not len(corners):
            raise ValueError(f"the mesh {name!r} has no triangles")
        self._writer.triangles(name, codes, rows, corners)
        return name

    def instance(self, element, material=None, place=None, *, name=None, moved=None, statements=""):
        """Places an object, a light or a group and returns the name of the instance.

        place: 4 x 4 matrix for points as columns, from the element's space into the world (at, turned, scaled, looking); None: as
            it is
        moved: the same at the end of the shutter
        statements: further ones, such as 'shadow off' or 'data "links"'
        """
        name = name or self._writer.name(f"{element} here")
        text = f"instance {quoted(name)} {quoted(element)}"
        text += f" material {quoted(material)}" if material else ""
        for word, value in (("transform", place), ("motion transform", moved)):
            text += f"\n    {word} {matrix(into_instance(value))}" if value is not None else ""
        self.add(f"{text}\n    {statements}\nend instance")
        self._members.append(name)
        return name

    def light(self, name, shader="orcaVelaPointLight", *, position=None, direction=None, place=None, statements="", **parameters):
        """A light of a light shader with these parameters, placed; returns the name of its instance, by which light links know it.

        position, direction: in the space of the instance, which `place` leads into the world; a light has one of them, spot lights
            both; without any it is at the origin
        statements: further ones, such as "spread 0.8" or "disc 0 0 1 0.5 4 4"
        """
        if position is None and direction is None:
            position = (0, 0, 0)
        text = f"light {quoted(name)} {call(shader, parameters)}"
        for word, value in (("origin", position), ("direction", direction)):
            text += f"\n    {word} {' '.join(number(v) for v in value)}" if value is not None else ""
        self.add(f"{text}\n    {statements}\nend light")
        return self.instance(name, place=place)

    def camera(self, eye=(0, 0, 5), target=(0, 0, 0), *, up=(0, 1, 0), field_of_view=40.0, resolution=(960, 540), place=None,
               statements=""):
        """The camera that the scene is rendered from.

        field_of_view: of the picture's width, in degrees, 0 to 180
        place: instead of eye, target and up: 4 x 4 matrix from the camera's space, where it looks along -z, into the world
        statements: further ones, such as 'lens "velaThinLens" ( ... )' or 'environment = "sky"'
        """
        if self._camera:
            raise ValueError("the scene has a camera already")
        if not 0 < field_of_view < 180:
            raise ValueError(f"a field of view is between 0 and 180 degrees, not {field_of_view}")
        width, height = resolution
        focal = 0.5 / math.tan(math.radians(field_of_view) / 2)
        self.add(f'camera "camera"\n    framebuffer "main" datatype "rgba_fp" filtering on primary on\n'
                 f"    resolution {width} {height}  aspect {number(width / height)}  aperture 1  focal {number(focal)}\n    {statements}\n"
                 f'end camera')
        self._camera = self.instance("camera", place=looking(eye, target, up) if place is None else place)

    def _content(self):
        """The whole text: what was added and, where there is a camera, the options, the root group and the render statement."""
        content = self._stream.getvalue()
        if self._camera is None:
            return content
        members = " ".join(map(quoted, self._members))
        end = (f'options "settings"\n{OPTIONS}{self._options}end options\ninstgroup "scene" {members} end instgroup\n'
               f'render "scene" {quoted(self._camera)} "settings"\n')
        return content + end.encode("utf-8", "surrogateescape")
