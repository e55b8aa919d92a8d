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

/// Writes checkpoints of a render while it goes on: at an interval, on request, and a last one. Where one
/// cannot be written, as on a full disk, the one before stays, the render goes on, and the next is tried at
/// its time.
class CheckpointWriter {
public:
    CheckpointWriter(RenderState& state, CheckpointSettings settings, Log& log);
    /// No more are written.
    ~CheckpointWriter();
    CheckpointWriter(const CheckpointWriter&) = delete;
    CheckpointWriter& operator=(const CheckpointWriter&) = delete;

    /// Writes a last one. False, with an error, when neither that can be written nor an earlier one of this
    /// render is left.
    bool finish();

private:
    void run();
    /// Writes one. False when it cannot be written; the one before is left as it is.
    bool write(std::string& reason);
    [[nodiscard]] int requests() const { return settings_.requests ? settings_.requests->load() : 0; }

    RenderState& state_;
    CheckpointSettings settings_;
    Log& log_;
    std::mutex writing_;
    bool isThere_;     ///< a checkpoint of this render; guarded by writing_
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
