// SPDX-License-Identifier: Apache-2.0
#include "checkpoint_description.h"
#include "fuzz_input.h"

#include "render/checkpoint/checkpoint_writer.h"
#include "render/checkpoint/render_state.h"
#include "render/film/film.h"
#include "render/gather/gather_cache.h"

using namespace orca;

/// A checkpoint: read, developed and gone on with. Its checksum, which whoever damages one on purpose would
/// put right, is not looked at.
int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const fuzz::InputFile file({reinterpret_cast<const char*>(data), size});
    Log log(LogLevel::None);
    try {
        render::CheckpointInput input(file.path());
        render::CheckpointHeader header = render::readHeader(input);
        app::DescribedPicture picture(header["about.picture"], log);
        input.demand(render::Film::bytesNeeded(picture.framebuffers(), render::sampledBy(picture.areas())));
        render::Film film(picture.framebuffers(), picture.window(), render::sampledBy(picture.areas()));
        render::RenderState state(film, picture.tileSize(), true);
        state.read(input);

        render::AdaptiveSampler(picture.areas(), {}).fillGaps(film);
        render::GatherCaches caches({-1, -1, -1}, {1, 1, 1});
        state.setCaches(caches);
        state.finishGrid();
        film.resolve();
    } catch (const render::CheckpointFault&) { // is what a damaged file ends with
    }
    return 0;
}
