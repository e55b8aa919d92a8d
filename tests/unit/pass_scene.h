// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "orcaFrameBufferState.h"
#include "scripted_renderer.h"

#include <string>
#include <vector>

/// One pass that a scene asks for. Passes must come in type order.
struct ScenePass {
    PassTypeID type;
    std::string buffer; ///< empty: the record names no buffer
    unsigned flags = 0; ///< FB_USER_FLAG_0 to FB_IGNORE_OBJECT_LINKS
    int minReflection = 0, maxReflection = 100, minRefraction = 0, maxRefraction = 100;
    miUint userWord4 = 0;
};

/// A scene with a frame-buffer data block on its camera, laid out as the renderer lays out array parameters:
/// the elements lie behind the block and the start index leads to them.
class PassScene {
public:
    ScriptedRenderer renderer;

    explicit PassScene(const std::vector<ScenePass>& passes,
                       const std::vector<std::string>& nonMaterialBuffers = {},
                       int typeCounts = PASS_TYPE_COUNT, int nonMaterialChannels = 4);

    miBoolean stateShader(int operation, miBoolean sampleResult = miTRUE);
    /// Operations 0 and 2: the records exist and are resolved.
    void begin();

    /// What a shader gets; 0 records leave `records` null.
    unsigned count();
    FrameBufferInfo* records();
    FrameBufferInfo& record(int i) { return records()[i]; }
    TraceLevelSlot& slot(int record, int level = 0) { return this->record(record).levelSlots[level]; }
    [[nodiscard]] int buffer(const std::string& name) const;

    /// The data block as a scene file may have damaged it.
    miUint* blockWords() {
        return reinterpret_cast<miUint*>(
            renderer.database.element<miUserdata>(renderer.camera.userdata).parameters);
    }
};

inline bool operator==(const miColor& a, const miColor& b) {
    return a.r == b.r && a.g == b.g && a.b == b.b && a.a == b.a;
}
inline std::ostream& operator<<(std::ostream& out, const miColor& c) {
    return out << '(' << c.r << ", " << c.g << ", " << c.b << ", " << c.a << ')';
}
