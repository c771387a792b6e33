// What is odd about a track, and how it is fixed: what the import will not do as one expects, and
// what looks as if the file had been made for other conventions.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "zelk/pictures/pixel_size.h"
#include "zelk/tracks/track.h"

namespace zelk {

enum class TrackFault {
    kNote,           ///< of the reader
    kNoSize,         ///< the file does not say the frame's size
    kNoRate,         ///< the file does not say the frames a second
    kMissingCorner,  ///< its pin stays as it is
    kDuplicate,      ///< a frame twice in one corner
    kOrder,          ///< frames that descend
    kGap,
    kUneven,       ///< frames that not all corners have
    kCrossed,      ///< quads that cross themselves or are dented: nothing is drawn
    kFlat,         ///< quads without an area: nothing is drawn
    kTurnedOver,   ///< quads seen from behind
    kFarOutside,   ///< samples more than a frame away from the frame
    kBeyondHost,   ///< a pin or a frame that the host can't hold
    kUpsideDown,   ///< suspected
    kFrameBase,    ///< suspected
    kPixelAspect,  ///< stated or suspected
    kMerged,       ///< samples at one moment of the composition's clock: they become one key
};

/// "crossed"
std::string_view faultName(TrackFault fault);

struct TrackIssue {
    TrackFault fault;
    int line = 0;      ///< of the first sample or heading concerned, 0 for none
    std::string text;  ///< what is the matter
    std::string fix;   ///< options of `zelk track convert`; empty for none
};

/// What the track is for, where that is known.
struct TrackTarget {
    std::optional<PixelSize> frame;
    std::optional<int> startFrame;  ///< of the composition
    int frameUnits = 0;             ///< of its clock in a frame; 0 where that is not known
    bool writesRate = false;        ///< it is written in a form that states a rate
};

std::vector<TrackIssue> checkTrack(Track const& track, TrackTarget const& target = {});

/// Throws an input error about `file` for what the host can't hold as keyframes.
void requireImportable(std::string const& file, Track const& track);

/// One line for the user: "line 12: ...; correct it by `zelk track convert --flip-y`"
std::string issueText(TrackIssue const& issue);

}  // namespace zelk
