// SPDX-License-Identifier: Apache-2.0
#include "build_paths.h"
#include "scene_fixture.h"

#include <array>
#include <cstddef>
#include <cstdio>
#include <cstring>
#include <memory>
#include <sstream>

namespace orca::scene {
namespace {

/// The record that a shader writer declares for the block below.
struct EveryType {
    miBoolean flag;
    miInteger count;
    miScalar size;
    miTag text;
    miVector direction;
    miMatrix matrix;
    miColor tint;
    miTag colorTexture, scalarTexture, vectorTexture, anyTexture;
    miTag light, material, geometry, profile, data, spectrum, shader;
    struct Inner {
        miScalar first;
        struct Deep {
            miVector vector;
            miBoolean flag;
        } deep;
        int i_list, n_list;
        miColor list[1];
    } inner;
    int i_items, n_items;
    struct Item {
        miInteger id;
        int i_weights, n_weights;
        miScalar weights[1];
    } items[1];
    miScalar last;
};

constexpr const char* everyTypeScene = R"mi(
declare shader "plain" ( ) version 1 end declare
declare data "note" ( string "text" ) end declare
declare shader scalar "every" (
    boolean "flag" default on, integer "count" default -3, scalar "size" default 2, string "text" default "hello",
    vector "direction" default 1 2 3, transform "matrix" default 1 0 0 0 0 1 0 0 0 0 1 0 7 8 9 1,
    color "tint" default .1 .2 .3,
    color texture "ct", scalar texture "st", vector texture "vt", texture "any",
    light "light", material "material", geometry "geometry", lightprofile "profile", data "data",
    spectrum "spectrum", shader "shader",
    struct "inner" { scalar "first" default 4, struct "deep" { vector "vector", boolean "flag" default true },
                     array color "list" },
    array struct "items" { integer "id" default 5, array scalar "weights" },
    scalar "last"
) version 3 apply texture, material trace on shadow segments derivative 1 2 end declare

color texture "ct1" [ 2 1 ] '00ff00ff' 'FF00FF00'
scalar texture "st1" "file.tif"
local filter 2.5 vector texture "vt1" "plain" ( )
light "l" "plain" ( ) origin 0 0 0 end light
instance "li" "l" end instance
material "m" "plain" ( ) end material
object "o" visible group 0 0 0 1 0 0 0 1 0 v 0 v 1 v 2 c 0 1 2 end group end object
lightprofile "lp" format ies file "x.ies" end lightprofile
data "d" "note" ( "text" "n" ) end data
spectrum "sp" 1 2 [ 3 "x" ] end spectrum
shader "s" "plain" ( )

shader "defaults" "every" ( )
shader "given" "every" (
    "last" 11, "flag" 0, "count" 12, "size" 13, "text" "world", "direction" 4 5 6, "tint" 1 2 3 4,
    "matrix" 0 1 2 3 4 5 6 7 8 9 10 11 12 13 14 15,
    "ct" "ct1", "st" "st1", "vt" "vt1", "any" "st1", "light" "li", "material" "m", "geometry" "o", "profile" "lp",
    "data" "d", "spectrum" "sp", "shader" "s",
    "inner" { "deep" { "vector" 1 1 1 }, "list" [ 1 2 3, 4 5 6 7, ] },
    "items" [ { "id" 1, "weights" [ 0.5 ] }, { "weights" [ 1, 2, 3 ] }, { } ]
)
)mi";

/// Element k of an array: storage + start + k, far beyond the one element that the record's type shows.
template <class T>
const T& element(const T* storage, int start, int k) {
    return storage[start + k];
}

class EveryParameterType : public ::testing::Test {
protected:
    const EveryType* record(const char* name) {
        return reinterpret_cast<const EveryType*>(text.find<FunctionElement>(name)->function()->parameters);
    }
    std::string string(miTag tag) { return text.scene.database().find<StringElement>(tag)->text; }
    SceneText text{everyTypeScene};
};

TEST_F(EveryParameterType, StandsInADeclarationThatSaysWhatItNeeds) {
    ASSERT_EQ(text.errors(), "");
    Database& database = text.scene.database();
    const auto* declaration = database.find<DeclarationElement>(database.declaration("every"));
    EXPECT_EQ(declaration->fixedSize, static_cast<int>(sizeof(EveryType)));
    EXPECT_EQ(declaration->version, 3);
    EXPECT_EQ(declaration->result.type, miTYPE_SCALAR);
    EXPECT_EQ(declaration->requirements.trace, std::optional<bool>(true));
    EXPECT_EQ(declaration->requirements.shadow, std::optional<char>('s'));
    EXPECT_EQ(declaration->apply, (std::vector<std::string>{"texture", "material"}));
}

TEST_F(EveryParameterType, TakesItsDefaultAlsoInsideStructs) {
    ASSERT_EQ(text.errors(), "");
    const EveryType* defaults = record("defaults");
    EXPECT_EQ(string(defaults->text), "hello");
    EXPECT_EQ(defaults->matrix[14], 9.0f);
    EXPECT_EQ(defaults->tint.b, 0.3f);
    EXPECT_EQ(defaults->tint.a, 0.0f);
    EXPECT_EQ(defaults->light, miNULLTAG);
    EXPECT_EQ(defaults->inner.deep.flag, 1);
    EXPECT_EQ(defaults->n_items, 0);
}

TEST_F(EveryParameterType, StoresWhatTheSceneGivesInAnyOrder) {
    ASSERT_EQ(text.errors(), "");
    const EveryType* given = record("given");
    EXPECT_EQ(given->flag, 0);
    EXPECT_EQ(given->count, 12);
    EXPECT_EQ(string(given->text), "world");
    EXPECT_EQ(given->direction.y, 5.0f);
    for (int i = 0; i < 16; ++i) EXPECT_EQ(given->matrix[i], static_cast<float>(i));
    EXPECT_EQ(given->tint.a, 4.0f);
    const std::pair<miTag, const char*> tags[] = {
        {given->colorTexture, "ct1"}, {given->scalarTexture, "st1"}, {given->vectorTexture, "vt1"},
        {given->anyTexture, "st1"},   {given->light, "li"},          {given->material, "m"},
        {given->geometry, "o"},       {given->profile, "lp"},        {given->data, "d"},
        {given->spectrum, "sp"},      {given->shader, "s"}};
    for (const auto& [tag, name] : tags) {
        EXPECT_NE(tag, miNULLTAG) << name;
        EXPECT_EQ(tag, text.tag(name)) << name;
    }
    EXPECT_EQ(given->inner.first, 4.0f);
    EXPECT_EQ(given->inner.deep.vector.x, 1.0f);
    EXPECT_EQ(given->inner.deep.flag, 1);
    ASSERT_EQ(given->inner.n_list, 2);
    EXPECT_EQ(element(given->inner.list, given->inner.i_list, 0).a, 0.0f);
    EXPECT_EQ(element(given->inner.list, given->inner.i_list, 1).a, 7.0f);
    EXPECT_EQ(given->last, 11.0f);
    ASSERT_EQ(given->n_items, 3);
    const auto* items = &element(given->items, given->i_items, 0);
    EXPECT_EQ(items[0].id, 1);
    ASSERT_EQ(items[0].n_weights, 1);
    EXPECT_EQ(items[0].i_weights, 0);
    EXPECT_EQ(items[0].weights[0], 0.5f);
    EXPECT_EQ(items[1].id, 5);
    ASSERT_EQ(items[1].n_weights, 3);
    for (int k = 0; k < 3; ++k)
        EXPECT_EQ(element(items[1].weights, items[1].i_weights, k), static_cast<float>(k + 1));
    EXPECT_EQ(items[2].n_weights, 0);
}

TEST_F(EveryParameterType, MayBeAPixelOrAFunctionTexture) {
    EXPECT_EQ(text.find<TextureElement>("ct1")->pixels,
              (std::vector<unsigned char>{0, 255, 0, 255, 255, 0, 255, 0}));
    EXPECT_EQ(text.find<TextureElement>("vt1")->filter, std::optional<float>(2.5f));
    EXPECT_NE(text.find<TextureElement>("vt1")->shader, miNULLTAG);
}

constexpr const char* connectable = R"mi(
declare shader scalar "number" ( ) end declare
declare shader integer "whole" ( ) end declare
declare shader color "tint" ( ) end declare
declare shader struct { color "c", scalar "s", struct "pair" { scalar "a", vector "b" } } "many" ( ) end declare
declare shader color "user" ( color "color", scalar "scalar", boolean "flag", vector "vector",
    struct "pair" { scalar "a", vector "b" }, array struct "layers" { color "c", scalar "w" }, array scalar "list" )
end declare
shader "number1" "number" ( )
shader "whole1" "whole" ( )
shader "tint1" "tint" ( )
shader "many1" "many" ( )
shader "dot.ted" "tint" ( )
)mi";

struct ConnectionCase {
    const char* parameter;
    int word; // whose ghost is set
    const char* source;
    int memberOffset;
};
class Connections : public ::testing::TestWithParam<ConnectionCase> {};

TEST_P(Connections, MarkTheConnectedWordAlone) {
    const ConnectionCase& expected = GetParam();
    SceneText text(std::string(connectable) + "shader \"u\" \"user\" ( " + expected.parameter + " )");
    ASSERT_EQ(text.errors(), "");
    const auto* user = text.find<FunctionElement>("u");
    const miFunction* function = user->function();
    ASSERT_NE(function->ghost_offs, 0);
    const auto ghosts = words(function->parameters + function->ghost_offs, function->parameter_size);
    for (std::size_t i = 0; i < ghosts.size(); ++i) {
        if (i != static_cast<std::size_t>(expected.word)) {
            EXPECT_EQ(ghosts[i], 0u) << i;
        }
    }
    ASSERT_NE(ghosts[expected.word], 0u);
    EXPECT_EQ(user->connection(ghosts[expected.word]).source, text.tag(expected.source));
    EXPECT_EQ(user->connection(ghosts[expected.word]).memberOffset, expected.memberOffset);
}
// Words: color 0-3, scalar 4, flag 5, vector 6-8, pair 9-12, layers 13 14 (15-19), list 20 21 (22).
INSTANTIATE_TEST_SUITE_P(
    Parameters, Connections,
    ::testing::Values(ConnectionCase{R"("color" = "tint1")", 0, "tint1", 0},
                      ConnectionCase{R"("color" = "dot.ted")", 0, "dot.ted", 0},
                      ConnectionCase{R"("color" = "many1.c")", 0, "many1", 0},
                      ConnectionCase{R"("scalar" = "many1.s")", 4, "many1", 16},
                      ConnectionCase{R"("flag" = "whole1")", 5, "whole1", 0},
                      ConnectionCase{R"("vector" = "many1.pair.b")", 6, "many1", 24},
                      ConnectionCase{R"("pair" { "b" = "many1.pair.b" })", 10, "many1", 24},
                      ConnectionCase{R"("layers" [ { "w" = "number1" } ])", 19, "number1", 0},
                      ConnectionCase{R"("layers" [ { }, { "w" = "number1" } ])", 34, "number1", 0},
                      ConnectionCase{R"("list" [ 1, = "number1", 3 ])", 24, "number1", 0}));

TEST(ConnectedStruct, MarksEveryMember) {
    SceneText text(std::string(connectable) + R"(shader "u" "user" ( "pair" = "many1.pair" ))");
    ASSERT_EQ(text.errors(), "");
    const auto* user = text.find<FunctionElement>("u");
    const auto ghosts =
        words(user->function()->parameters + user->function()->ghost_offs, user->function()->parameter_size);
    EXPECT_EQ(user->connection(ghosts[9]).memberOffset, 20);
    EXPECT_EQ(user->connection(ghosts[10]).memberOffset, 24);
}

TEST(ShaderLists, ShareParametersOnlyWithTheirOwnDeclaration) {
    SceneText text(R"mi(
declare shader color "f" ( scalar "a" default 3 ) end declare
declare shader color "g" ( scalar "a" ) end declare
material "m" "f" ( "a" 1 ) shadow "f" ( ) volume "g" ( ) end material
)mi");
    ASSERT_EQ(text.errors(), "");
    const auto& material = text.find<MaterialElement>("m")->material;
    Database& database = text.scene.database();
    EXPECT_EQ(database.find<FunctionElement>(material.shadow)->function()->parameter_indirect,
              material.shader);
    EXPECT_EQ(database.find<FunctionElement>(material.volume)->function()->parameter_indirect, miNULLTAG);
}

std::string outputOf(const std::string& command) {
    const std::unique_ptr<FILE, int (*)(FILE*)> pipe(popen(command.c_str(), "r"), pclose);
    std::string output;
    std::array<char, 4096> buffer;
    while (const std::size_t read = pipe ? fread(buffer.data(), 1, buffer.size(), pipe.get()) : 0)
        output.append(buffer.data(), read);
    return output;
}

void show(std::string& layout, const std::string& owner, const std::vector<Parameter>& parameters) {
    for (const Parameter& parameter : parameters) {
        const std::string name = owner + '.' + parameter.name;
        layout += fmt::format("{} {}\n", name, parameter.offset + (parameter.isArray ? 8 : 0));
        show(layout, name, parameter.members);
    }
}

/// The build compares records with declarations without the renderer, which so must lay them out alike.
TEST(Declarations, AreLaidOutAsTheBuildComparesThem) {
    const orca::test::TemporaryDirectory folder;
    folder.write("every_type.mi", everyTypeScene);
    const std::string everyType = folder.file("every_type.mi");
    for (const std::string& file : {everyType, build_paths::declarations + std::string("/orca.mi"),
                                    build_paths::declarations + std::string("/velabase.mi")}) {
        const std::string expected = outputOf(build_paths::declarationLayout + (" '" + file + "'"));
        ASSERT_NE(expected, "") << file;
        const SceneText text("$include \"" + file + "\"\n");
        ASSERT_EQ(text.errors(), "");
        std::string layout;
        std::istringstream lines(expected);
        for (std::string name; lines >> name; lines.ignore(100, '\n')) {
            if (name.find('.') != std::string::npos) continue;
            const Database& database = text.scene.database();
            const auto* declaration = database.find<DeclarationElement>(database.declaration(name));
            ASSERT_NE(declaration, nullptr) << name;
            layout += fmt::format("{} {}\n", name, declaration->fixedSize);
            show(layout, name, declaration->parameters);
            show(layout, name + ".result", declaration->result.members);
        }
        EXPECT_EQ(layout, expected);
    }
}

} // namespace
} // namespace orca::scene
