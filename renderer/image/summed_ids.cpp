// SPDX-License-Identifier: Apache-2.0
#include "image/summed_ids.h"

#include <OpenEXR/ImfChannelList.h>
#include <fmt/format.h>

#include <map>
#include <set>
#include <stdexcept>
#include <string>

namespace orca::image {

namespace {

/// NAME of a channel NAME00.R; empty for a name that is too short.
std::string tableOf(const std::string& channel) {
    constexpr std::size_t ending = 4; // two digits, a dot and the component
    return channel.size() > ending ? channel.substr(0, channel.size() - ending) : "";
}

/// Calls `visit` with the name and the number of each channel of a part that holds ids.
template <class Visit>
void eachIdChannel(const SumsFile::Part& part, const Visit& visit) {
    std::size_t plane = 0;
    for (auto channel = part.header.channels().begin(); channel != part.header.channels().end();
         ++channel, ++plane)
        if (part.channels[plane] == Accumulation::Ids) visit(std::string(channel.name()), plane);
}

std::set<std::string> tablesOf(const SumsFile::Part& part) {
    std::set<std::string> tables;
    eachIdChannel(part, [&](const std::string& channel, std::size_t) { tables.insert(tableOf(channel)); });
    return tables;
}

} // namespace

std::vector<int> partsWithTables(const SumsFile& file, int part) {
    std::vector<int> parts{part};
    const std::set<std::string> own = tablesOf(file.finished[static_cast<std::size_t>(part)]);
    for (int other = 0; !own.empty() && other < static_cast<int>(file.finished.size()); ++other) {
        if (other == part) continue;
        for (const std::string& table : tablesOf(file.finished[static_cast<std::size_t>(other)]))
            if (own.contains(table)) {
                parts.push_back(other);
                break;
            }
    }
    return parts;
}

std::vector<IdPlanes> idTablesIn(const SumsFile& file, const std::vector<int>& parts) {
    std::map<std::string, std::map<std::string, IdPlanes::Place>> channelsOf;
    for (std::size_t i = 0; i < parts.size(); ++i)
        eachIdChannel(file.finished[static_cast<std::size_t>(parts[i])],
                      [&](const std::string& channel, std::size_t plane) {
                          channelsOf[tableOf(channel)][channel] = {i, plane};
                      });
    std::vector<IdPlanes> tables;
    for (const auto& [name, channels] : channelsOf) {
        IdPlanes& table = tables.emplace_back();
        const auto placeOf = [&, &name = name, &channels = channels](std::size_t level, char component) {
            const auto found = channels.find(fmt::format("{}{:02}.{}", name, level, component));
            if (found == channels.end())
                throw std::runtime_error(
                    fmt::format("\"{}\" does not hold all channels of \"{}\"", file.path, name));
            return found->second;
        };
        constexpr std::size_t channelsOfLevel = 4;
        for (std::size_t level = 0; level < channels.size() / channelsOfLevel; ++level) {
            table.slots.push_back({placeOf(level, 'R'), placeOf(level, 'G')});
            table.slots.push_back({placeOf(level, 'B'), placeOf(level, 'A')});
        }
        if (channels.size() % channelsOfLevel != 0 || table.slots.size() > mostIdSlots)
            throw std::runtime_error(
                fmt::format("\"{}\" does not hold the channels of \"{}\" alone", file.path, name));
    }
    return tables;
}

} // namespace orca::image
