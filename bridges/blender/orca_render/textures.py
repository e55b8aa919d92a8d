# SPDX-License-Identifier: Apache-2.0
"""Look-ups of textures as shaders of the scene."""

from . import scene_text
from .values import Texture, Value, constant

WRAPS = {"REPEAT": 0, "EXTEND": 1, "CLIP": 3, "MIRROR": 2}


class Textures:
    """Prints the look-ups of one material.

    uv_map and colors say afterwards which coordinates and colours of meshes they need (see meshes.Wanted).
    """

    def __init__(self, text, images, inputs, name):
        self._text = text
        self._images = images
        self._inputs = inputs
        self._name = name
        self._printed = {}
        self.uv_map = ""
        self.colors = None

    def color(self, value):
        """A parameter's value of type colour."""
        shader = self._shader(value)
        return scene_text.color(value.offset) if shader is None else f'= "{shader[0]}{shader[1]}"'

    def scalar(self, value):
        """A parameter's value of type scalar."""
        shader = self._shader(value)
        if shader is None:
            return scene_text.number(value.scalar)
        if not shader[1]:
            self._inputs.lose("colours where a number is expected")
            return scene_text.number(value.scalar)
        return f'= "{shader[0]}.outLuminance"'

    def settled(self, value):
        """The value itself where it can be looked up, else a constant for it: of an image that is missing, grey."""
        if value.is_constant or value.texture.kind in {"colors", "checker"} or self._element(value.texture):
            return value
        return constant([g * 0.5 + o for g, o in zip(value.gain, value.offset)])

    def derived(self, name, like, sources, compute):
        """A colour that is computed of images (see Images.derived), looked up where the texture `like` is."""
        element = self._images.derived(name, sources, compute, is_color=True)
        if element is None:
            return constant(0.5)
        return Value(texture=Texture("image", like.node, groups=like.groups, element=element))

    def _shader(self, value: Value):
        """Name of the shader and the member that is the colour; None for a constant."""
        if value.is_constant:
            return None
        if value not in self._printed:
            self._printed[value] = getattr(self, "_" + value.texture.kind)(value)
        return self._printed[value]

    def _element(self, texture):
        """Name of an image's texture in the scene; None where there is no image."""
        if texture.kind == "panorama":
            self._inputs.lose("images of all directions on surfaces")
            return None
        return texture.element or self._images.part(texture.node.image, texture.node.image_user, texture.part)

    def _image(self, value):
        node = value.texture.node
        if node.projection != "FLAT":
            self._inputs.lose("projections of images other than by coordinates")
        name = self._text.name(self._name + " image")
        parts = [f'"texture" "{self._element(value.texture)}"', *self._coordinate(value.texture)]
        wrap = WRAPS.get(node.extension, 0)
        if wrap:
            parts.append(f'"wrapU" {wrap}, "wrapV" {wrap}' + (', "defaultColor" 0 0 0 0' if wrap == 3 else ""))
        if value.gain != (1.0, 1.0, 1.0):
            parts.append(f'"gain" {scene_text.color(value.gain)}')
        if value.offset != (0.0, 0.0, 0.0):
            parts.append(f'"offset" {" ".join(f"{o:.6g}" for o in value.offset)} 0')
        self._text.print(f'shader "{name}" "velaFileTexture" ( {", ".join(parts)} )')
        return name, ".outColor"

    def _colors(self, value):
        self.colors = value.texture.node.layer_name if value.texture.node.type == "VERTEX_COLOR" else value.texture.node.attribute_name
        if value.offset != (0.0, 0.0, 0.0):
            self._inputs.lose("sums with colours of vertices")
        name = self._text.name(self._name + " vertex colour")
        self._text.print(f'shader "{name}" "velaVertexColor" ( "space" 1, "gain" {scene_text.color(value.gain)} )')
        return name, ""

    def _checker(self, value):
        node = value.texture.node
        first, second = (
            scene_text.color([g * c + o for g, c, o in zip(value.gain, list(node.inputs[socket].default_value)[:3], value.offset)])
            for socket in ("Color1", "Color2"))
        # Blender counts squares, scenes pairs of them.
        place = self._coordinate(value.texture, node.inputs["Scale"].default_value / 2)
        # The square at the origin has Blender's second colour.
        parts = [f'"color1" {second}', f'"color2" {first}', *place]
        name = self._text.name(self._name + " checker")
        self._text.print(f'shader "{name}" "velaChecker" ( {", ".join(parts)} )')
        return name, ""

    def _coordinate(self, texture, scale=1.0):
        """The coordinate parameter of a look-up, if it needs one."""
        repeat, offset = [scale, scale], [0.0, 0.0]
        with self._inputs.followed(texture.node.inputs["Vector"], texture.groups) as (vector, output):
            if vector is not None and vector.type == "MAPPING":
                at, turn, size = (vector.inputs[name] for name in ("Location", "Rotation", "Scale"))
                if any(socket.is_linked for socket in (at, turn, size)) or vector.vector_type not in {"POINT", "TEXTURE"}:
                    self._inputs.lose("placements of images that change or are for normals")
                elif any(abs(angle) > 1e-6 for angle in turn.default_value):
                    self._inputs.lose("rotations of images")
                else:
                    for axis in (0, 1):
                        by, moved = size.default_value[axis], at.default_value[axis]
                        if vector.vector_type == "TEXTURE":
                            by = 1 / by if by else 1.0
                            moved = -moved * by
                        repeat[axis] = scale * by
                        offset[axis] = scale * moved
                with self._inputs.followed(vector.inputs["Vector"]) as found:
                    vector, output = found
            self._note_space(vector, output)
        if repeat == [1.0, 1.0] and offset == [0.0, 0.0]:
            return []
        name = self._text.name(self._name + " place")
        self._text.print(f'shader "{name}" "velaPlace2d" ( "repeatU" {repeat[0]:.6g}, "repeatV" {repeat[1]:.6g}, '
                         f'"offsetU" {offset[0]:.6g}, "offsetV" {offset[1]:.6g} )')
        return [f'"coordinate" = "{name}"']

    def _note_space(self, vector, output):
        """Notes which map of a mesh is looked up."""
        if vector is None or (vector.type == "TEX_COORD" and output.identifier == "UV"):
            return
        if vector.type in {"UVMAP", "ATTRIBUTE"}:
            name = vector.uv_map if vector.type == "UVMAP" else vector.attribute_name
            if self.uv_map and name and name != self.uv_map:
                self._inputs.lose("images on other texture spaces than the first, where they are now")
            self.uv_map = self.uv_map or name
            return
        self._inputs.lose("projections of images other than by coordinates")
