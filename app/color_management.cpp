// SPDX-License-Identifier: Apache-2.0
#include "color_management.h"

#include <cstdlib>
#include <exception>

namespace orca::app {

namespace {

std::string configurationFile(const CommandLine& command) {
    if (!command.colorConfiguration.empty()) return command.colorConfiguration;
    const char* const ofEnvironment = std::getenv("OCIO");
    return ofEnvironment ? ofEnvironment : "";
}

} // namespace

ColorManagement::ColorManagement(const CommandLine& command, Log& log)
    : command_(command), log_(log), file_(configurationFile(command)) {
}

const image::ColorConfiguration* ColorManagement::configuration() {
    if (isRead_ || file_.empty()) return configuration_.get();
    isRead_ = true;
    try {
        configuration_ = image::colorConfiguration(file_);
    } catch (const std::exception& problem) {
        log_.error("MAIN", "colour configuration \"{}\" ({}) cannot be used: {}", file_,
                   command_.colorConfiguration.empty() ? "$OCIO" : "--ocio", problem.what());
    }
    return configuration_.get();
}

bool ColorManagement::choose() {
    const bool namesView = !command_.display.empty() || !command_.view.empty();
    if (command_.colorConfiguration.empty() && !namesView) return true;
    if (file_.empty()) {
        log_.error("MAIN",
                   "--display and --view are of a colour configuration: name it with --ocio, or in the "
                   "environment as OCIO");
        return false;
    }
    image::DisplayView chosen{configuration(), command_.display, command_.view};
    if (!chosen.configuration) return false;
    try {
        chosen.configuration->choose(chosen.display, chosen.view);
    } catch (const std::exception& problem) {
        log_.error("MAIN", "colour configuration \"{}\": {}", file_, problem.what());
        return false;
    }
    display_ = chosen;
    return true;
}

} // namespace orca::app
