// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "image/file_in_place.h"

#include <OpenEXR/ImfIO.h>

#include <cstdint>
#include <string>

namespace orca::image {

/// A file in place as the target of the EXR library.
class ExrStream final : public Imf::OStream {
public:
    ExrStream(const std::string& path, FileInPlace& file) : OStream(path.c_str()), file_(file) {}
    void write(const char bytes[], int count) override {
        file_.write(bytes, static_cast<std::size_t>(count));
    }
    std::uint64_t tellp() override { return file_.position(); }
    void seekp(std::uint64_t position) override { file_.seek(position); }

private:
    FileInPlace& file_;
};

} // namespace orca::image
