// SPDX-License-Identifier: Apache-2.0
#include "image/image_types.h"

#include <algorithm>
#include <array>

namespace orca::image {

namespace {

struct Row {
    std::string_view word;
    miImg_type type;
    int components;
    Storage storage;
};

constexpr std::array rows{
    Row{"rgba", miIMG_TYPE_RGBA, 4, Storage::Byte},
    Row{"rgba_16", miIMG_TYPE_RGBA_16, 4, Storage::Word},
    Row{"rgba_h", miIMG_TYPE_RGBA_H, 4, Storage::Half},
    Row{"rgba_fp", miIMG_TYPE_RGBA_FP, 4, Storage::Float},
    Row{"rgb", miIMG_TYPE_RGB, 4, Storage::Byte},
    Row{"rgb_16", miIMG_TYPE_RGB_16, 4, Storage::Word},
    Row{"rgb_h", miIMG_TYPE_RGB_H, 4, Storage::Half},
    Row{"rgb_fp", miIMG_TYPE_RGB_FP, 4, Storage::Float},
    Row{"rgbe", miIMG_TYPE_RGBE, 4, Storage::Half},
    Row{"a", miIMG_TYPE_A, 1, Storage::Byte},
    Row{"a_16", miIMG_TYPE_A_16, 1, Storage::Word},
    Row{"a_h", miIMG_TYPE_A_H, 1, Storage::Half},
    Row{"a_fp", miIMG_TYPE_A_FP, 1, Storage::Float},
    Row{"s", miIMG_TYPE_S, 1, Storage::Byte},
    Row{"s_16", miIMG_TYPE_S_16, 1, Storage::Word},
    Row{"s_fp", miIMG_TYPE_S_FP, 1, Storage::Float},
    Row{"z", miIMG_TYPE_Z, 1, Storage::Float},
    Row{"n", miIMG_TYPE_N, 3, Storage::Float},
    Row{"m", miIMG_TYPE_M, 3, Storage::Float},
    Row{"tag", miIMG_TYPE_TAG, 1, Storage::Label},
    Row{"coverage", miIMG_TYPE_COVERAGE, 1, Storage::Float},
};

const Row* rowOf(miImg_type type) {
    const auto row = std::find_if(rows.begin(), rows.end(), [&](const Row& r) { return r.type == type; });
    return row == rows.end() ? nullptr : &*row;
}

} // namespace

miImg_type imageType(std::string_view word) {
    const auto row = std::find_if(rows.begin(), rows.end(), [&](const Row& r) { return r.word == word; });
    return row == rows.end() ? miIMG_TYPE_INVALID : row->type;
}

std::string_view imageTypeWord(miImg_type type) {
    const Row* row = rowOf(type);
    return row ? row->word : std::string_view{};
}

int componentCount(miImg_type type) {
    const Row* row = rowOf(type);
    return row ? row->components : 0;
}

bool isColor(miImg_type type) {
    return type >= miIMG_TYPE_RGBA && type <= miIMG_TYPE_RGBE;
}

bool isOpaqueColor(miImg_type type) {
    return type >= miIMG_TYPE_RGB && type <= miIMG_TYPE_RGBE;
}

bool isFiltered(miImg_type type) {
    return type != miIMG_TYPE_Z && type != miIMG_TYPE_N && type != miIMG_TYPE_M && type != miIMG_TYPE_TAG;
}

Storage storageOf(miImg_type type) {
    const Row* row = rowOf(type);
    return row ? row->storage : Storage::Float;
}

} // namespace orca::image
