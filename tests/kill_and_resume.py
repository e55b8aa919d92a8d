#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
"""Kills renders at random times and resumes them until they are done; the files have to be those of undisturbed renders.

Several example scenes, which between them sample adaptively, gather indirect light, blur motion, use the rasterizer mode and
render a sequence, are rendered small with a checkpoint several times a second. The process gets a signal that it cannot
catch, is started again with --resume and another number of threads, and so on; about one time in eight the signal is a
termination request, which has to end with the exit status that says that the render can be resumed. Until a picture is
replaced the older file of its name has to stay as it is; at the end no temporary file and no checkpoint may be left.

Exit status: 0 when every file is the same byte for byte.
"""
import argparse
import pathlib
import random
import signal
import subprocess
import sys
import tempfile
import time

ROOT = pathlib.Path(__file__).resolve().parent.parent
STOPPED = 5

# Scene, arguments, output files.
RENDERS = [
    ("still_life.mi", ["--size", "160x90", "--samples", "0", "2"], ["picture.exr"]),
    ("gather_interior.mi", ["--size", "96x54", "--samples", "0", "1"], ["picture.exr"]),
    ("motion_wheel.mi", ["--size", "160x90", "--samples", "1", "2"], ["picture.exr"]),
    ("kept_buffers.mi", ["--size", "120x68", "--samples", "2", "2", "--sample-range", "0:11"], ["picture.exr"]),
    ("rasterizer.mi", ["--size", "240x135", "--samples", "1", "2"], ["picture.exr", "picture.0002.exr"]),
    ("glass_and_mirror.mi", ["--size", "96x54", "--samples", "-2", "1"], ["picture.exr"]),
    ("SEQUENCE", ["--size", "120x68", "--samples", "1", "1"], ["picture.0001.exr", "picture.0002.exr", "picture.0003.exr"]),
]


def sequence(folder):
    """The still life from three places."""
    scene = folder / "sequence.mi"
    text = (ROOT / "scenes" / "still_life.mi").read_text()
    head, statement = text[: text.rindex("render ")], text[text.rindex("render "):]
    scene.write_text(head + "".join(f'incremental camera "camera" frame {n} end camera\n{statement}\n' for n in (1, 2, 3)))
    return scene


def command(build, scene, arguments, folder, files):
    name = "picture.####.exr" if scene.stem == "sequence" else files[0]
    return [str(build / "bin" / "orca-render"), str(scene), *arguments, "-I", str(ROOT / "scenes"), "-T", str(ROOT / "scenes"),
            "-o", str(folder / name), "--files", "layers", "--reproducible", "-v", "2"]


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("build", type=pathlib.Path, help="the build's folder, such as build/release")
    parser.add_argument("--kills", type=int, default=100, help="renders to end early, over all scenes (default 100)")
    parser.add_argument("--seed", type=int, default=1)
    arguments = parser.parse_args()
    build, chance = arguments.build.resolve(), random.Random(arguments.seed)
    kills = terminations = faults = rounds = 0
    with tempfile.TemporaryDirectory() as temporary:
        base = pathlib.Path(temporary)
        whole = {}
        while kills + terminations < arguments.kills:
            scene, options, files = RENDERS[rounds % len(RENDERS)]
            rounds += 1
            path = sequence(base) if scene == "SEQUENCE" else ROOT / "scenes" / scene
            if scene not in whole:
                folder = base / f"whole_{len(whole)}"
                folder.mkdir()
                start = time.monotonic()
                subprocess.run(command(build, path, options, folder, files), check=True)
                whole[scene] = {name: (folder / name).read_bytes() for name in files}, time.monotonic() - start
            contents, seconds = whole[scene]
            folder = base / f"round_{rounds}"
            folder.mkdir()
            (folder / files[0]).write_bytes(b"an older picture")
            resumed, ended = [], 0
            while True:
                threads = str(chance.choice([1, 2, 3]))
                process = subprocess.Popen([*command(build, path, options, folder, files), "--checkpoint", "0.05", "-t", threads,
                                            *resumed], stderr=subprocess.PIPE, text=True)
                asked = signal.SIGTERM if chance.random() < 0.125 else signal.SIGKILL
                try:
                    output = process.communicate(timeout=chance.uniform(0.1, 0.9) * max(seconds, 0.5))[1]
                except subprocess.TimeoutExpired:
                    process.send_signal(asked)
                    output = process.communicate()[1]
                resumed = ["--resume"]
                status = process.returncode
                older = (folder / files[0]).read_bytes()
                if older not in (b"an older picture", contents[files[0]]):
                    print(f"{scene}: the older file was damaged")
                    faults += 1
                if status == 0:
                    break
                if status in (-signal.SIGKILL, -signal.SIGTERM):  # the latter: before the program took over the signal
                    kills += 1
                elif status in (STOPPED, 128 + signal.SIGTERM) and asked == signal.SIGTERM:
                    terminations += 1
                else:
                    print(f"{scene}: exit status {status}: {output.strip()[-300:]}")
                    faults += 1
                    break
                ended += 1
            same = all((folder / name).exists() and (folder / name).read_bytes() == contents[name] for name in files)
            left = sorted(entry.name for entry in folder.iterdir() if entry.name not in files)
            faults += not same
            faults += bool(left)
            print(f"{scene:24} ended early {ended} times: {'the same' if same else 'DIFFERS'}"
                  f"{', left behind: ' + ' '.join(left) if left else ''}", flush=True)
    print(f"{kills} kills, {terminations} terminations in {rounds} renders, {faults} faults")
    return 1 if faults else 0


if __name__ == "__main__":
    sys.exit(main())
