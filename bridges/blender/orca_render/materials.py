# SPDX-License-Identifier: Apache-2.0
"""Materials of Blender as those of the shader library.

The mapping is that of orca-import: the square of the roughness is the eccentricity of orcaVelaBlinn, the reflectance head
on its specularRollOff, the base colour of metals its specularColor.
"""

import math

import numpy

from . import meshes, scene_text
from .inputs import Inputs
from .surfaces import HOLDOUT, Layers, Surface, Surfaces
from .textures import Textures
from .values import Value, constant

SMOOTHEST_FACETS = 0.03  # a highlight of this width is still found by samples
ROUGHEST_TRACED_PLASTIC = 0.45  # beyond, dielectrics reflect too little of anything recognisable to trace it
SHARP = 0.05
BLUR_SAMPLES = 8
REFRACTION_LIMIT = 10
SCATTER_SHARE = 1e-3  # below it, travel under the surface cannot be seen

OPAQUE_SHADOW = 'shadow "orcaVelaFastShadow" ( )'


class Materials:
    """Prints each material once.

    pass_shaders: the utility passes' shaders, at the end of each material's list
    environment: the environment shader of materials where the camera has none
    """

    def __init__(self, text, pictures, losses, pass_shaders="", environment=""):
        self._text = text
        self._images = pictures
        self._losses = losses
        self._pass_shaders = pass_shaders
        self._environment = environment
        self._names = {}
        self._wanted = {}
        self._emission = {}

    def name(self, material):
        """Name of the scene's material for one of Blender, or for none, a grey one."""
        key = material.name_full if material else None
        if key not in self._names:
            surface = Surfaces(material, self._losses).read() if material else Surface("default", base=constant(0.8))
            printer = _Printer(self._text, self._images, material.name if material else "default", self._losses)
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


class _Printer:
    """Prints the shaders of one material."""

    def __init__(self, text, pictures, name, losses):
        self.name = name
        self.emission = ""  # of the whole material, as a parameter's value
        self._text = text
        self._inputs = Inputs(name, losses)
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
        return self._plain(surface)

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
        parameters = []
        settled, color, scalar = self._textures.settled, self._textures.color, self._textures.scalar
        base, metal = settled(surface.base), settled(surface.metalness)
        kept = 1 - surface.transmission
        diffuse, tint, rolloff = self._split(base, metal, surface)
        emission = settled(surface.emission)
        shader = "orcaVelaLambert"
        if surface.translucence > 0:
            parameters += ['"diffuse" 0', f'"translucence" {surface.translucence:.6g}', '"translucenceForward" 0', '"translucenceWrap" 1']
        else:
            parameters.append('"diffuse" 1')
        parameters.append(f'"color" {color(diffuse.scaled(kept * (1 - surface.subsurface)))}')
        if surface.has_highlight:
            shader = "orcaVelaBlinn"
            parameters += [f'"specularColor" {color(tint)}', f'"specularRollOff" {scalar(rolloff)}',
                           *self._roughness(settled(surface.roughness), metal)]
        if surface.subsurface > SCATTER_SHARE:
            share = surface.subsurface * kept
            parameters += [f'"scatterColor" {scene_text.color([c * share for c in surface.subsurface_color])}',
                           f'"scatterRadius" {scene_text.color([max(r, 1e-5) for r in surface.subsurface_radius])}']
        if not emission.is_black:
            self.emission = color(emission)
            parameters.append(f'"incandescence" {self.emission}')
        transparency = self._transparency(surface, base)
        if transparency is not None:
            parameters.append(f'"transparency" {transparency}')
        if surface.transmission > 0:
            parameters += ['"refractionsOn" on', f'"refractiveIndex" {surface.refractive_index:.6g}',
                           f'"refractionLimit" {REFRACTION_LIMIT}', *self._refraction_blur(surface.roughness)]
        bump = self._relief(surface.relief)
        if bump:
            parameters.append(f'"bumpNormal" = "{bump}"')
        name = self._text.name(self.name)
        self._text.print(f'shader "{name}" "{shader}" (\n    ' + ",\n    ".join(parameters) + " )")
        return name, transparency

    def _split(self, base, metal, surface):
        """Diffuse colour, colour of highlights, and their strength head on."""
        plastic = surface.reflectance
        if metal.is_constant:
            m = min(max(metal.scalar, 0.0), 1.0)
            tint = base.scaled(m).plus(1 - m) if m > 0 else constant(1)
            return base.scaled(1 - m), tint, constant(plastic + (1 - plastic) * m)
        rolloff = metal.scaled(1 - plastic).plus(plastic)
        if metal.texture.kind != "image" or (not base.is_constant and base.texture.kind != "image"):
            self._inputs.lose("metalness that differs over colours that are no image")
            return base, constant(1), rolloff
        return self._by_image("diffuse", base, metal), self._by_image("specular", base, metal), rolloff

    def _by_image(self, part, base, metal):
        """Of metalness by the pixel, the colour that follows from it is an image, too."""
        def compute(metal_pixels, base_pixels=None):
            color = base.offset if base_pixels is None else base.texture.part.of(base_pixels) * base.gain + base.offset
            m = numpy.clip(metal.texture.part.of(metal_pixels) * metal.gain + metal.offset, 0, 1)
            return color * (1 - m) if part == "diffuse" else 1 - m + color * m

        textures = [metal.texture] + ([] if base.is_constant else [base.texture])
        sources = [(texture.node.image, texture.node.image_user) for texture in textures]
        return self._textures.derived(f"{self.name} {part}", textures[0], sources, compute)

    def _roughness(self, roughness, metal):
        """Parameters of the highlight's width and of reflections."""
        if not roughness.is_constant:
            mean = self._textures.mean(roughness)
            slope, parts = max(mean * mean, SMOOTHEST_FACETS), [f'"eccentricity" {self._textures.scalar(roughness)}']
        else:
            slope = max(min(max(roughness.scalar, 0.0), 1.0) ** 2, SMOOTHEST_FACETS)
            parts = [f'"eccentricity" {slope:.6g}']
        is_metal = not metal.is_constant or metal.scalar > 0
        traced = is_metal or slope < ROUGHEST_TRACED_PLASTIC
        parts.append(f'"reflectivity" {int(traced)}')
        if traced and slope >= SHARP:
            # A mirrored direction turns by twice the angle of the facet.
            parts += [f'"reflectionBlur" {min(2 * math.atan(slope), 1.2):.4g}', f'"reflectionBlurSamples" {BLUR_SAMPLES}']
        return parts

    @staticmethod
    def _refraction_blur(roughness: Value):
        slope = roughness.scalar ** 2 if roughness.is_constant else 0.0
        if slope < SHARP:
            return []
        return [f'"refractionBlur" {min(math.atan(slope), 1.2):.4g}', f'"refractionBlurSamples" {BLUR_SAMPLES}']

    def _transparency(self, surface, base):
        """The transparency as a parameter's value, None for an opaque surface."""
        if surface.transmission > 0:
            return self._textures.color(base.scaled(surface.transmission))
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
