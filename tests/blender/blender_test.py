#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
"""Installs the add-on into a Blender without settings of its own and renders scenes with it, and with Cycles.

usage: blender_test.py BUILD [CASE ...]
Exit status 77 where there is no Blender.
"""
import os
import pathlib
import shutil
import subprocess
import sys
import tempfile

HERE = pathlib.Path(__file__).resolve().parent
INSTALL = HERE.parent.parent / "bridges" / "blender" / "install.py"
SKIPPED = 77


def run(folder, *arguments):
    """Runs Blender with settings in the folder; what it says."""
    environment = {**os.environ, "BLENDER_USER_CONFIG": str(folder / "config"), "BLENDER_USER_SCRIPTS": str(folder / "scripts"),
                   "PYTHONDONTWRITEBYTECODE": "1",
                   # Debian's Blender looks for numpy with the first python3 of the search path.
                   "PATH": f"/usr/bin:{os.environ['PATH']}"}
    done = subprocess.run(["blender", "-b", "-t", "2", "--python-exit-code", "1", *map(str, arguments)], env=environment, text=True,
                          stdout=subprocess.PIPE, stderr=subprocess.STDOUT, check=False)
    said = "\n".join(line for line in done.stdout.splitlines() if not line.startswith(("Fra:", "Saved:", "warning, channel", " Time:")))
    if done.returncode:
        sys.exit(f"blender_test: {' '.join(map(str, arguments))} failed with {done.returncode}:\n{said}")
    return said


REPORTED = ('Orca: left out: particles that are no objects: "floor"',
            'Orca: left out: nodes of the kind Noise Texture, whose socket keeps its own value: "red"')


def main():
    if not shutil.which("blender"):
        print("blender_test: there is no Blender; ./orca try-blender installs it")
        sys.exit(SKIPPED)
    build, cases = pathlib.Path(sys.argv[1]).resolve(), sys.argv[2:]
    with tempfile.TemporaryDirectory() as name:
        folder = pathlib.Path(name)
        run(folder, "--python", INSTALL, "--", build / "bin" / "orca-render")
        said = run(folder, "--python", HERE / "inside.py", "--", build, folder, *cases)
    for line in REPORTED if not cases else ():
        if line not in said:
            sys.exit(f"blender_test: Blender does not report {line!r}:\n{said}")
    for line in said.splitlines():
        if line.startswith("case "):
            print(line)


main()
