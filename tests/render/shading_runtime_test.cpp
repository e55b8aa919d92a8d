// SPDX-License-Identifier: Apache-2.0
#include "base/active_log.h"
#include "base/locks.h"
#include "build_paths.h"
#include "shading/call_context.h"
#include "shading/shader_exceptions.h"
#include "shading/shader_runtime.h"
#include "support/scene_builder.h"
#include "support/test_shaders.h"

#include <dlfcn.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <bit>
#include <cstddef>
#include <functional>
#include <mutex>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

namespace {

using namespace orca;

scene::Parameter parameter(const char* name, miParam_type type, bool isArray = false) {
    scene::Parameter result;
    result.name = name;
    result.type = type;
    result.isArray = isArray;
    return result;
}
scene::Parameter structure(const char* name, std::vector<scene::Parameter> members, bool isArray = false) {
    scene::Parameter result = parameter(name, miTYPE_STRUCT, isArray);
    result.members = std::move(members);
    return result;
}
template <class... Numbers>
scene::Value literal(Numbers... numbers) {
    scene::Value value;
    value.kind = scene::Value::Kind::Literal;
    (value.words.push_back(std::bit_cast<std::uint32_t>(numbers)), ...);
    return value;
}
scene::Value items(scene::Value::Kind kind, std::vector<scene::Value> parts) {
    scene::Value value;
    value.kind = kind;
    value.items = std::move(parts);
    return value;
}
scene::Value connected(const scene::Element& source, int memberOffset = 0) {
    scene::Value value;
    value.kind = scene::Value::Kind::Connection;
    value.connection = {source.tag, memberOffset, false};
    return value;
}

struct Event {
    std::string what;
    miTag shader;
    bool withParameters;
    int callType;
    friend bool operator==(const Event&, const Event&) = default;
    friend void PrintTo(const Event& event, std::ostream* out) {
        *out << event.what << " of " << event.shader << (event.withParameters ? " with" : " without")
             << " parameters, type " << event.callType;
    }
};

class Shaders : public ::testing::Test {
protected:
    Shaders() {
        const std::string path = std::string(build_paths::libraries) + "/orca-test-shaders.so";
        EXPECT_TRUE(runtime.loadLibrary("orca-test-shaders.so", {"/nowhere", build_paths::libraries}, {}));
        library_ = dlopen(path.c_str(), RTLD_NOW | RTLD_NOLOAD);
        current = this;
        *static_cast<test::EventListener*>(dlsym(library_, "testEvent")) =
            [](const char* what, miState* running, void* parameters) {
                const std::lock_guard lock(current->mutex_);
                current->events.push_back({what, current->runtime.tagOf(running->shader),
                                           parameters != nullptr, shading::contextOf(running).callType});
                if (current->onEvent) current->onEvent(what, running);
            };
        state.ext = &context;
    }
    ~Shaders() override {
        *static_cast<test::EventListener*>(dlsym(library_, "testEvent")) = nullptr;
        dlclose(library_);
    }

    scene::DeclarationElement& declare(const std::string& name, scene::Parameter result,
                                       std::vector<scene::Parameter> parameters, int version = 1) {
        auto element = std::make_unique<scene::DeclarationElement>(scene::DeclarationElement::Kind::Shader);
        auto& declaration = *element;
        declaration.name = name;
        declaration.version = version;
        std::vector<scene::Parameter> results{std::move(result)};
        scene::layOut(results);
        declaration.result = results[0];
        declaration.parameters = std::move(parameters);
        declaration.fixedSize = scene::layOut(declaration.parameters);
        database.setDeclaration(name, database.add(std::move(element)));
        return declaration;
    }
    scene::FunctionElement& shader(const scene::DeclarationElement& declaration,
                                   std::vector<scene::Value> values) {
        auto& element =
            builder.add<scene::FunctionElement>("shader " + std::to_string(database.endTag()), declaration);
        values.resize(declaration.parameters.size());
        element.values = std::move(values);
        element.rebuild();
        return element;
    }
    template <class Result>
    miBoolean call(Result& result, const scene::Element& element, int type = miSHADER_MATERIAL) {
        return runtime.call(&result, type, &state, element.tag);
    }
    float scalarOf(const scene::Element& element) {
        miScalar result = 0;
        EXPECT_TRUE(call(result, element));
        return result;
    }

    test::SceneBuilder builder;
    scene::Database& database = builder.database;
    shading::ShaderRuntime runtime{database, builder.log};
    shading::CallContext context{runtime};
    miState state{};
    std::vector<Event> events;
    std::function<void(const char*, miState*)> onEvent;

    scene::DeclarationElement& add = declare("testAdd", parameter("", miTYPE_SCALAR),
                                             {parameter("a", miTYPE_SCALAR), parameter("b", miTYPE_SCALAR)});
    scene::DeclarationElement& palette =
        declare("testPalette",
                structure("", {parameter("color", miTYPE_COLOR), parameter("weight", miTYPE_SCALAR),
                               parameter("axis", miTYPE_VECTOR)}),
                {});

private:
    inline static Shaders* current = nullptr;
    std::mutex mutex_;
    void* library_ = nullptr;
};

TEST_F(Shaders, AreInitialisedBeforeTheirFirstCallAndExitedOnce) {
    auto& first = shader(add, {literal(1.0f), literal(2.0f)});
    auto& second = shader(add, {literal(10.0f), literal(20.0f)});
    auto& unused = shader(add, {});
    runtime.bind();
    EXPECT_TRUE(events.empty());

    EXPECT_EQ(scalarOf(first), 3.0f);
    EXPECT_EQ(scalarOf(first), 3.0f);
    EXPECT_EQ(scalarOf(second), 30.0f);
    runtime.exitAll(&state);
    const int type = miSHADER_MATERIAL;
    const std::vector<Event> expected = {
        {"testAdd_init", first.tag, false, type}, {"testAdd_init", first.tag, true, type},
        {"testAdd", first.tag, true, type},       {"testAdd", first.tag, true, type},
        {"testAdd_init", second.tag, true, type}, {"testAdd", second.tag, true, type},
        {"testAdd_exit", first.tag, true, 0},     {"testAdd_exit", second.tag, true, 0},
        {"testAdd_exit", second.tag, false, 0}};
    EXPECT_EQ(events, expected);
    for (const Event& event : events) EXPECT_NE(event.shader, unused.tag);

    // The next picture begins anew.
    events.clear();
    EXPECT_EQ(scalarOf(second), 30.0f);
    ASSERT_EQ(events.size(), 3u);
    EXPECT_EQ(events[0], (Event{"testAdd_init", second.tag, false, type}));
    EXPECT_EQ(state.shader, nullptr);
    EXPECT_EQ(context.callType, miSHADER_NONE);
}

TEST_F(Shaders, InitOnceHoweverManyThreadsCallFirst) {
    auto& source = shader(add, {literal(1.0f), literal(1.0f)});
    auto& target = shader(add, {connected(source), literal(2.0f)});
    runtime.bind();
    std::vector<std::thread> threads;
    std::atomic<int> right{0};
    for (int i = 0; i < 8; ++i)
        threads.emplace_back([&] {
            shading::CallContext own(runtime);
            miState ownState{};
            ownState.ext = &own;
            miScalar result = 0;
            if (runtime.call(&result, miSHADER_MATERIAL, &ownState, target.tag) && result == 4.0f) ++right;
        });
    for (auto& thread : threads) thread.join();
    EXPECT_EQ(right, 8);
    EXPECT_EQ(
        std::count_if(events.begin(), events.end(), [](const Event& e) { return e.what == "testAdd_init"; }),
        3);
}

TEST_F(Shaders, EvaluateConnectionsToResultsAndMembers) {
    auto& colors = shader(palette, {});
    auto& inner = shader(add, {connected(colors, offsetof(test::Palette, weight)),
                               connected(colors, offsetof(test::Palette, axis) + 4)});
    auto& outer = shader(add, {connected(inner), literal(100.0f)});
    runtime.bind();
    EXPECT_EQ(scalarOf(inner), 5.0f + 7.0f);
    EXPECT_EQ(scalarOf(outer), 112.0f) << "results of connected shaders start from zero every time";
    EXPECT_EQ(events.back().what, "testPalette");
    EXPECT_EQ(events.back().callType, miSHADER_TEXTURE);
    EXPECT_EQ(state.shader, nullptr);
}

TEST_F(Shaders, EvaluateConnectionsInArraysOfStructs) {
    auto& weighted =
        declare("testWeighted", parameter("", miTYPE_SCALAR),
                {structure("elements",
                           {parameter("scale", miTYPE_SCALAR), parameter("offset", miTYPE_VECTOR)}, true)});
    auto& colors = shader(palette, {});
    using Kind = scene::Value::Kind;
    auto& element = shader(
        weighted,
        {items(Kind::Array,
               {items(Kind::Struct, {literal(2.0f), literal(3.0f, 0.0f, 0.0f)}),
                items(Kind::Struct, {literal(10.0f), connected(colors, offsetof(test::Palette, axis))}),
                items(Kind::Struct,
                      {connected(colors, offsetof(test::Palette, weight)), literal(100.0f, 0.0f, 0.0f)})})});
    runtime.bind();
    EXPECT_EQ(scalarOf(element), 2 * 3 + 10 * 6 + 5 * 100);
}

TEST_F(Shaders, WrittenInPlainCRun) {
    auto& plain = declare("testPlain", parameter("", miTYPE_COLOR),
                          {parameter("on", miTYPE_BOOLEAN), parameter("values", miTYPE_SCALAR, true),
                           parameter("tint", miTYPE_COLOR)});
    auto& colors = shader(palette, {});
    auto& element = shader(plain, {literal(1), literal(1.0f, 2.0f, 4.0f), connected(colors)});
    element.values[1].kind = scene::Value::Kind::Array;
    element.rebuild();
    runtime.bind();
    miColor result;
    EXPECT_TRUE(call(result, element));
    EXPECT_EQ(result.g, 14.0f);
    EXPECT_EQ(result.a, 4.0f);
    EXPECT_TRUE(builder.logged(LogLevel::Warning, "\"testPlain\" is declared as version 1, but"));
    EXPECT_TRUE(builder.logged(LogLevel::Warning, "holds version 2"));
}

TEST_F(Shaders, ListsShareTheResultAndEndWithTheLastValue) {
    auto& argument = declare("testArgument", parameter("", miTYPE_SCALAR), {});
    auto& last = shader(argument, {});
    auto& middle = shader(add, {literal(3.0f), literal(4.0f)});
    auto& head = shader(add, {literal(1.0f), literal(2.0f)});
    head.function()->next_function = middle.tag;
    runtime.bind();
    EXPECT_EQ(scalarOf(head), 10.0f);
    middle.function()->next_function = last.tag;
    runtime.bind();
    miScalar result = 0, given = 42;
    EXPECT_FALSE(call(result, head)) << "the last shader of the list has no argument";
    EXPECT_EQ(result, 10.0f);
    EXPECT_TRUE(runtime.call(&result, miSHADER_SHADOW, &state, head.tag, &given));
    EXPECT_EQ(result, 42.0f);

    last.function()->next_function = head.tag;
    runtime.bind();
    EXPECT_TRUE(builder.logged(LogLevel::Error, "leads back to itself"));
    call(result, head);
}

TEST_F(Shaders, IndirectParametersAreTheOtherInstancesOwn) {
    auto& colors = shader(palette, {});
    auto& owner = shader(add, {connected(colors, offsetof(test::Palette, weight)), literal(1.0f)});
    auto& borrower = shader(declare("x::testAdd", parameter("", miTYPE_SCALAR), {}), {});
    borrower.function()->parameter_indirect = owner.tag;
    runtime.bind();
    EXPECT_EQ(scalarOf(borrower), 6.0f);
}

TEST_F(Shaders, ExceptionsPassThroughAndLeaveTheStateInOrder) {
    auto& thrower = declare("testThrow", parameter("", miTYPE_SCALAR), {});
    auto& source = shader(thrower, {});
    auto& target = shader(add, {literal(1.0f), connected(source)});
    runtime.bind();
    miFunction before{};
    state.shader = &before;
    context.callType = miSHADER_LENS;
    miScalar result = 0;
    for (int i = 0; i < 3; ++i) EXPECT_THROW(call(result, target), std::runtime_error);
    EXPECT_EQ(state.shader, &before);
    EXPECT_EQ(context.callType, miSHADER_LENS);
    EXPECT_EQ(context.arena.mark().used, 0u);

    miColor unused{};
    EXPECT_THROW(mi_call_shader(&unused, miSHADER_TEXTURE, &state, target.tag), std::runtime_error)
        << "shaders that call others see what those throw";
    EXPECT_FALSE(shading::withoutShaderExceptions(context, [&] { call(result, target); }));
    EXPECT_THROW(shading::withoutShaderExceptions(context, [] { throw std::runtime_error("own"); }),
                 std::runtime_error);

    runtime.countFault(target.tag, shading::ShaderRuntime::Fault::NotANumber);
    runtime.reportFaults();
    EXPECT_TRUE(builder.logged(LogLevel::Warning,
                               "\"testThrow\" threw an exception 5 times; the first time: out of paint"));
    EXPECT_FALSE(builder.logged(LogLevel::Warning, "\"testAdd\" threw")) << "only who threw is to blame";
    EXPECT_TRUE(builder.logged(LogLevel::Warning, "\"testAdd\" gave a value that is not a number once"));
}

TEST(InterfaceFunctions, KeepTheRenderersOwnExceptionsFromShaders) {
    Log log;
    std::vector<std::string> texts;
    log.setSink([&](const LogMessage& message) {
        if (message.module != "API") throw std::runtime_error("disk full");
        texts.push_back(message.text);
    });
    setActiveLog(&log);
    for (int i = 0; i < 3; ++i) EXPECT_NO_THROW(mi_info("%d", i));
    EXPECT_EQ(mi_mem_int_allocate("paint.cpp", 1, -1), nullptr);
    log.setSink([](const LogMessage&) { throw std::runtime_error("disk full"); });
    EXPECT_NO_THROW(mi_warning("the report fails as well"));
    setActiveLog(nullptr);
    EXPECT_EQ(texts, (std::vector<std::string>{"mi_info failed: disk full",
                                               "mi_mem_int_allocate failed: disk full"}));
}

TEST_F(Shaders, UserPointersAreFoundInInitCallAndExit) {
    auto& one = shader(add, {});
    auto& two = shader(add, {});
    runtime.bind();
    std::vector<std::string> wrong;
    onEvent = [&](const char* what, miState* running) {
        void** const slot = runtime.userPointer(running->shader);
        const bool init = std::string(what) == "testAdd_init";
        if (init && *slot == nullptr && events.back().withParameters) *slot = running->shader;
        else if (events.back().withParameters && *slot != running->shader) wrong.push_back(what);
    };
    scalarOf(one);
    scalarOf(two);
    EXPECT_NE(runtime.userPointer(one.function()), runtime.userPointer(two.function()));
    *runtime.threadPointer(one.function(), 3) = &wrong;
    EXPECT_EQ(*runtime.threadPointer(one.function(), 3), &wrong);
    EXPECT_EQ(*runtime.threadPointer(one.function(), 2), nullptr);
    EXPECT_EQ(runtime.threadPointer(one.function(), 99999), nullptr);
    runtime.exitAll(&state);
    EXPECT_TRUE(wrong.empty());
    EXPECT_EQ(*runtime.userPointer(one.function()), nullptr);
}

TEST_F(Shaders, ThatAreMissingAreNamedWithWhoWantsThem) {
    auto& missing = declare("testMissing", parameter("", miTYPE_COLOR), {});
    auto& one = shader(missing, {});
    shader(missing, {});
    runtime.bind();
    runtime.bind();
    miColor result{7, 7, 7, 7};
    EXPECT_FALSE(call(result, one));
    EXPECT_FALSE(runtime.call(&result, miSHADER_MATERIAL, &state, 0));
    EXPECT_FALSE(runtime.call(&result, miSHADER_MATERIAL, &state, 0xFFFFFFFFu));
    EXPECT_EQ(result.r, 7.0f);
    EXPECT_TRUE(builder.logged(LogLevel::Error,
                               "no linked library has the shader \"testMissing\" that \"" + one.name));
    EXPECT_TRUE(builder.logged(LogLevel::Error, "orca-test-shaders.so"));
    EXPECT_EQ(builder.log.count(LogLevel::Error), 1);

    EXPECT_FALSE(runtime.loadLibrary("nosuch.so", {"/here", "/there"}, {"scene.mi", 3, 1}));
    EXPECT_TRUE(builder.logged(LogLevel::Error, "/there/nosuch.so"));
    EXPECT_TRUE(runtime.loadLibrary("orca-test-shaders.so", {build_paths::libraries}, {}));
    EXPECT_EQ(runtime.libraries().size(), 1u) << "opening a library twice is harmless";
}

TEST_F(Shaders, ConnectedToThemselvesAreCut) {
    auto& one = shader(add, {literal(1.0f), literal(1.0f)});
    auto& two = shader(add, {connected(one), literal(1.0f)});
    one.values[0] = connected(two);
    one.rebuild();
    runtime.bind();
    EXPECT_TRUE(builder.logged(LogLevel::Error, "is connected to itself"));
    scalarOf(two);
}

TEST_F(Shaders, AreCalledOncePerStateWhenCaching) {
    auto& source = shader(add, {literal(1.0f), literal(1.0f)});
    auto& target = shader(add, {connected(source), connected(source)});
    runtime.bind();
    const auto calls = [&](const char* what) {
        events.clear();
        EXPECT_EQ(scalarOf(target), 4.0f);
        return std::count_if(events.begin(), events.end(),
                             [&](const Event& e) { return e.what == what && e.shader == source.tag; });
    };
    calls("testAdd");
    EXPECT_EQ(calls("testAdd"), 2);
    runtime.setCaching(true);
    EXPECT_EQ(calls("testAdd"), 1);
    onEvent = [&](const char* what, miState* running) {
        if (std::string(what) == "testAdd") runtime.flushCache(running);
    };
    EXPECT_EQ(calls("testAdd"), 2) << "the source flushes its own result while it runs";
}

} // namespace
