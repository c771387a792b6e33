// The tags of movies for primaries and transfer, as the `ffmpeg` program names them.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "zelk/color/color_space.h"

namespace zelk {

bool hasMovieTags(CurveSpace const& space);

/// Adds the program's options for a file of that space to those of its codec: container, stream,
/// and ProRes' frame headers, which know fewer transfers. The matrix is BT.709's. A space without
/// tags has BT.709's primaries and an unspecified transfer.
void addMovieTags(CurveSpace const& space, std::vector<std::string>& words);

/// The space that a movie's tags name. Tags that are missing or not known mean BT.709; one that is
/// there and not known is the answer's name, for a warning.
struct TaggedSpace {
    CurveSpace space;
    std::string unknown;
};
TaggedSpace spaceOfTags(std::string_view primaries, std::string_view transfer);

}  // namespace zelk
