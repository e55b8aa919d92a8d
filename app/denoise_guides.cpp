// SPDX-License-Identifier: Apache-2.0
#include "denoise_guides.h"

#include "pass_block.h"

#include <map>
#include <string>

namespace orca::app {

namespace {

using render::GuideKind;

/// Of the passes that say something about surfaces, by layer name.
std::map<std::string, GuideKind> guidesOf(const scene::Database& database, const FrameBufferData& block) {
    std::map<std::string, GuideKind> guides;
    for (int i = 0; i < block.n_frameBufferInfo; ++i) {
        const FrameBufferDataRecord& record =
            arrayElements(block.frameBufferInfo, block.i_frameBufferInfo)[i];
        const auto* const name = database.find<scene::StringElement>(record.frameBufferName);
        const int type = typeOfRecord(block, i);
        if (!name) continue;
        if (type == PASS_DIFFUSE_MATERIAL_COLOR) guides[name->text] = GuideKind::Color;
        if (type == PASS_NORMAL) guides[name->text] = GuideKind::Normal;
    }
    return guides;
}

} // namespace

std::vector<render::DenoiseSettings::Guide> denoiseGuides(const scene::Database& database,
                                                          const render::Picture& picture) {
    std::map<std::string, GuideKind> found;
    if (const FrameBufferData* const block = passBlock(database, *picture.elements().camera))
        found = guidesOf(database, *block);
    std::vector<render::DenoiseSettings::Guide> guides;
    for (const image::Buffer& buffer : picture.framebuffers().buffers()) {
        if (const auto pass = found.find(buffer.name); pass != found.end())
            guides.push_back({buffer.name, pass->second});
        else if (buffer.type == miIMG_TYPE_N) guides.push_back({buffer.name, GuideKind::Normal});
        else if (buffer.type == miIMG_TYPE_Z) guides.push_back({buffer.name, GuideKind::Depth});
    }
    return guides;
}

} // namespace orca::app
