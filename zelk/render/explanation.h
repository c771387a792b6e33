// What a render did, for people and for programs: road, host, passes with their matrices, filter,
// taps, scan, sizes, covered pixels, threads, and the time of each stage.
//
// A pass's matrix maps source pixels to destination pixels (outer corners at whole numbers):
//   x' = (m[0] x + m[1] y + m[2]) / (m[6] x + m[7] y + m[8]),  y' likewise with m[3], m[4], m[5].
#pragma once

#include <array>
#include <chrono>
#include <string>
#include <vector>

#include "Transform/Common/ResampleOptions.h"
#include "hostkit/parameters.h"
#include "hostkit/world.h"
#include "zelk/scene/quad_check.h"
#include "zelk/scene/scene.h"

namespace zelk {

struct PassReport {
    std::string name;                ///< "from quad to frame", "frame to To quad", ...
    bool isDrawn = true;             ///< false: the pins are unusable and nothing is drawn
    std::array<double, 9> matrix{};  ///< scaled so that m[8] is 1, where it is not 0
    bool isFlipped = false;          ///< scaled by a negative number: w is below 0 in sight
    PixelSize source, destination;
};

/// What the controls make the engine do; no pixel enters.
struct PlanReport {
    std::string quality;             ///< as the popup has it
    std::string filter;              ///< of the interior
    int taps = 0;                    ///< per axis
    std::string scan;                ///< "plain", "area" or "exact"
    std::vector<PassReport> passes;  ///< none for view Original
};

/// Reads the plan from the parameters' current values, which are pins at full resolution.
PlanReport planOf(std::vector<Parameter> const& parameters, PinFrame const& frame,
                  ResampleOptions resample);

/// Pixels of the rendered layer, before a plate comes in.
struct Covered {
    long any = 0, whole = 0;  ///< alpha above 0, and white (float: within a thousandth, as kernel
                              ///< weights sum to 1 but for their rounding)
};
Covered countCovered(World const& world);

/// Spaces by name, empty in a raw scene; `plate` also without one.
struct ColorReport {
    std::string layer, plate, work, output;
    std::vector<std::string> conversions;
};

/// Laps of one clock, in order.
class StageClock {
public:
    /// Ends the stage that runs since the last lap.
    void lap(std::string name);
    /// What has passed since the last lap is no stage's: a frame waited for its turn.
    void leaveOut() { m_since = std::chrono::steady_clock::now(); }

    struct Stage {
        std::string name;
        double milliseconds;
    };
    std::vector<Stage> const& stages() const { return m_stages; }

private:
    std::chrono::steady_clock::time_point m_since = std::chrono::steady_clock::now();
    std::vector<Stage> m_stages;
};

struct Explanation {
    Road road = Road::kModule;
    std::string host;            ///< "FXTC 13.27", on the module road
    bool isPlain = false;        ///< the module by PF_Cmd_RENDER
    PixelSize layer, frame;      ///< pixels at the render's resolution
    std::string stMap;           ///< what the frame is drawn through; empty for none
    PixelSize margin;            ///< of the frame, around the layer on each side
    PixelMargins overscan;       ///< of the plate, in the frame
    std::string matte, holdout;  ///< file and channel; empty without
    Depth renderDepth = Depth::k8;
    std::string writtenType;  ///< of the file's samples, as OpenImageIO names it
    int writtenBits = 0;      ///< in use of each
    PlanReport plan;
    Covered covered;
    ColorReport color;
    int threads = 1;  ///< of the scan
    StageClock clock;
};

/// Lines for people.
std::string asText(Explanation const& explanation);
/// The same without the times.
std::string settingsText(Explanation const& explanation);
/// One JSON object and a line end.
std::string asJson(Explanation const& explanation);
/// The same in one line, with the number of a frame of many and its file.
std::string asJsonLine(Explanation const& explanation, int frame, std::string const& file);

}  // namespace zelk
