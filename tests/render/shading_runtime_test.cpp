// SPDX-License-Identifier: Apache-2.0
#include "base/active_log.h"
#include "base/locks.h"
#include "build_paths.h"
#include "scene/language/scene_file.h"
#include "shading/call_context.h"
#include "shading/shader_exceptions.h"
#include "shading/shader_runtime.h"
#include "support/test_shaders.h"

#include <dlfcn.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <functional>
#include <mutex>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

namespace {

using namespace orca;

constexpr const char* declarations = R"mi(
declare shader scalar "testAdd" ( scalar "a", scalar "b" ) version 1 end declare
declare shader struct { color "color", scalar "weight", vector "axis" } "testPalette" ( ) version 1 end declare
declare shader scalar "testWeighted" ( array struct "elements" { scalar "scale", vector "offset" } )
    version 1 end declare
declare shader color "testPlain" ( boolean "on", array scalar "values", color "tint" ) version 1 end declare
declare shader scalar "testArgument" ( ) version 1 end declare
declare shader scalar "testThrow" ( ) version 1 end declare
declare shader color "testMissing" ( ) version 1 end declare
shader "palette" "testPalette" ( )
shader "one" "testAdd" ( "a" 1, "b" 2 )
shader "two" "testAdd" ( "a" 10, "b" 20 )
)mi";

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
        log.keep(true);
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
        read(declarations);
    }
    ~Shaders() override {
        *static_cast<test::EventListener*>(dlsym(library_, "testEvent")) = nullptr;
        dlclose(library_);
    }

    void read(const std::string& text) {
        EXPECT_TRUE(scene.parseText(text, "test.mi", {}, {}));
        runtime.bind();
    }
    scene::FunctionElement& shader(const std::string& name) {
        return *database.find<scene::FunctionElement>(database.named(name));
    }
    template <class Result>
    miBoolean call(Result& result, const scene::Element& element, int type = miSHADER_MATERIAL) {
        return runtime.call(&result, type, &state, element.tag);
    }
    float scalarOf(const std::string& name) {
        miScalar result = 0;
        EXPECT_TRUE(call(result, shader(name)));
        return result;
    }
    bool logged(LogLevel level, const std::string& part) {
        return std::ranges::any_of(log.kept(), [&](const LogMessage& message) {
            return message.level == level && message.text.find(part) != std::string::npos;
        });
    }

    Log log{LogLevel::None};
    scene::Scene scene{log};
    scene::Database& database = scene.database();
    shading::ShaderRuntime runtime{database, log};
    shading::CallContext context{runtime};
    miState state{};
    std::vector<Event> events;
    std::function<void(const char*, miState*)> onEvent;

private:
    inline static Shaders* current = nullptr;
    std::mutex mutex_;
    void* library_ = nullptr;
};

TEST_F(Shaders, AreInitialisedBeforeTheirFirstCallAndExitedOnce) {
    read("shader \"unused\" \"testAdd\" ( )\n");
    const miTag first = shader("one").tag, second = shader("two").tag;
    EXPECT_TRUE(events.empty());

    EXPECT_EQ(scalarOf("one"), 3.0f);
    EXPECT_EQ(scalarOf("one"), 3.0f);
    EXPECT_EQ(scalarOf("two"), 30.0f);
    runtime.exitAll(&state);
    const int type = miSHADER_MATERIAL;
    const std::vector<Event> expected = {
        {"testAdd_init", first, false, type}, {"testAdd_init", first, true, type},
        {"testAdd", first, true, type},       {"testAdd", first, true, type},
        {"testAdd_init", second, true, type}, {"testAdd", second, true, type},
        {"testAdd_exit", first, true, 0},     {"testAdd_exit", second, true, 0},
        {"testAdd_exit", second, false, 0}};
    EXPECT_EQ(events, expected);

    // The next picture begins anew.
    events.clear();
    EXPECT_EQ(scalarOf("two"), 30.0f);
    ASSERT_EQ(events.size(), 3u);
    EXPECT_EQ(events[0], (Event{"testAdd_init", second, false, type}));
    EXPECT_EQ(state.shader, nullptr);
    EXPECT_EQ(context.callType, miSHADER_NONE);
}

TEST_F(Shaders, InitOnceHoweverManyThreadsCallFirst) {
    read("shader \"target\" \"testAdd\" ( \"a\" = \"one\", \"b\" 2 )\n");
    const miTag target = shader("target").tag;
    std::vector<std::thread> threads;
    std::atomic<int> right{0};
    for (int i = 0; i < 8; ++i)
        threads.emplace_back([&] {
            shading::CallContext own(runtime);
            miState ownState{};
            ownState.ext = &own;
            miScalar result = 0;
            if (runtime.call(&result, miSHADER_MATERIAL, &ownState, target) && result == 5.0f) ++right;
        });
    for (auto& thread : threads) thread.join();
    EXPECT_EQ(right, 8);
    EXPECT_EQ(std::ranges::count(events, "testAdd_init", &Event::what), 3);
}

TEST_F(Shaders, EvaluateConnectionsToResultsAndMembers) {
    read(R"mi(
shader "inner" "testAdd" ( "a" = "palette.weight", "b" 7 )
shader "outer" "testAdd" ( "a" = "inner", "b" 100 )
)mi");
    EXPECT_EQ(scalarOf("inner"), 5.0f + 7.0f);
    EXPECT_EQ(scalarOf("outer"), 112.0f) << "results of connected shaders start from zero every time";
    EXPECT_EQ(events.back().what, "testPalette");
    EXPECT_EQ(events.back().callType, miSHADER_TEXTURE);
    EXPECT_EQ(state.shader, nullptr);
}

TEST_F(Shaders, EvaluateConnectionsInArraysOfStructs) {
    read(R"mi(
shader "weighted" "testWeighted" ( "elements" [ { "scale" 2, "offset" 3 0 0 },
    { "scale" 10, "offset" = "palette.axis" }, { "scale" = "palette.weight", "offset" 100 0 0 } ] )
)mi");
    EXPECT_EQ(scalarOf("weighted"), 2 * 3 + 10 * 6 + 5 * 100);
}

TEST_F(Shaders, WrittenInPlainCRun) {
    read("shader \"plain\" \"testPlain\" ( \"on\" on, \"values\" [ 1, 2, 4 ], \"tint\" = \"palette.color\" "
         ")\n");
    miColor result;
    EXPECT_TRUE(call(result, shader("plain")));
    EXPECT_EQ(result.g, 14.0f);
    EXPECT_EQ(result.a, 4.0f);
    EXPECT_TRUE(logged(LogLevel::Warning, "\"testPlain\" is declared as version 1, but"));
    EXPECT_TRUE(logged(LogLevel::Warning, "holds version 2"));
}

TEST_F(Shaders, ListsShareTheResultAndEndWithTheLastValue) {
    read("shader \"pair\" \"testAdd\" ( \"a\" 1, \"b\" 2 ) \"testAdd\" ( \"a\" 3, \"b\" 4 )\n"
         "shader \"last\" \"testArgument\" ( )\n");
    EXPECT_EQ(scalarOf("pair"), 10.0f);
    auto& head = shader("pair");
    auto& middle = *database.find<scene::FunctionElement>(head.function()->next_function);
    middle.function()->next_function = shader("last").tag;
    runtime.bind();
    miScalar result = 0, given = 42;
    EXPECT_FALSE(call(result, head)) << "the last shader of the list has no argument";
    EXPECT_EQ(result, 10.0f);
    EXPECT_TRUE(runtime.call(&result, miSHADER_SHADOW, &state, head.tag, &given));
    EXPECT_EQ(result, 42.0f);

    shader("last").function()->next_function = head.tag;
    runtime.bind();
    EXPECT_TRUE(logged(LogLevel::Error, "leads back to itself"));
    call(result, head);
}

TEST_F(Shaders, IndirectParametersAreTheOtherInstancesOwn) {
    read("shader \"owner\" \"testAdd\" ( \"a\" = \"palette.weight\", \"b\" 1 )\n");
    shader("two").function()->parameter_indirect = shader("owner").tag;
    runtime.bind();
    EXPECT_EQ(scalarOf("two"), 6.0f);
}

TEST_F(Shaders, ExceptionsPassThroughAndLeaveTheStateInOrder) {
    read("shader \"thrower\" \"testThrow\" ( )\n"
         "shader \"target\" \"testAdd\" ( \"a\" 1, \"b\" = \"thrower\" )\n");
    const auto& target = shader("target");
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
    EXPECT_TRUE(
        logged(LogLevel::Warning, "\"testThrow\" threw an exception 5 times; the first time: out of paint"));
    EXPECT_FALSE(logged(LogLevel::Warning, "\"testAdd\" threw")) << "only who threw is to blame";
    EXPECT_TRUE(logged(LogLevel::Warning, "\"testAdd\" gave a value that is not a number once"));
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
    const miFunction* const one = shader("one").function();
    std::vector<std::string> wrong;
    onEvent = [&](const char* what, miState* running) {
        void** const slot = runtime.userPointer(running->shader);
        const bool init = std::string(what) == "testAdd_init";
        if (init && *slot == nullptr && events.back().withParameters) *slot = running->shader;
        else if (events.back().withParameters && *slot != running->shader) wrong.push_back(what);
    };
    scalarOf("one");
    scalarOf("two");
    EXPECT_NE(runtime.userPointer(one), runtime.userPointer(shader("two").function()));
    *runtime.threadPointer(one, 3) = &wrong;
    EXPECT_EQ(*runtime.threadPointer(one, 3), &wrong);
    EXPECT_EQ(*runtime.threadPointer(one, 2), nullptr);
    EXPECT_EQ(runtime.threadPointer(one, 99999), nullptr);
    runtime.exitAll(&state);
    EXPECT_TRUE(wrong.empty());
    EXPECT_EQ(*runtime.userPointer(one), nullptr);
}

TEST_F(Shaders, ThatAreMissingAreNamedWithWhoWantsThem) {
    read("shader \"gone\" \"testMissing\" ( ) shader \"gone too\" \"testMissing\" ( )\n");
    runtime.bind();
    miColor result{7, 7, 7, 7};
    EXPECT_FALSE(call(result, shader("gone")));
    EXPECT_FALSE(runtime.call(&result, miSHADER_MATERIAL, &state, 0));
    EXPECT_FALSE(runtime.call(&result, miSHADER_MATERIAL, &state, 0xFFFFFFFFu));
    EXPECT_EQ(result.r, 7.0f);
    EXPECT_TRUE(logged(LogLevel::Error, "no linked library has the shader \"testMissing\" that \"gone"));
    EXPECT_TRUE(logged(LogLevel::Error, "orca-test-shaders.so"));
    EXPECT_EQ(log.count(LogLevel::Error), 1);

    EXPECT_FALSE(runtime.loadLibrary("nosuch.so", {"/here", "/there"}, {"scene.mi", 3, 1}));
    EXPECT_TRUE(logged(LogLevel::Error, "/there/nosuch.so"));
    EXPECT_TRUE(runtime.loadLibrary("orca-test-shaders.so", {build_paths::libraries}, {}));
    EXPECT_EQ(runtime.libraries().size(), 1u) << "opening a library twice is harmless";
}

TEST_F(Shaders, ConnectedToThemselvesAreCut) {
    read("shader \"chain\" \"testAdd\" ( \"a\" = \"one\" )\n");
    auto& one = shader("one");
    one.values[0] = shader("chain").values[0];
    one.values[0].connection.source = shader("chain").tag;
    one.rebuild();
    runtime.bind();
    EXPECT_TRUE(logged(LogLevel::Error, "is connected to itself"));
    scalarOf("chain");
}

TEST_F(Shaders, AreCalledOncePerStateWhenCaching) {
    read("shader \"target\" \"testAdd\" ( \"a\" = \"one\", \"b\" = \"one\" )\n");
    const auto calls = [&] {
        events.clear();
        EXPECT_EQ(scalarOf("target"), 6.0f);
        return std::ranges::count_if(
            events, [&](const Event& e) { return e.what == "testAdd" && e.shader == shader("one").tag; });
    };
    scalarOf("target"); // its init evaluates as well
    EXPECT_EQ(calls(), 2);
    runtime.setCaching(true);
    EXPECT_EQ(calls(), 1);
    onEvent = [&](const char* what, miState* running) {
        if (std::string(what) == "testAdd") runtime.flushCache(running);
    };
    EXPECT_EQ(calls(), 2) << "the source flushes its own result while it runs";
}

} // namespace
