// See output_folders.h.
#include "zelk/sequence/output_folders.h"

#include "zelk/files/left_overs.h"
#include "zelk/files/output_place.h"

namespace zelk {

void OutputFolders::add(std::filesystem::path const& file) {
    m_folders.insert(file.parent_path());
    m_folders.insert(behindLinks(file).parent_path());
}

void OutputFolders::sweep() const {
    for (auto const& folder : m_folders) sweepLeftOvers(folder);
}

void OutputFolders::tidy(Journal& journal) const {
    for (auto const& folder : m_folders) journal.tidy(folder);
}

}  // namespace zelk
