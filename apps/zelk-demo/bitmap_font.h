// Capitals, digits and a few signs of 5 by 7 dots, so that labels need no font file.
#pragma once

#include <cstdint>
#include <string_view>

namespace zelk {

inline constexpr int kGlyphWidth = 5;
inline constexpr int kGlyphHeight = 7;
inline constexpr int kGlyphAdvance = 6;

/// True when the dot at column x, row y (from the top) of the letter is set. Small letters look
/// like capitals; an unknown sign is blank.
bool glyphDot(char letter, int x, int y);

}  // namespace zelk
