// What the program `zelk-viewer` is called with.
#pragma once

#include <filesystem>
#include <span>
#include <string>
#include <vector>

namespace zelk {

struct ViewerArguments {
    std::vector<std::filesystem::path> files;
    std::filesystem::path handedOver;  ///< a scene from another process (hand_over.h); empty: none
    std::string print;                 ///< what is printed instead of a window; empty: a window
};

/// Throws a usage error.
ViewerArguments viewerArguments(std::span<char const* const> words);

/// $ZELK_MODULE, and $ZELK_THREADS on the process. Throws a usage error.
std::filesystem::path moduleOfEnvironment();
void useThreadsOfEnvironment();

}  // namespace zelk
