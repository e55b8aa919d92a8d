// SPDX-License-Identifier: Apache-2.0
#include "orcaColor.h"
#include "orcaLightShader.h"
#include "orcaParameters.h"
#include "orcaShader.h"
#include "orcaVector.h"
#include "velaDomeImage.h"
#include "velaLatLong.h"

#include <shader.h>

#include <algorithm>
#include <numbers>
#include <optional>

/// Parameters of velaDomeLight, in declaration order.
struct VelaDomeLightParameters {
    miBoolean emitDiffuse;
    miBoolean emitSpecular;
    miScalar intensity;
    miBoolean useRayTraceShadows;
    miColor shadowColor;     // radiance in full shadow
    miInteger rayDepthLimit; // trace level from which on no shadows are traced
    miTag texture;           // image of all directions; none: the gradient of the three colours below
    miColor zenith;          // straight up
    miColor horizon;
    miColor ground;       // straight down
    miColor gain;         // multiplies both
    miScalar rotation;    // degrees about the up axis
    miInteger resolution; // cells around the horizon into which the image is averaged
};

namespace {

using P = VelaDomeLightParameters;

constexpr const char* name = "vela_domelight";
constexpr int mostColumns = 8192;
constexpr miScalar evenDensity = 0.25f / std::numbers::pi_v<float>; // over the solid angle of all directions

/// True when the renderer leaves the choice of directions to the light.
bool hasUserShape(miState* state) {
    miTag light = miNULLTAG;
    int shape = miLIGHT_NONE;
    return mi_query(miQ_INST_ITEM, nullptr, state->light_instance, &light) &&
           mi_query(miQ_LIGHT_AREA, nullptr, light, &shape) && shape == miLIGHT_USER;
}

class DomeLight {
public:
    DomeLight(miState* state, P* record) {
        if (const miTag texture = parameterValue(state, record, &P::texture); texture != miNULLTAG)
            image_.emplace(state, texture,
                           std::clamp(parameterValue(state, record, &P::resolution), 2, mostColumns));
    }
    void setLastCall(miState*, P*) noexcept {}

    miBoolean operator()(miColor* result, miState* state, P* record) const {
        return asLight(state, name, [&](VelabaseState& vela, const PassRecords& passes) -> miBoolean {
            if (state->type != miRAY_LIGHT) {
                const Seen seen = along(state, record);
                *result = seen.radiance * strength(state, record);
                vela.lightDensity = seen.density;
                return showLamp(*result, vela);
            }
            if (!hasUserShape(state)) {
                orcaWarning(std::string(name) + "(): the light needs the shape \"user\".");
                return miFALSE;
            }
            if (image_ && !image_->shines()) return miFALSE;
            const DomeImage::Sample sample = choose(state, record);
            miVector toward = latLongDirection(sample.u, sample.sine, rotation(state, record));
            mi_vector_from_world(state, &toward, &toward);
            state->dir = -toward;
            state->dist = 0.0; // from infinity
            state->dot_nd = dot(toward, state->normal);
            *result = withAlpha(sample.color * strength(state, record) * sample.weight, 1.0f);
            vela.lightDensity = 1.0f / (std::numbers::pi_v<float> * sample.weight);
            return deliverSample(*result, state, record, vela, passes, sample.weight);
        });
    }

private:
    /// The sample of the renderer's place.
    DomeImage::Sample choose(miState* state, P* record) const {
        const miVector& place = state->tex_list[0];
        if (image_) return image_->sample(place.x, place.y);
        const float sine = 2.0f * place.y - 1.0f;
        constexpr miScalar evenly = 1.0f / (evenDensity * std::numbers::pi_v<float>);
        return {place.x, sine, latLongGradient(state, record, sine), evenly};
    }

    /// What a ray sees of the dome, and the density over solid angle of the samples in its direction.
    struct Seen {
        miColor radiance;
        miScalar density;
    };
    Seen along(miState* state, P* record) const {
        miVector direction;
        mi_vector_to_world(state, &direction, &state->dir);
        direction = normalized(direction);
        if (!image_) return {latLongGradient(state, record, direction.y), evenDensity};
        const miColor& color = image_->at(latLongLocation(direction, rotation(state, record)));
        return {color, image_->density(color)};
    }

    static miScalar rotation(miState* state, P* record) {
        return parameterValue(state, record, &P::rotation);
    }
    static miColor strength(miState* state, P* record) {
        return parameterValue(state, record, &P::gain) * parameterValue(state, record, &P::intensity);
    }

    std::optional<DomeImage> image_; ///< none: the gradient
};

} // namespace

ORCA_EXPORT_SHADER(velaDomeLight, miColor, DomeLight, VelaDomeLightParameters, "velaDomeLight", 108)

#include "declared/velaDomeLight.h"
