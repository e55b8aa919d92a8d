#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
"""Runs orca-farm with its engines: every frame has to be the file of one undisturbed render, byte for byte.

usage: farm_test.py BUILD [local | slurm]
With slurm, a cluster of this machine alone is started for the test; exit status 77 where that is not possible.
"""
import json
import os
import pathlib
import re
import signal
import subprocess
import sys
import tempfile
import time

HERE = pathlib.Path(__file__).resolve().parent
SCENES = HERE.parent.parent / "scenes"
SKIPPED = 77
SIZE = ["--size", "120x68", "-t", "1"]
ARGUMENTS = [*SIZE, "--samples", "0", "2"]


def check(holds, text):
    if not holds:
        sys.exit(f"farm_test: {text}")


def write_sequence(folder, frames):
    text = (SCENES / "still_life.mi").read_text()
    text = re.sub(r'\$include "(?=[^"<])', f'$include "{SCENES}/', text)
    head, statement = text[: text.rindex("render ")], text[text.rindex("render "):]
    (folder / "shot.mi").write_text(head + "".join(f'incremental camera "camera" frame {n} end camera\n{statement}\n'
                                                   for n in range(1, frames + 1)))


def submit(build, folder, *options, arguments=ARGUMENTS):
    command = [str(build / "bin" / "orca-farm"), "submit", "shot.mi", *options, "--checkpoint", "0.2", "--", *arguments]
    return subprocess.Popen(command, cwd=folder, stdout=subprocess.PIPE, stderr=subprocess.STDOUT, text=True)


def kill_a_render(folder, count):
    """Kills renders of this folder's job that have written a checkpoint."""
    killed = 0
    end = time.monotonic() + 60
    while killed < count and time.monotonic() < end:
        for checkpoint in folder.glob("**/*.checkpoint"):
            found = subprocess.run(["pgrep", "-f", f"orca-render shot.mi .*-o [^ ]*{re.escape(checkpoint.name[:-11])} "],
                                   capture_output=True, text=True, check=False).stdout.split()
            for process in found:
                try:
                    os.kill(int(process), signal.SIGKILL)
                    killed += 1
                except ProcessLookupError:
                    pass
        time.sleep(0.05)
    return killed


def compare(folder, whole, frames):
    for frame in range(1, frames + 1):
        name = f"shot.{frame:04}.exr"
        check((folder / name).exists(), f"{name} is missing")
        check((folder / name).read_bytes() == (whole / name).read_bytes(), f"{name} differs from one undisturbed render")


def whole_frames(build, folder, frames):
    folder.mkdir()
    write_sequence(folder, frames)
    subprocess.run([build / "bin" / "orca-render", "shot.mi", "-o", "shot.####.exr", "--files", "layers", "--reproducible", *ARGUMENTS],
                   cwd=folder, check=True)
    return folder


def local(build, base):
    frames = 2
    whole = whole_frames(build, base / "whole", frames)
    shared = base / "shared"
    shared.mkdir()
    write_sequence(shared, 1)
    samples = [*SIZE, "--samples", "1", "1"]
    render = [build / "bin" / "orca-render", "shot.mi", "--frames", "1", "--reproducible", *samples, "-o", "whole.exr"]
    subprocess.run(render, cwd=shared, check=True)
    job = submit(build, shared, "--frames", "1", "--parts", "2x1", "--sample-parts", "3", "-o", "joined.exr", arguments=samples)
    check(job.communicate() and job.returncode == 0, "a frame in shares of its samples was not rendered")
    check((shared / "joined.exr").read_bytes() == (shared / "whole.exr").read_bytes(), "joined shares of samples differ from one render")

    folder = base / "local"
    folder.mkdir()
    write_sequence(folder, frames)
    options = ["--frames", f"1-{frames}", "--parts", "2x2", "--jobs", "2", "-o", "shot.####.exr"]
    plan = submit(build, folder, *options, "--dry-run")
    check(plan.communicate()[0].count("--part ") == 4 * frames, "--dry-run does not show a command for every part")
    job = submit(build, folder, *options)
    check(kill_a_render(folder, 1) > 0, "no render could be killed")
    output = job.communicate()[0]
    check(job.returncode == 0, f"the job ended with {job.returncode}: {output}")
    compare(folder, whole, frames)
    status = subprocess.run([build / "bin" / "orca-farm", "status", "shot.farm"], cwd=folder, capture_output=True, text=True, check=True)
    check(status.stdout.count("finished") == frames and "tried again" in status.stdout, f"status says: {status.stdout}")

    # A scene with an error is not tried again.
    (folder / "shot.mi").write_text("render nothing\n")
    job = submit(build, folder, "--frames", "1", "-o", "bad.exr")
    output = job.communicate()[0]
    check(job.returncode == 1 and "status 3" in output, f"a broken scene ended with {job.returncode}: {output}")

    template = submit(build, folder, *options, "--engine", "openjd", "--job", "open.farm", "--dry-run")
    steps = json.loads(template.communicate()[0])["steps"]
    check([step["name"] for step in steps] == ["Render", "Merge"], f"the template has the steps {steps}")


def slurm(build, base):
    frames = 4
    cluster = base / "slurm"
    started = subprocess.run([HERE / "slurm_cluster.sh", "start", cluster], check=False)
    if started.returncode:
        subprocess.run([HERE / "slurm_cluster.sh", "stop", cluster], check=False)
        print("skipped: Slurm cannot be started here")
        sys.exit(SKIPPED)
    os.environ["SLURM_CONF"] = str(cluster / "slurm.conf")
    try:
        whole = whole_frames(build, base / "whole", frames)
        folder = base / "job"
        folder.mkdir()
        write_sequence(folder, frames)
        job = submit(build, folder, "--frames", f"1-{frames}", "--parts", "2x2", "--engine", "slurm", "-o", "shot.####.exr")
        output = job.communicate()[0]
        check(job.returncode == 0, output)
        # A render, which the task notices, and a whole task with all its processes, which only the merge task can notice.
        check(kill_a_render(folder, 1) > 0, "no render could be killed")
        tasks = subprocess.run(["pgrep", "-f", "orca-farm.* task "], capture_output=True, text=True, check=False).stdout.split()
        for process in tasks[:1]:
            os.kill(int(process), signal.SIGKILL)
        end = time.monotonic() + 240
        while time.monotonic() < end and not all((folder / f"shot.{n:04}.exr").exists() for n in range(1, frames + 1)):
            time.sleep(0.5)
        queue = subprocess.run(["squeue"], capture_output=True, text=True, check=False).stdout
        logs = "".join(f"\n{log.name}: {log.read_text()[-400:]}" for log in sorted((folder / "shot.farm" / "logs").iterdir()))
        check(all((folder / f"shot.{n:04}.exr").exists() for n in range(1, frames + 1)), f"frames are missing: {queue}{logs}")
        compare(folder, whole, frames)
        subprocess.run([build / "bin" / "orca-farm", "cancel", "shot.farm"], cwd=folder, check=True)
    finally:
        subprocess.run([HERE / "slurm_cluster.sh", "stop", cluster], check=False)


def main():
    build = pathlib.Path(sys.argv[1]).resolve()
    with tempfile.TemporaryDirectory(ignore_cleanup_errors=True) as base:
        {"local": local, "slurm": slurm}[sys.argv[2] if len(sys.argv) > 2 else "local"](build, pathlib.Path(base))
    print("every frame is that of one undisturbed render")


if __name__ == "__main__":
    main()
