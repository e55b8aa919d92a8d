// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "scene/elements/hair_list.h"

#include <shader.h>

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace orca::scene {

/// The hairs of an object as a geometry shader makes them: its calls lay out the data, then fill arrays that
/// are given to it. Calls return what is wrong with them; empty: nothing.
class HairMaker {
public:
    /// What the shader sets; read when the hairs end.
    miHair_list record{.material = miNULLTAG, .radius = 0.0f, .degree = 1, .approx = 0, .round = miFALSE};

    /// @param type n, m, r, t or u; @param count numbers of a texture space or of user data, motion vectors
    [[nodiscard]] std::string addCode(bool ofVertices, char type, int count);
    /// Null for a count below 1.
    [[nodiscard]] miScalar* beginScalars(int count);
    [[nodiscard]] std::string endScalars(int used);
    [[nodiscard]] miGeoIndex* beginHairs(int count);
    /// @param made the hairs, those that are right; @return what is wrong with others
    [[nodiscard]] std::string end(HairList& made);

private:
    HairList list_;
    std::vector<miGeoIndex> starts_;
};

} // namespace orca::scene
