// Words that a scene's fields take, on a command line and in its file.
#pragma once

#include <string>
#include <string_view>

#include "hostkit/host_identity.h"
#include "hostkit/time_base.h"
#include "platform/effect_api/effect_types.h"
#include "zelk/inputs/missing_input.h"
#include "zelk/pictures/pixel_size.h"
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

inline constexpr Choice<Road> kRoadWords[] = {{"module", Road::kModule}, {"memory", Road::kMemory}};

inline constexpr Choice<MissingInput> kMissingWords[] = {{"stop", MissingInput::kStop},
                                                         {"hold", MissingInput::kHold},
                                                         {"skip", MissingInput::kSkip},
                                                         {"black", MissingInput::kBlack}};

// Each of these throws a usage error about `thing` for what it can't read.

/// "FXTC", in letters of any case.
HostIdentity hostNamed(std::string const& thing, std::string const& word);
/// A picture's file name. Pictures are read in pieces, so that none can come through a pipe: "-" is
/// an input error.
std::string pictureName(std::string const& thing, std::string const& text);
/// "25", "23.976" or "24000/1001" frames a second
TimeBase parseRate(std::string const& thing, std::string const& text);
/// "1920x1080"
PixelSize parseSize(std::string const& thing, std::string const& text);

}  // namespace zelk
