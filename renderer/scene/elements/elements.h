// SPDX-License-Identifier: Apache-2.0
#pragma once

/// Everything that a scene's database can hold.

#include "scene/declarations/declaration.h"
#include "scene/elements/camera_element.h"
#include "scene/elements/element.h"
#include "scene/elements/function_element.h"
#include "scene/elements/instance_element.h"
#include "scene/elements/object_element.h"
#include "scene/elements/options_element.h"
#include "scene/elements/shading_elements.h"
