# SPDX-License-Identifier: Apache-2.0
"""Writes a scene for orca-render, and renders it."""
import json
import pathlib
import subprocess
import sys

import numpy

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parent.parent.parent / "bridges" / "python"))
from orca.placing import into_instance  # noqa: E402
from orca.scene_text import HEAD, color, matrix  # noqa: E402
from scene_model import PointLight, Sun, looking  # noqa: E402

# A surface that gathers sees one bounce of what shines by itself, and the sky is no light: hence as many bounces beyond the first as wanted.
GATHER = {"finalgather": "on", "finalgather accuracy": "800"}


def transform(place):
    return matrix(into_instance(place))


def shader_of(name, material):
    """Statements of a material and its shaders."""
    if material.glass:
        return (f'shader "{name} s" "orcaVelaLambert" ( "color" 0 0 0 1, "transparency" {color(material.glass)}, "refractionsOn" on,'
                f' "refractiveIndex" {material.ior} )\n'
                f'material "{name} m" "orcaVelaShadingEngine" ( "surfaceShader" "{name} s" )'
                f' shadow "orcaVelaShadow" ( "transparency" {color(material.glass)} ) end material\n')
    if material.roughness:
        return (f'shader "{name} facets" "velaSurfaceX" ( "baseColor" {color(material.color)}, "roughness" {material.roughness},'
                f' "metalness" {material.metalness}, "reflectionSamples" 2, "highlightSamples" 2 )\n'
                f'shader "{name} s" "orcaVelaMiaMaterialXAdapter" ( "material" "{name} facets" )\n'
                f'material "{name} m" opaque "orcaVelaShadingEngine" ( "surfaceShader" "{name} s" )'
                ' shadow "orcaVelaFastShadow" ( ) end material\n')
    if material.mirror or material.highlight:
        kind = "orcaVelaPhong"
        lobe = (f', "specularColor" {color([material.highlight] * 3)}, "cosinePower" {material.exponent}, "reflectivity" 0' if material.highlight
                else f', "specularColor" 1 1 1 1, "cosinePower" 100000, "reflectivity" {material.mirror}')
    else:
        kind, lobe = "orcaVelaLambert", ""
    return (f'shader "{name} s" "{kind}" ( "color" {color(material.color)}, "diffuse" 1{lobe} )\n'
            f'material "{name} m" opaque "orcaVelaShadingEngine" ( "surfaceShader" "{name} s" )'
            ' shadow "orcaVelaFastShadow" ( ) end material\n')


def mesh_text(name, mesh):
    yield f'object "{name}" visible on trace on shadow on group\n'
    vectors = [*mesh.points, *mesh.normals]
    yield "\n".join(f"{x:.8g} {y:.8g} {z:.8g}" for x, y, z in vectors) + "\n"
    normal = (lambda k: f" n {k + len(mesh.points)}") if mesh.normals else (lambda k: "")
    yield "\n".join(f"v {k}{normal(k)}" for k in range(len(mesh.points))) + "\n"
    yield "\n".join("p " + " ".join(map(str, face)) for face in mesh.faces) + "\nend group end object\n"


def light_text(name, light, shadow_rays):
    """Statements of a light and its instance. `shadow_rays`: of each light with an extent."""
    place = numpy.eye(4)
    if isinstance(light, PointLight):
        place[:3, 3] = light.position
        soft = f', "lightRadius" {light.radius}, "shadowRays" {shadow_rays}' if light.radius else ""
        shader, shape = f'"orcaVelaPointLight" ( "color" {color(light.intensity)}, "decayRate" 2{soft} )', "origin 0 0 0"
    elif isinstance(light, Sun):
        soft = f', "lightAngle" {light.angle}, "shadowRays" {shadow_rays}' if light.angle else ""
        shader = f'"orcaVelaDirectionalLight" ( "color" {color(light.strength)}{soft} )'
        shape = "direction " + " ".join(map(str, light.direction))
    else:
        half = light.size / 2
        place[:3, :3] = numpy.array([[half, 0, 0], [0, 0, half], [0, -half, 0]])  # its -z looks down
        place[:3, 3] = light.centre
        shader, shape = f'"orcaVelaAreaLight" ( "color" {color(light.radiance)}, "shadowRays" {shadow_rays} )', "origin 0 0 0"
    return f'light "{name}" {shader} {shape} end light\ninstance "{name} here" "{name}" transform {transform(place)} end instance\n'


def scene_text(scene, options, shadow_rays):
    """The scene file in parts. `options`: statements of the options block by their words."""
    gather = dict(GATHER, **{"finalgather trace depth": f"{scene.reflections} {scene.refractions} {scene.reflections + scene.refractions}"
                                                        f" {scene.bounces}"}) if scene.bounces else {}
    moves = any(any(instance.moved) for instance in scene.instances)
    if scene.light_samples:
        gather["light samples"] = scene.light_samples
    if moves:
        gather.update({"motion": "on", "shutter": "0 1"})
    settings = "\n".join(f"    {words} {value}" for words, value in {**gather, **options}.items())
    yield (HEAD + 'link "velamaterials.so"\n$include <velamaterials.mi>\n'
           'options "quality" object space filter box 1 1 trace on shadow on\n'
           f"    trace depth {scene.reflections} {scene.refractions} {scene.reflections + scene.refractions}\n{settings}\n"
           '    state "velaBaseState" ( ) "orcaFrameBufferState" ( )\nend options\n')
    camera = scene.camera
    lens = f'    lens "velaThinLens" ( "focusDistance" {camera.focus}, "apertureRadius" {camera.lens_radius} )\n' if camera.lens_radius else ""
    sky = ""
    if scene.sky:
        flat = ", ".join(f'"{part}" {color(scene.sky.color)}' for part in ("zenith", "horizon", "ground"))
        yield f'shader "sky" "velaSky" ( {flat}, "sunColor" 0 0 0 1, "sunAngle" 0, "glowColor" 0 0 0 1 )\n'
        sky = '    environment = "sky"\n'
    yield ('camera "camera" framebuffer "main" datatype "rgba_fp" filtering on primary on\n'
           f"    resolution {scene.size[0]} {scene.size[1]} aspect {scene.size[0] / scene.size[1]:.7f} aperture 1 focal {camera.focal:.8g}"
           f' clip 0.01 1000\n{lens}{sky}end camera\n'
           f'instance "camera here" "camera" transform {transform(looking(camera.eye, camera.target))} end instance\n')
    members = ["camera here"]
    if scene.sky and scene.sky.lights and not scene.bounces:
        yield f'light "dome" "velaDomeLight" ( {flat} ) user {scene.sky.samples} {scene.sky.samples} end light\ninstance "dome here" "dome" end instance\n'
        members.append("dome here")
    for name, mesh in scene.meshes.items():
        yield shader_of(name, mesh.material)
        yield from mesh_text(name, mesh)
    for i, instance in enumerate(scene.instances):
        motion = ""
        if any(instance.moved):
            moved = instance.place.copy()
            moved[:3, 3] += instance.moved
            motion = f" motion transform {transform(moved)}"
        yield (f'instance "i{i}" "{instance.mesh}" material "{instance.mesh} m" transform {transform(instance.place)}{motion}'
               " end instance\n")
        members.append(f"i{i}")
    for i, light in enumerate(scene.lights):
        yield light_text(f"l{i}", light, shadow_rays)
        members.append(f"l{i} here")
    yield 'instgroup "scene" ' + " ".join(f'"{m}"' for m in members) + ' end instgroup\nrender "scene" "camera here" "quality"\n'


def render(command, folder, scene, options, threads, shadow_rays=1, more=()):
    """File of the picture, and processor and wall seconds of geometry and rendering."""
    text, image, statistics = folder / "scene.mi", folder / "orca.exr", folder / "orca.json"
    with text.open("w") as file:
        file.writelines(scene_text(scene, options, shadow_rays))
    statistics.unlink(missing_ok=True)
    subprocess.run([command, text, "-t", str(threads), "-o", image, "--stats-json", statistics, "-v", "2", *more], check=True)
    last = json.loads(statistics.read_text().splitlines()[-1])
    return image, last["cpuSeconds"], last["buildSeconds"] + last["renderSeconds"]
