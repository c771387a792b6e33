// Words that a scene's fields take, on a command line and in its file.
#pragma once

#include <string>
#include <string_view>

#include "platform/effect_api/effect_types.h"
#include "zelk/pictures/output_channels.h"
#include "zelk/scene/scene.h"
#include "zelk/text/choices.h"

namespace zelk {

/// How the pinned layer is laid over a plate, as PF_Xfer_* numbers.
inline constexpr Choice<int> kOverModes[] = {
    {"normal", PF_Xfer_IN_FRONT},
    {"behind", PF_Xfer_BEHIND},
    {"add", PF_Xfer_ADD},
    {"multiply", PF_Xfer_MULTIPLY},
    {"screen", PF_Xfer_SCREEN},
    {"overlay", PF_Xfer_OVERLAY},
    {"soft-light", PF_Xfer_SOFT_LIGHT},
    {"hard-light", PF_Xfer_HARD_LIGHT},
    {"color-dodge", PF_Xfer_COLOR_DODGE},
    {"color-burn", PF_Xfer_COLOR_BURN},
    {"darken", PF_Xfer_DARKEN},
    {"lighten", PF_Xfer_LIGHTEN},
    {"difference", PF_Xfer_DIFFERENCE},
    {"exclusion", PF_Xfer_EXCLUSION},
    {"hue", PF_Xfer_HUE},
    {"saturation", PF_Xfer_SATURATION},
    {"color", PF_Xfer_COLOR},
    {"luminosity", PF_Xfer_LUMINOSITY},
};

inline constexpr Choice<Depth> kDepthWords[] = {
    {"8", Depth::k8}, {"16", Depth::k16}, {"float", Depth::kFloat}};

/// Qualities that are none of the effect's.
inline constexpr Choice<bool> kOwnQualities[] = {{"best", true}};
inline constexpr Choice<Road> kRoadWords[] = {{"module", Road::kModule}, {"memory", Road::kMemory}};

inline constexpr Choice<MissingInput> kMissingWords[] = {{"stop", MissingInput::kStop},
                                                         {"hold", MissingInput::kHold},
                                                         {"skip", MissingInput::kSkip},
                                                         {"black", MissingInput::kBlack}};

inline constexpr Choice<OutputChannels> kChannelWords[] = {{"a", OutputChannels::kAlpha},
                                                           {"rgb", OutputChannels::kColors},
                                                           {"rgba", OutputChannels::kAll}};
/// Whether a file's orientation is left alone, and whether its overscan is.
inline constexpr Choice<bool> kOrientationWords[] = {{"auto", false}, {"raw", true}};
inline constexpr Choice<bool> kOverscanWords[] = {{"keep", false}, {"drop", true}};

inline constexpr Choice<Interpolation> kInterpolationWords[] = {{"hold", Interpolation::kHold},
                                                                {"linear", Interpolation::kLinear},
                                                                {"bezier", Interpolation::kBezier}};

inline constexpr Choice<HostApp> kHostWords[] = {{"FXTC", HostApp::kAfterEffects},
                                                 {"PrMr", HostApp::kPremierePro},
                                                 {"KeyG", HostApp::kFinalCutPro},
                                                 {"MOTN", HostApp::kMotion}};

inline constexpr Choice<FrameEdges> kEdgeWords[] = {{"grid", FrameEdges::kGrid},
                                                    {"exact", FrameEdges::kExact}};

/// The engine's kernels, by their numbers in its filter list. Box and bilinear are drawn by
/// functions of their own, without a weight table.
inline constexpr Choice<int> kFilterWords[] = {
    {"box", 0},       {"bilinear", 1},  {"triangle", 2},  {"quadratic", 3}, {"catmull-rom", 4},
    {"cubic", 5},     {"keys", 6},      {"simon", 7},     {"rifman", 8},    {"parzen", 9},
    {"lanczos", 10},  {"lanczos2", 11}, {"lanczos3", 12}, {"gaussian", 13}, {"normal", 14},
    {"bessel", 15},   {"sinc", 16},     {"hanning", 17},  {"hamming", 18},  {"blackman", 19},
    {"mitchell", 20}, {"kaiser", 21}};
inline constexpr Choice<int> kTapWords[] = {{"4", 4}, {"6", 6}, {"8", 8}, {"10", 10}};

/// Most of a feather or a choke, pixels.
inline constexpr double kMostOutlinePx = 10000;
inline constexpr Choice<TrackedPins> kPinsWords[] = {{"to", TrackedPins::kTo},
                                                     {"from", TrackedPins::kFrom}};

/// The shutter's limits, degrees: the angle from 0, the phase on both sides.
inline constexpr double kMostShutterAngleDeg = 720, kMostShutterPhaseDeg = 360;

// Each of these throws a usage error about `thing` for what it can't read.

/// A picture's file name. Pictures are read in pieces, so that none can come through a pipe: "-" is
/// an input error.
std::string pictureName(std::string const& thing, std::string const& text);
/// "25", "23.976" or "24000/1001" frames a second
TimeBase parseRate(std::string const& thing, std::string const& text);
/// "1920x1080"
PixelSize parseSize(std::string const& thing, std::string const& text);

/// Whether stored values are all that counts.
inline constexpr Choice<bool> kColorWords[] = {{"raw", true}, {"managed", false}};

}  // namespace zelk
