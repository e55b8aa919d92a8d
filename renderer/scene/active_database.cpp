// SPDX-License-Identifier: Apache-2.0
#include "scene/active_database.h"

namespace orca::scene {

namespace {

Database* active = nullptr;

Database& emptyDatabase() {
    static auto* const alive = new Database; // outlives every library that asks at exit
    return *alive;
}

} // namespace

Database& activeDatabase() {
    return active ? *active : emptyDatabase();
}

void setActiveDatabase(Database* database) {
    active = database;
}

} // namespace orca::scene
