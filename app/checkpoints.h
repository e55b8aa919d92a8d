// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "command_line.h"
#include "output_files.h"
#include "stop_signal.h"

#include "base/log.h"
#include "render/checkpoint/checkpoint_settings.h"
#include "render/picture.h"

#include <optional>
#include <string>

namespace orca::app {

/// The checkpoints of a command's pictures.
class Checkpoints {
public:
    Checkpoints(const CommandLine& command, Log& log, const StopSignal& stop);

    /// True when the command goes on from what an earlier run left, or skips what one finished, and the
    /// picture's files are all there, complete and of this identity.
    [[nodiscard]] bool isFinished(const PictureFiles& files, const render::CheckpointHeader& identity,
                                  int frame) const;

    /// How the picture's checkpoints are written, and whether its render goes on from one. Nothing when the
    /// command asks for none.
    [[nodiscard]] std::optional<render::CheckpointSettings>
    settings(const PictureFiles& files, const render::Picture& picture,
             const std::optional<image::SampleRange>& samples, const render::CheckpointHeader& identity,
             int frame) const;

    /// Removes the checkpoint of a picture whose files are written.
    void discard(const PictureFiles& files) const;

    /// Which command goes on with a picture that was stopped.
    [[nodiscard]] std::string stopText(const PictureFiles& files) const;

private:
    const CommandLine& command_;
    Log& log_;
    const StopSignal& stop_;
};

/// What to type so that a stopped render goes on.
[[nodiscard]] std::string resumingCommand(const CommandLine& command);

/// Writes what a checkpoint holds as a picture: where samples are missing it is coarser, or black. Returns an
/// exit code.
int developCheckpoint(const CommandLine& command, Log& log);

} // namespace orca::app
