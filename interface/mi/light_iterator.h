// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "light.h"

#ifdef __cplusplus

namespace mi {
namespace shader_v3 {

/// Lights of a hit, one after the other, and the samples of each:
///
///     for (mi::shader::LightIterator light(state); !light.at_end(); ++light) {
///         while (light->sample())
///             if (light->get_dot_nl() > 0.0f) light->accumulate(diffuse, light->get_dot_nl());
///         light->get_mean(&colour); // of this light's samples
///     }
class LightIterator {
public:
    /// Behind the last light.
    LightIterator() = default;
    /// The lights that illuminate the state's instance.
    explicit LightIterator(miState* state) : state_(state) {
        if (!mi_instance_lightlist(&count_, &lights_, state)) count_ = 0;
    }
    /// Which lights a parameter's list means.
    enum Mode {
        Listed = 0,    ///< those of the list as they are
        Inclusive = 1, ///< those of the list, groups expanded
        Exclusive = 2, ///< all but those
        OfInstance = 4 ///< the instance's own, whatever the list says
    };
    /// @param lights first of `count` light instances, which outlive the iterator
    LightIterator(miState* state, miTag* lights, int count, int mode = Listed)
        : state_(state), lights_(lights), count_(count) {
        miBoolean found = miTRUE;
        if (mode == OfInstance) found = mi_instance_lightlist(&count_, &lights_, state);
        else if (mode == Inclusive) found = mi_inclusive_lightlist(&count_, &lights_, state);
        else if (mode == Exclusive) found = mi_exclusive_lightlist(&count_, &lights_, state);
        if (!found) count_ = 0;
    }

    bool at_end() const { return current_ >= count_; }
    LightIterator& operator++() {
        ++current_;
        taken_ = samples_ = 0;
        sum_ = {0.0f, 0.0f, 0.0f, 0.0f};
        return *this;
    }
    LightIterator* operator->() { return this; }
    LightIterator& operator*() { return *this; }
    bool operator==(const LightIterator& other) const {
        return at_end() || other.at_end() ? at_end() == other.at_end() : current_ == other.current_;
    }
    bool operator!=(const LightIterator& other) const { return !(*this == other); }

    miTag get_light_tag() const { return lights_[current_]; }
    /// Takes the light's next sample; false after its last.
    bool sample() {
        if (!mi_sample_light(&color_, &direction_, &dotNormal_, state_, lights_[current_], &samples_))
            return false;
        ++taken_;
        return true;
    }

    /// Of the last sample: what arrives after shadows, the unit direction from the point to the light, and
    /// its cosine with the state's normal.
    void get_contribution(miColor* color) const { *color = color_; }
    const miColor& get_contribution() const { return color_; }
    const miVector& get_direction() const { return direction_; }
    miScalar get_dot_nl() const { return dotNormal_; }

    /// Adds the last sample's colour, weighted, to the light's sum.
    void accumulate(const miColor& weight, miScalar factor = 1.0f) {
        sum_.r += factor * weight.r * color_.r;
        sum_.g += factor * weight.g * color_.g;
        sum_.b += factor * weight.b * color_.b;
        sum_.a += factor * weight.a * color_.a;
    }
    /// Samples of this light so far.
    int get_number_of_samples() const { return taken_; }
    /// The light's sum divided by the number of its samples; black without samples.
    void get_mean(miColor* color) const {
        const miScalar scale = taken_ > 0 ? 1.0f / (miScalar)taken_ : 0.0f;
        *color = {sum_.r * scale, sum_.g * scale, sum_.b * scale, sum_.a * scale};
    }

private:
    miState* state_ = nullptr;
    miTag* lights_ = nullptr;
    int count_ = 0, current_ = 0;
    miInteger samples_ = 0; ///< the renderer's counter
    int taken_ = 0;
    miColor color_{0.0f, 0.0f, 0.0f, 0.0f}, sum_{0.0f, 0.0f, 0.0f, 0.0f};
    miVector direction_{0.0f, 0.0f, 0.0f};
    miScalar dotNormal_ = 0.0f;
};

} // namespace shader_v3

namespace shader = shader_v3;
} // namespace mi

#endif
