// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "command_line.h"

#include "base/log.h"
#include "image/color_configuration.h"

#include <memory>
#include <string>

namespace orca::app {

/// The colour configuration that the command line or the environment ($OCIO) names. It is read when something
/// needs it: an option, or a colour space that a scene names.
class ColorManagement {
public:
    ColorManagement(const CommandLine& command, Log& log);

    /// Finds the display and the view that the command line asks for. False, with an error that lists those
    /// that exist, where there are no such ones, or no configuration.
    [[nodiscard]] bool choose();
    /// Of files of whole numbers; without a configuration where none was asked for.
    [[nodiscard]] const image::DisplayView& display() const { return display_; }
    /// Null where there is none, or, with an error, where it cannot be read.
    [[nodiscard]] const image::ColorConfiguration* configuration();
    /// The configuration in use: null until something has needed it.
    [[nodiscard]] const image::ColorConfiguration* used() const { return configuration_.get(); }
    [[nodiscard]] const std::string& file() const { return file_; }

private:
    const CommandLine& command_;
    Log& log_;
    std::string file_; ///< empty: none
    std::unique_ptr<image::ColorConfiguration> configuration_;
    bool isRead_ = false;
    image::DisplayView display_;
};

} // namespace orca::app
