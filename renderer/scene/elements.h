// SPDX-License-Identifier: Apache-2.0
#pragma once

/// Everything that a scene's database can hold.

#include "scene/camera_element.h"
#include "scene/declaration.h"
#include "scene/element.h"
#include "scene/function_element.h"
#include "scene/instance_element.h"
#include "scene/object_element.h"
#include "scene/options_element.h"
#include "scene/shading_elements.h"
