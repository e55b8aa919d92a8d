// SPDX-License-Identifier: Apache-2.0
#include "image/cryptomatte.h"

#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include <bit>
#include <charconv>
#include <cmath>

namespace orca::image {

namespace {

constexpr int digitsOfLevel = 2;

struct TypeWord {
    std::string_view word;
    BuiltinSource source;
};
constexpr TypeWord typeWords[] = {{"crypto_object", BuiltinSource::CryptoObject},
                                  {"crypto_material", BuiltinSource::CryptoMaterial},
                                  {"crypto_asset", BuiltinSource::CryptoAsset}};

} // namespace

std::uint32_t murmurHash(std::string_view text) {
    constexpr std::uint32_t first = 0xcc9e2d51u, second = 0x1b873593u;
    const auto scrambled = [](std::uint32_t block) { return std::rotl(block * first, 15) * second; };
    const auto byteAt = [&](std::size_t i) {
        return static_cast<std::uint32_t>(static_cast<unsigned char>(text[i]));
    };
    std::uint32_t hash = 0;
    std::size_t i = 0;
    for (; i + 4 <= text.size(); i += 4) {
        const std::uint32_t block =
            byteAt(i) | byteAt(i + 1) << 8 | byteAt(i + 2) << 16 | byteAt(i + 3) << 24;
        hash = std::rotl(hash ^ scrambled(block), 13) * 5 + 0xe6546b64u;
    }
    std::uint32_t rest = 0;
    for (std::size_t last = text.size(); last > i; --last) rest = rest << 8 | byteAt(last - 1);
    hash ^= scrambled(rest);
    hash ^= static_cast<std::uint32_t>(text.size());
    hash = (hash ^ hash >> 16) * 0x85ebca6bu;
    hash = (hash ^ hash >> 13) * 0xc2b2ae35u;
    return hash ^ hash >> 16;
}

std::uint32_t cryptomatteIdBits(std::string_view name) {
    const std::uint32_t hash = murmurHash(name);
    const std::uint32_t exponent = hash >> 23 & 255u;
    return exponent == 0 || exponent == 255 ? hash ^ 1u << 23 : hash;
}

float cryptomatteId(std::string_view name) {
    return std::bit_cast<float>(cryptomatteIdBits(name));
}

float CryptomatteManifest::add(const std::string& name) {
    const auto [entry, isNew] = ids_.try_emplace(name);
    if (isNew) entry->second = cryptomatteIdBits(name);
    return std::bit_cast<float>(entry->second);
}

std::string CryptomatteManifest::json() const {
    nlohmann::json object = nlohmann::json::object();
    for (const auto& [name, id] : ids_) object[name] = fmt::format("{:08x}", id);
    return object.dump(-1, ' ', false, nlohmann::json::error_handler_t::replace);
}

std::string cryptomatteKey(const std::string& name) {
    constexpr std::size_t digits = 7;
    return "cryptomatte/" + fmt::format("{:08x}", murmurHash(name)).substr(0, digits) + "/";
}

Metadata cryptomatteMetadata(const std::string& name, const CryptomatteManifest& manifest) {
    const std::string key = cryptomatteKey(name);
    return {{key + "name", name},
            {key + "hash", "MurmurHash3_32"},
            {key + "conversion", "uint32_to_float32"},
            {key + "manifest", manifest.json()}};
}

std::optional<CryptomatteType> cryptomatteType(std::string_view datatype) {
    constexpr int fewest = 2, most = 16;
    for (const TypeWord& type : typeWords) {
        if (!datatype.starts_with(type.word)) continue;
        CryptomatteType found{type.source};
        std::string_view ranks = datatype.substr(type.word.size());
        if (ranks.empty()) return found;
        const char* const end = ranks.data() + ranks.size();
        const auto read = std::from_chars(ranks.data() + 1, end, found.ranks);
        if (ranks.front() == '_' && read.ec == std::errc() && read.ptr == end && found.ranks >= fewest &&
            found.ranks <= most && found.ranks % 2 == 0)
            return found;
    }
    return {};
}

std::string cryptomatteName(const Buffer& buffer) {
    return buffer.name.substr(0, buffer.name.size() - digitsOfLevel);
}

miColor falseColor(float id) {
    // The hue turns by what distinguishes ids; brightness takes a few other bits.
    const auto bits = std::bit_cast<std::uint32_t>(id);
    const float hue = static_cast<float>(bits & 0xffffu) / 65536.0f;
    const float value = 0.55f + 0.45f * static_cast<float>(bits >> 16 & 0x1fu) / 31.0f;
    const auto channel = [&](float offset) {
        const float turned = (hue + offset - std::floor(hue + offset)) * 6.0f;
        const float ramp = std::min(std::max(std::abs(turned - 3.0f) - 1.0f, 0.0f), 1.0f);
        return value * (0.25f + 0.75f * ramp);
    };
    return {channel(0.0f), channel(2.0f / 3.0f), channel(1.0f / 3.0f), 1.0f};
}

} // namespace orca::image
