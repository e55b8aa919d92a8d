// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "base/log.h"
#include "render/checkpoint/checkpoint_settings.h"
#include "render/checkpoint/render_state.h"

#include <condition_variable>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

namespace orca::render {

/// Writes checkpoints of a render while it goes on: at an interval, on request, and a last one.
class CheckpointWriter {
public:
    CheckpointWriter(RenderState& state, CheckpointSettings settings, Log& log);
    /// No more are written.
    ~CheckpointWriter();
    CheckpointWriter(const CheckpointWriter&) = delete;
    CheckpointWriter& operator=(const CheckpointWriter&) = delete;

    /// Writes one. False, with an error, when it cannot be written; the one before is left as it is.
    bool write();

private:
    void run();
    [[nodiscard]] int requests() const { return settings_.requests ? settings_.requests->load() : 0; }

    RenderState& state_;
    CheckpointSettings settings_;
    Log& log_;
    std::mutex writing_;
    std::mutex mutex_; // guards ends_
    std::condition_variable ending_;
    bool ends_ = false;
    std::thread thread_;
};

/// The header of a checkpoint, which its state follows. Throws CheckpointFault.
[[nodiscard]] CheckpointHeader readHeader(CheckpointInput& input);

/// Names of what differs between the headers of a checkpoint and of the render that wants to go on from it,
/// each with both values.
[[nodiscard]] std::vector<std::string> differences(const CheckpointHeader& checkpoint,
                                                   const CheckpointHeader& render);

} // namespace orca::render
