// Hidden files that runs left behind which were killed or lost their machine.
#pragma once

#include <filesystem>

namespace zelk {

/// Removes from a folder what the dead left of this program's own: files that were being written
/// (hiddenName) and locks. Of other machines, whose processes can't be asked, files go a day after
/// their last change, locks as soon as another run may take them. A folder that can't be listed is
/// left alone.
void sweepLeftOvers(std::filesystem::path const& folder);

}  // namespace zelk
