// Reading and judging of a scene's tracks; see track_use.h.
#include "zelk/scene/track_use.h"

#include <utility>

#include "zelk/files/text_file.h"
#include "zelk/tracks/forms.h"

namespace zelk {

TrackUse readTrackUse(std::filesystem::path const& file, TrackedPins pins) {
    std::string text = readTextFile(file, "a tracking", kLargestTrackFile);
    auto track = std::make_shared<Track const>(trackFromText({file.string(), text, {}}));
    requireImportable(file.string(), *track);
    if (track->format != trackFormats().front().name) text.clear();
    return {file, pins, std::move(track), std::move(text)};
}

std::vector<std::string> warningsOf(TrackUse const& use, TrackTarget const& target) {
    std::vector<std::string> warnings;
    for (TrackIssue const& issue : checkTrack(*use.track, target))
        warnings.push_back(use.file.string() + ": " + issueText(issue));
    return warnings;
}

}  // namespace zelk
