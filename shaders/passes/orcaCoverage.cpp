// SPDX-License-Identifier: Apache-2.0
#include "orcaPassShader.h"

/// Parameters of orcaPassCoverage, in declaration order.
struct CoverageParameters {
    miInteger passIndex;         // which of the data block's non-material frame buffers
    miInteger contributionIndex; // bit of this pass in an object's pass mask
};

namespace {

using P = CoverageParameters;

/// 1 wherever something is hit; filtered, the share of the pixel that is covered.
struct CoverageComputation {
    CoverageComputation(miState*, P*) {}
    void operator()(miState*, P*, float& value) const { value = 1.0f; }
};

using CoverageShader = PassShader<float, P, CoverageComputation, PassShaderEyeRayFilter>;

} // namespace

ORCA_EXPORT_SHADER(orcaPassCoverage, miScalar, CoverageShader, CoverageParameters, "orcaCoverage", 1)

#include "declared/orcaPassCoverage.h"
