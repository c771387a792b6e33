// The host's limits, the frame's and what is suspected; see check_parts.h.
#include <fmt/format.h>

#include <algorithm>
#include <cmath>

#include "zelk/tracks/check_parts.h"
#include "zelk/tracks/text.h"

namespace zelk {

namespace {

constexpr double kDefaultWidth = 720, kDefaultHeight = 486;  // what the import then takes

/// Why a sample can't be a keyframe of the host's; empty when it can.
std::string beyondHost(TrackSample const& sample) {
    if (std::abs(sample.frame) > kLargestFrame) return "a frame beyond the host's clock:";
    bool const isFar = std::max(std::abs(sample.x), std::abs(sample.y)) > kLargestPx;
    return isFar ? fmt::format("a pin beyond the {} pixels that the host holds:", kLargestPx) : "";
}

/// The first such sample of the file; null for none.
TrackSample const* firstBeyondHost(Track const& track) {
    for (CornerTrack const& corner : track.corners)
        for (TrackSample const& sample : corner.samples)
            if (!beyondHost(sample).empty()) return &sample;
    return nullptr;
}

std::string sampleText(TrackSample const& sample) {
    return fmt::format("frame {} at {}, {}", numberText(sample.frame), numberText(sample.x),
                       numberText(sample.y));
}

void checkOutside(Track const& track, TrackIssues& issues) {
    double const width = track.hasSize() ? track.width : kDefaultWidth;
    double const height = track.hasSize() ? track.height : kDefaultHeight;
    std::size_t count = 0;
    TrackSample first;
    bool areFractions = true;
    for (CornerTrack const& corner : track.corners)
        for (TrackSample const& sample : corner.samples) {
            areFractions = areFractions && std::abs(sample.x) <= 2 && std::abs(sample.y) <= 2;
            bool const isFar = sample.x < -width || sample.x > 2 * width || sample.y < -height ||
                               sample.y > 2 * height;
            if (isFar && count++ == 0) first = sample;
        }
    if (areFractions)
        issues.add(TrackFault::kFarOutside, 0,
                   "all samples lie within two pixels of the corner: they may be fractions of the "
                   "frame, and pixels are expected");
    if (count > 0)
        issues.add(
            TrackFault::kFarOutside, first.line,
            fmt::format("{} sample{} more than a frame outside of it, such as {}, {}", count,
                        count == 1 ? " lies" : "s lie", numberText(first.x), numberText(first.y)));
}

void checkHost(Track const& track, TrackIssues& issues) {
    if (TrackSample const* sample = firstBeyondHost(track))
        issues.add(TrackFault::kBeyondHost, sample->line,
                   fmt::format("{} {}", beyondHost(*sample), sampleText(*sample)));
}

void checkFrameBase(Track const& track, TrackTarget const& target, TrackIssues& issues) {
    std::optional<double> first, last;
    for (CornerTrack const& corner : track.corners)
        for (TrackSample const& sample : corner.samples) {
            first = std::min(first.value_or(sample.frame), sample.frame);
            last = std::max(last.value_or(sample.frame), sample.frame);
        }
    if (!first) return;
    auto const start = target.startFrame;
    if (start && (*start < *first || *start > *last))
        issues.add(TrackFault::kFrameBase, 0,
                   fmt::format("its frames are {} to {}, and the composition starts at {}",
                               numberText(*first), numberText(*last), *start),
                   fmt::format("--first-frame {}", *start));
    if (!target.startFrame && *first == 1)
        issues.add(
            TrackFault::kFrameBase, 0,
            "the first frame is 1: in a composition that counts from 0 all keys come a frame "
            "late",
            "--first-frame 0");
}

void checkPixelAspect(Track const& track, TrackIssues& issues) {
    if (track.pixelAspect != 1)
        return issues.add(
            TrackFault::kPixelAspect, 0,
            fmt::format("the file's pixels are {} wide", numberText(track.pixelAspect)),
            "--pixel-aspect " + numberText(track.pixelAspect));
    struct NarrowFrame {
        int width, height;
        char const* aspects;
    };
    constexpr NarrowFrame kFrames[] = {
        {720, 480, "10/11 or 40/33"},
        {720, 486, "10/11 or 40/33"},
        {720, 576, "12/11 or 16/11"},
        {1440, 1080, "4/3"},
        {960, 720, "4/3"},
        {1280, 1080, "3/2"},
    };
    for (NarrowFrame const& frame : kFrames)
        if (frame.width == track.width && frame.height == track.height)
            issues.add(TrackFault::kPixelAspect, 0,
                       fmt::format("frames of {}x{} mostly have pixels {} wide", frame.width,
                                   frame.height, frame.aspects),
                       "--pixel-aspect A");
}

}  // namespace

void checkPosition(Track const& track, TrackTarget const& target, TrackIssues& issues) {
    checkOutside(track, issues);
    checkHost(track, issues);
    checkFrameBase(track, target, issues);
    checkPixelAspect(track, issues);
}

void requireImportable(std::string const& file, Track const& track) {
    TrackSample const* const sample = firstBeyondHost(track);
    if (sample)
        TrackText{file, {}, {}}.refuse(
            sample->line, beyondHost(*sample), sampleText(*sample),
            fmt::format("a frame up to {}, x and y within {} pixels", kLargestFrame, kLargestPx));
}

}  // namespace zelk
