// SPDX-License-Identifier: Apache-2.0
#include "scene_fixture.h"

#include <array>
#include <bit>

namespace orca::scene {
namespace {

std::string bigEndian(std::uint32_t word) {
    std::string bytes;
    for (int shift = 24; shift >= 0; shift -= 8) bytes += static_cast<char>(word >> shift);
    return bytes;
}
std::string bigEndian(float value) {
    return bigEndian(std::bit_cast<std::uint32_t>(value));
}

constexpr const char* materials = R"mi(
declare shader color "f" ( ) end declare
material "red" "f" ( ) end material
material "blue" "f" ( ) end material
)mi";

TEST(Polygons, SayHowFinelyTheyAreDisplaced) {
    const auto object = [](const std::string& flag, const std::string& statement) {
        return "object \"o\" visible trace " + flag + " group 0 0 0 4 0 0 4 4 0 v 0 v 1 v 2 p 0 1 2 " +
               statement + " end group end object\n";
    };
    const struct {
        std::string flag, statement;
        float edge;
        bool inView;
        int least, most;
    } cases[] = {{"", "approximate length 0.5", 0.5f, false, 0, -1},
                 {"", "approximate displace fine view length 2.5 1 7 \"g\"", 2.5f, true, 1, 7},
                 {"max displace 3", "approximate surface view length 1 0 3 approximate length 2 0 4", 2.0f,
                  false, 0, 4},
                 {"approximate view length 3 0 99", "approximate parametric 2 2", 3.0f, true, 0, 24}};
    for (const auto& c : cases) {
        SceneText text(object(c.flag, c.statement));
        ASSERT_EQ(text.errors(), "") << c.statement;
        const auto* element = text.find<ObjectElement>("o");
        ASSERT_TRUE(element->approximation) << c.statement;
        EXPECT_EQ(element->approximation->edge, c.edge);
        EXPECT_EQ(element->approximation->inView, c.inView);
        EXPECT_EQ(element->approximation->leastHalvings, c.least);
        EXPECT_EQ(element->approximation->mostHalvings, c.most);
        EXPECT_EQ(element->maxDisplacement, c.flag[0] == 'm' ? 3.0f : 0.0f);
    }
    SceneText text(
        "options \"opt\" approximate view length 8 0 9 all max displace 2 trace off end options\n" +
        object("", "approximate spatial view 0.1") +
        "instance \"i\" \"o\" approximate view length 3 hide off end instance\n"
        "instance \"j\" \"o\" approximate [ displace length 5 ] tag 2 end instance\n");
    ASSERT_EQ(text.errors(), "");
    EXPECT_EQ(text.find<InstanceElement>("i")->approximation->edge, 3.0f);
    EXPECT_EQ(text.find<InstanceElement>("j")->approximation->edge, 5.0f);
    EXPECT_EQ(text.find<OptionsElement>("opt")->approximation->edge, 8.0f);
    EXPECT_EQ(text.find<OptionsElement>("opt")->maxDisplacement, 2.0f);
    EXPECT_FALSE(text.find<OptionsElement>("opt")->options.trace);
    EXPECT_FALSE(text.find<ObjectElement>("o")->approximation);
}

TEST(Polygons, KeepLoopsPartsAndMaterials) {
    SceneText text(std::string(materials) + R"mi(
object "o" visible on shadow off trace shadow 1 reflection 2 face back tag 9
    box -1 -1 -1 1 1 1 motion box
    group "g" merge 0.1
        0 0 0  4 0 0  4 4 0  0 4 0    1 1 0  2 1 0  2 2 0    0 0 1   .1 .2 0  0.5 0 0
        v 0 n 7 t 8 t 9   v 1 n 7 t 8 t 9 8 9   v 2 n 7 t 8   v 3 d 1 2 m 9
        v 4  v 5  v 6
        c "red" 0 1 2 3 hole 4 5 6
        c "blue" 0 1 2
        p 1 2 3
        approximate parametric 1 2
    end group
end object
)mi");
    ASSERT_EQ(text.errors(), "");
    const auto* object = text.find<ObjectElement>("o");
    EXPECT_TRUE(object->object.visible);
    EXPECT_TRUE(object->object.shadow); // bit 0 of the mode, which came later, says that it casts
    EXPECT_TRUE(object->object.trace);
    EXPECT_EQ(object->object.shadow_mode, 1);
    EXPECT_EQ(object->object.reflection, 2);
    EXPECT_EQ(object->object.transparency, 3);
    EXPECT_EQ(object->face, std::optional<char>('b'));
    EXPECT_EQ(object->object.label, 9u);
    EXPECT_EQ(object->object.bbox_max.x, 4.0f);
    EXPECT_EQ(object->object.bbox_min.z, 0.0f);
    ASSERT_EQ(object->groups.size(), 1u);
    const PolygonGroup& group = object->groups[0];
    EXPECT_EQ(group.vectors.size(), 10u);
    EXPECT_EQ(group.normal, (std::vector<std::int32_t>{7, 7, 7, -1, -1, -1, -1}));
    ASSERT_EQ(group.textures.size(), 2u);
    EXPECT_EQ(group.textures[0].coordinate[2], 8);
    EXPECT_EQ(group.textures[1].coordinate, (std::vector<std::int32_t>{9, 9, -1, -1, -1, -1, -1}));
    EXPECT_EQ(group.textures[1].bumpY[1], 9);
    ASSERT_EQ(group.motions.size(), 1u);
    EXPECT_EQ(group.motions[0][3], 9);
    EXPECT_EQ(group.derivV[3], 2);
    ASSERT_EQ(group.polygons.size(), 3u);
    EXPECT_EQ(group.polygons[0].loopCount, 2u);
    EXPECT_FALSE(group.polygons[0].convex);
    EXPECT_EQ(group.loops[1].count, 3u);
    EXPECT_EQ(group.corners[group.loops[1].first], 4u);
    EXPECT_EQ(group.polygons[0].material, text.tag("red"));
    EXPECT_EQ(group.polygons[1].material, text.tag("blue"));
    EXPECT_TRUE(group.polygons[1].convex);
    EXPECT_EQ(group.polygons[2].material, miNULLTAG);
    EXPECT_EQ(object->triangleCount(), 7u + 1 + 1);
}

TEST(Polygons, TakeLabelsInTaggedObjectsAndBinaryVectors) {
    std::string scene = "object \"o\" visible tagged on group\n";
    // A newline and a backquote inside the bytes are data like any other.
    for (const std::uint32_t word : {0x0a0a0a0au, 0x60606060u, 0x3f800000u}) {
        scene.append("`")
            .append(bigEndian(word))
            .append(bigEndian(2.0f))
            .append(bigEndian(-3.0f))
            .append("`");
    }
    scene += "\nv 0 v 1 v 2 c 5 0 1 2\nend group end object\n";
    SceneText text(scene);
    ASSERT_EQ(text.errors(), "");
    const PolygonGroup& group = text.find<ObjectElement>("o")->groups[0];
    EXPECT_EQ(std::bit_cast<std::uint32_t>(group.vectors[1].x), 0x60606060u);
    EXPECT_EQ(group.vectors[2].x, 1.0f);
    EXPECT_EQ(group.vectors[2].z, -3.0f);
    EXPECT_EQ(group.polygons[0].label, 5);
}

TEST(TriangleLists, AreTheSameInTextAndBinary) {
    const char* text = R"mi(object "o" visible group
    trilist vertex 3 p n m 2 t 2 3 u 1 triangle 2 1
    [ 0 0 0  0 0 1  1 2 3 4 5 6  .5 .25  7 8 9  10
      1 0 0  0 0 1  1 2 3 4 5 6  .5 .25  7 8 9  11
      1 1 0  0 0 1  1 2 3 4 5 6  .5 .25  7 8 9  12 ]
    [ 0 1 2  2 1 0 ] [ 0 0 0 ]
    end trilist
end group end object)mi";
    SceneText ascii(text);
    ASSERT_EQ(ascii.errors(), "");
    ASSERT_EQ(ascii.find<ObjectElement>("o")->triangleLists.size(), 1u);
    const TriangleList& list = ascii.find<ObjectElement>("o")->triangleLists[0];
    EXPECT_EQ(list.layout.stride, 18);
    EXPECT_EQ(list.layout.normal, 3);
    EXPECT_EQ(list.layout.motion, 6);
    EXPECT_EQ(list.layout.motionCount, 2);
    EXPECT_EQ(list.layout.texture, (std::vector<int>{12, 14}));
    EXPECT_EQ(list.layout.textureDimension, (std::vector<int>{2, 3}));
    EXPECT_EQ(list.layout.user, std::vector<int>{17});
    EXPECT_EQ(list.vertices[2 * 18 + 17], 12.0f);
    EXPECT_EQ(list.indices, (std::vector<std::uint32_t>{0, 1, 2, 2, 1, 0}));

    std::string scalars, integers;
    for (const float value : list.vertices) scalars += bigEndian(value);
    for (const std::uint32_t index : list.indices) integers += bigEndian(index);
    SceneText binary("object \"o\" visible group trilist vertex 3 p n m 2 t 2 3 u 1 triangle 2\nscalar `" +
                     scalars + "`\ninteger `" + integers + "`\nend trilist end group end object\n");
    ASSERT_EQ(binary.errors(), "");
    EXPECT_EQ(binary.find<ObjectElement>("o")->triangleLists[0].vertices, list.vertices);
    EXPECT_EQ(binary.find<ObjectElement>("o")->triangleLists[0].indices, list.indices);

    EXPECT_EQ(SceneText("object \"o\" visible group trilist vertex 3 p triangle 1 scalar `" +
                        scalars.substr(0, 32) + "` integer `" + integers.substr(0, 12) +
                        "` end trilist end group end object\n")
                  .errors(),
              "test.mi:1:2: object \"o\", vertices of the trilist: 9 numbers are needed, but \"integer\" "
              "follows after 8\n");
    SceneText blocks("object \"o\" visible group trilist vertex 3 p triangle 1 [ `" + bigEndian(0.0f) +
                     bigEndian(1.0f) + bigEndian(2.0f) + "` 3 4 `" + bigEndian(5.0f) + "`\n`" +
                     bigEndian(6.0f) + bigEndian(7.0f) + bigEndian(8.0f) +
                     "` ] [ 0 1 2 ] end trilist end group end object\n");
    ASSERT_EQ(blocks.errors(), "");
    EXPECT_EQ(blocks.find<ObjectElement>("o")->triangleLists[0].vertices,
              (std::vector<float>{0, 1, 2, 3, 4, 5, 6, 7, 8}));
    SceneText tagged("object \"o\" visible tagged group trilist vertex 3 p triangle 2 [ 0 0 0 1 0 0 1 1 0 ] "
                     "[ 4 0 1 9 5 0 1 2 ]\n"
                     "end trilist end group end object");
    EXPECT_NE(tagged.errors(), ""); // of the first triangle alone
    EXPECT_EQ(tagged.find<ObjectElement>("o")->triangleLists[0].labels, std::vector<std::int32_t>{5});
}

TEST(Lights, AreOfTheKindThatTheirStatementsSay) {
    const std::pair<const char*, int> cases[] = {{"origin 0 0 0", miLIGHT_ORIGIN},
                                                 {"direction 0 0 -2", miLIGHT_DIRECTION},
                                                 {"direction 0 0 -2 spread 0.5", miLIGHT_DIRECTION},
                                                 {"origin 0 0 0 direction 0 0 -2", miLIGHT_ORIGIN},
                                                 {"origin 0 0 0 direction 0 0 -2 spread 0.5", miLIGHT_SPOT}};
    for (const auto& [statements, type] : cases) {
        SceneText text(materials + std::string("light \"l\" \"f\" ( ) ") + statements +
                       " rectangle 1 0 0 0 1 0 2 3 1 4 5 end light\n");
        ASSERT_EQ(text.errors(), "");
        const miLight& light = text.find<LightElement>("l")->light;
        EXPECT_EQ(light.type, type) << statements;
        if (type == miLIGHT_ORIGIN) continue;
        EXPECT_EQ(light.direction.z, -1.0f);
        EXPECT_EQ((std::array<long, 5>{light.samples_u, light.samples_v, light.low_level, light.low_samples_u,
                                       light.low_samples_v}),
                  (std::array<long, 5>{2, 3, 1, 4, 5}));
    }
}

TEST(Instances, ClearStatementsWhoseValueIsLeftOut) {
    SceneText text(std::string(materials) + R"mi(
object "o" visible group 0 0 0 1 0 0 1 1 0 v 0 v 1 v 2 c 0 1 2 end group end object
light "l" "f" ( ) origin 1 2 3 direction 0 0 -2 spread 0.5 end light
instance "li" "l" end instance
instance "i" "o"
    transform 2 0 0 0 0 2 0 0 0 0 2 0 0 0 0 1
    motion transform 1 0 0 0 0 1 0 0 0 0 1 0 1 0 0 1
    visible off shadow on shadow 2 refraction 1 face front override hide on
    light [ "li" ] light "shadow" "exclusive" [ "li" ] material [ "red", "blue" ]
end instance
)mi");
    ASSERT_EQ(text.errors(), "");
    EXPECT_EQ(text.find<LightElement>("l")->light.type, miLIGHT_SPOT);
    const auto* instance = text.find<InstanceElement>("i");
    EXPECT_FLOAT_EQ(instance->instance.tf.local_to_global[0], 0.5f);
    EXPECT_EQ(instance->motion, InstanceElement::Motion::Given);
    EXPECT_EQ(instance->motionTransform[12], 1.0f);
    EXPECT_EQ(instance->flags.shadow, std::optional<bool>(true));
    EXPECT_EQ(instance->flags.shadowMode, std::optional<int>(2));
    EXPECT_EQ(instance->flags.face, std::optional<char>('f'));
    EXPECT_TRUE(instance->overrides);
    EXPECT_TRUE(instance->hidden);
    EXPECT_FALSE(instance->lights.exclusive);
    EXPECT_TRUE(instance->shadowLights.exclusive);
    EXPECT_EQ(instance->materials, (std::vector<miTag>{text.tag("red"), text.tag("blue")}));
    ASSERT_TRUE(
        text.read("incremental instance \"i\" transform motion transform visible face light light shadow\n"
                  "material shadow hide off end instance"))
        << text.errors();
    EXPECT_NE(instance->instance.tf.identity, 0);
    EXPECT_EQ(instance->motion, InstanceElement::Motion::Inherited);
    EXPECT_FALSE(instance->flags.visible.has_value());
    EXPECT_FALSE(instance->flags.shadow.has_value());
    EXPECT_FALSE(instance->flags.shadowMode.has_value());
    EXPECT_EQ(instance->flags.refraction, std::optional<int>(1));
    EXPECT_FALSE(instance->flags.face.has_value());
    EXPECT_FALSE(instance->lights.given);
    EXPECT_FALSE(instance->shadowLights.given);
    EXPECT_TRUE(instance->materials.empty());
    EXPECT_FALSE(instance->hidden);
}

} // namespace
} // namespace orca::scene
