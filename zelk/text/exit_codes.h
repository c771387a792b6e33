// What `zelk` answers to the shell. The help texts print the same list.
#pragma once

namespace zelk {

enum class ExitCode {
    kDone = 0,
    kRenderFailed = 1,
    kUsage = 2,
    kInput = 3,          ///< a file to read, or the module, is missing or unreadable
    kOutput = 4,         ///< the output is not writable
    kSomeFailed = 5,     ///< of many frames: others are written
    kInterrupted = 130,  ///< by Ctrl-C
};

inline constexpr char const* kExitCodesHelp =
    "Exit codes:\n"
    "  0  done\n"
    "  1  the render failed\n"
    "  2  usage: an option or a value is wrong\n"
    "  3  the layer, plate, project, tracking data or module is missing or unreadable\n"
    "  4  the output is not writable\n"
    "  5  some frames failed, others are written\n"
    "  130  interrupted; what is written is whole";

}  // namespace zelk
