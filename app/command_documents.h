// SPDX-License-Identifier: Apache-2.0
#pragma once

namespace CLI {
class App;
}

namespace orca::app {

/// Completes a command's description, whose options are all added, by what the options do not say: exit
/// statuses and environment variables, which --help prints at its end. Adds the hidden option
/// --print-document, which prints the same description as `man` page or as completion for `bash` or `zsh`,
/// and ends the command line's reading with CLI::Success. The build installs its output.
void addDocuments(CLI::App& app);

} // namespace orca::app
