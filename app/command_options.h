// SPDX-License-Identifier: Apache-2.0
#pragma once

/// The options of orca-render: their names, help and plain checks. What they mean together is the command
/// line's business.

#include "command_line.h"

#include <map>
#include <string>
#include <string_view>
#include <vector>

namespace CLI {
class App;
}

namespace orca::app {

/// Values as they were given, before they are checked and converted.
struct RawOptions {
    std::string size, overscan, part, samples, pixel, frames, files = "on", verbosity, checkpoint;
    std::vector<int> window;
    bool singlePart = false;
    std::string compression;
    std::vector<std::string> types;
    std::vector<std::string> passes, includes, libraryPaths, texturePaths, links, sets, registry;
    std::map<std::string_view, std::vector<std::string>> options; ///< by the scene's words
};

/// An option that stands for a statement of the scene's options.
struct SceneOptionName {
    const char* flag;
    std::string_view words; ///< of the statement
};
/// All of them, in the order in which they are converted.
[[nodiscard]] std::vector<SceneOptionName> sceneOptionNames();

/// Declares every option; parsing fills `command` and `raw`.
void addOptions(CLI::App& app, CommandLine& command, RawOptions& raw);

} // namespace orca::app
