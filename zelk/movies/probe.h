// What the program `ffprobe` tells of a movie without decoding it.
//
// Pictures are counted as packets that are shown, in order of their times: the same number that a
// decoder gives, the last pictures of codecs that reorder included.
#pragma once

#include <filesystem>
#include <string>
#include <vector>

namespace zelk {

struct MovieFacts {
    int width = 0, height = 0, count = 0;
    std::string pixelFormat, matrix, primaries, transfer;  ///< as the program names them
    std::string rate;  ///< pictures a second, "24000/1001"; empty where unknown
    /// Of each picture, ascending, from the start of the file's clock; empty where a packet has
    /// none.
    std::vector<double> timesSec;
    /// Every picture stands for itself, at a time of its own: decoding may begin at any.
    bool isSeekable = false;
};

/// Throws an input error for what is no movie.
MovieFacts factsOfMovie(std::filesystem::path const& file);

/// The codecs of a movie's sounds, "aac", one for each of its streams; none for no movie.
std::vector<std::string> soundCodecsOf(std::filesystem::path const& file);

/// As the programs take a file: a name with a colon would be taken for a protocol.
std::string movieUrl(std::filesystem::path const& file);

}  // namespace zelk
