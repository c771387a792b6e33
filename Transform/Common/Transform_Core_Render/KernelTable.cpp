// Filter list, tap counts, kernel parameters and the weight table, see KernelTable.h.
#include "Transform/Common/Transform_Core_Render/KernelTable.h"

#include <algorithm>
#include <cmath>

#include "Transform/Common/Transform_Core_Render/FilterKernels.h"

namespace {

constexpr QV_KernelFunc kFilters[kFilterCount] = {
    filter_box,      filter_triangle, filter_triangle, filter_quadratic, filter_catrom,
    filter_cubic,    filter_keys,     filter_simon,    filter_rifman,    filter_parzen,
    filter_lanczos,  filter_lanczos2, filter_lanczos3, filter_gaussian,  filter_normal,
    filter_bessel,   filter_sinc,     filter_hanning,  filter_hamming,   filter_blackman,
    filter_mitchell, filter_kaiser};

/// Tap counts by size index.
constexpr int _kernelArray[4] = {4, 6, 8, 10};

/// I0(700) is 1.5e302; a little further it is no finite number. The window is a spike by then, of
/// deviation 0.04.
constexpr double kGreatestKaiserAlpha = 700.0;

double limitedAlpha(double alpha) {
    return std::isnan(alpha) ? 0.0 : std::clamp(alpha, -kGreatestKaiserAlpha, kGreatestKaiserAlpha);
}

/// Parameters of one kernel into one set.
void setKernelParameters(RenderSettings& s, int set, int filter, double b, double c) {
    if (filter == kFilterMitchell) mitchell_init(s.mitchell[set], b, c);
    if (filter == kFilterKaiser) {
        double const alpha = limitedAlpha(b);
        s.kaiser[set][0] = alpha;
        s.kaiser[set][1] = 1.0 / besselI0OfQuarterSquare(alpha * alpha * 0.25);
    }
}

}  // namespace

QV_KernelFunc getInterpLineFunc(int filter) {
    return filter >= 0 && filter < kFilterCount ? kFilters[filter] : nullptr;
}

void setKernelTransformSize(RenderSettings* settings, int sizeIndex, float scale) {
    int index = sizeIndex;
    for (float limit : {0.5f, 0.25f, 0.125f, 0.0625f})
        if (limit > scale) --index;
    if (index < 0) {
        settings->taps = 1;
        settings->quality = 0;
        return;
    }
    settings->taps = _kernelArray[std::min(index, 3)];
}

void mitchell_init(double* coefficients, double B, double C) {
    coefficients[0] = (6.0 - 2.0 * B) / 6.0;
    coefficients[1] = (12.0 * B + 6.0 * C - 18.0) / 6.0;
    coefficients[2] = (12.0 - 9.0 * B - 6.0 * C) / 6.0;
    coefficients[3] = (8.0 * B + 24.0 * C) / 6.0;
    coefficients[4] = (-12.0 * B - 48.0 * C) / 6.0;
    coefficients[5] = (6.0 * B + 30.0 * C) / 6.0;
    coefficients[6] = (-B - 6.0 * C) / 6.0;
}

void setInterpLineFunc(RenderSettings* settings, double paramB, double paramC, int filter,
                       bool sharpen, int sharpenFilter, double sharpenMix, bool sharpenClamp,
                       double sharpenParamB, double sharpenParamC, double sharpenAmount,
                       bool clampNegative, bool buildTable) {
    RenderSettings& s = *settings;
    s.kernelSet = 0;
    s.sharpenAmount = static_cast<float>(sharpenAmount);
    s.sharpenRatio = static_cast<float>(sharpenMix * 1.5 + (1.0 - sharpenMix) * 5.0);
    if (!sharpen) {
        s.kernelFunc = getInterpLineFunc(filter);
        setKernelParameters(s, 0, filter, paramB, paramC);
    } else {
        s.kernelFunc = sharpenClamp ? filter_sharpen_clamp : filter_sharpen_noclamp;
        s.sharpenFuncA = getInterpLineFunc(filter);
        setKernelParameters(s, 1, filter, paramB, paramC);
        s.sharpenFuncB = getInterpLineFunc(sharpenFilter);
        setKernelParameters(s, 2, sharpenFilter, sharpenParamB, sharpenParamC);
    }
    if (buildTable) calculateLut(settings, clampNegative);
}

void calculateLut(RenderSettings* settings, bool clampNegative) {
    int const taps = std::clamp(settings->taps, 4, kMaxTaps);
    double const step = 1.0 / (taps - 1);
    double const inv = 1.0 / settings->kernelScale;
    double weights[kMaxTaps];
    for (int p = 0; p < kLutRows; ++p) {
        double const r = p * (1.0 / 255.0) * 2.0 - 1.0;
        double sum = 0.0;
        for (int k = 0; k < taps; ++k) {
            double const t = k * step;
            double const position = 2.0 * t - (1.0 - t);
            double const away = settings->hasChosenKernel && taps > 4
                                    ? (k - (taps / 2 - 1) - r) * 3.0 * step
                                    : position - r;
            double weight = settings->kernelFunc(away * inv, settings);
            if (clampNegative && weight < 0.0) weight = 0.0;
            weights[k] = weight;
            sum += weight;
        }
        double const scale = std::fabs(sum) >= 1e-5 ? 1.0 / sum : 1.0;
        for (int k = 0; k < taps; ++k)
            settings->lut[p * taps + k] = static_cast<float>(weights[k] * scale);
    }
}

void setDefaultSuperSamplePattern(RenderSettings* settings) {
    for (int k = 0; k < kSuperSamples; ++k) {
        settings->ssWeight[k] = 1.0 / kSuperSamples;
        settings->ssOffsetX[k] = (k % 3 - 1) / 3.0;
        settings->ssOffsetY[k] = (k / 3 - 1) / 3.0;
    }
}
