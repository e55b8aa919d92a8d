// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "loaded_scene.h"

#include <cstdint>
#include <memory>

namespace orca::bench {

/// The ray-tracing kernel alone, with a loaded scene's triangles, camera and lights: nothing is shaded,
/// filtered or stored. The reference for the renderer's own cost.
class BareRays {
public:
    explicit BareRays(LoadedScene& scene);
    ~BareRays();
    BareRays(const BareRays&) = delete;
    BareRays& operator=(const BareRays&) = delete;

    struct Result {
        double seconds = 0.0;
        std::uint64_t primary = 0, hits = 0, shadow = 0, lit = 0;
    };
    /// One eye ray through every pixel's centre and, at a hit, one shadow ray to each light that its visible
    /// side faces; single-ray calls, one thread.
    [[nodiscard]] Result trace() const;

private:
    struct Implementation;
    std::unique_ptr<Implementation> implementation_;
};

} // namespace orca::bench
