# SPDX-License-Identifier: Apache-2.0
"""Builds a scene in Blender 3.4 and renders it with Cycles; outside of Blender, runs Blender with this file as its script.

inside: blender -b --python blender_scene.py -- SCENE WIDTH HEIGHT SAMPLES PASSES IMAGE   PASSES: none or all
"""
import math
import pathlib
import subprocess
import sys
import time

HERE = pathlib.Path(__file__).resolve()


def render(command, folder, name, size, samples, threads, passes="none"):
    """File of the picture, and processor and wall seconds of rendering it, the scene's preparation included."""
    image = folder / "cycles.exr"
    run = subprocess.run([command, "-b", "--factory-startup", "-t", str(threads), "--python-exit-code", "1", "--python", HERE, "--",
                          name, str(size[0]), str(size[1]), str(samples), passes, image],
                         stdout=subprocess.PIPE, stderr=subprocess.STDOUT, text=True, check=False)
    seconds = [line.split()[1:] for line in run.stdout.splitlines() if line.startswith("render-seconds ")]
    if run.returncode or not seconds:
        raise SystemExit(f"{command} failed:\n{run.stdout[-2000:]}")
    return image, float(seconds[0][0]), float(seconds[0][1])


def nodes_of(material, bpy):
    made = bpy.data.materials.new("material")
    made.use_nodes = True
    tree = made.node_tree
    tree.nodes.clear()
    output = tree.nodes.new("ShaderNodeOutputMaterial")

    def closure(kind, tint, **inputs):
        node = tree.nodes.new(f"ShaderNodeBsdf{kind}")
        node.inputs["Color"].default_value = (*tint, 1)
        for key, value in inputs.items():
            node.inputs[key].default_value = value
        return node

    if material.glass:  # sharp refraction; for shadow rays, a tinted hole
        bent, hole = closure("Refraction", material.glass, Roughness=0.0, IOR=material.ior), closure("Transparent", material.glass)
        bent.distribution = "SHARP"
        path, surface = tree.nodes.new("ShaderNodeLightPath"), tree.nodes.new("ShaderNodeMixShader")
        for source, target in ((path.outputs["Is Shadow Ray"], 0), (bent.outputs[0], 1), (hole.outputs[0], 2)):
            tree.links.new(source, surface.inputs[target])
    elif material.roughness:
        surface = tree.nodes.new("ShaderNodeBsdfPrincipled")
        surface.distribution = "MULTI_GGX"
        for key, value in {"Base Color": (*material.color, 1), "Metallic": material.metalness, "Roughness": material.roughness,
                           "Specular": 0.5}.items():  # 0.5 is that of index 1.5
            surface.inputs[key].default_value = value
    elif material.mirror:
        surface = closure("Glossy", [material.mirror] * 3)
        surface.distribution = "SHARP"
    else:
        surface = closure("Diffuse", material.color)
        if material.highlight:  # a Beckmann lobe with the width and the peak of the Phong lobe
            width = 2.0 / (4.0 * material.exponent + 2.0)
            lobe = closure("Glossy", [material.highlight * 4.0 * width] * 3, Roughness=width ** 0.25)
            lobe.distribution = "BECKMANN"
            both = tree.nodes.new("ShaderNodeAddShader")
            tree.links.new(surface.outputs[0], both.inputs[0])
            tree.links.new(lobe.outputs[0], both.inputs[1])
            surface = both
    tree.links.new(surface.outputs[0], output.inputs["Surface"])
    return made


def build(description, bpy):
    from mathutils import Matrix
    from scene_model import PointLight, Sun, looking
    bpy.ops.wm.read_factory_settings(use_empty=True)
    scene = bpy.context.scene

    def put(name, data, place):
        thing = bpy.data.objects.new(name, data)
        thing.matrix_world = Matrix(place)
        scene.collection.objects.link(thing)
        return thing

    meshes = {}
    for name, mesh in description.meshes.items():
        made = meshes[name] = bpy.data.meshes.new(name)
        made.from_pydata(mesh.points, [], mesh.faces)
        if mesh.normals:  # those of the scene are what smooth shading makes of these meshes
            made.polygons.foreach_set("use_smooth", [True] * len(made.polygons))
        made.materials.append(nodes_of(mesh.material, bpy))
    for i, instance in enumerate(description.instances):
        thing = put(f"i{i}", meshes[instance.mesh], instance.place)
        if any(instance.moved):  # linear, from frame 1 to frame 2
            start = thing.location.copy()
            thing.keyframe_insert("location", frame=1)
            thing.location = [s + m for s, m in zip(start, instance.moved)]
            thing.keyframe_insert("location", frame=2)
            for curve in thing.animation_data.action.fcurves:
                for key in curve.keyframe_points:
                    key.interpolation = "LINEAR"
            scene.render.use_motion_blur, scene.render.motion_blur_shutter, scene.cycles.motion_blur_position = True, 1.0, "START"
    for light in description.lights:
        if isinstance(light, PointLight):
            data = bpy.data.lights.new("light", "POINT")
            strength = max(light.intensity)
            data.color, data.energy = [c / strength for c in light.intensity], strength * 4 * math.pi ** 2
            data.shadow_soft_size = light.radius
            put("light", data, Matrix.Translation(light.position))
        elif isinstance(light, Sun):
            data = bpy.data.lights.new("light", "SUN")
            strength = max(light.strength)
            data.color, data.energy, data.angle = [c / strength for c in light.strength], strength * math.pi, math.radians(light.angle)
            put("light", data, looking((0, 0, 0), light.direction))
        else:
            data = bpy.data.lights.new("light", "AREA")
            data.shape, data.size, data.color = "SQUARE", light.size, light.radiance
            data.energy = 4 * light.size ** 2  # its radiance is P / 4 A
            x, y, z = light.centre
            put("light", data, ((1, 0, 0, x), (0, 0, 1, y), (0, -1, 0, z), (0, 0, 0, 1))).visible_camera = False
    camera = bpy.data.cameras.new("camera")
    camera.sensor_fit, camera.sensor_width, camera.lens = "HORIZONTAL", 36, 36 * description.camera.focal
    if description.camera.lens_radius:
        camera.dof.use_dof, camera.dof.focus_distance = True, description.camera.focus
        camera.dof.aperture_fstop = camera.lens / 1000 / (2 * description.camera.lens_radius)
    scene.camera = put("camera", camera, looking(description.camera.eye, description.camera.target))
    scene.world = None
    if description.sky:
        scene.world = bpy.data.worlds.new("world")
        scene.world.use_nodes = True
        scene.world.node_tree.nodes["Background"].inputs[0].default_value = (*description.sky.color, 1)
        scene.world.cycles_visibility.diffuse = description.sky.lights
        scene.world.cycles.sampling_method = "AUTOMATIC" if description.sky.lights else "NONE"
    return scene


def ask_for_all_passes(layer):
    """Every pass that traces no ray of its own, the Cryptomattes among them."""
    for name in dir(layer):
        if name.startswith("use_pass_") and name != "use_pass_ambient_occlusion":
            setattr(layer, name, True)
    for name in ("use_pass_volume_direct", "use_pass_volume_indirect", "pass_debug_sample_count", "denoising_store_passes"):
        setattr(layer.cycles, name, True)


def inside(name, width, height, samples, passes, image):
    import bpy
    sys.path.insert(0, str(HERE.parent))
    from scenes import scene_named
    description = scene_named(name, (int(width), int(height)))
    scene = build(description, bpy)
    scene.render.engine = "CYCLES"
    scene.render.resolution_x, scene.render.resolution_y = description.size
    scene.render.resolution_percentage = 100
    if passes == "all":
        ask_for_all_passes(scene.view_layers[0])
    scene.render.image_settings.file_format = "OPEN_EXR_MULTILAYER" if passes == "all" else "OPEN_EXR"
    scene.render.image_settings.color_depth = "32"
    scene.render.filepath = image
    cycles = scene.cycles
    cycles.device, cycles.samples, cycles.use_denoising = "CPU", int(samples), False
    cycles.use_adaptive_sampling = False
    cycles.diffuse_bounces, cycles.glossy_bounces = description.bounces, description.reflections
    cycles.transmission_bounces, cycles.transparent_max_bounces = description.refractions, max(4, description.refractions)
    cycles.max_bounces = max(description.bounces, description.reflections + description.refractions)
    cycles.caustics_reflective = cycles.caustics_refractive = False
    cycles.pixel_filter_type, cycles.light_sampling_threshold, cycles.blur_glossy = "BOX", 0, 0
    cycles.sample_clamp_direct = cycles.sample_clamp_indirect = 0
    processor, wall = time.process_time(), time.perf_counter()
    bpy.ops.render.render(write_still=True)
    print("render-seconds", time.process_time() - processor, time.perf_counter() - wall)


if __name__ == "__main__":
    inside(*sys.argv[sys.argv.index("--") + 1:])
