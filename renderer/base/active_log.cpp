// SPDX-License-Identifier: Apache-2.0
#include "base/active_log.h"

namespace orca {

namespace {

Log* active = nullptr;

Log& logOfProcess() {
    static auto* const alive = new Log(LogLevel::VDebug); // outlives every library that logs at exit
    return *alive;
}

} // namespace

Log& activeLog() {
    return active ? *active : logOfProcess();
}

void setActiveLog(Log* log) {
    active = log;
}

} // namespace orca
