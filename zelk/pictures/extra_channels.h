// What an OpenEXR file has beside the colours and alpha of its picture, on its way into another
// OpenEXR file: further channels of the first part, and further parts. Values, types and names stay
// as they are; nothing of it is in memory but a band of rows.
//
// Rows and columns are those of the file's own space, in which both files' windows lie.
#pragma once

#include <OpenImageIO/imageio.h>

#include <filesystem>
#include <memory>
#include <string>
#include <vector>

namespace zelk {

struct ExtraChannels {
    std::filesystem::path file = {};
    std::vector<int> channels = {};  ///< of the first part, by index
    std::vector<int> parts = {};     ///< by number, from 1
    bool isAny() const { return !channels.empty() || !parts.empty(); }
};

/// A file's extra channels, for one thread. Throws an input error for a file that can't be read.
class ExtraReader {
public:
    explicit ExtraReader(ExtraChannels extras);

    std::vector<int> const& parts() const { return m_extras.parts; }
    /// Of the first part.
    OIIO::ImageSpec const& spec() const { return m_spec; }
    std::vector<int> const& channels() const { return m_extras.channels; }
    /// Bytes of a pixel's extra channels, one behind the other.
    std::size_t pixelBytes() const { return m_pixelBytes; }
    /// `count` pixels from (x, y) on, each `step` bytes behind the one before; 0 where the file has
    /// none.
    void read(int x, int y, int count, unsigned char* to, std::size_t step);

    /// The header for a copy of a part beside a first part of that header, with whose windows and
    /// shared attributes it must agree: in scanlines, packed as it was unless that loses anything.
    OIIO::ImageSpec partSpec(int part, OIIO::ImageSpec const& first, bool keepMetadata);
    /// Into a writer that is open for that part; false where the writer refused.
    bool copyPart(int part, OIIO::ImageOutput& writer);

private:
    void fetchBand(int y);
    void readRows(int part, OIIO::ImageSpec const& spec, int first, int end, void* values);

    ExtraChannels m_extras;
    std::unique_ptr<OIIO::ImageInput> m_input;
    OIIO::ImageSpec m_spec;
    std::size_t m_pixelBytes = 0;
    std::vector<unsigned char> m_band;  ///< rows of all channels
    int m_bandTop = 0, m_bandEnd = 0;
};

/// Whether an OpenEXR compression changes values, so that packing them again changes them again.
bool losesValues(std::string const& compression);

}  // namespace zelk
