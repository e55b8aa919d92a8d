# SPDX-License-Identifier: Apache-2.0
"""Materials of Blender as those of the shader libraries: matt ones as orcaVelaLambert, others as velaSurfaceX."""

import math

from . import meshes, scene_text
from .inputs import Inputs
from .surfaces import HOLDOUT, Layers, Surface, Surfaces
from .textures import Textures
from .values import constant

LIBRARY = 'link "velamaterials.so"\n$include <velamaterials.mi>'  # of velaSurfaceX
SCATTER_SHARE = 1e-3  # below it, travel under the surface cannot be seen

OPAQUE_SHADOW = 'shadow "orcaVelaFastShadow" ( )'


class Materials:
    """Prints each material once.

    pass_shaders: the utility passes' shaders, at the end of each material's list
    environment: the environment shader of materials where the camera has none
    limits: reflections and refractions on a path
    """

    def __init__(self, text, pictures, losses, pass_shaders="", environment="", limits=(4, 8)):
        self._text = text
        self._images = pictures
        self._losses = losses
        self._pass_shaders = pass_shaders
        self._environment = environment
        self._limits = limits
        self._has_library = False
        self._names = {}
        self._wanted = {}
        self._emission = {}

    def name(self, material):
        """Name of the scene's material for one of Blender, or for none, a grey one."""
        key = material.name_full if material else None
        if key not in self._names:
            surface = Surfaces(material, self._losses).read() if material else Surface("default", base=constant(0.8))
            printer = _Printer(self._text, self._images, material.name if material else "default", self._losses, self._limits)
            if not self._has_library and _needs_library(surface):
                self._has_library = True
                self._text.print(LIBRARY)
            self._names[key] = self._print(surface, printer)
            self._wanted[key] = printer.wanted
            self._emission[key] = printer.emission
        return self._names[key]

    def emission(self, material):
        """What a material gives off, as a parameter's value; empty for nothing. It has to be printed."""
        return self._emission.get(material.name_full, "") if material else ""

    def special(self, kind):
        """Name of the material of holdouts or of shadow catchers: "holdout" or "catcher"."""
        if kind not in self._names:
            name = self._text.name(kind)
            settings = {"holdout": '"shadowMask" 0, "matteMode" 0', "catcher": ""}[kind]
            if kind == "catcher" and self._environment:
                self._losses.add("shadow catchers in pictures without background, where they are holes")
                settings = '"shadowMask" 0, "matteMode" 1, "matteOpacity" 0'
            self._text.print(f'shader "{name}" "orcaVelaUseBackground" ( {settings} )')
            self._names[kind] = self._material(name, name, OPAQUE_SHADOW, True, "")
        return self._names[kind]

    def wanted(self, materials):
        """What the materials of a mesh look up on it; prints them."""
        result = meshes.Wanted()
        for material in materials:
            self.name(material)
            wanted = self._wanted[material.name_full if material else None]
            result.uv_map = result.uv_map or wanted.uv_map
            result.colors = wanted.colors if result.colors is None else result.colors
        return result

    def _print(self, surface, printer):
        if surface is HOLDOUT:
            return self.special("holdout")
        shader, transparency = printer.surface(surface)
        shadow = OPAQUE_SHADOW if transparency is None else f'shadow "orcaVelaShadow" ( "transparency" {transparency} )'
        return self._material(printer.name, shader, shadow, transparency is None, self._environment)

    def _material(self, wanted, shader, shadow, is_opaque, environment):
        name = self._text.name(wanted + " material")
        environment = f'\n    environment = "{environment}"' if environment else ""
        self._text.print(f'material "{name}"{" opaque" if is_opaque else ""}\n'
                         f'    "orcaVelaShadingEngine" ( "surfaceShader" "{shader}" ){self._pass_shaders}\n'
                         f"    {shadow}{environment}\nend material\n")
        return name


def _needs_library(surface):
    if isinstance(surface, Layers):
        return _needs_library(surface.front) or _needs_library(surface.back)
    return surface.is_layered


class _Printer:
    """Prints the shaders of one material."""

    def __init__(self, text, pictures, name, losses, limits):
        self.name = name
        self.emission = ""  # of the whole material, as a parameter's value
        self._text = text
        self._inputs = Inputs(name, losses)
        self._limits = limits
        self._textures = Textures(text, pictures, self._inputs, name)

    @property
    def wanted(self):
        return meshes.Wanted(self._textures.uv_map, self._textures.colors)

    def surface(self, surface):
        """Prints a surface or layers; name of the shader, and its transparency as a parameter's value, None if opaque."""
        if surface is HOLDOUT:
            self._inputs.lose("holdouts mixed with other surfaces")
            return self._plain(Surface(self.name, base=constant(0)))
        if isinstance(surface, Layers):
            return self._layers(surface)
        return self._layered(surface) if surface.is_layered else self._plain(surface)

    def _layers(self, layers):
        front, front_hole = self.surface(layers.front)
        back, back_hole = self.surface(layers.back)
        if self.emission:
            self._inputs.lose("light on other things from emission that is mixed with other surfaces")
            self.emission = ""
        name = self._text.name(self.name + " layers")
        under = "0 0 0 1" if back_hole is None else f'= "{back}.outTransparency"'
        if layers.share is None:
            mode, over = 0, "1 1 1 1"
        else:
            mode, over = 1, self._textures.color(self._textures.settled(layers.share).inverted())
        self._text.print(f'shader "{name}" "orcaVelaLayeredShader" ( "compositingMode" {mode}, "layers" [\n'
                         f'    {{ "color" = "{front}.outColor", "transparency" {over} }},\n'
                         f'    {{ "color" = "{back}.outColor", "transparency" {under} }} ] )')
        is_opaque = back_hole is None and (front_hole is None or layers.share is None)
        return name, None if is_opaque else f'= "{name}.outTransparency"'

    def _plain(self, surface):
        """A matt surface."""
        settled, color = self._textures.settled, self._textures.color
        parameters = []
        if surface.translucence > 0:
            parameters += ['"diffuse" 0', f'"translucence" {surface.translucence:.6g}', '"translucenceForward" 0', '"translucenceWrap" 1']
        else:
            parameters.append('"diffuse" 1')
        parameters.append(f'"color" {color(settled(surface.base).scaled(1 - surface.subsurface))}')
        if surface.subsurface > SCATTER_SHARE:
            parameters += [f'"scatterColor" {color(settled(surface.subsurface_color).scaled(surface.subsurface))}',
                           f'"scatterRadius" {scene_text.color(surface.subsurface_radius)}']
        self._emit(surface, parameters, '"incandescence"')
        transparency = self._transparency(surface)
        if transparency is not None:
            parameters.append(f'"transparency" {transparency}')
        self._bend(surface, parameters)
        return self._shader("orcaVelaLambert", parameters), transparency

    def _layered(self, surface):
        """One with a gloss, a coat or fuzz, a metal or glass."""
        color, scalar = self._color, self._scalar
        base = self._textures.settled(surface.base)
        parameters = [f'"baseColor" {color(base)}', f'"specular" {scalar(surface.specular) if surface.has_highlight else 0}',
                      f'"specularColor" {color(surface.specular_color)}', f'"specularIndex" {surface.refractive_index:.6g}',
                      f'"roughness" {scalar(surface.roughness)}']
        if not surface.metalness.is_black:
            parameters.append(f'"metalness" {scalar(surface.metalness)}')
        if surface.anisotropy > 0:
            parameters += [f'"anisotropy" {surface.anisotropy:.6g}', f'"anisotropyAngle" {surface.anisotropy_degrees:.6g}']
        if not surface.transmission.is_black:
            parameters += [f'"transmission" {scalar(surface.transmission)}', *self._inside(surface)]
        if surface.subsurface > SCATTER_SHARE:
            parameters += [f'"subsurface" {surface.subsurface:.6g}', f'"subsurfaceColor" {color(surface.subsurface_color)}',
                           f'"subsurfaceRadius" {scene_text.color(surface.subsurface_radius)}', '"subsurfaceScale" 1']
        if surface.sheen:
            parameters += [f'"sheen" {scalar(surface.sheen.weight)}', f'"sheenColor" {color(surface.sheen.color)}',
                           f'"sheenRoughness" {surface.sheen.roughness:.6g}']
        if surface.coat:
            parameters += [f'"coat" {scalar(surface.coat.weight)}', f'"coatRoughness" {scalar(surface.coat.roughness)}',
                           f'"coatIndex" {surface.coat.refractive_index:.6g}']
            self._bend(surface.coat, parameters, "coatNormal")
        self._emit(surface, parameters, '"emission" 1, "emissionColor"')
        opacity = self._textures.settled(surface.opacity)
        if not (opacity.is_constant and opacity.scalar >= 1):
            parameters.append(f'"opacity" {color(opacity)}')
        self._bend(surface, parameters)
        parameters += [f'"{name}" {limit}' for name, limit in zip(("reflectionLimit", "refractionLimit"), self._limits)]
        material = self._shader("velaSurfaceX", parameters)
        return self._shader("orcaVelaMiaMaterialXAdapter", [f'"material" "{material}"']), self._shadow(surface)

    def _shader(self, kind, parameters):
        name = self._text.name(self.name)
        self._text.print(f'shader "{name}" "{kind}" (\n    ' + ",\n    ".join(parameters) + " )")
        return name

    def _color(self, value):
        return self._textures.color(self._textures.settled(value))

    def _scalar(self, value):
        return self._textures.scalar(self._textures.settled(value))

    def _emit(self, surface, parameters, parameter):
        emission = self._textures.settled(surface.emission)
        if not emission.is_black:
            self.emission = self._textures.color(emission)
            parameters.append(f"{parameter} {self.emission}")

    def _bend(self, surface, parameters, parameter="bumpNormal"):
        bump = self._relief(surface.relief)
        if bump:
            parameters.append(f'"{parameter}" = "{bump}"')

    def _inside(self, surface):
        """Colour of glass: of what the inside absorbs, else of both crossings of its boundary."""
        most = max(surface.absorption)
        crossed = self._textures.settled(surface.transmission_color)
        if most > 0:
            if crossed != constant(1):
                self._inputs.lose("colours of the boundary of glass that absorbs light")
            colors = scene_text.color([math.exp(-a / most) for a in surface.absorption])
            return [f'"transmissionColor" {colors}', f'"transmissionDepth" {1 / most:.6g}']
        return [f'"transmissionColor" {self._textures.color(self._twice(crossed))}']

    def _twice(self, value):
        """The square of a colour."""
        if value.is_constant:
            return constant([c * c for c in value.offset])
        if value.texture.kind != "image":
            self._inputs.lose("colours of glass other than of images, which are those of one crossing")
            return value
        sources = [(value.texture.node.image, value.texture.node.image_user)]
        return self._textures.derived(f"{self.name} crossed twice", value.texture, sources,
                                      lambda pixels: (value.texture.part.of(pixels) * value.gain + value.offset) ** 2)

    def _shadow(self, surface):
        """What a layered surface lets through to things in its shadow, as a parameter's value; None for nothing."""
        share = surface.transmission.mean * (1 - surface.metalness.mean)
        if share > 0:
            return self._color(surface.transmission_color.scaled(share))
        return self._transparency(surface)

    def _transparency(self, surface):
        """The transparency as a parameter's value, None for an opaque surface."""
        opacity = self._textures.settled(surface.opacity)
        if opacity.is_constant and opacity.scalar >= 1:
            return None
        return self._textures.color(opacity.inverted().scaled(surface.tint))

    def _relief(self, relief):
        """Name of the shader that bends the normal, or nothing."""
        if relief is None or self._textures.settled(relief.value).is_constant:
            return None
        if relief.depth and relief.value.texture.kind != "image":
            self._inputs.lose("bumps of other things than images")
            return None
        map_color = None if relief.depth else self._textures.color(relief.value)
        name = self._text.name(self.name + " relief")
        if relief.depth:
            self._text.print(f'shader "{name}" "velaBump2d" ( "height" {self._textures.scalar(relief.value)}, "depth" {relief.depth:.6g} )')
        else:
            self._text.print(f'shader "{name}" "velaNormalMap" ( "map" {map_color}, "strength" {relief.strength:.6g} )')
        return name
