// SPDX-License-Identifier: Apache-2.0
#include "render/query/query_rows.h"

#include "render/camera/spaces.h"
#include "render/context/render_context.h"

#include <algorithm>

namespace orca::render {

namespace {

template <auto field>
bool ofContext(const Query& query) {
    return query.state && query.state->ext && query.give<int>(shading::contextOf(query.state).*field);
}

bool numberOfTextures(const Query& query) {
    if (!query.state || !query.state->ext) return false;
    return query.give(std::max(1, renderContextOf(query.state).frame.geometry.maxTextureSpaces()));
}

bool numberOfBumps(const Query& query) {
    return query.state && query.state->ext && query.give<int>(query.state->bump_x_list ? 1 : 0);
}

template <CoordinateSpace space, Mapping mapping>
bool matrix(const Query& query) {
    if (!query.state || !query.state->ext) return false;
    auto* const result = static_cast<miScalar*>(query.result);
    if (const miScalar* const m = spaceMatrix(query.state, space, mapping)) mi_matrix_copy(result, m);
    else mi_matrix_ident(result);
    return true;
}

template <CoordinateSpace from, CoordinateSpace to>
bool between(const Query& query) {
    miMatrix into;
    const Query second{query.state, query.tag, into, nullptr};
    if (!matrix<from, Mapping::ToInternal>(query) || !matrix<to, Mapping::FromInternal>(second)) return false;
    auto* const result = static_cast<miScalar*>(query.result);
    mi_matrix_prod(result, result, into);
    return true;
}

bool stage(const Query& query) {
    if (!query.state || !query.state->ext) return false;
    const RenderContext& context = renderContextOf(query.state);
    if (context.displacementSpace) return query.give<int>(miSTAGE_DISPLACE);
    if (context.outputImages) return query.give<int>(miSTAGE_OUTPUT);
    if (context.samplePhase == noImagePhase) return query.give<int>(miSTAGE_OTHER);
    return query.give<int>(context.pendingGatherRecords ? miSTAGE_GATHER : miSTAGE_RENDER);
}

using shading::CallContext;

constexpr QueryRow rows[] = {
    {miQ_FUNC_CALLTYPE, ofContext<&CallContext::callType>},
    {miQ_FINALGATHER_STATE, ofContext<&CallContext::gatherState>},
    {miQ_SAMPLE_MOVING, ofContext<&CallContext::sampleMoving>},
    {miQ_SAMPLE_PHASE, ofContext<&CallContext::samplePhase>},
    {miQ_RENDER_STAGE, stage},
    {miQ_NUM_TEXTURES, numberOfTextures},
    {miQ_NUM_BUMPS, numberOfBumps},
    {miQ_TRANS_INTERNAL_TO_WORLD, matrix<CoordinateSpace::World, Mapping::FromInternal>},
    {miQ_TRANS_WORLD_TO_INTERNAL, matrix<CoordinateSpace::World, Mapping::ToInternal>},
    {miQ_TRANS_INTERNAL_TO_CAMERA, matrix<CoordinateSpace::Camera, Mapping::FromInternal>},
    {miQ_TRANS_CAMERA_TO_INTERNAL, matrix<CoordinateSpace::Camera, Mapping::ToInternal>},
    {miQ_TRANS_INTERNAL_TO_OBJECT, matrix<CoordinateSpace::Object, Mapping::FromInternal>},
    {miQ_TRANS_OBJECT_TO_INTERNAL, matrix<CoordinateSpace::Object, Mapping::ToInternal>},
    {miQ_TRANS_INTERNAL_TO_LIGHT, matrix<CoordinateSpace::Light, Mapping::FromInternal>},
    {miQ_TRANS_LIGHT_TO_INTERNAL, matrix<CoordinateSpace::Light, Mapping::ToInternal>},
    {miQ_TRANS_WORLD_TO_CAMERA, between<CoordinateSpace::World, CoordinateSpace::Camera>},
    {miQ_TRANS_WORLD_TO_OBJECT, between<CoordinateSpace::World, CoordinateSpace::Object>},
    {miQ_TRANS_WORLD_TO_LIGHT, between<CoordinateSpace::World, CoordinateSpace::Light>},
    {miQ_TRANS_CAMERA_TO_WORLD, between<CoordinateSpace::Camera, CoordinateSpace::World>},
    {miQ_TRANS_CAMERA_TO_OBJECT, between<CoordinateSpace::Camera, CoordinateSpace::Object>},
    {miQ_TRANS_CAMERA_TO_LIGHT, between<CoordinateSpace::Camera, CoordinateSpace::Light>},
    {miQ_TRANS_OBJECT_TO_WORLD, between<CoordinateSpace::Object, CoordinateSpace::World>},
    {miQ_TRANS_OBJECT_TO_CAMERA, between<CoordinateSpace::Object, CoordinateSpace::Camera>},
    {miQ_TRANS_OBJECT_TO_LIGHT, between<CoordinateSpace::Object, CoordinateSpace::Light>},
    {miQ_TRANS_LIGHT_TO_WORLD, between<CoordinateSpace::Light, CoordinateSpace::World>},
    {miQ_TRANS_LIGHT_TO_CAMERA, between<CoordinateSpace::Light, CoordinateSpace::Camera>},
    {miQ_TRANS_LIGHT_TO_OBJECT, between<CoordinateSpace::Light, CoordinateSpace::Object>},
};

} // namespace

std::span<const QueryRow> stateQueries() {
    return rows;
}

} // namespace orca::render
