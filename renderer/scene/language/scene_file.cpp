// SPDX-License-Identifier: Apache-2.0
#include "scene/language/scene_file.h"

#include "scene/language/reader.h"
#include "scene/language/source_text.h"

#include <exception>
#include <utility>

namespace orca::scene {

Scene::Scene(Log& log) : log_(log), memory_(std::make_unique<Memory>()) {
}

Scene::~Scene() = default;

bool Scene::parseFile(const std::string& path, const ParserOptions& options,
                      const ParserCallbacks& callbacks) {
    std::optional<std::string> text;
    std::string found = path;
    try {
        text = readSourceText(found, options.stop);
        if (!text) text = readSourceText(found += ".mi", options.stop);
    } catch (const std::exception& reason) {
        ++errors_;
        log_.error("SCEN", "cannot read the scene file \"{}\": {}", found, reason.what());
        return false;
    }
    if (!text) {
        ++errors_;
        log_.error("SCEN", "cannot read the scene file \"{}\", nor \"{}\"", path, found);
        return false;
    }
    files_.push_back({found, {}});
    return parseText(*std::move(text), path == "-" ? "standard input" : found, options, callbacks);
}

bool Scene::parseText(std::string text, const std::string& name, const ParserOptions& options,
                      const ParserCallbacks& callbacks) {
    for (const auto& [key, value] : options.variables) memory_->variables.set(key, value);
    for (const auto& [key, value] : options.registry) memory_->variables.setEntry(key, {{{"value", value}}});
    const bool finished = Reader(*this, options, callbacks).read(name, std::move(text));
    if (memory_->unknownNames > 0) {
        log_.info("SCEN", "{}: {} times a name is unknown that the missing files may define", name,
                  std::exchange(memory_->unknownNames, 0));
    }
    if (finished && errors_ == 0 && renderStatements_ == 0) {
        log_.info("SCEN", "{}: no render statement so far", name);
    }
    return finished && errors_ == 0;
}

} // namespace orca::scene
