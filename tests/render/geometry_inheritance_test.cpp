// SPDX-License-Identifier: Apache-2.0
#include "render/geometry_fixture.h"

#include <functional>

namespace {

using namespace orca;
using geometry::RayClass;
using test::Geometry;
using test::placedAt;

constexpr std::uint8_t bit(RayClass rayClass) {
    return static_cast<std::uint8_t>(1u << static_cast<unsigned>(rayClass));
}
constexpr std::uint8_t eye = bit(RayClass::Eye), transparent = bit(RayClass::Transparent),
                       reflect = bit(RayClass::Reflect), refract = bit(RayClass::Refract),
                       shadow = bit(RayClass::Shadow), gather = bit(RayClass::Gather),
                       traced = transparent | reflect | refract | gather, all = eye | shadow | traced;

/// An object below an inner and an outer instance.
struct FlagCase {
    const char* name;
    std::uint8_t visibleTo;
    std::function<void(miObject&)> object = [](miObject&) {};
    scene::InstanceFlags inner = {}, outer = {};
    bool overrides = false; ///< the outer instance
    friend void PrintTo(const FlagCase& flags, std::ostream* out) { *out << flags.name; }
};
class RayVisibility : public ::testing::TestWithParam<FlagCase> {};

TEST_P(RayVisibility, FollowsTheInstanceClosestToTheObject) {
    Geometry scene;
    auto& object = scene.square("square");
    auto& inner = scene.instance("inner", object);
    auto& outer = scene.instance("outer", scene.group("group", {&inner}));
    GetParam().object(object.object);
    inner.flags = GetParam().inner;
    outer.flags = GetParam().outer;
    outer.overrides = GetParam().overrides;
    scene.build(scene.group("root", {&outer}));
    for (int i = 0; i < geometry::rayClassCount; ++i) {
        geometry::Ray ray{{0, 0, 5}, {0, 0, -1}};
        ray.rayClass = static_cast<RayClass>(i);
        const bool expected = (GetParam().visibleTo & bit(ray.rayClass)) != 0;
        EXPECT_EQ(scene.look(ray).has_value(), expected) << "ray class " << i;
        EXPECT_EQ(scene.built->occluded(ray), expected) << "ray class " << i;
    }
}

using Flags = scene::InstanceFlags;
template <class Value>
Flags with(std::optional<Value> Flags::*flag, Value value) {
    Flags flags;
    flags.*flag = value;
    return flags;
}
constexpr auto asItIs = [](miObject&) {};

INSTANTIATE_TEST_SUITE_P(
    All, RayVisibility,
    ::testing::Values(
        FlagCase{"all on", all}, //
        FlagCase{"object not visible", shadow | traced, [](miObject& o) { o.visible = 0; }},
        FlagCase{"object not traced", eye | shadow, [](miObject& o) { o.trace = 0; }},
        FlagCase{"object without shadow", eye | traced, [](miObject& o) { o.shadow = 0; }},
        FlagCase{"object only receives shadows", all & ~shadow, [](miObject& o) { o.shadow_mode = 2; }},
        FlagCase{"not seen through glass", all & ~transparent, [](miObject& o) { o.transparency = 2; }},
        FlagCase{"nothing left", 0, [](miObject& o) { o.visible = o.trace = o.shadow = 0; }},
        FlagCase{"instance overrules object", all, [](miObject& o) { o.visible = 0; },
                 with(&Flags::visible, true)},
        FlagCase{"inner overrules outer", all, asItIs, with(&Flags::visible, true),
                 with(&Flags::visible, false)},
        FlagCase{"outer with override wins", shadow | traced, asItIs, with(&Flags::visible, true),
                 with(&Flags::visible, false), true},
        FlagCase{"override holds only for what is given",
                 eye | traced,
                 asItIs,
                 with(&Flags::shadow, false),
                 {},
                 true},
        FlagCase{"not reflected", all & ~reflect, asItIs, with(&Flags::reflection, 2)},
        FlagCase{"not refracted", all & ~refract, asItIs, {}, with(&Flags::refraction, 0)},
        FlagCase{"receives shadows only", all & ~shadow, asItIs, with(&Flags::shadowMode, 2)},
        FlagCase{"a firm no is not undone below", all & ~reflect, asItIs, with(&Flags::reflection, 3),
                 with(&Flags::reflection, 4)}));

TEST(Inheritance, SendingModesReachTheLeafAndItsRecord) {
    Geometry scene;
    auto& inner = scene.instance("inner", scene.square("square"));
    inner.flags.reflection = 1;
    inner.flags.shadowMode = 1;
    const auto& geometry = scene.build(scene.group("root", {&inner}));
    const auto& meshInstance = geometry.meshInstances()[0];
    EXPECT_FALSE(meshInstance.sendsReflections);
    EXPECT_TRUE(meshInstance.sendsRefractions);
    EXPECT_FALSE(meshInstance.receivesShadows);
    EXPECT_EQ(inner.instance.reflection, 1);
    EXPECT_EQ(inner.instance.shadow, 1);
    EXPECT_EQ(inner.instance.visible, 1);
}

TEST(Inheritance, FacesAreHiddenByObjectInstanceOrOptions) {
    struct Case {
        char object, instance, options;
        bool front, back;
    };
    for (const Case& face :
         {Case{0, 0, 'a', true, true}, Case{0, 0, 'f', true, false}, Case{'b', 0, 'f', false, true},
          Case{'b', 'f', 'a', true, false}, Case{'f', 'a', 'b', true, true}})
        for (const bool twice : {false, true})
            for (const bool mirrored : {false, true}) {
                Geometry scene;
                scene.options.face = face.options;
                auto& object = scene.square("square");
                if (face.object) object.face = face.object;
                // Mirrored in x, the square still shows its front to +z.
                auto& one = scene.instance("one", object, test::scaledBy(mirrored ? -1.0f : 1.0f, 1, 1));
                if (face.instance) one.flags.face = face.instance;
                auto& root = scene.group("root", {&one});
                if (twice) root.members.push_back(scene.instance("far", object, placedAt(50, 0, 0)).tag);
                scene.build(root);
                EXPECT_EQ(scene.look({0.5f, 0, 5}, {0, 0, -1}).has_value(), face.front);
                EXPECT_EQ(scene.look({0.5f, 0, -5}, {0, 0, 1}).has_value(), face.back);
                EXPECT_EQ(scene.built->occluded({{0.5f, 0, 5}, {0, 0, -1}}), face.front);
            }
}

class InheritedMaterial : public ::testing::Test {
protected:
    Geometry scene;
    scene::ObjectElement& object = scene.square("square");
    scene::InstanceElement& inner = scene.instance("inner", object);
    scene::InstanceElement& outer = scene.instance("outer", scene.group("group", {&inner}));
    miTag red = scene.material("red").tag, green = scene.material("green").tag,
          blue = scene.material("blue").tag;

    miTag seen() {
        scene.build(scene.group("root", {&outer}));
        return scene.lookDownAt(0, 0)->surface.material;
    }
};

TEST_F(InheritedMaterial, ComesFromThePolygonThenTheClosestInstance) {
    outer.materials = {red};
    EXPECT_EQ(seen(), red);
    inner.materials = {green};
    EXPECT_EQ(seen(), green);
    object.groups[0].polygons[0].material = blue;
    EXPECT_EQ(seen(), blue);
    EXPECT_EQ(inner.instance.material, green);
    outer.overrides = true;
    EXPECT_EQ(seen(), red) << "an overriding instance replaces polygon materials too";
}

TEST_F(InheritedMaterial, LabelsIndexTheListAndStopAtItsEnd) {
    inner.materials = {red, green, blue};
    for (const auto& [label, material] : {std::pair{0, red}, {1, green}, {2, blue}, {9, blue}}) {
        object.groups[0].polygons[0].label = label;
        EXPECT_EQ(seen(), material) << label;
    }
}

TEST_F(InheritedMaterial, NoneGivesTheDefaultWithOneWarning) {
    const miTag material = seen();
    EXPECT_EQ(material, scene.built->defaultMaterial());
    EXPECT_TRUE(scene.logged(LogLevel::Warning, "object \"square\" (instance \"inner\") has no material"));
    EXPECT_NE(scene.database.find<scene::MaterialElement>(material), nullptr);
}

class LightLinks : public ::testing::Test {
protected:
    Geometry scene;
    scene::InstanceElement &key = scene.light("key"), &fill = scene.light("fill"), &rim = scene.light("rim");
    scene::InstanceElement& meshInstance = scene.instance("leaf", scene.square("square"));
    scene::InstanceElement& outer = scene.instance("outer", scene.group("group", {&meshInstance}));
    scene::GroupElement& pair = scene.group("pair", {&fill, &rim});
    scene::InstanceElement& pairInstance = scene.instance("pair instance", pair, placedAt(0, 5, 0));

    const geometry::MeshInstance& build() {
        scene.build(scene.group("root", {&key, &outer, &pairInstance}));
        return scene.built->meshInstances()[0];
    }
    std::vector<miTag> lights() {
        const auto& placed = build();
        const auto list = scene.built->lightsOf(placed);
        return {list.begin(), list.end()};
    }
};

TEST_F(LightLinks, DecideWhichLightsIlluminate) {
    EXPECT_EQ(lights(), (std::vector{key.tag, fill.tag, rim.tag}));
    outer.lights = {true, false, {rim.tag, key.tag}};
    EXPECT_EQ(lights(), (std::vector{rim.tag, key.tag})) << "inclusive: in the order of the list";
    meshInstance.lights = {true, true, {rim.tag}};
    EXPECT_EQ(lights(), (std::vector{key.tag, fill.tag}))
        << "exclusive, and the instance closest to the leaf decides";
    meshInstance.lights = {true, false, {pair.tag, rim.tag}};
    EXPECT_EQ(lights(), (std::vector{fill.tag, rim.tag})) << "a group stands for its lights, each once";
    meshInstance.lights = {true, true, {pairInstance.tag}};
    EXPECT_EQ(lights(), (std::vector{key.tag}));
    meshInstance.lights = {true, false, {}};
    EXPECT_TRUE(lights().empty());
    EXPECT_EQ(fill.instance.tf.local_to_global[13], 5.0f);
    fill.hidden = true;
    meshInstance.lights = {true, false, {pair.tag}};
    EXPECT_EQ(lights(), std::vector{rim.tag});
    EXPECT_FALSE(scene.logged(LogLevel::Warning, "light list"));
}

TEST_F(LightLinks, DecideWhichShadowsAreCast) {
    const auto casts = [&] {
        const auto& placed = build();
        return std::array{scene.built->castsShadowOf(placed, key.tag),
                          scene.built->castsShadowOf(placed, fill.tag),
                          scene.built->castsShadowOf(placed, rim.tag)};
    };
    EXPECT_EQ(casts(), (std::array{true, true, true}));
    outer.shadowLights = {true, false, {fill.tag}};
    EXPECT_EQ(casts(), (std::array{false, true, false}));
    meshInstance.shadowLights = {true, true, {fill.tag}};
    EXPECT_EQ(casts(), (std::array{true, false, true}));
}

TEST_F(LightLinks, ListedLightThatStandsNowhereIsNamed) {
    auto& lost = scene.light("lost");
    meshInstance.lights = {true, false, {lost.tag, key.tag}};
    EXPECT_EQ(lights(), (std::vector{key.tag}));
    EXPECT_TRUE(scene.logged(LogLevel::Warning, "\"lost\" is in a light list but not below"));
}

} // namespace
