// SPDX-License-Identifier: Apache-2.0
#pragma once

/// The renderer's shader interface. Shader sources include this file and nothing else of the renderer; the
/// `mi_*` functions are left open in a shader library and bound by the renderer that loads it.
///
/// Conventions: row-major matrices, row vectors (p' = p * M), translation in elements 12 to 14. Points and
/// directions in a state are in internal space. A tag of 0 names nothing.

#include "mi/types.h"

#include "mi/state.h"

#include "mi/camera.h"
#include "mi/options.h"
#include "mi/scene.h"

#include "mi/query.h"

#include "mi/contour.h"
#include "mi/database.h"
#include "mi/direction.h"
#include "mi/framebuffer.h"
#include "mi/geometry.h"
#include "mi/image.h"
#include "mi/light.h"
#include "mi/memory.h"
#include "mi/mesh.h"
#include "mi/message.h"
#include "mi/noise.h"
#include "mi/process.h"
#include "mi/random.h"
#include "mi/reflectance.h"
#include "mi/scene_making.h"
#include "mi/shading.h"
#include "mi/texture.h"
#include "mi/trace.h"
#include "mi/transform.h"

#include "mi/color.h"
#include "mi/evaluate.h"
#include "mi/mathematics.h"
#include "mi/matrix.h"
#include "mi/vector.h"

#include "mi/access.h"
#include "mi/interface.h"
#include "mi/light_iterator.h"
