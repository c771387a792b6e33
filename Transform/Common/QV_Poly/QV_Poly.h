// QV_Poly: a small convex polygon with a generic vertex, its clipper and its three scans.
//
// A vertex carries thirteen doubles; a bit mask says which are live, and only those are clipped
// and interpolated. Spaces: (sx, sy) is screen space in pixels with y down, homogeneous until
// divided by sw; (u, v) is the source position in pixels, linear in screen space once divided by
// sw beside q = 1 / sw, so that u/q and v/q give the perspective-correct position.
//
//        left edge   sx            The plain scan samples pixel centres and hands one run a row to
//           \  |- interior -|      the interior function. The area scan measures coverage on a grid
//      .--edge-+------------+edge  of 16 sub-rows by 512 sub-columns a pixel and hands each row out
//                                  as left edge run, interior run, right edge run. The exact scan
//                                  does so by the area itself.
//
// A polygon lives on the stack of one render. It owns its coverage buffer and nothing else.
#pragma once

#include <cstdint>
#include <memory>

#include "Transform/Common/RenderRecords.h"

/// A quad plus one new vertex for each of the six clip planes.
constexpr int POLY_NMAX = 10;

/// Inclusive pixel window of a scan.
struct QV_Window {
    std::int32_t x0, y0, x1, y1;
};

/// Clip volume: x0 sw <= sx <= x1 sw, and so on.
struct QV_Poly_box {
    double x0, x1, y0, y1, z0, z1;
};

/// Mask bits of the vertex fields, in field order.
enum QV_Poly_mask : std::uint32_t {
    kMaskSx = 0x1,
    kMaskSy = 0x2,
    kMaskSz = 0x4,
    kMaskSw = 0x8,
    kMaskX = 0x10,
    kMaskY = 0x20,
    kMaskZ = 0x40,
    kMaskU = 0x80,
    kMaskV = 0x100,
    kMaskQ = 0x200,
    kMaskNx = 0x400,
    kMaskNy = 0x800,
    kMaskNz = 0x1000,
};
constexpr int kPolyFieldCount = 13;

struct QV_Poly_vert {
    double sx, sy, sz, sw;  ///< screen position
    double x, y, z;         ///< position before the matrix
    double u, v, q;         ///< source position and its homogeneous weight
    double nx, ny, nz;      ///< scratch: the area scan keeps sx * 512 and sy * 16 in nx, ny

    /// The fields as an array, in mask order.
    double* fields() { return &sx; }
    double const* fields() const { return &sx; }
};
static_assert(sizeof(QV_Poly_vert) == kPolyFieldCount * sizeof(double));

/// Sub-rows of a pixel row and sub-columns of a pixel in the area scan.
constexpr int kSubRows = 16;
constexpr int kSubColumns = 512;
/// Pixels below which waking a team costs more than it saves.
constexpr std::int64_t kPixelsForTeam = 16384;
/// Both ends of a sub-row without coverage.
constexpr int kEmptySpan = -10000000;

/// What the scan draws of one destination row, in pixels from its start: [start, end). The run that
/// is put off, if there is one, is that of `m_spans`.
struct QV_RowCover {
    std::int32_t start = 0, end = 0;
    std::int32_t span = -1;
};

class QV_Poly {
public:
    QV_Poly() = default;
    QV_Poly(QV_Poly const&) = delete;
    QV_Poly& operator=(QV_Poly const&) = delete;

    /// Clips `p` in place. 2: every vertex was inside; 1: it was cut; 0: nothing is left, m_n is 0.
    /// With `clipXY` false only the z planes cut. At most four vertices may enter.
    static int poly_clip_to_box(QV_Poly* p, QV_Poly_box* box, bool clipXY);
    /// Writes into `q` the part of `p` with sign * s[index] <= k * sw; index 0, 1, 2: sx, sy, sz.
    static void poly_clip_to_halfspace(QV_Poly* p, QV_Poly* q, int index, double sign, double k);

    /// Plain scan: one call of the interior function for each row whose centres lie inside.
    void poly_scan(QV_Window* win, int left, int top, int right, int bottom);
    /// One pixel row of the plain scan between two edges.
    void scanline(int y, int left, int right, QV_Poly_vert* l, QV_Poly_vert* r, QV_Window* win,
                  unsigned long mask);
    /// Slopes per row of the live fields along the edge p1 to p2, and their values at the centre of
    /// row y. An edge of no height has slopes as if it were 1 high.
    static void incrementalize_y(double* p1, double* p2, double* p, double* dp, int y,
                                 unsigned long mask);
    /// The same along sx, at the centre of column x.
    static void incrementalize_x(double* p1, double* p2, double* p, double* dp, int x,
                                 unsigned long mask);

    /// Area scan: edge runs with coverage, interior runs without. All runs are done on return.
    void polyAreaScan(QV_Window* win, int left, int top, int right, int bottom);
    void polyAreaScan_internal(QV_Window* win, int left, int top, int right, int bottom);
    /// One pixel row; `spans` holds the 16 sub-rows' inclusive ends in 1/512 pixel.
    void areaScanline(int y, int left, int right, QV_Poly_vert* lo, QV_Poly_vert* hi,
                      QV_Window* win, int (*spans)[2]);
    /// Coverage of `count` pixels from `firstPixel` into m_coverage, 0.0 to 1.0.
    void calcCoverage(int count, int firstPixel, int (*spans)[2]);
    static void areaIncrementalize_y(QV_Poly_vert* a, QV_Poly_vert* b, QV_Poly_vert* p,
                                     QV_Poly_vert* dp, int y, int subRow);
    static void areaIncrementalize_x(QV_Poly_vert* lo, QV_Poly_vert* hi, QV_Poly_vert* p,
                                     QV_Poly_vert* dp, int x);

    /// Exact scan: coverage is the area of the pixel inside the outline, to 1e-9; with m_featherPx
    /// a ramp along it. Whole rows are drawn by the team. The polygon is convex and was clipped no
    /// nearer than 1 + m_featherPx / 2 + m_chokePx outside the window.
    void polyExactScan(QV_Window* win, int left, int top, int right, int bottom);

    /// Interior runs of the area scan are collected and rendered by an OpenMP team; those of the
    /// plain scan too where the scan clears.
    void setOpenMP() { m_useOpenMP = true; }
    /// The next scan zeroes what its runs do not cover of `width` by `height` pixels from m_dstData
    /// on, row by row with the runs, so that memory is written once. All runs overwrite.
    void setClearing(std::int32_t width, std::int32_t height) {
        m_clearWidth = width;
        m_clearHeight = height;
    }

    // Debugging dumps to standard output.
    static void poly_print(char const* label, QV_Poly* p);
    static void poly_vert_print(char const* label, QV_Poly_vert* v, unsigned long mask);
    static void poly_vert_label(char const* label, unsigned long mask);

    std::int32_t m_n = 0;  ///< vertices in use
    std::uint32_t m_mask = 0;
    QV_Poly_vert m_vert[POLY_NMAX];  ///< along the outline
    unsigned char* m_dstData = nullptr;
    std::int32_t m_dstRowBytes = 0;
    std::int32_t m_pixelBytes = 0;
    std::int32_t m_dstTop = 0;  ///< the row that m_dstData stands for
    QV_LineFunc m_interiorFunc = nullptr;
    QV_LineFunc m_edgeFunc = nullptr;
    void* m_lineArg = nullptr;  ///< first argument of the line functions: the RenderSettings
    /// Of the exact scan: rows, and where they end; no rows stand for all.
    std::int32_t m_wantedTop = 0, m_wantedEnd = 0, m_wantedRight = 0;
    double m_featherPx = 0, m_chokePx = 0;  ///< of the exact scan, as in ResampleOptions
    std::int32_t m_coverageSize = 0;        ///< floats
    std::unique_ptr<float[]> m_coverage;
    bool m_useOpenMP = false;
    std::unique_ptr<LineRenderStruct[]> m_spans;  ///< interior runs put off, during one scan
    std::int32_t m_spanCount = 0;
    std::int32_t m_clearWidth = 0, m_clearHeight = 0;  ///< pixels; 0 where the scan clears nothing
    std::unique_ptr<QV_RowCover[]> m_rows;             ///< one a row to clear, during one scan
    QV_RowFunc m_finishFunc = nullptr;  ///< where the scan clears: the last step of a row, or null
    void const* m_finishContext = nullptr;

private:
    int topVertex() const;
    int nextVertex(int i) const { return i + 1 == m_n ? 0 : i + 1; }
    int previousVertex(int i) const { return i == 0 ? m_n - 1 : i - 1; }
    unsigned char* rowAddress(int y) const {
        return m_dstData + static_cast<std::ptrdiff_t>(y - m_dstTop) * m_dstRowBytes;
    }
    void polyScan_internal(QV_Window* win, int left, int top, int right, int bottom);
    void beginRuns(int rows);
    void noteRow(int y, int start, int end);
    void putOff(LineRenderStruct const& line, int y);
    void finishRuns();
    void finishRow(int y);
    void runEdge(LineRenderStruct& line, int count, int firstPixel, int (*spans)[2]);
    void runInterior(LineRenderStruct& line, int count, int y);
};
