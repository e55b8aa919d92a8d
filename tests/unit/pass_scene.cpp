// SPDX-License-Identifier: Apache-2.0
#include "pass_scene.h"

namespace {

constexpr std::size_t headWords = 24; // the block with one element of storage per array
constexpr std::size_t namesStorage = 3, recordsStorage = 6, countsStorage = 23;
constexpr std::size_t recordWords = 15;

void appendRecord(std::vector<miUint>& words, miTag name, const ScenePass& pass) {
    words.push_back(name);
    for (const auto& parameter : FRAME_BUFFER_FLAG_PARAMETERS)
        words.push_back((pass.flags & parameter.bit) != 0);
    for (const int bound : {pass.minReflection, pass.maxReflection, pass.minRefraction, pass.maxRefraction})
        words.push_back(static_cast<miUint>(bound));
    words.push_back(pass.userWord4);
}

} // namespace

PassScene::PassScene(const std::vector<ScenePass>& passes, const std::vector<std::string>& nonMaterialBuffers,
                     int typeCounts, int nonMaterialChannels) {
    std::vector<miUint> words(headWords);
    words[0] = static_cast<miUint>(FRAME_BUFFER_DATA_MAGIC);
    words[1] = static_cast<miUint>(words.size() - namesStorage);
    words[2] = static_cast<miUint>(nonMaterialBuffers.size());
    for (const std::string& name : nonMaterialBuffers) {
        renderer.frameBuffers.add(name, nonMaterialChannels);
        words.push_back(renderer.database.addString(name));
    }

    while ((words.size() - recordsStorage) % recordWords != 0) words.push_back(0);
    words[4] = static_cast<miUint>((words.size() - recordsStorage) / recordWords);
    words[5] = static_cast<miUint>(passes.size());
    std::vector<miUint> counts(static_cast<std::size_t>(std::max(typeCounts, PASS_TYPE_COUNT)));
    for (const ScenePass& pass : passes) {
        ++counts[pass.type];
        if (!pass.buffer.empty()) renderer.frameBuffers.add(pass.buffer);
        appendRecord(words, pass.buffer.empty() ? miNULLTAG : renderer.database.addString(pass.buffer), pass);
    }

    words[21] = static_cast<miUint>(words.size() - countsStorage);
    words[22] = static_cast<miUint>(typeCounts);
    words.insert(words.end(), counts.begin(), counts.begin() + typeCounts);

    renderer.camera.userdata = renderer.database.addUserData(words);
    renderer.answer<int>(miQ_FUNC_CALLTYPE, miSHADER_STATE);
}

miBoolean PassScene::stateShader(int operation, miBoolean sampleResult) {
    miShader_state_arg argument{operation, sampleResult};
    return orcaFrameBufferState(nullptr, &renderer.state, nullptr, &argument);
}

void PassScene::begin() {
    stateShader(miSHADERSTATE_STATE_INIT);
    stateShader(miSHADERSTATE_SAMPLE_INIT);
}

unsigned PassScene::count() {
    PassTypeInfo* types = nullptr;
    FrameBufferInfo* found = nullptr;
    return getFrameBufferInfo(&renderer.state, types, found);
}

FrameBufferInfo* PassScene::records() {
    PassTypeInfo* types = nullptr;
    FrameBufferInfo* found = nullptr;
    return getFrameBufferInfo(&renderer.state, types, found) != 0 ? found : nullptr;
}

int PassScene::buffer(const std::string& name) const {
    size_t index = 0;
    return renderer.frameBuffers.get_index(name.c_str(), index) ? static_cast<int>(index) : 0;
}
