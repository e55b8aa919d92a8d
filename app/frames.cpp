// SPDX-License-Identifier: Apache-2.0
#include "frames.h"

#include <fmt/format.h>

#include <algorithm>
#include <charconv>
#include <filesystem>

namespace orca::app {

namespace {

/// Takes a whole number off the front of `text`.
std::optional<int> takeNumber(std::string_view& text) {
    int number = 0;
    const auto [end, problem] = std::from_chars(text.data(), text.data() + text.size(), number);
    if (problem != std::errc()) return {};
    text.remove_prefix(static_cast<std::size_t>(end - text.data()));
    return number;
}

bool take(std::string_view& text, char expected) {
    if (text.empty() || text.front() != expected) return false;
    text.remove_prefix(1);
    return true;
}

} // namespace

std::optional<std::vector<int>> framesOf(std::string_view range) {
    std::vector<int> frames;
    do {
        const std::optional<int> first = takeNumber(range);
        if (!first) return {};
        std::optional<int> last = first, step = 1;
        if (take(range, '-')) last = takeNumber(range);
        if (take(range, 'x')) step = takeNumber(range);
        constexpr int most = 1'000'000; // a mistyped range must not fill the memory
        if (!last || !step || *last < *first || *step < 1 || (*last - *first) / *step >= most) return {};
        for (long frame = *first; frame <= *last; frame += *step) frames.push_back(static_cast<int>(frame));
    } while (take(range, ','));
    if (!range.empty()) return {};
    return frames;
}

std::string rangesOf(std::vector<int> frames) {
    std::sort(frames.begin(), frames.end());
    std::string text;
    for (std::size_t first = 0; first < frames.size();) {
        std::size_t last = first;
        while (last + 1 < frames.size() && frames[last + 1] <= frames[last] + 1) ++last;
        text += fmt::format("{}{}", text.empty() ? "" : ",", frames[first]);
        if (frames[last] != frames[first]) text += fmt::format("-{}", frames[last]);
        first = last + 1;
    }
    return text;
}

std::string withFrameAdded(const std::string& path, int frame) {
    std::filesystem::path name(path);
    const std::string extension = name.extension().string();
    name.replace_extension();
    return fmt::format("{}.{:04}{}", name.string(), frame, extension);
}

} // namespace orca::app
