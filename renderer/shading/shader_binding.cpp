// SPDX-License-Identifier: Apache-2.0
#include "shading/shader_binding.h"

#include "scene/elements/elements.h"

#include <algorithm>
#include <cstdint>
#include <vector>

namespace orca::shading {

namespace {

std::string describe(const scene::Element& element) {
    return element.name.empty() ? "an unnamed shader" : "\"" + element.name + "\"";
}

/// Finds the entry points and compares versions; messages come once per shader.
void findFunctions(ShaderCode& code, const ShaderLibraries& libraries, const scene::FunctionElement& wantedBy,
                   Log& log) {
    const ShaderLibraries::Symbol entry = libraries.find(code.symbol);
    if (!entry.address) {
        log.errorAt(
            wantedBy.location, "SHDR",
            "no linked library has the shader \"{}\" that {} uses (libraries: {}); is a \"link\" missing?",
            code.name, describe(wantedBy), libraries.list());
        return;
    }
    const std::string& library = code.library = *entry.library;
    code.entry = reinterpret_cast<ShaderCode::Entry>(entry.address);
    code.init = reinterpret_cast<ShaderCode::Init>(libraries.findIn(library, code.symbol + "_init"));
    code.exit = reinterpret_cast<ShaderCode::Exit>(libraries.findIn(library, code.symbol + "_exit"));

    const int declared = wantedBy.declaration->version;
    const auto version =
        reinterpret_cast<ShaderCode::Version>(libraries.findIn(library, code.symbol + "_version"));
    if (version) {
        if (const int built = version(); built != declared)
            log.warningAt(
                wantedBy.declaration->location, "SHDR",
                "shader \"{}\" is declared as version {}, but {} holds version {}; do the declarations "
                "belong to this library?",
                code.name, declared, library, built);
    } else if (declared != 0) {
        log.warningAt(wantedBy.declaration->location, "SHDR",
                      "shader \"{}\" is declared as version {}, but {} has no \"{}_version\" to compare with",
                      code.name, declared, library, code.symbol);
    }
}

/// Bytes from the start of a record to its first member of a type; 0 without one.
std::size_t offsetOfFirst(const scene::Parameter& result, miParam_type type) {
    for (const scene::Parameter& member : result.members)
        if (member.type == type && !member.isArray) return static_cast<std::size_t>(member.offset);
    return 0;
}

/// Refreshes what depends on the record, which moves when a shader is changed.
void readRecord(BoundShader& bound, scene::FunctionElement& element, scene::Database& database) {
    miFunction* const function = element.function();
    bound.function = function;
    bound.parameterOwner = &element;
    if (function->parameter_indirect) {
        if (auto* const source = database.find<scene::FunctionElement>(function->parameter_indirect)) {
            bound.parameterOwner = source;
            // Whether a parameter is connected is asked with the running shader's own offset.
            function->ghost_offs = source->function()->ghost_offs;
        }
    }
    bound.parameters = bound.parameterOwner->function()->parameters;
    bound.resultSize = static_cast<std::size_t>(std::max(function->result_size, 0));
    const scene::Parameter& result = element.declaration->result;
    bound.returnsRecord = result.type == miTYPE_STRUCT;
    bound.parts = {offsetOfFirst(result, miTYPE_COLOR), offsetOfFirst(result, miTYPE_SCALAR),
                   offsetOfFirst(result, miTYPE_VECTOR)};
    function->ext = &bound;
    function->lock = bound.code->lock;
}

/// Cuts connections through which a shader would evaluate itself: they can only come from incremental
/// changes.
class ConnectionWalk {
public:
    ConnectionWalk(scene::Database& database, Log& log, std::size_t tags)
        : database_(database), log_(log), seen_(tags, Mark::New) {}

    void visit(miTag tag) {
        if (tag >= seen_.size() || seen_[tag] == Mark::Done) return;
        auto* const element = database_.find<scene::FunctionElement>(tag);
        if (!element) return;
        seen_[tag] = Mark::Open;
        for (scene::Connection& connection : element->connections) {
            if (connection.source < seen_.size() && seen_[connection.source] == Mark::Open) {
                log_.errorAt(element->location, "SHDR",
                             "{} is connected to itself through {}; the connection is cut and gives zeros",
                             describe(*element), describe(*database_.get(connection.source)));
                connection.source = miNULLTAG;
                continue;
            }
            visit(connection.source);
        }
        seen_[tag] = Mark::Done;
    }

private:
    enum class Mark : std::uint8_t { New, Open, Done };
    scene::Database& database_;
    Log& log_;
    std::vector<Mark> seen_;
};

} // namespace

void bindShaders(ShaderTable& table, scene::Database& database, Log& log) {
    table.shaders.resize(database.endTag());

    for (miTag tag = 1; tag < table.shaders.size(); ++tag) {
        std::unique_ptr<BoundShader>& bound = table.shaders[tag];
        auto* const element = database.find<scene::FunctionElement>(tag);
        if (!element || element->isTemplate || !element->declaration ||
            element->declaration->kind != scene::DeclarationElement::Kind::Shader) {
            bound.reset();
            continue;
        }
        if (!bound) {
            bound = std::make_unique<BoundShader>();
            bound->tag = tag;
            std::unique_ptr<ShaderCode>& code = table.codes[element->declaration->name];
            if (!code) code = std::make_unique<ShaderCode>(element->declaration->name);
            bound->code = code.get();
        }
        // A shader that no library had may be in one that was linked since.
        ShaderCode& code = *bound->code;
        if (!code.entry && code.librariesSearched != table.libraries.count()) {
            code.librariesSearched = table.libraries.count();
            findFunctions(code, table.libraries, *element, log);
        }
        bound->entry = bound->code->entry;
        readRecord(*bound, *element, database);
    }

    for (const auto& bound : table.shaders)
        if (bound) bound->next = table.find(bound->function->next_function);
    for (const auto& bound : table.shaders) {
        if (!bound) continue;
        std::size_t length = 0;
        for (const BoundShader* member = bound.get(); member; member = member->next) {
            bound->resultSize = std::max(bound->resultSize, member->resultSize);
            bound->returnsRecord = bound->returnsRecord || member->returnsRecord;
            if (++length <= table.shaders.size())
                continue; // a list longer than the scene has shaders has met itself
            const scene::Element* const element = database.get(bound->tag);
            log.errorAt(element->location, "SHDR",
                        "the shader list that {} is in leads back to itself; it is cut", describe(*element));
            bound->next = nullptr;
            bound->function->next_function = miNULLTAG;
            break;
        }
    }

    ConnectionWalk walk(database, log, table.shaders.size());
    for (miTag tag = 1; tag < table.shaders.size(); ++tag) walk.visit(tag);
}

} // namespace orca::shading
