// SPDX-License-Identifier: Apache-2.0
#include "render/attached_phenomena.h"

#include "scene/elements/elements.h"
#include "scene/shader_list.h"

#include <algorithm>
#include <memory>

namespace orca::render {

AttachedPhenomena::AttachedPhenomena(scene::Database& database,
                                     const scene::PhenomenonAttachments& attachments)
    : database_(database), attachments_(attachments) {
}

AttachedPhenomena::~AttachedPhenomena() {
    for (const miTag end : ends_)
        database_.find<scene::FunctionElement>(end)->function()->next_function = miNULLTAG;
    if (group_) database_.remove(group_);
}

void AttachedPhenomena::extend(miCamera& camera) {
    miTag lens = miNULLTAG;
    for (const miTag list : attachments_.lens) lens = joined(lens, list);
    camera.lens = joined(lens, camera.lens);
    for (const miTag list : attachments_.volume) camera.volume = joined(camera.volume, list);
    for (const miTag list : attachments_.environment) camera.environment = joined(camera.environment, list);
}

miTag AttachedPhenomena::extendedGroup(miTag group) {
    if (attachments_.instances.empty()) return group;
    const auto& root = *database_.find<scene::GroupElement>(group);
    auto extended = std::make_unique<scene::GroupElement>(root);
    extended->members.insert(extended->members.end(), attachments_.instances.begin(),
                             attachments_.instances.end());
    group_ = database_.add(std::move(extended));
    return group_;
}

/// Appends `more` to `list`, unless they share members: a shader can be in a list once only.
miTag AttachedPhenomena::joined(miTag list, miTag more) {
    const std::vector<miTag> first = scene::shaderList(database_, list),
                             second = scene::shaderList(database_, more);
    if (second.empty()) return list;
    if (std::find_first_of(first.begin(), first.end(), second.begin(), second.end()) != first.end())
        return list;
    if (!first.empty()) ends_.push_back(first.back());
    return scene::appendShaders(database_, list, more);
}

} // namespace orca::render
