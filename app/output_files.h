// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "command_line.h"

#include "base/log.h"
#include "render/session.h"
#include "scene/elements/elements.h"

#include <set>
#include <string>

namespace orca::app {

/// Paths of one picture's files.
struct PictureFiles {
    std::string layered;                 ///< empty: not written
    std::vector<std::string> sceneFiles; ///< named by the scene's own statements
    std::string png;                     ///< for looking at; empty: not written
    std::string layerDirectory;          ///< for a PNG of each layer; empty: not written
};

/// Names, checks and writes the files of a run's pictures.
class OutputFiles {
public:
    OutputFiles(const CommandLine& command, Log& log);

    /// Paths of the next picture's files. From the second picture on, the frame number is added to a name
    /// without ####.
    PictureFiles next(const image::FramebufferSet& buffers, int frame);

    /// False, with messages, when a file cannot be created or does not fit on its disk; for use before
    /// rendering. Makes the folder of the layers' PNGs.
    [[nodiscard]] bool check(const PictureFiles& files, const render::Picture& picture) const;

    /// Writes a finished picture. False, with messages, when something could not be written.
    [[nodiscard]] bool write(const PictureFiles& files, const render::FrameResult& result) const;

    /// Prints files, parts and channels to standard output.
    static void list(const PictureFiles& files, const image::FramebufferSet& buffers);
    /// Prints the values of all layers of a picture of one pixel to standard output.
    static void printPixel(const render::FrameResult& result);

private:
    const CommandLine& command_;
    Log& log_;
    std::set<std::string> named_;
};

} // namespace orca::app
