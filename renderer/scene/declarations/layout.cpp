// SPDX-License-Identifier: Apache-2.0
#include "scene/declarations/layout.h"

#include <algorithm>

namespace orca::scene {

namespace {

constexpr int wordSize = 4;

/// Writes values at word offsets and grows the block by array tails. Offsets, not pointers, as the block
/// moves.
class BlockWriter {
public:
    explicit BlockWriter(LaidOutBlock& block) : block_(block) {}

    void write(const std::vector<Parameter>& parameters, const std::vector<Value>& values, std::size_t base) {
        static const Value zero;
        for (std::size_t i = 0; i < parameters.size(); ++i) {
            const Value& value = i < values.size() ? values[i] : zero;
            write(parameters[i], value, base + parameters[i].offset / wordSize);
        }
    }

private:
    void write(const Parameter& parameter, const Value& given, std::size_t at) {
        const bool takesDefault = given.kind == Value::Kind::Zero && parameter.defaultValue;
        const Value& value = takesDefault ? *parameter.defaultValue : given;
        if (parameter.isArray) {
            writeArray(parameter, value, at);
        } else {
            writeElement(parameter, value, at);
        }
    }

    void writeElement(const Parameter& parameter, const Value& value, std::size_t at) {
        if (value.kind == Value::Kind::Connection) {
            connect(parameter, value.connection, at);
        } else if (parameter.type == miTYPE_STRUCT) {
            write(parameter.members, value.items, at);
        } else if (value.kind == Value::Kind::Literal) {
            const std::size_t count =
                std::min<std::size_t>(value.words.size(), parameter.elementSize / wordSize);
            std::copy_n(value.words.begin(), count, block_.words.begin() + at);
        }
    }

    void writeArray(const Parameter& parameter, const Value& value, std::size_t at) {
        const std::size_t elementWords = parameter.elementSize / wordSize;
        if (elementWords == 0) return;
        const bool packed = value.items.empty();
        const std::size_t count = packed ? value.words.size() / elementWords : value.items.size();
        const std::size_t room = at + 2;
        std::size_t first = room;
        if (count > 1) {
            const std::size_t behind = block_.words.size() - room;
            const std::size_t start = (behind + elementWords - 1) / elementWords;
            first = room + start * elementWords;
            block_.words.resize(first + count * elementWords);
            block_.words[at] = static_cast<std::uint32_t>(start);
        }
        block_.words[at + 1] = static_cast<std::uint32_t>(count);
        if (packed) {
            std::copy_n(value.words.begin(), count * elementWords, block_.words.begin() + first);
            return;
        }
        for (std::size_t k = 0; k < count; ++k) {
            writeElement(parameter, value.items[k], first + k * elementWords);
        }
    }

    /// Ghost words are read at the address of what is evaluated, so a connected struct needs one for every
    /// member.
    void connect(const Parameter& parameter, const Connection& connection, std::size_t at) {
        if (parameter.type != miTYPE_STRUCT) {
            block_.connections.push_back(connection);
            if (block_.ghosts.size() <= at) block_.ghosts.resize(at + 1);
            block_.ghosts[at] = static_cast<std::uint32_t>(block_.connections.size());
            return;
        }
        for (const Parameter& member : parameter.members) {
            if (member.isArray) continue;
            Connection part = connection;
            part.memberOffset += member.offset;
            connect(member, part, at + member.offset / wordSize);
        }
    }

    LaidOutBlock& block_;
};

} // namespace

LaidOutBlock layOutBlock(const std::vector<Parameter>& parameters, const std::vector<Value>& values) {
    LaidOutBlock block;
    if (parameters.empty()) return block;
    const Parameter& last = parameters.back();
    block.words.resize((last.offset + last.size()) / wordSize);
    BlockWriter(block).write(parameters, values, 0);
    if (!block.ghosts.empty()) block.ghosts.resize(block.words.size());
    return block;
}

} // namespace orca::scene
