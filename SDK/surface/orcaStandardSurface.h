// SPDX-License-Identifier: Apache-2.0
#pragma once

/// The standard material with given highlights and reflections, or without.

#include "orcaAmbientComponents.h"
#include "orcaCustomComponents.h"
#include "orcaDiffuseComponents.h"
#include "orcaHighlightComponents.h"
#include "orcaIncandescenceComponents.h"
#include "orcaIndirectComponents.h"
#include "orcaMirrorComponents.h"
#include "orcaReflectionComponents.h"
#include "orcaRefractionComponents.h"
#include "orcaScatterComponents.h"
#include "orcaShaderHelpers.h"
#include "orcaSpecularComponents.h"
#include "orcaSpecularParameters.h"
#include "orcaSurface.h"

/// @tparam P          parameter record, derived from SurfaceParameters
/// @tparam Helper     derived from SurfaceShaderHelper
/// @tparam Specular   as in orcaSpecularComponents.h
/// @tparam Reflection as in orcaReflectionComponents.h
template <class P, class Helper = SurfaceShaderHelper<P>, class Specular = DefaultSpecularComponent<P>,
          class Reflection = DefaultReflectionComponent<P>>
using StandardSurface =
    Surface<P, SurfaceShaderReturnType, Helper, DefaultAmbientMaterialColorComponent<P>,
            DefaultAmbientComponent<P>, DefaultDiffuseMaterialColorComponent<P>, DefaultDiffuseComponent<P>,
            Specular, Reflection, DefaultRefractionComponent<P>, DefaultScatterComponent<P>,
            DefaultIndirectComponent<P>, DefaultIncandescenceComponent<P>, DefaultCustomComponent<P>>;
