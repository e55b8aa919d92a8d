// SPDX-License-Identifier: Apache-2.0
#include "orcaImagePlanes.h"

#include "orcaGuards.h"
#include "orcaLevelSlots.h"
#include "orcaUserData.h"
#include "orcaVelaState.h"

#include <algorithm>
#include <optional>

namespace {

constexpr int mostHits = 256; // along one ray; planes behind as many are ignored
constexpr int textureSpacesKept = 4;

/// The camera's list of planes, pinned.
class CameraPlanes {
public:
    explicit CameraPlanes(const miState* state)
        : data_(state->camera
                    ? static_cast<ImagePlanesData*>(get_userdata(IMAGE_PLANES_MAGIC, miSCENE_USERDATA,
                                                                 state->camera->userdata, &tag_, nullptr))
                    : nullptr),
          pin_(data_ ? tag_ : miNULLTAG) {}

    /// Also of a list that reaches beyond its block, as raw words may.
    [[nodiscard]] bool empty() const {
        return !data_ || data_->n_planes <= 0 ||
               !arrayFits(*data_, data_->planes, data_->i_planes, data_->n_planes, parameterBytes(data_));
    }
    [[nodiscard]] bool contains(miTag element) const {
        const miTag* const first = arrayElements(data_->planes, data_->i_planes);
        return std::find(first, first + data_->n_planes, element) != first + data_->n_planes;
    }

private:
    unsigned tag_ = miNULLTAG;
    ImagePlanesData* data_;
    Unpin pin_;
};

bool isPlane(miState* state, const CameraPlanes& planes, miTag wanted, miTag instance) {
    miTag object = miNULLTAG;
    mi_query(miQ_INST_ITEM, state, instance, &object);
    if (wanted != miNULLTAG && wanted != instance && wanted != object) return false;
    return planes.contains(instance) || planes.contains(object);
}

/// A copy of the hit's state: the renderer's is valid only until the next ray.
class KeptHit {
public:
    explicit KeptHit(const miState& hit) : state(hit) {
        int spaces = 1;
        mi_query(miQ_NUM_TEXTURES, &state, miNULLTAG, &spaces);
        if (!hit.tex_list) return;
        std::copy_n(hit.tex_list, std::clamp(spaces, 1, textureSpacesKept), coordinates_);
        state.tex_list = coordinates_;
    }
    KeptHit(const KeptHit&) = delete;
    KeptHit& operator=(const KeptHit&) = delete;

    miState state;

private:
    miVector coordinates_[textureSpacesKept]{};
};

/// Colour of the plane's material. The rasterizer's layers and the passes receive nothing.
miBoolean shade(miColor& result, KeptHit& hit, miState* state) {
    const Pinned<const miMaterial> material(hit.state.material);
    if (!material || material->shader == miNULLTAG) return miFALSE;
    const PassRecords passes(state);
    const SavedSlots slots(state, passes);
    std::optional<Restored<BackgroundSums>> background;
    if (VelabaseState* const vela = velabaseState(state)) background.emplace(vela->background);
    hit.state.type = miRAY_EYE;
    hit.state.parent = state->parent;
    hit.state.rast_compose = miFALSE;
    miColor color{};
    if (!mi_call_shader_x(&color, miSHADER_MATERIAL, &hit.state, material->shader, nullptr)) return miFALSE;
    result = color;
    return miTRUE;
}

} // namespace

miBoolean imageplane_compute_intersection(miColor* result, miState* state, unsigned int plane) {
    const CameraPlanes planes(state);
    if (planes.empty()) return miFALSE;
    miState from = *state;
    miVector direction = state->dir;
    for (int hits = 0; hits < mostHits; ++hits) {
        miVector origin = from.point;
        if (!mi_trace_probe(&from, &direction, &origin) || !from.child) return miFALSE;
        if (isPlane(state, planes, plane, from.child->instance)) {
            KeptHit hit(*from.child);
            return shade(*result, hit, state);
        }
        from = miState(*from.child);
    }
    return miFALSE;
}

using orcaImagePlanes = ImagePlanesData;
#include "declared/orcaImagePlanes.h"
