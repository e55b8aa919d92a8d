// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <atomic>

namespace orca {

/// The flag that stops the active render, for functions of the interface without a state; null while none is
/// active.
inline const std::atomic<bool>* activeStop = nullptr;

/// Sets it for its lifetime, which no rendering thread begins before or ends after.
class ActiveStopScope {
public:
    explicit ActiveStopScope(const std::atomic<bool>* stop) { activeStop = stop; }
    ~ActiveStopScope() { activeStop = nullptr; }
    ActiveStopScope(const ActiveStopScope&) = delete;
    ActiveStopScope& operator=(const ActiveStopScope&) = delete;
};

} // namespace orca
