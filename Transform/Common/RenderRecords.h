// The three plain records that carry a render from the pipeline to the resampler:
// CoreRenderArguments (what is asked), RenderSettings (what a scan reads), LineRenderStruct (one
// run of destination pixels). They own no memory: their pointers lead to rasters of the caller.
//
// Corner orders: "pin order" is upper left, lower left, upper right, lower right; "Z order" is
// upper left, upper right, lower left, lower right; "polygon order" is upper left, lower left,
// lower right, upper right. Unit measure: (0, 0) upper left of the picture, (1, 1) lower right.
#pragma once

#include <cstdint>

struct QV_UnitPoint {
    double x, y;
};

/// What `quadMode` may say; any other number is no quad map.
enum QuadMode : std::int32_t {
    kQuadUnitToTo = 2,    ///< unit square to To quad
    kQuadFromToTo = 3,    ///< From quad to To quad
    kQuadFromToUnit = 4,  ///< From quad to unit square
};

/// What is to be rendered. Owned by the caller; the engine may rewrite `filter` (22 becomes 9) and
/// clears `translateZ`, `rotateX`, `rotateY` when `quadMode` is not 0.
struct CoreRenderArguments {
    std::int32_t quadMode = 0;  ///< QuadMode
    std::int32_t filter = 0;    ///< number in the filter list, or 22 for super sampling
    double kernelScale = 1.0;   ///< width of the kernel
    bool clampNegative = false;
    std::int32_t sizeIndex = 0;  ///< 0 to 3: 4, 6, 8 or 10 taps
    double paramB = 0.333, paramC = 0.333;
    bool sharpen = false;  ///< forces the kernel table
    std::int32_t sharpenFilter = 4;
    double sharpenParamB = 0.333, sharpenParamC = 0.333;
    double sharpenMix = 0.0, sharpenAmount = 0.0;
    bool sharpenClamp = false;
    std::int32_t transformOrder = 0;  ///< 0 to 5
    double scaleAll = 1.0, scaleX = 1.0, scaleY = 1.0, scaleZ = 1.0;
    double translateX = 0.0, translateY = 0.0, translateZ = 0.0;  ///< unit measure
    std::int32_t rotationOrder = 0;                               ///< 0 to 5
    double rotateX = 0.0, rotateY = 0.0, rotateZ = 0.0;           ///< degrees
    double centerX = 0.5, centerY = 0.5, centerZ = 0.0;           ///< pivot, unit measure
    QV_UnitPoint toPins[4] = {{0, 0}, {0, 1}, {1, 0}, {1, 1}};    ///< pin order
    QV_UnitPoint fromPins[4] = {{0, 0}, {0, 1}, {1, 0}, {1, 1}};  ///< pin order
    std::int32_t renderMode = 0;
    bool useCamera = false;  ///< the viewing part of the matrix is cameraMatrix
    double cameraMatrix[16] = {};
    std::int32_t cameraPlaneWidth = 640, cameraPlaneHeight = 480;
    double cameraPlaneDistance = 100.0;
};

struct LineRenderStruct;
struct FootprintContext;  // Transform_Core_Render/Footprint.h
struct ResampleOptions;   // ResampleOptions.h

/// A reconstruction kernel: position in source pixels, and the RenderSettings.
using QV_KernelFunc = double (*)(double x, void* settings);
/// Renders one run: the RenderSettings and the run.
using QV_LineFunc = void (*)(void* settings, LineRenderStruct* line);
/// Changes `count` pixels in place, as the context that was given with it says.
using QV_RowFunc = void (*)(void const* context, void* pixels, int count);
/// Makes a source ready to be read.
using QV_SourceFunc = void (*)(void* context);

/// Taps per axis at most, and rows of the weight table. The size index of a render asks for at most
/// 10 taps; a caller of calculateLut may ask for more.
constexpr int kMaxTaps = 32;
constexpr int kLutRows = 256;
/// Samples of the super sampling pattern.
constexpr int kSuperSamples = 9;

/// Everything that the scan and the line functions read. Rewritten at the start of each core
/// render, read-only while a scan runs.
struct RenderSettings {
    std::int32_t renderMode = 0;
    double toQuad[8] = {};  ///< Z order
    QV_LineFunc interiorFunc = nullptr;
    QV_LineFunc spareFunc = nullptr;
    QV_LineFunc edgeFunc = nullptr;  ///< null at quality 0
    void* srcData = nullptr;
    std::int32_t srcPixelBytes = 0;
    std::int32_t srcRowBytes = 0;
    void* dstData = nullptr;
    std::int32_t dstRowBytes = 0;
    std::int32_t dstOriginY = 0;  ///< top row of the destination window
    std::int32_t quality = 0;     ///< 0 nearest, 1 bilinear, 2 kernel table, 3 super sampled
    std::int32_t qualityAux = 0;
    std::int32_t srcMinX = 0, srcMinY = 0, srcMaxX = 0,
                 srcMaxY = 0;  ///< inclusive: what may be read
    std::int32_t hostWidth = 0, hostHeight = 0;
    std::int32_t dstWidth = 0, dstHeight = 0;
    std::int32_t minValue = 0, maxValue = 0;  ///< clamp range of the channel type
    QV_KernelFunc kernelFunc = nullptr;
    QV_KernelFunc sharpenFuncA = nullptr, sharpenFuncB = nullptr;
    double mitchell[3][7] = {};  ///< sets: 0 kernelFunc, 1 sharpenFuncA, 2 sharpenFuncB
    double kaiser[3][2] = {};    ///< alpha and 1 / I0(alpha), same sets
    float sharpenRatio = 0;      ///< argument scale of the second sharpen kernel
    float sharpenAmount = 0;     ///< weight of the second sharpen kernel
    std::int32_t kernelSet = 0;  ///< which set a kernel reads right now
    /// Row p holds the weights of fraction 2p/255 - 1, rows packed. calculateLut fills
    /// it before a line function reads it; it is not cleared before.
    float lut[kLutRows * kMaxTaps];
    std::int32_t taps = 0;  ///< per axis: 1, 4, 6, 8 or 10
    double kernelScale = 1.0;
    std::int32_t dstLeft = 0, dstTop = 0, dstRight = 0, dstBottom = 0;  ///< inclusive
    std::int32_t srcLeft = 0, srcTop = 0, srcRight = 0, srcBottom = 0;  ///< inclusive
    QV_UnitPoint sourceQuad[4] = {};                ///< To quad, pixels, polygon order
    std::int32_t frameShiftX = 0, frameShiftY = 0;  ///< Grow Bounds margin, pixels
    std::int32_t lineShiftX = 0, lineShiftY = 0;
    QV_UnitPoint targetQuad[4] = {};  ///< From quad, pixels, polygon order
    double fromQuad[8] = {};          ///< Z order
    /// What the caller does to each pixel that was drawn; transparent black has to stay so. The
    /// engine does it while a row is in cache, and says so, or leaves it to the caller.
    QV_RowFunc finishFunc = nullptr;
    void const* finishContext = nullptr;
    bool isFinished = false;  ///< written by the engine
    /// Called before the source is read, if anything is drawn at all, or null.
    QV_SourceFunc sourceFunc = nullptr;
    void* sourceContext = nullptr;
    /// What the host binding asks for beyond the controls, or null; `drawsFrame` is true for the
    /// pass whose destination is the frame.
    ResampleOptions const* resample = nullptr;
    bool drawsFrame = true;
    FootprintContext const* footprint = nullptr;  ///< where pixels integrate; during one render
    /// Written by the engine from `resample`: exact edges with their feather and choke, pixels; and
    /// whether the kernel is one of its own: then N by N taps repeat the border where they would
    /// read black, and stand over their own pixels.
    bool hasExactEdges = false;
    double featherPx = 0, chokePx = 0;
    bool hasChosenKernel = false;
    std::int32_t alphaOffset = 0;  ///< index of the alpha channel inside a pixel
    /// Super sampling pattern: weights (not normalised by the engine) and offsets in source pixels.
    double ssWeight[kSuperSamples] = {};
    double ssOffsetX[kSuperSamples] = {};
    double ssOffsetY[kSuperSamples] = {};
    bool reposition = false;
    double repositionTranslateX = 0, repositionTranslateY = 0;  ///< percent of the unit square
    double repositionScaleX = 1, repositionScaleY = 1;          ///< ratios
    double repositionRotate = 0;                                ///< degrees
};

/// The area scan and its filtered functions draw, rather than the plain scan and its nearest one.
inline bool isFiltered(RenderSettings const& settings) {
    return settings.quality >= 1 && settings.quality <= 3;
}

/// One run of destination pixels of one scan line. The source pixel of run pixel i is
/// ((x + i dx) / (w + i dw), (y + i dy) / (w + i dw)).
struct LineRenderStruct {
    double x, y, w;
    double dx, dy, dw;      ///< per destination pixel
    std::int32_t skipLeft;  ///< plain scan: pixels from the window's left edge to the run; else 0
    std::int32_t count;     ///< pixels in the run
    std::int32_t
        skipRight;  ///< plain scan: pixels from the run's end to the window's right edge; else 0
    void* dest;     ///< plain scan: start of the window's row; area scan: the run's first pixel
    float const* coverage;  ///< edge runs: `count` values from 0 to 1; not read otherwise
};
