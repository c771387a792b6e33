// How a run over a scene's frames goes: what it replaces, prints and holds. No pixel depends on it.
// renderFrames alone heeds all but isStrict, inFlight and isForEdit. Messages call a field as an
// edit of its name would be: "in-flight", or "--in-flight" on a command line.
#pragma once

#include <atomic>
#include <filesystem>
#include <functional>
#include <string_view>

#include "zelk/render/render_options.h"

namespace zelk {

/// kAuto is the bar on a terminal and plain lines elsewhere.
/// kQuiet is kNone without warnings.
enum class ProgressMode { kAuto, kBar, kPlain, kJson, kNone, kQuiet };

/// Whether and how a render says what it did.
enum class Explain { kNo, kText, kJson };

/// Which frames are left out: none, those whose files are whole, or those that have a file.
enum class SkipExisting { kNo, kWhole, kByName };

struct RunOptions : RenderOptions {
    SkipExisting skipExisting = SkipExisting::kNo;
    bool isShared = false;  ///< other runs render frames of the same files at the same time
    bool isStrict = false;  ///< a warning is a failure
    bool dryRun = false;    ///< only print what would be read and written
    int inFlight = 3;       ///< frames held at a time
    /// Values are edited and nothing is rendered: a colour configuration may be unreadable, and a
    /// track another than it is taken for (requireMeant), unless its scene is settled.
    bool isForEdit = false;
    ProgressMode progress = ProgressMode::kAuto;
    std::filesystem::path log = {};  ///< a file that events are added to; empty for none
    Explain explain = Explain::kNo;
    /// Where progress goes instead of to standard error; nothing else of the run goes there then.
    std::function<void(std::string_view)> progressTo = {};
    /// Set by anyone to end the run as an interruption does; null: the process's signals do.
    std::atomic<bool> const* stop = nullptr;
};

}  // namespace zelk
