// A track: where four corners of a surface lie, frame by frame.
//
// Space: pixels of the frame that was tracked, y down, 0,0 the outer corner of its first pixel.
// Frames are numbers of the file, fractions allowed, in any order, as the file has them.
// Corner order: upper left, upper right, lower left, lower right, as everywhere in this program.
#pragma once

#include <array>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "zelk/tracks/corners.h"

namespace zelk {

enum TrackCorner { kUpperLeft, kUpperRight, kLowerLeft, kLowerRight };
inline constexpr std::array<std::string_view, 4> kCornerWords = {"upper left", "upper right",
                                                                 "lower left", "lower right"};
/// Short names, of files and options.
inline constexpr std::array<std::string_view, 4> kCornerNames = {"ul", "ur", "ll", "lr"};

/// Of frame numbers, on both sides of 0: far beyond any shot.
inline constexpr int kLargestFrame = 10'000'000;

struct TrackSample {
    double frame = 0, x = 0, y = 0;
    int line = 0;  ///< of the file, from 1
};

struct CornerTrack {
    int line = 0;  ///< of the heading, 0 where the form has none
    /// Of the first heading whose words mean this corner, though its samples went to another.
    int meantLine = 0;
    std::vector<TrackSample> samples;
};

/// Reads headings as their words say.
inline constexpr char const* kMeantByWords = "--format keyframes";

/// What a form that states a rate has for a track without one.
inline constexpr double kDefaultRate = 24;

/// What a reader found odd but could read.
struct TrackNote {
    int line = 0;
    std::string text;  ///< a sentence
    std::string fix;   ///< options of `zelk track convert`; empty for none
};

struct Track {
    std::array<CornerTrack, 4> corners;
    int width = 0, height = 0;  ///< of the frame, pixels; 0 where the file does not say
    std::optional<double> rate;
    double pixelAspect = 1;   ///< width of a pixel in heights, as the file says
    std::string_view format;  ///< name of the reader
    std::vector<TrackNote> notes;

    bool hasSize() const { return width > 0 && height > 0; }
};

/// One corner's samples in order of their frames, each frame once: the last in the file counts, as
/// it does when keys are set one after the other.
std::vector<TrackSample> inOrder(CornerTrack const& corner);

/// What the four corners have at one frame; nothing where a corner has no sample there.
struct TrackRow {
    double frame = 0;
    std::array<std::optional<Point>, 4> corners;

    bool isWhole() const { return corners[0] && corners[1] && corners[2] && corners[3]; }
    /// Of a whole row.
    Corners quad() const { return {*corners[0], *corners[1], *corners[2], *corners[3]}; }
};

/// Each frame of any corner once, in order.
void eachRow(Track const& track, std::function<void(TrackRow const&)> const& row);

/// The frames of any corner that are whole numbers, in order.
std::vector<int> wholeFrames(Track const& track);

/// The first and the last frame of any corner; nothing of a track without samples.
struct TrackReach {
    double first = 0, last = 0;
};
std::optional<TrackReach> reachOf(Track const& track);

/// The moment that the effect's import gives a sample of the file, in units of the composition's
/// clock from its first frame: the import reads single floats and truncates.
std::int64_t importedMoment(double frame, int startFrame, int frameUnits);

/// y is counted from the other side. The track has a size.
void flipY(Track& track);
void shiftFrames(Track& track, double frames);
/// Samples in pixels that are `aspect` wide become samples in square ones, the width with them.
void makePixelsSquare(Track& track, double aspect);
/// from[i] is the corner of the file that becomes corner i.
void reorderCorners(Track& track, std::array<int, 4> const& from);

}  // namespace zelk
