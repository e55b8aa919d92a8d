// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "render/query/query.h"

#include <shader.h>

#include <span>

namespace orca::render {

/// How one code is answered: true when it was.
struct QueryRow {
    miQ_type code;
    bool (*answer)(const Query& query);
};

// The codes of one family each. A new code is a row of its family.
std::span<const QueryRow> declarationQueries();
std::span<const QueryRow> functionQueries();
std::span<const QueryRow> instanceQueries();
std::span<const QueryRow> lightQueries();
std::span<const QueryRow> rendererQueries();
std::span<const QueryRow> stateQueries();
std::span<const QueryRow> userdataQueries();

} // namespace orca::render
