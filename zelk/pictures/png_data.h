// The image data of a PNG file in strips that know nothing of each other, so that they are packed,
// and checked, on as many threads as the picture library uses.
//
// A strip is some rows, filtered and deflated from an empty history, in an IDAT chunk of its own:
//
//   IDAT  78 01 | strip 0, flushed to a whole byte     IDAT  strip 1, flushed     ...
//   IDAT  last strip, ended | Adler-32 of all filtered bytes, combined from those of the strips
//
// To a reader that is one stream, as always. Rows: 8 bits, or 16 with the high byte first; packed.
#pragma once

#include <cstdint>
#include <filesystem>
#include <functional>
#include <ostream>
#include <string>

namespace zelk {

constexpr int kFastPngLevel = 1, kMostPngLevel = 9;

struct PngImage {
    int width = 0, height = 0;
    int pixelBytes = 0;  ///< 1 to 8
    /// Writes rows first to end - 1; called on several threads, for a row at most twice.
    std::function<void(int first, int end, std::uint8_t* rows)> rows;
};

/// Writes the chunks of the data and the file's end behind a header. Level 0 packs nothing, 1 is
/// fast, 9 the smallest; levels change no pixel. 0, or the system's error when the stream refused.
/// Throws what `rows` throws.
int writePngData(PngImage const& image, int level, std::ostream& out);

/// What is wrong with a file whose image data writePngData wrote: sizes, the chunks' checksums,
/// the packed rows, their number and checksum. Empty when all is there.
std::string faultOfPng(std::filesystem::path const& file, int width, int height);

}  // namespace zelk
