// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>
#include <vector>

namespace orca::app {

/// Where the command finds what belongs to it without being told, whether it runs from a build folder or from
/// an installed prefix: everything is looked for relative to the executable. Only existing directories are
/// named.
struct Installation {
    std::vector<std::string> libraryPaths;     ///< of orca.so and velabase.so
    std::vector<std::string> declarationPaths; ///< of orca.mi and velabase.mi; those that exist
    std::string programs;                      ///< folder of this command and those that come with it

    [[nodiscard]] std::string program(const std::string& name) const { return programs + "/" + name; }
};
[[nodiscard]] Installation installation();

/// The shader libraries that come with the command.
inline constexpr const char* shippedLibraries[] = {"orca.so", "velabase.so"};

/// Directories of a colon-separated environment variable; empty parts are left out.
[[nodiscard]] std::vector<std::string> pathsFromEnvironment(const char* variable);

} // namespace orca::app
