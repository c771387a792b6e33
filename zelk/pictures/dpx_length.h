// How long a DPX file must be, from its header: OpenImageIO reads a file that ends before its
// pixels as noise.
#pragma once

#include <cstdint>
#include <filesystem>

namespace zelk {

/// Bytes that the file's first image element reaches at least, its padding left out; 0 for a
/// header that is not whole or not DPX, and the element's offset alone for run-length encoding.
std::uint64_t leastDpxBytes(std::filesystem::path const& file);

}  // namespace zelk
