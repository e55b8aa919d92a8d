// SPDX-License-Identifier: Apache-2.0
#pragma once

namespace CLI {
class App;
}

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
/// @param sections besides that of the exit statuses
void addDocuments(CLI::App& app, const std::string& extension, std::vector<DocumentSection> sections);

} // namespace orca::app
