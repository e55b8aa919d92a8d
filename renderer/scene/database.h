// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "scene/elements/element.h"

#include <shader.h>

#include <array>
#include <atomic>
#include <memory>
#include <mutex>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace orca::scene {

/// The scene's elements by tag and by name. Tags index a segmented array, so that a look-up takes constant
/// time, no lock and no shared write, and elements never move. Tags are never used twice. Look-ups, pins and
/// `internString` are safe from any thread, also while another adds elements; naming and removing belong to
/// the thread that reads the scene.
class Database {
public:
    Database();
    ~Database();
    Database(const Database&) = delete;
    Database& operator=(const Database&) = delete;

    /// Takes the element in and returns its new tag. Throws std::length_error when no tag is left.
    miTag add(std::unique_ptr<Element> element);
    /// Destroys the element; its tag stays unused.
    void remove(miTag tag);
    /// Null for an unknown tag.
    [[nodiscard]] Element* get(miTag tag) const {
        const std::uint32_t segment = tag / segmentSize;
        if (segment >= segmentCount) return nullptr;
        const Segment* elements = segments_[segment].load(std::memory_order_acquire);
        return elements ? (*elements)[tag % segmentSize].load(std::memory_order_acquire) : nullptr;
    }
    /// Null for an unknown tag and for an element of another kind.
    template <class T>
    [[nodiscard]] T* find(miTag tag) const {
        Element* element = get(tag);
        // Kinds that alone have their type are told apart by it, which shaders' questions need fast.
        if constexpr (requires { T::elementType; })
            return element && element->type == T::elementType ? static_cast<T*>(element) : nullptr;
        else return dynamic_cast<T*>(element);
    }
    /// One past the largest tag in use.
    [[nodiscard]] miTag endTag() const { return next_.load(std::memory_order_acquire); }

    /// Pins an element for this thread's account and returns its record; null, and no pin, for an unknown tag
    /// and for an element without a record.
    void* access(miTag tag);
    /// Gives one pin back, whichever thread took it.
    void unpin(miTag tag);
    /// Pins not given back, all threads together.
    [[nodiscard]] int pinsHeld() const;
    struct Unbalanced {
        miTag tag;
        std::string name; ///< of the element, or its kind when it has none
        int pins;         ///< negative: given back more often than taken
    };
    [[nodiscard]] std::vector<Unbalanced> unbalancedPins() const;

    /// Tag of a string element with this text; equal texts share one.
    miTag internString(std::string_view text);

    /// Entities: 0 when there is none of that name.
    [[nodiscard]] miTag named(std::string_view name) const;
    void setName(const std::string& name, miTag tag);
    void eraseName(const std::string& name);
    /// Declarations of shaders, phenomena and data have a table of their own.
    [[nodiscard]] miTag declaration(std::string_view name) const;
    void setDeclaration(const std::string& name, miTag tag);
    /// Calls visit(name, tag) for every named entity, in order of tags.
    void visitNamed(const std::function<void(const std::string&, miTag)>& visit) const;
    void visitDeclarations(const std::function<void(const std::string&, miTag)>& visit) const;
    /// An element that refers to `tag`, or null: why it cannot be deleted.
    [[nodiscard]] const Element* userOf(miTag tag) const;
    /// True when an element refers to itself, directly or through others.
    [[nodiscard]] bool isInCycle(miTag tag) const;

private:
    static constexpr std::uint32_t segmentSize = 4096;
    static constexpr std::uint32_t segmentCount = 4096;
    using Segment = std::array<std::atomic<Element*>, segmentSize>;
    using PinSegment = std::array<std::atomic<int>, segmentSize>;
    /// One thread's account: pins taken less pins given back, by tag. Only its thread writes.
    struct PinAccount {
        std::array<std::atomic<PinSegment*>, segmentCount> segments{};
        ~PinAccount();
        void change(miTag tag, int by);
    };
    struct TextHash {
        using is_transparent = void;
        std::size_t operator()(std::string_view text) const { return std::hash<std::string_view>{}(text); }
    };
    using NameTable = std::unordered_map<std::string, miTag, TextHash, std::equal_to<>>;

    PinAccount& pinsOfThisThread();
    PinAccount& openAccount(); ///< this thread's, which it has not used last

    const std::uint64_t identity_; // key of this database in the threads' caches
    std::array<std::atomic<Segment*>, segmentCount> segments_{};
    std::atomic<miTag> next_{1};
    mutable std::mutex mutex_; // guards growth, accounts_ and strings_
    std::unordered_map<std::uint64_t, std::unique_ptr<PinAccount>> accounts_; // by thread
    NameTable strings_;
    NameTable names_, declarations_;
};

/// As messages call the kind of an element.
[[nodiscard]] std::string_view kindName(miScene_type type);
/// "a light", "an instance".
[[nodiscard]] std::string withArticle(std::string_view noun);

} // namespace orca::scene
