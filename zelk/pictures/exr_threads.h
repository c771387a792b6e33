// OpenEXR packs and unpacks on threads of its own, which don't come along into a process that is
// forked: there it would wait for them for ever.
#pragma once

#include <filesystem>
#include <string_view>

namespace zelk {

/// To be called for each file once it is opened, with its format's name. Throws a render error for
/// OpenEXR in a process that was forked from one that had opened OpenEXR before. Such a process
/// ends without what was to be done at the end (std::atexit) before the first OpenEXR was opened.
void requireExrThreads(std::string_view format, std::filesystem::path const& file);

}  // namespace zelk
