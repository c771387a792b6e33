// OpenColorIO behind plain functions; see color_config.h.
#include "zelk/color/color_config.h"

#include <OpenColorIO/OpenColorIO.h>
#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <iterator>

#include "zelk/color/icc_profile.h"
#include "zelk/files/quiet_libraries.h"
#include "zelk/text/errors.h"
#include "zelk/text/numbers.h"

namespace zelk {

namespace ocio = OCIO_NAMESPACE;

namespace {

/// What configurations call a built-in space, by the order in which they are looked for. Roles are
/// names too.
struct UsualNames {
    std::string_view builtIn;
    std::vector<char const*> names;
};
std::vector<UsualNames> const& usualNames() {
    static std::vector<UsualNames> const all = {
        {"linear", {"scene_linear", "linear"}},
        {"sRGB",
         {"srgb_texture", "sRGB - Texture", "srgb_tx", "Utility - sRGB - Texture", "sRGB",
          "sRGB Encoded Rec.709 (sRGB)", "Input - Generic - sRGB - Texture"}},
        {"Rec709", {"Rec709", "Rec.709", "Camera Rec.709", "Utility - Rec.709 - Camera"}},
        {"KodakLog", {"KodakLog", "Cineon", "compositing_log"}}};
    return all;
}
constexpr char const* kLinearRec709[] = {"lin_rec709", "Linear Rec.709 (sRGB)", "lin_srgb",
                                         "Utility - Linear - sRGB", "Utility - Linear - Rec.709"};

ColorStep matrixStep(Matrix3 const& matrix) {
    std::array<float, 9> m{};
    std::transform(matrix.begin(), matrix.end(), m.begin(),
                   [](double e) { return static_cast<float>(e); });
    return [m](float* rgb, int pixels) {
        for (; pixels > 0; --pixels, rgb += 3) {
            float const r = rgb[0], g = rgb[1], b = rgb[2];
            for (std::size_t c = 0; c < 3; ++c)
                rgb[c] = m[3 * c] * r + m[3 * c + 1] * g + m[3 * c + 2] * b;
        }
    };
}

using CurveFunction = float (*)(CurveSpace const&, float);

ColorStep curveStep(CurveSpace const& space, CurveFunction function) {
    return [space, function](float* rgb, int pixels) {
        for (int i = 0; i < 3 * pixels; ++i) rgb[i] = function(space, rgb[i]);
    };
}

/// A colour that both spaces have within 0 and 1, and one that is grey, go the same way.
constexpr float kSamples[][3] = {{0, 0, 0},
                                 {1, 1, 1},
                                 {0.5f, 0.5f, 0.5f},
                                 {0.1f, 0.1f, 0.1f},
                                 {0.02f, 0.02f, 0.02f},
                                 {0.8f, 0.3f, 0.3f},
                                 {0.3f, 0.8f, 0.3f},
                                 {0.3f, 0.3f, 0.8f},
                                 {0.9f, 0.7f, 0.1f},
                                 {0.2f, 0.6f, 0.9f}};
constexpr float kSameSpace = 1e-3f;

void run(std::vector<ColorStep> const& steps, float* rgb, int pixels) {
    for (ColorStep const& step : steps) step(rgb, pixels);
}

std::vector<ColorStep> joined(std::vector<ColorStep> first, std::vector<ColorStep> const& second) {
    first.insert(first.end(), second.begin(), second.end());
    return first;
}

UserError noWay(std::string const& from, std::string const& to, std::string const& reason) {
    return {ExitCode::kInput,
            fmt::format("colour space \"{}\" can't be converted to \"{}\"{}", from, to,
                        reason.empty() ? "" : ": " + shortened(reason))};
}

/// To the last bit: OpenColorIO's own approximations are good to 16 bits and no more.
std::vector<ColorStep> stepsOf(ocio::ConstProcessorRcPtr const& processor) {
    if (processor->isNoOp()) return {};
    auto const cpu = processor->getOptimizedCPUProcessor(ocio::OPTIMIZATION_LOSSLESS);
    return {[cpu](float* rgb, int pixels) {
        ocio::PackedImageDesc image(rgb, pixels, 1, 3);
        cpu->apply(image);
    }};
}

}  // namespace

void forgetColorFiles() { ocio::ClearAllCaches(); }

struct ColorConfig::Open {
    ocio::ConstConfigRcPtr config;
};

ColorConfig::ColorConfig(std::filesystem::path const& file, std::string const& thing) {
    QuietLibraries const quiet;
    try {
        m_config =
            std::make_shared<Open const>(Open{ocio::Config::CreateFromFile(file.string().c_str())});
    } catch (std::exception const& error) {
        std::string const why = error.what();
        throw UserError(ExitCode::kInput,
                        fmt::format("{}: {} is no OpenColorIO configuration that can be read: {}",
                                    thing, file.string(), shortened(oneLine(why))));
    }
}

std::optional<ColorSpace> ColorConfig::find(std::string_view name) const {
    if (isBuiltIn()) return builtInSpace(name);
    std::string const word(trimmed(name));
    auto const space = m_config->config->getColorSpace(word.c_str());
    if (space) return ColorSpace{space->getName(), ConfigSpace{space->getName()}};
    if (lowered(word) == "linear") return linear();
    return std::nullopt;
}

std::vector<std::string> ColorConfig::names() const {
    std::vector<std::string> names;
    if (isBuiltIn()) {
        for (NamedSpace const& entry : builtInSpaces()) names.emplace_back(entry.name);
        names.emplace_back("Gamma2.2");
        return names;
    }
    for (int i = 0; i < m_config->config->getNumColorSpaces(); ++i)
        names.emplace_back(m_config->config->getColorSpaceNameByIndex(i));
    return names;
}

std::optional<ColorSpace> ColorConfig::ofFile(std::filesystem::path const& file) const {
    if (isBuiltIn()) return std::nullopt;
    ocio::ConstConfigRcPtr const& config = m_config->config;
    if (config->filepathOnlyMatchesDefaultRule(file.string().c_str())) return std::nullopt;
    return find(config->getColorSpaceFromFilepath(file.string().c_str()));
}

ColorSpace ColorConfig::ownOf(ColorSpace const& space) const {
    if (isBuiltIn()) return space;
    for (UsualNames const& entry : usualNames()) {
        auto const builtIn = builtInSpace(entry.builtIn);
        if (!(builtIn == space)) continue;
        for (char const* name : entry.names)
            if (auto const own = m_config->config->getColorSpace(name))
                return {own->getName(), ConfigSpace{own->getName()}};
    }
    return space;
}

ColorSpace ColorConfig::linear() const { return ownOf(*builtInSpace("linear")); }

std::vector<ColorStep> ColorConfig::within(std::string const& from, std::string const& to) const {
    try {
        return stepsOf(m_config->config->getProcessor(from.c_str(), to.c_str()));
    } catch (ocio::Exception const& error) {
        throw noWay(from, to, error.what());
    }
}

namespace {

/// The configuration's space where it meets BT.709's light, and the matrix from its values to that.
struct Bridge {
    std::string space;
    Matrix3 toLight;
};

Bridge bridgeOf(ocio::ConstConfigRcPtr const& config) {
    constexpr Matrix3 kNone = {1, 0, 0, 0, 1, 0, 0, 0, 1};
    auto const has = [&](char const* name) { return config->getColorSpace(name) != nullptr; };
    if (has(ocio::ROLE_INTERCHANGE_DISPLAY))
        return {ocio::ROLE_INTERCHANGE_DISPLAY, inverse(toXyz(kRec709Primaries))};
    if (has(ocio::ROLE_INTERCHANGE_SCENE)) {
        Chromaticities const aces = builtInSpace("ACES2065-1")->curve()->primaries;
        return {ocio::ROLE_INTERCHANGE_SCENE, betweenPrimaries(aces, kRec709Primaries)};
    }
    for (char const* name : kLinearRec709)
        if (has(name)) return {name, kNone};
    if (has(ocio::ROLE_SCENE_LINEAR)) return {ocio::ROLE_SCENE_LINEAR, kNone};
    throw UserError(ExitCode::kInput,
                    "the OpenColorIO configuration has no role scene_linear, by which files' own "
                    "colour spaces could be converted");
}

}  // namespace

std::vector<ColorStep> ColorConfig::toLight(ColorSpace const& space) const {
    if (auto const* curve = space.curve()) {
        std::vector<ColorStep> steps;
        if (curve->curve != TransferCurve::kLinear) steps.push_back(curveStep(*curve, decoded));
        if (curve->primaries != kRec709Primaries)
            steps.push_back(matrixStep(betweenPrimaries(curve->primaries, kRec709Primaries)));
        return steps;
    }
    if (auto const* own = space.config()) {
        Bridge const bridge = bridgeOf(m_config->config);
        return joined(within(own->name, bridge.space), {matrixStep(bridge.toLight)});
    }
    ColorStep const step = profileStep(*space.profile(), ProfileWay::kToLight);
    if (!step) throw noWay(space.name, "linear", "");
    return {step};
}

std::vector<ColorStep> ColorConfig::fromLight(ColorSpace const& space) const {
    if (auto const* curve = space.curve()) {
        std::vector<ColorStep> steps;
        if (curve->primaries != kRec709Primaries)
            steps.push_back(matrixStep(betweenPrimaries(kRec709Primaries, curve->primaries)));
        if (curve->curve != TransferCurve::kLinear) steps.push_back(curveStep(*curve, encoded));
        return steps;
    }
    if (auto const* own = space.config()) {
        Bridge const bridge = bridgeOf(m_config->config);
        return joined({matrixStep(inverse(bridge.toLight))}, within(bridge.space, own->name));
    }
    ColorStep const step = profileStep(*space.profile(), ProfileWay::kFromLight);
    if (!step) throw noWay("linear", space.name, "");
    return {step};
}

std::vector<ColorStep> ColorConfig::steps(ColorSpace const& from, ColorSpace const& to) const {
    if (from == to) return {};
    if (from.config() && to.config()) return within(from.config()->name, to.config()->name);
    if (from.curve() && to.curve() && from.curve()->primaries == to.curve()->primaries) {
        std::vector<ColorStep> steps;
        for (auto [space, function] :
             {std::pair<CurveSpace const*, CurveFunction>(from.curve(), decoded),
              std::pair<CurveSpace const*, CurveFunction>(to.curve(), encoded)})
            if (space->curve != TransferCurve::kLinear)
                steps.push_back(curveStep(*space, function));
        return steps;
    }
    return joined(toLight(from), fromLight(to));
}

std::optional<CurveSpace> ColorConfig::builtInTwin(ColorSpace const& space) const {
    if (auto const* curve = space.curve()) return *curve;
    std::vector<ColorStep> toLight;
    try {
        toLight = this->toLight(space);
    } catch (UserError const&) {
        return std::nullopt;
    }
    constexpr int kCount = static_cast<int>(std::size(kSamples));
    for (NamedSpace const& entry : builtInSpaces()) {
        float values[kCount][3];
        std::copy(&kSamples[0][0], &kSamples[0][0] + 3 * kCount, &values[0][0]);
        run(toLight, &values[0][0], kCount);
        run(fromLight(named(entry.space)), &values[0][0], kCount);
        float worst = 0;
        for (int i = 0; i < 3 * kCount; ++i) {
            float const difference = std::abs((&values[0][0])[i] - (&kSamples[0][0])[i]);
            worst = difference <= worst ? worst : difference;  // what is no number is no twin
        }
        if (worst < kSameSpace) return entry.space;
    }
    return std::nullopt;
}

std::vector<DisplayView> ColorConfig::displayViews() const {
    std::vector<DisplayView> all;
    if (isBuiltIn()) return all;
    ocio::ConstConfigRcPtr const& config = m_config->config;
    std::vector<std::string> displays = {config->getDefaultDisplay()};
    for (int i = 0; i < config->getNumDisplays(); ++i)
        if (config->getDisplay(i) != displays.front()) displays.emplace_back(config->getDisplay(i));
    for (std::string const& display : displays) {
        std::string const first = config->getDefaultView(display.c_str());
        if (!first.empty()) all.push_back({display, first});
        for (int i = 0; i < config->getNumViews(display.c_str()); ++i)
            if (config->getView(display.c_str(), i) != first)
                all.push_back({display, config->getView(display.c_str(), i)});
    }
    return all;
}

std::vector<ColorStep> ColorConfig::displaySteps(ColorSpace const& from,
                                                 DisplayView const& to) const {
    // The view starts at a space of the configuration's.
    ColorSpace const start = from.config() ? from : linear();
    if (!start.config()) throw noWay(from.name, to.view, "it has no role scene_linear");
    try {
        auto const transform = ocio::DisplayViewTransform::Create();
        transform->setSrc(start.config()->name.c_str());
        transform->setDisplay(to.display.c_str());
        transform->setView(to.view.c_str());
        return joined(steps(from, start), stepsOf(m_config->config->getProcessor(transform)));
    } catch (ocio::Exception const& error) {
        throw noWay(from.name, to.view, error.what());
    }
}

}  // namespace zelk
