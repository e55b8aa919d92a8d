// SPDX-License-Identifier: Apache-2.0
#include "render/query/query_rows.h"

#include "scene/active_database.h"
#include "scene/elements/elements.h"
#include "shading/call_context.h"
#include "shading/shader_runtime.h"

#include <vector>

namespace orca::render {

namespace {

using shading::ShaderRuntime;

/// The tag's shader instance, else the one that the state runs.
miFunction* functionOf(const Query& query) {
    if (query.tag == miNULLTAG) return query.state ? query.state->shader : nullptr;
    auto* const element = scene::activeDatabase().find<scene::FunctionElement>(query.tag);
    return element ? element->function() : nullptr;
}

template <auto field>
bool ofFunction(const Query& query) {
    const miFunction* const function = functionOf(query);
    return function && query.give(function->*field);
}

bool parameters(const Query& query) {
    miFunction* const function = functionOf(query);
    return function && query.give<void*>(function->parameters);
}

/// Null without a state: what libraries keep of an instance belongs to the renderer that runs them.
ShaderRuntime* runtimeOf(const Query& query) {
    return query.state && query.state->ext ? &shading::contextOf(query.state).runtime : nullptr;
}

template <auto member>
bool ofRuntime(const Query& query) {
    const miFunction* const function = functionOf(query);
    ShaderRuntime* const runtime = runtimeOf(query);
    return function && runtime && query.give((runtime->*member)(function));
}

bool userPointer(const Query& query) {
    const miFunction* const function = functionOf(query);
    ShaderRuntime* const runtime = runtimeOf(query);
    void** const slot = function && runtime ? runtime->userPointer(function) : nullptr;
    return slot && query.give(slot);
}

void** threadPointerOf(const Query& query) {
    const miFunction* const function = functionOf(query);
    ShaderRuntime* const runtime = runtimeOf(query);
    return function && runtime ? runtime->threadPointer(function, query.state->thread) : nullptr;
}

bool getThreadPointer(const Query& query) {
    void** const slot = threadPointerOf(query);
    return slot && query.give(*slot);
}

bool setThreadPointer(const Query& query) {
    void** const slot = threadPointerOf(query);
    if (slot) *slot = *static_cast<void**>(query.result);
    return slot != nullptr;
}

bool allThreadPointers(const Query& query) {
    const miFunction* const function = functionOf(query);
    ShaderRuntime* const runtime = runtimeOf(query);
    if (!function || !runtime || !query.second) return false;
    thread_local std::vector<void*> pointers;
    pointers = runtime->threadPointers(function);
    *static_cast<int*>(query.second) = static_cast<int>(pointers.size());
    return query.give(pointers.data());
}

/// The tag's own declaration, or that of the shader instance.
const scene::DeclarationElement* declarationOf(const Query& query) {
    const scene::Database& database = scene::activeDatabase();
    if (const auto* const function = database.find<scene::FunctionElement>(query.tag))
        return function->declaration;
    if (query.tag == miNULLTAG && query.state && query.state->shader)
        return database.find<scene::DeclarationElement>(query.state->shader->function_decl);
    return database.find<scene::DeclarationElement>(query.tag);
}

template <auto read>
bool ofDeclaration(const Query& query) {
    const scene::DeclarationElement* const declaration = declarationOf(query);
    return declaration && query.give(read(*declaration));
}

/// Size of a result that the running shader will call another shader for: it gets the whole result then.
bool resultSize(const Query& query) {
    ShaderRuntime* const runtime = runtimeOf(query);
    const miFunction* const function = query.tag != miNULLTAG ? functionOf(query) : nullptr;
    // A list is called for one result, which the largest of its members must fit in.
    int size = function && runtime ? runtime->resultSize(function) : 0;
    if (size == 0) {
        const scene::DeclarationElement* const declaration = declarationOf(query);
        if (!declaration) return false;
        size = declaration->result.size();
    }
    if (runtime && query.tag != miNULLTAG) shading::contextOf(query.state).knowsResultSizes = true;
    return query.give(size);
}

using Declaration = scene::DeclarationElement;
constexpr auto nameOf = [](const Declaration& d) { return const_cast<char*>(d.name.c_str()); };
constexpr auto parametersOf = [](const Declaration& d) { return const_cast<char*>(d.parameterText.c_str()); };
constexpr auto resultOf = [](const Declaration& d) { return const_cast<char*>(d.resultText.c_str()); };
constexpr auto resultTypeOf = [](const Declaration& d) -> int { return d.result.type; };
constexpr auto versionOf = [](const Declaration& d) -> int { return d.version; };

constexpr QueryRow functionRows[] = {
    {miQ_FUNC_DECL, ofFunction<&miFunction::function_decl>},
    {miQ_FUNC_INDIRECT, ofFunction<&miFunction::parameter_indirect>},
    {miQ_FUNC_NEXT, ofFunction<&miFunction::next_function>},
    {miQ_FUNC_PARAM, parameters},
    {miQ_FUNC_PARAM_SIZE, ofFunction<&miFunction::parameter_size>},
    {miQ_FUNC_RESULT_SIZE, resultSize},
    {miQ_FUNC_USERPTR, userPointer},
    {miQ_FUNC_TAG, ofRuntime<&ShaderRuntime::tagOf>},
    {miQ_FUNC_LOCK, ofRuntime<&ShaderRuntime::instanceLock>},
    {miQ_DECL_LOCK, ofRuntime<&ShaderRuntime::shaderLock>},
    {miQ_FUNC_TLS_GET, getThreadPointer},
    {miQ_FUNC_TLS_SET, setThreadPointer},
    {miQ_FUNC_TLS_GETALL, allThreadPointers},
};

constexpr QueryRow declarationRows[] = {
    {miQ_DECL_NAME, ofDeclaration<nameOf>},       {miQ_DECL_PARAM, ofDeclaration<parametersOf>},
    {miQ_DECL_RESULT_SIZE, resultSize},           {miQ_DECL_TYPE, ofDeclaration<resultTypeOf>},
    {miQ_DECL_VERSION, ofDeclaration<versionOf>}, {miQ_DECL_RESULT, ofDeclaration<resultOf>},
};

} // namespace

std::span<const QueryRow> functionQueries() {
    return functionRows;
}

std::span<const QueryRow> declarationQueries() {
    return declarationRows;
}

} // namespace orca::render
