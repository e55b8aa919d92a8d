// SPDX-License-Identifier: Apache-2.0
#include "layers/report_command.h"

#include "exit_codes.h"

#include <fmt/format.h>

#include <exception>
#include <fstream>
#include <iostream>
#include <stdexcept>

namespace orca::app {

int runReport(CLI::App& app, int argc, char** argv, const std::function<int()>& report) {
    const auto print = [&](const std::exception& problem) {
        fmt::print(stderr, "{}: {}\n", app.get_name(), problem.what());
    };
    try {
        app.parse(argc, argv);
    } catch (const CLI::Success& done) {
        return app.exit(done);
    } catch (const CLI::ParseError& problem) {
        print(problem);
        return exitUsage;
    }
    try {
        return report();
    } catch (const std::exception& problem) {
        print(problem);
        return exitNotWritten;
    }
}

void writeReport(const std::string& path, const std::string& text) {
    if (path == "-") {
        std::cout << text;
        return;
    }
    std::ofstream file(path);
    file << text;
    if (!file.flush()) throw std::runtime_error(fmt::format("\"{}\" cannot be written", path));
}

} // namespace orca::app
