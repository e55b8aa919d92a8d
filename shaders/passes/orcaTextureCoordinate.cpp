// SPDX-License-Identifier: Apache-2.0
#include "orcaPassShader.h"

/// Parameters of orcaPassTextureCoordinate, in declaration order.
struct TextureCoordinateParameters {
    miInteger passIndex;         // which of the data block's non-material frame buffers
    miInteger contributionIndex; // bit of this pass in an object's pass mask
    miInteger textureSpace;      // counted from 0
};

namespace {

using P = TextureCoordinateParameters;

/// The texture coordinates of the hit; 0 for a surface without that texture space.
class TextureCoordinateComputation {
public:
    TextureCoordinateComputation(miState* state, P* record)
        : space_(parameterValue(state, record, &P::textureSpace)) {}
    void operator()(miState* state, P*, miVector& value) const {
        int spaces = 0;
        mi_query(miQ_NUM_TEXTURES, state, miNULLTAG, &spaces);
        const bool hasSpace = state->tex_list && space_ >= 0 && space_ < spaces;
        value = hasSpace ? state->tex_list[space_] : miVector{0.0f, 0.0f, 0.0f};
    }

private:
    miInteger space_;
};

using TextureCoordinateShader = PassShader<miVector, P, TextureCoordinateComputation, PassShaderEyeRayFilter>;

} // namespace

ORCA_EXPORT_SHADER(orcaPassTextureCoordinate, miVector, TextureCoordinateShader, TextureCoordinateParameters,
                   "orcaTextureCoordinate", 1)

#include "declared/orcaPassTextureCoordinate.h"
