// A conversion between two colour spaces, over the rows of worlds.
//
// Alpha is never converted. Colour is straight around a step that is not linear: associated colour
// is divided by alpha before it and multiplied after it, in float; where alpha is 0 it stays as it
// is. Integers go through float and are rounded once, to their own depth.
#pragma once

#include <string>
#include <vector>

#include "hostkit/world.h"
#include "zelk/color/color_step.h"
#include "zelk/pictures/reader.h"

namespace zelk {

/// For several threads at once.
class ColorTransform {
public:
    /// `steps` is not empty.
    explicit ColorTransform(std::vector<ColorStep> steps);

    /// Light times a number is that number times the result: a matrix, no curve.
    bool isLinear() const { return m_isLinear; }
    /// `count` pixels of float, alpha first or last, in place.
    enum class AlphaAt { kFirst, kLast };
    void apply(float* pixels, int count, AlphaAt alpha, AlphaForm form) const;
    /// A whole world; rows on the team.
    void apply(World& world, AlphaForm form) const;

private:
    template <class Channel>
    void applyRow(World& world, int y, AlphaForm form) const;
    void run(float* rgb, int pixels) const;

    std::vector<ColorStep> m_steps;
    bool m_isLinear;
};

/// A float world with the same values, whatever the depth.
World floatWorld(World const& world);

}  // namespace zelk
