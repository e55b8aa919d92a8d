// SPDX-License-Identifier: Apache-2.0
#include "image/exr_file.h"

#include "image/exr_header.h"
#include "image/exr_planes.h"
#include "image/exr_stream.h"
#include "image/file_in_place.h"
#include "image/image_types.h"

#include <ImathMatrix.h>
#include <OpenEXR/ImfChannelList.h>
#include <OpenEXR/ImfFloatAttribute.h>
#include <OpenEXR/ImfFrameBuffer.h>
#include <OpenEXR/ImfHeader.h>
#include <OpenEXR/ImfInputPart.h>
#include <OpenEXR/ImfIntAttribute.h>
#include <OpenEXR/ImfMatrixAttribute.h>
#include <OpenEXR/ImfMultiPartInputFile.h>
#include <OpenEXR/ImfMultiPartOutputFile.h>
#include <OpenEXR/ImfOutputPart.h>
#include <OpenEXR/ImfPartType.h>
#include <OpenEXR/ImfRationalAttribute.h>
#include <OpenEXR/ImfStandardAttributes.h>
#include <OpenEXR/ImfStringAttribute.h>
#include <OpenEXR/ImfThreading.h>
#include <OpenEXR/ImfTiledInputPart.h>
#include <OpenEXR/ImfTiledOutputPart.h>

#include <algorithm>
#include <cstring>
#include <span>

namespace orca::image {

namespace {

Imf::Compression compressionOf(const std::string& word) {
    if (word == "none") return Imf::NO_COMPRESSION;
    if (word == "rle") return Imf::RLE_COMPRESSION;
    if (word == "zip") return Imf::ZIP_COMPRESSION;
    if (word == "piz") return Imf::PIZ_COMPRESSION;
    if (word == "pxr24") return Imf::PXR24_COMPRESSION;
    if (word == "dwaa") return Imf::DWAA_COMPRESSION;
    return Imf::ZIPS_COMPRESSION;
}

/// Parts that are taken from the film in one sweep. It keeps all words of a pixel together, so that a part
/// alone would fetch nearly as much memory as many parts do.
constexpr std::size_t partsPerSweep = 16;

/// Rows that are compressed between two looks at the stop request.
int rowsPerPiece(const PictureFrame& frame) {
    constexpr int pixels = 1 << 20;
    constexpr int rowsOfABlock = 32; // most that a compression takes together
    return std::max(rowsOfABlock, pixels / frame.windowWidth() / rowsOfABlock * rowsOfABlock);
}

/// Adds a value as an attribute of its type.
void addTo(Imf::Header& header, const std::string& key, const MetadataValue& value) {
    const struct {
        Imf::Header& header;
        const std::string& key;
        void operator()(const std::string& text) const { header.insert(key, Imf::StringAttribute(text)); }
        void operator()(int number) const { header.insert(key, Imf::IntAttribute(number)); }
        void operator()(float number) const { header.insert(key, Imf::FloatAttribute(number)); }
        void operator()(const Rational& number) const {
            header.insert(key, Imf::RationalAttribute(Imf::Rational(number.numerator, number.denominator)));
        }
        void operator()(const Matrix& matrix) const {
            Imath::M44f values;
            std::memcpy(values.x, matrix.data(), sizeof values.x);
            header.insert(key, Imf::M44fAttribute(values));
        }
    } add{header, key};
    std::visit(add, value);
}

} // namespace

Imf::Header headerOf(const PictureFrame& frame, const ExrPart& part, const ExrTiles& tiles) {
    const int top = frame.height - 1;
    const Imath::Box2i display({0, 0}, {frame.width - 1, top});
    const Imath::Box2i data({frame.window.xl, top - frame.window.yh},
                            {frame.window.xh, top - frame.window.yl});
    constexpr float narrowest = 1e-6f, widest = 1e6f; // that the format takes
    Imf::Header header(display, data, std::clamp(frame.pixelAspect, narrowest, widest));
    header.compression() = compressionOf(part.compression.word);
    header.dwaCompressionLevel() = part.compression.level;
    header.setType(tiles.size > 0 ? Imf::TILEDIMAGE : Imf::SCANLINEIMAGE);
    if (tiles.size > 0) {
        const auto edge = static_cast<unsigned>(tiles.size);
        header.setTileDescription({edge, edge, tiles.mipMaps ? Imf::MIPMAP_LEVELS : Imf::ONE_LEVEL});
    }
    if (!part.name.empty()) header.setName(part.name);
    for (const ExrChannel& channel : part.channels)
        header.channels().insert(channel.name, Imf::Channel(pixelTypeOf(channel.storage)));
    if (frame.isRec709) Imf::addChromaticities(header, {});
    for (const Metadata* metadata : {&frame.metadata, &part.metadata, &part.keyedMetadata})
        for (const auto& [key, value] : *metadata) addTo(header, key, value);
    return header;
}

namespace {

/// A part that is being written.
struct OpenPart {
    const ExrPart& part;
    Imf::MultiPartOutputFile& file;
    int number;
    Imath::V2i corner; ///< of the data window
};

void writeRows(const OpenPart& open, std::vector<Plane>& planes, const PictureFrame& frame) {
    Imf::OutputPart output(open.file, open.number);
    output.setFrameBuffer(slicesOf(open.part, planes, open.corner.x, open.corner.y));
    const int piece = rowsPerPiece(frame);
    for (int row = 0; row < frame.windowHeight(); row += piece)
        output.writePixels(std::min(piece, frame.windowHeight() - row));
}

/// All levels of a part. Takes the planes, which become those of the smallest.
void writeTiles(const OpenPart& open, std::vector<Plane> planes) {
    Imf::TiledOutputPart output(open.file, open.number);
    for (int level = 0; level < output.numLevels(); ++level) {
        if (level > 0)
            for (std::size_t c = 0; c < planes.size(); ++c)
                planes[c] = halved(planes[c], open.part.channels[c]);
        output.setFrameBuffer(slicesOf(open.part, planes, open.corner.x, open.corner.y));
        for (int row = 0; row < output.numYTiles(level); ++row)
            output.writeTiles(0, output.numXTiles(level) - 1, row, row, level);
    }
}

/// Reads what the file holds last of a part, still compressed; throws where the file is cut short: a copy
/// that was has its table of rows or tiles, but not all of them.
void readEnd(Imf::MultiPartInputFile& file, int number) {
    const char* bytes = nullptr;
    int count = 0;
    if (file.header(number).type() != Imf::TILEDIMAGE) {
        Imf::InputPart part(file, number);
        part.rawPixelData(part.header().dataWindow().max.y, bytes, count);
        return;
    }
    Imf::TiledInputPart part(file, number);
    int level = part.numLevels() - 1, levelY = level; // the library takes references to all of them
    int x = part.numXTiles(level) - 1, y = part.numYTiles(level) - 1;
    part.rawTileData(x, y, level, levelY, bytes, count);
}

} // namespace

std::vector<std::string> bareChannelNames(const Buffer& buffer) {
    if (isColor(buffer.type)) {
        if (isOpaqueColor(buffer.type)) return {"R", "G", "B"};
        return {"R", "G", "B", "A"};
    }
    switch (buffer.type) {
    case miIMG_TYPE_N:
    case miIMG_TYPE_M: return {"X", "Y", "Z"};
    case miIMG_TYPE_Z: return {"Z"};
    case miIMG_TYPE_A:
    case miIMG_TYPE_A_16:
    case miIMG_TYPE_A_H:
    case miIMG_TYPE_A_FP: return {"A"};
    default: return {"Y"};
    }
}

void writeExr(const std::string& path, const PictureFrame& frame, const std::vector<ExrPart>& parts,
              const ExrTiles& tiles) {
    std::vector<Imf::Header> headers;
    headers.reserve(parts.size());
    for (const ExrPart& part : parts) headers.push_back(headerOf(frame, part, tiles));

    if (Imf::globalThreadCount() < frame.threads) Imf::setGlobalThreadCount(frame.threads);
    FileInPlace target(path, frame.stop);
    {
        ExrStream stream(path, target);
        Imf::MultiPartOutputFile file(stream, headers.data(), static_cast<int>(headers.size()));
        std::vector<std::vector<Plane>> planes;
        for (std::size_t p = 0; p < parts.size(); ++p) {
            if (p % partsPerSweep == 0)
                planes =
                    planesOf(std::span(parts).subspan(p, std::min(partsPerSweep, parts.size() - p)), frame);
            const OpenPart part{parts[p], file, static_cast<int>(p), headers[p].dataWindow().min};
            if (tiles.size > 0) writeTiles(part, std::move(planes[p % partsPerSweep]));
            else writeRows(part, planes[p % partsPerSweep], frame);
        }
    }
    target.commit();
}

std::optional<FinishedPicture> finishedPicture(const std::string& path) {
    if (!faultOfExrHeader(path).empty()) return {};
    try {
        Imf::MultiPartInputFile file(path.c_str());
        for (int part = 0; part < file.parts(); ++part)
            if (!file.partComplete(part)) return {};
        readEnd(file, file.parts() - 1);
        const Imf::Header& header = file.header(0);
        const Imath::Box2i &display = header.displayWindow(), &data = header.dataWindow();
        FinishedPicture picture;
        picture.window = {data.min.x, display.max.y - data.max.y, data.max.x, display.max.y - data.min.y};
        for (auto attribute = header.begin(); attribute != header.end(); ++attribute)
            if (const auto* value = dynamic_cast<const Imf::StringAttribute*>(&attribute.attribute()))
                picture.text[attribute.name()] = value->value();
        return picture;
    } catch (const std::exception&) {
        return {};
    }
}

} // namespace orca::image
