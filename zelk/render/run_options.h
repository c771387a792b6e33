// How a run over a scene's frames goes: what it replaces, prints and holds. No pixel depends on it.
// renderFrames alone heeds skipExisting, dryRun, progress and explain. Messages call a field as an
// edit of its name would be: "in-flight", or "--in-flight" on a command line.
#pragma once

#include "zelk/render/frame_renderer.h"

namespace zelk {

/// kAuto is the bar on a terminal and plain lines elsewhere.
enum class ProgressMode { kAuto, kBar, kPlain, kJson, kNone };

/// Whether and how a render says what it did.
enum class Explain { kNo, kText, kJson };

struct RunOptions : RenderOptions {
    bool skipExisting = false;  ///< a frame whose file is there is left out
    bool dryRun = false;        ///< only print what would be read and written
    int inFlight = 3;           ///< frames held at a time
    ProgressMode progress = ProgressMode::kAuto;
    Explain explain = Explain::kNo;
};

}  // namespace zelk
