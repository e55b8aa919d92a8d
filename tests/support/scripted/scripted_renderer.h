// SPDX-License-Identifier: Apache-2.0
#pragma once

/// A renderer that does what a test tells it. Defines the mi_* functions that the library calls: each has a
/// sane default, a hook where a test may want another answer, and leaves its name in `calls`. One at a time,
/// one thread.

#include "scripted_database.h"
#include "scripted_frame_buffers.h"
#include "scripted_memory.h"

#include <shader.h>

#include <functional>
#include <map>
#include <new>
#include <optional>
#include <random>
#include <string>
#include <vector>

struct ScriptedMessage {
    char level;       ///< first letter of fatal, error, warning, info, progress, debug
    std::string text; ///< the format as the shader passed it, unformatted

    bool operator==(const ScriptedMessage&) const = default;
};

/// A light that delivers the given samples to whoever loops over it.
struct ScriptedLight {
    miTag instance = miNULLTAG;
    std::vector<miVector> directions{{0.0f, 0.0f, 1.0f}}; ///< point to light, unit, one per sample
    miColor color{1.0f, 1.0f, 1.0f, 1.0f};
    /// The light shader; gets a light state whose direction points at the surface. Null: the colour
    /// unchanged.
    std::function<miBoolean(miColor*, miState*)> shader;
};

/// One instance of a shader with its parameters and connections.
template <class P>
class ScriptedShader {
public:
    ScriptedShader() : ScriptedShader(P{}) {}
    explicit ScriptedShader(const P& values) : parameters(values) {
        function.ghost_offs =
            static_cast<int>(reinterpret_cast<char*>(ghost_) - reinterpret_cast<char*>(&parameters));
        function.parameter_size = sizeof(P);
    }
    ScriptedShader(const ScriptedShader&) = delete;
    ScriptedShader& operator=(const ScriptedShader&) = delete;

    /// Marks a parameter as computed by another shader, `tag` in the renderer's `computed` table.
    void connect(const void* parameter, miUint tag = 1) {
        const auto offset = static_cast<const char*>(parameter) - reinterpret_cast<const char*>(&parameters);
        std::memcpy(ghost_ + offset, &tag, sizeof tag);
    }

private:
    alignas(miFunction) char header_[sizeof(miFunction)]; // which ends with an array of no size

public:
    miFunction& function = *new (header_) miFunction{};
    P parameters;

private:
    alignas(16) char ghost_[sizeof(P) + 4]{};
};

class ScriptedRenderer {
public:
    ScriptedRenderer();
    ~ScriptedRenderer();
    ScriptedRenderer(const ScriptedRenderer&) = delete;
    ScriptedRenderer& operator=(const ScriptedRenderer&) = delete;

    /// The one that answers the mi_* calls; throws std::logic_error when a test has made none.
    static ScriptedRenderer& current();

    // What the renderer knows.
    miOptions options{};
    miCamera camera{};
    /// An eye ray along -z that hits a surface at the origin whose normal is +z.
    miState state{};
    /// A state called from `parent` with a ray of `type`; levels are counted as the renderer counts them.
    [[nodiscard]] miState derived(miState& parent, miRay_type type) const;

    ScriptedDatabase database;
    ScriptedMemory memory;
    ScriptedFrameBuffers frameBuffers;
    std::vector<ScriptedLight> lights;
    miMatrix internalToWorld, internalToCamera, internalToObject, internalToLight;

    // What it answers.
    template <class T>
    void answer(miQ_type query, const T& value) {
        answers_[query] = bytesOf(value);
    }
    void refuse(miQ_type query) { answers_.erase(query); }
    miBoolean query(miQ_type query, miState* state, miTag tag, void* result);

    /// Hooks. Until one is set, rays find nothing and leave the result alone, shadows let all light through,
    /// and textures are unreadable.
    template <class... Arguments>
    using Hook = std::function<miBoolean(Arguments...)>;
    static constexpr auto no = [](auto...) { return miFALSE; };
    static constexpr auto yes = [](auto...) { return miTRUE; };
    Hook<miColor*, miState*, miVector*, miVector*> traceEye = no; ///< origin, direction
    Hook<miColor*, miState*, miVector*> traceReflection = no, traceRefraction = no, traceEnvironment = no;
    Hook<miColor*, miState*> traceTransparent = no, traceContinue = no, traceShadow = yes,
                             traceShadowSegment = yes;
    Hook<miColor*, miState*, miUint1, miIrrad_options*> averageRadiance = no; ///< face
    Hook<miScalar*, miState*, miAo_options*> ambientOcclusion = no;
    Hook<miColor*, int, miState*, miTag, void*> callShader = no;
    Hook<miColor*, miState*, miTag, miVector*> lookupColor = no;
    std::function<void*(miState*, void* parameter)> evaluate; ///< unset: `setComputed`'s
    /// Called first by every mi_* function with its name; a test throws from it what a foreign shader might
    /// throw.
    std::function<void(const char* name)> onCall;

    /// Values of connected parameters, by the parameter's address.
    template <class T>
    void setComputed(const void* parameter, const T& value) {
        computed_[parameter] = bytesOf(value);
    }
    void* computed(const void* parameter);

    // What it has seen.
    std::vector<std::string> calls;
    [[nodiscard]] int callCount(const std::string& name) const;
    std::vector<ScriptedMessage> log;
    [[nodiscard]] int pinsHeld() const { return database.pinsHeld(); }
    int locksHeld = 0;
    int interfacesHeld = 0;
    int collectionsHeld = 0;
    std::optional<miColor> opacity; ///< of the sample, once it is set

    // Shader state: entries keep their address while they live and are aligned for any type.
    miBoolean setShaderState(const char* key, const void* data, int size, int lifetime);
    void* shaderState(const char* key, int* size = nullptr);
    /// 0 without an entry.
    [[nodiscard]] int shaderStateLifetime(const char* key) { return shaderState_[key].lifetime; }

    /// The instance's user pointer, for a state's running shader.
    void** userPointer(const miFunction* function) { return &userPointers_[function]; }

    std::minstd_rand random;
    int samplesDrawn = 0;

private:
    using Bytes = std::vector<char>; // from the heap, so aligned
    struct StateEntry {
        Bytes bytes;
        int lifetime = 0;
    };
    template <class T>
    static Bytes bytesOf(const T& value) {
        const auto* bytes = reinterpret_cast<const char*>(&value);
        return {bytes, bytes + sizeof value};
    }

    std::map<int, Bytes> answers_;
    std::map<std::string, StateEntry> shaderState_;
    std::map<const void*, Bytes> computed_;
    std::map<const miFunction*, void*> userPointers_;
};

/// What every mi_* function does first: notes its name in the renderer, which it returns.
ScriptedRenderer& enter(const char* name);
