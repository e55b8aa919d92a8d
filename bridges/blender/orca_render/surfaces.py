# SPDX-License-Identifier: Apache-2.0
"""Node trees of materials as surfaces that the shader library has, and as layers of them."""

import dataclasses
import math
import typing

import numpy

from .inputs import Inputs
from .values import Value, constant

# Light that comes through does so at the same strength from every angle: this share is as much in all as by the cosine.
EVEN_TRANSLUCENCE = 0.5

BLACK, WHITE = constant(0), constant(1)

MOST_REFLECTANCE = 0.08  # of a Principled BSDF's dielectric, head on
RIM_REFLECTANCE = 0.017  # by which plastic reflects more than head on, in the mean over a ball
COAT_SHARE = 0.25  # of a clear coat that a Clearcoat of 1 is
BURLEY_PATH = 0.25 / math.pi  # mean free paths in a radius, which is that of older profiles
LEAST_PATH = 1e-5

# Sheen of velaSurfaceX on a ball that is as bright as Blender's, with the roughness of the most similar rim: weight of a Sheen of 1, and roughness;
# for Velvet the sigma, then both.
SHEEN_WEIGHT, SHEEN_ROUGHNESS = 0.067, 0.25
VELVET = numpy.array(((0.0, 0.0, 0.25), (0.1, 0.055, 0.25), (0.2, 0.22, 0.25), (0.4, 0.77, 0.25), (0.6, 1.45, 0.25), (0.8, 1.82, 0.4), (1.0, 2.0, 0.7)))


@dataclasses.dataclass
class Relief:
    """What bends the normal."""
    value: Value
    strength: float = 1.0  # of a normal map's slopes
    depth: float = 0.0     # of heights, scene units; 0: a normal map


@dataclasses.dataclass
class Coat:
    """A clear layer over all else."""
    weight: Value
    roughness: Value
    refractive_index: float = 1.5
    relief: typing.Optional[Relief] = None


@dataclasses.dataclass
class Sheen:
    """Fuzz over the base."""
    weight: Value
    color: Value
    roughness: float  # as of velaSurfaceX


@dataclasses.dataclass
class Surface:
    """One surface: base colour, metalness and roughness, what comes through, and what it gives off itself."""
    name: str
    base: Value = WHITE
    metalness: Value = BLACK
    roughness: Value = constant(0.5)
    anisotropy: float = 0.0         # 0 to 1, as of velaSurfaceX
    anisotropy_degrees: float = 0.0
    has_highlight: bool = False
    specular: Value = WHITE         # weight of what a dielectric reflects
    specular_color: Value = WHITE   # its tint; of metals the reflectance at grazing angles
    refractive_index: float = 1.5
    transmission: Value = BLACK     # share that is refracted
    transmission_color: Value = WHITE  # after one crossing of the boundary
    absorption: tuple = (0.0, 0.0, 0.0)  # of the inside, per scene unit
    coat: typing.Optional[Coat] = None
    sheen: typing.Optional[Sheen] = None
    opacity: Value = WHITE
    tint: tuple = (1.0, 1.0, 1.0)   # of light that comes straight through
    translucence: float = 0.0
    emission: Value = BLACK
    subsurface: float = 0.0         # share of the light that travels below the surface
    subsurface_color: Value = WHITE
    subsurface_radius: tuple = (1.0, 0.2, 0.1)  # mean free path, scene units
    relief: typing.Optional[Relief] = None

    @property
    def is_layered(self):
        """Whether there is more to it than a matt surface."""
        return self.has_highlight or self.coat is not None or self.sheen is not None


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
                           roughness=constant(material.roughness),
                           refractive_index=_index_of_reflectance(MOST_REFLECTANCE * material.specular_intensity))
        output = material.node_tree.get_output_node("CYCLES") or material.node_tree.get_output_node("ALL")
        if output is None:
            return Surface(material.name, base=BLACK)
        if output.inputs["Displacement"].is_linked:
            self._lose("displacement of materials")
        surface = self._closure(output.inputs["Surface"]) or Surface(material.name, base=BLACK)
        if output.inputs["Volume"].is_linked:
            self._fill(surface, output.inputs["Volume"])
        return surface

    def _fill(self, surface, socket):
        """Gives glass the absorption that a volume node of one colour says."""
        with self._inputs.followed(socket) as (node, _):
            is_clear = isinstance(surface, Surface) and not surface.transmission.is_black
            if node is None or node.type != "VOLUME_ABSORPTION" or not is_clear:
                self._lose("volumes of materials")
                return
            color, density = self._inputs.value(node.inputs["Color"]), self._number(node, "Density")
            if not color.is_constant:
                self._lose("textures in volumes")
            surface.absorption = tuple(max(1 - c, 0.0) * density for c in color.offset)

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
        base, metalness = value(node.inputs["Base Color"]), value(node.inputs["Metallic"]).grey
        transmission = value(node.inputs["Transmission"]).grey
        surface = self._surface(
            node, base=base, has_highlight=True, metalness=metalness, roughness=value(node.inputs["Roughness"]),
            transmission=transmission, transmission_color=base, opacity=value(node.inputs["Alpha"]).grey,
            emission=value(node.inputs["Emission"]).scaled(number(node, "Emission Strength")))
        self._read_dielectric(node, surface, value(node.inputs["Specular"]).grey)
        surface.specular_color = self._tinted(base, number(node, "Specular Tint"), "tints of highlights by images")
        if metalness.is_constant and transmission.is_black and surface.specular == WHITE:
            surface.base = base.scaled(_raised(surface, 1 - metalness.scalar))
        self._read_anisotropy(node, surface, number(node, "Anisotropic"), "Anisotropic Rotation")
        below = number(node, "Subsurface")
        if below > 0:  # of Blender's, all diffuse light then travels
            color = value(node.inputs["Subsurface Color"])
            mixed = self._inputs.mixed(below, surface.base, color)
            if mixed is None:
                self._lose("mixtures of images below surfaces")
            surface.subsurface, surface.subsurface_color = 1.0, mixed or color
            surface.subsurface_radius = self._mean_free_path(node, surface.subsurface_color, below)
        sheen = value(node.inputs["Sheen"]).grey
        if not sheen.is_black:
            others = (1 - metalness.mean) * (1 - transmission.mean)
            color = self._tinted(base, number(node, "Sheen Tint"), "tints of sheen by images")
            surface.sheen = Sheen(sheen.scaled(others * SHEEN_WEIGHT), color, SHEEN_ROUGHNESS)
        coat = value(node.inputs["Clearcoat"]).grey
        if not coat.is_black:
            surface.coat = Coat(coat.scaled(COAT_SHARE), value(node.inputs["Clearcoat Roughness"]).grey,
                                relief=self._relief(node.inputs["Clearcoat Normal"]))
        return surface

    def _read_dielectric(self, node, surface, specular):
        """Refractive index and weight of what the dielectric of a Principled BSDF reflects."""
        if surface.transmission.mean > 0.5:  # glass has an index of its own
            surface.refractive_index = self._number(node, "IOR")
            if self._number(node, "Transmission Roughness") > 0 and node.distribution == "GGX":
                self._lose("a roughness of its own of what comes through")
        elif specular.is_constant:
            surface.refractive_index = _index_of_reflectance(MOST_REFLECTANCE * specular.scalar)
            surface.specular = constant(1.0 if specular.scalar > 0 else 0.0)
        else:
            surface.refractive_index, surface.specular = _index_of_reflectance(MOST_REFLECTANCE), specular

    def _tinted(self, base, amount, what):
        """White, or so much of it the hue of the base colour."""
        brightness = base.scalar
        if amount <= 0 or (base.is_constant and brightness <= 0):
            return WHITE
        if not base.is_constant:
            self._lose(what)
            return WHITE
        return base.scaled(amount / brightness).plus(1 - amount)

    def _read_anisotropy(self, node, surface, amount, rotation):
        surface.anisotropy, surface.anisotropy_degrees = min(max(amount, 0.0), 1.0), 360 * self._number(node, rotation)
        if surface.anisotropy > 0:
            with self._inputs.followed(node.inputs["Tangent"]) as (tangent, _):
                if tangent is None or tangent.type != "TANGENT" or tangent.direction_type != "UV_MAP":
                    self._lose("directions of anisotropy other than by texture coordinates, which it has now")

    def _mean_free_path(self, node, color, scale):
        """What a radius of Blender is: a mean free path times 4 pi, or, of a random walk, one of diffused light."""
        names = ("Subsurface Radius", "Subsurface IOR") if node.type == "BSDF_PRINCIPLED" else ("Radius", "IOR")
        radius, index = node.inputs[names[0]], self._number(node, names[1])
        if radius.is_linked:
            self._lose("textures on the radius below surfaces")
        method = getattr(node, "subsurface_method", getattr(node, "falloff", ""))
        paths = [_diffused_path(albedo, index) if method == "RANDOM_WALK" else BURLEY_PATH for albedo in color.mean_color]
        return tuple(max(r * scale * path, LEAST_PATH) for r, path in zip(radius.default_value, paths))

    def _read_bsdf_diffuse(self, node):
        if node.inputs["Roughness"].is_linked or self._number(node, "Roughness") > 0:
            self._lose("roughness of diffuse surfaces")
        return self._surface(node, base=self._inputs.value(node.inputs["Color"]))

    def _rough(self, node):
        sharp = getattr(node, "distribution", "") == "SHARP"
        return BLACK if sharp else self._inputs.value(node.inputs["Roughness"]).grey

    def _read_bsdf_glossy(self, node):
        color = self._inputs.value(node.inputs["Color"])
        return self._surface(node, base=color, specular_color=color, has_highlight=True, metalness=WHITE, roughness=self._rough(node))

    def _read_bsdf_anisotropic(self, node):
        surface = self._read_bsdf_glossy(node)
        amount = min(max(self._number(node, "Anisotropy"), -0.99), 0.99)
        # Slopes of r (1 - a) and r / (1 - a), where the other kind of node, and ours, has r / s and r s of s^2 = 1 - 0.9 a.
        self._read_anisotropy(node, surface, (1 - (1 - abs(amount)) ** 2) / 0.9, "Rotation")
        surface.anisotropy_degrees += 90 if amount > 0 else 0
        return surface

    def _read_bsdf_glass(self, node):
        color = self._inputs.value(node.inputs["Color"])
        return self._surface(node, base=BLACK, has_highlight=True, transmission=WHITE, transmission_color=color, specular_color=color,
                             refractive_index=self._number(node, "IOR"), roughness=self._rough(node))

    def _read_bsdf_refraction(self, node):
        surface = self._read_bsdf_glass(node)
        surface.specular = BLACK
        return surface

    def _read_bsdf_velvet(self, node):
        sigma, color = self._number(node, "Sigma"), self._inputs.value(node.inputs["Color"])
        weight, roughness = (numpy.interp(sigma, VELVET[:, 0], column) for column in VELVET[:, 1:].T)
        layers = [self._surface(node, base=BLACK, sheen=Sheen(constant(weight / 2), color, roughness)) for _ in range(2)]
        return Layers(*layers)  # a sheen has a weight of 1 at most

    def _read_bsdf_translucent(self, node):
        return self._surface(node, base=self._inputs.value(node.inputs["Color"]), translucence=EVEN_TRANSLUCENCE)

    def _read_subsurface_scattering(self, node):
        color = self._inputs.value(node.inputs["Color"])
        return self._surface(node, subsurface=1.0, subsurface_color=color,
                             subsurface_radius=self._mean_free_path(node, color, self._number(node, "Scale")))

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
        if by_angle and isinstance(under, Surface) and isinstance(over, Surface) and _is_gloss(over) and under.coat is None:
            return self._glossed(under, over, factor_node)
        share = self._inputs.value(node.inputs[0]).grey
        if share.is_constant and share.scalar <= 0:
            return under
        if share.is_constant and share.scalar >= 1:
            return over
        for plain, hole, opacity in ((over, under, share), (under, over, share.inverted())):
            if (isinstance(hole, Surface) and _is_hole(hole) and isinstance(plain, Surface) and plain.opacity == WHITE
                    and not (plain.is_layered and hole.tint != (1.0, 1.0, 1.0))):
                plain.opacity = opacity
                plain.tint = hole.tint
                return plain
        if under is None or over is None:
            return under or over
        return Layers(over, under, share)

    def _glossed(self, under, over, factor_node):
        """A gloss over a surface by the angle of view: its highlight, or where it has one already, a clear coat."""
        if factor_node.type == "FRESNEL":
            index = self._number(factor_node, "IOR")
        else:
            index = 1 / max(1 - self._number(factor_node, "Blend"), 1e-5)
        index = min(max(index, 1.0), 3.0)
        if under.is_layered:
            under.coat = Coat(WHITE, over.roughness, index, over.relief)
        else:
            under.has_highlight, under.roughness, under.refractive_index = True, over.roughness, index
            under.specular_color = over.base
        return under

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


def _is_gloss(surface):
    return surface.has_highlight and surface.metalness == WHITE and surface.coat is None


def _only_emits(surface):
    return surface.base.is_black and not surface.is_layered and surface.opacity == WHITE and not surface.emission.is_black


def _diffused_path(albedo, index):
    """Mean free paths in the mean free path of diffused light, by the dipole of Jensen et al., "A Practical Model for Subsurface
    Light Transport" (2001): the root of 3 (1 - a), where a is the scattering albedo with which the surface has its own."""
    inverse = 1 / max(index, 1.0)
    inner = inverse * (0.71 - 1.44 * inverse) + 0.668 + 0.0636 * max(index, 1.0)
    boundary = 4 / 3 * (1 + inner) / (1 - inner)
    low, high = 0.0, 1.0
    for _ in range(30):
        middle = (low + high) / 2
        root = math.sqrt(3 * (1 - middle))
        is_darker = 0.5 * middle * (1 + math.exp(-boundary * root)) * math.exp(-root) < albedo
        low, high = (middle, high) if is_darker else (low, middle)
    return math.sqrt(3 * (1 - low))


def _reflectance(index):
    return ((index - 1) / (index + 1)) ** 2


def _raised(surface, plastic):
    """Factors on the base colour of what is in part a plastic: Blender's gloss takes nothing from what is below it."""
    head_on = _reflectance(surface.refractive_index)
    taken = (head_on * tint + RIM_REFLECTANCE for tint in surface.specular_color.offset)
    return tuple(1 + plastic * t / (1 - t) for t in taken)


def _index_of_reflectance(reflectance):
    """Refractive index of what reflects so much head on."""
    root = math.sqrt(min(max(reflectance, 0.0), 0.9))
    return (1 + root) / (1 - root)
