// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>
#include <vector>

namespace orca {

/// Folder of the running program; empty where the system does not tell.
[[nodiscard]] std::string programFolder();

/// Folders of the libraries that come with the program, whether it runs from a build folder or from an
/// installed prefix. They need not exist.
[[nodiscard]] std::vector<std::string> libraryFolders();

} // namespace orca
