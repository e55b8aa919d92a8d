// SPDX-License-Identifier: Apache-2.0
#include "scene/active_database.h"

namespace orca::scene {

Database& implementation::emptyDatabase() {
    static auto* const alive = new Database; // outlives every library that asks at exit
    return *alive;
}

void setActiveDatabase(Database* database) {
    implementation::active = database;
}

} // namespace orca::scene
