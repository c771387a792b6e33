// Runs the engine through its run-time entry, on the in-memory host.
#include "tests/support/engine_scene.h"

#include <gtest/gtest.h>
#include <omp.h>

#include <algorithm>
#include <cmath>

#include "RenderLib/Transform/CommonRender_CoreTransformRender.h"
#include "Transform/Common/Transform_Core_Render/KernelTable.h"
#include "host/PluginHost_Memory_Impl.h"

namespace zelk {

namespace {

// The engine asks only whether the After Effects binding is there; it never looks into it.
struct EngineHost : PluginHost_Memory_Impl {
    using PluginHost_Memory_Impl::PluginHost_Memory_Impl;
    bool isPremiere = false;
    PluginHost_AE_Impl* getAEHost() override {
        return isPremiere ? reinterpret_cast<PluginHost_AE_Impl*>(this) : nullptr;
    }
};

PixelRect randomRect(Random& random, int width, int height) {
    int const left = random.integer(0, (width - 1) / 3), top = random.integer(0, (height - 1) / 3);
    return {left, top, random.integer(std::max(left, width / 2), width - 1),
            random.integer(std::max(top, height / 2), height - 1)};
}

}  // namespace

EngineScene randomScene(Random& random, int largest) {
    EngineScene scene;
    scene.frameWidth = random.integer(1, largest);
    scene.frameHeight = random.integer(1, largest);
    scene.window = randomRect(random, scene.frameWidth, scene.frameHeight);
    scene.source = randomRect(random, random.integer(1, largest), random.integer(1, largest));
    scene.from = randomConvexQuad(random);
    scene.to = randomConvexQuad(random);
    return scene;
}

GuardedRaster noiseSource(Random& random, EngineScene const& scene, QV_RasterFormat format,
                          int paddingBytes) {
    // A row and a column more than may be read.
    GuardedRaster source(format, scene.source.right + 2, scene.source.bottom + 2, paddingBytes);
    PixelRect const& r = scene.source;
    source.paint([&](int x, int y, int) {
        const bool readable = x >= r.left && x <= r.right && y >= r.top && y <= r.bottom;
        const double value = random.uniform(0.0, 1.0) * whiteOf(format);
        return readable || channelBytes(format) != 4 ? value : std::nan("");
    });
    return source;
}

GuardedRaster renderScene(EngineScene const& scene, GuardedRaster const& source,
                          EngineOptions const& options, int paddingBytes) {
    GuardedRaster output(source.format(), scene.window.width(), scene.window.height(),
                         paddingBytes);
    EngineHost host(source.info(), output.info());
    host.isPremiere = options.premiere;
    if (options.premiere) host.setApplication("PrMr");
    host.setOutputSize(scene.frameWidth, scene.frameHeight);

    CoreRenderArguments core;
    core.quadMode = 3;
    core.filter = scene.filter;
    core.sizeIndex = scene.sizeIndex;
    setPins(core.fromPins, scene.from);
    setPins(core.toPins, scene.to);
    RenderSettings settings;
    settings.resample = options.resample;
    PixelRect const &d = scene.window, &s = scene.source;
    settings.dstLeft = d.left, settings.dstTop = d.top;
    settings.dstRight = d.right, settings.dstBottom = d.bottom;
    settings.srcLeft = s.left, settings.srcTop = s.top;
    settings.srcRight = s.right, settings.srcBottom = s.bottom;
    setDefaultSuperSamplePattern(&settings);

    int const defaultThreads = omp_get_max_threads();
    if (options.threads > 0) omp_set_num_threads(options.threads);
    int const result =
        CommonRender_CoreTransformRender(&host, core, source.info(), output.info(),
                                         options.clearOutput, false, &settings, true, options.fill);
    omp_set_num_threads(defaultThreads);
    EXPECT_EQ(result, 0);
    EXPECT_TRUE(source.guardsIntact());
    EXPECT_TRUE(output.guardsIntact());
    return output;
}

}  // namespace zelk
