// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "base/log.h"
#include "image/sample_blocks.h"

#include <shader.h>

#include <optional>
#include <string_view>

namespace orca::app {

/// Which of a pixel's samples the command asks for: samples A to B - 1 ("A:B"), or share K of N ("K/N").
struct SampleRequest {
    unsigned first, second;
    bool isShare;
};

/// Nothing for text of neither form, an empty range, and a share beyond the last.
[[nodiscard]] std::optional<SampleRequest> sampleRequest(std::string_view text);

/// The samples of a picture with these options. Shares are cut where blocks of samples end, so that they have
/// few blocks; they differ by a quarter at most where there are four samples or more for each. Nothing, with
/// an error, where the samples of a pixel depend on the picture and where there are too few.
[[nodiscard]] std::optional<image::SampleRange> rangeOf(const SampleRequest& request,
                                                        const miOptions& options, Log& log);

/// Samples of each pixel, where all take the same number.
[[nodiscard]] unsigned samplesOf(const miOptions& options);

} // namespace orca::app
