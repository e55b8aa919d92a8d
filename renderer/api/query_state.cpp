// SPDX-License-Identifier: Apache-2.0
#include "api/queries.h"

#include "render/camera/spaces.h"
#include "render/context/render_context.h"

#include <algorithm>

namespace orca::api {

namespace {

Answer matrix(const Query& query, render::CoordinateSpace space, render::Mapping mapping) {
    auto* result = static_cast<miScalar*>(query.result);
    if (const miScalar* m = render::spaceMatrix(query.state, space, mapping)) mi_matrix_copy(result, m);
    else mi_matrix_ident(result);
    return Answer::Given;
}

} // namespace

Answer answerAboutState(const Query& query) {
    switch (query.code) {
    case miQ_FUNC_CALLTYPE:
    case miQ_FINALGATHER_STATE:
    case miQ_SAMPLE_MOVING:
    case miQ_SAMPLE_PHASE:
    case miQ_NUM_TEXTURES:
    case miQ_NUM_BUMPS:
    case miQ_TRANS_INTERNAL_TO_WORLD:
    case miQ_TRANS_WORLD_TO_INTERNAL:
    case miQ_TRANS_INTERNAL_TO_CAMERA:
    case miQ_TRANS_CAMERA_TO_INTERNAL:
    case miQ_TRANS_INTERNAL_TO_OBJECT:
    case miQ_TRANS_OBJECT_TO_INTERNAL: break;
    default: return Answer::NotMine;
    }
    if (!query.state || !query.state->ext) return Answer::Unavailable;
    const shading::CallContext& context = shading::contextOf(query.state);
    using render::CoordinateSpace;
    using render::Mapping;
    switch (query.code) {
    case miQ_FUNC_CALLTYPE: query.answer<int>(context.callType); break;
    case miQ_FINALGATHER_STATE: query.answer<int>(context.gatherState); break;
    case miQ_SAMPLE_MOVING: query.answer<int>(context.sampleMoving); break;
    case miQ_SAMPLE_PHASE: query.answer<int>(context.samplePhase); break;
    case miQ_NUM_TEXTURES:
        query.answer<int>(
            std::max(1, render::renderContextOf(query.state).frame.geometry.maxTextureSpaces()));
        break;
    case miQ_NUM_BUMPS: query.answer<int>(query.state->bump_x_list ? 1 : 0); break;
    case miQ_TRANS_INTERNAL_TO_WORLD: return matrix(query, CoordinateSpace::World, Mapping::FromInternal);
    case miQ_TRANS_WORLD_TO_INTERNAL: return matrix(query, CoordinateSpace::World, Mapping::ToInternal);
    case miQ_TRANS_INTERNAL_TO_CAMERA: return matrix(query, CoordinateSpace::Camera, Mapping::FromInternal);
    case miQ_TRANS_CAMERA_TO_INTERNAL: return matrix(query, CoordinateSpace::Camera, Mapping::ToInternal);
    case miQ_TRANS_INTERNAL_TO_OBJECT: return matrix(query, CoordinateSpace::Object, Mapping::FromInternal);
    case miQ_TRANS_OBJECT_TO_INTERNAL: return matrix(query, CoordinateSpace::Object, Mapping::ToInternal);
    default: return Answer::Unavailable;
    }
    return Answer::Given;
}

} // namespace orca::api
