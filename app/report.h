// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "base/log.h"
#include "render/session.h"
#include "scene/database.h"

#include <string>
#include <vector>

namespace orca::app {

/// Counts and times of one picture.
struct PictureReport {
    int frame;
    std::string file;
    render::RenderStatistics statistics;
    bool interrupted;
};

/// Logs a picture's counts and times, at progress level.
void reportPicture(const PictureReport& picture, Log& log);

/// Writes all pictures as JSON. False, with a message, when the file cannot be written.
bool writeStatistics(const std::string& path, const std::vector<PictureReport>& pictures, Log& log);

/// Logs, at progress level, every database pin and every memory block that was not released, with the code
/// that took it.
void reportLeaks(const scene::Database& database, Log& log);

} // namespace orca::app
