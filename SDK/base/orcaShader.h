// SPDX-License-Identifier: Apache-2.0
#pragma once

/// Shader objects: one per shader instance of the scene, made when the renderer initialises the instance and
/// kept in the instance's user pointer. Render threads share it, so it is read-only while rendering.

#include <shader.h>

#include <new>

/// Of shader families that have nothing to decide besides their components: utility passes, and materials
/// that light nothing themselves.
template <class P>
struct ShaderHelper {};

/// Base of every shader object.
/// @tparam P      parameter record
/// @tparam Helper what the shader's family decides besides its components
template <class P, class Helper, int = 1>
class Shader {
public:
    virtual ~Shader() = default;

    /// Sets the state and parameters that the destructor may use.
    void setLastCall(miState* state, P* parameters) noexcept {
        state_ = state;
        parameters_ = parameters;
    }

protected:
    miState* state_ = nullptr; ///< only while the object is being destroyed
    P* parameters_ = nullptr;
};

/// Address of the running instance's user pointer.
[[nodiscard]] inline void** instanceUserPointer(miState* state) {
    void** slot = nullptr;
    mi_query(miQ_FUNC_USERPTR, state, miNULLTAG, &slot);
    return slot;
}

/// What the entry points of a shader do. `Instance` is constructed from (state, record) and called with
/// (result, state, record); a shader that needs no object has a static `shade` with those arguments instead.
template <class Instance, class P>
struct ShaderEntry {
    /// `file` and `line` are what the renderer's leak report shows for the object.
    static void init(miState* state, P* record, miBoolean* instanceInitRequired, const char* file, int line) {
        if (!record) {
            *instanceInitRequired = miTRUE;
            return;
        }
        void** const slot = instanceUserPointer(state);
        if (!slot) return;
        void* const memory = mi_mem_int_allocate(file, line, static_cast<int>(sizeof(Instance)));
        *slot = memory ? new (memory) Instance(state, record) : nullptr;
    }

    static void exit(miState* state, P* record) {
        if (!record) return;
        void** const slot = instanceUserPointer(state);
        if (!slot || !*slot) return;
        auto* const instance = static_cast<Instance*>(*slot);
        instance->setLastCall(state, record);
        instance->~Instance();
        // One release serves all shaders; the leak report knows it by this name and line.
        mi_mem_int_release("orcaUtilities", 150, instance);
        *slot = nullptr;
    }

    template <class Result>
    static miBoolean call(Result* result, miState* state, P* record) {
        if constexpr (requires { Instance::shade(result, state, record); })
            return Instance::shade(result, state, record);
        else return (*static_cast<const Instance*>(*instanceUserPointer(state)))(result, state, record);
    }
};

/// Defines a shader's four entry points. `file` and `line` name its objects in the renderer's leak report.
#define ORCA_EXPORT_SHADER(name, Result, Instance, Record, file, line)                                       \
    extern "C" {                                                                                             \
    DLLEXPORT int name##_version(void) {                                                                     \
        return 1;                                                                                            \
    }                                                                                                        \
    DLLEXPORT void name##_init(miState* state, Record* record, miBoolean* instanceInitRequired) {            \
        ShaderEntry<Instance, Record>::init(state, record, instanceInitRequired, file, line);                \
    }                                                                                                        \
    DLLEXPORT void name##_exit(miState* state, Record* record) {                                             \
        ShaderEntry<Instance, Record>::exit(state, record);                                                  \
    }                                                                                                        \
    DLLEXPORT miBoolean name(Result* result, miState* state, Record* record) {                               \
        return ShaderEntry<Instance, Record>::call(result, state, record);                                   \
    }                                                                                                        \
    }
