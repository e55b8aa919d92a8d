// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "image/framebuffers.h"
#include "image/metadata.h"

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <string_view>

/// Mattes of everything in a picture, by name: J. Friedman and A. Jones, "Fully Automatic ID Mattes with
/// Support for Motion Blur and Transparency", 2015, in files of version 1.2.0 of
/// Cryptomatte's format. A pixel holds ids and their weights, two pairs in each of its layers NAME00, NAME01
/// and so on.
namespace orca::image {

/// MurmurHash3 (A. Appleby), the variant for 32 bits, with seed 0.
[[nodiscard]] std::uint32_t murmurHash(std::string_view text);

/// The id of a name: its hash, one bit of the exponent turned where the float would be denormal, infinite or
/// no number. Never 0.
[[nodiscard]] std::uint32_t cryptomatteIdBits(std::string_view name);
[[nodiscard]] float cryptomatteId(std::string_view name);

/// Names that a layer may hold, with their ids.
class CryptomatteManifest {
public:
    /// The name's id.
    float add(const std::string& name);
    /// A JSON object of ids, eight hexadecimal digits each, by name. Bytes that are no UTF-8 are replaced.
    [[nodiscard]] std::string json() const;

private:
    std::map<std::string, std::uint32_t> ids_;
};

/// What the keys of metadata of the layers NAME00 and so on begin with.
[[nodiscard]] std::string cryptomatteKey(const std::string& name);
/// What a file says of these layers.
[[nodiscard]] Metadata cryptomatteMetadata(const std::string& name, const CryptomatteManifest& manifest);

/// A data type of such layers: "crypto_object", "crypto_material" or "crypto_asset", perhaps with the number
/// of ids that a pixel shows, as in "crypto_object_8".
struct CryptomatteType {
    BuiltinSource source = BuiltinSource::CryptoObject;
    int ranks = 6; ///< 2 to 16, even
};
/// Nothing for other data types.
[[nodiscard]] std::optional<CryptomatteType> cryptomatteType(std::string_view datatype);

[[nodiscard]] inline bool isCryptomatte(const Buffer& buffer) {
    return buffer.source == BuiltinSource::CryptoObject || buffer.source == BuiltinSource::CryptoMaterial ||
           buffer.source == BuiltinSource::CryptoAsset;
}
/// NAME of the layers NAME00, NAME01 and so on.
[[nodiscard]] std::string cryptomatteName(const Buffer& buffer);

/// A bright colour for an id, to look at.
[[nodiscard]] miColor falseColor(float id);

} // namespace orca::image
