// SPDX-License-Identifier: Apache-2.0
#include "scene/elements/phenomenon.h"

namespace orca::scene {

bool PhenomenonAttachments::empty() const {
    return lens.empty() && volume.empty() && environment.empty() && contourStore.empty() &&
           contourContrast.empty() && outputs.empty() && instances.empty();
}

void PhenomenonAttachments::append(const PhenomenonAttachments& others) {
    const auto join = [](auto& list, const auto& more) { list.insert(list.end(), more.begin(), more.end()); };
    join(lens, others.lens);
    join(volume, others.volume);
    join(environment, others.environment);
    join(contourStore, others.contourStore);
    join(contourContrast, others.contourContrast);
    join(outputs, others.outputs);
    join(instances, others.instances);
}

} // namespace orca::scene
