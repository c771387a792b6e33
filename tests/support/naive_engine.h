// A deliberately naive model of the engine: for every destination pixel by itself, what its value
// may be. It shares no code with the engine and no formula where there is another: the map comes
// from two triangles of reference instead of the square, the polygon is clipped in the source plane
// instead of in homogeneous space, and a row of sub-pixels is a line cut through that polygon.
//
// An answer is a range, not a number: its width holds the roundings that a correct engine may make,
// the 1/512 of the coverage grid among them, and both neighbours where the engine's choice hangs on
// a rounding (which row of the weight table, edge run or interior run, row drawn or left out).
#pragma once

#include <array>
#include <vector>

#include "tests/support/engine_scene.h"
#include "tests/support/plane.h"

namespace zelk {

struct Range {
    double lo, hi;
    void include(double value);
    void include(const Range& other);
    double width() const { return hi - lo; }
};

class NaiveEngine {
public:
    /// `source` is a float raster that outlives the model.
    NaiveEngine(const EngineScene& scene, const GuardedRaster& source);

    /// False when the picture crosses the horizon and its front part misses the window: the engine
    /// then mirrors single corners, which no picture corresponds to.
    bool canTell() const { return m_canTell; }

    /// Coverage as sampled on 16 lines; includes 0 if the row may be left out.
    Range sampledCoverage(int x, int y) const;
    /// What the pixel may hold. All of 0 to 1 where the pixel's centre meets the horizon.
    Range value(int x, int y, int channel) const;

private:
    static constexpr int kLines = 16, kShifts = 3;
    enum class Drop { kNo, kMaybe, kYes };
    struct Cut {  // a horizontal line through the picture; nothing if l >= r
        double l, r;
        double width() const { return r > l ? r - l : 0.0; }
    };
    struct Row {
        std::array<std::array<Cut, kShifts>, kLines> cuts;  // line k of 16, moved up, not, down
        Drop drop;
        bool surelyFull, maybeFull;  // all 16 lines hold a span
        Range maxLeft, minRight;
    };
    struct SourcePoint {
        double u, v, errorU, errorV;
        bool known;
    };

    void mapPicture();
    Cut cut(double y) const;
    Row makeRow(int y) const;
    const Row& rowAt(int y) const { return m_rows[y - m_scene.window.top]; }
    SourcePoint sourceOf(int x, int y) const;
    /// Of sample(u, v) around the point, as far as its errors reach.
    template <typename Sample>
    static Range around(const SourcePoint& p, Sample sample);
    Range kernel(const SourcePoint& p, int taps, bool repeatBorder, int channel) const;
    Range interior(const SourcePoint& p, int channel) const;
    Range nearest(int x, int y, int channel) const;
    Range bilinear(const SourcePoint& p, int channel) const;
    double bilinearAt(double u, double v, int channel) const;
    double kernelAt(double u, double v, int taps, bool repeatBorder, int channel) const;

    EngineScene m_scene;
    const GuardedRaster& m_source;
    Matrix3 m_toUnit;   // frame pixels to unit measure, homogeneous
    Polygon m_polygon;  // the visible picture, frame pixels
    std::vector<Row> m_rows;
    bool m_canTell = true;
};

}  // namespace zelk
