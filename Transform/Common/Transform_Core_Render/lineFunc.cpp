// Nearest neighbour, see lineFunc.h. Pixels are moved as blocks of 4, 8 or 16 bytes.
#include "Transform/Common/Transform_Core_Render/lineFunc.h"

#include <cstddef>
#include <cstring>

namespace {

/// Truncation toward zero, limited to low..high; not a number gives low.
int truncateInside(double c, int low, int high) {
    if (!(c >= low)) return low;
    if (c >= high) return high;
    return static_cast<int>(c);
}

/// `PixelBytes` 0 stands for whatever the settings say.
template <int PixelBytes>
void copyNearest(RenderSettings const& s, LineRenderStruct& line) {
    int const bytes = PixelBytes ? PixelBytes : s.srcPixelBytes;
    auto const* source = static_cast<unsigned char const*>(s.srcData);
    auto* dest =
        static_cast<unsigned char*>(line.dest) + static_cast<std::ptrdiff_t>(line.skipLeft) * bytes;
    for (int i = 0; i < line.count; ++i, dest += bytes) {
        int const px = truncateInside(line.x / line.w, s.srcMinX, s.srcMaxX);
        int const py = truncateInside(line.y / line.w, s.srcMinY, s.srcMaxY);
        std::memcpy(dest,
                    source + static_cast<std::ptrdiff_t>(py) * s.srcRowBytes +
                        static_cast<std::ptrdiff_t>(px) * bytes,
                    static_cast<std::size_t>(bytes));
        line.x += line.dx;
        line.y += line.dy;
        line.w += line.dw;
    }
}

}  // namespace

void lineFunc(void* settings, LineRenderStruct* line) {
    auto const& s = *static_cast<RenderSettings const*>(settings);
    switch (s.srcPixelBytes) {
        case 4:
            return copyNearest<4>(s, *line);
        case 8:
            return copyNearest<8>(s, *line);
        case 16:
            return copyNearest<16>(s, *line);
        default:
            return copyNearest<0>(s, *line);
    }
}
