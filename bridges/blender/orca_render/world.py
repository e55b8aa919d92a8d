# SPDX-License-Identifier: Apache-2.0
"""The world: what is behind everything, and the light that it sends."""

import math

from . import scene_text
from .images import Images
from .inputs import Inputs
from .values import Value, constant


def _background(world, inputs):
    """What the world's nodes show: a colour or an image times a colour."""
    if not world.use_nodes or world.node_tree is None:
        return constant(list(world.color))
    output = world.node_tree.get_output_node("CYCLES") or world.node_tree.get_output_node("ALL")
    if output is None:
        return constant(0)
    if output.inputs["Volume"].is_linked:
        inputs.lose("volumes of worlds")
    with inputs.followed(output.inputs["Surface"]) as (node, _):
        if node is None:
            return constant(0)
        if node.type not in {"BACKGROUND", "EMISSION"}:
            inputs.lose(f"worlds of the kind {node.bl_label}, shown as their colour in the viewport")
            return constant(list(world.color))
        strength = inputs.number(node.inputs["Strength"], "textures of the strength of worlds")
        return inputs.value(node.inputs["Color"]).scaled(strength)


def _rotation(texture, inputs):
    """Degrees by which an image of all directions is turned about the up axis."""
    # The middle of Blender's images looks along x, that of scenes along y of Blender.
    rotation = -90.0
    with inputs.followed(texture.node.inputs["Vector"], texture.groups) as (node, _):
        if node is not None and node.type == "MAPPING":
            x, y, z = node.inputs["Rotation"].default_value
            others = (*node.inputs["Location"].default_value, *(s - 1 for s in node.inputs["Scale"].default_value), x, y)
            if any(abs(value) > 1e-6 for value in others):
                inputs.lose("placements of the world's image other than rotations about z")
            rotation += math.degrees(z) if node.vector_type == "TEXTURE" else -math.degrees(z)
    return rotation


class World:
    """Prints the environment's shader and the dome light.

    samples: rows and columns of samples of the dome
    """

    def __init__(self, text, images: Images, losses, world, samples):
        self.environment = text.name("environment")  # name of the shader
        self.dome = ""  # name of the light; empty where the world gives none
        inputs = Inputs(world.name if world else "", losses)
        value = _background(world, inputs) if world else constant(0)
        source = self._plain(value) if value.is_constant else self._image(value, images, inputs)
        text.print(f'shader "{self.environment}" "velaEnvironmentLatLong" ( {source}, "feedsGather" off )')
        if not value.is_black:
            self.dome = text.name("dome")
            text.print(f'light "{self.dome}" "velaDomeLight" ( {source} )\n    user {samples} {samples} end light')

    @staticmethod
    def _plain(value):
        shown = scene_text.color(value.offset)
        return f'"zenith" {shown}, "horizon" {shown}, "ground" {shown}'

    @staticmethod
    def _image(value: Value, images, inputs):
        texture = value.texture
        if texture.kind != "panorama":
            inputs.lose("textures of worlds other than images of all directions")
            return World._plain(constant([g * 0.5 + o for g, o in zip(value.gain, value.offset)]))
        if texture.node.projection != "EQUIRECTANGULAR":
            inputs.lose("mirror-ball images of worlds")
        element = images.element(texture.node.image, texture.node.image_user)
        if element is None:
            return World._plain(constant(0))
        if any(value.offset):
            inputs.lose("colours added to the world's image")
        return f'"texture" "{element}", "gain" {scene_text.color(value.gain)}, "rotation" {_rotation(texture, inputs):.6g}'
