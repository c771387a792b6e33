// The steps of one core render, see CoreTransformRender.h. Everything is per call: matrix, polygon
// and window live on the stack, and the RenderSettings are rewritten.
#include "Transform/Common/Transform_Core_Render/CoreTransformRender.h"

#include <algorithm>
#include <cstdint>
#include <optional>

#include "Transform/Common/PixelBlocks.h"
#include "Transform/Common/QV_Poly/QV_Poly.h"
#include "Transform/Common/ResampleOptions.h"
#include "Transform/Common/Transform_Core_Render/Footprint.h"
#include "Transform/Common/Transform_Core_Render/KernelTable.h"
#include "Transform/Common/Transform_Core_Render/MapScan.h"
#include "Transform/Common/Transform_Core_Render/calcMatrix.h"
#include "Transform/Common/Transform_Core_Render/ompc.h"
#include "Transform/Common/Transform_Core_Render/transformPoly.h"

namespace {

constexpr long kPremiereProId = 0x50724D72;  // "PrMr"

/// The threaded scan is on everywhere but in Premiere Pro, where the command keeps to one thread.
bool useThreads(PluginHost_API* host) {
    if (!host->getAEHost() || !host->isApplication(kPremiereProId)) return true;
    ompc_set_num_threads(0);
    return false;
}

/// Quality by filter number; 22 is replaced by the kernel that super sampling uses.
int qualityOfFilter(std::int32_t& filter) {
    if (filter == kFilterSuperSampled) {
        filter = kFilterParzen;
        return 3;
    }
    return filter == kFilterNearest ? 0 : filter == kFilterBilinear ? 1 : 2;
}

/// Rectangles of a caller who has no settings: the whole rasters.
void useWholeRasters(CoreRenderCall const& call, RenderSettings& s) {
    s.srcRight = call.src.width - 1;
    s.srcBottom = call.src.height - 1;
    s.dstRight = call.dst.width - 1;
    s.dstBottom = call.dst.height - 1;
}

bool isEmpty(QV_IRect const& r) { return r.right < r.left || r.bottom < r.top; }

/// Render mode 1 measures the source rectangle against the host's size: both need two pixels.
bool hasUnitMeasure(RenderSettings const& s, QV_IRect const& source) {
    return s.renderMode != 1 || (s.hostWidth > 1 && s.hostHeight > 1 &&
                                 source.right > source.left && source.bottom > source.top);
}

void clearRaster(PluginHost_API::RasterInfo const& raster) {
    if (raster.width <= 0 || raster.height <= 0) return;
    zeroBlock(raster.data, raster.rowBytes,
              static_cast<std::size_t>(raster.width) * raster.pixelBytes, raster.height);
}

void chooseFillFunctions(CoreRenderCall const& call, FormatFunctions const& f, RenderSettings& s) {
    s.interiorFunc = call.singleChannel ? f.fillPolygon_1 : f.fillPolygon;
    s.edgeFunc = call.singleChannel ? f.edgePolygon_1 : f.edgePolygon;
}

/// What a binding asks of the resampling, for float images of four channels; null for others.
ResampleOptions const* takeResampleOptions(CoreRenderCall const& call, RenderSettings& s) {
    constexpr int kFloatPixelBytes = 16;
    bool const isTaken = s.resample && call.core.renderMode == 0 && !call.singleChannel &&
                         !call.fillMode && call.src.pixelBytes == kFloatPixelBytes &&
                         call.dst.pixelBytes == kFloatPixelBytes;
    s.footprint = nullptr;
    s.hasExactEdges = isTaken && s.resample->edges == EdgeCoverage::kExact;
    bool const isOutline = s.hasExactEdges && s.drawsFrame;
    s.featherPx = isOutline ? s.resample->featherPx : 0;
    s.chokePx = isOutline ? s.resample->chokePx : 0;
    s.hasChosenKernel = isTaken && s.resample->kernel.filter >= 0;
    return isTaken ? s.resample : nullptr;
}

/// Exact edges: sampled as the interior is, so that no rim of another kernel shows. What is not
/// covered is 0, whatever stands there in the source.
void edgeOfInterior(void* settings, LineRenderStruct* line) {
    auto* pixel = static_cast<float*>(line->dest);
    int const count = line->count;
    static_cast<RenderSettings const*>(settings)->interiorFunc(settings, line);
    for (int i = 0; i < count; ++i, pixel += 4) {
        float const coverage = line->coverage[i];
        for (int c = 0; c < 4; ++c) pixel[c] = coverage == 0 ? 0 : pixel[c] * coverage;
    }
}

//   quality | four channels                     | one channel
//   0       | nearest, no edge function         | the same
//   1       | bilinear, covered bilinear edges  | the same, edges covered only if edgeCoverage
//   2       | 4 by 4 or N by N taps, edges as 1 | the same, edges as 1
//   3       | nine samples, covered; 4 taps     | as 2
void chooseLineFunctions(CoreRenderCall const& call, FormatFunctions const& f, RenderSettings& s) {
    bool const manyTaps = s.taps > 4;
    if (s.quality == 0) {
        s.interiorFunc = f.nearest;
        s.edgeFunc = nullptr;
    } else if (call.singleChannel) {
        s.interiorFunc = s.quality == 1 ? f.bilinear_1 : manyTaps ? f.biCubic_1 : f.biCubic4x4_1;
        s.edgeFunc = call.edgeCoverage ? f.edgeBilinear_1 : f.edgeNoOpBilinear_1;
    } else if (s.quality == 3) {
        s.interiorFunc = f.biCubic4x4Ss;
        s.edgeFunc = f.edgeBiCubic4x4Ss;
        s.taps = 4;
    } else {
        s.interiorFunc = s.quality == 1 ? f.bilinear : manyTaps ? f.biCubic : f.biCubic4x4;
        s.edgeFunc = f.edgeBilinear;
    }
    if (call.fillMode) chooseFillFunctions(call, f, s);
    if (s.hasExactEdges) s.edgeFunc = edgeOfInterior;
}

/// Matrix of the render; false when the pins are rejected.
bool buildMatrix(CoreRenderCall const& call, RenderSettings& s, QV_Mtrx44& matrix) {
    s.hostWidth = call.host->getOutputWidth();
    s.hostHeight = call.host->getOutputHeight();
    if (s.renderMode == 1) {
        calcMatrix(matrix, call.core, s, s.hostWidth, s.hostHeight);
        return true;
    }
    s.dstWidth = call.dst.width;
    s.dstHeight = call.dst.height;
    if (s.renderMode != 0) return true;
    if (calcMatrix(matrix, call.core, s, s.hostWidth, s.hostHeight) != 0) return false;
    if (s.hasExactEdges && !call.core.useCamera) fillView(matrix, s.hostWidth, s.hostHeight);
    return true;
}

/// Pointers, strides and bounds that the line functions read.
void describeRasters(CoreRenderCall const& call, RenderSettings& s) {
    s.srcData = call.src.data;
    s.srcPixelBytes = call.src.pixelBytes;
    s.srcRowBytes = call.src.rowBytes;
    s.dstData = call.dst.data;
    s.dstRowBytes = call.dst.rowBytes;
    s.dstOriginY = s.dstTop;
    s.qualityAux = 0;
    s.srcMinX = s.srcLeft;
    s.srcMinY = s.srcTop;
    s.srcMaxX = s.srcRight;
    s.srcMaxY = s.srcBottom;
    s.kernelScale = call.core.kernelScale;
}

/// Nearest and bilinear runs read no table: in a small frame it would cost as much as they do.
void buildKernel(CoreRenderArguments const& core, RenderSettings& s) {
    bool const buildTable = s.quality > 1;
    setInterpLineFunc(&s, core.paramB, core.paramC, core.filter, core.sharpen, core.sharpenFilter,
                      core.sharpenMix, core.sharpenClamp, core.sharpenParamB, core.sharpenParamC,
                      core.sharpenAmount, core.clampNegative, buildTable);
}

void scan(QV_Poly& poly, QV_Window& window, QV_IRect const& rect, RenderSettings& s) {
    s.dstOriginY = rect.top;
    poly.m_dstData = static_cast<unsigned char*>(s.dstData);
    poly.m_dstRowBytes = s.dstRowBytes;
    poly.m_pixelBytes = s.srcPixelBytes;
    poly.m_dstTop = rect.top;
    poly.m_interiorFunc = s.interiorFunc;
    poly.m_edgeFunc = s.edgeFunc;
    poly.m_lineArg = &s;
    poly.m_mask = (poly.m_mask & ~static_cast<std::uint32_t>(kMaskSw)) | kMaskQ;
    poly.m_featherPx = s.featherPx;
    poly.m_chokePx = s.chokePx;
    if (s.resample && s.drawsFrame) {
        poly.m_wantedTop = s.resample->wantedTop;
        poly.m_wantedEnd = s.resample->wantedEnd;
        poly.m_wantedRight = s.resample->wantedRight;
    }
    if (s.hasExactEdges)
        poly.polyExactScan(&window, rect.left, rect.top, rect.right, rect.bottom);
    else if (isFiltered(s))
        poly.polyAreaScan(&window, rect.left, rect.top, rect.right, rect.bottom);
    else
        poly.poly_scan(&window, rect.left, rect.top, rect.right, rect.bottom);
}

/// The scan can clear what it does not draw: its rows are those of the raster, and its runs write
/// all of a pixel.
bool scanClears(CoreRenderCall const& call, QV_Window const& window, QV_IRect const& rect) {
    return !call.fillMode && call.src.pixelBytes == call.dst.pixelBytes && window.x0 >= rect.left &&
           window.y0 >= rect.top && std::int64_t{window.x1} - rect.left < call.dst.width &&
           std::int64_t{window.y1} - rect.top < call.dst.height;
}

/// Of a pass that draws the frame, which the map is as large as; else null.
FrameMap const* mapOf(CoreRenderCall const& call, RenderSettings const& s,
                      ResampleOptions const* resample) {
    if (!resample || !resample->map || !s.drawsFrame) return nullptr;
    FrameMap const& map = *resample->map;
    return map.width == call.dst.width && map.height == call.dst.height ? &map : nullptr;
}

/// The polygon of a mapped frame counts wherever the map looks.
int transformMappedPoly(CoreRenderCall const& call, QV_Poly& poly, FrameMap const& map,
                        QV_IRect const& source, RenderSettings& s, QV_Mtrx44 const& matrix) {
    const QV_IRect own = {s.dstLeft, s.dstTop, s.dstRight, s.dstBottom};
    const QV_IRect bounds = boundsOf(map, std::max(map.width, map.height));
    s.dstLeft = bounds.left, s.dstTop = bounds.top;
    s.dstRight = bounds.right, s.dstBottom = bounds.bottom;
    QV_FRect target(bounds.left, bounds.top, bounds.right, bounds.bottom);
    int const result =
        transformPoly(call.host, &poly, &target, source, nullptr, nullptr, &s, &matrix);
    s.dstLeft = own.left, s.dstTop = own.top, s.dstRight = own.right, s.dstBottom = own.bottom;
    return result;
}

/// The levels that the footprints at a polygon's vertices ask for: those between ask for no more.
int levelsFor(ScreenPlane const& plane, QV_Poly const& poly) {
    int levels = 1;
    for (int i = 0; i < poly.m_n; ++i) {
        QV_Poly_vert const& v = poly.m_vert[i];
        levels = std::max(levels, FootprintSource::levelsFor(footprintAt(plane, v.sx, v.sy)));
    }
    return levels;
}

/// What a render has beside the settings while its pixels integrate their footprints.
using FootprintSlot = std::optional<FootprintContext>;

/// Puts the footprint functions into the settings. False without memory for the pyramid.
bool integrateFootprints(ScreenPlane const& plane, QV_Poly const& poly, RenderSettings& s,
                         FootprintSlot& slot) {
    slot.emplace(FootprintContext{FootprintSource(s, levelsFor(plane, poly)), plane});
    if (slot->source.levels().empty()) return false;
    s.footprint = &*slot;
    s.interiorFunc = footprintFunc;
    s.edgeFunc = edgeOfInterior;
    return true;
}

/// What a render came to.
enum class Drawn { kNothing, kSomething, kNoMemory };

/// All steps but the clearing of a destination in which nothing is drawn.
Drawn draw(CoreRenderCall const& call, FormatFunctions const& functions) {
    bool const threaded = useThreads(call.host);
    RenderSettings local;
    if (!call.settings) useWholeRasters(call, local);
    RenderSettings& s = call.settings ? *call.settings : local;

    s.isFinished = false;
    s.renderMode = call.core.renderMode;
    s.taps = call.core.sizeIndex;
    s.quality = qualityOfFilter(call.core.filter);
    ResampleOptions const* const resample = takeResampleOptions(call, s);
    FrameMap const* const map = mapOf(call, s, resample);
    bool const integrates = resample && resample->integratesFootprint;
    if (integrates || (map && s.quality == 0)) s.quality = 1;

    QV_Mtrx44 matrix;
    if (!buildMatrix(call, s, matrix)) return Drawn::kNothing;

    s.minValue = 0;
    s.maxValue = functions.maxValue;
    s.spareFunc = nullptr;
    double const scaleX = call.host->getScaleX(), scaleY = call.host->getScaleY();
    setKernelTransformSize(&s, call.core.sizeIndex, static_cast<float>(std::min(scaleX, scaleY)));
    if (integrates) s.quality = 1;  // also where kernels of a small scale become nearest
    if (call.core.sharpen) s.quality = 2;
    chooseLineFunctions(call, functions, s);

    int originX = 0, originY = 0;
    call.host->getOrigin(originX, originY);
    const QV_IRect shifted = {s.dstLeft + originX, s.dstTop + originY, s.dstRight + originX,
                              s.dstBottom + originY};
    QV_FRect target(shifted.left, shifted.top, shifted.right, shifted.bottom);

    QV_Poly poly;
    if (threaded) poly.setOpenMP();
    const QV_IRect source = {s.srcLeft, s.srcTop, s.srcRight, s.srcBottom};
    if ((!call.fillMode && isEmpty(source)) || !hasUnitMeasure(s, source)) return Drawn::kNothing;
    describeRasters(call, s);
    buildKernel(call.core, s);

    QV_Window window{};
    if ((map ? transformMappedPoly(call, poly, *map, source, s, matrix)
             : transformPoly(call.host, &poly, &target, source, nullptr, &window, &s, &matrix)) ==
        0)
        return Drawn::kNothing;

    if (s.sourceFunc) s.sourceFunc(s.sourceContext);
    FootprintSlot footprints;
    ScreenPlane plane{};
    if ((map || integrates) && !screenPlaneOf(poly, plane)) return Drawn::kNothing;
    if (map)
        return mapScan(*map, plane, integrates, s, call.dst) ? Drawn::kSomething : Drawn::kNoMemory;
    if (integrates && !integrateFootprints(plane, poly, s, footprints)) return Drawn::kNoMemory;

    const QV_IRect unshifted = {s.dstLeft, s.dstTop, s.dstRight, s.dstBottom};
    const QV_IRect rect = s.renderMode == 1 ? shifted : unshifted;
    if (call.clearOutput) {
        if (scanClears(call, window, rect)) {
            poly.setClearing(call.dst.width, call.dst.height);
            poly.m_finishFunc = s.finishFunc;
            poly.m_finishContext = s.finishContext;
            s.isFinished = s.finishFunc != nullptr;
        } else {
            clearRaster(call.dst);
        }
    }
    scan(poly, window, rect, s);
    s.footprint = nullptr;
    return Drawn::kSomething;
}

}  // namespace

int coreTransformRender(CoreRenderCall const& call, FormatFunctions const& functions) {
    const Drawn drawn = draw(call, functions);
    if (drawn == Drawn::kSomething || !call.clearOutput) return 0;
    clearRaster(call.dst);
    if (call.settings) call.settings->isFinished = call.settings->finishFunc != nullptr;
    constexpr int kNoMemory = 4;
    return drawn == Drawn::kNoMemory ? kNoMemory : 0;
}
