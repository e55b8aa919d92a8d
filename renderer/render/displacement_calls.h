// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "geometry/displacement.h"
#include "render/context/render_context.h"

#include <memory>
#include <vector>

namespace orca::render {

/// Calls materials' displacement shaders on vertices, before the picture is rendered. Safe from the threads
/// of an arena of at most `threads`; each thread has a base state of its own.
class DisplacementCalls {
public:
    DisplacementCalls(const Frame& frame, int threads);
    ~DisplacementCalls();
    DisplacementCalls(const DisplacementCalls&) = delete;
    DisplacementCalls& operator=(const DisplacementCalls&) = delete;

    /// Height that the displacement shaders of the vertex's material return, object space; 0 without one and
    /// where they fail, which is counted for the report.
    float operator()(const geometry::MeshInstance& meshInstance, const geometry::DisplacementVertex& vertex);

private:
    struct Worker;
    [[nodiscard]] Worker& workerOfThisThread();
    /// False, with a message, when a shader of the list returns no scalar, nor a record with one.
    [[nodiscard]] bool returnsScalar(miTag shader) const;

    const Frame& frame_;
    std::vector<std::unique_ptr<Worker>> workers_; // by thread number
    std::vector<bool> usable_;                     // by shader tag
};

} // namespace orca::render
