// The folders that a run's frames go to, and the hidden files there.
#pragma once

#include <filesystem>
#include <set>

#include "zelk/sequence/journal.h"

namespace zelk {

class OutputFolders {
public:
    /// The file's own folder, and the one that a link under its name leads to.
    void add(std::filesystem::path const& file);
    /// Removes what the dead left; see left_overs.h.
    void sweep() const;
    /// Where no other run writes.
    void tidy(Journal& journal) const;

private:
    std::set<std::filesystem::path> m_folders;
};

}  // namespace zelk
