// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <CLI/CLI.hpp>

#include <functional>
#include <string>

namespace orca::app {

/// Reads the command line of a command that reports on pictures, and runs it. What it throws is printed after
/// the command's name, and the exit status is then exitNotWritten, as that of a file that cannot be read.
/// @param app complete
/// @param report returns the exit status
int runReport(CLI::App& app, int argc, char** argv, const std::function<int()>& report);

/// Writes a report for programs; "-" is the standard output. Throws std::runtime_error when it cannot be
/// written.
void writeReport(const std::string& path, const std::string& text);

} // namespace orca::app
