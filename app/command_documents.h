// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "exit_codes.h"

namespace CLI {
class App;
}

#include <span>
#include <string>
#include <utility>
#include <vector>

namespace orca::app {

/// A part of a command's description that is no option: terms and what they mean.
struct DocumentSection {
    std::string title;
    std::vector<std::pair<std::string, std::string>> entries;
};

/// Completes a command's description, whose options are all added, by what the options do not say: exit
/// statuses and environment variables, which --help prints at its end. Adds the hidden option
/// --print-document, which prints the same description as `man` page or as completion for `bash` or `zsh`,
/// and ends the command line's reading with CLI::Success. The build installs its output.
/// @param extension of the files that the command takes, such as "mi"
/// @param codes exit statuses that the command has
/// @param sections besides that of the exit statuses
void addDocuments(CLI::App& app, const std::string& extension, std::span<const ExitCodeMeaning> codes,
                  std::vector<DocumentSection> sections);

} // namespace orca::app
