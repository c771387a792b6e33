// RecentFiles: projects, pictures, sequences and movies that were opened or saved last, for all
// viewers of a user.
#pragma once

#include <filesystem>
#include <vector>

namespace zelk {

class RecentFiles {
public:
    /// A file of lines in the folder; what can't be read or written is as if it were empty.
    explicit RecentFiles(std::filesystem::path const& folder);

    /// Absolute, the latest first; as they were when the file was read last.
    std::vector<std::filesystem::path> const& list() const { return m_list; }
    /// Reads the file again: other viewers write it too.
    void read();
    void add(std::filesystem::path const& file);
    void clear();

private:
    void write() const;

    std::filesystem::path m_file;
    std::vector<std::filesystem::path> m_list;
};

}  // namespace zelk
