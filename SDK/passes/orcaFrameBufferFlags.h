// SPDX-License-Identifier: Apache-2.0
#pragma once

/// Bits of `FrameBufferInfo::flags`.
enum FrameBufferFlags : unsigned {
    FB_USER_FLAG_0 = 0x001,
    FB_USER_FLAG_1 = 0x002,
    FB_SEEN_IN_REFLECTION = 0x004, ///< objects that the pass excludes still count when seen in reflections
    FB_SEEN_IN_REFRACTION = 0x008, ///< ... in refractions; both bits: through both
    FB_INCLUDE_REFLECTION = 0x010, ///< takes contributions of traced reflection rays
    FB_INCLUDE_REFRACTION = 0x020, ///< takes contributions of traced refraction rays
    FB_WEIGHT_BY_OPACITY = 0x040,  ///< the level's result is weighted by the hit's opacity when accumulated
    FB_SHADOWED = 0x080,           ///< receives shadowed light; clear: the light unshadowed
    FB_IGNORE_OBJECT_LINKS =
        0x100,                    ///< an occluder dims this record even when its pass mask excludes the pass
    FB_LIGHT_CONTRIBUTES = 0x200, ///< the light now being sampled contributes to this record
    FB_IN_LIGHT_LOOP = 0x400,     ///< record 0 only: a material's light loop is running
    FB_LIGHT_SETUP_PENDING = 0x800, ///< record 0 only: the light being sampled has set nothing up yet
    FB_IN_TRANSPARENCY = 0x1000,    ///< record 0 only: a ray is being continued through a transparent hit
    FB_SHADOW_ONLY = 0x2000,        ///< receives the light that shadows remove instead of the light
};
