// SPDX-License-Identifier: Apache-2.0
#include "model_file.h"

#include <assimp/DefaultIOSystem.h>
#include <assimp/commonMetaData.h>
#include <assimp/config.h>
#include <assimp/postprocess.h>
#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <filesystem>
#include <fstream>
#include <new>

namespace orca::bridge {

namespace {

namespace fs = std::filesystem;

/// Notes which files are opened. Devices and pipes, which may never end, are not.
class RecordingFiles final : public Assimp::DefaultIOSystem {
public:
    explicit RecordingFiles(std::vector<std::string>& files) : files_(files) {}

    Assimp::IOStream* Open(const char* file, const char* mode) override {
        std::error_code ignored;
        if (!fs::is_regular_file(file, ignored)) return nullptr;
        Assimp::IOStream* const stream = DefaultIOSystem::Open(file, mode);
        if (stream && std::find(files_.begin(), files_.end(), file) == files_.end())
            files_.emplace_back(file);
        return stream;
    }

private:
    std::vector<std::string>& files_;
};

std::string whyNoFile(const std::string& path) {
    std::error_code problem;
    const fs::file_status status = fs::status(path, problem);
    if (!fs::exists(status)) return problem ? problem.message() : "there is no such file";
    if (fs::is_directory(status)) return "it is a directory";
    return fs::is_regular_file(status) ? "" : "it is no regular file";
}

/// The reader of PLY looks for the end of a header that has none for ever.
bool isCutPly(const std::string& path) {
    constexpr std::size_t longestHeader = 1 << 20;
    std::string head(longestHeader, '\0');
    std::ifstream file(path, std::ios::binary);
    file.read(head.data(), static_cast<std::streamsize>(head.size()));
    head.resize(static_cast<std::size_t>(file.gcount()));
    const std::size_t end = head.find("\nend_header");
    return head.starts_with("ply") &&
           (end == std::string::npos || head.find('\n', end + 1) == std::string::npos);
}

} // namespace

ModelFile::ModelFile(std::string path) : path_(std::move(path)) {
    if (const std::string reason = whyNoFile(path_); !reason.empty())
        throw ImportError(fmt::format("\"{}\": {}", path_, reason));
    if (isCutPly(path_)) throw ImportError(fmt::format("\"{}\": the file ends within its header", path_));
    importer_.SetIOHandler(new RecordingFiles(files_)); // which the importer deletes
    // Nodes for pivots, of which a rotation needs half a dozen, are folded into the node that they belong to.
    importer_.SetPropertyBool(AI_CONFIG_IMPORT_FBX_PRESERVE_PIVOTS, false);
    scene_ = importer_.ReadFile(path_, aiProcess_Triangulate);
    if (const std::exception_ptr failure = importer_.GetException()) {
        try {
            std::rethrow_exception(failure);
        } catch (const std::bad_alloc&) {
            throw;
        } catch (...) { // its message is the error string
        }
    }
    if (!scene_) {
        std::string reason = importer_.GetErrorString();
        std::replace(reason.begin(), reason.end(), '\n', ' ');
        throw ImportError(
            fmt::format("\"{}\": {}", path_, reason.empty() ? "the file cannot be read" : reason));
    }
    if (!scene_->mRootNode) throw ImportError(fmt::format("\"{}\": the file holds no scene", path_));
    aiString format;
    if (scene_->mMetaData && scene_->mMetaData->Get(AI_METADATA_SOURCE_FORMAT, format))
        format_ = format.C_Str();
}

bool ModelFile::isGltf() const {
    return format_.rfind("glTF", 0) == 0;
}

double ModelFile::metresPerUnit() const {
    // Centimetres; a float in some files and a double in others.
    double centimetres = 0;
    float single = 0;
    const aiMetadata* const about = scene_->mMetaData;
    if (about && about->Get("UnitScaleFactor", single)) centimetres = single;
    else if (!about || !about->Get("UnitScaleFactor", centimetres)) return 1;
    return centimetres > 0 ? centimetres * 0.01 : 1;
}

double ModelFile::rootScale() const {
    if (format_.rfind("Collada", 0) != 0) return 1;
    const double scale =
        std::cbrt(std::abs(static_cast<double>(scene_->mRootNode->mTransformation.Determinant())));
    return scale > 0 ? scale : 1;
}

bool ModelFile::zIsUp() const {
    constexpr int z = 2;
    int axis = 1;
    return scene_->mMetaData && scene_->mMetaData->Get("UpAxis", axis) && axis == z;
}

} // namespace orca::bridge
