// Hidden files that runs left behind which were killed or lost their machine.
#pragma once

#include <filesystem>

#include "zelk/files/process_tag.h"

namespace zelk {

/// Whether the process that made a file is dead. One that can't be asked counts as dead a day after
/// the file's last change.
bool isLeftOver(std::filesystem::directory_entry const& file, ProcessTag const& maker);

/// Removes from a folder what the dead left of this program's own: files that were being written
/// (hiddenName) and locks. Of other machines, whose processes can't be asked, files go a day after
/// their last change, locks as soon as another run may take them. A folder that can't be listed is
/// left alone.
void sweepLeftOvers(std::filesystem::path const& folder);

}  // namespace zelk
