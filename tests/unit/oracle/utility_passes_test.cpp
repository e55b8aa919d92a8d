// SPDX-License-Identifier: Apache-2.0
/// The eight utility passes, value by value, and what keeps them from writing.
#include "oracle/reference.h"
#include "pass_scene.h"

#include <algorithm>
#include <functional>

extern "C" {
#define UTILITY_PASS(name)                                                                                   \
    void orcaPass##name##_init(miState*, void*, miBoolean*);                                                 \
    void orcaPass##name##_exit(miState*, void*);                                                             \
    miBoolean orcaPass##name(void*, miState*, void*);
UTILITY_PASS(AmbientOcclusion)
UTILITY_PASS(CameraDepth)
UTILITY_PASS(Coverage)
UTILITY_PASS(IncidenceCameraNormal)
UTILITY_PASS(MotionVector2D)
UTILITY_PASS(MotionVector2DNormalized)
UTILITY_PASS(MotionVector3D)
UTILITY_PASS(Normal)
}

namespace {

using reference::Random;
using reference::V3;

/// A record of any of the passes: what all have, then up to five words of its
/// own.
struct Record {
    miInteger passIndex = 1, contributionIndex = 5;
    union Word {
        float f;
        int i;
    } own[5]{};
};

/// A hit, and what the renderer says of it.
struct Hit {
    V3 point, normal, motion, ray;
    float zoom, aspect, occlusion;
    int width, height;
    bool camera;
};

using Value = std::array<double, 4>;

double clamped(double v, double low, double high) {
    return low > v ? low : v < high ? v : high; // the upper one for what is no number
}
double remapped(double v, double in0, double in1, double out0, double out1) {
    return clamped((v - in0) / (in1 - in0) * (out1 - out0) + out0, out0, out1);
}
V3 inCamera(V3 p) {
    return reference::inTurned(1, p) - V3{0, 0, 6};
}
V3 rasterMotion(const Hit& hit) {
    const auto raster = [&](V3 p) {
        const V3 c = inCamera(p);
        const float width = static_cast<float>(hit.width), height = static_cast<float>(hit.height);
        return V3{width * hit.zoom * c.x / -c.z, height * hit.zoom * hit.aspect * c.y / -c.z, 0};
    };
    V3 d = raster(hit.point + hit.motion) - raster(hit.point);
    if (hit.camera) d.x *= hit.aspect / (double(hit.width) / hit.height);
    return d;
}

struct Pass {
    const char* name;
    void (*init)(miState*, void*, miBoolean*);
    void (*exit)(miState*, void*);
    miBoolean (*call)(void*, miState*, void*);
    int channels;
    std::function<void(Record&, Random&)> parameters;
    std::function<Value(const Hit&, const Record&)> value;
};
#define PASS(name) #name, orcaPass##name##_init, orcaPass##name##_exit, orcaPass##name

const auto none = [](Record&, Random&) {};

const Pass passes[] = {
    {PASS(CameraDepth), 1,
     [](Record& r, Random& random) {
         r.own[0].i = random.below(3);
         for (int i = 1; i < 5; ++i) r.own[i].f = random.in(0.0f, 9.0f);
     },
     [](const Hit& hit, const Record& r) -> Value {
         const double d = length(inCamera(hit.point));
         if (r.own[0].i == 0) return {d};
         const double nearest = std::min(r.own[1].f, r.own[2].f), least = std::min(r.own[3].f, r.own[4].f);
         return {remapped(d, nearest, r.own[2].f, least, r.own[4].f)};
     }},
    {PASS(Coverage), 1, none, [](const Hit&, const Record&) -> Value { return {1}; }},
    {PASS(IncidenceCameraNormal), 1, none,
     [](const Hit& hit, const Record&) -> Value {
         const double facing = -dot(hit.normal, hit.ray);
         return {facing < 0 ? 1 : 1 - facing};
     }},
    {PASS(Normal), 3, [](Record& r, Random& random) { r.own[0].i = random.below(4); },
     [](const Hit& hit, const Record& r) -> Value {
         const V3 n = reference::inTurned(static_cast<unsigned>(r.own[0].i), hit.normal);
         return {n.x, n.y, n.z};
     }},
    {PASS(MotionVector3D), 3, none,
     [](const Hit& hit, const Record&) -> Value {
         return {hit.motion.x, hit.motion.y, hit.motion.z};
     }},
    {PASS(MotionVector2D), 3, none,
     [](const Hit& hit, const Record&) -> Value {
         const V3 d = rasterMotion(hit);
         return {d.x, d.y, 0};
     }},
    {PASS(MotionVector2DNormalized), 3,
     [](Record& r, Random& random) {
         r.own[0].i = random.below(2);
         r.own[1].f = random.in(-1.0f, 0.5f);
         r.own[2].f = r.own[1].f + random.in(0.1f, 2.0f);
         r.own[3].f = random.in(1.0f, 30.0f);
         r.own[4].i = random.below(2);
     },
     [](const Hit& hit, const Record& r) -> Value {
         const V3 d = rasterMotion(hit);
         const double m = r.own[0].i == 0 ? double{r.own[3].f}
                          : hit.camera    ? std::max(hit.width, hit.height)
                                          : 256.0;
         const double x = remapped(d.x, -m, m, r.own[1].f, r.own[2].f);
         const double y = remapped(d.y, -m, m, r.own[1].f, r.own[2].f);
         return {x, y, r.own[4].i ? std::hypot(x, y) : 0};
     }},
    {PASS(AmbientOcclusion), 4, none,
     [](const Hit& hit, const Record&) -> Value {
         const double v = std::min(1.0, 1.0 - hit.occlusion);
         return v == 0 ? Value{} : Value{v, v, v, 1};
     }},
};

constexpr miColor untouched{-7.0f, -8.0f, -9.0f, -10.0f};

/// Two utility buffers; the pass under test feeds the second.
class UtilityScene : public PassScene {
public:
    UtilityScene(const Pass& inPass, const Record& record, const Hit& hit)
        : PassScene({{PASS_BEAUTY, "beauty"}}, {"other", "wanted"}, PASS_TYPE_COUNT, inPass.channels),
          pass(inPass),
          shader(record) {
        begin();
        buffer_ = buffer("wanted");
        renderer.frameBuffers.value(buffer_) = untouched;
        renderer.frameBuffers.value(buffer("other")) = untouched;
        reference::turnSpaces(renderer, 6);
        renderer.camera.focal = hit.zoom;
        renderer.camera.aspect = hit.aspect;
        renderer.camera.x_resolution = hit.width;
        renderer.camera.y_resolution = hit.height;
        miState& state = renderer.state;
        state.point = hit.point.single();
        state.normal = hit.normal.single();
        state.motion = hit.motion.single();
        state.dir = hit.ray.single();
        state.dot_nd = static_cast<float>(dot(hit.normal, hit.ray));
        state.shader = &shader.function;
        renderer.ambientOcclusion = [&, hit](miScalar* occlusion, miState* s, miAo_options* o) -> miBoolean {
            EXPECT_TRUE(o->size == 40 && o->rays == -1 && o->axis.y == state.normal.y && o->mode == -1);
            EXPECT_TRUE(o->spread == -2 && o->scale == 1 && o->near_dist == -1 && o->max_dist == -1);
            s->dir = s->normal = {9.0f, 9.0f, 9.0f}; // as a renderer may leave them
            *occlusion = hit.occlusion;
            return miTRUE;
        };
        miBoolean required = miFALSE;
        pass.init(&state, &shader.parameters, &required);
        if (!hit.camera) state.camera = nullptr;
    }
    ~UtilityScene() {
        renderer.state.shader = &shader.function;
        renderer.state.camera = &renderer.camera;
        pass.exit(&renderer.state, &shader.parameters);
        stateShader(miSHADERSTATE_STATE_EXIT);
    }
    /// What the buffer holds after a call.
    Value run() {
        EXPECT_EQ(pass.call(nullptr, &renderer.state, &shader.parameters), miTRUE);
        EXPECT_EQ(renderer.pinsHeld(), 0);
        EXPECT_EQ(renderer.frameBuffers.value(buffer("other")).r, untouched.r);
        const miColor c = renderer.frameBuffers.value(buffer_);
        return {c.r, c.g, c.b, c.a};
    }

    const Pass& pass;
    ScriptedShader<Record> shader;

private:
    int buffer_ = 0;
};

Hit randomHit(Random& random) {
    Hit hit{
        V3(random.direction()) * 2.0, random.direction(),     V3(random.direction()) * random.in(0.0f, 0.7f),
        random.direction(),           random.in(0.5f, 2.0f),  random.in(0.5f, 2.0f),
        random.in(-0.2f, 1.0f),       50 + random.below(200), 50 + random.below(200),
        random.chance(0.8f)};
    if (random.chance(0.1f)) hit.motion = {};
    if (random.chance(0.1f)) hit.occlusion = 1.0f;
    return hit;
}

class UtilityPass : public ::testing::TestWithParam<Pass> {};

TEST_P(UtilityPass, WritesItsValueForEyeRaysOfAdmittedObjects) {
    const Pass& pass = GetParam();
    Random random(4);
    for (int i = 0; i < 60; ++i) {
        SCOPED_TRACE(i);
        const Hit hit = randomHit(random);
        Record record;
        pass.parameters(record, random);
        UtilityScene scene(pass, record, hit);
        constexpr const char* masks[] = {nullptr, "", "02", "fd"}; // of these only the last excludes pass 5
        const int mask = random.below(4);
        if (mask != 0) scene.renderer.state.instance = scene.renderer.database.addMaskedInstance(masks[mask]);
        const miVector before = scene.renderer.state.normal;
        const Value actual = scene.run(), wanted = pass.value(hit, record);
        for (std::size_t k = 0; k < static_cast<std::size_t>(pass.channels); ++k)
            EXPECT_TRUE(reference::agrees(actual[k], mask == 3 ? (&untouched.r)[k] : wanted[k]))
                << k << ": " << actual[k] << " instead of " << wanted[k];
        EXPECT_EQ(scene.renderer.state.normal.x, before.x);
        EXPECT_EQ(scene.renderer.state.dir.x, hit.ray.single().x);
    }
}

TEST_P(UtilityPass, LeavesTheBufferToOtherRaysAndPhases) {
    const Pass& pass = GetParam();
    Random random(5);
    const bool occlusion = std::string(pass.name) == "AmbientOcclusion";
    for (const int ray : {miRAY_EYE, miRAY_REFLECT, miRAY_REFRACT, miRAY_SHADOW})
        for (const int phase : {0, 1, 2, 4}) {
            Record record;
            UtilityScene scene(pass, record, randomHit(random));
            scene.renderer.state.type = static_cast<miRay_type>(ray);
            scene.renderer.answer<int>(miQ_SAMPLE_PHASE, phase);
            scene.run();
            const bool writes = ray == miRAY_EYE && (phase == 1 || (occlusion && phase == 4));
            EXPECT_EQ(scene.renderer.frameBuffers.putCount() > 0, writes) << ray << ' ' << phase;
        }
}

INSTANTIATE_TEST_SUITE_P(All, UtilityPass, ::testing::ValuesIn(passes),
                         [](const auto& test) { return std::string(test.param.name); });

} // namespace
