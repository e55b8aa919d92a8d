#!/bin/sh
# SPDX-License-Identifier: Apache-2.0
# Builds the consumer project against an installed prefix, renders its scenes with the installed command, and checks
# values that follow from the first; the corpus checks itself while it renders. Needs cmake, a compiler, and the installed files.
# usage: try_consumer.sh PREFIX WORK_FOLDER
set -eu
prefix=$1 work=$2
project=$(cd "$(dirname "$0")/consumer" && pwd)
mkdir -p "$work"

cmake -S "$project" -B "$work/build" -DCMAKE_BUILD_TYPE=Release -DCMAKE_PREFIX_PATH="$prefix" >"$work/configure.log" ||
    { cat "$work/configure.log"; exit 1; }
cmake --build "$work/build" --parallel

unexpected=$(nm -D --defined-only "$work/build/consumer.so" | sed 's/.* //' | grep -v '^consumer\|^stripes' || true)
[ -z "$unexpected" ] || { echo "the consumer's library exports what it did not mark:" $unexpected; exit 1; }

# Values of the frame buffers at one pixel: a line for each, its name first.
pixel() {
    "$prefix/bin/orca-render" "$project/scene.mi" -L "$work/build" --files off --pixel "$1"
}
# "BUFFER VALUES..." must be a line of the pixel's; values are compared to single precision.
expect() {
    printf '%s\n' "$values" | awk -v wanted="$*" '
        BEGIN { count = split(wanted, want, " ") }
        $1 == want[1] {
            seen = 1
            for (i = 2; i <= count; ++i) { d = $i - want[i]; if (d > 1e-5 || d < -1e-5) bad = 1 }
            if (bad) print "pixel '"$at"': wanted \"" wanted "\", got \"" $0 "\""
        }
        END { if (!seen) print "pixel '"$at"': no buffer " want[1]; exit !seen || bad }'
}

at=45,32 values=$(pixel 45,32)  # first stripe of the card, height 2 above the floor, which is 1 above the ground
expect beauty 1 0.5 0.25 1
expect diffuse 1 0.5 0.25
expect height 3
at=55,32 values=$(pixel 55,32)  # second stripe
expect beauty 0.5 0.25 0.125 1
at=36,32 values=$(pixel 36,32)  # floor in the card's shadow
expect diffuse 0 0 0
expect diffuseNoShadow 0.8 0.4 0.2
expect height 1
at=10,32 values=$(pixel 10,32)  # lit floor: the same in all passes
for buffer in beauty diffuse diffuseNoShadow; do expect $buffer 0.8 0.4 0.2; done

# The corpus reports what it finds wrong as errors of the render.
corpus=$project/../corpus/corpus.mi
cd "$work"
"$prefix/bin/orca-render" "$corpus" -L build --strict -o "corpus.####.exr"
refusal=$("$prefix/bin/orca-render" "$corpus" -L build --window 0 0 2 2 -o window.exr 2>&1) &&
    { echo "a part of a picture with output shaders was rendered"; exit 1; }
case $refusal in
*"has output shaders"*) ;;
*) printf '%s\n' "$refusal"; exit 1 ;;
esac
echo "the consumer's libraries render as expected"
