// Kernels by the engine's own table; see filters.h.
#include "zelk/scene/filters.h"

#include <algorithm>
#include <cmath>
#include <memory>

#include "Transform/Common/Transform_Core_Render/KernelTable.h"
#include "zelk/scene/kernel_choice.h"
#include "zelk/scene/words.h"

namespace zelk {

namespace {

/// Fractions of a pixel at which kernels without a table are taken.
constexpr int kSteps = 128;
constexpr double kNothing = 1e-9;

/// A record with the kernel as a render sets it up.
std::unique_ptr<RenderSettings> settingsOf(int number, int taps) {
    auto settings = std::make_unique<RenderSettings>();
    KernelChoice const kernel = kernelChoice(number, taps);
    settings->hasChosenKernel = true;
    setKernelTransformSize(settings.get(), kernel.sizeIndex, 1.0f);
    setInterpLineFunc(settings.get(), kernel.paramB, kernel.paramC, number, false, 0, 0, false, 0,
                      0, 0, false, true);
    return settings;
}

bool hasTable(int number) { return number != kFilterNearest && number != kFilterBilinear; }

}  // namespace

FilterInfo filterInfo(int number) {
    constexpr double kFarPx = 16;
    auto const settings = settingsOf(number, 4);
    auto const at = [&settings](double x) { return settings->kernelFunc(x, settings.get()); };
    FilterInfo info;
    info.number = number;
    info.name = wordOf(kFilterWords, number);
    info.hasTable = hasTable(number);
    info.interpolates = true;
    for (int n = 1; n < 4; ++n)
        info.interpolates = info.interpolates && std::fabs(at(n)) < kNothing;
    for (double x = 0; x <= kFarPx; x += 1.0 / kSteps)
        if (at(-x) != 0) info.supportPx = x;
    // The last step with a weight, to the next half pixel.
    info.supportPx = info.supportPx > kFarPx - 2 ? 0 : std::ceil(2 * info.supportPx - 0.1) / 2;
    if (number == kFilterKaiser) info.supportPx = 0;  // a remainder goes on beyond 1
    for (FilterWeight const& each : filterWeights(number, 4))
        info.hasLobes = info.hasLobes || each.weight < -1e-6;
    return info;
}

std::vector<FilterWeight> filterWeights(int number, int taps) {
    std::vector<FilterWeight> weights;
    auto const settings = settingsOf(number, taps);
    if (!hasTable(number)) {
        for (int i = -2 * kSteps; i <= 2 * kSteps; ++i) {
            double const px = (i + 0.5) / kSteps;
            weights.push_back({px, settings->kernelFunc(px, settings.get())});
        }
        return weights;
    }
    // Rows of fractions from 0 on; a table row p stands for 2 p / 255 - 1.
    for (int tap = 0; tap < taps; ++tap)
        for (int p = kLutRows - 1; p >= kLutRows / 2; --p)
            weights.push_back(
                {tap - (taps / 2 - 1) - (2.0 * p / 255 - 1), settings->lut[p * taps + tap]});
    return weights;
}

double filterResponse(std::vector<FilterWeight> const& weights, double frequency) {
    double sum = 0, all = 0;
    for (FilterWeight const& each : weights) {
        sum += each.weight * std::cos(2 * 3.141592653589793 * frequency * each.px);
        all += each.weight;
    }
    return sum / all;
}

double halfFrequency(std::vector<FilterWeight> const& weights) {
    for (int i = 0; i < 100; ++i)
        if (filterResponse(weights, i / 100.0) <= 0.5) return i / 100.0;
    return 1;
}

}  // namespace zelk
