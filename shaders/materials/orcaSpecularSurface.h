// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "orcaAmbientComponents.h"
#include "orcaCustomComponents.h"
#include "orcaDiffuseComponents.h"
#include "orcaHighlightComponents.h"
#include "orcaIncandescenceComponents.h"
#include "orcaIndirectComponents.h"
#include "orcaMirrorComponents.h"
#include "orcaRefractionComponents.h"
#include "orcaScatterComponents.h"
#include "orcaShaderHelpers.h"
#include "orcaSpecularMaterials.h"
#include "orcaSurface.h"

/// The standard material with highlights and reflections of its own.
template <class P, class Helper, class Specular, class Reflection>
using SpecularSurface =
    Surface<P, SurfaceShaderReturnType, Helper, DefaultAmbientMaterialColorComponent<P>,
            DefaultAmbientComponent<P>, DefaultDiffuseMaterialColorComponent<P>, DefaultDiffuseComponent<P>,
            Specular, Reflection, DefaultRefractionComponent<P>, DefaultScatterComponent<P>,
            DefaultIndirectComponent<P>, DefaultIncandescenceComponent<P>, DefaultCustomComponent<P>>;
