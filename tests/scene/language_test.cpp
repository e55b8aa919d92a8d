// SPDX-License-Identifier: Apache-2.0
#include "scene_fixture.h"

#include "scene/language/lexer.h"

namespace orca::scene {
namespace {

struct NumberCase {
    const char* text;
    Token::Kind kind;
    float value;
};
class Numbers : public ::testing::TestWithParam<NumberCase> {};

TEST_P(Numbers, AreReadAsWritten) {
    Lexer lexer("n", GetParam().text, 0);
    const Token token = lexer.next();
    EXPECT_EQ(token.kind, GetParam().kind);
    EXPECT_EQ(token.number, GetParam().value);
    EXPECT_EQ(lexer.next().kind, Token::Kind::End);
    Lexer again("n", GetParam().text, 0);
    float value = 0;
    EXPECT_TRUE(again.nextNumber(value));
    EXPECT_EQ(value, GetParam().value);
}
constexpr auto isInteger = Token::Kind::Integer;
constexpr auto isFloat = Token::Kind::Float;
INSTANTIATE_TEST_SUITE_P(
    Forms, Numbers,
    ::testing::Values(NumberCase{"12", isInteger, 12}, NumberCase{"-7", isInteger, -7},
                      NumberCase{"+7", isInteger, 7}, NumberCase{"1.", isFloat, 1},
                      NumberCase{".5", isFloat, 0.5f}, NumberCase{"-.5", isFloat, -0.5f},
                      NumberCase{"1.e4", isFloat, 10000}, NumberCase{"2E-3", isFloat, 0.002f},
                      NumberCase{"-2.3e-6", isFloat, -2.3e-6f}, NumberCase{"3000000000", isInteger, 3e9f},
                      NumberCase{"1e-60", isFloat, 0}, NumberCase{"+.25e1", isFloat, 2.5f}));

TEST(Tokens, AreStringsWordsMarksAndBytesWithTheirPlaces) {
    Lexer lexer("file.mi", "word_1 \"a # \\\"b\\\\ \\n\" # comment \"x\n  ['0aF\n1']`", 0);
    Token token = lexer.next();
    EXPECT_TRUE(token.isWord("word_1"));
    token = lexer.next();
    EXPECT_EQ(token.kind, Token::Kind::String);
    EXPECT_EQ(token.text, "a # \"b\\ \\n");
    EXPECT_EQ(token.column, 8u);
    token = lexer.next();
    EXPECT_TRUE(token.is('['));
    EXPECT_EQ(lexer.locationOf(token).text(), "file.mi:2:3");
    EXPECT_EQ(lexer.next().kind, Token::Kind::Bytes);
    EXPECT_TRUE(lexer.next().is(']'));
    EXPECT_EQ(lexer.next().kind, Token::Kind::Backquote);
    EXPECT_EQ(lexer.next().kind, Token::Kind::End);
}

/// Which of the words given to `set` were reached.
std::string reached(const std::string& source, ParserOptions options = {}) {
    SceneText text("", std::move(options));
    std::string echoed;
    text.callbacks.echo = [&](const std::string& word) { echoed += word; };
    text.read(source);
    return echoed + text.errors();
}

struct ConditionalCase {
    const char* source;
    const char* reached;
};
class Conditionals : public ::testing::TestWithParam<ConditionalCase> {};
TEST_P(Conditionals, ReadTheRightPart) {
    ParserOptions options;
    options.variables["given"] = "1";
    options.registry["REG"] = "{OTHER}x";
    options.registry["OTHER"] = "y";
    EXPECT_EQ(reached(GetParam().source, options), GetParam().reached);
}
INSTANTIATE_TEST_SUITE_P(
    Forms, Conditionals,
    ::testing::Values(
        ConditionalCase{"set \"a\"\n$ifdef \"a\"\necho \"1\"\n$else\necho \"2\"\n$endif\necho \"3\"", "13"},
        ConditionalCase{"$ifdef \"b\"\necho \"1\"\n$else\necho \"2\"\n$endif\necho \"3\"", "23"},
        ConditionalCase{
            "$ifndef \"given\"\necho \"1\"\n$elseifeq \"given\" \"1\"\necho \"2\"\n$else\necho \"3\"\n$endif",
            "2"},
        ConditionalCase{
            "$ifeq \"given\" \"2\"\necho \"1\"\n$elseifdef \"nope\"\necho \"2\"\n$else\necho \"3\"\n$endif",
            "3"},
        ConditionalCase{"$ifdef \"b\"\n$ifdef \"given\"\necho \"1\"\n$else\necho \"2\"\n$endif\n# $endif\n"
                        "\"$endif\" 'oops\n$endif\necho \"3\"",
                        "test.mi:1:1: the conditional that begins here has no $endif\n"},
        ConditionalCase{
            "$ifdef \"b\"\n$ifdef \"given\"\necho \"1\"\n$endif\n# $endif\n  $endif\n\"\n$endif\necho \"3\"",
            "3"},
        ConditionalCase{"$ifeq \"{REG}\" \"yx\"\necho \"1\"\n$endif\n$ifdef \"{NONE}\"\necho \"2\"\n$endif",
                        "1"},
        ConditionalCase{
            "$ifneq \"{REG}\" \"yx\"\necho \"1\"\n$endif\n$ifdef \"${?HOME_OF_NOBODY}\"\necho \"2\"\n$endif",
            ""},
        ConditionalCase{"$ifeq \"${?PATH}\" \"1\"\necho \"1\"\n$endif", "1"},
        ConditionalCase{"registry \"{E}\" echo \"from entry\" end registry\n$lookup \"{E}\"", "from entry"},
        ConditionalCase{"$endif", "test.mi:1:1: $endif without an $ifdef or $ifeq\n"},
        ConditionalCase{"$ifdef \"given\"", "test.mi:1:1: the conditional that begins here has no $endif\n"},
        ConditionalCase{
            "$code\nint f() { return '\"'; }\n$end code\necho \"1\"",
            "1test.mi:1:1: $code is not supported: compile the shader into a library and link that\n"}));

using Includes = SceneFiles;

TEST_F(Includes, AreFoundBesideTheFileThenOnThePath) {
    folder.write("beside/scene.mi",
                 "$include \"inner.mi\"\n$include <inner.mi>\n$include \"{WHERE}/deep.mi\"\necho \"end\"\n");
    folder.write("beside/inner.mi", "echo \"beside \"");
    folder.write("path/inner.mi", "echo \"path \"");
    folder.write("path/deep.mi", "$include \"inner.mi\"\necho \"deep \"");
    ParserOptions options;
    options.includePaths = {folder.file("path")};
    options.registry["WHERE"] = folder.file("path");
    SceneText text("", options);
    std::string echoed;
    text.callbacks.echo = [&](const std::string& word) { echoed += word; };
    // The name is tried again with its ending.
    EXPECT_TRUE(read(text, "beside/scene", options)) << text.errors();
    EXPECT_EQ(echoed, "beside path path deep end");
}

TEST_F(Includes, ThatFailSayWhereTheyWereLookedFor) {
    folder.write("loop.mi", "$include \"loop.mi\"\n");
    SceneText text("");
    EXPECT_FALSE(read(text, "loop.mi"));
    EXPECT_NE(text.errors().find("include each other more than 64 deep"), std::string::npos);
    ParserOptions options;
    options.includePaths = {"/nowhere"};
    SceneText missing("\n$include \"gone.mi\"\ninstance \"i\" \"defined there\" end instance", options);
    EXPECT_EQ(missing.errors(),
              "test.mi:2:1: cannot read the included file \"gone.mi\"; tried gone.mi, /nowhere/gone.mi\n");
    EXPECT_FALSE(missing.scene.parseFile("/nowhere/at/all", {}, missing.callbacks));
}

TEST(Namespaces, PrefixNamesAndFindInnerOnesFirst) {
    SceneText text(R"mi(
declare shader color "f" ( scalar "a", color "c" ) end declare
shader "s" "f" ( "a" 1 )
namespace "n"
    shader "s" "f" ( "a" 2 )
    shader "inner" "f" ( "c" = "s" )
    shader "outer" "f" ( "c" = "::s" )
    shader "::global" "f" ( "a" 3 )
end namespace
shader "u" "f" ( "c" = "n::inner" )
)mi");
    ASSERT_EQ(text.errors(), "");
    const auto source = [&](const char* name) {
        return text.find<FunctionElement>(name)->connections[0].source;
    };
    EXPECT_NE(text.tag("n::s"), text.tag("s"));
    EXPECT_EQ(source("n::inner"), text.tag("n::s"));
    EXPECT_EQ(source("n::outer"), text.tag("s"));
    EXPECT_EQ(source("u"), text.tag("n::inner"));
    EXPECT_NE(text.tag("global"), miNULLTAG);
}

TEST(Commands, ActInFileOrder) {
    SceneText text(R"mi(
verbose 4
min version "3.9.1" max version "3.13" version "3.13.0" min version "4"
echo "hello" memory 100 debug "x" "y"
system "rm -rf /"
call "f" ( "a" 1 ) "cam" "opt"
declare shader color "f" ( ) end declare
shader "a" "f" ( )
shader "b" "f" ( )
material "m" = "a" end material
delete "b" touch "a"
)mi");
    EXPECT_EQ(text.errors(), "");
    EXPECT_EQ(text.log.level(), LogLevel::Info);
    EXPECT_EQ(text.lines(LogLevel::Progress), "hello\n");
    EXPECT_EQ(text.warnings(),
              "test.mi:3:69: the file is for at least version 4 of the renderer; this one is like 3.13\n"
              "test.mi:5:1: system \"rm -rf /\" is refused: scenes run no commands\n"
              "test.mi:6:1: \"call\" is not supported and skipped\n");
    EXPECT_EQ(text.tag("b"), miNULLTAG);
    EXPECT_EQ(text.find<FunctionElement>("a")->revision, 1u);
    EXPECT_FALSE(text.read("delete \"a\""));
    EXPECT_EQ(text.errors(), "test.mi:1:8: \"a\" cannot be deleted, as material \"m\" refers to it\n");
}

TEST(OptionStatements, ReachTheRecordAndUnknownOnesAreSkippedAlone) {
    SceneText text(R"mi(
options "o"
    samples -1 2 contrast .2 .3 .4 time contrast .5 .5 .5 .5 filter gauss 2.5 3.5 jitter 1 samplelock off
    shutter 0.25 0.75 motion steps 4 trace off trace depth 5 6 scanline rasterizer shadow sort shadowmap bias 0.1
    face front lens off volume on finalgather on finalgather accuracy 64 1 2 finalgather trace depth 1 2 3 4
    task size 32 frame buffer 0 "+rgba_fp" frame buffer 1 gamma 2.2 premultiply off
    caustic on caustic accuracy 100 globillum off photon trace depth 3 3 6 photonmap file "x" autovolume on
    "switch" on "whole" 3 "real" 2.5 "words" "text" "weight" 1 2 3 "last" 1 "last" 2
end options
)mi");
    EXPECT_EQ(text.errors(), "");
    const auto* element = text.find<OptionsElement>("o");
    ASSERT_NE(element, nullptr);
    const miOptions& options = element->options;
    EXPECT_EQ(options.min_samples, -1);
    EXPECT_EQ(options.filter_size_y, 3.5f);
    EXPECT_EQ(options.trace_depth, 1);
    EXPECT_EQ(options.scanline, 'r');
    EXPECT_EQ(options.shadow, miSHADOW_SORTED);
    EXPECT_NE(options.no_lens, 0);
    EXPECT_EQ(options.finalgather_diffuse_depth, 4);
    EXPECT_FALSE(element->samplesLocked);
    EXPECT_EQ(element->framebuffers.at(0).interpolate, std::optional<bool>(true));
    EXPECT_EQ(std::get<int>(element->named.values.at("last")), 2);
    EXPECT_EQ(std::get<std::vector<float>>(element->named.values.at("weight")).size(), 3u);
    EXPECT_EQ(
        text.warnings(),
        "test.mi:7:5: options \"o\": \"caustic\" has no effect: no photons are traced\n"
        "test.mi:7:95: options \"o\": \"autovolume\" has no effect: shaders keep track of the volumes that "
        "they enter\n");

    ASSERT_TRUE(text.read("options \"p\" sampels 1 2 gamma 1.5 end options"));
    EXPECT_EQ(text.find<OptionsElement>("p")->options.gamma, 1.5f);
}

const char* const spaceCurve =
    "object \"o\" group 0 0 0 1 0 0 0 1 0 v 0 v 1 v 2 space curve \"s\" \"c\" 0. 1. "
    "c 0 1 2 end group end object";

TEST(SpaceCurves, LeaveTheRestOfTheirGroup) {
    SceneText text(spaceCurve);
    EXPECT_EQ(text.errors(), "");
    ASSERT_NE(text.find<ObjectElement>("o"), nullptr);
    EXPECT_EQ(text.find<ObjectElement>("o")->triangleCount(), 1u);
}

TEST(StatementsWithoutEffect, SaySoOnceInAScene) {
    const struct {
        const char* scene;
        LogLevel level;
        const char* messages; ///< without their reasons
    } cases[] = {
        {"options \"o\" filter gauss clip 3 3 end options", LogLevel::Warning,
         "13: options \"o\": \"filter\""},
        {"options \"o\" merge on geometry on pass on caustic off end options", LogLevel::Info, ""},
        {"options \"o\" bsp size 10 bsp depth 40 end options", LogLevel::Info, "13: options \"o\": \"bsp\""},
        {"camera \"c\" field 1 end camera", LogLevel::Warning, "12: camera \"c\": \"field\""},
        {"object \"o\" visible on caustic 3 end object", LogLevel::Info, "23: object \"o\": \"caustic\""},
        {spaceCurve, LogLevel::Info, "48: object \"o\": \"space curve\""},
        {"declare shader \"f\" ( ) end declare material \"m\" bsdf \"f\" ( ) end material", LogLevel::Warning,
         "49: material \"m\": \"bsdf\""}};
    for (const auto& c : cases) {
        SceneText text(c.scene);
        text.scene.parseText(c.scene, "again.mi", {}, text.callbacks);
        std::string messages;
        for (const LogMessage& message : text.logged) {
            const std::size_t reason = message.text.find(" has no effect: ");
            if (reason == std::string::npos) continue;
            EXPECT_EQ(message.level, c.level);
            messages += message.location.text() + ": " + message.text.substr(0, reason);
        }
        EXPECT_EQ(messages, *c.messages ? std::string("test.mi:1:") + c.messages : "");
    }
}

TEST(DataBlocks, AreRawDeclaredOrFilesInChains) {
    SceneText text(R"mi(
declare data "pair" ( integer "a" default 7, color "c" ) end declare
data "raw" 8 [ '0102' 'fF' 10 0a ] tag 4 end data
data "declared" data "raw" "pair" ( "c" 1 2 3 ) end data
)mi");
    ASSERT_EQ(text.errors(), "");
    const auto* raw = text.find<UserdataElement>("raw");
    ASSERT_EQ(raw->userdata()->parameter_size, 8);
    EXPECT_EQ(std::string(raw->userdata()->parameters, 8), std::string("\x01\x02\xff\x10\x0a\0\0\0", 8));
    EXPECT_EQ(raw->userdata()->data_decl, miNULLTAG);
    EXPECT_EQ(raw->userdata()->label, 4u);
    const auto* declared = text.find<UserdataElement>("declared");
    EXPECT_EQ(declared->userdata()->next_data, text.tag("raw"));
    EXPECT_EQ(words(declared->userdata()->parameters, 20)[0], 7u);
    ASSERT_TRUE(text.read("incremental data \"declared\" data null \"pair\" ( \"a\" 9 ) end data"));
    EXPECT_EQ(declared->userdata()->next_data, miNULLTAG);
    EXPECT_EQ(words(declared->userdata()->parameters, 20)[0], 9u);
    EXPECT_EQ(words(declared->userdata()->parameters, 20)[3], 0x40400000u); // still 3.0
    EXPECT_FALSE(text.read("incremental data \"raw\" data \"declared\" end data\n"
                           "incremental data \"declared\" data \"raw\" end data"));
    EXPECT_EQ(text.errors(), "test.mi:2:29: data \"declared\": the chain would lead back to it\n");
}

} // namespace
} // namespace orca::scene
