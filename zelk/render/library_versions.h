// The libraries and programs that this one works with, for whoever reports a fault.
#pragma once

#include <string>
#include <vector>

namespace zelk {

struct NamedVersion {
    std::string name, version;
};

/// As loaded, or as compiled in for libraries that are headers or don't tell.
std::vector<NamedVersion> libraryVersions();

/// The first line of `ffmpeg -version` without what follows its number; empty where there is none.
std::string ffmpegVersion();

/// The vector instructions that renders use on this processor, "AVX2".
std::string instructionSet();

}  // namespace zelk
