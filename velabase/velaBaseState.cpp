// SPDX-License-Identifier: Apache-2.0
#include "velaBaseState.h"

#include "orcaColor.h"
#include "orcaExport.h"
#include "orcaLightProtocol.h"
#include "orcaParameters.h"
#include "orcaUtilities.h"
#include "orcaVector.h"
#include "orcaVelaState.h"

namespace {

using P = BaseStateParameters;

/// Angle of one pixel in the middle of the picture, radians; for parallel projections the width of one.
float pixelAngle(const miCamera& camera) {
    const float width =
        camera.aperture / static_cast<float>(camera.x_resolution > 0 ? camera.x_resolution : 1);
    return camera.orthographic || camera.focal <= 0.0f ? width : width / camera.focal;
}

void clearDepthStack(VelabaseState& vela) {
    while (vela.depthStack.top) stack_pop(&vela.depthStack);
}

miBoolean create(miState* state, P* record) {
    VelabaseState vela{};
    vela.transparencyThreshold = parameterValue(state, record, &P::transparencyThreshold);
    vela.throughputCutoff = parameterValue(state, record, &P::throughputCutoff);
    vela.throughputUpper = parameterValue(state, record, &P::throughputUpper);
    vela.filterEnabled = parameterValue(state, record, &P::filterTextures);
    vela.filterBase = parameterValue(state, record, &P::filterBase);
    vela.fixedFilterSize = parameterValue(state, record, &P::fixedFilterSize);
    vela.renderMode = parameterValue(state, record, &P::renderMode);
    const miInteger depth = parameterValue(state, record, &P::maxTraceDepth);
    vela.maxTraceDepth = depth > 0 ? depth : state->options->trace_depth + 1;
    vela.continueRay = parameterValue(state, record, &P::continueRay);
    vela.depthOutput = parameterValue(state, record, &P::depthOutput);
    vela.additivePasses = parameterValue(state, record, &P::additivePasses);
    vela.raster = state->options->scanline != 0;
    if (vela.filterBase <= 0.0f && state->camera) vela.filterBase = pixelAngle(*state->camera);
    vela.throughput = WHITE;
    vela.layerTransmission = WHITE;
    vela.lightData = defaultLightDataArray;
    stack_create(state, &vela.depthStack, sizeof(DepthStackEntry));
    return mi_shaderstate_set(state, VELABASE_STATE_KEY, &vela, sizeof(vela), VELA_STATE_LIFETIME);
}

miBoolean release(miState* state) {
    if (VelabaseState* const vela = velabaseState(state)) clearDepthStack(*vela);
    return mi_shaderstate_set(state, VELABASE_STATE_KEY, nullptr, 0, VELA_STATE_LIFETIME);
}

/// Depth along the camera's view, in scene units.
void setDepthPlane(miState* state, VelabaseState& vela) {
    const miVector forward{0.0f, 0.0f, -1.0f}, eye{0.0f, 0.0f, 0.0f};
    miVector normal = forward, origin = eye;
    mi_vector_from_camera(state, &normal, &normal);
    mi_point_from_camera(state, &origin, &origin);
    vela.depthPlaneNormal = normalized(normal);
    vela.depthPlaneOffset = -dot(origin, vela.depthPlaneNormal);
}

miBoolean beginSample(miState* state) {
    VelabaseState* const vela = velabaseState(state);
    if (!vela) {
        orcaWarning("velaBaseState(): Internal state error.");
        return miFALSE;
    }
    vela->throughput = WHITE;
    vela->footprint = {};
    vela->flags = 0;
    vela->refractionsOn = miFALSE;
    vela->refractedTransparency = BLACK;
    vela->surfaceOpacity = WHITE;
    vela->layerTransmission = WHITE;
    vela->engineHit = nullptr;
    vela->enginePasses = nullptr;
    vela->tracedValues = nullptr;
    vela->uncovered = BLACK;
    vela->plateState = nullptr;
    vela->imagePlanes = {BLACK, WHITE, WHITE};
    vela->background = {BLACK, BLACK};
    vela->transparencySum = BLACK;
    vela->opacitySum = BLACK;
    vela->transparencyCount = 0;
    vela->transparencyAccum = BLACK;
    vela->transparencyAccumBehind = BLACK;
    clearDepthStack(*vela);
    vela->lightData = defaultLightDataArray;
    vela->areaLight = nullptr;
    vela->componentListener = nullptr;
    vela->volumeLight = {};
    vela->volumeLightPath = nullptr;
    vela->shadowSum = 0.0f;
    if (vela->depthOutput) setDepthPlane(state, *vela);
    return miTRUE;
}

} // namespace

extern "C" {

ORCA_EXPORT int velaBaseState_version(void) {
    return 1;
}

ORCA_EXPORT void velaBaseState_exit(miState* state, BaseStateParameters* record) {
    if (!record) clr_tla_list(state->global_lock);
}

ORCA_EXPORT miBoolean velaBaseState(void*, miState* state, BaseStateParameters* record,
                                    miShader_state_arg* argument) {
    switch (argument->op) {
    case miSHADERSTATE_STATE_INIT: return create(state, record);
    case miSHADERSTATE_STATE_EXIT: return release(state);
    case miSHADERSTATE_SAMPLE_INIT: return beginSample(state);
    case miSHADERSTATE_SAMPLE_EXIT: return miTRUE;
    default: orcaWarning("velaBaseState(): Invoked with invalid opcode."); return miFALSE;
    }
}

} // extern "C"

#include "declared/velaBaseState.h"
