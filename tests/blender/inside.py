# SPDX-License-Identifier: Apache-2.0
"""The cases of blender_test.py, inside Blender: inside.py -- BUILD FOLDER [CASE ...]."""
import math
import pathlib
import subprocess
import sys
import time
import types

import addon_utils
import bpy
import bpy_extras
import numpy
from mathutils import Vector

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parent))
import made_scenes as made  # noqa: E402

BUILD, FOLDER = map(pathlib.Path, sys.argv[sys.argv.index("--") + 1:][:2])


def check(holds, text):
    if not holds:
        raise AssertionError(text)


def check_as_cycles(limit, **cycles):
    """The regions of the picture are those of Cycles' picture, but for this share."""
    difference = made.largest_difference(made.render(FOLDER), made.render_cycles(FOLDER, **cycles))
    check(difference < limit, f"regions differ by {100 * difference:.2f} % from those of Cycles, more than {100 * limit} %")
    return f"{100 * difference:.2f} % from Cycles"


# --- lights: one each in a room without anything else ---

def stretched(thing):
    thing.scale = (1.3, 0.8, 2)


LIGHTS = {
    "point": lambda: made.add_light("POINT", 200, (1, -1, 2.5), None, shadow_soft_size=0),
    "soft_point": lambda: made.add_light("POINT", 200, (1, -1, 2.5), None, shadow_soft_size=0.2),
    "spot": lambda: made.add_light("SPOT", 500, (1, -2, 3), (0, 0.6, 0.4), shadow_soft_size=0, spot_size=math.radians(50), spot_blend=0.3),
    "sun": lambda: made.add_light("SUN", 2, (1, -2, 3), (-0.5, 1, 0), angle=math.radians(3)),
    "rectangle": lambda: made.add_light("AREA", 100, (1.5, -1, 2.6), (0, 1, 0), shape="RECTANGLE", size=1, size_y=0.3),
    "ellipse": lambda: stretched(made.add_light("AREA", 100, (1.5, -1, 2.6), (0, 1, 0), shape="ELLIPSE", size=1, size_y=0.4)),
}
LIGHT_LIMIT = 0.02  # noise of soft shadows; Cycles' point lights are spheres, ours discs


def case_lights():
    figures = []
    for name, add in LIGHTS.items():
        made.fresh()
        made.room()
        add()
        figures.append(f"{name} {check_as_cycles(LIGHT_LIMIT)}")
    return ", ".join(figures)


# --- features, each besides a sun in the same room ---

def sunny_room(world=0.0):
    scene = made.fresh()
    camera = made.room()
    made.add_light("SUN", 2, (1, -2, 3), (-0.5, 1, 0), angle=0).name = "sun"
    scene.world = bpy.data.worlds.new("world")
    scene.world.color = (world, world, world)
    return scene, camera


def case_shifted_region_of_a_parallel_view():
    scene, camera = sunny_room()
    camera.type, camera.ortho_scale, camera.shift_x, camera.shift_y = "ORTHO", 6, 0.1, -0.05
    scene.render.pixel_aspect_x = 1.2
    scene.render.use_border = scene.render.use_crop_to_border = True
    scene.render.border_min_x, scene.render.border_max_x, scene.render.border_max_y = 0.2, 0.9, 0.8
    return check_as_cycles(0.01)


def case_perspective_with_shift_and_depth_of_field():
    _, camera = sunny_room()
    camera.sensor_fit, camera.sensor_height, camera.shift_x = "VERTICAL", 20, -0.1
    camera.dof.use_dof, camera.dof.focus_distance, camera.dof.aperture_fstop = True, 3, 0.3
    return check_as_cycles(0.01, samples=128)


def case_motion_of_objects_vertices_and_camera():
    scene, _ = sunny_room()
    scene.render.use_motion_blur, scene.render.motion_blur_shutter = True, 1.0
    moving, bending, eye = bpy.data.objects["box"], made.add_mesh("bending", *made.box((0.2, 0.2, 0.5)), at=(1, 0, 0.6)), scene.camera
    bending.shape_key_add(name="rest")
    for point in bending.shape_key_add(name="bent").data:
        point.co.x += 0.8 if point.co.z > 0 else 0
    key = bending.data.shape_keys.key_blocks["bent"]
    for frame, sign in ((0, -1), (2, 1)):
        moving.location.x = -0.7 + sign * 0.5
        moving.keyframe_insert("location", frame=frame)
        key.value = frame / 2
        key.keyframe_insert("value", frame=frame)
        eye.matrix_basis.translation.x = 0.4 + sign * 0.1
        eye.keyframe_insert("location", frame=frame)
    for action in bpy.data.actions:
        for curve in action.fcurves:
            for point in curve.keyframe_points:
                point.interpolation = "LINEAR"
    scene.frame_set(1)
    return check_as_cycles(0.02, samples=128)


def case_instances_modifiers_and_curves():
    scene, _ = sunny_room()
    parts = bpy.data.collections.new("parts")
    ball = bpy.data.objects.new("ball", bpy.data.meshes.new("ball"))
    ball.data.from_pydata(*made.box((0.2, 0.2, 0.2))[:1], [], made.box((1, 1, 1))[1])
    ball.data.materials.append(made.material("green", Color=(0.1, 0.7, 0.2, 1)))
    for polygon in ball.data.polygons:
        polygon.use_smooth = True
    ball.modifiers.new("round", "SUBSURF").render_levels = 3
    parts.objects.link(ball)
    for i in range(3):
        empty = made.place(bpy.data.objects.new("place", None), (0.6 * i, -0.5, 0.3 + 0.3 * i))
        empty.instance_type, empty.instance_collection, empty.scale = "COLLECTION", parts, (-1, 1, 1 + i)
    blocks = bpy.data.objects["box"]
    blocks.data.materials.append(made.material("second", Color=(0.1, 0.1, 0.7, 1)))
    blocks.data.polygons[0].material_index = 1
    blocks.rotation_euler = (0.2, 0.3, 0.5)
    letters = bpy.data.curves.new("letters", "FONT")
    letters.body, letters.extrude = "Orca", 0.1
    made.place(bpy.data.objects.new("letters", letters), (-2, 0.5, 1.6)).rotation_euler = (1.5, 0, 0)
    settings = bpy.data.objects["floor"].modifiers.new("particles", "PARTICLE_SYSTEM").particle_system.settings
    settings.type, settings.render_type, settings.instance_object, settings.count = "HAIR", "OBJECT", ball, 30
    settings.use_advanced_hair, settings.particle_size, settings.hair_length = True, 0.5, 1
    return check_as_cycles(0.01)


def case_hair():
    scene, _ = sunny_room()
    black = made.material("black", Color=(0, 0, 0, 1))  # ribbons are shaded round by one, flat by the other
    floor = bpy.data.objects["floor"]
    floor.data.materials.append(black)
    settings = floor.modifiers.new("grass", "PARTICLE_SYSTEM").particle_system.settings
    settings.type, settings.count, settings.hair_length, settings.material = "HAIR", 60, 0.6, 2
    settings.root_radius, settings.tip_radius, settings.shape, settings.radius_scale = 1.0, 0.2, 0.3, 0.05
    settings.brownian_factor, settings.child_type, settings.rendered_child_count = 0.1, "INTERPOLATED", 4
    scene.cycles_curves.shape, scene.orca.samples_min, scene.orca.samples_max = "RIBBONS", 2, 2
    bpy.context.view_layer.objects.active = floor
    bpy.ops.curves.convert_from_particle_system()
    tuft = next(thing for thing in scene.objects if thing.type == "CURVES")
    tuft.location.z, tuft.rotation_euler = 0.8, (0, 0, 1.5)
    tuft.data.materials.clear()
    tuft.data.materials.append(black)
    return check_as_cycles(0.03)


def picture_nodes(material, pixels):
    """An image texture in a material; the image is packed."""
    image = bpy.data.images.new("image", pixels.shape[1], pixels.shape[0], alpha=True)
    image.pixels.foreach_set(numpy.ascontiguousarray(pixels, numpy.float32).ravel())
    image.pack()
    node = material.node_tree.nodes.new("ShaderNodeTexImage")
    node.image, node.extension = image, "EXTEND"
    return node


def case_textures_mixtures_and_emission():
    sunny_room(0.05)
    pixels = numpy.ones((32, 32, 4))
    pixels[..., 0], pixels[..., 1] = numpy.meshgrid(numpy.linspace(0.2, 1, 32), numpy.linspace(0.3, 1, 32))
    pixels[..., 3] = numpy.arange(32) // 8 % 2
    cards = [made.material(name) for name in ("placed", "holes", "mixed", "painted", "lamp")]
    for i, material in enumerate(cards):
        x = i * 0.8 - 2
        corners = [(x, -0.3, 0.9), (x + 0.7, -0.3, 0.9), (x + 0.7, -0.1, 1.7), (x, -0.1, 1.7)]
        card = made.add_mesh(material.name, corners, [(0, 1, 2, 3)], material)
        for corner, uv in zip(card.data.uv_layers.new().data, ((0, 0), (1, 0), (1, 1), (0, 1))):
            corner.uv = uv
        colors = card.data.color_attributes.new("Col", "FLOAT_COLOR", "POINT")
        for point, color in zip(colors.data, ((1, 0, 0, 1), (0, 1, 0, 1), (0, 0, 1, 1), (1, 1, 1, 1))):
            point.color = color
    placed, holes, mixed, painted, lamp = (material.node_tree for material in cards)

    def surface(tree):
        return next(node for node in tree.nodes if node.type == "BSDF_DIFFUSE")

    mapping, coordinates = placed.nodes.new("ShaderNodeMapping"), placed.nodes.new("ShaderNodeTexCoord")
    mapping.inputs["Scale"].default_value, mapping.inputs["Location"].default_value = (0.5, 0.4, 1), (0.3, 0.2, 0)
    image, product = picture_nodes(cards[0], pixels), placed.nodes.new("ShaderNodeMixRGB")
    product.blend_type, product.inputs["Fac"].default_value, product.inputs["Color1"].default_value = "MULTIPLY", 0.6, (0.7, 1, 0.5, 1)
    placed.links.new(coordinates.outputs["UV"], mapping.inputs["Vector"])
    placed.links.new(mapping.outputs["Vector"], image.inputs["Vector"])
    separate, ramp = placed.nodes.new("ShaderNodeSeparateColor"), placed.nodes.new("ShaderNodeValToRGB")
    ramp.color_ramp.elements[0].color, ramp.color_ramp.elements[1].color = (0.9, 0.1, 0.1, 1), (0.1, 0.5, 0.9, 1)
    placed.links.new(image.outputs["Color"], separate.inputs["Color"])
    placed.links.new(separate.outputs["Green"], ramp.inputs["Fac"])
    placed.links.new(ramp.outputs["Color"], product.inputs["Color2"])
    placed.links.new(product.outputs["Color"], surface(placed).inputs["Color"])

    for tree, material, other in ((holes, cards[1], "ShaderNodeBsdfTransparent"), (mixed, cards[2], "ShaderNodeBsdfDiffuse")):
        image, mix, under = picture_nodes(material, pixels), tree.nodes.new("ShaderNodeMixShader"), tree.nodes.new(other)
        under.inputs["Color"].default_value = (1, 1, 1, 1) if tree is holes else (0.1, 0.1, 0.8, 1)
        tree.links.new(image.outputs["Alpha" if tree is holes else "Color"], mix.inputs[0])
        tree.links.new(under.outputs[0], mix.inputs[1])
        tree.links.new(surface(tree).outputs[0], mix.inputs[2])
        tree.links.new(mix.outputs[0], tree.nodes["Material Output"].inputs["Surface"])
    attribute = painted.nodes.new("ShaderNodeVertexColor")
    attribute.layer_name = "Col"
    painted.links.new(attribute.outputs["Color"], surface(painted).inputs["Color"])
    emission = lamp.nodes.new("ShaderNodeEmission")
    emission.inputs["Color"].default_value, emission.inputs["Strength"].default_value = (1, 0.6, 0.3, 1), 4
    lamp.links.new(emission.outputs[0], lamp.nodes["Material Output"].inputs["Surface"])
    return check_as_cycles(0.03, samples=128)


GOLD, RED = (0.9, 0.6, 0.2, 1), (0.7, 0.2, 0.1, 1)
# Name, kind of node, its inputs, and how far the halves of a ball may differ from those of Cycles.
BALLS = (
    ("smooth plastic", "BsdfPrincipled", {"Base_Color": RED, "Roughness": 0.1}, 0.04),
    ("plastic", "BsdfPrincipled", {"Base_Color": RED, "Roughness": 0.5}, 0.04),
    ("mirror", "BsdfPrincipled", {"Base_Color": GOLD, "Metallic": 1, "Roughness": 0.02}, 0.04),
    ("half a metal", "BsdfPrincipled", {"Base_Color": GOLD, "Metallic": 0.5, "Roughness": 0.3}, 0.04),
    ("metal", "BsdfGlossy", {"Color": GOLD, "Roughness": 0.25}, 0.04),
    ("rough metal", "BsdfGlossy", {"Color": GOLD, "Roughness": 0.9}, 0.06),
    ("stretched", "BsdfAnisotropic", {"Color": GOLD, "Roughness": 0.4, "Anisotropy": 0.6}, 0.08),
    ("coat", "BsdfPrincipled", {"Base_Color": RED, "Clearcoat": 1, "Clearcoat_Roughness": 0.1}, 0.04),
    ("tint", "BsdfPrincipled", {"Base_Color": RED, "Specular": 1, "Specular_Tint": 1}, 0.08),
    ("sheen", "BsdfPrincipled", {"Base_Color": (0.1, 0.1, 0.4, 1), "Specular": 0, "Sheen": 1}, 0.06),
    ("velvet", "BsdfVelvet", {"Color": RED, "Sigma": 0.8}, 0.06),
    ("glass", "BsdfGlass", {"Color": (0.9, 0.95, 1, 1)}, 0.04),
    ("half a glass", "BsdfPrincipled", {"Base_Color": RED, "Transmission": 0.5, "Roughness": 0.1}, 0.1),
    ("wax", "SubsurfaceScattering", {"Color": (0.8, 0.6, 0.5, 1), "Scale": 0.2}, 0.15),
)


def case_materials():
    scene = made.fresh()
    scene.render.film_transparent = True  # which leaves the background of regions black
    scene.world = bpy.data.worlds.new("world")
    scene.world.color = (0.5, 0.5, 0.5)
    materials = [made.material(name, kind, **inputs) for name, kind, inputs, _ in BALLS]
    for material in materials:
        nodes = material.node_tree.nodes
        tangent, surface = nodes.new("ShaderNodeTangent"), nodes[0]
        tangent.direction_type = "UV_MAP"
        if surface.inputs.get("Tangent"):
            material.node_tree.links.new(tangent.outputs[0], surface.inputs["Tangent"])
        if surface.type in {"BSDF_GLOSSY", "BSDF_GLASS"}:
            surface.distribution = "MULTI_GGX"  # others lose light
    made.balls(*materials)
    made.add_light("AREA", 300, (-3, -4, 4), (1, 0, 0), shape="SQUARE", size=2)
    scene.orca.samples_min = scene.orca.samples_max = 1
    ours, theirs = (made.regions(picture, len(BALLS), 2) for picture in
                    (made.render(FOLDER), made.render_cycles(FOLDER, samples=128, traced=True)))
    differences = numpy.abs(ours / theirs - 1).max(axis=(0, 2))
    for (name, _, _, limit), difference in zip(BALLS, differences):
        check(difference < limit, f"{name}: halves of the ball differ by {100 * difference:.1f} % from those of Cycles")
    return ", ".join(f"{name} {100 * difference:.1f} %" for (name, *_), difference in zip(BALLS, differences))


def case_world_image_turned_and_indirect_light():
    scene, _ = sunny_room()
    bpy.data.objects.remove(bpy.data.objects["sun"])
    scene.orca.indirect_light, scene.orca.gather_rays, scene.orca.light_samples, scene.orca.samples_max = True, 128, 3, 2
    scene.world.use_nodes = True
    tree = scene.world.node_tree
    image = bpy.data.images.new("sky", 32, 16, float_buffer=True)
    pixels = numpy.full((16, 32, 4), 0.3, numpy.float32)
    pixels[:, :8, 0], pixels[:, 8:16, 1], pixels[:, 16:24, 2], pixels[10:, :, :3] = 1, 1, 1, 0.6
    image.pixels.foreach_set(pixels.ravel())
    node, mapping, coordinates = (tree.nodes.new("ShaderNode" + kind) for kind in ("TexEnvironment", "Mapping", "TexCoord"))
    node.image, mapping.inputs["Rotation"].default_value[2] = image, math.radians(50)
    tree.links.new(coordinates.outputs["Generated"], mapping.inputs["Vector"])
    tree.links.new(mapping.outputs["Vector"], node.inputs["Vector"])
    tree.links.new(node.outputs["Color"], tree.nodes["Background"].inputs["Color"])
    return check_as_cycles(0.05, samples=128, bounces=2)


# --- passes ---

def case_passes_of_blender():
    scene, _ = sunny_room(0.05)
    view_layer, box = scene.view_layers[0], bpy.data.objects["box"]
    names = {"z": "Depth", "mist": "Mist", "position": "Position", "normal": "Normal", "vector": "Vector", "uv": "UV", "object_index": "IndexOB",
             "material_index": "IndexMA", "diffuse_direct": "DiffDir", "diffuse_indirect": "DiffInd", "diffuse_color": "DiffCol",
             "environment": "Env", "shadow": "Shadow"}
    for switch in names:
        setattr(view_layer, "use_pass_" + switch, True)
    view_layer.orca.denoising_data = view_layer.cycles.denoising_store_passes = True
    box.pass_index, bpy.data.materials["red"].pass_index, bpy.data.materials["wall"].pass_index = 7, 3, 5
    for x, frame in ((-0.8, 0), (-0.7, 1), (-0.6, 2)):  # evenly, as one shutter tells it
        box.location.x, scene.camera.location.z = x, 2.1 + x
        for thing in (box, scene.camera):
            thing.keyframe_insert("location", frame=frame)
    for action in bpy.data.actions:
        for curve in action.fcurves:
            for point in curve.keyframe_points:
                point.interpolation = "LINEAR"
    uv = bpy.data.objects["floor"].data.uv_layers.new()
    for corner, place in zip(uv.data, ((0.1, 0), (0.9, 0), (0.9, 2), (0.1, 2))):
        corner.uv = place
    scene.orca.indirect_light, scene.orca.gather_bounces = True, 1
    wanted = [*names.values(), "Denoising Normal", "Denoising Albedo", "Denoising Depth"]
    ours, theirs = made.render(FOLDER, wanted), made.render_cycles(FOLDER, bounces=1, passes=wanted)
    for name, own, other in zip(wanted, ours, theirs):
        if name in {"DiffInd", "Shadow"}:  # noise of gathered light; of several lights Cycles takes the mean of their shadows
            difference = made.largest_difference(own, other)
            check(difference < 0.1, f"{name}: regions differ by {100 * difference:.1f} % from those of Cycles")
            continue
        # Edges have other filters, and passes that are not filtered one sample of their own. Cycles' albedo has the world's colour.
        shown = other[..., :3].max(axis=2) > (0.06 if name == "Denoising Albedo" else -numpy.inf)
        limit = 0.02 * max(numpy.abs(other[..., :3][other[..., :3] < 1e6]).max(), 1e-3)
        unlike = (numpy.abs(own[..., :3] - other[..., :3]).max(axis=2) > limit)[shown].mean()
        check(unlike < 0.1, f"{name}: {100 * unlike:.1f} % of the pixels are not those of Cycles")


def case_own_passes():
    scene, _ = sunny_room(0.05)
    scene.world.lightgroup = "sky"
    view_layer = scene.view_layers[0]
    view_layer.lightgroups.add(name="day")
    view_layer.lightgroups.add(name="sky")
    bpy.data.objects["sun"].lightgroup = "day"
    bpy.data.objects["box"].data.materials[0] = made.material("lacquer", "BsdfPrincipled", Base_Color=RED, Metallic=0.3, Clearcoat=1)
    view_layer.use_pass_glossy_direct = view_layer.use_pass_glossy_indirect = True
    boxes = bpy.data.collections.new("boxes")
    scene.collection.children.link(boxes)
    boxes.objects.link(bpy.data.objects["box"])
    bpy.ops.orca.add_passes(which="COMPONENTS")
    bpy.ops.orca.add_passes(which="UTILITY")
    for settings in ({"light_group": "day"}, {"light_group": "sky"}, {"collection": boxes}, {"name": "again"}):
        wanted = view_layer.orca.passes.add()
        for key, value in settings.items():
            setattr(wanted, key, value)
    components = ("ambient", "diffuse", "specular", "incandescence", "indirect", "reflection", "refraction", "environment", "lamps")
    names = ("Image", *components, "diffuse_day", "diffuse_sky", "diffuse_boxes", "again", "normalWorld", "Combined_day", "Combined_sky",
             "GlossDir", "GlossInd", "GlossCol")
    passes = dict(zip(names, made.render(FOLDER, names)))

    def differs(a, b):
        return float(numpy.abs(a - b)[..., :3].max())

    check(differs(sum(passes[name] for name in components), passes["Image"]) < 2e-3, "the components do not add up to the picture")
    check(differs(passes["diffuse_day"] + passes["diffuse_sky"], passes["diffuse"]) < 2e-3, "the light groups do not add up")
    check(differs(passes["Combined_day"] + passes["Combined_sky"], passes["Image"]) < 2e-3, "the groups' pictures do not add up")
    check(differs(passes["again"], passes["diffuse"]) == 0, "a pass with another name is another pass")
    gloss = (passes["GlossDir"] + passes["GlossInd"]) * passes["GlossCol"]
    check(differs(gloss, passes["specular"] + passes["reflection"]) < 2e-3 < gloss[..., :3].max(), "the gloss is not its light times its colour")
    box, floor = (30, 38), (47, 20)
    check(passes["diffuse_boxes"][box][0] == passes["diffuse"][box][0] > 0, "the box is not in its collection's pass")
    check(passes["diffuse_boxes"][floor][0] == 0 < passes["diffuse"][floor][0], "the floor is in the collection's pass")
    check(numpy.allclose(passes["normalWorld"][floor][:3], (0, 0, 1), atol=1e-3), "the floor's normal does not point along z")


def case_motion_vectors_without_blur():
    scene, _ = sunny_room()
    box = bpy.data.objects["box"]
    for frame, x in ((0, -0.8), (2, -0.6)):
        box.location.x = x
        box.keyframe_insert("location", frame=frame)
    for point in box.animation_data.action.fcurves[0].keyframe_points:
        point.interpolation = "LINEAR"
    scene.frame_set(1)
    scene.render.motion_blur_shutter = 1.0
    scene.view_layers[0].orca.passes.add().source = "motionVector2D"
    picture, vectors = made.render(FOLDER, ("Image", "motionVector2D"))
    view = bpy_extras.object_utils.world_to_camera_view
    front = [view(scene, scene.camera, Vector((x, 0.2, 0.6))).x * made.SIZE[0] for x in (-0.75, -0.65)]
    moved = vectors[30, 38]
    check(abs(moved[0] / (front[1] - front[0]) - 1) < 0.03 and abs(moved[1]) < 0.05, f"the box moves by {moved[:2]} pixels, not {front}")
    check((vectors[47, 20][:2] == 0).all() and picture[30, 38][0] > 0.1, "the floor moves, or the box is not there")


# --- the process ---

# A pane before a wall, in units of pixels: the pane lets three quarters through, and each ends in the middle of a pixel.
MATTED = """
link "velabase.so" link "orca.so"
$include <velabase.mi>
$include <orca.mi>
options "opt" object space samples 2 2 end options
camera "eye" framebuffer "main" datatype "rgba_fp" primary on resolution 16 8 aspect 2 focal infinity aperture 16 end camera
shader "thin lambert" "orcaVelaLambert" ( "transparency" 0.75 0.75 0.75 1 )
material "thin" "orcaVelaShadingEngine" ( "surfaceShader" "thin lambert" ) end material
shader "bright lambert" "orcaVelaLambert" ( "incandescence" 1 1 1 1 )
material "bright" "orcaVelaShadingEngine" ( "surfaceShader" "bright lambert" ) end material
object "pane" visible trace group -7.5 -4 1 0 -4 1 0 4 1 -7.5 4 1 v 0 v 1 v 2 v 3 p "thin" 0 1 2 3 end group end object
object "wall" visible trace group -4 -4 0 4.25 -4 0 4.25 4 0 -4 4 0 v 0 v 1 v 2 v 3 p "bright" 0 1 2 3 end group end object
instance "the pane" "pane" end instance
instance "\\"the\\" wall" "wall" end instance
instance "eye here" "eye" transform 1 0 0 0 0 1 0 0 0 0 1 0 0 0 -10 1 end instance
instgroup "all" "eye here" "the pane" "\\"the\\" wall" end instgroup
render "all" "eye here" "opt"
"""


def matted(wanted, **settings):
    """Renders, and returns the mattes of names in layers, as the node for them makes them."""
    scene = bpy.context.scene
    nodes, links = scene.node_tree.nodes, scene.node_tree.links
    nodes.clear()
    target, composite = nodes.new("CompositorNodeOutputFile"), nodes.new("CompositorNodeComposite")
    target.base_path, target.format.file_format, target.format.color_depth = str(FOLDER), "OPEN_EXR", "32"
    target.file_slots.clear()
    for number, (layer, name) in enumerate(wanted):
        node = nodes.new("CompositorNodeCryptomatteV2")
        for key, value in settings.items():
            setattr(node, key, value)
        node.layer_name, node.matte_id = layer, name
        target.file_slots.new(f"matte{number}_")
        links.new(node.outputs["Matte"], target.inputs[number])
    # Blender renders where this one is there, and composites in any case.
    source = nodes.new("CompositorNodeRLayers") if settings["source"] == "RENDER" else node
    links.new(source.outputs[0], composite.inputs["Image"])
    bpy.ops.render.render()
    return [made.read(FOLDER / f"matte{number}_{scene.frame_current:04d}.exr")[..., 0] for number in range(len(wanted))]


def case_cryptomatte_of_blender():
    scene, _ = sunny_room(0.05)
    view_layer, box = scene.view_layers[0], bpy.data.objects["box"]
    for switch in ("object", "material", "asset"):
        setattr(view_layer, "use_pass_cryptomatte_" + switch, True)
    view_layer.pass_cryptomatte_depth = 4
    box.name = "b\u00f6x"
    box.parent = made.place(bpy.data.objects.new("rig", None), (0, 0, 0))
    wanted = [(f"{view_layer.name}.Crypto{kind}", name) for kind, name in
              (("Object", box.name), ("Object", "floor"), ("Material", "wall"), ("Asset", "rig"))]
    ours = matted(wanted, source="RENDER", scene=scene)
    scene.render.engine, scene.cycles.samples, scene.cycles.max_bounces, scene.cycles.use_denoising = "CYCLES", 64, 0, False
    for (layer, name), own, other in zip(wanted, ours, matted(wanted, source="RENDER", scene=scene)):
        check(0.02 < other.mean() < 0.9, f"{name} in {layer} is hardly there")
        # Edges have other filters.
        check(abs(own.mean() - other.mean()) < 2e-3 and (numpy.abs(own - other) > 0.05).mean() < 0.05,
              f"the matte of {name} in {layer} is not that of Cycles: means {own.mean()} and {other.mean()}")
        inside = other > 0.999
        check(numpy.abs(own[inside] - 1).mean() < 2e-3, f"the matte of {name} in {layer} has holes")


def case_mattes_of_a_file_by_name():
    made.fresh()
    scene = bpy.context.scene
    (FOLDER / "matted.mi").write_text(MATTED)
    subprocess.run([BUILD / "bin" / "orca-render", "matted.mi", "--no-default-light", "--passes", "crypto", "-o", "matted.exr"], cwd=FOLDER, check=True)
    scene.render.resolution_x, scene.render.resolution_y, scene.render.resolution_percentage = 16, 8, 100
    behind_the_pane = [0] * 4 + [0.75] * 4 + [1] * 4 + [0.25] + [0] * 3
    mattes = {("CryptoObject", '"the" wall'): behind_the_pane, ("CryptoMaterial", "bright"): behind_the_pane,
              ("CryptoAsset", "the pane"): [0.125] + [0.25] * 7 + [0] * 8}
    seen_mattes = matted(mattes, source="IMAGE", image=bpy.data.images.load(str(FOLDER / "matted.exr")))
    for ((layer, name), expected), seen in zip(mattes.items(), seen_mattes):
        check(numpy.abs(seen - numpy.array(expected)).max() < 1e-6, f"the matte of {name} in {layer} is {seen[4]}")


def case_stop_keeps_what_is_rendered():
    scene, _ = sunny_room()
    scene.orca.samples_min = scene.orca.samples_max = 7
    scene.orca.preview_seconds = 0.5
    engine = sys.modules["orca_render.engine"]
    take, taken = engine.OrcaRenderEngine._take, []

    def stopped_after_previews(self, *arguments):
        taken.append(time.monotonic())
        take(self, *arguments)

    engine.SHOWS_PREVIEWS, engine.OrcaRenderEngine._take = True, stopped_after_previews
    engine.OrcaRenderEngine._is_stopped = lambda self: len(taken) == 2
    try:
        picture = made.render(FOLDER)
    finally:
        engine.SHOWS_PREVIEWS, engine.OrcaRenderEngine._take = False, take
        engine.OrcaRenderEngine._is_stopped = lambda self: self.test_break()
    check(len(taken) == 3, "two previews and what there is at the end are not shown")
    check(0 < (picture[..., 3] > 0).mean() < 1, "a stopped render does not hold a part of the picture")


def raised(text):
    """Renders, which has to fail with an error that holds the text."""
    try:
        made.render(FOLDER)
    except RuntimeError as problem:
        check(text in str(problem), f"the error does not say {text!r}: {problem}")
        return
    raise AssertionError(f"no error says {text!r}")


def case_errors_say_what_to_do():
    scene, _ = sunny_room()
    preferences = bpy.context.preferences.addons["orca_render"].preferences
    command, preferences.command = preferences.command, "/nowhere/orca-render"
    raised("Edit > Preferences > Add-ons")
    preferences.command = "/bin/false"
    raised("rendering failed")
    preferences.command = command
    scene.view_layers[0].name = 'a "layer"'
    raised('rename a "layer"')
    scene.view_layers[0].name = "a layer"
    (FOLDER / "no_image.png").write_text("no image")
    tree = bpy.data.materials["red"].node_tree
    image = tree.nodes.new("ShaderNodeTexImage")
    image.image = bpy.data.images.load(str(FOLDER / "no_image.png"))
    tree.links.new(image.outputs["Color"], tree.nodes["Diffuse BSDF"].inputs["Color"])
    raised("no_image.png")
    tree.nodes.remove(image)
    made.render(FOLDER)  # and then renders; Blender's exit status would be that of the last render


def case_left_out():
    """blender_test.py looks for what is reported."""
    sunny_room()
    particles = bpy.data.objects["floor"].modifiers.new("grass", "PARTICLE_SYSTEM").particle_system.settings
    particles.type, particles.count, particles.render_type = "EMITTER", 10, "LINE"
    tree = bpy.data.materials["red"].node_tree
    tree.links.new(tree.nodes.new("ShaderNodeTexNoise").outputs["Color"], tree.nodes["Diffuse BSDF"].inputs["Color"])
    made.render(FOLDER)


def case_export():
    sunny_room()
    bpy.data.objects["box"].keyframe_insert("location", frame=1)
    bpy.ops.orca.export(filepath=str(FOLDER / "shot.mi"), animation=True, first=1, last=2)
    for frame in (1, 2):
        scene = FOLDER / f"shot.{frame:04d}.mi"
        subprocess.run([BUILD / "bin" / "orca-render", "--check", "--strict", scene], check=True)


class Layout:
    """What panels draw on: asserts that the properties which they show are there."""

    def __getattr__(self, name):
        return lambda *_, **__: Layout()

    def prop(self, data, name, **_):
        check(hasattr(data, name), f"{data} has no property {name}")

    def prop_search(self, data, name, source, names, **_):
        check(hasattr(data, name) and hasattr(source, names), f"{data} has no property {name}, or {source} no {names}")


def case_panels_show_what_there_is():
    scene, _ = sunny_room()
    bpy.ops.orca.add_pass()
    things = [bpy.data.objects["box"], bpy.data.objects["sun"]]
    panels = sys.modules["orca_render.panels"]
    for panel in panels.CLASSES:
        for thing in things:
            panel_self = types.SimpleNamespace(layout=Layout(), column=Layout)
            context = types.SimpleNamespace(scene=scene, view_layer=scene.view_layers[0], object=thing, world=scene.world)
            if panel is panels.ORCA_UL_passes:
                panel.draw_item(panel_self, context, Layout(), None, scene.view_layers[0].orca.passes[0], 0, None, "")
            else:
                panel.draw(panel_self, context)


def main():
    addon_utils.enable("cycles", default_set=True)
    cases = {name[5:]: case for name, case in globals().items() if name.startswith("case_")}
    failed = 0
    for name in sys.argv[sys.argv.index("--") + 3:] or cases:
        start = time.monotonic()
        try:
            said = cases[name]()
        except (AssertionError, RuntimeError, subprocess.CalledProcessError) as problem:
            said, failed = f"failed: {problem}", failed + 1
        print(f"case {name}: {time.monotonic() - start:.1f} s{', ' + said if said else ''}")
    if failed:
        raise SystemExit(f"{failed} cases failed")


main()
