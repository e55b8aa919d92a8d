// SPDX-License-Identifier: Apache-2.0
#include "picture_shape.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>

namespace orca::app {

namespace {

/// The pixels of a part; parts of a picture with fewer pixels than columns or rows may be empty, and get the
/// nearest pixel.
render::PixelWindow windowOf(const GridPart& part, const render::PixelWindow& picture) {
    const int column = (part.number - 1) % part.columns, row = (part.number - 1) / part.columns;
    const auto cut = [](int size, int index, int count) {
        return static_cast<int>(static_cast<long>(size) * index / count);
    };
    const int xl = cut(picture.width(), column, part.columns);
    const int yl = cut(picture.height(), row, part.rows);
    return {picture.xl + xl, picture.yl + yl,
            picture.xl + std::max(xl, cut(picture.width(), column + 1, part.columns) - 1),
            picture.yl + std::max(yl, cut(picture.height(), row + 1, part.rows) - 1)};
}

/// False, with an error, when nothing of what the command asks for lies in the picture.
bool checkWindow(const CommandLine& command, const render::Picture& picture, Log& log) {
    if (!command.overrides.window) return true;
    const auto& [xl, yl, xh, yh] = *command.overrides.window;
    const render::PixelWindow display = picture.display(), most = picture.bounds();
    std::string size =
        fmt::format("the picture has {}x{} pixels, which count from 0", display.width(), display.height());
    if (picture.hasOverscan())
        size += fmt::format(", and overscan from {} {} to {} {}", most.xl, most.yl, most.xh, most.yh);
    if (xl > most.xh || yl > most.yh || xh < most.xl || yh < most.yl) {
        log.error("MAIN", "{} is outside the picture: {}",
                  command.pixel ? fmt::format("--pixel {},{}", xl, yl)
                                : fmt::format("--window {} {} {} {}", xl, yl, xh, yh),
                  size);
        return false;
    }
    if (xl < most.xl || yl < most.yl || xh > most.xh || yh > most.yh)
        log.warning("MAIN", "--window {} {} {} {} reaches beyond the picture and is cut: {}", xl, yl, xh, yh,
                    size);
    return true;
}

scene::Overscan pixelsOf(const Overrides::Overscan& overscan, const render::PixelWindow& display) {
    const auto pixels = [&](int size) {
        const double number = overscan.percent ? 0.01 * overscan.number * size : overscan.number;
        return std::min(static_cast<int>(std::ceil(number)), scene::overscanAtMost);
    };
    return {pixels(display.width()), pixels(display.height())};
}

} // namespace

bool applyShape(const CommandLine& command, render::Picture& picture, Log& log) {
    const Overrides& overrides = command.overrides;
    if (overrides.size) picture.setResolution(overrides.size->first, overrides.size->second);
    if (overrides.overscan) picture.setOverscan(pixelsOf(*overrides.overscan, picture.display()));
    if (overrides.part) picture.setWindow(windowOf(*overrides.part, picture.bounds()));
    if (overrides.window) {
        const auto& [xl, yl, xh, yh] = *overrides.window;
        picture.setWindow({xl, yl, xh, yh});
    }
    return checkWindow(command, picture, log);
}

bool checkOutputShaders(const CommandLine& command, render::Picture& picture, Log& log) {
    miOptions& options = picture.options.options;
    if (picture.framebuffers().outputShaders().empty() || options.no_output) return true;
    const bool isWhole = picture.window() == picture.display();
    const Overrides& overrides = command.overrides;
    const char* option = nullptr;
    if (command.samples) option = "--sample-range";
    else if (picture.hasOverscan() && !command.pixel) {
        log.error("MAIN",
                  "camera \"{}\" has output shaders, which work on the picture without overscan; leave out "
                  "--overscan, or --output-shaders off",
                  picture.elements().camera->name);
        return false;
    } else if (!isWhole && overrides.part) option = "--part";
    else if (!isWhole && overrides.window) option = "--window";
    if (!option) return true;
    if (command.pixel) {
        log.info("MAIN", "--pixel shows what output shaders are given, and does not run them");
        options.no_output = miTRUE;
        return true;
    }
    log.error(
        "MAIN",
        "camera \"{}\" has output shaders, which work on the whole picture, and {} renders a part of it; "
        "render it whole, or --output-shaders off",
        picture.elements().camera->name, option);
    return false;
}

float pixelAspect(const miCamera& camera, int width, int height) {
    const float aspect = camera.aspect * static_cast<float>(height) / static_cast<float>(width);
    // Scenes round the aspect of the image plane ("1.333"): nearly 1 is 1.
    return std::abs(aspect - 1.0f) < 0.005f ? 1.0f : aspect;
}

void warnOfOblongPixels(const render::Picture& picture, Log& log) {
    const scene::CameraElement& element = *picture.elements().camera;
    const miCamera &scene = element.camera, &camera = picture.camera();
    const int width = camera.x_resolution, height = camera.y_resolution;
    const float before = pixelAspect(scene, scene.x_resolution, scene.y_resolution);
    const float now = pixelAspect(camera, width, height);
    const float widthThatFits = camera.aspect * static_cast<float>(height) / before;
    const float tolerance = std::max(1.5f, 0.006f * widthThatFits); // whole pixels, rounded aspects
    if (std::abs(static_cast<float>(width) - widthThatFits) < tolerance) return;
    log.once("shape of " + element.name,
             {LogLevel::Warning,
              "MAIN",
              0,
              fmt::format("--size {}x{} has another shape than the view of camera \"{}\": a pixel is {:.3g} "
                          "times as wide as high; {:.0f}x{} fits",
                          width, height, element.name, now, widthThatFits, height),
              {}});
}

} // namespace orca::app
