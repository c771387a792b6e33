// A rendered picture as a screen takes it: 8 bits, straight, converted to the display's space.
//
// Values are those that an 8-bit file of the picture would have: integers of 8 bits as they are
// where nothing is converted; all else in float, converted, rounded once to nearest, limited.
#pragma once

#include <array>
#include <memory>
#include <optional>
#include <vector>

#include "zelk/color/color_transform.h"

namespace zelk {

/// A conversion that takes each channel by itself, never falling: bytes of floats by a table that
/// has the conversion's own results.
class ByteCurve {
public:
    /// Nothing for a curve too steep for the table. `way` takes grey to grey.
    static std::shared_ptr<ByteCurve const> of(ColorTransform const& way);
    /// `count` pixels of alpha, red, green, blue; alpha is rounded alone.
    void toBytes(float const* argb, int count, bool isBgra, std::uint8_t* to) const;

private:
    struct Cell {
        float next;  ///< from here on the byte is one more
        std::uint8_t byte;
    };
    std::uint8_t byteOf(float value) const;
    std::vector<Cell> m_cells;
};

/// Null where nothing is converted; a curve where the transform is one.
struct ScreenWay {
    std::shared_ptr<ColorTransform const> transform;
    std::shared_ptr<ByteCurve const> curve;
};

/// Blue, green, red, alpha in memory with `isBgra`, else alpha first. Rows on the team.
World screenPicture(World const& picture, AlphaForm form, ScreenWay const& way, bool isBgra);

}  // namespace zelk
