// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "scene/language/scene_file.h"

#include <functional>
#include <string>
#include <utility>

namespace orca::fuzz {

/// A scene read from text: nothing is printed, no library is loaded and no file is read.
class FuzzedScene {
public:
    /// @param render called for each render statement; may be empty
    explicit FuzzedScene(std::string text,
                         const std::function<void(FuzzedScene&, const scene::RenderRequest&)>& render = {}) {
        scene::ParserOptions options;
        options.verbosityFixed = true;
        options.mayRead = [](const std::string&) { return false; };
        scene::ParserCallbacks callbacks;
        callbacks.echo = [](const std::string&) {};
        callbacks.link = [](const std::string&, const SourceLocation&) { return true; };
        callbacks.render = [&](const scene::RenderRequest& request) {
            if (render) render(*this, request);
            return true;
        };
        scene_.parseText(std::move(text), "input", options, callbacks);
    }

    [[nodiscard]] scene::Database& database() { return scene_.database(); }
    [[nodiscard]] Log& log() { return log_; }

private:
    Log log_{LogLevel::None};
    scene::Scene scene_{log_};
};

} // namespace orca::fuzz
