// The engine's one entry: paints a source raster, mapped through pins, into a destination raster.
//
// In order: matrix, filter set-up, polygon, scan. What the scan does not draw is cleared, by the
// scan itself where it can. It decides nothing about pins or views. Quality follows from the filter
// number and the render scale: 0 goes to the plain scan, 1 to 3 to the area scan with anti-aliased
// edges, its interior runs in parallel except in Premiere Pro.
#pragma once

#include "Transform/Common/PixelTraits.h"
#include "Transform/Common/RenderRecords.h"
#include "Transform/Common/Transform_Core_Render/LineFuncCP.h"
#include "Transform/Common/Transform_Core_Render/LineFuncSimd.h"
#include "Transform/Common/Transform_Core_Render/lineFunc.h"
#include "host/PluginHost_API.h"

/// One call of the engine.
struct CoreRenderCall {
    PluginHost_API* host;
    CoreRenderArguments& core;
    PluginHost_API::RasterInfo const& src;
    PluginHost_API::RasterInfo const& dst;
    bool clearOutput;          ///< zero the whole destination first
    bool singleChannel;        ///< rasters are planes of one value a pixel
    RenderSettings* settings;  ///< rectangles and Reposition; null: whole rasters, none
    bool edgeCoverage;         ///< apply coverage on single channel edges
    bool fillMode;             ///< write the fill value, sample nothing
};

/// All that differs between pixel formats: white, and the line functions of the channel type.
struct FormatFunctions {
    std::int32_t maxValue;
    QV_LineFunc fillPolygon, fillPolygon_1, edgePolygon, edgePolygon_1;
    QV_LineFunc bilinear, bilinear_1, edgeBilinear, edgeBilinear_1, edgeNoOpBilinear_1;
    QV_LineFunc biCubic, biCubic_1, biCubic4x4, biCubic4x4_1;
    QV_LineFunc biCubic4x4Ss, edgeBiCubic4x4Ss;
    QV_LineFunc nearest;  ///< of any format
};

template <class Trait>
constexpr FormatFunctions scalarFunctionsOf() {
    using F = LineFuncCP<typename Trait::Channel>;
    return {Trait::kWhite,
            F::fillPolygonFunc,
            F::fillPolygonFunc_1,
            F::edgePolygonFunc,
            F::edgePolygonFunc_1,
            F::bilinearFunc,
            F::bilinearFunc_1,
            F::edgeBilinearFunc,
            F::edgeBilinearFunc_1,
            F::edge_noOp_edgeBilinearFunc_1,
            F::biCubicFunc,
            F::biCubicFunc_1,
            F::biCubicFunc_4x4,
            F::biCubicFunc_4x4_1,
            F::biCubicFunc_4x4_ss,
            F::edgeBiCubicFunc_4x4_ss,
            lineFunc};
}

/// The same with a vector twin in each slot that has one: the same pixels, sooner.
template <class Trait>
constexpr FormatFunctions formatFunctionsOf() {
    using V = LineFuncSimd<typename Trait::Channel>;
    FormatFunctions functions = scalarFunctionsOf<Trait>();
    functions.bilinear = V::bilinearFunc;
    functions.bilinear_1 = functions.edgeNoOpBilinear_1 = V::bilinearFunc_1;
    functions.edgeBilinear = V::edgeBilinearFunc;
    functions.edgeBilinear_1 = V::edgeBilinearFunc_1;
    functions.biCubic = V::biCubicFunc;
    functions.biCubic_1 = V::biCubicFunc_1;
    functions.biCubic4x4 = V::biCubicFunc_4x4;
    functions.biCubic4x4_1 = V::biCubicFunc_4x4_1;
    functions.biCubic4x4Ss = V::biCubicFunc_4x4_ss;
    functions.edgeBiCubic4x4Ss = V::edgeBiCubicFunc_4x4_ss;
    functions.nearest = lineFuncSimd;
    return functions;
}

/// The render itself, the same for every format. Returns 0, whether anything was drawn or not:
/// rejected pins, an empty source rectangle and a polygon outside the window leave the cleared
/// destination. Only a fill draws without a source; render mode 1 draws nothing when the host or
/// the source is a single pixel wide or high.
int coreTransformRender(CoreRenderCall const& call, FormatFunctions const& functions);

/// One instance per pixel format.
template <class Trait, class Channel, class Wide, class Weight, class Format>
int CoreTransformRender(PluginHost_API* host, CoreRenderArguments& core,
                        PluginHost_API::RasterInfo const& src,
                        PluginHost_API::RasterInfo const& dst, bool clearOutput, bool singleChannel,
                        RenderSettings* settings, bool edgeCoverage, bool fillMode) {
    return coreTransformRender(
        {host, core, src, dst, clearOutput, singleChannel, settings, edgeCoverage, fillMode},
        formatFunctionsOf<Trait>());
}
