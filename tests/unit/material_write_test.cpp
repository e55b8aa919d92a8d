// SPDX-License-Identifier: Apache-2.0
#include "material_scene.h"
#include "orcaMaterial.h"

namespace {

struct WriteRecord {
    miInteger passWriteMode;
    miInteger passWriteFlags;
    miScalar passWriteScale;
};
struct NoHelper {};
using Writer = Material<WriteRecord, NoHelper>;

constexpr miColor held{0.5f, 0.25f, 2.0f, 1.0f};
constexpr miColor value{0.4f, 0.8f, 0.1f, 1.0f};
constexpr miColor light{0.5f, 1.0f, 0.0f, 1.0f};
constexpr miColor reference{1.0f, 1.0f, 0.5f, 1.0f};

/// A diffuse and a specular record that hold `held` and see `light`.
struct OneRecord {
    OneRecord() : scene({{PASS_DIFFUSE, "diffuse"}, {PASS_SPECULAR, "specular"}}) {
        scene.begin();
        getFrameBufferInfo(&scene.renderer.state, types, records);
        for (int i = 0; i < 2; ++i) {
            records[i].levelSlots[0].levelResult = held;
            records[i].levelSlots[0].levelMode = 0;
            records[i].lightColor = light;
            records[i].lightAccum = BLACK;
        }
    }
    template <class Value>
    miColor write(const WriteRecord& settings, const Value& v, bool useLight = false,
                  const miColor* ref = nullptr) {
        ScriptedShader<WriteRecord> shader(settings);
        scene.renderer.state.shader = &shader.function;
        const Writer writer(&scene.renderer.state, &shader.parameters);
        writer.writeToFrameBuffers(&scene.renderer.state, records, types, v, PASS_DIFFUSE, useLight, &ref);
        scene.renderer.state.shader = nullptr;
        EXPECT_EQ(records[1].levelSlots[0].levelResult, held); // another type's record
        return records[0].levelSlots[0].levelResult;
    }

    PassScene scene;
    PassTypeInfo* types = nullptr;
    FrameBufferInfo* records = nullptr;
};

TEST(MaterialWrite, WeighsByTheLightOrByWhatTheLightLacks) {
    EXPECT_EQ(OneRecord().write({3, 0, 1.0f}, value, true), value * light);
    EXPECT_EQ(OneRecord().write({3, 0, 1.0f}, value, true, &reference), value * (reference - light));
    // A reference without the light is no reason to weigh.
    EXPECT_EQ(OneRecord().write({3, 0, 1.0f}, value, false, &reference), value);
}

} // namespace
