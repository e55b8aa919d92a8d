// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "command_line.h"
#include "output_files.h"

#include "base/log.h"

#include <cstddef>
#include <functional>
#include <string>
#include <vector>

namespace orca::app {

/// Where a process begins, or goes on after another one has died.
struct RunStart {
    std::size_t scene = 0; ///< among those of the command
    int pictures = 0;      ///< of that scene, to be left out
};

/// Renders in a process of its own, so that a shader that crashes, or a system without memory, costs one
/// picture: the fault is reported with the shader, and another process goes on with the next picture.
///
/// This process loads no shader library and starts no thread. Signals that stop a render, ask for a
/// checkpoint or suspend are passed on. When this process ends, the one that renders ends with it. Where that
/// one is ended by a signal that is no fault, such as a second interruption, this one ends in the same way.
///
/// @param scenes names of the scenes that are rendered one after another, for messages
/// @param files of the pictures so far, which the next process knows of
/// @param run renders from the start on, in the other process; its result is the exit code
/// @return the exit code of all processes together; in the process that renders, its own
int supervise(const CommandLine& command, Log& log, const std::vector<std::string>& scenes,
              OutputFiles& files, const std::function<int(const RunStart&)>& run);

} // namespace orca::app
