// SPDX-License-Identifier: Apache-2.0
#pragma once

/// One of the names that shader sources include the interface under.

#include "shader.h"
