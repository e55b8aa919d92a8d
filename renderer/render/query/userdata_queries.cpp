// SPDX-License-Identifier: Apache-2.0
#include "render/query/query_rows.h"

#include "scene/active_database.h"
#include "scene/elements/elements.h"

namespace orca::render {

namespace {

miUserdata* userdataOf(const Query& query) {
    auto* const element = scene::activeDatabase().find<scene::UserdataElement>(query.tag);
    return element ? static_cast<miUserdata*>(element->record()) : nullptr;
}

template <auto field>
bool ofUserdata(const Query& query) {
    const miUserdata* const data = userdataOf(query);
    return data && query.give(data->*field);
}

bool parameters(const Query& query) {
    miUserdata* const data = userdataOf(query);
    return data && query.give<char*>(data->parameters);
}

bool needsSwap(const Query& query) {
    const miUserdata* const data = userdataOf(query);
    return data && query.give<miBoolean>(data->one != 1);
}

constexpr QueryRow rows[] = {
    {miQ_DATA_PARAM, parameters},
    {miQ_DATA_DECL, ofUserdata<&miUserdata::data_decl>},
    {miQ_DATA_LABEL, ofUserdata<&miUserdata::label>},
    {miQ_DATA_NEEDSWAP, needsSwap},
    {miQ_DATA_NEXT, ofUserdata<&miUserdata::next_data>},
    {miQ_DATA_PARAM_SIZE, ofUserdata<&miUserdata::parameter_size>},
};

} // namespace

std::span<const QueryRow> userdataQueries() {
    return rows;
}

} // namespace orca::render
