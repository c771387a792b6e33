// A picture file as a layer: any channel count becomes straight red, green, blue, alpha in a world.
//
// Channels: the first three that are not alpha are the colours, one or two are grey, missing alpha
// is opaque. Colour that is stored times alpha is divided by it, in float, and is 0 where alpha is
// 0. Rows are read a strip at a time straight into the world; the picture is never in memory twice.
#pragma once

#include <OpenImageIO/imageio.h>

#include <filesystem>
#include <memory>

#include "hostkit/world.h"

namespace zelk {

/// What an output inherits from its layer.
struct PictureTraits {
    Depth depth = Depth::k8;  ///< 8, 16 for 10 to 16 bits, float for half and float
    bool isHalf = false;
    OIIO::ParamValueList metadata;  ///< colour profile, pixel aspect and resolution
};

class PictureReader {
public:
    /// Opens the file and reads its header. Throws an input error for a file that is not there, no
    /// picture, of no size, or of a side beyond the host's 32767 pixels.
    explicit PictureReader(std::filesystem::path const& file);

    int width() const { return m_input->spec().width; }
    int height() const { return m_input->spec().height; }
    PictureTraits const& traits() const { return m_traits; }

    /// Fills `world`, which is width / downsample by height / downsample (truncated), with the
    /// picture, box reduced, and closes the file. Throws an input error for a file that breaks off.
    void readInto(World& world, int downsample);

    /// Reads all rows and keeps none. Throws an input error for a file that breaks off.
    void readThrough();

private:
    /// Indices of the file's channels; alpha -1 when there is none.
    struct ChannelMap {
        int red, green, blue, alpha;
        int count;  ///< channels read, from the file's first on
    };

    template <class Channel, class Stored>
    void readStrips(World& world, int downsample);
    template <class Stored>
    void fetch(int firstRow, int endRow, Stored* values);
    ChannelMap mapChannels() const;
    void checkSize() const;
    int stripRows() const;

    std::filesystem::path m_file;
    std::unique_ptr<OIIO::ImageInput> m_input;
    PictureTraits m_traits;
    ChannelMap m_channels{};
    bool m_isAssociated = false;  ///< colour is stored times alpha
};

}  // namespace zelk
