// The questions in their order, and issues in words; see check.h.
#include "zelk/tracks/check.h"

#include <fmt/format.h>

#include "zelk/text/errors.h"
#include "zelk/tracks/check_parts.h"
#include "zelk/tracks/text.h"

namespace zelk {

namespace {

void checkSize(Track const& track, TrackTarget const& target, TrackIssues& issues) {
    if (!track.hasSize()) {
        bool const isScaled = track.format == "mocha";  // another form's pixels are the frame's
        if (isScaled || !target.frame)
            issues.add(TrackFault::kNoSize, 0,
                       isScaled ? "the file has no frame size: the import scales from 720x486 to "
                                  "the frame"
                                : "the file has no frame size: its pixels are taken as they are",
                       "--size WxH");
        return;
    }
    auto const& frame = target.frame;
    if (frame && (frame->width != track.width || frame->height != track.height))
        issues.add(
            TrackFault::kNoSize, 0,
            fmt::format("tracked in {}x{}, and the frame is {}x{}: the pins are scaled to it",
                        track.width, track.height, frame->width, frame->height));
}

void checkRate(Track const& track, TrackTarget const& target, TrackIssues& issues) {
    if (target.writesRate && !track.rate)
        issues.add(TrackFault::kNoRate, 0,
                   fmt::format("the file has no rate: {} frames a second are written",
                               numberText(kDefaultRate)),
                   "--rate FPS");
}

}  // namespace

std::string_view faultName(TrackFault fault) {
    constexpr std::string_view kNames[] = {
        "note",        "size",        "rate",       "missing-corner", "duplicate",   "order",
        "gap",         "uneven",      "crossed",    "flat",           "turned-over", "outside",
        "beyond-host", "upside-down", "frame-base", "pixel-aspect",   "merged"};
    return kNames[static_cast<std::size_t>(fault)];
}

std::vector<TrackIssue> checkTrack(Track const& track, TrackTarget const& target) {
    TrackIssues issues;
    for (TrackNote const& note : track.notes)
        issues.add(TrackFault::kNote, note.line, note.text, note.fix);
    checkSize(track, target, issues);
    checkRate(track, target, issues);
    checkFrames(track, issues);
    checkMoments(track, target, issues);
    checkQuads(track, issues);
    checkPosition(track, target, issues);
    return issues.taken();
}

std::string issueText(TrackIssue const& issue) {
    std::string text = issue.line > 0 ? fmt::format("line {}: ", issue.line) : "";
    text += issue.text;
    if (!issue.fix.empty()) text += "; correct it by `zelk track convert " + issue.fix + "`";
    return oneLine(text);
}

}  // namespace zelk
