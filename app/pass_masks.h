// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "image/metadata.h"
#include "scene/database.h"
#include "scene/elements/elements.h"

#include <cstddef>
#include <map>
#include <string>
#include <vector>

namespace orca::app {

/// Where the bits of masks are that count only the passes which a scene sets up itself.
struct MaskPlaces {
    std::vector<std::size_t> ofRecords; ///< by the number of the scene's record
    std::size_t count = 0;              ///< of bits, those of utility passes included
    std::size_t more = 0;               ///< added to the bits behind the records

    [[nodiscard]] std::size_t of(std::size_t bit) const {
        return bit < ofRecords.size() ? ofRecords[bit] : bit + more;
    }
};

/// The pass masks of instances. A mask has a bit for every record of the camera's data block, and behind them
/// one for the contributionIndex of every utility pass.
class PassMasks {
public:
    PassMasks(scene::Database& database, Log& log) : database_(database), log_(log) {}

    /// Makes masks of the instances' orcaPassLinks for the records of this camera, before every picture.
    /// False when they name passes that there are not, which has been reported.
    /// @param places of the bits of the scene's masks, which let in all passes that were added; null: they
    /// are
    ///     where they were
    bool resolveLinks(const scene::CameraElement& camera, const MaskPlaces* places);
    /// Warns of masks that do less than they seem to, each once.
    void check(const scene::CameraElement& camera);
    /// The instances of lights ("passLights") and of objects ("passObjects") that take part in each pass, for
    /// the metadata of its layer: "all", "none", "all but" or a list of names. By frame buffer.
    [[nodiscard]] std::map<std::string, image::Metadata> admitted(const scene::CameraElement& camera) const;
    /// All instances of lights ("lights") and of objects ("objects"), likewise.
    [[nodiscard]] image::Metadata everyone() const;

private:
    /// What the bits of a mask stand for.
    struct Bit {
        std::string frameBuffer;
        std::string type; ///< name of the pass type; empty for a utility pass
    };
    [[nodiscard]] std::vector<Bit> bitsOf(const scene::CameraElement& camera) const;
    bool resolve(scene::InstanceElement& instance, const std::vector<Bit>& bits, const MaskPlaces* places);
    bool apply(const scene::UserdataElement& links, const std::vector<Bit>& bits,
               std::vector<bool>& selected);
    bool select(const scene::UserdataElement& links, const std::vector<Bit>& bits, const miTag* names,
                int count, bool included, std::vector<bool>& selected);
    void give(scene::InstanceElement& instance, const std::string& mask);
    void checkMask(const scene::UserdataElement& data, const std::string& mask, const std::vector<Bit>& bits);

    scene::Database& database_;
    Log& log_;
    std::map<miTag, miTag> masks_; ///< of instances with links: the user data made for them
};

} // namespace orca::app
