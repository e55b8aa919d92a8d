// SPDX-License-Identifier: Apache-2.0
#include "installation.h"

#include "base/program_folder.h"

#include <cstdlib>
#include <filesystem>
#include <sstream>

namespace orca::app {

namespace fs = std::filesystem;

Installation installation() {
    const fs::path program = programFolder();
    if (program.empty()) return {};
    const fs::path prefix = program.parent_path();
    const auto existing = [](std::initializer_list<fs::path> candidates) {
        std::vector<std::string> found;
        std::error_code ignored;
        for (const fs::path& candidate : candidates)
            if (fs::is_directory(candidate, ignored)) found.push_back(candidate.string());
        return found;
    };
    return {libraryFolders(),
            existing({prefix / "share" / "orca-render" / "declarations", prefix / "declarations",
                      prefix / ".." / ".." / "declarations"}), // <source>/build/<preset>/bin
            program.string()};
}

std::vector<std::string> pathsFromEnvironment(const char* variable) {
    std::vector<std::string> paths;
    const char* value = std::getenv(variable);
    std::istringstream list(value ? value : "");
    for (std::string path; std::getline(list, path, ':');)
        if (!path.empty()) paths.push_back(path);
    return paths;
}

} // namespace orca::app
