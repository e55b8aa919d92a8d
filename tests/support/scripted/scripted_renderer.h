// SPDX-License-Identifier: Apache-2.0
#pragma once

/// A renderer that does what a test tells it. Defines the mi_* functions that the library calls: each has a
/// sane default, a hook where a test may want another answer, and leaves its name in `calls`. One at a time,
/// one thread.

#include "scripted_database.h"
#include "scripted_frame_buffers.h"
#include "scripted_memory.h"

#include <shader.h>

#include <array>
#include <functional>
#include <map>
#include <string>
#include <utility>
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

    miFunction function{};
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

    // What it answers. Queries: by code, or by code and tag.
    template <class T>
    void answer(miQ_type query, const T& value, miTag tag = miNULLTAG) {
        const auto* bytes = reinterpret_cast<const char*>(&value);
        answers_[{query, tag}] = std::vector<char>(bytes, bytes + sizeof value);
    }
    void refuse(miQ_type query, miTag tag = miNULLTAG) { answers_.erase({query, tag}); }
    miBoolean query(miQ_type query, miState* state, miTag tag, void* result);

    /// Hooks. Where one is not set: traced rays find nothing and leave the result alone, shadows let all
    /// light through, textures are unreadable.
    std::function<miBoolean(miColor*, miState*, miVector* origin, miVector* direction)> traceEye;
    std::function<miBoolean(miColor*, miState*, miVector*direction)> traceReflection, traceRefraction,
        traceEnvironment;
    std::function<miBoolean(miColor*, miState*)> traceTransparent, traceContinue, traceShadow,
        traceShadowSegment;
    std::function<miBoolean(miColor*, miState*, miUint1 face, miIrrad_options*)> averageRadiance;
    std::function<miBoolean(miScalar*, miState*, miAo_options*)> ambientOcclusion;
    std::function<miBoolean(miColor*, int type, miState*, miTag, void*)> callShader;
    std::function<void*(miState*, void* parameter)> evaluate;
    std::function<miBoolean(miColor*, miState*, miTag, miVector*)> lookupColor;
    /// Called first by every mi_* function with its name; a test throws from it what a foreign shader might
    /// throw.
    std::function<void(const char* name)> onCall;

    /// Values of connected parameters, by the parameter's address.
    template <class T>
    void setComputed(const void* parameter, const T& value) {
        const auto* bytes = reinterpret_cast<const char*>(&value);
        computed_[parameter] = std::vector<char>(bytes, bytes + sizeof value);
    }
    void* computed(const void* parameter);

    // What it has seen.
    std::vector<std::string> calls;
    [[nodiscard]] int callCount(const std::string& name) const;
    std::vector<ScriptedMessage> log;
    /// Texts of one level, in order.
    [[nodiscard]] std::vector<std::string> messagesOf(char level) const;
    [[nodiscard]] int pinsHeld() const { return database.pinsHeld(); }
    int locksHeld = 0;
    int interfacesHeld = 0;
    int collectionsHeld = 0;
    bool opacitySet = false;
    miColor opacity{0, 0, 0, 0};

    // Shader state: entries keep their address while they live and are 16-byte aligned.
    miBoolean setShaderState(const char* key, const void* data, int size, int lifetime);
    void* shaderState(const char* key, int* size = nullptr);
    [[nodiscard]] int shaderStateLifetime(const char* key) const;

    /// The instance's user pointer, for a state's running shader.
    void** userPointer(const miFunction* function) { return &userPointers_[function]; }

    std::uint64_t randomState = 0;
    int samplesDrawn = 0;

private:
    struct alignas(16) Block {
        char bytes[16];
    };
    struct StateEntry {
        std::vector<Block> bytes;
        int size;
        int lifetime;
    };

    std::map<std::pair<int, miTag>, std::vector<char>> answers_;
    std::map<std::string, StateEntry> shaderState_;
    std::map<const void*, std::vector<char>> computed_;
    std::map<const miFunction*, void*> userPointers_;
};

/// What every mi_* function does first: notes its name in the renderer, which it returns.
ScriptedRenderer& enter(const char* name);
