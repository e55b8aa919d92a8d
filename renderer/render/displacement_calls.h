// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "geometry/displacement.h"
#include "render/context/render_context.h"

#include <memory>
#include <vector>

namespace orca::render {

/// How large things look through the picture's camera.
[[nodiscard]] geometry::DisplacementView displacementView(const Frame& frame);

/// Calls materials' displacement shaders on vertices, before the picture is rendered. Safe from the threads
/// of an arena of at most `threads`; each gets a base state of its own.
class DisplacementCalls {
public:
    DisplacementCalls(const Frame& frame, int threads);
    ~DisplacementCalls();
    DisplacementCalls(const DisplacementCalls&) = delete;
    DisplacementCalls& operator=(const DisplacementCalls&) = delete;

    /// What the shaders of the vertex's material answer; 0 where there is none and where they fail, which is
    /// counted for the report.
    float operator()(const geometry::MeshInstance& meshInstance, const geometry::DisplacementVertex& vertex);

private:
    struct Worker;
    [[nodiscard]] Worker& workerOfThisThread();
    /// False, with a message, when the shaders answer something else than a scalar.
    [[nodiscard]] bool answersScalar(miTag shader) const;

    const Frame& frame_;
    std::vector<std::unique_ptr<Worker>> workers_; // by thread number
    std::vector<bool> usable_;                     // by shader tag
};

} // namespace orca::render
