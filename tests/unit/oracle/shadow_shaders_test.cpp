// SPDX-License-Identifier: Apache-2.0
/// The shadow shaders against a second formulation, over random occluders and pass set-ups.
#include "material_scene.h"
#include "oracle/pipeline_oracle.h"
#include "orcaVelaFastShadow.h"
#include "orcaVelaShadow.h"

#include <algorithm>

namespace {

using reference::grey;
using reference::Random;
using reference::Rgba;
using reference::rgbWith;
using reference::V3;

constexpr double epsilon = 1e-5;

TEST(ShadowShaders, MatchTheReference) {
    Random random(3);
    for (int i = 0; i < 1500 && !::testing::Test::HasFailure(); ++i) {
        SCOPED_TRACE(i);
        const std::vector<ScenePass> records = {{PASS_BEAUTY, "a", FB_SHADOWED},
                                                {PASS_DIFFUSE, "b", FB_SHADOWED | FB_IGNORE_OBJECT_LINKS},
                                                {PASS_DIFFUSE, "c", FB_SHADOWED},
                                                {PASS_DIFFUSE, "d"},
                                                {PASS_SHADOW, "e"}};
        MaterialScene scene(records);
        ScriptedShader<VelaShadowParameters> shader;
        VelaShadowParameters& p = shader.parameters;
        if (random.chance(0.8f)) p.transparency = random.color(0.0f, 1.3f);
        p.attenuation = random.chance(0.5f) ? random.in(0.0f, 2.0f) : 0.0f;
        p.transparencyDepth = random.chance(0.5f) ? random.in(0.2f, 3.0f) : 0.0f;
        const bool fast = random.chance(0.2f), segments = random.chance(0.5f), alone = random.chance(0.7f);
        const bool noHit = !fast && random.chance(0.1f), noPasses = random.chance(0.05f);
        scene.renderer.options.shadow = segments ? miSHADOW_SEGMENTS : miSHADOW_SIMPLE;
        miState state = scene.renderer.derived(scene.renderer.state, miRAY_SHADOW);
        state.shader = &shader.function;
        state.normal = random.direction();
        state.dir = random.direction();
        state.dot_nd = random.in(-1.0f, 1.0f);
        state.dist = noHit ? 0.0 : static_cast<double>(random.in(0.1f, 4.0f));
        state.volume = 3;
        state.refraction_volume = 9;
        const std::string mask =
            random.chance(0.5f) ? std::string(1, "0123456789abcdef"[random.below(16)]) + "1" : "";
        if (!mask.empty()) state.instance = scene.renderer.database.addMaskedInstance(mask);
        const miColor further = random.color();
        const FilterFootprint footprint{random.direction(), random.direction()};
        scene.vela().footprint = footprint;
        shader.connect(&p.transparency);
        scene.renderer.evaluate = [&](miState*, void* parameter) {
            for (const miVector& size : {scene.vela().footprint.screen, scene.vela().footprint.texture})
                EXPECT_TRUE(size.x == 1e-8f && size.y == 1e-8f && size.z == 0.0f);
            return parameter;
        };
        int walked = 0;
        scene.renderer.traceShadowSegment = [&](miColor* color, miState* at) -> miBoolean {
            ++walked;
            EXPECT_EQ(at->refraction_volume, noHit ? 0u : 3u);
            *color = *color * further;
            return miTRUE;
        };
        std::vector<Rgba> passing;
        std::vector<bool> reached;
        for (int r = 0; r < 5; ++r) {
            reached.push_back(random.chance(0.8f));
            if (reached.back()) scene.record(r).flags |= FB_LIGHT_CONTRIBUTES;
            scene.record(r).shadowTransmission = random.chance(0.2f) ? BLACK : random.color();
            passing.emplace_back(scene.record(r).shadowTransmission);
        }
        std::vector<miColor*> transmissions;
        for (int r = 0; r < 5; ++r) transmissions.push_back(&scene.record(r).shadowTransmission);
        if (noPasses) scene.renderer.answer<int>(miQ_SAMPLE_PHASE, 2);
        miColor result = random.chance(0.1f) ? BLACK : random.color();

        // The reference.
        Rgba wanted = result;
        const bool walks = segments && alone && !fast;
        bool goesOn, walkedOn = false;
        const auto dark = [](Rgba c) { return c.r < epsilon && c.g < epsilon && c.b < epsilon; };
        if (noHit) {
            walkedOn = walks;
            if (walks) wanted = wanted * Rgba(further);
            goesOn = !dark(wanted);
        } else {
            Rgba c = fast ? Rgba{} : Rgba(p.transparency);
            if (!fast) {
                const double cosine = segments ? double{state.dot_nd} : dot(V3(state.normal), state.dir);
                c = rgbWith(c * std::max(0.0, 1 - (1 - std::abs(cosine)) * p.attenuation), c.a);
                if (segments && cosine < 0 && p.transparencyDepth != 0) {
                    const double t = std::min(1.0, state.dist / double{p.transparencyDepth}), alpha = c.a;
                    c = c * t + grey(1 - t);
                    c = {std::min(c.r, 1.0), std::min(c.g, 1.0), std::min(c.b, 1.0), alpha};
                }
            }
            const bool opaque = fast || dark(c);
            if (!opaque && walks) {
                walkedOn = true;
                wanted = wanted * Rgba(further);
            }
            wanted = opaque ? Rgba{} : wanted * rgbWith(c, 1);
            bool somePass = false;
            for (std::size_t r = 0; r < 5; ++r) {
                const unsigned flags = reference::flagsInRender(records[r].type, records[r].flags);
                if (noPasses || !(flags & FB_SHADOWED) || !reached[r]) continue;
                if (flags & FB_IGNORE_OBJECT_LINKS || reference::admits(mask, r)) passing[r] = passing[r] * c;
                somePass |= !dark(passing[r]);
            }
            goesOn = somePass || (!opaque && !dark(wanted));
        }

        const miBoolean answer = fast ? orcaVelaFastShadow(&result, &state)
                                      : orcaVelaShadow(&result, &state, &p, alone ? nullptr : &walked);
        EXPECT_EQ(answer != 0, goesOn);
        EXPECT_EQ(walked, walkedOn ? 1 : 0);
        EXPECT_TRUE(reference::agrees(result, wanted, 1e-4)) << result << " instead of " << wanted;
        for (std::size_t r = 0; r < 5; ++r)
            EXPECT_TRUE(reference::agrees(*transmissions[r], passing[r], 1e-4)) << r;
        EXPECT_EQ(scene.vela().footprint.screen.x, footprint.screen.x);
        EXPECT_EQ(scene.vela().footprint.texture.y, footprint.texture.y);
        EXPECT_EQ(scene.renderer.pinsHeld(), 0);
        scene.renderer.answer<int>(miQ_SAMPLE_PHASE, 1);
    }
}

} // namespace
