// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "base/log.h"
#include "scene/database.h"
#include "scene/elements/color_spaces.h"
#include "scene/elements/elements.h"
#include "scene/render_request.h"

#include <atomic>
#include <functional>
#include <map>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace orca::scene {

class SceneWriter;

/// The triangles of a file of another format, as statements of an object.
struct ImportedMesh {
    std::string statements;
    std::vector<std::string> files; ///< that were read for it, the mesh file itself included
    std::string failure;            ///< why there is none; empty: there is one
};

/// What the reader calls, in file order.
struct ParserCallbacks {
    /// The database is complete up to here. False stops reading. Not called once the scene has errors.
    std::function<bool(const RenderRequest&)> render;
    /// Loads a shader library; the name has its registry and environment references replaced. False: it could
    /// not be loaded, and the callback has reported why.
    std::function<bool(const std::string& file, const SourceLocation& location)> link;
    /// Reads the file of a `mesh` statement; without a callback there is no such statement. `tagged`:
    /// triangles carry labels.
    std::function<ImportedMesh(const std::string& path, bool tagged)> importMesh;
    /// Text of an `echo` command; without a callback it becomes a progress message.
    std::function<void(const std::string& text)> echo;
};

struct ParserOptions {
    std::vector<std::string> includePaths;
    std::map<std::string, std::string> registry;  ///< "NAME" (without braces) to value
    std::map<std::string, std::string> variables; ///< as `set` makes them
    std::string version = "3.13";            ///< that `version`, `min version` and `max version` compare with
    bool verbosityFixed = false;             ///< `verbose` statements are ignored
    int maximumErrors = 20;                  ///< reading stops after so many
    bool renderAnyway = false;               ///< render statements of a scene with errors count
    bool strict = false;                     ///< what has no effect is an error
    SceneWriter* writer = nullptr;           ///< gets the statements as they are read; may be null
    const std::atomic<bool>* stop = nullptr; ///< when set, reading ends with an error; null: never
    /// The colour configuration, for profiles that are not built in; null where there is none, and where it
    /// cannot be read, which it has reported. When empty, there is none.
    std::function<const ColorSpaces*()> colorSpaces;
    /// Whether a statement of the scene may read the file with this path; when empty, all are allowed. Of the
    /// files that are read while the scene is, those given to parseFile left out.
    std::function<bool(const std::string& path)> mayRead;
};

/// A file that has been read, and the statement that asked for it; no place for the scene's own files.
struct ReadFile {
    std::string path;
    SourceLocation includedAt;
};

/// A scene and its reader's memory: several files are read as if they were one.
class Scene {
public:
    explicit Scene(Log& log);
    ~Scene();
    Scene(const Scene&) = delete;
    Scene& operator=(const Scene&) = delete;

    [[nodiscard]] Database& database() { return database_; }
    [[nodiscard]] const Database& database() const { return database_; }
    [[nodiscard]] Log& log() const { return log_; }

    /// Reads a file; "-" is standard input, and a name that is not found is tried again with ".mi" added.
    /// False when the scene has errors so far or the render callback asked to stop.
    bool parseFile(const std::string& path, const ParserOptions& options, const ParserCallbacks& callbacks);
    /// Reads text that is called `name` in messages. Includes are relative to the working directory.
    bool parseText(std::string text, const std::string& name, const ParserOptions& options,
                   const ParserCallbacks& callbacks);

    /// Errors found so far.
    [[nodiscard]] int errors() const { return errors_; }
    [[nodiscard]] int renderStatements() const { return renderStatements_; }
    [[nodiscard]] const std::vector<std::string>& libraries() const { return libraries_; }
    /// Scene files and what they include, in the order of reading; a file that is read twice is there twice.
    [[nodiscard]] const std::vector<ReadFile>& files() const { return files_; }

private:
    friend class Reader;
    friend class TokenReader;
    struct Memory;

    Log& log_;
    Database database_;
    std::unique_ptr<Memory> memory_; // variables, registry, what was reported once
    std::vector<std::string> libraries_;
    std::vector<ReadFile> files_;
    int errors_ = 0;
    int renderStatements_ = 0;
};

} // namespace orca::scene
