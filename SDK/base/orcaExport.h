// SPDX-License-Identifier: Apache-2.0
#pragma once

/// Marks what other shader libraries may call by name; everything else of the library stays hidden.
#define ORCA_EXPORT __attribute__((visibility("default")))
