// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "scene/elements/elements.h"
#include "shading/fault_counter.h"
#include "shading/result_room.h"

#include <shader.h>

#include <array>
#include <atomic>
#include <cstddef>
#include <memory>
#include <mutex>
#include <string>

namespace orca::shading {

/// The C functions of one shader, shared by all its instances.
struct ShaderCode {
    using Entry = miBoolean (*)(void* result, miState* state, void* parameters, void* argument);
    using Init = void (*)(miState* state, void* parameters, miBoolean* instanceInitRequested);
    using Exit = void (*)(miState* state, void* parameters);
    using Version = int (*)();

    explicit ShaderCode(std::string shaderName);
    ~ShaderCode();
    ShaderCode(const ShaderCode&) = delete;
    ShaderCode& operator=(const ShaderCode&) = delete;

    std::string name;                                ///< as declared
    std::string symbol;                              ///< the name without namespaces: the C function
    std::string library;                             ///< path of the one that it was found in
    std::size_t librariesSearched = ~std::size_t{0}; ///< how many were open when it was last looked for
    Entry entry = nullptr;                           ///< null: found in no library; every call is false
    Init init = nullptr;
    Exit exit = nullptr;
    miLock lock; ///< shared by all calls of this shader

    // guarded by the runtime's init lock
    bool initialised = false;
    bool wantsInstanceInit = false;
    bool initFailed = false;
    bool knowsResultSizes = false;      ///< the shader-level init has asked for the size of a result
    miFunction* lastInstance = nullptr; ///< what `state->shader` shows during the shader-level exit

    FaultCounter returnedFalse, notANumber, threw;
    std::mutex firstThrownMutex; // guards firstThrown
    std::string firstThrown;     ///< what it said
};

/// A shader instance with its code; `miFunction::ext` points here.
struct BoundShader {
    BoundShader();
    ~BoundShader();
    BoundShader(const BoundShader&) = delete;
    BoundShader& operator=(const BoundShader&) = delete;

    // what a call needs, together
    std::atomic<bool> ready{false}; ///< inits have run
    bool initFailed = false;
    bool knowsResultSizes = false; ///< its init has asked for the size of a result
    bool returnsRecord = false;    ///< it, or one that follows in the list
    ShaderCode::Entry entry = nullptr;
    miFunction* function = nullptr;
    void* parameters = nullptr;  ///< another instance's where parameters are indirect
    BoundShader* next = nullptr; ///< of the list
    ShaderCode* code = nullptr;
    scene::FunctionElement* parameterOwner = nullptr;       ///< whose connections the ghost words index
    std::size_t resultSize = 0;                             ///< bytes, the largest of the list from here on
    std::array<std::size_t, ResultRoom::partCount> parts{}; ///< bytes from the start of a record

    miTag tag = miNULLTAG;
    void* userPointer = nullptr;
    miLock lock; ///< of this instance
    bool instanceInitialised = false;

    /// One pointer per rendering thread, made when first asked for.
    static constexpr int threadSlots = 1024;
    using ThreadPointers = std::array<void*, threadSlots>;
    std::atomic<ThreadPointers*> threadPointers{nullptr};
};

} // namespace orca::shading
