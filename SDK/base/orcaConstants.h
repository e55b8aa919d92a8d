// SPDX-License-Identifier: Apache-2.0
#pragma once

/// Constants that the shaders share.

#include <shader.h>

inline constexpr miInteger VELA_MAGIC = 0x56656C61; // "Vela"
inline constexpr miScalar VELA_EPS = 1e-5f;
inline constexpr miInteger VELA_CUBE_SIDE = 32;

/// Weights of the luminance of a linear colour.
inline constexpr miScalar VELA_LUMINANCE_RED = 0.30f;
inline constexpr miScalar VELA_LUMINANCE_GREEN = 0.59f;
inline constexpr miScalar VELA_LUMINANCE_BLUE = 0.11f;

/// Cosine to which translucent light reaches around a surface per unit of wrap, and the width over which it
/// fades in.
inline constexpr miScalar TRANSLUCENCE_ANGLE_FAC = -11.5f;
inline constexpr miScalar TRANSLUCENCE_FADE = 0.15f;

inline constexpr miColor BLACK{0.0f, 0.0f, 0.0f, 0.0f};
inline constexpr miColor WHITE{1.0f, 1.0f, 1.0f, 1.0f};
inline constexpr miColor VELA_BLACK{0.0f, 0.0f, 0.0f, 0.0f};
inline constexpr miColor VELA_WHITE{1.0f, 1.0f, 1.0f, 1.0f};
/// Matte opacity of a black hole: a hit that hides everything behind it and is not seen itself.
inline constexpr miColor VELA_BLACK_HOLE{0.0f, 0.0f, 0.0f, 0.0f};

inline constexpr miMatrix VELA_NULL_MATRIX{};
inline constexpr miMatrix VELA_IDENTITY_MATRIX{1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1};

/// Bits of `VelabaseState::flags`.
inline constexpr miUint VELA_BIT_BUMP2D = 0x1;
inline constexpr miUint VELA_BIT_IMAGEPLANE = 0x2;
inline constexpr miUint VELA_BIT_ENVLIGHTFOG = 0x4;
inline constexpr miUint VELA_BIT_VOLUMEFOG = 0x8;
inline constexpr miUint VELA_BIT_FLUID = 0x10;
inline constexpr miUint VELA_BIT_NOAF = 0x20;
inline constexpr miUint VELA_BIT_MOTION = 0x40;

/// Ray type of displacement calls of a fragment renderer.
inline constexpr int miRAY_MRFM_DISPLACE = 0x42;

/// Suffix of the name of a camera's frame-buffer data block in scenes.
inline constexpr const char* VELA_FRAMEBUFFER_DATA_SUFFIX = ":fbdata";
/// Keys of the pass records in the shader state.
inline constexpr const char* PASS_TYPE_INFO_KEY = "orcaPassState";
inline constexpr const char* FRAME_BUFFER_INFO_KEY = "orcaFBState";

/// Lifetime of state entries that live as long as the render state.
inline constexpr int VELA_STATE_LIFETIME = miSS_LIFETIME_RECT;
/// Answer of miQ_SAMPLE_PHASE under which passes are read and written.
inline constexpr int VELA_IMAGE_PHASE = 1;
/// Answer of miQ_SAMPLE_PHASE while the renderer computes ambient occlusion ahead of the picture.
inline constexpr int VELA_OCCLUSION_PHASE = 4;
