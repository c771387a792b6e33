// Little CMS behind plain functions; see icc_profile.h.
#include "zelk/color/icc_profile.h"

#include <lcms2.h>

#include <algorithm>
#include <memory>

namespace zelk {

namespace {

struct CloseProfile {
    void operator()(void* profile) const { cmsCloseProfile(profile); }
};
using Profile = std::unique_ptr<void, CloseProfile>;

struct FreeCurve {
    void operator()(cmsToneCurve* curve) const { cmsFreeToneCurve(curve); }
};
using Curve = std::unique_ptr<cmsToneCurve, FreeCurve>;

/// The power, the line below it, and where they meet: Y = (aX + b)^g for X >= d, else cX.
Curve curveOf(CurveSpace const& space) {
    constexpr int kPowerAndLine = 4;
    constexpr double kSrgb[] = {2.4, 1 / 1.055, 0.055 / 1.055, 1 / 12.92, 0.04045};
    constexpr double kRec709[] = {1 / 0.45, 1 / 1.099, 0.099 / 1.099, 1 / 4.5, 0.081};
    switch (space.curve) {
        case TransferCurve::kSrgb:
            return Curve(cmsBuildParametricToneCurve(nullptr, kPowerAndLine, kSrgb));
        case TransferCurve::kRec709:
            return Curve(cmsBuildParametricToneCurve(nullptr, kPowerAndLine, kRec709));
        case TransferCurve::kFilm: {
            std::vector<float> table(4096);
            for (std::size_t i = 0; i < table.size(); ++i)
                table[i] = std::max(
                    decoded(space, static_cast<float>(i) / static_cast<float>(table.size() - 1)),
                    0.0f);
            return Curve(cmsBuildTabulatedToneCurveFloat(
                nullptr, static_cast<cmsUInt32Number>(table.size()), table.data()));
        }
        default:
            return Curve(cmsBuildGamma(nullptr, space.gamma));
    }
}

Profile rgbProfile(CurveSpace const& space) {
    Chromaticities const& p = space.primaries;
    cmsCIExyY const white = {p[6], p[7], 1};
    cmsCIExyYTRIPLE const primaries = {{p[0], p[1], 1}, {p[2], p[3], 1}, {p[4], p[5], 1}};
    Curve const curve = curveOf(space);
    cmsToneCurve* const curves[3] = {curve.get(), curve.get(), curve.get()};
    return Profile(cmsCreateRGBProfile(&white, &primaries, curves));
}

Profile opened(ProfileSpace const& profile) {
    return Profile(cmsOpenProfileFromMem(profile.bytes.data(),
                                         static_cast<cmsUInt32Number>(profile.bytes.size())));
}

void describe(void* profile, std::string const& description) {
    std::unique_ptr<cmsMLU, decltype(&cmsMLUfree)> const text(cmsMLUalloc(nullptr, 1), cmsMLUfree);
    cmsMLUsetASCII(text.get(), "en", "US", description.c_str());
    cmsWriteTag(profile, cmsSigProfileDescriptionTag, text.get());
}

/// The clock's date would make two files of one picture.
void fixDate(std::vector<unsigned char>& bytes) {
    constexpr unsigned char kDate[12] = {0x07, 0xD0, 0, 1, 0, 1};  // 1 January 2000
    std::copy(std::begin(kDate), std::end(kDate), bytes.begin() + 24);
}

}  // namespace

ColorStep profileStep(ProfileSpace const& profile, ProfileWay way) {
    // Little CMS tells its errors through a handler; without one it keeps still.
    Profile const own = opened(profile), light = rgbProfile(CurveSpace{});
    if (!own || !light || cmsGetColorSpace(own.get()) != cmsSigRgbData) return {};
    bool const toLight = way == ProfileWay::kToLight;
    std::shared_ptr<void> const transform(
        cmsCreateTransform(toLight ? own.get() : light.get(), TYPE_RGB_FLT,
                           toLight ? light.get() : own.get(), TYPE_RGB_FLT,
                           INTENT_RELATIVE_COLORIMETRIC, cmsFLAGS_NOCACHE | cmsFLAGS_NOOPTIMIZE),
        [](void* made) {
            if (made) cmsDeleteTransform(made);
        });
    if (!transform) return {};
    return [transform](float* rgb, int pixels) {
        cmsDoTransform(transform.get(), rgb, rgb, static_cast<cmsUInt32Number>(pixels));
    };
}

std::string descriptionOf(ProfileSpace const& profile) {
    Profile const own = opened(profile);
    char text[256] = {};
    if (own) cmsGetProfileInfoASCII(own.get(), cmsInfoDescription, "en", "US", text, sizeof text);
    return text;
}

ProfileSpace profileOf(CurveSpace const& space, std::string const& description) {
    Profile const profile = rgbProfile(space);
    describe(profile.get(), description);
    cmsUInt32Number size = 0;
    cmsSaveProfileToMem(profile.get(), nullptr, &size);
    ProfileSpace made;
    made.bytes.resize(size);
    cmsSaveProfileToMem(profile.get(), made.bytes.data(), &size);
    fixDate(made.bytes);
    return made;
}

}  // namespace zelk
