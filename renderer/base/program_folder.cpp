// SPDX-License-Identifier: Apache-2.0
#include "base/program_folder.h"

#include <filesystem>

namespace orca {

namespace fs = std::filesystem;

std::string programFolder() {
    std::error_code failure;
    return fs::read_symlink("/proc/self/exe", failure).parent_path().string();
}

std::vector<std::string> libraryFolders() {
    const fs::path prefix = fs::path(programFolder()).parent_path();
    if (prefix.empty()) return {};
    return {(prefix / "lib" / "orca-render").string(), (prefix / "lib").string()};
}

} // namespace orca
