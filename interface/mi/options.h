// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "types.h"

/// Render options. Read only for shaders.
typedef struct miOptions {
    miBoolean trace; ///< secondary rays are traced
    int scanline;    ///< first-hit algorithm: 0 off, 1 on, 'o' hardware, 'r' rasterizer
    miUint motion;
    miBoolean shadow_sort, preview_mode;
    int reflection_depth;         ///< limit of reflection_level
    int refraction_depth;         ///< limit of refraction_level
    int trace_depth;              ///< limit of their sum
    int min_samples, max_samples; ///< sampling levels: 4^n samples per pixel
    miColor contrast;
    miColor time_contrast;
    miTag contour_contrast, contour_store;
    miBoolean caustic, globillum;
    int caustic_accuracy;
    miScalar caustic_radius;
    int globillum_accuracy;
    miScalar globillum_radius;
    miScalar caustic_filter_const;
    miScalar filter_size_x, filter_size_y, jitter;
    miScalar shutter;       ///< shutter close, frames
    miScalar shutter_delay; ///< shutter open, frames
    char shadow;            ///< 0 off, 1 simple, 'l' sorted, 's' segments
    miUint1 use_shadow_maps;
    miBoolean finalgather;
    int finalgather_rays;
    miScalar finalgather_maxradius, finalgather_minradius;
    char render_space; ///< 'o' object space, 'c' camera space
    int task_size;     ///< tile edge, pixels
    miCBoolean no_lens, no_volume, no_geometry, no_displace, no_hair, no_output, no_merge;
    miTag userdata;
    miTag inh_funcdecl;
    miTag state_func; ///< list of state shaders
    int face;         ///< 'f' front, 'b' back, 'a' both
    miColor luminance_weight;
    miScalar gamma;
    char filter; ///< one of miFILTER_*
    int motion_steps;
    int finalgather_diffuse_depth; ///< gathers within gathers: bounces of diffuse light beyond the first
    miTag string_options;          ///< options with names of their own, for `Interface::getOptions`
} miOptions;

enum {
    miFILTER_BOX = 'b',
    miFILTER_TRIANGLE = 't',
    miFILTER_GAUSS = 'g',
    miFILTER_MITCHELL = 'm',
    miFILTER_LANCZOS = 'l'
};

#define miSCANLINE_RASTERIZER 'r'
#define miSHADOW_OFF 0
#define miSHADOW_SIMPLE 1
#define miSHADOW_SORTED 'l'
#define miSHADOW_SEGMENTS 's'
