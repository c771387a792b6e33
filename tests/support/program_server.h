// Runs of the command line without a start of the program: most of a small run is loading its
// libraries. A server is forked before the tests, with all of them loaded and no thread, and each
// run is a fork of it.
#pragma once

#include <sys/resource.h>

#include <filesystem>
#include <optional>
#include <string>
#include <vector>

namespace zelk_test {

struct ServedRun {
    int status = 0;  ///< as wait4 gives it
    rusage usage{};
};

/// With this process's environment as it is now, in that folder, its streams in `_stdout` and
/// `_stderr` there. None where there is no server or it is at work for another thread.
std::optional<ServedRun> servedRun(std::filesystem::path const& folder,
                                   std::vector<std::string> const& arguments);

/// Works in the folder from here on and writes to `_stdout` and `_stderr` in it.
bool moveInto(std::filesystem::path const& folder);

}  // namespace zelk_test
