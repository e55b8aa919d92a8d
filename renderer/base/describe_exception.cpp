// SPDX-License-Identifier: Apache-2.0
#include "base/describe_exception.h"

#include <exception>

namespace orca {

std::string describeException() {
    try {
        throw;
    } catch (const std::exception& error) {
        return error.what();
    } catch (...) {
        return "an exception of an unknown type";
    }
}

} // namespace orca
