// A result as pixels in memory: the values that its file would hold.
#pragma once

#include <filesystem>

#include "hostkit/world.h"
#include "zelk/pictures/buffer.h"
#include "zelk/pictures/writer.h"

namespace zelk {

struct StoredForm {
    bool isAssociated =
        false;            ///< colour times alpha, as OpenEXR keeps it, or straight, as PNG does
    bool isGrey = false;  ///< one channel, the red, for the three colours
};

/// The pixels in the request's depth, half or channels, the same bits as a file that keeps its
/// alpha in this form. Without alpha colour is over black.
PictureBuffer storedPicture(World const& world, WriteRequest const& request,
                            StoredForm const& form);

/// The values that writePicture puts into a file of that name, before a format that loses some
/// packs them. Throws where the name is of no format.
PictureBuffer storedPicture(World const& world, WriteRequest const& request,
                            std::filesystem::path const& target);

}  // namespace zelk
