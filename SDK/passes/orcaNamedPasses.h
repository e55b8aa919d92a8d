// SPDX-License-Identifier: Apache-2.0
#pragma once

/// Data blocks of scenes that speak of passes by name. Shaders do not read them: before rendering,
/// orca-render makes of them the blocks that shaders read, orcaFrameBufferData and orcaPassMask.

#include "orcaFrameBufferRecords.h"

#include <shader.h>

/// A record of an orcaNamedPasses block: any order of types.
struct NamedPassRecord : FrameBufferDataRecord {
    miTag passType; ///< string: name of a PassType
};
static_assert(sizeof(NamedPassRecord) == sizeof(FrameBufferDataRecord) + sizeof(miTag));

/// On the camera, in place of orcaFrameBufferData. Without magic word: shaders pass it by.
struct NamedPasses {
    int i_nonMaterialFrameBuffers;
    int n_nonMaterialFrameBuffers;
    miTag nonMaterialFrameBuffers[1];
    int i_frameBufferInfo;
    int n_frameBufferInfo;
    NamedPassRecord frameBufferInfo[1];
};

/// On an object or light instance, in place of orcaPassMask: strings that name frame buffers or pass types.
struct PassLinks {
    int i_only;
    int n_only;
    miTag only[1]; ///< empty: all passes
    int i_exclude;
    int n_exclude;
    miTag exclude[1];
    int i_include;
    int n_include;
    miTag include[1]; ///< added to what the other two leave
};
