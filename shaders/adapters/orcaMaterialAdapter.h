// SPDX-License-Identifier: Apache-2.0
#pragma once

/// Surface shaders around materials whose results are their components: they evaluate the material once and
/// write each component to the passes that it belongs to.

#include "orcaComponentMembers.h"
#include "orcaComponents.h"
#include "orcaMaterial.h"
#include "orcaSurfaceShaderReturnType.h"

#include <shader.h>

/// Parameters of every adapter, in declaration order.
struct MaterialAdapterParameters {
    miInteger passWriteMode;
    miInteger passWriteFlags;
    miScalar passWriteScale;
    miBoolean writePasses; // the component passes are written
    miTag material;        // evaluated with all of its components; none: the components below
    // Connected to members of a material's result. Each is part of the picture, opacity included.
    miColor opacity;
    miColor ambient;
    miColor diffuse;
    miColor indirect;
    miColor specular;
    miColor reflection;
    miColor refraction;
    miColor translucence;
    miColor scatter;
    miColor emission;
    miColor diffuseColor;
    miColor specularColor;
    miColor reflectionColor;
};

/// What the adapters have in common. The messages' name is each one's own.
class MaterialAdapter : public Material<MaterialAdapterParameters, ShaderHelper<MaterialAdapterParameters>> {
public:
    using Record = MaterialAdapterParameters;
    MaterialAdapter(miState* state, Record* record, const char* name);

    /// False, with a warning, when the render state lacks its base record.
    miBoolean operator()(SurfaceShaderReturnType* result, miState* state, Record* record) const;

private:
    class Call;

    const char* name_;
    ComponentMembers members_;
};

/// Defines the adapter `name`, whose messages begin with `prefix`.
#define ORCA_EXPORT_ADAPTER(name, prefix)                                                                    \
    namespace {                                                                                              \
    struct Adapter : MaterialAdapter {                                                                       \
        Adapter(miState* state, Record* record) : MaterialAdapter(state, record, prefix) {}                  \
    };                                                                                                       \
    }                                                                                                        \
    ORCA_EXPORT_SHADER(name, SurfaceShaderReturnType, Adapter, MaterialAdapterParameters, #name, __LINE__)
