// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "scene/database.h"
#include "scene/declarations/phenomenon_use.h"

#include <shader.h>

#include <vector>

namespace orca::render {

/// What phenomena attach to one picture: its camera's shader lists grow, and its root group is joined by
/// their instances. The scene is as before when this goes.
class AttachedPhenomena {
public:
    AttachedPhenomena(scene::Database& database, const scene::PhenomenonAttachments& attachments);
    ~AttachedPhenomena();
    AttachedPhenomena(const AttachedPhenomena&) = delete;
    AttachedPhenomena& operator=(const AttachedPhenomena&) = delete;

    /// Lens shaders come before the camera's own, so that those, and what passes record, see the scene behind
    /// all of them. Volume and environment shaders come after and work on what the camera's own give.
    void extend(miCamera& camera);
    /// The group itself, or one in its place that holds the instances as well.
    miTag extendedGroup(miTag group);

private:
    miTag joined(miTag list, miTag more);

    scene::Database& database_;
    const scene::PhenomenonAttachments& attachments_;
    std::vector<miTag> ends_; // shaders that ended their lists
    miTag group_ = miNULLTAG;
};

} // namespace orca::render
