// SPDX-License-Identifier: Apache-2.0
#include "scene/language/reader.h"
#include "scene/language/source_text.h"

#include <exception>

namespace orca::scene {

namespace {

constexpr int largestBlock = 1 << 30; // bytes
constexpr std::size_t mostZeros = std::size_t{1}
                                  << 26; // that an announced size adds to the bytes that follow

} // namespace

void Reader::readData(const Token& token, bool incremental) {
    auto& element = target<UserdataElement>(token, miSCENE_USERDATA, incremental);
    const Definition defined(*this, token, element.tag);
    const std::string owner = fmt::format("data \"{}\"", element.name);
    bool hasContent = false;
    const auto beginContent = [&](const Token& at) {
        if (hasContent) fail(at, "{} has two contents", owner);
        hasContent = true;
    };
    while (!(hasContent && endsData()) && !endsBlock("data", element.name)) {
        const Token at = peek();
        if (accept("tag")) {
            element.userdata()->label = static_cast<miUint>(integer("the label"));
        } else if (at.isWord("data")) {
            next();
            const miTag link = dataReference();
            element.userdata()->next_data = link;
            if (incremental && database_.isInCycle(element.tag)) {
                element.userdata()->next_data = miNULLTAG;
                error(locationOf(at), "{}: the chain would lead back to it", owner);
            }
        } else if (at.kind == Token::Kind::Integer) {
            beginContent(at);
            readRawData(element, locationOf(at));
        } else if (at.isName() && peek(1).is('(')) {
            beginContent(at);
            next();
            const DeclarationElement* declaration = declarationReference(at);
            if (!declaration) {
                skipBalanced();
                continue;
            }
            next();
            if (element.declaration != declaration) {
                element.declaration = declaration;
                element.values.assign(declaration->parameters.size(), {});
                element.rebuild(); // a block of its declaration, even where its parameters are faulty
            }
            connectionsAllowed_ = false;
            readParameters(declaration->parameters, element.values, ')', {owner, element.name},
                           declaration->name);
            connectionsAllowed_ = true;
            element.rebuild();
        } else if (at.kind == Token::Kind::String) {
            beginContent(at);
            next();
            const std::string file = inputFileIn(at);
            const std::string content = readDataFile(file, locationOf(at), owner);
            element.declaration = nullptr;
            element.values.clear();
            element.setContent(content.data(), content.size());
        } else {
            fail(at, "{}: expected its contents, \"tag\", \"data\" or \"end data\", not {}", owner,
                 at.shown());
        }
    }
    if (!hasContent && !incremental) error(locationOf(token), "{} has no content", owner);
}

/// Whether a block that has its content ends here without "end data", as it may.
bool Reader::endsData() {
    const Token& token = peek();
    if (token.isWord("end")) return !peek(1).isWord("data");
    if (token.kind == Token::Kind::End) return true;
    if (!token.isWord("data"))
        return token.kind == Token::Kind::Symbol && !token.isWord("tag") && !peek(1).is('(');
    // The next link of the chain, or the next block.
    if (!peek(1).isName() || peek(1).isWord("null")) return false;
    return !peek(2).isWord("end") && !peek(2).isWord("tag");
}

std::string Reader::readDataFile(const std::string& file, const SourceLocation& location,
                                 const std::string& owner) {
    std::vector<std::string> candidates{file};
    if (!file.starts_with('/')) candidates.insert(candidates.begin(), stream_.directory() + file);
    std::string reason;
    for (const std::string& path : candidates) {
        if (options_.mayRead && !options_.mayRead(path)) {
            reason = ", which may not be read";
            continue;
        }
        try {
            std::optional<std::string> content = readWholeFile(path, options_.stop);
            if (!content) continue;
            if (content->size() > std::size_t{largestBlock})
                throw std::runtime_error(fmt::format("a data block has at most {} bytes", largestBlock));
            scene_.files_.push_back({path, location});
            return *std::move(content);
        } catch (const std::exception& fault) {
            reason = fmt::format(": {}", fault.what());
            break;
        }
    }
    error(location, "{}: cannot read the file \"{}\"{}", owner, file, reason);
    return {};
}

void Reader::readRawData(UserdataElement& element, const SourceLocation& location) {
    const Token at = next();
    const int size = at.integer;
    if (!at.fitsInteger || size < 0 || size > largestBlock)
        fail(at, "a data block has 0 to {} bytes", largestBlock);
    std::vector<unsigned char> bytes;
    if (accept('[')) {
        stream_.hexBytes(bytes);
    } else if (peek().kind == Token::Kind::Backquote) {
        next();
        const std::string_view raw = stream_.binary(static_cast<std::size_t>(size), "raw data");
        bytes.assign(raw.begin(), raw.end());
        if (SceneWriter* const writer = stream_.writer()) {
            writer->mark('[');
            writer->bytes(bytes.data(), bytes.size());
            writer->mark(']');
        }
    } else if (peek().kind == Token::Kind::Bytes) {
        while (peek().kind == Token::Kind::Bytes) {
            const Token part = next();
            appendHex(bytes, part.text, locationOf(part));
        }
    } else {
        fail(peek(), "expected \"[\" before the bytes, not {}", peek().shown());
    }
    if (bytes.size() > static_cast<std::size_t>(size)) {
        error(location, "data \"{}\" has {} bytes, more than the {} it announces", element.name, bytes.size(),
              size);
    }
    if (static_cast<std::size_t>(size) > bytes.size() + mostZeros) {
        error(location, "data \"{}\" has {} bytes, far fewer than the {} it announces", element.name,
              bytes.size(), size);
        return;
    }
    bytes.resize(static_cast<std::size_t>(size));
    element.declaration = nullptr;
    element.values.clear();
    element.setContent(bytes.data(), bytes.size());
}

} // namespace orca::scene
