// Every pixel format with a trait, for tests that walk them at run time.
#pragma once

#include <ostream>

#include "Transform/Common/PixelTraits.h"

namespace zelk {

struct FormatFacts {
    QV_RasterFormat code;
    int alpha, red;  ///< their places in a pixel
    int pixelBytes;
};
inline void PrintTo(FormatFacts const& facts, std::ostream* out) { *out << "format" << facts.code; }

#define ZELK_FACTS(NAME, ...) \
    {PIXEL_##NAME::kFormat, PIXEL_##NAME::kAlpha, PIXEL_##NAME::kRed, PIXEL_##NAME::kPixelBytes},
inline constexpr FormatFacts kFormats[] = {ZELK_PIXEL_FORMATS(ZELK_FACTS)};
#undef ZELK_FACTS

}  // namespace zelk
