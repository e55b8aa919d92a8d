// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <CLI/CLI.hpp>

#include <functional>
#include <string>

namespace orca::bench {

/// The main program that the benchmarks share: adds --rounds to `command`, reads the arguments and measures.
/// @param name of the program, for messages
/// @param rounds the default, and what the user asks for once `measure` is called
/// @return the exit code: 1, with a message, when `measure` throws
int runBenchmark(CLI::App& command, int argc, char** argv, const std::string& name, int& rounds,
                 const std::function<void()>& measure);

} // namespace orca::bench
