# SPDX-License-Identifier: Apache-2.0
"""Passes: the catalogue, those that a view layer asks for, and what the scene sets up for them."""

import dataclasses
import enum
import typing

from . import mattes

COLORS, NUMBERS = ("RGBA", "COLOR", "rgba_fp"), ("Y", "VALUE", "s_fp")
MANY_LEVELS = 1000

# Material passes in the order of their types: name, what it shows.
MATERIAL_PASSES = (
    ("beauty", "the picture"),
    ("ambientMaterialColor", "the materials' ambient colour"),
    ("ambientIrradiance", "what ambient lights give, without materials"),
    ("ambient", "ambient light on the materials"),
    ("diffuseMaterialColor", "the materials' diffuse colour, unlit"),
    ("diffuse", "diffuse and translucent light"),
    ("diffuseNoShadow", "the same as if nothing cast shadows"),
    ("specular", "highlights"),
    ("specularNoShadow", "highlights as if nothing cast shadows"),
    ("incandescence", "light that materials give off themselves"),
    ("directIrradiance", "light that arrives, without materials"),
    ("directIrradianceNoShadow", "the same without shadows"),
    ("shadow", "light that shadows take away"),
    ("shadowLuminance", "its luminance"),
    ("rawShadow", "irradiance that shadows take away, without materials"),
    ("rawShadowLuminance", "its luminance"),
    ("lightVolume", "light fog"),
    ("sceneVolume", "fog of the whole scene"),
    ("objectVolume", "volumes of objects"),
    ("reflection", "what surfaces reflect"),
    ("reflectedMaterialColor", "the materials' reflectivity"),
    ("refraction", "what is seen through refracting surfaces"),
    ("indirect", "light from other surfaces"),
    ("matte", "matte opacity"),
    ("opacity", "opacity"),
    ("translucence", "light from behind that comes through"),
    ("specularMaterialColor", "the materials' highlight colour"),
    ("lightSum", "sum of the lights' terms"),
    ("transparency", "transparency"),
    ("glowSource", "what glows"),
    ("custom", "whatever write-to-buffer shaders put there"),
    ("translucenceNoShadow", "translucence without shadows"),
    ("normal", "shading normal, world space"),
    ("facingRatio", "1 where a surface faces the camera, 0 at its silhouette"),
    ("beautyNoReflectionRefraction", "the picture without reflections and refractions"),
)
NUMBER_PASSES = {"shadowLuminance", "rawShadowLuminance", "lightSum", "facingRatio"}
WEIGHTED_PASSES = {
    "ambientMaterialColor", "ambientIrradiance", "ambient", "diffuseMaterialColor", "diffuse", "diffuseNoShadow", "directIrradiance",
    "directIrradianceNoShadow", "rawShadow", "rawShadowLuminance", "reflectedMaterialColor", "indirect", "translucence",
    "specularMaterialColor", "lightSum", "translucenceNoShadow", "normal", "facingRatio"}
SHADOWED_PASSES = {
    "beauty", "ambientIrradiance", "ambient", "diffuse", "specular", "incandescence", "directIrradiance", "shadow", "shadowLuminance",
    "rawShadow", "rawShadowLuminance", "lightVolume", "sceneVolume", "objectVolume", "reflection", "refraction", "indirect",
    "translucence", "lightSum", "glowSource"}

# Utility passes: name, what it shows, shader with its settings, channels, kind of socket, data type of the frame buffer.
UTILITY_PASSES = (
    ("ambientOcclusion", "how open a point lies: 1 free, 0 closed in", "orcaPassAmbientOcclusion", "", COLORS),
    ("cameraDepth", "distance from the camera, 0 where nothing is", "orcaPassCameraDepth", "", ("Z", "VALUE", "z")),
    ("planarDepth", "distance along the camera's axis, 1e10 where nothing is", "orcaPassPlanarDepth", "", ("Z", "VALUE", "z")),
    ("position", "the point itself, world space", "orcaPassPosition", ', "space" 0', ("XYZ", "VECTOR", "m")),
    ("uv", "texture coordinates", "orcaPassTextureCoordinate", ', "textureSpace" 0', ("XYZ", "VECTOR", "m")),
    ("coverage", "part of the pixel that surfaces cover", "orcaPassCoverage", "", ("Y", "VALUE", "coverage")),
    ("incidenceCameraNormal", "0 where a surface faces the camera, 1 at its silhouette", "orcaPassIncidenceCameraNormal", "", NUMBERS),
    ("motionVector2D", "movement in the picture over the shutter, pixels", "orcaPassMotionVector2D", "", ("XYZ", "VECTOR", "m")),
    ("motionVector2DNormalized", "the same, 0.5 for no movement, 1 for one picture width", "orcaPassMotionVector2DNormalized", "",
     ("XYZ", "VECTOR", "m")),
    ("motionVector3D", "movement of the point over the shutter, world space", "orcaPassMotionVector3D", "", ("XYZ", "VECTOR", "m")),
    ("normalCamera", "shading normal, camera space", "orcaPassNormal", ', "space" 1', ("XYZ", "VECTOR", "n")),
    ("normalObject", "shading normal, object space", "orcaPassNormal", ', "space" 2', ("XYZ", "VECTOR", "n")),
    ("normalWorld", "shading normal, world space", "orcaPassNormal", ', "space" 0', ("XYZ", "VECTOR", "n")),
    ("environment", "what is seen where no surface is, and through surfaces", "orcaPassBackground", ', "source" 0', COLORS),
    ("lamps", "area lights that are seen themselves", "orcaPassBackground", ', "source" 1', COLORS),
    ("label", "pass index of the object", "", "", ("Y", "VALUE", "tag")),
    ("variance", "variance of the picture's mean over the samples, by channel", "", "", ("RGBA", "COLOR", "variance")),
    ("samples", "samples that the pixel took", "", "", ("Y", "VALUE", "samples")),
)
UTILITIES = {row[0]: row for row in UTILITY_PASSES}
COMPONENTS = ("ambient", "diffuse", "specular", "incandescence", "indirect", "reflection", "refraction", "environment", "lamps")

GROUP_PREFIX = "Combined_"  # of Blender's passes of one light group
REST = "rest"  # what no light gives: the world, seen or reflected, and what emits
NO_GROUP = "\n"  # no light is in it


class Join(enum.Enum):
    """What is done with a layer and another one, pixel by pixel, to have a pass of Blender."""
    QUOTIENT = "the layer over the other one, 0 where that is 0"
    SUM = "both"
    DIFFERENCE = "the layer less the other one"
    MATERIAL_INDEX = "the number of the material that the other one, of mattes, shows most of"


@dataclasses.dataclass(frozen=True)
class Layer:
    """A layer of the file, which is a pass in Blender."""
    name: str  # of Blender's pass
    source: str  # of the catalogue
    light_group: typing.Optional[str] = None  # light of this group of lights alone
    collection: typing.Optional[str] = None  # objects of this collection alone
    reflections: bool = False  # takes what reflected rays bring
    refractions: bool = False
    other: str = ""  # name of the layer that it is joined with
    join: typing.Optional[Join] = None
    is_far: bool = False  # a depth that is 1e10 where nothing is
    is_smooth: bool = False  # a vector that is filtered at edges

    @property
    def shape(self):
        """Letters of the channels, kind of socket, data type of the frame buffer."""
        if self.name == MOTION:
            return "XYZW", "VECTOR", "m"
        if self.source in UTILITIES:
            return UTILITIES[self.source][4]
        return NUMBERS if self.source in NUMBER_PASSES else COLORS

    @property
    def is_matte(self):
        """Whether it is one of the layers of ids that the renderer itself writes."""
        return self.source in mattes.TYPES

    @property
    def is_material_pass(self):
        return self.source not in UTILITIES and not self.is_matte

    @property
    def is_background(self):
        """Whether a state shader writes it, and no material."""
        return self.source in {"environment", "lamps"}

    @property
    def is_written_by_shader(self):
        """Whether a utility shader writes it; the renderer writes some layers itself."""
        return self.source in UTILITIES and bool(UTILITIES[self.source][2])


MOTION = "Vector"  # Blender's pass of movement, over a frame whatever the shutter is
MOST_SEEN = "CryptoMaterial00"  # the layer of the materials that pixels show most of

# Passes that Blender's view layers have switches for, with the switch. What Blender multiplies by a colour is divided by it,
# as Cycles does it: pixel by pixel when the picture is finished.
BLENDER_PASSES = (
    ("use_pass_z", Layer("Depth", "planarDepth", is_far=True)),
    ("use_pass_mist", Layer("Mist", "cameraDepth")),
    ("use_pass_position", Layer("Position", "position")),
    ("use_pass_normal", Layer("Normal", "normalWorld")),
    ("use_pass_vector", Layer(MOTION, "motionVector2D")),
    ("use_pass_uv", Layer("UV", "uv")),
    ("use_pass_object_index", Layer("IndexOB", "label")),
    ("use_pass_material_index", Layer("IndexMA", "coverage", other=MOST_SEEN, join=Join.MATERIAL_INDEX)),
    ("use_pass_diffuse_direct", Layer("DiffDir", "diffuse", other="DiffCol", join=Join.QUOTIENT)),
    ("use_pass_diffuse_indirect", Layer("DiffInd", "indirect", other="DiffCol", join=Join.QUOTIENT)),
    ("use_pass_diffuse_color", Layer("DiffCol", "diffuseMaterialColor")),
    ("use_pass_glossy_direct", Layer("GlossDir", "specular", other="GlossCol", join=Join.QUOTIENT)),
    ("use_pass_glossy_indirect", Layer("GlossInd", "reflection", other="GlossCol", join=Join.QUOTIENT)),
    ("use_pass_glossy_color", Layer("GlossCol", "specularMaterialColor")),
    ("use_pass_transmission_indirect", Layer("TransInd", "refraction")),
    ("use_pass_emit", Layer("Emit", "incandescence")),
    ("use_pass_environment", Layer("Env", "environment")),
    ("use_pass_shadow", Layer("Shadow", "directIrradiance", other="directIrradianceNoShadow", join=Join.QUOTIENT)),
    ("use_pass_ambient_occlusion", Layer("AO", "ambientOcclusion")),
)
# Those that Cycles calls denoising data.
DENOISING_PASSES = (
    Layer("Denoising Normal", "normalCamera", is_smooth=True),
    Layer("Denoising Albedo", "diffuseMaterialColor", other="GlossCol", join=Join.SUM),
    Layer("Denoising Depth", "cameraDepth"),
)
# Those that others are joined with, which come along with them.
JOINED = {layer.name: layer for _, layer in BLENDER_PASSES if layer.name in {"DiffCol", "GlossCol"}}
JOINED |= {"directIrradianceNoShadow": Layer("directIrradianceNoShadow", "directIrradianceNoShadow"),
           MOST_SEEN: Layer(MOST_SEEN, "CryptoMaterial"),
           REST: Layer(REST, "beauty", light_group=NO_GROUP, reflections=True, refractions=True)}


def layers_of(view_layer, camera=None, world=None):
    """The layers of a view layer of Blender, the picture first; of several with one name the first.

    camera: object of Blender or None; of panoramas depths are distances, since they have no axis
    world: of Blender or None; of light groups, one that it is in shows it, and all else that no light gives
    """
    layers = [Layer("Combined", "beauty", reflections=True, refractions=True)]
    layers += [layer for switch, layer in BLENDER_PASSES if getattr(view_layer, switch)]
    layers += DENOISING_PASSES if view_layer.orca.denoising_data else ()
    layers += [Layer(f"{matte}{level:02}", matte) for switch, matte, _ in mattes.MATTES if getattr(view_layer, switch)
               for level in range(mattes.levels_of(view_layer))]
    for group in view_layer.lightgroups:
        whole = Layer(f"{GROUP_PREFIX}{group.name}", "beauty", light_group=group.name, reflections=True, refractions=True)
        has_world = world is not None and world.lightgroup == group.name
        layers.append(whole if has_world else dataclasses.replace(whole, other=REST, join=Join.DIFFERENCE))
    layers += [Layer(wanted.layer_name, wanted.source, wanted.light_group or None, wanted.collection.name if wanted.collection else None,
                     wanted.source == "beauty" or wanted.reflections, wanted.source == "beauty" or wanted.refractions,
                     is_far=wanted.source == "planarDepth")
               for wanted in view_layer.orca.passes if wanted.enabled]
    layers += [JOINED[layer.other] for layer in layers if layer.other]
    if camera is not None and getattr(camera.data, "type", "") == "PANO":
        layers = [dataclasses.replace(layer, source="cameraDepth") if layer.source == "planarDepth" else layer for layer in layers]
    return list({layer.name: layer for layer in reversed(layers)}.values())[::-1]


class PassSetup:
    """What a scene says to make layers: statements of the camera, shaders of materials and of the options.

    prefix: of the names of frame buffers
    """

    def __init__(self, layers, prefix=""):
        self._layers = layers
        self._prefix = prefix
        self._utilities = [layer for layer in layers if layer.is_written_by_shader]
        records = sum(layer.is_material_pass for layer in layers)
        self.material_shaders = self.state_shaders = ""  # what ends materials' lists and the options' list of state shaders
        for index, layer in enumerate(self._utilities):
            _, _, shader, settings, _ = UTILITIES[layer.source]
            if layer.is_background:
                self.state_shaders += f'\n          "{shader}" ( "passIndex" {index}{settings} )'
            else:
                self.material_shaders += f'\n    "{shader}" ( "passIndex" {index}, "contributionIndex" {records + index}{settings} )'
            if layer.is_far:
                self.state_shaders += f'\n          "orcaPassFarDepth" ( "passIndex" {index} )'

    def buffer(self, layer):
        return self._prefix + layer.name

    def write(self, text, name):
        """Prints the data block of the camera."""
        buffers = ", ".join(f'"{self.buffer(layer)}"' for layer in self._utilities)
        records = ",\n        ".join(self._record(layer) for layer in self._layers if layer.is_material_pass)
        text.print(f'data "{name}" "orcaNamedPasses" (\n    "nonMaterialFrameBuffers" [ {buffers} ],\n'
                   f'    "frameBufferInfo" [\n        {records} ] )\nend data')

    def _record(self, layer):
        fields = [f'"passType" "{layer.source}"', f'"frameBufferName" "{self.buffer(layer)}"']
        fields += ['"weightByOpacity" on'] * (layer.source in WEIGHTED_PASSES)
        fields += ['"shadowed" on'] * (layer.source in SHADOWED_PASSES)
        fields += ['"ignoreObjectLinks" on'] * bool(layer.light_group or layer.collection)
        if layer.reflections:
            fields += ['"includeReflection" on', f'"maxReflectionLevel" {MANY_LEVELS}']
        if layer.refractions:
            fields += ['"includeRefraction" on', f'"maxRefractionLevel" {MANY_LEVELS}']
        return "{ " + ", ".join(fields) + " }"

    def camera_statements(self, block):
        """Frame buffers and data block, as statements of the camera."""
        sources = [layer.source for layer in self._layers]
        lines = [f'    framebuffer "{self._prefix}{matte}" datatype "{kind}_{2 * sources.count(matte)}"\n'
                 for matte, kind in mattes.TYPES.items() if matte in sources]
        for layer in self._layers:
            if layer.is_matte:
                continue
            switches = f' user {"on" if layer.is_material_pass or layer.is_written_by_shader else "off"}'
            switches += " useopacity on" if layer.is_material_pass or layer.is_background else ""
            switches += " filtering on" if layer.is_smooth else ""
            lines.append(f'    framebuffer "{self.buffer(layer)}" datatype "{layer.shape[2]}"{switches}\n')
        return "".join(lines) + f'    data "{block}"\n'

    def left_out_of(self, light_group=None, collections=None):
        """Names of the frame buffers that a light of a group, or an object of some collections, does not feed.

        light_group: name of the light's group, "" for none; None for an object
        collections: names of the collections that hold the object; None for a light
        """
        return [self.buffer(layer) for layer in self._layers if layer.is_material_pass
                and ((light_group is not None and layer.light_group and layer.light_group != light_group)
                     or (collections is not None and layer.collection and layer.collection not in collections))]
