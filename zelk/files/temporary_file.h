// A file that takes its target's place only when it is complete, and is gone otherwise, even when a
// picture library ends the process by itself or the user interrupts it.
#pragma once

#include <sys/types.h>

#include <filesystem>
#include <optional>

#include "zelk/files/unfinished_files.h"

namespace zelk {

/// An empty, new file beside `target` with the same extension, so that a writer finds the format.
/// Its name tells who made it (process_tag.h): a later run removes what a killed one left. It goes
/// away with the object unless it was put in place.
class TemporaryFile {
public:
    /// Throws an output error when the folder refuses it.
    explicit TemporaryFile(std::filesystem::path const& target);
    ~TemporaryFile();
    TemporaryFile(TemporaryFile const&) = delete;
    TemporaryFile& operator=(TemporaryFile const&) = delete;

    std::filesystem::path const& path() const { return m_path; }

    /// A child process that writes the file; 0 for none any more.
    void writtenBy(pid_t program) {
        if (m_unfinished) m_unfinished->writtenBy(program);
    }

    /// Flushes the file to its device and renames it to the target, whose permissions it takes
    /// over. False when something is there already and must stay, however lately it came; the file
    /// then goes with the object. Throws an output error.
    bool putInPlace(bool mayReplace = true);

private:
    int create();

    std::filesystem::path m_target;
    int m_folder;  ///< open: the file in it is found again wherever the folder is moved to
    std::filesystem::path m_path;  ///< empty when it is in place
    std::optional<UnfinishedFile> m_unfinished;
};

}  // namespace zelk
