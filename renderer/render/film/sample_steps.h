// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "image/sample_blocks.h"

namespace orca::render {

/// Samples of a pixel at a level of the options: 4^level, one at negative levels.
[[nodiscard]] constexpr unsigned samplesAt(int level) {
    return level <= 0 ? 1u : 1u << (2 * level);
}

/// Numbers of samples that a pixel can stop at are k 4^n, where k is 1 to 4: 1, 2, 3, 4, 8, 12, 16, 32 and so
/// on. Each step adds one block of samples (see image::SampleRange) as large as those before it at the same
/// n, so that the means of equal parts can be compared. Step 0 is no sample.

/// The step that ends with the samples of a level.
[[nodiscard]] constexpr int stepOfLevel(int level) {
    return level <= 0 ? 1 : 3 * level + 1;
}

/// Samples that a pixel has after a step.
[[nodiscard]] constexpr unsigned samplesAfter(int step) {
    if (step <= 0) return 0;
    return static_cast<unsigned>((step - 1) % 3 + 1) << (2 * ((step - 1) / 3));
}

/// Samples that a step from 1 on adds.
[[nodiscard]] constexpr image::SampleRange samplesOfStep(int step) {
    return {samplesAfter(step - 1), samplesAfter(step)};
}

/// Equal parts that the samples after a step from 1 on consist of, each a block: 1 to 4.
[[nodiscard]] constexpr int partsAfter(int step) {
    return step > 1 && step % 3 == 1 ? 4 : (step - 1) % 3 + 1;
}

} // namespace orca::render
