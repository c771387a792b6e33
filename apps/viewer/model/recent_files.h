// RecentFiles: the projects that were opened or saved last, for all viewers of a user.
#pragma once

#include <filesystem>
#include <vector>

namespace zelk {

class RecentFiles {
public:
    /// A file of lines in the folder; what can't be read or written is as if it were empty.
    explicit RecentFiles(std::filesystem::path const& folder);

    /// Absolute, the latest first.
    std::vector<std::filesystem::path> list() const;
    void add(std::filesystem::path const& file);
    void clear();

private:
    void write(std::vector<std::filesystem::path> const& files) const;

    std::filesystem::path m_file;
};

}  // namespace zelk
