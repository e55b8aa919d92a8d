// SPDX-License-Identifier: Apache-2.0
#pragma once

/// Everything that a scene's database can hold.

#include "scene/elements/camera_element.h"
#include "scene/elements/declaration_element.h"
#include "scene/elements/element.h"
#include "scene/elements/function_element.h"
#include "scene/elements/group_element.h"
#include "scene/elements/instance_element.h"
#include "scene/elements/light_element.h"
#include "scene/elements/light_profile_element.h"
#include "scene/elements/material_element.h"
#include "scene/elements/object_element.h"
#include "scene/elements/options_element.h"
#include "scene/elements/other_element.h"
#include "scene/elements/phenomenon.h"
#include "scene/elements/string_element.h"
#include "scene/elements/texture_element.h"
