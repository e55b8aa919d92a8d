#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
"""Renders scenes with orca-render and with Blender's Cycles and compares the time for the same error.

Both get the same triangles, materials, lights and camera and a box filter of one pixel. Each renderer's error (root mean square of
values cut to 0..1) is taken against its own picture of many samples; first, these two have to agree by region. Times are processor
seconds of preparing and rendering a picture, the start of the program left out. The calls of both are interleaved, round after
round, and medians count. The table is the time of orca-render over that of Cycles at the error of each of Cycles' settings.

Needs a release build, Debian's packages blender, python3-openimageio and python3-numpy, a quiet machine, and a few minutes a scene.
"""
import argparse
import math
import pathlib
import shutil
import statistics
import sys
import tempfile

import numpy
import OpenImageIO

import blender_scene
import orca_scene
from scenes import BY_NAME, scene_named

ROOT = pathlib.Path(__file__).resolve().parent.parent.parent
# From previews to finals: samples and contrast.
ORCA_SETTINGS = [("0 2", 0.2), ("0 2", 0.1), ("0 3", 0.1), ("0 4", 0.05), ("1 4", 0.02)]
CYCLES_SAMPLES = [4, 16, 64, 256]
REFERENCE_OF_GATHERED = {"finalgather accuracy": "4000", "finalgather presample density": "0"}


def orca_options(samples, contrast, **more):
    return {"samples": samples, "contrast": " ".join([str(contrast)] * 4), **more}


def pixels(path):
    image = OpenImageIO.ImageInput.open(str(path))
    if image is None:
        sys.exit(f"compare.py: cannot read {path}: {OpenImageIO.geterror()}")
    spec = image.spec()
    return numpy.asarray(image.read_image(0, 0, 0, 3, "float"), dtype=float).reshape(spec.height, spec.width, 3)


def error(picture, reference):
    return float(((picture.clip(0, 1) - reference.clip(0, 1)) ** 2).mean() ** 0.5)


def largest_difference(ours, theirs):
    """Of the means of 4 x 3 regions, relative; and prints them."""
    largest = 0.0
    for j in range(3):
        row = []
        for i in range(4):
            part = (slice(j * ours.shape[0] // 3, (j + 1) * ours.shape[0] // 3), slice(i * ours.shape[1] // 4, (i + 1) * ours.shape[1] // 4))
            a, b = ours[part].clip(0, 1).mean(), theirs[part].clip(0, 1).mean()
            largest = max(largest, abs(a / b - 1))
            row.append(f"{a:.4f} / {b:.4f}")
        print("   " + "   ".join(row))
    return largest


def time_for(wanted, runs):
    """Seconds for an error, on the line through the runs around it in logarithms; None outside of them."""
    runs = sorted(runs)
    for (seconds, high), (more, low) in zip(runs, runs[1:]):
        if low <= wanted <= high and low < high:
            return seconds * (more / seconds) ** (math.log(wanted / high) / math.log(low / high))
    return None


def compare(name, wanted, blender, folder):
    scene = scene_named(name, wanted.size)
    more = REFERENCE_OF_GATHERED if scene.bounces else {}
    image, seconds, _ = orca_scene.render(wanted.orca_render, folder, scene, orca_options(*wanted.reference, **more), wanted.threads, 4)
    ours = pixels(image)
    image, their_seconds, _ = blender_scene.render(blender, folder, name, scene.size, wanted.reference_samples, wanted.threads)
    theirs = pixels(image)
    print(f"\n{name}, {scene.size[0]} x {scene.size[1]}; references: {seconds:.1f} s and {their_seconds:.1f} s; means by region")
    print(f"largest difference {100 * largest_difference(ours, theirs):.1f} %")

    times, errors = {}, {}
    for _ in range(wanted.rounds):
        for setting in ORCA_SETTINGS:
            image, processor, wall = orca_scene.render(wanted.orca_render, folder, scene, orca_options(*setting), wanted.threads)
            times.setdefault(("orca-render", f"{setting[0]}, {setting[1]}"), []).append((processor, wall))
            errors["orca-render", f"{setting[0]}, {setting[1]}"] = error(pixels(image), ours)
        for samples in CYCLES_SAMPLES:
            image, processor, wall = blender_scene.render(blender, folder, name, scene.size, samples, wanted.threads)
            times.setdefault(("Cycles", str(samples)), []).append((processor, wall))
            errors["Cycles", str(samples)] = error(pixels(image), theirs)
    print(f"{'':14}{'samples':>12}{'processor':>12}{'wall':>10}{'error':>12}")
    runs = {"orca-render": [], "Cycles": []}
    for (renderer, setting), seconds in times.items():
        processor, wall = (statistics.median(column) for column in zip(*seconds))
        runs[renderer].append((processor, errors[renderer, setting]))
        print(f"{renderer:14}{setting:>12}{processor:>10.2f} s{wall:>8.2f} s{errors[renderer, setting]:>12.5f}")
    for (processor, wanted_error), samples in zip(runs["Cycles"], CYCLES_SAMPLES):
        own = time_for(wanted_error, runs["orca-render"])
        fastest, least = min(runs["orca-render"]), min(e for _, e in runs["orca-render"])
        told = (f"{own / processor:.2f}" if own else f"below {fastest[0] / processor:.2f}" if wanted_error > fastest[1]
                else f"not reached, least error {least:.5f}")
        print(f"   at the error of Cycles with {samples} samples: {told}")


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("scenes", nargs="*", metavar="SCENE", help=f"of {', '.join(BY_NAME)} (default: all)")
    parser.add_argument("--size", type=lambda text: tuple(map(int, text.split("x"))), metavar="WxH", help="by default the scene's own")
    parser.add_argument("--rounds", type=int, default=5)
    parser.add_argument("--reference", nargs=2, default=["4 4", 0.0], metavar=("SAMPLES", "CONTRAST"), help="of orca-render")
    parser.add_argument("--reference-samples", type=int, default=2048, help="of Cycles")
    parser.add_argument("--threads", type=int, default=2)
    parser.add_argument("--blender", default="blender", help="command (default: %(default)s)")
    parser.add_argument("--orca-render", default=ROOT / "build/release/bin/orca-render", metavar="COMMAND")
    wanted = parser.parse_args()
    blender = shutil.which(wanted.blender)
    if not blender:
        sys.exit(f"compare.py: there is no command {wanted.blender!r}; install Debian's package blender or name it with --blender")
    if not shutil.which(str(wanted.orca_render)):
        sys.exit(f"compare.py: there is no {wanted.orca_render}; build it (./orca build)")
    if unknown := [name for name in wanted.scenes if name not in BY_NAME]:
        sys.exit(f"compare.py: there is no scene {unknown[0]!r}; there are {', '.join(BY_NAME)}")
    for name in wanted.scenes or BY_NAME:
        with tempfile.TemporaryDirectory() as folder:
            compare(name, wanted, blender, pathlib.Path(folder))


if __name__ == "__main__":
    main()
