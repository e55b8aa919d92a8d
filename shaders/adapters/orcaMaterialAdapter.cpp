// SPDX-License-Identifier: Apache-2.0
#include "orcaMaterialAdapter.h"

#include "orcaComposite.h"
#include "orcaGuards.h"
#include "orcaNormalSpace.h"
#include "orcaSurfaceBump.h"
#include "orcaSurfaceInputs.h"
#include "orcaSurfacePasses.h"
#include "orcaTracing.h"
#include "orcaUtilities.h"

#include <algorithm>
#include <optional>
#include <string>

namespace {

using P = MaterialAdapterParameters;
using Writer = SurfacePassWriter<Material<P, ShaderHelper<P>>>;

/// A component before the opacity, which the records that are weighted by opacity apply.
miColor beforeOpacity(const miColor& component, const miColor& opacity) {
    const auto channel = [](float a, float b) { return b > 0.0f ? a / b : 0.0f; };
    return {channel(component.r, opacity.r), channel(component.g, opacity.g), channel(component.b, opacity.b),
            0.0f};
}

/// Memory for the result of a material, zeroed.
class ResultBuffer {
public:
    explicit ResultBuffer(int size) {
        if (size > static_cast<int>(sizeof local_)) large_.emplace("orcaMaterialAdapter", __LINE__, size);
    }
    /// Null: no memory.
    [[nodiscard]] char* get() noexcept { return large_ ? large_->get() : local_; }

private:
    alignas(16) char local_[1024]{};
    std::optional<RendererArray<char>> large_;
};

} // namespace

/// One shading call.
class MaterialAdapter::Call {
public:
    Call(const MaterialAdapter& adapter, miState* state, VelabaseState& vela, P* record)
        : adapter_(adapter),
          record_(record),
          call_(state, vela),
          writer_(adapter, call_, parameterValue(state, record, &P::writePasses) != 0) {}

    miBoolean operator()(SurfaceShaderReturnType& result) {
        miState* const state = call_.state;
        Listener listener(*this);
        {
            const Restored<ComponentListener*> outer(call_.vela.componentListener);
            if (state->type != miRAY_SHADOW) call_.vela.componentListener = &listener;
            if (!evaluate()) return miFALSE;
        }
        if (state->type == miRAY_SHADOW) {
            result.transparency = WHITE - withAlpha(parts_.opacity, 1.0f);
            return miTRUE;
        }
        bc_construct(&call_.composite, call_.vela.renderMode, state);
        nameTheRest();
        compose(result);
        writeMaterialColours();
        writeNormals();
        if (!listener.heard) writeLightSums();
        writeComponents(result, listener);
        call_.vela.surfaceOpacity = parts_.opacity;
        call_.vela.refractionsOn = miFALSE;
        call_.vela.refractedTransparency = BLACK;
        return miTRUE;
    }

private:
    struct Listener : ComponentListener {
        explicit Listener(Call& listening)
            : ComponentListener{listening.call_.state,
                                &listening.call_.passes,
                                listening.adapter_.passWriteMode,
                                listening.adapter_.passWriteFlags,
                                listening.adapter_.passWriteScale,
                                false,
                                BLACK,
                                [](ComponentListener& listener, const ComponentShares& shares) {
                                    static_cast<Listener&>(listener).call.writeSample(shares);
                                }},
              call(listening) {}
        Call& call;
    };

    bool evaluate() {
        miState* const state = call_.state;
        const miTag material = parameterValue(state, record_, &P::material);
        if (material == miNULLTAG) {
            readParameters();
            return true;
        }
        int size = 0;
        mi_query(miQ_DECL_RESULT_SIZE, state, material, &size);
        ResultBuffer buffer(size);
        if (!buffer.get()) return false;
        const miBoolean shaded = mi_call_shader_x(reinterpret_cast<miColor*>(buffer.get()), miSHADER_MATERIAL,
                                                  state, material, nullptr);
        parts_ = adapter_.members_.read(buffer.get());
        hasColor_ = adapter_.members_.hasColor();
        return shaded != miFALSE;
    }

    void readParameters() {
        parts_ = {};
        constexpr struct {
            miColor P::*parameter;
            miColor MaterialComponents::*component;
        } connections[] = {
            {&P::opacity, &MaterialComponents::opacity},
            {&P::ambient, &MaterialComponents::ambient},
            {&P::diffuse, &MaterialComponents::diffuse},
            {&P::indirect, &MaterialComponents::indirect},
            {&P::specular, &MaterialComponents::specular},
            {&P::reflection, &MaterialComponents::reflection},
            {&P::refraction, &MaterialComponents::refraction},
            {&P::translucence, &MaterialComponents::translucence},
            {&P::scatter, &MaterialComponents::scatter},
            {&P::emission, &MaterialComponents::emission},
            {&P::diffuseColor, &MaterialComponents::diffuseColor},
            {&P::specularColor, &MaterialComponents::specularColor},
            {&P::reflectionColor, &MaterialComponents::reflectionColor},
        };
        for (const auto& [parameter, component] : connections)
            parts_.*component = parameterValue(call_.state, record_, parameter);
        parts_.diffuseLevel = WHITE;
    }

    /// Of a material whose picture holds more than its components, the rest is emission, so that the
    /// components are the picture.
    void nameTheRest() {
        if (hasColor_) {
            const miColor all = parts_.ambient + parts_.diffuse + parts_.translucence + parts_.indirect +
                                parts_.scatter + highlights() + reflected() + parts_.refraction +
                                parts_.emission;
            const miColor rest = parts_.color - all;
            const auto beyondRounding = [](float part, float whole) {
                return std::abs(part) > 1e-5f * std::max(1.0f, std::abs(whole)) ? part : 0.0f;
            };
            parts_.emission += miColor{beyondRounding(rest.r, all.r), beyondRounding(rest.g, all.g),
                                       beyondRounding(rest.b, all.b), 0.0f};
        }
        diffuse_ = beforeOpacity(parts_.diffuse + parts_.translucence, parts_.opacity);
        indirect_ = beforeOpacity(parts_.indirect + parts_.scatter, parts_.opacity);
    }

    [[nodiscard]] miColor highlights() const { return parts_.specular + parts_.coat + parts_.sheen; }
    [[nodiscard]] miColor reflected() const { return parts_.reflection + parts_.coatReflection; }

    void compose(SurfaceShaderReturnType& result) {
        result = {};
        const miColor transparency = WHITE - withAlpha(parts_.opacity, 1.0f);
        result.transparency = withAlpha(transparency, luminance(transparency));
        CompositeInputs inputs{};
        const miColor scatter = beforeOpacity(parts_.scatter, parts_.opacity);
        const miColor refraction = parts_.refraction;
        inputs.ambient = beforeOpacity(parts_.ambient, parts_.opacity);
        inputs.incandescence = parts_.emission;
        inputs.indirect = beforeOpacity(parts_.indirect, parts_.opacity);
        inputs.diffuse = diffuse_;
        inputs.diffuseUnshadowed = beforeOpacity(parts_.diffuseUnshadowed, parts_.opacity);
        inputs.translucence = beforeOpacity(parts_.translucence, parts_.opacity);
        inputs.specular = highlights();
        inputs.specularUnshadowed = parts_.specularUnshadowed;
        inputs.refraction = &refraction;
        inputs.scatter = &scatter;
        inputs.reflection = reflected();
        inputs.transparency = transparency;
        inputs.matteRule = MATTE_OPACITY_GAIN;
        inputs.matteOpacity = 1.0f;
        bc_composite(&call_.composite, &result, &inputs);
        bc_destruct(&call_.composite);
    }

    // --- passes

    void writeMaterialColours() const {
        if (!writer_.writesComponents()) return;
        writer_.write(PASS_DIFFUSE_MATERIAL_COLOR,
                      parts_.diffuseColor * beforeOpacity(parts_.diffuseLevel, parts_.opacity));
        writer_.write(PASS_SPECULAR_MATERIAL_COLOR,
                      parts_.specularColor + parts_.coatColor + parts_.sheenColor);
        writer_.write(PASS_TRANSPARENCY, WHITE - parts_.opacity);
    }

    void writeNormals() const {
        if (!writer_.writes() || !writer_.has(PASS_NORMAL)) return;
        miState* const state = call_.state;
        const Restored<miVector> normal(state->normal);
        if (!isNull(parts_.normal)) state->normal = parts_.normal;
        for (FrameBufferInfo& record : call_.passes.of(PASS_NORMAL)) {
            TraceLevelSlot& slot = record.levelSlots[traceLevel(state)];
            if (closedToWrites(state, slot)) continue;
            miVector n = normalInSpace(state, record.userWord4);
            if (adapter_.passWriteFlags & WRITE_SCALED) n = n * adapter_.passWriteScale;
            combine(slot.levelResult.r, n.x, adapter_.passWriteMode);
            combine(slot.levelResult.g, n.y, adapter_.passWriteMode);
            combine(slot.levelResult.b, n.z, adapter_.passWriteMode);
        }
    }

    /// What one light sample adds, each record's by the light that it receives.
    void writeSample(const ComponentShares& shares) const {
        if (!writer_.writes()) return;
        if (call_.vela.lightData.isAmbient) writer_.writeLit(PASS_AMBIENT_IRRADIANCE, WHITE);
        if (shares.nDotL > 0.0f) {
            const miColor irradiance{shares.nDotL, shares.nDotL, shares.nDotL, 1.0f};
            for (const PassTypeID type :
                 {PASS_DIRECT_IRRADIANCE, PASS_DIRECT_IRRADIANCE_NO_SHADOW, PASS_RAW_SHADOW})
                writer_.writeLit(type, irradiance);
            writer_.writeLit(PASS_RAW_SHADOW_LUMINANCE, shares.nDotL);
        }
        if (!writer_.writesComponents()) return;
        const auto lit = [&](std::initializer_list<PassTypeID> types, const miColor& share) {
            if (isBlack(share)) return;
            for (const PassTypeID type : types) writer_.writeLit(type, withAlpha(share, 1.0f));
        };
        const miColor diffuse = shares.diffuse + shares.translucence;
        const miColor opaque = shares.opacity * (shares.ambient + diffuse);
        const miColor highlight = shares.opacity * shares.specular;
        lit({PASS_AMBIENT}, shares.ambient);
        lit({PASS_DIFFUSE, PASS_DIFFUSE_NO_SHADOW}, diffuse);
        lit({PASS_TRANSLUCENCE, PASS_TRANSLUCENCE_NO_SHADOW}, shares.translucence);
        lit({PASS_SPECULAR, PASS_SPECULAR_NO_SHADOW}, highlight);
        lit({PASS_SHADOW}, opaque);
        writer_.writeLit(PASS_SHADOW_LUMINANCE, luminance(opaque));
        lit({PASS_BEAUTY, PASS_BEAUTY_NO_REFLECTION_REFRACTION}, opaque + highlight);
    }

    /// Of a material that does not tell of its light samples: all records receive the light of all lamps,
    /// after shadows. Nothing is known of the light that shadows removed.
    void writeLightSums() const {
        if (!writer_.writes()) return;
        const miColor irradiance = beforeOpacity(parts_.diffuseRaw, parts_.opacity);
        writer_.write(PASS_DIRECT_IRRADIANCE, irradiance);
        writer_.write(PASS_DIRECT_IRRADIANCE_NO_SHADOW, irradiance);
        if (writer_.writesComponents()) {
            const miColor translucence = beforeOpacity(parts_.translucence, parts_.opacity);
            for (const PassTypeID type : {PASS_DIFFUSE, PASS_DIFFUSE_NO_SHADOW})
                writer_.write(type, diffuse_);
            for (const PassTypeID type : {PASS_TRANSLUCENCE, PASS_TRANSLUCENCE_NO_SHADOW})
                writer_.write(type, translucence);
            for (const PassTypeID type : {PASS_SPECULAR, PASS_SPECULAR_NO_SHADOW})
                writer_.write(type, highlights());
            for (const PassTypeID type : PICTURE_PASSES)
                writer_.write(type, parts_.diffuse + parts_.translucence + highlights());
            addUnhandedLight(call_.state, call_.passes, false, withAlpha(reflected(), 0.0f));
            addUnhandedLight(call_.state, call_.passes, true, withAlpha(parts_.refraction, 0.0f));
        }
    }

    /// @param listener has told which ambient light is no lamp's
    void writeComponents(const SurfaceShaderReturnType& result, const ComponentListener& listener) const {
        if (!writer_.writesComponents()) return;
        const miColor ambient = listener.heard ? listener.unlit : parts_.ambient;
        writer_.write(PASS_REFLECTED_MATERIAL_COLOR, parts_.reflectionColor + parts_.coatColor);
        writer_.write(PASS_REFLECTION, result.reflection);
        writer_.write(PASS_REFRACTION, result.refraction);
        writer_.write(PASS_INCANDESCENCE, result.incandescence);
        writer_.write(PASS_INDIRECT, indirect_);
        writer_.write(PASS_GLOW_SOURCE, result.glowColor);
        writer_.write(PASS_FACING_RATIO, facingRatio(call_.state));
        writer_.write(PASS_AMBIENT, beforeOpacity(ambient, parts_.opacity));
        writer_.write(PASS_LIGHT_SUM, luminance(parts_.diffuse + parts_.translucence + highlights()));
        const miColor beauty = parts_.indirect + parts_.scatter + ambient + result.incandescence;
        for (const PassTypeID type : PICTURE_PASSES) writer_.write(type, beauty);
    }

    const MaterialAdapter& adapter_;
    P* record_;
    ShadingCall call_;
    const Writer writer_;
    MaterialComponents parts_{};
    bool hasColor_ = false;
    miColor diffuse_{}, indirect_{}; ///< before the opacity
};

MaterialAdapter::MaterialAdapter(miState* state, Record* record, const char* name)
    : Material(state, record), name_(name), members_(state, parameterValue(state, record, &P::material)) {
    const miTag material = parameterValue(state, record, &P::material);
    if (material != miNULLTAG && members_.empty())
        orcaWarning(std::string(name_) + "(): the result of the material has no component of a known name.");
}

miBoolean MaterialAdapter::operator()(SurfaceShaderReturnType* result, miState* state, Record* record) const {
    VelabaseState* const vela = velabaseState(state);
    if (!vela) {
        orcaWarning(std::string(name_) + "(): Internal state error.");
        return miFALSE;
    }
    return Call(*this, state, *vela, record)(*result);
}
