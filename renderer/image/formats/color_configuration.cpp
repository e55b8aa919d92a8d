// SPDX-License-Identifier: Apache-2.0
#include "image/color_configuration.h"
#include "image/formats/library_formats.h"

#include "base/nearest_name.h"

#include <OpenImageIO/color.h>
#include <fmt/format.h>
#include <fmt/ranges.h>

#include <algorithm>
#include <filesystem>
#include <map>
#include <mutex>
#include <stdexcept>
#include <utility>

/// By the image library, which hands colour management on to OpenColorIO.
namespace orca::image {

namespace {

constexpr const char* renderingRole = "scene_linear";

/// "there is no view "x" ...; there are "a" and "b""
[[noreturn]] void refuse(const std::string& what, const std::string& name,
                         const std::vector<std::string>& names) {
    const std::string nearest = nearestName(name, {names.begin(), names.end()});
    throw std::runtime_error(fmt::format(
        "there is no {} \"{}\"{}; there are \"{}\"", what, name,
        nearest.empty() ? "" : fmt::format(" (did you mean \"{}\"?)", nearest), fmt::join(names, "\", \"")));
}

class LibraryConfiguration final : public ColorConfiguration {
public:
    explicit LibraryConfiguration(const std::string& file) : file_(file) {
        if (!OIIO::ColorConfig::supportsOpenColorIO())
            throw std::runtime_error("the image library of this system was built without OpenColorIO");
        if (!std::filesystem::exists(file)) throw std::runtime_error("there is no such file");
        if (!config_.reset(file) || config_.has_error()) throw std::runtime_error(config_.geterror());
        const char* const space = config_.getColorSpaceNameByRole(renderingRole);
        if (!space)
            throw std::runtime_error(
                fmt::format("it has no role \"{}\", which says what is rendered in", renderingRole));
        renderingSpace_ = space;
    }

    std::vector<std::string> names() const override { return config_.getColorSpaceNames(); }
    bool knows(std::string_view name) const override { return processorFrom(std::string(name)) != nullptr; }
    std::string renderingSpace() const override { return renderingSpace_; }

    void makeLinear(std::string_view space, float* colors, std::size_t count) const override {
        apply(processorFrom(std::string(space)), colors, count, 3);
    }

    void choose(std::string& display, std::string& view) const override {
        const std::vector<std::string> displays = config_.getDisplayNames();
        if (display.empty()) display = config_.getDefaultDisplayName();
        else if (std::find(displays.begin(), displays.end(), display) == displays.end())
            refuse("display", display, displays);
        const std::vector<std::string> views = config_.getViewNames(display);
        if (view.empty()) view = config_.getDefaultViewName(display);
        else if (std::find(views.begin(), views.end(), view) == views.end())
            refuse(fmt::format("view of display \"{}\"", display), view, views);
        if (!processorTo(display, view)) throw std::runtime_error(config_.geterror());
    }

    void show(const std::string& display, const std::string& view, float* colors, std::size_t count,
              std::size_t stride) const override {
        apply(processorTo(display, view), colors, count, stride);
    }

private:
    using Processor = OIIO::ColorProcessorHandle;

    static void apply(const Processor& processor, float* colors, std::size_t count, std::size_t stride) {
        if (!processor) return;
        constexpr OIIO::stride_t channel = sizeof(float);
        const auto pixel = static_cast<OIIO::stride_t>(stride) * channel;
        constexpr std::size_t most = 1 << 20; // pixels, whose number is an int
        for (std::size_t done = 0; done < count; done += most) {
            const auto width = static_cast<int>(std::min(most, count - done));
            processor->apply(colors + done * stride, width, 1, 3, channel, pixel, pixel * width);
        }
    }

    /// Null for an unknown space.
    [[nodiscard]] Processor processorFrom(const std::string& space) const {
        return kept({space, ""}, [&] { return config_.createColorProcessor(space, renderingSpace_); });
    }
    [[nodiscard]] Processor processorTo(const std::string& display, const std::string& view) const {
        return kept({display, view},
                    [&] { return config_.createDisplayTransform(display, view, renderingSpace_); });
    }
    template <class Make>
    Processor kept(const std::pair<std::string, std::string>& key, const Make& make) const {
        const std::lock_guard lock(mutex_);
        const auto [found, isNew] = processors_.try_emplace(key);
        if (isNew) found->second = make();
        return found->second;
    }

    std::string file_, renderingSpace_;
    mutable OIIO::ColorConfig config_;
    mutable std::mutex mutex_;                                                    // guards the processors
    mutable std::map<std::pair<std::string, std::string>, Processor> processors_; // spaces have no view
};

} // namespace

std::unique_ptr<ColorConfiguration> LibraryFormats::colorConfiguration(const std::string& file) {
    return std::make_unique<LibraryConfiguration>(file);
}

} // namespace orca::image
