// SPDX-License-Identifier: Apache-2.0
#include "scene/elements/phenomenon.h"
#include "scene/language/reader.h"
#include "scene/shader_slots.h"

#include <algorithm>
#include <charconv>

namespace orca::scene {

bool Reader::readCommand(std::string_view word, const Token& token) {
    if (word == "set") {
        readSet();
    } else if (word == "registry") {
        block_ = word;
        readRegistry();
    } else if (word == "link") {
        if (!atString())
            fail(peek(), "expected the library to link as a quoted string, not {}", peek().shown());
        readLink(next());
    } else if (word == "code") {
        string("a source file");
        error(locationOf(token),
              "\"code\" is not supported: compile the shader into a library and link that");
    } else if (word == "verbose") {
        readVerbose();
    } else if (word == "echo") {
        echo(string("the text to echo"));
    } else if (word == "system") {
        const std::string command = string("a shell command");
        warning(locationOf(token), "system \"{}\" is refused: scenes run no commands", command);
    } else if (word == "memory") {
        integer("the memory limit");
        withoutEffect(LogLevel::Info, locationOf(token), "command", word,
                      "textures are limited on the command line, geometry takes what it needs");
    } else if (word == "version") {
        readVersion("exactly");
    } else if ((word == "min" || word == "max") && accept("version")) {
        readVersion(word == "min" ? "at least" : "at most");
    } else if (word == "namespace") {
        readNamespace();
    } else if (word == "end" && accept("namespace")) {
        if (namespaces_.size() <= outerNamespaces_) fail(token, "\"end namespace\" without a namespace");
        namespaces_.pop_back();
    } else if (word == "frame" && peek().kind == Token::Kind::Integer) {
        readFrame();
    } else if (word == "end" && accept("frame")) {
        readFrameEnd(token);
    } else if (word == "delete") {
        readDelete(token);
    } else if (word == "touch") {
        const Token touched = nameToken("an element");
        if (Element* element = database_.get(lookUp(touched.text))) {
            ++element->revision;
        } else {
            error(locationOf(touched), "\"{}\" is not defined and cannot be touched", touched.text);
        }
    } else if (word == "call") {
        warning(locationOf(token), "\"call\" is not supported and skipped");
        while (atShader()) {
            next();
            if (peek().is('(')) skipBalanced();
            else next();
        }
        while (atString()) next();
    } else if (word == "gui") {
        skipInterface();
    } else if (word == "debug") {
        string("what to debug");
        if (atString()) next();
        withoutEffect(LogLevel::Info, locationOf(token), "command", word, "it prints nothing");
    } else if (word == "render") {
        readRender(token);
    } else if (word == "root" && atString()) {
        assemblyRoot_ = reference(nameToken("the root group"), {miSCENE_GROUP}, "the root instance group");
        if (stream_.writer()) stream_.writer()->discardStatement();
    } else {
        return false;
    }
    return true;
}

void Reader::readSet() {
    const std::string variable = string("the name of a variable");
    // Known before the look-ahead for the value, which may cross a conditional that asks for it.
    memory_.variables.set(variable, "");
    if (atString()) memory_.variables.set(variable, std::string(next().text));
}

void Reader::readRegistry() {
    const std::string entryName = string("the name of a registry entry");
    RegistryEntry entry;
    while (!endsBlock("registry", entryName)) {
        if (!peek().isName()) fail(peek(), "expected a registry field, not {}", peek().shown());
        std::string field(next().text);
        entry.fields.emplace_back(std::move(field), string("the field's value"));
    }
    memory_.variables.setEntry(entryName, std::move(entry));
}

void Reader::lookUpRegistry(const std::string& entryName, const SourceLocation& location) {
    const RegistryEntry* entry = memory_.variables.entry(entryName);
    if (!entry)
        throw SyntaxError(location, fmt::format("the registry entry \"{}\" is not defined", entryName));
    const RegistryEntry fields = *entry;
    for (const auto& [field, value] : fields.fields) {
        if (field == "link") {
            Token token;
            token.text = value;
            token.line = static_cast<std::uint32_t>(location.line);
            token.column = static_cast<std::uint32_t>(location.column);
            const std::string file = fileNameIn(token, Written::No);
            if (stream_.writer()) stream_.writer()->insertStatement(field, file);
            scene_.libraries_.push_back(file);
            if (callbacks_.link && !callbacks_.link(file, location)) ++scene_.errors_;
        } else if (field == "mi") {
            stream_.include(value, false, location);
        } else if (field == "echo") {
            if (stream_.writer()) stream_.writer()->insertStatement(field, value);
            echo(value);
        } else if (field == "code" || field == "system") {
            throw SyntaxError(location,
                              fmt::format("registry entry \"{}\": \"{}\" is refused", entryName, field));
        }
    }
}

void Reader::readLink(const Token& token) {
    const std::string file = fileNameIn(token);
    scene_.libraries_.push_back(file);
    if (!callbacks_.link || callbacks_.link(file, locationOf(token))) return;
    // The callback has reported it; it counts like the reader's own errors.
    if (++scene_.errors_ >= options_.maximumErrors) throw StopReading{};
}

void Reader::readVerbose() {
    int level = 0;
    if (const std::optional<bool> on = acceptBoolean()) {
        level = static_cast<int>(*on ? LogLevel::Progress : LogLevel::Error);
    } else {
        level = std::clamp(integer("the verbosity"), 0, static_cast<int>(LogLevel::VDebug));
    }
    if (!options_.verbosityFixed) log_.setLevel(static_cast<LogLevel>(level));
}

namespace {

/// -1, 0, 1 as dotted numbers compare, component by component; missing components are 0.
int compareVersions(std::string_view a, std::string_view b) {
    while (!a.empty() || !b.empty()) {
        const auto component = [](std::string_view& version) {
            int value = 0;
            const std::size_t dot = std::min(version.find('.'), version.size());
            std::from_chars(version.data(), version.data() + dot, value);
            version.remove_prefix(std::min(dot + 1, version.size()));
            return value;
        };
        const int left = component(a), right = component(b);
        if (left != right) return left < right ? -1 : 1;
    }
    return 0;
}

} // namespace

void Reader::readVersion(std::string_view comparison) {
    const Token token = peek();
    const std::string wanted = string("a version");
    const int order = compareVersions(options_.version, wanted);
    // Later versions of the same line add nothing that would have to be waited for: the reader says itself
    // what it does not know.
    const auto line = [](std::string_view version) { return version.substr(0, version.find('.')); };
    const bool fits = comparison == "exactly"    ? order == 0
                      : comparison == "at least" ? order >= 0 || line(wanted) == line(options_.version)
                                                 : order <= 0;
    if (!fits) {
        warning(locationOf(token), "the file is for {} version {} of the renderer; this one is like {}",
                comparison, wanted, options_.version);
    }
}

void Reader::readNamespace() {
    const std::string inner = name("a namespace");
    namespaces_.push_back(fullName(inner));
}

void Reader::readDelete(const Token& token) {
    if (accept("tree")) {
        warning(locationOf(token), "\"delete tree\" deletes only the named element itself");
    }
    const Token victim = nameToken("an element");
    const miTag tag = lookUp(victim.text);
    const Element* element = database_.get(tag);
    if (!element) {
        error(locationOf(victim), "\"{}\" is not defined and cannot be deleted", victim.text);
        return;
    }
    if (const Element* user = database_.userOf(tag)) {
        error(locationOf(victim), "\"{}\" cannot be deleted, as {} \"{}\" refers to it", victim.text,
              kindName(user->type), user->name);
        return;
    }
    std::vector<std::string> names;
    database_.visitNamed([&](const std::string& known, miTag knownTag) {
        if (knownTag == tag) names.push_back(known);
    });
    for (const std::string& known : names) database_.eraseName(known);
    database_.remove(tag);
}

void Reader::echo(const std::string& text) {
    if (callbacks_.echo) {
        callbacks_.echo(text);
    } else {
        log_.write(LogLevel::Progress, "SCEN", "{}", text);
    }
}

void Reader::readRender(const Token& token) {
    if (fileDepth_ > 0) {
        warning(locationOf(token), "\"render\" in the file of an assembly or object is skipped");
        for (int name = 0; name < 3 && atString(); ++name) next();
        if (stream_.writer()) stream_.writer()->discardStatement();
        return;
    }
    RenderRequest request;
    request.location = locationOf(token);
    request.number = ++scene_.renderStatements_;
    request.group = reference(nameToken("the root group"), {miSCENE_GROUP}, "the root instance group");
    const Token cameraToken = nameToken("the camera's instance");
    const Element* camera = database_.get(lookUp(cameraToken.text));
    if (camera && camera->type == miSCENE_CAMERA) {
        error(locationOf(cameraToken), "\"{}\" is a camera, but its instance is expected here",
              cameraToken.text);
    } else {
        request.cameraInstance = reference(cameraToken, {miSCENE_INSTANCE}, "the instance of a camera");
    }
    request.options = reference(nameToken("an options block"), {miSCENE_OPTIONS}, "an options block");
    request.endsFile = stream_.atEnd();

    if (const auto* instance = database_.find<InstanceElement>(request.cameraInstance)) {
        const Element* item = database_.get(instance->instance.item);
        if (!item || item->type != miSCENE_CAMERA) {
            error(locationOf(cameraToken),
                  "\"{}\" is an instance of {}, but that of a camera is expected here", cameraToken.text,
                  item ? withArticle(kindName(item->type)) : "nothing");
        }
        const auto* root = database_.find<GroupElement>(request.group);
        if (root && std::find(root->members.begin(), root->members.end(), request.cameraInstance) ==
                        root->members.end()) {
            error(locationOf(cameraToken),
                  "the camera's instance \"{}\" is no member of the root group \"{}\"", cameraToken.text,
                  root->name);
        }
    }
    requestRender(request);
}

void Reader::requestRender(const RenderRequest& request) {
    if (scene_.errors_ > 0 && !options_.renderAnyway) {
        log_.writeAt(request.location, LogLevel::Error, "SCEN", "not rendered, as the scene has {} error{}",
                     scene_.errors_, scene_.errors_ == 1 ? "" : "s");
        return;
    }
    const auto* options = database_.find<OptionsElement>(request.options);
    if (!options || !request.group || !request.cameraInstance) return; // reported above
    checkRequirements(*options);
    for (const SlotFinding& finding : findMisplacedShaders(database_))
        once(LogLevel::Warning, finding.location, finding.kind, finding.text);
    if (callbacks_.render && !callbacks_.render(request)) throw StopReading{};
}

void Reader::checkRequirements(const OptionsElement& options) {
    std::set<const DeclarationElement*> used;
    for (miTag tag = 1; tag < database_.endTag(); ++tag) {
        const auto* function = database_.find<FunctionElement>(tag);
        if (function && !function->isTemplate) used.insert(function->declaration);
        if (const auto* use = database_.find<PhenomenonUseElement>(tag)) used.insert(use->declaration);
    }
    for (const DeclarationElement* declaration : used) {
        const Requirements& needs = declaration->requirements;
        if (needs.trace && *needs.trace && !options.options.trace) {
            unsupported(LogLevel::Warning, options.location, "requires trace " + declaration->name,
                        fmt::format("shader \"{}\" needs ray tracing, which options \"{}\" switch off",
                                    declaration->name, options.name));
        }
        if (needs.shadow && *needs.shadow != options.options.shadow) {
            unsupported(LogLevel::Warning, options.location, "requires shadow " + declaration->name,
                        fmt::format("shader \"{}\" is made for another shadow mode than options \"{}\" have",
                                    declaration->name, options.name));
        }
    }
}

} // namespace orca::scene
