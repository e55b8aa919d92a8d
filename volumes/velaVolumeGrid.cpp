// SPDX-License-Identifier: Apache-2.0
#include "GridFile.h"

#include "orcaColor.h"
#include "orcaExport.h"
#include "orcaGuards.h"
#include "orcaParameters.h"
#include "orcaPhotometry.h"
#include "orcaRamp.h"
#include "orcaShader.h"
#include "orcaUtilities.h"
#include "orcaVolumeSet.h"

#include <mi/texture_file.h>

#include <algorithm>
#include <cmath>
#include <exception>
#include <string>

/// Parameters of velaVolumeGrid, in declaration order.
struct VolumeGridParameters {
    miTag file;                                       // texture whose file is an OpenVDB file
    miTag densityGrid, temperatureGrid, velocityGrid; // strings: names of grids; empty: none
    miTag placement;  // instance in whose space the file's is; null: the world's
    miInteger layer;  // VolumeLayer
    miScalar density; // multiplies the grid's, per scene unit
    miColor scattering;
    miColor absorption;
    miColor emission;          // with a temperature grid: at 1500 kelvin
    miScalar anisotropy;       // -1 to 1
    miScalar temperatureScale; // kelvin per unit of the temperature grid
    miScalar velocityScale;    // seconds per unit of shutter time
    int i_densityRamp;         // what a value of the grid counts
    int n_densityRamp;
    RampScalarEntry densityRamp[1];
};

extern "C" {
ORCA_EXPORT miBoolean velaVolumeGrid(miColor* result, miState* state, VolumeGridParameters* record,
                                     void* argument);
}

namespace {

using P = VolumeGridParameters;
using orca::volumes::GridFault;
using orca::volumes::GridNames;
using orca::volumes::OccupiedSpan;
using orca::volumes::VolumeGrids;

constexpr const char* name = "vela_volumegrid";

std::string textOf(miTag tag) {
    const Pinned<const char> text(tag);
    return text ? text.get() : "";
}

/// A message with names of the scene's, in which a per-cent sign stands for itself.
void report(const std::string& text) {
    std::string message = std::string(name) + "(): ";
    for (const char c : text) message += c == '%' ? "%%" : std::string(1, c);
    orcaError(message + ". There is no volume.");
}

/// Read when the instance is initialised; null after a message.
VolumeGrids* gridsOf(miState* state, P* record) {
    char path[4096];
    const miTag file = parameterValue(state, record, &P::file);
    if (!mi_texture_file(path, sizeof path, state, file)) {
        report("The file of \"file\" is not there");
        return nullptr;
    }
    const GridNames names{textOf(parameterValue(state, record, &P::densityGrid)),
                          textOf(parameterValue(state, record, &P::temperatureGrid)),
                          textOf(parameterValue(state, record, &P::velocityGrid))};
    try {
        return new VolumeGrids(path, names, parameterValue(state, record, &P::velocityScale));
    } catch (const std::exception& fault) {
        report(fault.what());
        return nullptr;
    }
}

class GridMedium : public VolumePrimitive {
public:
    GridMedium(miState* state, P* record, const VolumeGrids& grids, VolumeSet& set);

    [[nodiscard]] bool next(const VolumeRay& ray, miScalar after, VolumeSpan& span) const override {
        OccupiedSpan found;
        if (!grids_.next(pointInFile(ray.origin), vectorInFile(ray.direction), after, found)) return false;
        span = {found.from, found.to};
        return true;
    }
    [[nodiscard]] VolumeSample at(const VolumeRay& ray, miScalar distance) const override;

private:
    [[nodiscard]] miVector pointInFile(miVector p) const {
        if (placed_) mi_point_transform(&p, &p, toFile_);
        return p;
    }
    [[nodiscard]] miVector vectorInFile(miVector v) const {
        if (placed_) mi_vector_transform(&v, &v, toFile_);
        return v;
    }

    const VolumeGrids& grids_;
    VolumeGrids::Lookup lookup_;
    miMatrix toFile_;
    bool placed_;
    bool glowsByTemperature_;
    miScalar density_;
    miColor scattering_, absorption_, emission_;
    miScalar temperatureScale_;
    miScalar seconds_; // since the grids' moment
    const Ramp* densityRamp_ = nullptr;
};

GridMedium::GridMedium(miState* state, P* record, const VolumeGrids& grids, VolumeSet& set)
    : grids_(grids), lookup_(grids) {
    const auto value = [&](auto field) { return parameterValue(state, record, field); };
    const miTag placement = value(&P::placement);
    placed_ = placement != miNULLTAG && mi_query(miQ_INST_GLOBAL_TO_LOCAL, state, placement, toFile_);
    layer = static_cast<VolumeLayer>(
        std::clamp<miInteger>(value(&P::layer), VOLUME_LAYER_LIGHT, VOLUME_LAYER_OBJECT));
    density_ = std::max(0.0f, value(&P::density));
    scattering_ = value(&P::scattering);
    absorption_ = value(&P::absorption);
    emission_ = value(&P::emission);
    anisotropy = std::clamp(value(&P::anisotropy), -0.99f, 0.99f);
    glowsByTemperature_ = !textOf(value(&P::temperatureGrid)).empty() && !isBlack(emission_);
    temperatureScale_ = value(&P::temperatureScale);
    seconds_ = grids.moves() ? state->time * value(&P::velocityScale) : 0.0f;
    if (record->n_densityRamp != 0)
        if (auto* const ramp = static_cast<Ramp*>(set.allocate(sizeof(Ramp)))) {
            ramp_constructor(ramp, state, &record->i_densityRamp, 0);
            densityRamp_ = ramp;
        }
    constexpr float voxelsAtFirst = 2.0f; // steps are halved where that is not enough
    detail = voxelsAtFirst * grids.voxelSize();
    if (!placed_) return;
    float shrinks = 0.0f;
    for (const int row : {0, 4, 8})
        shrinks = std::max(shrinks, length({toFile_[row], toFile_[row + 1], toFile_[row + 2]}));
    if (shrinks > 0.0f) detail /= shrinks;
}

/// Radiance of a black body over that at 1500 kelvin.
miColor glow(float kelvin) {
    constexpr float reference = 1500.0f;
    const float ratio = std::max(0.0f, kelvin) / reference;
    return ratio > 0.0f ? blackBodyColor(kelvin) * (ratio * ratio * ratio * ratio) : BLACK;
}

VolumeSample GridMedium::at(const VolumeRay& ray, miScalar distance) const {
    miVector p = pointInFile(ray.at(distance));
    if (seconds_ != 0.0f) p = p - lookup_.velocity(p) * seconds_; // where it was at the grids' moment
    float factor = lookup_.density(p);
    if (densityRamp_) factor = ramp_get_interp_float(factor, densityRamp_);
    factor = std::max(0.0f, factor) * density_;
    if (!(factor > 0.0f)) return {};
    VolumeSample sample{scattering_ * factor, absorption_ * factor, emission_ * factor};
    if (glowsByTemperature_) sample.emission *= glow(lookup_.temperature(p) * temperatureScale_);
    return sample;
}

} // namespace

extern "C" {

ORCA_EXPORT int velaVolumeGrid_version(void) {
    return 1;
}

ORCA_EXPORT void velaVolumeGrid_init(miState* state, VolumeGridParameters* record, miBoolean* initRequired) {
    if (!record) {
        *initRequired = miTRUE;
        return;
    }
    if (void** const slot = instanceUserPointer(state)) *slot = gridsOf(state, record);
}

ORCA_EXPORT void velaVolumeGrid_exit(miState* state, VolumeGridParameters* record) {
    if (!record) return;
    void** const slot = instanceUserPointer(state);
    if (!slot) return;
    delete static_cast<VolumeGrids*>(*slot);
    *slot = nullptr;
}

/// Describes a medium whose density is in a file to the volume engine that asks for it with its fourth
/// argument.
ORCA_EXPORT miBoolean velaVolumeGrid(miColor*, miState* state, VolumeGridParameters* record, void* argument) {
    VolumeRequest* const request = volumeRequest(argument, name);
    if (!request) return miFALSE;
    void** const slot = instanceUserPointer(state);
    const auto* const grids = slot ? static_cast<const VolumeGrids*>(*slot) : nullptr;
    if (grids) request->set->add<GridMedium>(state, record, *grids, *request->set);
    return miTRUE;
}

} // extern "C"

#include "declared/velaVolumeGrid.h"
