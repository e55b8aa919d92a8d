// SPDX-License-Identifier: Apache-2.0
#include "benchmark_command.h"

#include <fmt/format.h>

#include <cstdio>
#include <exception>

namespace orca::bench {

int runBenchmark(CLI::App& command, int argc, char** argv, const std::string& name, int& rounds,
                 const std::function<void()>& measure) {
    command.add_option("--rounds", rounds, "times that everything is measured; the fastest counts")
        ->check(CLI::Range(1, 1000))
        ->capture_default_str();
    CLI11_PARSE(command, argc, argv);
    try {
        measure();
    } catch (const std::exception& failure) {
        fmt::print(stderr, "{}: {}\n", name, failure.what());
        return 1;
    }
    return 0;
}

} // namespace orca::bench
