// Codecs that movies are written in, which containers hold them, and what their quality means.
//
//   container  first of these by itself
//   .mov       prores4444 prores422 dnxhr h264 h265 png
//   .mp4       h264 h265
//   .mkv       ffv1 h264 h265 prores4444 prores422 dnxhr png
#pragma once

#include <filesystem>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace zelk {

/// One of a codec's kinds, from the smallest files to the largest.
struct CodecKind {
    char const* profile;
    char const* pixels;  ///< as the program `ffmpeg` names them
};

struct MovieCodec {
    std::string_view name;
    std::string_view coder;  ///< of the program
    bool keepsAlpha;
    bool isRgb;                    ///< stored as it is; all others become luma and chroma
    std::vector<CodecKind> kinds;  ///< whose number is the quality; one where there is no choice
    double mostFactor;             ///< quality is a rate factor up to this; 0 for none
    double usual;                  ///< quality, where it has any
    std::vector<std::string> further;  ///< arguments
    int leastWidth = 1, leastHeight = 1;

    bool isLossy() const { return mostFactor > 0 || kinds.size() > 1; }
    double mostQuality() const { return mostFactor > 0 ? mostFactor : double(kinds.size() - 1); }
    bool takes(double quality) const;
    /// "a whole number from 0 (proxy) to 3 (hq)"
    std::string qualityExpected() const;
};

struct MovieContainer {
    std::string_view extension;
    std::vector<std::string_view> codecs;       ///< the first one by itself
    std::vector<std::string_view> soundCodecs;  ///< of sounds that it takes as they are
    std::vector<std::string> soundCoder;        ///< arguments for all other sounds
};

/// Of any codec.
inline constexpr double kMostCodecQuality = 51;

/// Null for a name without a movie's extension.
MovieContainer const* containerOf(std::filesystem::path const& file);
/// All names, in order.
std::span<MovieCodec const> movieCodecs();
/// Null for no such name.
MovieCodec const* codecNamed(std::string_view name);
/// The one that `file`, a movie, is written in: `name`, else the container's own.
MovieCodec const& codecOf(std::filesystem::path const& file,
                          std::optional<std::string> const& name);

}  // namespace zelk
