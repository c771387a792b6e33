// A picture file as rows of red, green, blue, alpha: any channel count, any of OpenImageIO's
// formats.
//
// Space: the picture is an OpenEXR file's display window; what the data window leaves of it is
// transparent, what lies outside it (overscan) is dropped with a warning. Of other formats it is
// all that is stored. Channels: the first three that are not alpha are the colours, one or two are
// grey, missing alpha is opaque; a dropped channel is named in one warning. Colour comes straight
// or associated (times alpha) as asked; it is divided or multiplied in float, and associated colour
// passes as stored where alpha is 0. Rows are read a strip at a time; the picture is never in
// memory twice.
#pragma once

#include <OpenImageIO/imageio.h>

#include <filesystem>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "hostkit/world.h"

namespace zelk {

/// How colour stands to alpha in memory.
enum class AlphaForm { kStraight, kAssociated };

/// What an output inherits from a file.
struct PictureTraits {
    Depth depth = Depth::k8;  ///< 8, 16 for 9 to 16 bits, float for half, float and 32 bits
    bool isHalf = false;
    bool hasAlpha = false;
    bool isAssociated = false;      ///< colour is stored times alpha
    int bits = 0;                   ///< of a sample, where the file gives them
    std::string format;             ///< as OpenImageIO names it
    int originX = 0, originY = 0;   ///< of the display window, pixels
    OIIO::ParamValueList metadata;  ///< all that is not about how the file stores its pixels
};

class PictureReader {
public:
    /// Opens the file and reads its header. Throws an input error for a file that is not there, no
    /// picture, of no size, or of a side beyond the host's 32767 pixels.
    /// `number` is that of a picture in a file of many, from 0; below 0 stands for the first one.
    /// `input`, if any, is what reads the file, open: a movie's decoder.
    explicit PictureReader(std::filesystem::path const& file, int number = -1,
                           std::unique_ptr<OIIO::ImageInput> input = nullptr);
    /// How many pictures a file says that it holds.
    static int countOf(std::filesystem::path const& file);

    /// Of the display window.
    int width() const { return m_width; }
    int height() const { return m_height; }
    PictureTraits const& traits() const { return m_traits; }
    /// What of the file can't be used, a sentence each.
    std::vector<std::string> const& warnings() const { return m_warnings; }

    /// Fills `world`, which is width / downsample by height / downsample (truncated), with the
    /// picture, box reduced, in straight colour. Throws an input error for a file that breaks off.
    void readInto(World& world, int downsample);

    /// Calls row(y, rgba) for each row from the top, in associated float. Throws as readInto.
    using FloatRow = std::function<void(int y, float const* rgba)>;
    void readAssociated(FloatRow const& row);

private:
    /// Indices of the file's channels; alpha -1 when there is none.
    struct ChannelMap {
        int red, green, blue, alpha;
        int count;  ///< channels read, from the file's first on
    };

    struct Window {
        int left, top, width, height;
    };

    template <class Channel, class Sink>
    void readRows(AlphaForm form, Sink const& sink);
    template <class Channel, class Stored, class Sink>
    void readStrips(AlphaForm form, Sink const& sink);
    template <class Channel, class Stored>
    void convert(Stored const* from, AlphaForm form, Channel* rgba) const;
    template <class Channel, class Stored>
    void convertRow(Stored const* from, int count, AlphaForm form, Channel* rgba) const;
    bool read(int firstRow, int endRow, OIIO::TypeDesc type, void* values);
    template <class Stored>
    void fetch(int firstRow, int endRow, Stored* values);
    ChannelMap mapChannels() const;
    OIIO::TypeDesc sampleType() const;
    bool holdsMorePictures();
    Window displayWindow() const;
    void checkSize() const;
    void noteWarnings();
    int stripRows() const;

    std::filesystem::path m_file;
    std::unique_ptr<OIIO::ImageInput> m_input;
    int m_width = 0, m_height = 0;
    int m_dataLeft = 0, m_dataTop = 0;  ///< of the data window within the display window
    PictureTraits m_traits;
    std::vector<std::string> m_warnings;
    ChannelMap m_channels{};
    bool m_isAssociated = false;          ///< colour is stored times alpha
    std::vector<std::uint16_t> m_halves;  ///< a strip on its way to float
    int m_number = -1;                    ///< of the picture, below 0 for the file's first one
};

/// The whole picture in straight colour at its own depth. Throws as readInto.
World readStraightWorld(PictureReader& picture);

}  // namespace zelk
