// The plan by the effect's own rules, and both forms of the report; see explanation.h.
#include "zelk/render/explanation.h"

#include <fmt/format.h>

#include <algorithm>
#include <nlohmann/json.hpp>

#include "Transform/Common/ResampleOptions.h"
#include "Transform/Common/Transform_Core_Render/KernelTable.h"
#include "Transform/Common/Transform_Core_Render/calcMatrix.h"
#include "zelk/pictures/channel_values.h"
#include "zelk/pictures/world_rows.h"
#include "zelk/scene/parameter_names.h"
#include "zelk/scene/parameter_values.h"
#include "zelk/scene/words.h"
#include "zelk/text/errors.h"

namespace zelk {

namespace {

/// Row vectors of the engine over unit measure to column vectors over source pixels.
std::array<double, 9> pixelMatrix(QV_Mtrx44 const& m, PixelSize source) {
    double const w = source.width, h = source.height;
    std::array<double, 9> out = {m.m[0] / w, m.m[4] / h, m.m[12],    m.m[1] / w, m.m[5] / h,
                                 m.m[13],    m.m[3] / w, m.m[7] / h, m.m[15]};
    double const scale = out[8];
    if (scale != 0)
        for (double& e : out) e /= scale;
    return out;
}

PassReport passOf(char const* name, QuadMode quadMode, std::vector<Parameter> const& parameters,
                  PinQuads const& quads, PixelSize source, PixelSize destination,
                  ResampleOptions const& resample) {
    CoreRenderArguments core;
    core.quadMode = quadMode;
    toPinOrder(quads.from, core.fromPins);
    toPinOrder(quads.to, core.toPins);
    Reposition const reposition = repositionOf(parameters);
    RenderSettings settings;
    settings.resample = &resample;
    settings.reposition = true;
    settings.repositionTranslateX = reposition.translateX;
    settings.repositionTranslateY = reposition.translateY;
    settings.repositionScaleX = reposition.scaleX;
    settings.repositionScaleY = reposition.scaleY;
    settings.repositionRotate = reposition.rotate;
    QV_Mtrx44 matrix;
    PassReport report;
    report.name = name;
    report.source = source;
    report.destination = destination;
    report.isDrawn = calcMatrix(matrix, core, settings, destination.width, destination.height) == 0;
    if (report.isDrawn) report.matrix = pixelMatrix(matrix, source);
    report.isFlipped = matrix.m[15] < 0;
    return report;
}

std::string_view filterName(int filter) {
    return filter == kFilterNearest ? "nearest" : wordOf(kFilterWords, filter);
}

std::string colorText(ColorReport const& color) {
    if (!color.conversions.empty()) return fmt::format("{}", fmt::join(color.conversions, ", "));
    return color.work + ", nothing converted";
}

}  // namespace

PlanReport planOf(std::vector<Parameter> const& parameters, PinFrame const& frame,
                  ResampleOptions resample) {
    constexpr char const* kQualities[] = {"Low", "Medium", "High", "Super Sample"};
    PlanReport plan;
    // Any module may be asked for: its controls need not be the ones that stand here.
    int const quality = std::clamp(
        entryOfHost(static_cast<int>(currentNumber(parameters, kParamQuality))),
        static_cast<std::int32_t>(kQualityLow), static_cast<std::int32_t>(kQualitySuperSample));
    plan.quality = kQualities[quality];

    RenderSettings settings;
    KernelChoice const& kernel = resample.kernel;
    int const filter = kernel.filter >= 0 ? kernel.filter : filterOfQuality(quality);
    settings.quality = filter == kFilterNearest ? 0 : 2;
    setKernelTransformSize(&settings, kernel.sizeIndex,
                           static_cast<float>(1.0 / frame.reduction.larger()));
    bool const isPlain = settings.quality == 0;
    plan.filter = filterName(isPlain ? kFilterNearest : filter);
    plan.taps = isPlain ? 1 : filter == kFilterBilinear ? 2 : settings.taps;
    if (resample.integratesFootprint)
        plan.quality = "best", plan.filter = "footprint", plan.taps = 6;
    plan.scan = resample.edges == EdgeCoverage::kExact ? "exact" : isPlain ? "plain" : "area";

    PinQuads const quads = pinQuads(parameters, frame);
    PixelSize const layer = {frame.layerWidth + 2 * frame.marginX,
                             frame.layerHeight + 2 * frame.marginY};
    PixelSize const whole = frame.whole();
    if (!frame.overscan.isNone())
        resample.frameAspect =
            static_cast<float>(frame.frameWidth) / static_cast<float>(frame.frameHeight);
    auto const add = [&](char const* name, QuadMode mode, PixelSize to) {
        plan.passes.push_back(passOf(name, mode, parameters, quads, layer, to, resample));
    };
    if (quads.passes.direct) add("From quad to To quad", kQuadFromToTo, whole);
    if (quads.passes.fromQuad) add("From quad to layer", kQuadFromToUnit, layer);
    if (quads.passes.toQuad) add("layer to To quad", kQuadUnitToTo, whole);
    return plan;
}

Covered countCovered(World const& world) {
    Covered covered;
    withChannelOf(world.depth(), [&](auto channel) {
        using Channel = decltype(channel);
        int const alpha = channelOrder(world.spec()).alpha;
        constexpr bool kIsFloat = std::is_floating_point_v<Channel>;
        constexpr auto kWhole = static_cast<Channel>(kIsFloat ? 0.999 : kWhite<Channel>);
        for (int y = 0; y < world.height(); ++y) {
            Channel const* pixel = world.rowAs<Channel>(y);
            for (int x = 0; x < world.width(); ++x, pixel += 4) {
                covered.any += pixel[alpha] > 0;
                covered.whole += pixel[alpha] >= kWhole;
            }
        }
    });
    return covered;
}

void StageClock::lap(std::string name) {
    auto const now = std::chrono::steady_clock::now();
    m_stages.push_back(
        {std::move(name), std::chrono::duration<double, std::milli>(now - m_since).count()});
    m_since = now;
}

std::string settingsText(Explanation const& e) {
    std::string text =
        fmt::format("road      {}{}\n", wordOf(kRoadWords, e.road), e.isPlain ? ", plain" : "");
    if (e.road == Road::kModule) text += fmt::format("host      {}\n", e.host);
    text += fmt::format("layer     {} x {}\nframe     {} x {}\n", e.layer.width, e.layer.height,
                        e.frame.width, e.frame.height);
    if (e.margin.width > 0 || e.margin.height > 0)
        text += fmt::format("margin    {} x {}, in the frame\n", e.margin.width, e.margin.height);
    if (!e.stMap.empty()) text += fmt::format("ST map    {}\n", oneLine(e.stMap));
    if (!e.overscan.isNone())
        text += fmt::format("overscan  {} left, {} top, {} right, {} bottom, in the frame\n",
                            e.overscan.left, e.overscan.top, e.overscan.right, e.overscan.bottom);
    if (!e.matte.empty()) text += fmt::format("matte     {}\n", e.matte);
    if (!e.holdout.empty()) text += fmt::format("holdout   {}\n", e.holdout);
    text += fmt::format("depth     {} rendered, {} of {} bits written\n",
                        wordOf(kDepthWords, e.renderDepth), e.writtenType, e.writtenBits);
    text += fmt::format("color     {}\n", e.color.work.empty() ? "raw" : colorText(e.color));
    text += fmt::format("quality   {}: {}, {} x {} taps, {} scan\n", e.plan.quality, e.plan.filter,
                        e.plan.taps, e.plan.taps, e.plan.scan);
    text += fmt::format("passes    {}\n", e.plan.passes.size());
    for (PassReport const& pass : e.plan.passes) {
        text += fmt::format("          {}{}\n", pass.name, pass.isDrawn ? "" : ": nothing drawn");
        for (std::size_t r = 0; pass.isDrawn && r < 3; ++r)
            text += fmt::format("          {:16.9g} {:16.9g} {:16.9g}\n", pass.matrix[3 * r],
                                pass.matrix[3 * r + 1], pass.matrix[3 * r + 2]);
    }
    text += fmt::format("covered   {} pixels, {} of them whole\n", e.covered.any, e.covered.whole);
    return text + fmt::format("threads   {}\n", e.threads);
}

std::string asText(Explanation const& e) {
    std::string text = settingsText(e);
    for (auto const& stage : e.clock.stages())
        text += fmt::format("{:<9} {:.1f} ms\n", stage.name, stage.milliseconds);
    return text;
}

namespace {

void describe(Explanation const& e, nlohmann::ordered_json& json) {
    json["road"] = wordOf(kRoadWords, e.road);
    json["plain"] = e.isPlain;
    if (e.road == Road::kModule) json["host"] = e.host;
    json["layer"] = {{"width", e.layer.width}, {"height", e.layer.height}};
    json["frame"] = {{"width", e.frame.width}, {"height", e.frame.height}};
    json["margin"] = {{"x", e.margin.width}, {"y", e.margin.height}};
    if (!e.stMap.empty()) json["stMap"] = e.stMap;
    json["overscan"] = {{"left", e.overscan.left},
                        {"top", e.overscan.top},
                        {"right", e.overscan.right},
                        {"bottom", e.overscan.bottom}};
    if (!e.matte.empty()) json["matte"] = e.matte;
    if (!e.holdout.empty()) json["holdout"] = e.holdout;
    json["depth"] = {{"rendered", wordOf(kDepthWords, e.renderDepth)},
                     {"written", e.writtenType},
                     {"writtenBits", e.writtenBits}};
    if (e.color.work.empty()) {
        json["color"] = "raw";
    } else {
        json["color"] = {{"layer", e.color.layer},
                         {"work", e.color.work},
                         {"output", e.color.output},
                         {"conversions", e.color.conversions}};
        if (!e.color.plate.empty()) json["color"]["plate"] = e.color.plate;
    }
    json["quality"] = e.plan.quality;
    json["filter"] = e.plan.filter;
    json["taps"] = e.plan.taps;
    json["scan"] = e.plan.scan;
    json["passes"] = nlohmann::ordered_json::array();
    for (PassReport const& pass : e.plan.passes) {
        nlohmann::ordered_json entry = {{"name", pass.name}, {"drawn", pass.isDrawn}};
        if (pass.isDrawn) entry["matrix"] = pass.matrix;
        json["passes"].push_back(entry);
    }
    json["coveredPixels"] = {{"any", e.covered.any}, {"whole", e.covered.whole}};
    json["threads"] = e.threads;
    for (auto const& stage : e.clock.stages())
        json["milliseconds"][stage.name] = stage.milliseconds;
}

}  // namespace

std::string asJson(Explanation const& e) {
    nlohmann::ordered_json json;
    describe(e, json);
    return json.dump(2) + "\n";
}

std::string asJsonLine(Explanation const& e, int frame, std::string const& file) {
    nlohmann::ordered_json json = {{"number", frame}, {"file", file}};
    describe(e, json);
    return json.dump(-1, ' ', false, nlohmann::json::error_handler_t::replace) + "\n";
}

}  // namespace zelk
