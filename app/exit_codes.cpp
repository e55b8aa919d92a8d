// SPDX-License-Identifier: Apache-2.0
#include "exit_codes.h"

#include <fmt/format.h>

#include <csignal>
#include <string_view>

namespace orca::app {

std::string exitCodeTable() {
    struct Row {
        int code;
        std::string_view meaning;
    };
    constexpr Row rows[] = {{exitRendered, "everything was rendered and written"},
                            {exitRenderError, "rendering failed, or a shader reported errors"},
                            {exitUsage, "the command line is wrong"},
                            {exitSceneError, "the scene has errors"},
                            {exitNotWritten, "a file could not be written"},
                            {128 + SIGINT, "interrupted"},
                            {128 + SIGTERM, "terminated"}};
    std::string text = "Exit status:\n";
    for (const Row& row : rows) text += fmt::format("  {:>3}  {}\n", row.code, row.meaning);
    return text;
}

} // namespace orca::app
