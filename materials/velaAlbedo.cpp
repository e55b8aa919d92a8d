// SPDX-License-Identifier: Apache-2.0
#include "velaAlbedo.h"

#include "velaAlbedoTables.h"

#include <algorithm>
#include <cmath>

namespace vela {

namespace {

/// A place on the axis of a table.
struct Place {
    Place(float value, int size) {
        const float scaled = std::clamp(value, 0.0f, 1.0f) * static_cast<float>(size - 1);
        index = std::min(static_cast<int>(scaled), size - 2);
        rest = scaled - static_cast<float>(index);
    }
    [[nodiscard]] float between(float a, float b) const noexcept { return a + rest * (b - a); }
    [[nodiscard]] float of(const float* values) const noexcept {
        return between(values[index], values[index + 1]);
    }
    int index;
    float rest;
};

/// Interpolated in cosines, not in their square roots, as the means are.
Place placeOfCosine(float cosine, int size) {
    Place place(std::sqrt(std::max(0.0f, cosine)), size);
    const auto at = [&](int k) {
        const float root = static_cast<float>(k) / static_cast<float>(size - 1);
        return root * root;
    };
    const float a = at(place.index), b = at(place.index + 1);
    place.rest = std::clamp((cosine - a) / (b - a), 0.0f, 1.0f);
    return place;
}

template <int size>
float lookUp(const float (&table)[size][size], const Place& row, const Place& column) {
    return row.between(column.of(table[row.index]), column.of(table[row.index + 1]));
}

} // namespace

FacetAlbedo facetAlbedo(float roughness, float cosine) noexcept {
    const Place row(roughness, facetTableSize), column = placeOfCosine(cosine, facetTableSize);
    return {lookUp(facetsAtNormal, row, column), lookUp(facetsAtGrazing, row, column)};
}

FacetAlbedo meanFacetAlbedo(float roughness) noexcept {
    const Place row(roughness, facetTableSize);
    return {row.of(meanFacetsAtNormal), row.of(meanFacetsAtGrazing)};
}

float sheenAlbedo(float roughness, float cosine) noexcept {
    const Place row(std::max(roughness, leastSheenRoughness), fibreTableSize),
        column = placeOfCosine(cosine, fibreTableSize);
    return std::min(1.0f, lookUp(fibres, row, column));
}

} // namespace vela
