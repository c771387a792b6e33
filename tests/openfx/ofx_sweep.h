// What the plug-in does when its host fails it: every suite refused in turn, every call of a stage
// failing in turn. A run is right when nothing crashes, leaks or breaks a rule, and each frame is
// right or its action failed.
#pragma once

#include <string>
#include <vector>

#include "tests/openfx/ofx_host.h"

namespace zelk_ofx {

/// One row of the table; runs, but for `calls`.
struct SweepRow {
    std::string what;  ///< "render, call n answers Memory"
    long calls = 0;    ///< of suite functions in the stage, without a fault
    long runs = 0;
    long refused = 0;      ///< the plug-in's action failed
    long leaks = 0;        ///< something was not given back
    long wrongFrames = 0;  ///< the action said OK and the frame was not the right one
    long broken = 0;       ///< a rule of the interface
    std::string first{};   ///< the first run that was not right, in words
};

/// What the sweeps work on: a plug-in's binary, and a tracking file for its import.
struct SweepPlace {
    std::string binary, trackFile;
};
std::vector<SweepRow> sweepSuites(SweepPlace const& place);
/// Every call n of each stage; a row for each of Failed, Memory and BadHandle, or the three by
/// turns.
std::vector<SweepRow> sweepCalls(SweepPlace const& place, bool byTurns = false);

/// The four pins of an instance: canonical x, y of upper left, upper right, lower left, lower
/// right.
void setPins(Instance& instance, std::array<double, 8> const& pins);

}  // namespace zelk_ofx
