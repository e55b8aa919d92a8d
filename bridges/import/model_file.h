// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <assimp/Importer.hpp>
#include <assimp/scene.h>

#include <stdexcept>
#include <string>
#include <vector>

namespace orca::bridge {

/// A file that cannot be imported: which one, and why.
class ImportError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

/// A file that cannot be written.
class WriteError : public ImportError {
public:
    using ImportError::ImportError;
};

/// Column vectors: a point of a node in its parent's space is matrix * point.
using Matrix = aiMatrix4x4t<double>;

/// A file of another format in memory. Faces are triangles, points and lines; a mesh has one material.
class ModelFile {
public:
    /// Reads the file and those that it names. Throws ImportError, or std::bad_alloc.
    explicit ModelFile(std::string path);

    [[nodiscard]] const std::string& path() const { return path_; }
    [[nodiscard]] const aiScene& scene() const { return *scene_; }
    /// Of the reader, such as "Stanford Polygon Library (PLY) Importer".
    [[nodiscard]] const std::string& format() const { return format_; }
    /// Files that have been read, each once, in the order of opening.
    [[nodiscard]] const std::vector<std::string>& files() const { return files_; }
    [[nodiscard]] bool isGltf() const;
    /// Scale from the file's units to metres; 1 where the format has none, or where the reader has applied
    /// it.
    [[nodiscard]] double metresPerUnit() const;
    /// Scale of lengths that the reader has put into the root node: of Collada the unit, else 1.
    [[nodiscard]] double rootScale() const;
    /// Whether the file says that its z axis points up, and the reader has not turned it.
    [[nodiscard]] bool zIsUp() const;

private:
    std::string path_, format_;
    std::vector<std::string> files_;
    Assimp::Importer importer_;
    const aiScene* scene_ = nullptr; // owned by importer_
};

} // namespace orca::bridge
