// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "material_scene.h"
#include "orcaGuards.h"
#include "orcaSurfaceShaderReturnType.h"

#include <functional>
#include <map>
#include <string>

/// The entry points of a material.
template <class P, class Result = SurfaceShaderReturnType>
struct MaterialEntry {
    void (*init)(miState*, P*, miBoolean*);
    void (*exit)(miState*, P*);
    miBoolean (*shade)(Result*, miState*, P*);
};

/// An instance of a material from its init to its exit, with connections whose shaders are functions. `Block`
/// is the parameter record with what the renderer lays out behind it.
template <class P, class Result = SurfaceShaderReturnType, class Block = P>
class MaterialInstance {
public:
    MaterialInstance(MaterialScene& scene, const MaterialEntry<P, Result>& entry, const Block& values)
        : shader(values), scene_(scene), entry_(entry), running_(scene.renderer.state.shader) {
        scene_.renderer.state.shader = &shader.function;
        miBoolean required = miFALSE;
        entry_.init(&scene_.renderer.state, &shader.parameters, &required);
        scene_.renderer.evaluate = [this](miState* state, void* parameter) -> void* {
            order.push_back(parameter);
            const auto source = sources_.find(parameter);
            if (source == sources_.end()) return parameter;
            evaluated_ = source->second(state);
            return &evaluated_;
        };
    }
    ~MaterialInstance() {
        scene_.renderer.evaluate = nullptr;
        entry_.exit(&scene_.renderer.state, &shader.parameters);
    }
    MaterialInstance(const MaterialInstance&) = delete;
    MaterialInstance& operator=(const MaterialInstance&) = delete;

    /// Lets a function compute a colour parameter.
    void connect(miColor* parameter, std::function<miColor(miState*)> source) {
        shader.connect(parameter);
        sources_[parameter] = std::move(source);
    }
    Result shade(miBoolean expected = miTRUE) { return shade(&scene_.renderer.state, expected); }
    Result shade(miState* state, miBoolean expected = miTRUE) {
        Result result{};
        return shade(result, state, expected);
    }
    Result& shade(Result& result, miState* state, miBoolean expected = miTRUE) {
        state->shader = &shader.function;
        EXPECT_EQ(entry_.shade(&result, state, &shader.parameters), expected);
        EXPECT_EQ(scene_.renderer.pinsHeld(), 0);
        return result;
    }

    ScriptedShader<Block> shader;
    std::vector<const void*> order; ///< connected parameters as they were read

private:
    MaterialScene& scene_;
    MaterialEntry<P, Result> entry_;
    const Restored<miFunction*> running_;
    std::map<const void*, std::function<miColor(miState*)>> sources_;
    miColor evaluated_{};
};
