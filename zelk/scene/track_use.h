// Tracking files of a scene: reading, and what is odd about them there.
#pragma once

#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "zelk/scene/scene.h"
#include "zelk/tracks/check.h"

namespace zelk {

/// Throws an input error with file, line and reason. `editPrefix` is the scene's.
TrackUse readTrackUse(ScenePath const& file, TrackedPins pins, TrackReading const& reading = {},
                      std::string const& editPrefix = "");

/// One that can't be read is kept by its name and TrackUse::fault.
TrackUse readTrackUseToEdit(ScenePath const& file, TrackedPins pins, TrackReading const& reading);

/// Throws an input error for one that has no track.
void requireRead(TrackUse const& use);

/// A change of how tracks are read, on all that the scene has and on those that come.
void changeReading(Scene& scene, std::function<void(TrackReading&)> const& change);

/// The reading with what mends an issue of it (TrackIssue::fix, of checkTrack); nothing where no
/// reading does.
std::optional<TrackReading> mended(TrackReading reading, std::string const& fix);

/// What is odd about it in a frame of that size, a sentence each.
std::vector<std::string> warningsOf(Scene const& scene, TrackUse const& use,
                                    TrackTarget const& target);

/// Frame numbers of which something is shown.
struct FrameSpan {
    int first = 0, last = 0;
};

/// Throws an input error, with the edit that mends it, for a track that is taken for another than
/// it is: one that mirrors or turns the layer, or crosses its corners, in all its frames, unless
/// the reading says the corners' order or the form; and one of several frames that all lie outside
/// of `shown`, so that the pins stand still, unless it says the frames' numbers.
void requireMeant(Scene const& scene, TrackUse const& use, FrameSpan const& shown);

/// The number in the name of the single picture that these pins stand in: To Pins in the plate,
/// From Pins in the layer.
std::optional<int> numberOfPicture(Scene const& scene, TrackedPins pins);

/// Which of a track's frames, at least one, a single picture shows: that of numberOfPicture, else
/// the first.
int frameOfPicture(Scene const& scene, TrackedPins pins, std::vector<int> const& frames);

/// The track in pixels of the pictures that it is used in, which may have another size than those
/// that were tracked.
Track scaledTo(Track track, PixelSize size);

}  // namespace zelk
