// Which files are movies to be read, for lists and filters; isMovieInput (frames.h) goes by them.
#pragma once

#include <span>
#include <string_view>

namespace zelk {

/// Extensions in lower case, each with its dot.
std::span<std::string_view const> movieInputEndings();

}  // namespace zelk
