#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
"""Samples a second on the still life: orca-render, Blender's Cycles and POV-Ray, each with its picture alone and, but for POV-Ray, with
all its passes, at 16 samples a pixel (POV-Ray: 17). The calls are interleaved, round after round; medians of wall seconds count.

Needs a release build and a quiet machine; of Debian's packages blender and povray those that are installed take part.
"""
import argparse
import pathlib
import shutil
import statistics
import tempfile

import blender_scene
import orca_scene
import povray_scene
from scenes import scene_named

ROOT = pathlib.Path(__file__).resolve().parent.parent.parent


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("--rounds", type=int, default=5)
    parser.add_argument("--size", type=lambda text: tuple(map(int, text.split("x"))), default=(960, 540), metavar="WxH")
    parser.add_argument("--threads", type=int, default=2)
    parser.add_argument("--orca-render", default=ROOT / "build/release/bin/orca-render", metavar="COMMAND")
    wanted = parser.parse_args()
    scene, pixels = scene_named("still-life", wanted.size), wanted.size[0] * wanted.size[1]
    options = {"samples": "2 2"}
    with tempfile.TemporaryDirectory() as name:
        folder = pathlib.Path(name)
        orca = lambda *more: orca_scene.render(wanted.orca_render, folder, scene, options, wanted.threads, more=more)[2]
        cycles = lambda passes: blender_scene.render("blender", folder, "still-life", scene.size, 16, wanted.threads, passes)[2]
        calls = {"orca-render, picture alone": (16, orca), "orca-render, 35 passes": (16, lambda: orca("--passes", "all"))}
        if shutil.which("blender"):
            calls.update({"Cycles, picture alone": (16, lambda: cycles("none")), "Cycles, all its passes": (16, lambda: cycles("all"))})
        if shutil.which("povray"):
            calls["POV-Ray, picture alone"] = (17, lambda: povray_scene.render("povray", folder, scene, 4, wanted.threads))
        seconds = {call: [] for call in calls}
        for _ in range(wanted.rounds):
            for call, (_, run) in calls.items():
                seconds[call].append(run())
    first = statistics.median(seconds["orca-render, picture alone"])
    print(f"{'':30}{'seconds':>10}{'ratio':>10}{'samples/s':>14}")
    for call, (samples, _) in calls.items():
        median = statistics.median(seconds[call])
        print(f"{call:30}{median:>10.2f}{median / first:>10.2f}{pixels * samples / median:>14.0f}")


if __name__ == "__main__":
    main()
