// SPDX-License-Identifier: Apache-2.0
#include "velaMaterialParameters.h"
#include "velaMaterialShader.h"

#include "orcaColor.h"

#include <algorithm>

/// Parameters of velaSkinX, in declaration order.
struct VelaSkinXParameters : VelaMaterialParameters {
    miColor diffuseColor; // of what does not enter
    miScalar diffuse;
    miColor epidermalColor; // the upper layer
    miScalar epidermal;
    miScalar epidermalRadius; // scene units
    miColor subdermalColor;   // the blood below it
    miScalar subdermal;
    miScalar subdermalRadius;
    miColor backColor; // light through ears and nostrils
    miScalar back;
    miScalar backRadius;
    miInteger scatterSamples;
    miScalar primary; // two highlights: a wide one of skin and a narrow one of oil
    miScalar primaryRoughness;
    miScalar secondary;
    miScalar secondaryRoughness;
    miScalar specularIndex;
};

namespace vela {
namespace {

using P = VelaSkinXParameters;

class SkinLayers {
public:
    static constexpr const char* name = "vela_skinx";

    SkinLayers(miState* state, P* record, const miVector&) : state_(state), record_(record) {
        beginClosure(closure_, state, record);
        addMatter(addHighlights());
    }
    [[nodiscard]] const Closure& closure() const noexcept { return closure_; }
    [[nodiscard]] Effort effort() const { return effortOf(state_, record_); }

private:
    [[nodiscard]] miScalar value(miScalar P::*field) const { return parameterValue(state_, record_, field); }
    [[nodiscard]] miScalar part(miScalar P::*field) const { return share(state_, record_, field); }

    /// Returns what they leave. Oil lies on the skin.
    miColor addHighlights() {
        const miScalar atNormal = normalReflectance(std::max(1.0f, value(&P::specularIndex)));
        miColor left = withAlpha(WHITE, 0.0f);
        for (const auto& [level, roughness] : {std::pair(&P::secondary, &P::secondaryRoughness),
                                               std::pair(&P::primary, &P::primaryRoughness)}) {
            const miScalar strength = part(level);
            if (!(strength > 0.0f)) continue;
            const FacetLobe lobe(closure_.view, Roughness(value(roughness), 0.0f),
                                 {withAlpha(WHITE * atNormal, 0.0f), withAlpha(WHITE, 0.0f)});
            closure_.add(closure_.frame, lobe, left * strength, false, true);
            left = left * rest(lobe.albedo() * strength);
        }
        return left;
    }

    /// The layers' shares add up to at most what enters.
    void addMatter(const miColor& left) {
        const struct {
            miScalar P::*weight;
            miColor P::*color;
            miScalar P::*radius;
        } layers[] = {{&P::epidermal, &P::epidermalColor, &P::epidermalRadius},
                      {&P::subdermal, &P::subdermalColor, &P::subdermalRadius},
                      {&P::back, &P::backColor, &P::backRadius}};
        miScalar all = part(&P::diffuse);
        for (const auto& layer : layers) all += part(layer.weight);
        const miScalar scale = all > 1.0f ? 1.0f / all : 1.0f;
        closure_.diffuseColor = shareColor(state_, record_, &P::diffuseColor);
        closure_.diffuseLevel = left * (part(&P::diffuse) * scale);
        for (const auto& layer : layers) {
            const miScalar weight = part(layer.weight) * scale;
            if (!(weight > 0.0f)) continue;
            closure_.addScatter(left * weight, shareColor(state_, record_, layer.color),
                                WHITE * value(layer.radius),
                                parameterValue(state_, record_, &P::scatterSamples));
        }
    }

    miState* state_;
    P* record_;
    Closure closure_;
};

} // namespace
} // namespace vela

using SkinX = vela::MaterialShader<VelaSkinXParameters, vela::SkinLayers>;

ORCA_EXPORT_SHADER(velaSkinX, MaterialComponents, SkinX, VelaSkinXParameters, "velaSkinX", __LINE__)

#include "declared/velaSkinX.h"
