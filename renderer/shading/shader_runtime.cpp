// SPDX-License-Identifier: Apache-2.0
#include "shading/shader_runtime.h"

#include "shading/call_context.h"
#include "shading/call_scope.h"
#include "shading/contour_call.h"
#include "shading/shader_binding.h"
#include "shading/shader_faults.h"
#include "shading/shader_life_cycle.h"
#include "shading/shader_table.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>

namespace orca::shading {

struct ShaderRuntime::Implementation {
    ShaderTable table;
    bool caching = false;

    /// Calls the instances of a list from `bound` up to `end`.
    miBoolean callRange(ResultRoom result, int type, miState* state, BoundShader* bound,
                        const BoundShader* end, void* argument);
    /// The same for a result that is larger than the caller's memory.
    miBoolean callForPart(ResultRoom result, int type, miState* state, BoundShader* bound,
                          const BoundShader* end, void* argument);
};

namespace {

BoundShader* boundOf(const miFunction* function) {
    return function ? static_cast<BoundShader*>(function->ext) : nullptr;
}

} // namespace

ShaderRuntime::ShaderRuntime(scene::Database& database, Log& log)
    : database_(database), log_(log), implementation_(std::make_unique<Implementation>()) {
}

ShaderRuntime::~ShaderRuntime() = default;

bool ShaderRuntime::loadLibrary(const std::string& file, const std::vector<std::string>& searchPaths,
                                const SourceLocation& location) {
    return implementation_->table.libraries.load(file, searchPaths, location, log_);
}

miBoolean ShaderRuntime::Implementation::callForPart(ResultRoom result, int type, miState* state,
                                                     BoundShader* bound, const BoundShader* end,
                                                     void* argument) {
    EvaluationArena& arena = contextOf(state).arena;
    const ArenaScope scope(arena);
    auto* const whole = static_cast<std::byte*>(arena.allocate(bound->resultSize));
    std::byte* const part = whole + bound->parts[result.wanted];
    const std::size_t bytes =
        std::min(result.bytes, static_cast<std::size_t>(whole + bound->resultSize - part));
    std::memcpy(part, result.at, bytes);
    const miBoolean value = callRange({whole, bound->resultSize}, type, state, bound, end, argument);
    std::memcpy(result.at, part, bytes);
    return value;
}

miBoolean ShaderRuntime::Implementation::callRange(ResultRoom result, int type, miState* state,
                                                   BoundShader* bound, const BoundShader* end,
                                                   void* argument) {
    if (!bound) return miFALSE;
    if (bound->resultSize > result.bytes) return callForPart(result, type, state, bound, end, argument);

    CallContext& context = contextOf(state);
    const CallScope scope(state, context);
    context.callType = type;
    miBoolean value = miFALSE;
    try {
        for (;; scope.forgetResults()) {
            value = miFALSE;
            if (bound->entry) {
                state->shader = bound->function;
                if (bound->ready.load(std::memory_order_acquire) || initialise(table, *bound, state)) {
                    context.knowsResultSizes = bound->knowsResultSizes;
                    value = type == miSHADER_CONTOUR
                                ? static_cast<const ContourCall*>(argument)->enter(*bound, state)
                                : bound->entry(result.at, state, bound->parameters, argument);
                }
            }
            if (bound->next == end) break;
            bound = bound->next;
        }
    } catch (...) {
        countException(*bound, context);
        if (caching && type != miSHADER_TEXTURE) context.cache.endCall();
        throw;
    }
    if (caching && type != miSHADER_TEXTURE) context.cache.flush(state);
    return value;
}

void ShaderRuntime::bind() {
    bindShaders(implementation_->table, database_, log_);
}

void ShaderRuntime::exitAll(miState* state) {
    exitShaders(implementation_->table, state, log_);
}

void ShaderRuntime::countFault(miTag shader, Fault fault) {
    const BoundShader* const bound = implementation_->table.find(shader);
    if (!bound) return;
    switch (fault) {
    case Fault::ReturnedFalse: bound->code->returnedFalse.raise(); break;
    case Fault::NotANumber: bound->code->notANumber.raise(); break;
    }
}

void ShaderRuntime::reportFaults() {
    shading::reportFaults(implementation_->table, log_);
}

miBoolean ShaderRuntime::call(ResultRoom result, int type, miState* state, miTag shader, void* argument) {
    return implementation_->callRange(result, type, state, implementation_->table.find(shader), nullptr,
                                      argument);
}

miBoolean ShaderRuntime::callContour(const ContourCall& call, miState* state, miTag shader) {
    return implementation_->callRange({nullptr, ResultRoom::anySize}, miSHADER_CONTOUR, state,
                                      implementation_->table.find(shader), nullptr,
                                      const_cast<ContourCall*>(&call));
}

miBoolean ShaderRuntime::callForShader(miColor* result, int type, miState* state, miTag shader,
                                       void* argument) {
    BoundShader* const bound = implementation_->table.find(shader);
    const bool wantsPart = bound && bound->returnsRecord && !contextOf(state).knowsResultSizes;
    const ResultRoom room(result, wantsPart ? sizeof(miColor) : ResultRoom::anySize);
    return implementation_->callRange(room, type, state, bound, nullptr, argument);
}

miBoolean ShaderRuntime::callOne(ResultRoom result, int type, miState* state, miTag shader, void* argument) {
    BoundShader* const bound = implementation_->table.find(shader);
    return implementation_->callRange(result, type, state, bound, bound ? bound->next : nullptr, argument);
}

miTag ShaderRuntime::next(miTag shader) const {
    const BoundShader* const bound = implementation_->table.find(shader);
    return bound && bound->next ? bound->next->tag : miNULLTAG;
}

void* ShaderRuntime::evaluate(miState* state, void* parameter) {
    const BoundShader* const bound = boundOf(state->shader);
    if (!bound || state->shader->ghost_offs == 0) return parameter;
    const auto ghost = *reinterpret_cast<const std::uint32_t*>(static_cast<const char*>(parameter) +
                                                               state->shader->ghost_offs);
    if (ghost == 0 || ghost > bound->parameterOwner->connections.size()) return parameter;
    const scene::Connection& connection = bound->parameterOwner->connection(ghost);

    CallContext& context = contextOf(state);
    BoundShader* const source = implementation_->table.find(connection.source);
    const auto offset = static_cast<std::size_t>(connection.memberOffset);
    // Room for a whole matrix behind the member, so that a source that is gone still gives readable zeros.
    const std::size_t size = std::max(source ? source->resultSize : 0, offset + sizeof(miMatrix));

    char* result = nullptr;
    if (implementation_->caching) {
        if (void* const cached = context.cache.find(state, connection.source))
            return static_cast<char*>(cached) + offset;
        result = static_cast<char*>(context.cache.add(state, connection.source, size));
    } else {
        if (char* const shared = context.siblings.find(*state, connection.source, parameter))
            return shared + offset;
        result = static_cast<char*>(context.arena.allocate(size));
    }
    call({result, size}, miSHADER_TEXTURE, state, connection.source);
    // What is no larger than a plain value has no members worth sharing.
    if (source && source->resultSize > sizeof(miMatrix) && !implementation_->caching)
        context.siblings.add(*state, connection.source, parameter, result);
    return result + offset;
}

void ShaderRuntime::setCaching(bool on) {
    implementation_->caching = on;
}

void ShaderRuntime::flushCache(miState* state) {
    contextOf(state).siblings.flush();
    if (implementation_->caching) contextOf(state).cache.flush(state);
}

void** ShaderRuntime::userPointer(const miFunction* function) {
    BoundShader* const bound = boundOf(function);
    return bound ? &bound->userPointer : nullptr;
}

void** ShaderRuntime::threadPointer(const miFunction* function, int thread) {
    BoundShader* const bound = boundOf(function);
    if (!bound || thread < 0 || thread >= BoundShader::threadSlots) return nullptr;
    BoundShader::ThreadPointers* pointers = bound->threadPointers.load(std::memory_order_acquire);
    if (!pointers) {
        auto made = std::make_unique<BoundShader::ThreadPointers>();
        made->fill(nullptr);
        if (bound->threadPointers.compare_exchange_strong(pointers, made.get(), std::memory_order_acq_rel))
            pointers = made.release();
    }
    return &(*pointers)[static_cast<std::size_t>(thread)];
}

std::vector<void*> ShaderRuntime::threadPointers(const miFunction* function) const {
    std::vector<void*> all;
    const BoundShader* const bound = boundOf(function);
    const BoundShader::ThreadPointers* const pointers =
        bound ? bound->threadPointers.load(std::memory_order_acquire) : nullptr;
    if (pointers)
        std::copy_if(pointers->begin(), pointers->end(), std::back_inserter(all),
                     [](const void* pointer) { return pointer != nullptr; });
    return all;
}

void* ShaderRuntime::ghostTable(const miFunction* function) const {
    const BoundShader* const bound = boundOf(function);
    return bound && function->ghost_offs != 0 ? static_cast<char*>(bound->parameters) + function->ghost_offs
                                              : nullptr;
}

miTag ShaderRuntime::tagOf(const miFunction* function) const {
    const BoundShader* const bound = boundOf(function);
    return bound ? bound->tag : miNULLTAG;
}

miLock* ShaderRuntime::instanceLock(const miFunction* function) {
    BoundShader* const bound = boundOf(function);
    return bound ? &bound->lock : nullptr;
}

miLock* ShaderRuntime::shaderLock(const miFunction* function) {
    BoundShader* const bound = boundOf(function);
    return bound ? &bound->code->lock : nullptr;
}

int ShaderRuntime::resultSize(const miFunction* function) const {
    const BoundShader* const bound = boundOf(function);
    return bound ? static_cast<int>(bound->resultSize) : 0;
}

bool ShaderRuntime::isBound(miTag shader) const {
    const BoundShader* const bound = implementation_->table.find(shader);
    return bound && bound->entry;
}

std::vector<std::string> ShaderRuntime::libraries() const {
    return implementation_->table.libraries.paths();
}

} // namespace orca::shading
