#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
"""Writes orcaNoiseTable.cpp: the noise tables that are compiled into the library.

NoiseTable holds 65,535 values spread evenly over (-1, 1): one in each of as many equal intervals, in random order, so that
mean and distribution are right in every build. PermutationArray is a random permutation of 0 to 255. Both begin with the
values that renders have always begun with. Run it here; the result is the same every time.
"""
import pathlib
import random

FIRST_VALUES = ["-0.510765", "-0.892593", "0.324582", "0.514013"]
FIRST_PERMUTED = [225, 155, 210, 108, 175, 199, 221, 144]
COUNT = 65535


def noise_table(generator):
    values = [(2 * (i + generator.uniform(0.25, 0.75)) / COUNT) - 1 for i in range(COUNT)]
    for given in FIRST_VALUES:  # each replaces the value nearest to it
        values.remove(min(values, key=lambda v: abs(v - float(given))))
    generator.shuffle(values)
    return FIRST_VALUES + ["%.6f" % v for v in values]


def permutation(generator):
    rest = [i for i in range(256) if i not in FIRST_PERMUTED]
    generator.shuffle(rest)
    return [str(i) for i in FIRST_PERMUTED + rest]


def rows(values, suffix, width):
    for i in range(0, len(values), width):
        yield "    " + " ".join(v + suffix + "," for v in values[i:i + width])


def main():
    generator = random.Random(0x56656C61)
    lines = ["// SPDX-License-Identifier: Apache-2.0", "// Made by generate_noise_tables.py; do not edit.", "// clang-format off",
             '#include "orcaNoiseTable.h"', "", "const float NoiseTable[NOISE_TABLE_SIZE] = {"]
    lines += rows(noise_table(generator), "f", 10)
    lines += ["};", "", "const unsigned char PermutationArray[256] = {"]
    lines += rows(permutation(generator), "", 20)
    lines += ["};", ""]
    target = pathlib.Path(__file__).with_name("orcaNoiseTable.cpp")
    target.write_text("\n".join(lines))


if __name__ == "__main__":
    main()
