// What the logs of a job's tasks say (docs/progress.schema.json has their events).
#pragma once

#include <cstdint>
#include <filesystem>
#include <map>
#include <optional>
#include <string>

#include "zelk/files/file_sum.h"

namespace zelk {

/// A frame's file, or the movie, as it was written.
struct WrittenFile {
    std::filesystem::path file;
    std::uint64_t bytes = 0;
    std::optional<std::uint32_t> crc32;  ///< nothing where nobody read it back
};

/// All runs that one log has.
struct TaskLog {
    std::map<int, WrittenFile> written;
    std::map<int, std::string> failed;  ///< frames that were not written later, and why
    std::string failure;                ///< what ended the last run, where that was a failure
    bool hasEnded = false;              ///< the last run came to its end, whatever that was
    std::optional<WrittenFile> movie;   ///< of the last run, where it is whole
    double seconds = 0;                 ///< that runs took for the frames they wrote
    std::size_t timed = 0;              ///< these frames
    std::uint64_t peakBytes = 0;
};

/// Of a log that is not there, an empty one. Lines that can't be read, as the last of a killed run,
/// are passed over.
TaskLog readTaskLog(std::filesystem::path const& file);

}  // namespace zelk
