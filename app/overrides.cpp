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

bool reportWithoutEffect(const Overrides& overrides, bool strict, Log& log) {
    bool good = true;
    for (const auto& [statement, values] : overrides.options) {
        const std::string_view missing = statement->missingOf(values);
        if (missing.empty()) continue;
        const bool isError = strict && statement->level == LogLevel::Warning;
        log.write(isError ? LogLevel::Error : statement->level, "MAIN",
                  "\"{}\" of the command line has no effect, or not all of it: {}", statement->words,
                  missing);
        good = good && !isError;
    }
    return good;
}

} // namespace orca::app
