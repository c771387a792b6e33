// Whether a picture file that was just written is all there. Its writer's word is not enough: many
// lose without a sound what their last buffer held when the disk is full or the file's size
// limited.
//
// Three looks, as none sees everything: the disk takes two blocks more, which a full one doesn't;
// the file ends as its format does; and it is read back: by the format's own reader, PNG a strip a
// thread (png_data).
#pragma once

#include <filesystem>
#include <optional>
#include <string>
#include <string_view>

#include "zelk/pictures/pixel_size.h"

namespace zelk {

/// A file as it was handed to its writer; sizes in pixels.
struct WrittenShape {
    std::string_view format;  ///< OpenImageIO's name of it
    int width = 0, height = 0, channels = 0;
    int parts = 1;  ///< the first one has those sizes
};

/// What is wrong with `file`; empty when it is whole. A reader may find more channels than were
/// written (some formats always have alpha), never fewer.
std::string faultOfWritten(std::filesystem::path const& file, WrittenShape const& shape);
/// The display window of a picture file that is whole as far as these looks tell, whoever wrote it;
/// nothing for all others. The disk is left alone.
std::optional<PixelSize> wholePictureSize(std::filesystem::path const& file);

}  // namespace zelk
