// Premult and UnPremult by the trait alone, and the formats that the pipeline renders.
#pragma once

#include <gtest/gtest.h>

#include "Transform/Common/PixelTraits.h"
#include "Transform/Common/Transform_Core_Render/Premult.h"
#include "host/PluginHost_Memory_Impl.h"

namespace zelk_test {

using RenderedFormats =
    testing::Types<PIXEL_ARGB8, PIXEL_BGRA8, PIXEL_ARGB15, PIXEL_ARGB32, PIXEL_BGRA32>;

/// Multiplies colour by alpha in place, or divides it.
template <class T>
void changeColour(bool divides, QV_RasterInfo const& info) {
    using C = typename T::Channel;
    using W = typename T::Wide;
    using G = typename T::Weight;
    using F = typename T::FORMAT;
    PluginHost_Memory_Impl host(info, info);
    PluginRaster_Memory_Impl view(info);
    auto const function = divides ? UnPremult<T, C, W, G, F> : Premult<T, C, W, G, F>;
    EXPECT_EQ(function(T{}, &host, &view), 0);
}

}  // namespace zelk_test
