// SPDX-License-Identifier: Apache-2.0
#include "sample_request.h"

#include "render/film/sample_steps.h"

#include <charconv>
#include <cstdint>

namespace orca::app {

std::optional<SampleRequest> sampleRequest(std::string_view text) {
    SampleRequest request{};
    const char* const end = text.data() + text.size();
    const auto first = std::from_chars(text.data(), end, request.first);
    if (first.ec != std::errc() || first.ptr == end || (*first.ptr != ':' && *first.ptr != '/')) return {};
    request.isShare = *first.ptr == '/';
    const auto second = std::from_chars(first.ptr + 1, end, request.second);
    if (second.ec != std::errc() || second.ptr != end) return {};
    const bool isValid = request.isShare ? request.first >= 1 && request.first <= request.second
                                         : request.first < request.second;
    return isValid ? std::optional(request) : std::nullopt;
}

unsigned samplesOf(const miOptions& options) {
    return render::samplesAt(options.max_samples);
}

std::optional<image::SampleRange> rangeOf(const SampleRequest& request, const miOptions& options, Log& log) {
    const int least = options.min_samples, most = options.max_samples;
    const unsigned samples = samplesOf(options);
    if (least != most || least < 0) {
        log.error(
            "MAIN",
            "--sample-range: how many samples a pixel takes depends on the picture here (samples {} {}); "
            "give every pixel the same number, such as {} with --samples {} {}",
            least, most, samples, std::max(most, 0), std::max(most, 0));
        return {};
    }
    if (!request.isShare) {
        if (request.second <= samples) return image::SampleRange{request.first, request.second};
        log.error(
            "MAIN",
            "--sample-range {}:{} is beyond the {} samples of a pixel (samples {} {}), which count from 0",
            request.first, request.second, samples, least, most);
        return {};
    }
    if (request.second > samples) {
        log.error("MAIN",
                  "--sample-range {}/{}: a pixel has only {} samples (samples {} {}); give a higher level "
                  "with --samples",
                  request.first, request.second, samples, least, most);
        return {};
    }
    constexpr unsigned unitsOfAShare = 4;
    std::uint64_t units = 1; // equal blocks of all samples
    while (units < samples && units < std::uint64_t{unitsOfAShare} * request.second) units *= 4;
    const auto cut = [&](std::uint64_t share) {
        return static_cast<unsigned>(units * share / request.second * (samples / units));
    };
    return image::SampleRange{cut(request.first - 1), cut(request.first)};
}

} // namespace orca::app
