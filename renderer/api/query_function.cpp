// SPDX-License-Identifier: Apache-2.0
#include "api/queries.h"

#include "scene/elements/elements.h"
#include "shading/active_renderer.h"
#include "shading/call_context.h"
#include "shading/shader_runtime.h"

namespace orca::api {

namespace {

/// The shader instance that a question is about: the tag's, else the state's.
miFunction* functionOf(const Query& query) {
    if (query.tag == miNULLTAG) return query.state ? query.state->shader : nullptr;
    auto* database = shading::activeRenderer().database;
    auto* element = database ? database->find<scene::FunctionElement>(query.tag) : nullptr;
    return element ? element->function() : nullptr;
}

/// The declaration that a question is about: the tag's own, or that of the shader instance.
const scene::DeclarationElement* declarationOf(const Query& query) {
    auto* database = shading::activeRenderer().database;
    if (!database) return nullptr;
    if (const auto* function = database->find<scene::FunctionElement>(query.tag))
        return function->declaration;
    if (query.tag == miNULLTAG && query.state && query.state->shader)
        return database->find<scene::DeclarationElement>(query.state->shader->function_decl);
    return database->find<scene::DeclarationElement>(query.tag);
}

shading::ShaderRuntime* runtimeOf(const Query& query) {
    return query.state && query.state->ext ? &shading::contextOf(query.state).runtime : nullptr;
}

template <class T>
Answer given(const Query& query, const T& value) {
    query.answer(value);
    return Answer::Given;
}

Answer answerAboutDeclaration(const Query& query) {
    const scene::DeclarationElement* declaration = declarationOf(query);
    if (!declaration) return Answer::Unavailable;
    switch (query.code) {
    case miQ_DECL_NAME: return given(query, const_cast<char*>(declaration->name.c_str()));
    case miQ_DECL_RESULT_SIZE: return given<int>(query, declaration->result.size());
    case miQ_DECL_TYPE: return given<int>(query, declaration->result.type);
    case miQ_DECL_VERSION: return given<int>(query, declaration->version);
    default: return Answer::Unavailable;
    }
}

} // namespace

Answer answerAboutFunction(const Query& query) {
    miFunction* function = nullptr;
    shading::ShaderRuntime* runtime = nullptr;
    switch (query.code) {
    case miQ_DECL_NAME:
    case miQ_DECL_RESULT_SIZE:
    case miQ_DECL_TYPE:
    case miQ_DECL_VERSION: return answerAboutDeclaration(query);
    case miQ_FUNC_USERPTR:
    case miQ_DECL_LOCK:
    case miQ_FUNC_LOCK:
    case miQ_FUNC_TAG:
    case miQ_FUNC_TLS_GET:
    case miQ_FUNC_TLS_SET:
        function = functionOf(query);
        runtime = runtimeOf(query);
        if (!function || !runtime) return Answer::Unavailable;
        break;
    case miQ_FUNC_DECL:
    case miQ_FUNC_INDIRECT:
    case miQ_FUNC_NEXT:
    case miQ_FUNC_PARAM:
    case miQ_FUNC_PARAM_SIZE:
    case miQ_FUNC_RESULT_SIZE:
        function = functionOf(query);
        if (!function) return Answer::Unavailable;
        break;
    default: return Answer::NotMine;
    }

    switch (query.code) {
    case miQ_FUNC_USERPTR:
        if (void** slot = runtime->userPointer(function)) return given(query, slot);
        return Answer::Unavailable;
    case miQ_DECL_LOCK: return given(query, runtime->shaderLock(function));
    case miQ_FUNC_LOCK: return given(query, runtime->instanceLock(function));
    case miQ_FUNC_TAG: return given(query, runtime->tagOf(function));
    case miQ_FUNC_TLS_GET:
        if (void** slot = runtime->threadPointer(function, query.state->thread)) return given(query, *slot);
        return Answer::Unavailable;
    case miQ_FUNC_TLS_SET:
        if (void** slot = runtime->threadPointer(function, query.state->thread)) {
            *slot = *static_cast<void**>(query.result);
            return Answer::Given;
        }
        return Answer::Unavailable;
    case miQ_FUNC_DECL: return given(query, function->function_decl);
    case miQ_FUNC_INDIRECT: return given(query, function->parameter_indirect);
    case miQ_FUNC_NEXT: return given(query, function->next_function);
    case miQ_FUNC_PARAM: return given<void*>(query, function->parameters());
    case miQ_FUNC_PARAM_SIZE: return given<int>(query, function->parameter_size);
    case miQ_FUNC_RESULT_SIZE: return given<int>(query, function->result_size);
    default: return Answer::Unavailable;
    }
}

} // namespace orca::api
