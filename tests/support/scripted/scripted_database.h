// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <shader.h>

#include <cstddef>
#include <map>
#include <string_view>
#include <vector>

/// Scene elements that a test builds, with a count of the pins held on each.
class ScriptedDatabase {
public:
    miTag addString(std::string_view text);
    /// User data whose parameter block is `words`.
    miTag addUserData(const std::vector<miUint>& words, miTag next = miNULLTAG);
    miTag addObject(miTag userData = miNULLTAG);
    miTag addInstance(miTag item = miNULLTAG, miTag userData = miNULLTAG);
    /// An instance with a pass mask, as the scene gives one to objects and lights.
    miTag addMaskedInstance(std::string_view mask);
    /// Any element, by value.
    template <class Element>
    miTag add(miScene_type type, const Element& element) {
        return addBytes(type, &element, sizeof element);
    }

    [[nodiscard]] int type(miTag tag) const;
    /// Address of the element without a pin; null for an unknown tag.
    [[nodiscard]] void* find(miTag tag);
    template <class Element>
    [[nodiscard]] Element& element(miTag tag) {
        return *static_cast<Element*>(find(tag));
    }

    void* access(miTag tag);
    /// An unpin too many counts negative.
    void unpin(miTag tag);
    [[nodiscard]] int pinsHeld() const;

private:
    struct Entry {
        miScene_type type;
        std::vector<std::max_align_t> memory; // never resized, so that addresses stay
        int pins;
    };

    miTag addBytes(miScene_type type, const void* bytes, std::size_t size);

    std::map<miTag, Entry> elements_;
    miTag next_ = 1;
    int strayUnpins_ = 0;
};
