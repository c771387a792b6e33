// Read, write, read again; see fuzz_targets.h.
#include "fuzz/fuzz_targets.h"

#include <cmath>
#include <stdexcept>

#include "zelk/scene/file.h"
#include "zelk/text/errors.h"
#include "zelk/tracks/check.h"
#include "zelk/tracks/forms.h"

namespace zelk {

namespace {

constexpr PixelSize kFrame = {1920, 1080};

std::vector<TrackRow> rowsOf(Track const& track) {
    std::vector<TrackRow> rows;
    eachRow(track, [&rows](TrackRow const& row) { rows.push_back(row); });
    return rows;
}

/// Counting y from the other side and back rounds twice.
bool isSame(std::optional<Point> const& a, std::optional<Point> const& b) {
    if (!a || !b) return a.has_value() == b.has_value();
    double const rounding = 1e-15 * (std::abs(a->y) + kFrame.height);
    return a->x == b->x && std::abs(a->y - b->y) <= rounding;
}

bool isSame(Track const& a, Track const& b) {
    auto const rowsA = rowsOf(a), rowsB = rowsOf(b);
    if (rowsA.size() != rowsB.size()) return false;
    for (std::size_t i = 0; i < rowsA.size(); ++i) {
        if (rowsA[i].frame != rowsB[i].frame) return false;
        for (std::size_t corner = 0; corner < 4; ++corner)
            if (!isSame(rowsA[i].corners[corner], rowsB[i].corners[corner])) return false;
    }
    return true;
}

void runTrack(TrackFormat const& format, std::string_view bytes) {
    ReadTrackOptions options;
    options.format = format.name;
    options.size = kFrame;
    TrackText const text{"input", bytes, options.size};
    formatsOf(text);
    Track track;
    try {
        track = trackFromText(text, options);
    } catch (UserError const&) {
        return;
    }
    for (TrackIssue const& issue : checkTrack(track)) issueText(issue);
    std::string const written = format.write(track);
    if (!isSame(trackFromText({"output", written, options.size}, options), track))
        throw std::logic_error(std::string(format.name) + ": another track came back");
}

void runProject(std::string_view bytes) {
    Scene scene;
    try {
        scene = sceneFromText("input", bytes);
    } catch (UserError const&) {
        return;
    }
    std::string const written = sceneText(scene);
    if (sceneText(sceneFromText("output", written)) != written)
        throw std::logic_error("another project came back");
}

}  // namespace

std::vector<FuzzTarget> fuzzTargets() {
    std::vector<FuzzTarget> targets;
    for (TrackFormat const& format : trackFormats())
        targets.push_back({std::string(format.name),
                           [&format](std::string_view bytes) { runTrack(format, bytes); }});
    targets.push_back({"project", runProject});
    return targets;
}

}  // namespace zelk
