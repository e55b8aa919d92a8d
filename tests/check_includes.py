#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
"""Checks that includes run only the ways that the table of folders in CONTRIBUTING.md allows.

A row of the table names a folder and the folders that it may use; what those may use is included. A file belongs to the
longest folder of the table that holds it. Every include of one of the project's own headers from another folder must be
allowed, every source file must belong to a folder, every folder of the table must exist, and no two may use each other.
Prints a line for each offence; exit status 1 if there is any.
"""
import pathlib
import re
import sys

ROOT = pathlib.Path(__file__).resolve().parent.parent
# Folders on the include paths of the build, apart from those whose headers are included by name alone.
INCLUDE_ROOTS = ["renderer", "interface", "tests", "tests/support"]


def read_table():
    """Folder to the folders that its row lists."""
    table = {}
    for line in (ROOT / "CONTRIBUTING.md").read_text().splitlines():
        cells = [cell.strip() for cell in line.strip().strip("|").split("|")]
        match = re.fullmatch(r"`([\w/]+)/`", cells[0])
        if line.startswith("|") and match and len(cells) == 3:
            table[match.group(1)] = re.findall(r"`([\w/]+)/`", cells[2])
    return table


def closure(table):
    """Folder to all folders that it may use, its own included."""
    def reach(folder, seen):
        for used in table[folder]:
            if used not in seen:
                seen.add(used)
                reach(used, seen)
        return seen
    return {folder: reach(folder, {folder}) for folder in table}


def folder_of(path, table):
    parents = [str(parent) for parent in pathlib.PurePosixPath(path).parents]
    return next((parent for parent in parents if parent in table), None)


def main():
    table = read_table()
    offences = [f"CONTRIBUTING.md: `{folder}/` is no folder" for folder in table if not (ROOT / folder).is_dir()]
    offences += [f"CONTRIBUTING.md: `{folder}/` uses `{used}/`, which the table does not have"
                 for folder, uses in table.items() for used in uses if used not in table]
    if offences or not table:
        print("\n".join(offences) or "CONTRIBUTING.md has no table of folders")
        return 1
    allowed = closure(table)
    offences += [f"CONTRIBUTING.md: `{a}/` and `{b}/` use each other" for a in table for b in allowed[a]
                 if a < b and a in allowed[b]]

    tops = sorted({folder.split("/")[0] for folder in table})
    files = [path.relative_to(ROOT).as_posix() for top in tops for path in sorted((ROOT / top).rglob("*"))
             if path.suffix in (".h", ".cpp", ".c")]
    by_name = {}
    for file in files:
        by_name.setdefault(file.rsplit("/", 1)[-1], []).append(file)
    known = set(files)
    for file in files:
        folder = folder_of(file, table)
        if not folder:
            offences.append(f"{file}: lies in no folder of the table")
            continue
        for number, line in enumerate((ROOT / file).read_text().splitlines(), 1):
            match = re.match(r'\s*#\s*include\s*["<]([^">]+)[">]', line)
            if not match:
                continue
            name = match.group(1)
            beside = f"{pathlib.PurePosixPath(file).parent}/{name}"
            candidates = [c for c in [beside, *(f"{root}/{name}" for root in INCLUDE_ROOTS)] if c in known]
            if not candidates and "/" not in name:
                candidates = by_name.get(name, [])
            if candidates:
                target = folder_of(candidates[0], table)
                if target and target not in allowed[folder]:
                    offences.append(f"{file}:{number}: `{folder}/` may not use `{target}/` ({name})")
    print("\n".join(offences) if offences else f"{len(files)} files in {len(table)} folders: includes run as allowed")
    return 1 if offences else 0


if __name__ == "__main__":
    sys.exit(main())
