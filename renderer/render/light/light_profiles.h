// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "base/log.h"
#include "image/light_profile.h"
#include "scene/database.h"

#include <shader.h>

#include <optional>
#include <vector>

namespace orca::render {

/// The light profiles of a scene, read before rendering. One that cannot be read is an error that names the
/// file and the line; lights with it emit uniformly.
class LightProfiles {
public:
    LightProfiles(scene::Database& database, Log& log);

    /// Intensity in a direction of light space, relative to the profile's maximum; 1 for no profile.
    [[nodiscard]] float toward(miTag profile, const miVector& direction, bool interpolate) const;

private:
    struct Entry {
        miTag tag;
        image::LightProfile profile;
        image::LightProfile::Between between;
    };
    std::vector<Entry> entries_; ///< by increasing tag
};

} // namespace orca::render
