# SPDX-License-Identifier: Apache-2.0
"""Node trees of materials as surfaces that the shader library has, and as layers of them."""

import dataclasses
import typing

from .inputs import Inputs
from .values import Value, constant

# Light that comes through does so at the same strength from every angle: this share is as much in all as by the cosine.
EVEN_TRANSLUCENCE = 0.5

BLACK, WHITE = constant(0), constant(1)


@dataclasses.dataclass
class Relief:
    """What bends the normal."""
    value: Value
    strength: float = 1.0  # of a normal map's slopes
    depth: float = 0.0     # of heights, scene units; 0: a normal map


@dataclasses.dataclass
class Surface:
    """One surface: base colour, metalness and roughness, what comes through, and what it gives off itself."""
    name: str
    base: Value = WHITE
    metalness: Value = BLACK
    roughness: Value = constant(0.5)
    has_highlight: bool = False
    reflectance: float = 0.04       # head on, of what is no metal
    refractive_index: float = 1.45
    transmission: float = 0.0       # share that is refracted
    opacity: Value = WHITE
    tint: tuple = (1.0, 1.0, 1.0)   # of light that comes straight through
    translucence: float = 0.0
    emission: Value = BLACK
    subsurface: float = 0.0         # share of the light that travels below the surface
    subsurface_color: tuple = (1.0, 1.0, 1.0)
    subsurface_radius: tuple = (1.0, 0.2, 0.1)
    relief: typing.Optional[Relief] = None


@dataclasses.dataclass
class Layers:
    """Two parts: `front` over `back` with the opacity `share`, or, without share, both added."""
    front: typing.Any
    back: typing.Any
    share: typing.Optional[Value] = None


class Surfaces:
    """Reads the node tree of one material."""

    def __init__(self, material, losses):
        self._material = material
        self._inputs = Inputs(material.name, losses)
        self._lose = self._inputs.lose

    def read(self):
        """A Surface, or Layers of them."""
        material = self._material
        if not material.use_nodes or material.node_tree is None:
            color = constant(list(material.diffuse_color)[:3])
            return Surface(material.name, base=color, has_highlight=True, metalness=constant(material.metallic),
                           roughness=constant(material.roughness), reflectance=0.08 * material.specular_intensity)
        output = material.node_tree.get_output_node("CYCLES") or material.node_tree.get_output_node("ALL")
        if output is None:
            return Surface(material.name, base=BLACK)
        for part in ("Volume", "Displacement"):
            if output.inputs[part].is_linked:
                self._lose({"Volume": "volumes of materials", "Displacement": "displacement of materials"}[part])
        return self._closure(output.inputs["Surface"]) or Surface(material.name, base=BLACK)

    def _closure(self, socket):
        with self._inputs.followed(socket) as (node, output):
            if node is None:
                return None
            read = getattr(self, "_read_" + node.type.lower(), None)
            if read is None:
                if hasattr(output, "default_value"):  # a colour where a surface is expected is an emission
                    return Surface(self._material.name, base=BLACK, emission=self._inputs.value(socket))
                self._lose(f"surfaces of the kind {node.bl_label}, shown as diffuse ones")
                return self._diffuse_of(node)
            return read(node)

    def _surface(self, node, **parts):
        surface = Surface(self._material.name, **parts)
        normal = node.inputs.get("Normal")
        if normal is not None and normal.is_linked:
            surface.relief = self._relief(normal)
        return surface

    def _number(self, node, name, what=None):
        socket = node.inputs.get(name)
        return self._inputs.number(socket, what or f"textures on the input {name}") if socket is not None else 0.0

    def _diffuse_of(self, node):
        color = next((s for s in node.inputs if s.type == "RGBA"), None)
        return self._surface(node, base=self._inputs.value(color) if color else constant(0.8))

    # --- surfaces, by the type of their node in lower case ---

    def _read_bsdf_principled(self, node):
        value, number = self._inputs.value, self._number
        for name, what in (("Clearcoat", "clear coats"), ("Sheen", "sheen"), ("Anisotropic", "anisotropy"),
                           ("Specular Tint", "tints of plastics' highlights")):
            if node.inputs[name].is_linked or number(node, name) > 0:
                self._lose(what)
        surface = self._surface(
            node, base=value(node.inputs["Base Color"]), has_highlight=True, metalness=value(node.inputs["Metallic"]).grey,
            roughness=value(node.inputs["Roughness"]), reflectance=0.08 * number(node, "Specular"),
            refractive_index=number(node, "IOR"), opacity=value(node.inputs["Alpha"]).grey,
            transmission=number(node, "Transmission", "images of transmission and thickness"),
            subsurface=number(node, "Subsurface"))
        if surface.subsurface > 0:
            color = value(node.inputs["Subsurface Color"])
            surface.subsurface_color = color.offset if color.is_constant else (1.0, 1.0, 1.0)
            surface.subsurface_radius = tuple(node.inputs["Subsurface Radius"].default_value)
        strength = number(node, "Emission Strength")
        surface.emission = value(node.inputs["Emission"]).scaled(strength)
        return surface

    def _read_bsdf_diffuse(self, node):
        if node.inputs["Roughness"].is_linked or self._number(node, "Roughness") > 0:
            self._lose("roughness of diffuse surfaces")
        return self._surface(node, base=self._inputs.value(node.inputs["Color"]))

    def _read_bsdf_glossy(self, node):
        sharp = getattr(node, "distribution", "") == "SHARP"
        return self._surface(node, base=self._inputs.value(node.inputs["Color"]), has_highlight=True, metalness=WHITE,
                             roughness=BLACK if sharp else self._inputs.value(node.inputs["Roughness"]))

    def _read_bsdf_anisotropic(self, node):
        if self._number(node, "Anisotropy") != 0:
            self._lose("anisotropy")
        return self._read_bsdf_glossy(node)

    def _read_bsdf_glass(self, node):
        sharp = getattr(node, "distribution", "") == "SHARP"
        index = self._number(node, "IOR")
        return self._surface(node, base=self._inputs.value(node.inputs["Color"]), has_highlight=True, transmission=1.0,
                             refractive_index=index, reflectance=((index - 1) / (index + 1)) ** 2,
                             roughness=BLACK if sharp else self._inputs.value(node.inputs["Roughness"]))

    def _read_bsdf_refraction(self, node):
        surface = self._read_bsdf_glass(node)
        surface.has_highlight = False
        return surface

    def _read_bsdf_translucent(self, node):
        return self._surface(node, base=self._inputs.value(node.inputs["Color"]), translucence=EVEN_TRANSLUCENCE)

    def _read_subsurface_scattering(self, node):
        color = self._inputs.value(node.inputs["Color"])
        scale = self._number(node, "Scale")
        return self._surface(node, base=color, subsurface=1.0, subsurface_color=color.offset if color.is_constant else (1.0,) * 3,
                             subsurface_radius=tuple(scale * r for r in node.inputs["Radius"].default_value))

    def _read_bsdf_transparent(self, node):
        tint = self._inputs.value(node.inputs["Color"])
        if not tint.is_constant:
            self._lose("images of the colour of transparent surfaces")
        return Surface(self._material.name, base=BLACK, opacity=BLACK, tint=tint.offset if tint.is_constant else (1.0, 1.0, 1.0))

    def _read_emission(self, node):
        color, strength = self._inputs.value(node.inputs["Color"]), self._inputs.value(node.inputs["Strength"])
        if not strength.is_constant:
            if not color.is_constant:
                self._lose("images of the strength of emission")
                strength = WHITE
            else:
                color, strength = strength, color
        return Surface(self._material.name, base=BLACK, emission=color.scaled(strength.offset))

    def _read_background(self, node):
        return self._read_emission(node)

    def _read_eevee_specular(self, node):
        return self._diffuse_of(node)

    def _read_holdout(self, node):
        return HOLDOUT

    # --- what joins them ---

    def _read_mix_shader(self, node):
        with self._inputs.followed(node.inputs[0]) as (factor_node, _):
            by_angle = factor_node is not None and factor_node.type in {"FRESNEL", "LAYER_WEIGHT"}
        under, over = self._closure(node.inputs[1]), self._closure(node.inputs[2])
        if by_angle and isinstance(over, Surface) and over.has_highlight and isinstance(under, Surface):
            # A gloss over something by the angle is what a surface with a highlight is.
            index = self._number(factor_node, "IOR") if factor_node.type == "FRESNEL" else 1.45
            under.has_highlight, under.roughness = True, over.roughness
            under.reflectance = ((index - 1) / (index + 1)) ** 2
            return under
        share = self._inputs.value(node.inputs[0]).grey
        if share.is_constant and share.scalar <= 0:
            return under
        if share.is_constant and share.scalar >= 1:
            return over
        for plain, hole, opacity in ((over, under, share), (under, over, share.inverted())):
            if isinstance(hole, Surface) and _is_hole(hole) and isinstance(plain, Surface) and plain.opacity == WHITE:
                plain.opacity = opacity
                plain.tint = hole.tint
                return plain
        if under is None or over is None:
            return under or over
        return Layers(over, under, share)

    def _read_add_shader(self, node):
        first, second = self._closure(node.inputs[0]), self._closure(node.inputs[1])
        if first is None or second is None:
            return first or second
        for lamp, other in ((first, second), (second, first)):
            if isinstance(lamp, Surface) and _only_emits(lamp) and isinstance(other, Surface) and other.emission.is_black:
                other.emission = lamp.emission
                return other
        return Layers(first, second)

    # --- relief ---

    def _relief(self, socket):
        with self._inputs.followed(socket) as (node, _):
            if node is None:
                return None
            if node.type == "NORMAL_MAP":
                if node.space != "TANGENT":
                    self._lose("normal maps of other spaces than the tangents'")
                    return None
                value = self._inputs.value(node.inputs["Color"])
                return None if value.is_constant else Relief(value, strength=self._number(node, "Strength"))
            if node.type == "BUMP":
                if node.inputs["Normal"].is_linked:
                    self._lose("normals under bumps")
                value = self._inputs.value(node.inputs["Height"])
                depth = self._number(node, "Strength") * self._number(node, "Distance") * (-1 if node.invert else 1)
                return None if value.is_constant or depth == 0 else Relief(value, depth=depth)
            self._lose(f"normals from nodes of the kind {node.bl_label}")
            return None


HOLDOUT = Surface("holdout")


def _is_hole(surface):
    return surface.opacity.is_black and surface.emission.is_black


def _only_emits(surface):
    return surface.base.is_black and not surface.has_highlight and surface.opacity == WHITE and not surface.emission.is_black
