#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
"""Plants small faults one at a time and reports those that no test notices.

Reads tests/faults.txt, whose entries look like this (several old or new lines make one text):

    @ SDK/passes/orcaPassMask.cpp
    - return (value & bit) != 0;
    + return (value | bit) != 0;
    = why no test can notice it (only for entries that are known to survive)

The old text has to occur exactly once in the file, otherwise the entry is stale and reported as such. Works in a copy of the
tree under build/mutate, never in the tree itself. For every fault only the test programs that can see the file are rebuilt
and run, the fastest first, until one fails. A line is printed and kept in build/mutate/results.tsv after each fault; a later
run goes on after the last one, and repeats an entry when its text, its file or the tests have changed.

Exit status: 0 when no more than --allowed percent of the faults survive and every survivor is explained, else 1.
"""
import argparse
import hashlib
import os
import pathlib
import shutil
import subprocess
import sys
import time

ROOT = pathlib.Path(__file__).resolve().parent.parent
WORK = ROOT / "build" / "mutate"
TREE = WORK / "tree"
BUILD = WORK / "build"
RESULTS = WORK / "results.tsv"

UNIT, SCENE, IMAGE, RENDER = "orca-unit-tests", "orca-scene-tests", "orca-image-tests", "orca-render-tests"
# Which test programs can see a file, by the first prefix that fits, the fastest first.
PROGRAMS = [
    ("SDK/", [UNIT, RENDER]),
    ("shaders/", [UNIT, RENDER]),
    ("velabase/", [UNIT, RENDER]),
    ("materials/", [UNIT, RENDER]),
    ("volumes/", [RENDER]),
    ("declarations/", [UNIT, RENDER]),
    ("renderer/scene/", [SCENE, IMAGE, RENDER]),
    ("renderer/base/", [SCENE, IMAGE, RENDER]),
    ("renderer/image/", [IMAGE, RENDER]),
    ("renderer/", [RENDER, IMAGE]),
    ("bridges/import/", [IMAGE]),
    ("app/", [IMAGE]),
]


class Fault:
    def __init__(self, file):
        self.file, self.old, self.new, self.reason = file, [], [], []

    @property
    def before(self):
        return "\n".join(self.old)

    @property
    def after(self):
        return "\n".join(self.new)

    def title(self):
        """One line, as each line of the results is a fault."""
        return " ".join(f"{self.file}: {self.before.strip()[:60]} -> {self.after.strip()[:60]}".split())


def read_faults(path):
    faults = []
    for number, line in enumerate(path.read_text().splitlines(), 1):
        if not line.strip() or line.startswith("#"):
            continue
        kind, text = line[:1], line[2:]
        if kind == "@":
            faults.append(Fault(text.strip()))
        elif kind in "-+=" and faults:
            {"-": faults[-1].old, "+": faults[-1].new, "=": faults[-1].reason}[kind].append(text)
        else:
            sys.exit(f"{path}:{number}: expected a line that begins with @, -, + or =")
    return faults


def digest(*texts):
    return hashlib.sha256("\0".join(texts).encode()).hexdigest()[:16]


def tests_digest():
    files = sorted(path for path in (ROOT / "tests").rglob("*") if path.suffix in (".cpp", ".h", ".txt") and path.name != "faults.txt")
    return digest(*(path.read_text(errors="replace") for path in files))


def refresh_tree():
    """Brings the copy to the state of the tree; files that did not change keep their times, so little is rebuilt."""
    TREE.mkdir(parents=True, exist_ok=True)
    listed = subprocess.run(["git", "ls-files", "-z", "--cached", "--others", "--exclude-standard"], cwd=ROOT, check=True,
                            capture_output=True, text=True).stdout.split("\0")
    wanted = {name for name in listed if name and (ROOT / name).is_file()}
    for name in wanted:
        source, copy = ROOT / name, TREE / name
        if not copy.exists() or copy.read_bytes() != source.read_bytes():
            copy.parent.mkdir(parents=True, exist_ok=True)
            shutil.copy(source, copy)
    for copy in [path for path in TREE.rglob("*") if path.is_file()]:
        name = str(copy.relative_to(TREE))
        if name not in wanted and not name.startswith("scenes/"):  # scenes hold meshes made by the build
            copy.unlink()


def build(targets):
    return subprocess.run(["cmake", "--build", str(BUILD), "--target", *targets], capture_output=True, text=True, check=False)


def shaders_of(program):
    return [program] if program in (UNIT, SCENE) else [program, "orca", "velabase", "velamaterials", "velavolume", "orca-render"]


def notices(program, shards, timeout):
    """The first failing test of a program, "timeout", or None. Runs as many shards as there are processors."""
    found = None
    running = []
    for shard in range(shards):
        environment = dict(os.environ, GTEST_TOTAL_SHARDS=str(shards), GTEST_SHARD_INDEX=str(shard))
        running.append(subprocess.Popen([next(BUILD.rglob(program)), "--gtest_fail_fast", "--gtest_brief=1"], env=environment,
                                        stdout=subprocess.PIPE, stderr=subprocess.STDOUT, text=True))
    deadline = time.monotonic() + timeout
    for process in running:
        try:
            output, _ = process.communicate(timeout=max(1.0, deadline - time.monotonic()))
        except subprocess.TimeoutExpired:
            process.kill()
            process.communicate()
            found = found or "timeout"
            continue
        if process.returncode:
            failed = [line.split()[-3] for line in output.splitlines() if line.startswith("[  FAILED  ]") and "ms)" in line]
            found = found or (failed[0].rstrip(",") if failed else f"exit status {process.returncode}")
    return found


def try_fault(fault, shards, timeout):
    """What came of one fault: (verdict, detail)."""
    path = TREE / fault.file
    original = path.read_text() if path.exists() else ""
    if original.count(fault.before) != 1:
        return "stale", f"the old text occurs {original.count(fault.before)} times"
    path.write_text(original.replace(fault.before, fault.after))
    try:
        for program in next(programs for prefix, programs in PROGRAMS if fault.file.startswith(prefix)):
            built = build(shaders_of(program))
            if built.returncode:
                errors = [line for line in built.stdout.splitlines() if "error" in line]
                return "noticed", "does not compile: " + (errors[0][-120:] if errors else "?")
            test = notices(program, shards, timeout)
            if test:
                return "noticed", f"{program}: {test}"
        return "survived", "; ".join(fault.reason)
    finally:
        path.write_text(original)


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("--only", default="", metavar="TEXT", help="only faults whose file contains this")
    parser.add_argument("--again", action="store_true", help="forget earlier results")
    parser.add_argument("--check", action="store_true", help="only look for stale entries")
    parser.add_argument("--allowed", type=float, default=10.0, metavar="PERCENT", help="faults that may survive (default 10)")
    parser.add_argument("--timeout", type=float, default=240.0, metavar="SECONDS", help="for one test program (default 240)")
    arguments = parser.parse_args()

    faults = [fault for fault in read_faults(ROOT / "tests" / "faults.txt") if arguments.only in fault.file]
    if arguments.check:
        stale = [fault for fault in faults if (ROOT / fault.file).read_text().count(fault.before) != 1]
        for fault in stale:
            print("stale:", fault.title())
        print(f"{len(faults)} faults, {len(stale)} stale")
        return 1 if stale else 0

    WORK.mkdir(parents=True, exist_ok=True)
    if arguments.again:
        RESULTS.unlink(missing_ok=True)
    known = {}
    if RESULTS.exists():
        for line in RESULTS.read_text().splitlines():
            key, verdict, detail, _ = line.split("\t")
            known[key] = verdict, detail
    refresh_tree()
    subprocess.run(["cmake", "-S", str(TREE), "-B", str(BUILD), "-G", "Ninja", "-DCMAKE_BUILD_TYPE=Release", "-DORCA_BENCH=OFF"],
                   check=True, stdout=subprocess.DEVNULL)
    built = build(["all", "orca-scenes"])
    if built.returncode:
        sys.exit(built.stdout[-2000:])

    tests, shards = tests_digest(), os.cpu_count() or 1
    counts = {"noticed": 0, "survived": 0, "stale": 0}
    unexplained = []
    with RESULTS.open("a") as results:
        for index, fault in enumerate(faults, 1):
            source = ROOT / fault.file
            key = digest(fault.file, fault.before, fault.after, source.read_text() if source.exists() else "", tests)
            start = time.monotonic()
            verdict, detail = known[key] if key in known else try_fault(fault, shards, arguments.timeout)
            counts[verdict] += 1
            if verdict == "survived" and not fault.reason:
                unexplained.append(fault)
            if key not in known:
                results.write(f"{key}\t{verdict}\t{detail}\t{fault.title()}\n".replace("\0", ""))
                results.flush()
            print(f"{index}/{len(faults)} {verdict} ({time.monotonic() - start:.0f} s) {fault.title()}: {detail}", flush=True)

    planted = counts["noticed"] + counts["survived"]
    share = 100.0 * counts["survived"] / planted if planted else 100.0
    for fault in unexplained:
        print("survived without an explanation:", fault.title())
    print(f"{planted} faults planted, {counts['noticed']} noticed, {counts['survived']} survived ({share:.1f} %), "
          f"{counts['stale']} stale")
    return 0 if share <= arguments.allowed and not unexplained and not counts["stale"] else 1


if __name__ == "__main__":
    sys.exit(main())
