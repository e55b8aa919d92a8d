// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>
#include <vector>

namespace orca::app {

/// While it lives, a shader that calls exit() ends the process with the status of a render error and a
/// message that names it, whatever status it gives. One at a time.
class ExitGuard {
public:
    /// @param libraries paths of the shader libraries
    explicit ExitGuard(std::vector<std::string> libraries);
    ~ExitGuard();
    ExitGuard(const ExitGuard&) = delete;
    ExitGuard& operator=(const ExitGuard&) = delete;
};

} // namespace orca::app
