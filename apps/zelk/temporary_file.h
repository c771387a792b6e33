// A file that takes its target's place only when it is complete, and is gone otherwise, even when a
// picture library ends the process by itself or the user interrupts it.
#pragma once

#include <filesystem>

namespace zelk {

/// An empty, new file beside `target` with the same extension, so that a writer finds the format.
/// It goes away with the object unless it was put in place. One lives at a time.
class TemporaryFile {
public:
    /// Throws an output error when the folder refuses it.
    explicit TemporaryFile(std::filesystem::path const& target);
    ~TemporaryFile();
    TemporaryFile(TemporaryFile const&) = delete;
    TemporaryFile& operator=(TemporaryFile const&) = delete;

    std::filesystem::path const& path() const { return m_path; }

    /// Flushes the file to its device and renames it to the target, whose permissions it takes
    /// over. False when something is there already and must stay, however lately it came; the file
    /// then goes with the object. Throws an output error.
    bool putInPlace(bool mayReplace = true);

private:
    std::filesystem::path m_target;
    std::filesystem::path m_path;
};

}  // namespace zelk
