// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "scene/database.h"
#include "scene/phenomenon_attachments.h"

#include <shader.h>

#include <vector>

namespace orca::render {

/// Attaches phenomena to one picture: extends its camera's shader lists, and its root group by their
/// instances. The destructor restores the scene.
class AttachedPhenomena {
public:
    AttachedPhenomena(scene::Database& database, const scene::PhenomenonAttachments& attachments);
    ~AttachedPhenomena();
    AttachedPhenomena(const AttachedPhenomena&) = delete;
    AttachedPhenomena& operator=(const AttachedPhenomena&) = delete;

    /// Lens shaders are put before the camera's own, so that those, and what passes record, see the scene
    /// through all of them. Volume and environment shaders are put after and work on the results of the
    /// camera's own.
    void extend(miCamera& camera);
    /// The group itself, or a copy of it with the instances.
    miTag extendedGroup(miTag group);

private:
    miTag joined(miTag list, miTag more);

    scene::Database& database_;
    const scene::PhenomenonAttachments& attachments_;
    std::vector<miTag> ends_; // shaders that ended their lists
    miTag group_ = miNULLTAG;
};

} // namespace orca::render
