// SPDX-License-Identifier: Apache-2.0
#include "overrides.h"

#include <algorithm>

namespace orca::app {

void applyOverrides(const Overrides& overrides, scene::OptionsElement& element) {
    for (const auto& [statement, values] : overrides.options) {
        statement->set(element, values);
        if (statement->words != "trace depth" || values.count > 2) continue;
        // A sum that is not given must not cut off a limit that is.
        miOptions& options = element.options;
        options.trace_depth =
            std::max({options.trace_depth, options.reflection_depth, options.refraction_depth});
    }
}

} // namespace orca::app
