// One line of a tracker's text file, looked at by itself.
//
// Lines are told apart by what they contain, so indentation, tabs and what else stands there do not
// matter. Knows nothing of hosts or files: the import and programs that check a file before it both
// read by it, and so agree.
#pragma once

/// What a line does, in the order in which it is tested: the first hit decides.
enum class TrackingLineKind {
    kSourceWidth,
    kSourceHeight,
    kCorner,  ///< a corner's samples begin
    kSample,  ///< three numbers; it counts while a corner is open
    kOther,
};

struct TrackingLine {
    TrackingLineKind kind = TrackingLineKind::kOther;
    bool hasSize = false;  ///< a size line with an integer
    int size = 0;          ///< pixels; beyond 32 bits the nearest
    /// 0 upper left, 1 lower left, 2 upper right, 3 lower right.
    int corner = 0;
    float frame = 0, x = 0, y = 0;  ///< of a sample; x and y in pixels of the source
};

/// `line` ends with a zero byte. Numbers have a decimal point under every locale.
TrackingLine readTrackingLine(char const* line);
