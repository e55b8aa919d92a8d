// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "scene/elements/element.h"

namespace orca::scene {

struct MaterialElement final : Element {
    static constexpr miScene_type elementType = miSCENE_MATERIAL;
    MaterialElement() : Element(miSCENE_MATERIAL) {}
    void* record() override { return &material; }
    [[nodiscard]] int recordSize() const override { return sizeof(material); }
    void visitReferences(const std::function<void(miTag)>& visit) const override { eachTag(*this, visit); }
    /// Calls `visit` with every tag, to read or to replace it.
    template <class Self, class Visit>
    static void eachTag(Self& self, const Visit& visit) {
        auto& m = self.material;
        for (auto* tag : {&m.shader, &m.shadow, &m.volume, &m.environment, &m.displace, &m.contour, &m.photon,
                          &m.photonvol, &m.lightmap, &m.userdata}) {
            visit(*tag);
        }
        visit(self.base);
    }

    miMaterial material{};
    miTag base = miNULLTAG; ///< material that the slots were taken from
};

} // namespace orca::scene
