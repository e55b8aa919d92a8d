// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "base/log.h"
#include "scene/database.h"
#include "shading/result_room.h"

#include <shader.h>

#include <memory>
#include <string>
#include <vector>

namespace orca::shading {

struct ContourCall;

/// Loads shader libraries, binds shader instances to their functions, initialises, calls and exits them, and
/// evaluates connected parameters. Binding happens before rendering; `call` and `evaluate` are safe from any
/// thread and take no lock after an instance's first call.
class ShaderRuntime {
public:
    ShaderRuntime(scene::Database& database, Log& log);
    ~ShaderRuntime();
    ShaderRuntime(const ShaderRuntime&) = delete;
    ShaderRuntime& operator=(const ShaderRuntime&) = delete;

    /// Opens a shared object; a name without a directory is searched in `searchPaths`. False, with a message
    /// that names the statement at `location` and the paths tried, when it cannot be opened.
    bool loadLibrary(const std::string& file, const std::vector<std::string>& searchPaths,
                     const SourceLocation& location);

    /// Finds the functions of all shader instances in the database that are not bound yet and compares
    /// versions. A function found in no library is one error that names the shader, who wanted it and the
    /// libraries. Lists and connections that lead back to themselves are errors too, and are cut. Again after
    /// every change of the database.
    void bind();

    /// Calls an instance or list: every member with the same result, which begins as what the caller's memory
    /// holds. The value is that of the last call; false for tag 0, an unknown tag and an unbound function.
    /// `state->shader`, the call type and the evaluation arena are put back however the call ends. A shader's
    /// exception is counted for the report and passes through.
    miBoolean call(ResultRoom result, int type, miState* state, miTag shader, void* argument = nullptr);

    /// As `call` with miSHADER_CONTOUR. Nothing is done with the result of the shader's declaration.
    miBoolean callContour(const ContourCall& call, miState* state, miTag shader);

    /// As `call` for that one instance, whatever follows it in its list.
    miBoolean callOne(ResultRoom result, int type, miState* state, miTag shader, void* argument = nullptr);
    /// As `call`, for shaders, which name the memory as a colour whatever its size is. One that returns a
    /// record is given memory of its own and hands over the record's first colour, unless the running shader
    /// has asked for the size of a result, in this call or in its init: then the memory is the caller's, as
    /// for results that are no records.
    miBoolean callForShader(miColor* result, int type, miState* state, miTag shader,
                            void* argument = nullptr);
    /// The next instance of a list; 0 after the last.
    [[nodiscard]] miTag next(miTag shader) const;

    /// Value of a connected parameter of `state->shader`: 4-byte aligned, valid until that shader returns.
    void* evaluate(miState* state, void* parameter);
    /// With caching on (a test mode), one evaluation per state and source instance until flushed, and at most
    /// as long as the shader that the renderer called on that state runs.
    void setCaching(bool on);
    void flushCache(miState* state);

    /// Address of the user pointer of an instance; null for a function that is not bound, as with all below.
    [[nodiscard]] void** userPointer(const miFunction* function);
    /// Null also for a thread number outside 0 to 1023.
    [[nodiscard]] void** threadPointer(const miFunction* function, int thread);
    /// The pointers of all threads that are not null.
    [[nodiscard]] std::vector<void*> threadPointers(const miFunction* function) const;
    /// Ghost table of an instance's parameters; null also when nothing is connected.
    [[nodiscard]] void* ghostTable(const miFunction* function) const;
    /// 0 for a function that is not bound.
    [[nodiscard]] miTag tagOf(const miFunction* function) const;
    /// Lock of one instance, and lock shared by all instances of its shader.
    [[nodiscard]] miLock* instanceLock(const miFunction* function);
    [[nodiscard]] miLock* shaderLock(const miFunction* function);
    /// Bytes that a result of this instance, or of the list from it on, needs.
    [[nodiscard]] int resultSize(const miFunction* function) const;
    /// True when the shader's function was found.
    [[nodiscard]] bool isBound(miTag shader) const;
    /// Opened libraries, in link order, as full paths.
    [[nodiscard]] std::vector<std::string> libraries() const;

    /// Exit calls for everything that was initialised: instances, then functions. Before the next picture,
    /// which starts with inits again and user pointers null. An exit's exception is reported and goes no
    /// further.
    void exitAll(miState* state);

    /// What `countFault` counts.
    enum class Fault { ReturnedFalse, NotANumber };
    /// Records a fault of a shader instance; takes no lock. What a shader throws is counted by `call` itself.
    void countFault(miTag shader, Fault fault);
    /// One warning per shader and kind of fault, with its count and, for exceptions, what the first one said.
    /// Counting starts again.
    void reportFaults();

    [[nodiscard]] scene::Database& database() const { return database_; }
    [[nodiscard]] Log& log() const { return log_; }

private:
    struct Implementation;
    scene::Database& database_;
    Log& log_;
    std::unique_ptr<Implementation> implementation_;
};

} // namespace orca::shading
