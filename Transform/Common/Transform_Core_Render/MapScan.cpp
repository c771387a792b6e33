// Corners, coverage and sampling of the map scan; see MapScan.h.
#include "Transform/Common/Transform_Core_Render/MapScan.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <limits>
#include <new>
#include <optional>

#include "Transform/Common/PixelMemory.h"
#include "Transform/Common/RowBands.h"
#include "Transform/Common/SaturatingCast.h"
#include "Transform/Common/Transform_Core_Render/Footprint.h"

namespace {

struct Place {
    double x, y;
    bool isFinite() const { return std::isfinite(x) && std::isfinite(y); }
};

constexpr Place kNowhere = {std::numeric_limits<double>::quiet_NaN(),
                            std::numeric_limits<double>::quiet_NaN()};

/// The map, continued by one pixel beyond the frame: there as far as the last step inside.
Place positionAt(FrameMap const& map, int x, int y) {
    auto const inside = [&map](int column, int row) -> Place {
        float const* const p = map.positions + row * map.rowFloats + std::ptrdiff_t{2} * column;
        return {p[0], p[1]};
    };
    int const column = std::clamp(x, 0, map.width - 1), row = std::clamp(y, 0, map.height - 1);
    const Place own = inside(column, row);
    Place p = own;
    auto const goOn = [&](Place before) {
        p.x += own.x - before.x;
        p.y += own.y - before.y;
    };
    if (x != column && map.width > 1) goOn(inside(2 * column - x, row));
    if (y != row && map.height > 1) goOn(inside(column, 2 * row - y));
    return p;
}

/// The corner at the upper left of pixel (x, y): the mean of those of its four pixels that look
/// somewhere.
Place cornerAt(FrameMap const& map, int x, int y) {
    double sumX = 0, sumY = 0;
    int count = 0;
    for (int row = y - 1; row <= y; ++row)
        for (int column = x - 1; column <= x; ++column) {
            const Place p = positionAt(map, column, row);
            if (!p.isFinite()) continue;
            sumX += p.x;
            sumY += p.y;
            ++count;
        }
    return count ? Place{sumX / count, sumY / count} : kNowhere;
}

/// In the source; nowhere for what lies behind the viewer, where q is not positive.
Place sourceAt(ScreenPlane const& plane, Place p) {
    double const w = ScreenPlane::at(plane.q, p.x, p.y);
    if (!(w > 0)) return kNowhere;
    return {ScreenPlane::at(plane.u, p.x, p.y) / w, ScreenPlane::at(plane.v, p.x, p.y) / w};
}

/// A small convex polygon: a quad, cut by four lines.
struct Shape {
    Place corners[8];
    int count = 0;

    double twiceArea() const {
        double sum = 0;
        for (int i = 0; i < count; ++i) {
            Place const &a = corners[i], &b = corners[i + 1 == count ? 0 : i + 1];
            sum += (a.x - corners[0].x) * (b.y - corners[0].y) -
                   (b.x - corners[0].x) * (a.y - corners[0].y);
        }
        return std::fabs(sum);
    }

    /// Keeps the part where inside(corner) is not negative; it is linear in x and y.
    template <class Inside>
    void cut(Inside inside) {
        Shape rest;
        for (int i = 0; i < count; ++i) {
            Place const &a = corners[i], &b = corners[i + 1 == count ? 0 : i + 1];
            double const da = inside(a), db = inside(b);
            if (da >= 0) rest.corners[rest.count++] = a;
            if ((da < 0) != (db < 0) && rest.count < 8) {
                double const t = da / (da - db);
                rest.corners[rest.count++] = {a.x + t * (b.x - a.x), a.y + t * (b.y - a.y)};
            }
            if (rest.count == 8) break;
        }
        *this = rest;
    }
};

/// The picture's outline in source coordinates.
struct Outline {
    double left, top, right, bottom;

    explicit Outline(RenderSettings const& s)
        : left(s.srcMinX - 0.5),
          top(s.srcMinY - 0.5),
          right(s.srcMaxX + 0.5),
          bottom(s.srcMaxY + 0.5) {}

    /// The share of a quad that lies inside.
    float share(Shape const& quad) const {
        double low[2] = {quad.corners[0].x, quad.corners[0].y}, high[2] = {low[0], low[1]};
        for (Place const& p : quad.corners) {
            if (&p == quad.corners + quad.count) break;
            low[0] = std::min(low[0], p.x), high[0] = std::max(high[0], p.x);
            low[1] = std::min(low[1], p.y), high[1] = std::max(high[1], p.y);
        }
        if (low[0] >= left && high[0] <= right && low[1] >= top && high[1] <= bottom) return 1;
        if (high[0] <= left || low[0] >= right || high[1] <= top || low[1] >= bottom) return 0;
        Shape part = quad;
        part.cut([this](Place p) { return p.x - left; });
        part.cut([this](Place p) { return right - p.x; });
        part.cut([this](Place p) { return p.y - top; });
        part.cut([this](Place p) { return bottom - p.y; });
        double const whole = quad.twiceArea();
        return whole > 0 ? static_cast<float>(std::min(part.twiceArea() / whole, 1.0)) : 0;
    }
};

/// What all rows share.
struct Scan {
    FrameMap const& map;
    ScreenPlane const& plane;
    RenderSettings& settings;
    Outline outline;
    Place* corners;  ///< in the source, one more than pixels a row and a column

    Place* cornerRow(int y) const { return corners + std::ptrdiff_t{y} * (map.width + 1); }
    /// Upper left, upper right, lower right, lower left; nothing when one of them looks nowhere.
    bool quadAt(int x, int y, Shape& quad) const {
        Place const* const upper = cornerRow(y) + x;
        Place const* const lower = cornerRow(y + 1) + x;
        quad = {{upper[0], upper[1], lower[1], lower[0]}, 4};
        return std::all_of(quad.corners, quad.corners + 4,
                           [](Place const& p) { return p.isFinite(); });
    }
};

Footprint footprintOf(Place centre, Shape const& quad) {
    Place const &a = quad.corners[0], &b = quad.corners[1], &c = quad.corners[2],
                &d = quad.corners[3];
    return {centre.x,
            centre.y,
            0.5 * ((b.x + c.x) - (a.x + d.x)),
            0.5 * ((b.y + c.y) - (a.y + d.y)),
            0.5 * ((c.x + d.x) - (a.x + b.x)),
            0.5 * ((c.y + d.y) - (a.y + b.y))};
}

/// The levels that the covered pixels ask for.
int levelsFor(Scan const& scan) {
    int levels = 1;
    Shape quad;
    for (int y = 0; y < scan.map.height; ++y)
        for (int x = 0; x < scan.map.width; ++x)
            if (scan.quadAt(x, y, quad) && scan.outline.share(quad) > 0)
                levels = std::max(levels, FootprintSource::levelsFor(footprintOf({}, quad)));
    return levels;
}

void samplePixel(Scan const& scan, Footprint const& f, float* out) {
    RenderSettings& s = scan.settings;
    if (s.footprint) {
        const FootprintSamples samples = samplesOf(s.footprint->source, f);
        sampleFootprintsSimd(s.footprint->source, &samples, 1, out);
        out[s.alphaOffset] = limitedAlpha(out[s.alphaOffset]);
        return;
    }
    LineRenderStruct line{};
    line.x = f.u;
    line.y = f.v;
    line.w = 1;
    line.count = 1;
    line.dest = out;
    s.interiorFunc(&s, &line);
}

void scanRow(Scan const& scan, int y, float* out) {
    Shape quad;
    for (int x = 0; x < scan.map.width; ++x, out += 4) {
        const Place centre = sourceAt(scan.plane, positionAt(scan.map, x, y));
        bool const looks = centre.isFinite() && scan.quadAt(x, y, quad);
        float const coverage = looks ? scan.outline.share(quad) : 0;
        if (!(coverage > 0)) {
            std::memset(out, 0, 4 * sizeof(float));
            continue;
        }
        samplePixel(scan, footprintOf(centre, quad), out);
        for (int k = 0; coverage < 1 && k < 4; ++k) out[k] *= coverage;
    }
}

}  // namespace

QV_IRect boundsOf(FrameMap const& map, int mostPx) {
    const QV_IRect most = {-mostPx, -mostPx, map.width - 1 + mostPx, map.height - 1 + mostPx};
    float left = 0, top = 0;
    auto right = static_cast<float>(map.width), bottom = static_cast<float>(map.height);
    for (int y = 0; y < map.height; ++y) {
        float const* p = map.positions + y * map.rowFloats;
        for (int x = 0; x < map.width; ++x, p += 2) {
            if (!std::isfinite(p[0]) || !std::isfinite(p[1])) continue;
            left = std::min(left, p[0]), right = std::max(right, p[0]);
            top = std::min(top, p[1]), bottom = std::max(bottom, p[1]);
        }
    }
    auto const floorInt = [](float v) { return saturatingInt(std::floor(v)); };
    return {std::max(most.left, floorInt(left)), std::max(most.top, floorInt(top)),
            std::min(most.right, floorInt(right)), std::min(most.bottom, floorInt(bottom))};
}

bool mapScan(FrameMap const& map, ScreenPlane const& plane, bool integrates,
             RenderSettings& settings, PluginHost_API::RasterInfo const& frame) {
    const PixelMemory memory(sizeof(Place) * static_cast<std::size_t>(map.width + 1) *
                                 static_cast<std::size_t>(map.height + 1),
                             PixelMemory::Start::kAnything);
    if (!memory.data()) return false;
    const Scan scan{map, plane, settings, Outline(settings),
                    reinterpret_cast<Place*>(memory.data())};
    forEachRow(map.height + 1, std::int64_t{64} * map.width, [&](int y) {
        for (int x = 0; x <= map.width; ++x)
            new (scan.cornerRow(y) + x) Place(sourceAt(plane, cornerAt(map, x, y)));
    });

    std::optional<FootprintContext> footprints;
    if (integrates) {
        footprints.emplace(FootprintContext{FootprintSource(settings, levelsFor(scan)), plane});
        if (footprints->source.levels().empty()) return false;
        settings.footprint = &*footprints;
    }
    auto* const pixels = static_cast<unsigned char*>(frame.data);
    forEachRow(map.height, std::int64_t{64} * map.width, [&](int y) {
        scanRow(scan, y,
                reinterpret_cast<float*>(pixels + static_cast<std::ptrdiff_t>(y) * frame.rowBytes));
    });
    settings.footprint = nullptr;
    return true;
}
