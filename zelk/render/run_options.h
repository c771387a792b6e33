// How a run over a scene's frames goes: what it replaces, tells and holds. No pixel depends on it.
// renderFrames alone heeds skipExisting, dryRun, progress and explain.
#pragma once

#include <string>

namespace zelk {

/// kAuto is the bar on a terminal and plain lines elsewhere.
enum class ProgressMode { kAuto, kBar, kPlain, kJson, kNone };

/// Whether and how a render tells what it did.
enum class Explain { kNo, kText, kJson };

struct RunOptions {
    bool noClobber = false;     ///< an output that is there is an error
    bool skipExisting = false;  ///< a frame whose file is there is left out
    bool inPlace = false;       ///< the output may be the layer's or plate's own file
    bool dryRun = false;        ///< only tell what would be read and written
    bool keepMetadata = true;   ///< of the inputs, in the output
    std::string history;        ///< the command line as typed, for the output's metadata
    int inFlight = 3;           ///< frames held at a time
    int pngLevel = 1;           ///< compression of PNG, 0 to 9
    int threads = 0;            ///< 0 for the runtime's own number
    ProgressMode progress = ProgressMode::kAuto;
    Explain explain = Explain::kNo;
};

}  // namespace zelk
