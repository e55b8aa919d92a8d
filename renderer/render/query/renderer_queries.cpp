// SPDX-License-Identifier: Apache-2.0
#include "render/query/query_rows.h"

#include "render/context/render_context.h"

namespace orca::render {

namespace {

bool date(const Query& query) {
    static char text[] = __DATE__;
    return query.give<char*>(text);
}

bool version(const Query& query) {
    static char text[] = ORCA_VERSION;
    return query.give<char*>(text);
}

bool numberOfLights(const Query& query) {
    if (!query.state || !query.state->ext) return false;
    return query.give(static_cast<int>(renderContextOf(query.state).frame.geometry.lights().size()));
}

bool lights(const Query& query) {
    if (!query.state || !query.state->ext) return false;
    return query.give(const_cast<miTag*>(renderContextOf(query.state).frame.geometry.lights().data()));
}

constexpr QueryRow rows[] = {
    {miQ_DATE, date},
    {miQ_VERSION, version},
    {miQ_NUM_GLOBAL_LIGHTS, numberOfLights},
    {miQ_GLOBAL_LIGHTS, lights},
};

} // namespace

std::span<const QueryRow> rendererQueries() {
    return rows;
}

} // namespace orca::render
