// The parts of checkTrack, a file each, and what they add issues to.
#pragma once

#include <string>
#include <vector>

#include "zelk/tracks/check.h"

namespace zelk {

class TrackIssues {
public:
    void add(TrackFault fault, int line, std::string text, std::string fix = "") {
        m_issues.push_back({fault, line, std::move(text), std::move(fix)});
    }
    std::vector<TrackIssue> taken() { return std::move(m_issues); }

private:
    std::vector<TrackIssue> m_issues;
};

/// Corners without samples; frames that come again, descend, are missing or not of all corners.
void checkFrames(Track const& track, TrackIssues& issues);
/// Frames of a corner that the import takes to one moment of the composition's clock.
void checkMoments(Track const& track, TrackTarget const& target, TrackIssues& issues);
/// Quads that can't be drawn, and corners in other places than their names say.
void checkQuads(Track const& track, TrackIssues& issues);
/// What does not fit the frame or the host: size, pixels, samples far away, the first frame.
void checkPosition(Track const& track, TrackTarget const& target, TrackIssues& issues);

}  // namespace zelk
