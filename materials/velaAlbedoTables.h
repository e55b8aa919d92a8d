// SPDX-License-Identifier: Apache-2.0
#pragma once

/// What generate_albedo_tables.py writes. velaAlbedo.h reads it.

namespace vela {

inline constexpr int facetTableSize = 32;
inline constexpr int fibreTableSize = 16;

extern const float facetsAtNormal[facetTableSize][facetTableSize];
extern const float facetsAtGrazing[facetTableSize][facetTableSize];
extern const float meanFacetsAtNormal[facetTableSize];
extern const float meanFacetsAtGrazing[facetTableSize];
extern const float fibres[fibreTableSize][fibreTableSize];

} // namespace vela
