# SPDX-License-Identifier: Apache-2.0
"""Lights of Blender as those of the shader library, with the brightness that Cycles gives them.

Blender's watts are not those of radiometry for all lights. A white surface that a lamp of P watts faces shows at a distance
d, without fall-off of the cosine: of a point or spot light P / (4 pi^2 d^2), of an area light of area A the radiance
P / (4 A) times the form factor, of a sun of strength S, which is an irradiance, S / pi.
"""

import math

import mathutils

from . import scene_text

WIDEST_CONE = math.radians(170)  # that a slide is projected in
BLEND_ENTRIES = 12  # of the ramp from a spot's rim to where its light is whole
LEAST_SIZE = 1e-6  # of an area light, metres


def _emission(light, losses):
    """Colour of the light times what its node tree multiplies it by."""
    color = mathutils.Vector(light.color)
    if not light.use_nodes or light.node_tree is None:
        return color
    output = light.node_tree.get_output_node("CYCLES") or light.node_tree.get_output_node("ALL")
    links = output.inputs["Surface"].links if output else ()
    node = links[0].from_node if links else None
    if node is None:
        return color * 0
    if node.type != "EMISSION" or any(socket.is_linked for socket in node.inputs):
        losses.add("nodes of lights beyond an emission of one colour", light.name)
        return color
    tint = node.inputs["Color"].default_value
    strength = node.inputs["Strength"].default_value
    return mathutils.Vector(c * t * strength for c, t in zip(color, tint))


def _color_and_intensity(color, intensity):
    """The colour with its largest part at 1, and the intensity that this takes."""
    most = max(color)
    if most <= 0:
        return '"color" 0 0 0 1, "intensity" 0'
    return f'"color" {scene_text.color([c / most for c in color])}, "intensity" {most * intensity:.9g}'


def _switches(light_object, losses):
    light = light_object.data
    text = "" if light.use_shadow else ', "useRayTraceShadows" off'
    for part, factor in (("emitDiffuse", light.diffuse_factor), ("emitSpecular", light.specular_factor * light_object.visible_glossy)):
        if factor == 0:
            text += f', "{part}" off'
        elif factor != 1:
            losses.add("shares of lights in diffuse light and highlights, which are all or nothing", light.name)
    return text


def _blended_cone(text, name, light, color):
    """Prints how a spot fades towards its rim, as a slide that is projected; the colour parameter."""
    outer = min(light.spot_size, WIDEST_CONE) / 2
    rim = math.cos(outer)
    entries = []
    for i in range(BLEND_ENTRIES, -1, -1):  # Blender blends over cosines, smoothly
        t = i / BLEND_ENTRIES
        cosine = rim + t * (1 - rim) * light.spot_blend
        position = math.sqrt(max(0.0, 1 - cosine ** 2)) / cosine / math.tan(outer)
        share = t * t * (3 - 2 * t)
        entries.append(f'{{ "position" {position:.6g}, "value" {scene_text.color(color * share)}, "interpolation" 1 }}')
    slide = text.name(name + " rim")
    text.print(f'shader "{slide}" "velaRamp" ( "type" 4, "entries" [\n    ' + ",\n    ".join(entries) + " ] )")
    return f'= "{slide}"'


def area_size(light):
    """Width and height of an area light before its object's scale."""
    width = light.size
    height = light.size_y if light.shape in ("RECTANGLE", "ELLIPSE") else light.size
    return max(width, LEAST_SIZE), max(height, LEAST_SIZE)


def is_seen(light_object):
    """Whether any ray sees the shape of a light."""
    return light_object.data.type == "AREA" and (light_object.visible_camera or light_object.visible_glossy)


def flags(light_object):
    """Statements of a light's instance that say which rays see its shape."""
    if not is_seen(light_object):
        return ""
    return ("" if light_object.visible_camera else "  visible off") + ("" if light_object.visible_glossy else "  trace off")


def _is_disc(light):
    return light.shape in ("DISK", "ELLIPSE")


def placement(light_object, matrix):
    """Where the light's instance is: without scale, but for area lights, which it enlarges."""
    turned = scene_text.rigid(matrix)
    if light_object.data.type != "AREA":
        return turned
    scale = matrix.to_scale()
    width, height = area_size(light_object.data)
    return turned @ mathutils.Matrix.Diagonal((abs(width * scale.x) / 2, abs(height * scale.y) / 2, 1, 1))


def write(text, name, light_object, shadow_rays, matrix, losses):
    """Prints a light of the scene.

    shadow_rays: rays to soft and area lights for each sample of the picture
    matrix: its placement in Blender's space; area lights of Blender keep their power when they are scaled
    """
    light = light_object.data
    color = _emission(light, losses)
    switches = _switches(light_object, losses)
    if light.type == "SUN":
        soft = f', "lightAngle" {math.degrees(light.angle) / 2:.6g}, "shadowRays" {shadow_rays}' if light.angle > 0 else ""
        text.print(f'light "{name}" "orcaVelaDirectionalLight" ( {_color_and_intensity(color, light.energy)}, "units" 3{soft}'
                   f"{switches} )\n    direction 0 0 -1 end light")
        return
    if light.type == "AREA":
        scale = matrix.to_scale()
        width, height = (abs(size * s) for size, s in zip(area_size(light), scale))
        area = width * height * (math.pi / 4 if _is_disc(light) else 1)
        spread = getattr(getattr(light, "cycles", None), "spread", None) or getattr(light, "spread", math.pi)
        if spread < math.radians(179.9):
            losses.add("spread of area lights", light.name)
        shape = "disc 0 0 -1  1  1 1" if _is_disc(light) else "rectangle 0 2 0  2 0 0  1 1"
        seen = "  visible" if is_seen(light_object) else ""
        text.print(f'light "{name}" "orcaVelaAreaLight" ( {_color_and_intensity(color, light.energy / (4 * area))}, '
                   f'"shape" {int(_is_disc(light))}, "shadowRays" {shadow_rays}{switches} )\n    origin 0 0 0  {shape}{seen} end light')
        return
    radius = light.shadow_soft_size
    soft = f', "lightRadius" {radius:.9g}, "shadowRays" {shadow_rays}' if radius > 0 else ""
    intensity = light.energy / (4 * math.pi)
    if light.type == "POINT":
        text.print(f'light "{name}" "orcaVelaPointLight" ( {_color_and_intensity(color, intensity)}, "units" 2{soft}{switches} )\n'
                   "    origin 0 0 0 end light")
        return
    outer = min(light.spot_size, WIDEST_CONE) / 2
    strength = _color_and_intensity(color, intensity)
    if light.spot_blend > 0 and max(color) > 0:
        strength = f'"color" {_blended_cone(text, name, light, color / max(color))}, "intensity" {max(color) * intensity:.9g}'
    text.print(f'light "{name}" "orcaVelaSpotLight" ( {strength}, "units" 2{soft}{switches},\n'
               f'    "coneAngle" {math.degrees(2 * outer):.6g}, "dropoff" 1 )\n'
               f"    origin 0 0 0  direction 0 0 -1  spread {math.cos(outer):.9g} end light")


def write_emitter(text, name, instance, emission, samples):
    """Prints the light of a mesh.

    instance: name of the mesh's instance
    emission: its radiance, as a parameter's value; Blender's surfaces emit to both sides

    Reflected rays bring what glossy surfaces show of it.
    """
    text.print(f'light "{name}" "orcaVelaShapeLight" ( "color" {emission}, "twoSided" on, "emitSpecular" off )\n'
               f'    object "{instance}" {samples} {samples} end light')
