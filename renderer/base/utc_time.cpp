// SPDX-License-Identifier: Apache-2.0
#include "base/utc_time.h"

#include <ctime>

namespace orca {

std::string utcTime() {
    const std::time_t now = std::time(nullptr);
    std::tm utc{};
    ::gmtime_r(&now, &utc);
    char text[32];
    return {text, std::strftime(text, sizeof text, "%Y-%m-%dT%H:%M:%SZ", &utc)};
}

} // namespace orca
