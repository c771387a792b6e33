// A picture file as rows of red, green, blue, alpha: any channel count, any of OpenImageIO's
// formats.
//
// Space: the picture is an OpenEXR file's display window; what the data window leaves of it is
// transparent, what lies outside it (overscan) is dropped with a warning, or enlarges the picture.
// Of other formats it is all that is stored. The picture is upright: what the file says of its
// orientation is applied. Channels: the first three that are not alpha are the colours, one or two
// are grey, missing alpha is opaque; a dropped channel is named in one warning. Colour comes
// straight or associated (times alpha) as asked; it is divided or multiplied in float, and
// associated colour passes as stored where alpha is 0. Rows are read a strip at a time, so that the
// picture is not in memory twice; one whose rows can't be read in order is, see turningBytes.
#pragma once

#include <OpenImageIO/imageio.h>

#include <filesystem>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "hostkit/world.h"
#include "zelk/pictures/channel_plane.h"
#include "zelk/pictures/extra_channels.h"
#include "zelk/pictures/orientation.h"

namespace zelk {

/// How a file is read.
struct ReadOptions {
    bool keepsOrientation = false;  ///< the picture lies as it is stored
    bool keepsOverscan = false;     ///< the picture is display and data window, united
    bool passesExtras = false;      ///< what is not colour or alpha goes to the output: no warning
};

/// What an output inherits from a file.
struct PictureTraits {
    Depth depth = Depth::k8;  ///< 8, 16 for 9 to 16 bits, float for half, float and 32 bits
    bool isHalf = false;
    bool hasAlpha = false;
    bool isAssociated = false;      ///< colour is stored times alpha
    int bits = 0;                   ///< of a sample, where the file gives them
    int originX = 0, originY = 0;   ///< of the display window, pixels
    std::string format;             ///< OpenImageIO's name of it
    std::string compression;        ///< as the format calls it; empty for none
    float compressionLevel = 0;     ///< of OpenEXR's lossy ones; 0 for none
    ExtraChannels extras;           ///< with passesExtras, what an OpenEXR file has
    OIIO::ParamValueList metadata;  ///< all that is not about how the file stores its pixels
};

class PictureReader {
public:
    /// Opens the file and reads its header. Throws an input error for a file that is not there, no
    /// picture, of no size, or of a side beyond the host's 32767 pixels.
    /// `number` is that of a picture in a file of many, from 0; below 0 stands for the first one.
    /// `input`, if any, is what reads the file, open: a movie's decoder.
    explicit PictureReader(std::filesystem::path const& file, int number = -1,
                           std::unique_ptr<OIIO::ImageInput> input = nullptr,
                           ReadOptions const& how = {});
    /// How many pictures a file says that it holds.
    static int countOf(std::filesystem::path const& file);

    /// Of the upright picture.
    int width() const { return m_size.width; }
    int height() const { return m_size.height; }
    PixelSize size() const { return m_size; }
    /// What the data window has beyond the display window; part of the picture with keepsOverscan.
    PixelMargins const& overscan() const { return m_overscan; }
    /// Of the display window.
    PixelSize displaySize() const;
    /// Bytes that reading takes beside its target, in channels of that size: the picture's, where
    /// its rows can't be read in their order.
    std::uint64_t turningBytes(int channelBytes) const;

    /// From now on every colour is the one channel that readChannel (channel_plane.h) calls so, or
    /// the stored red, green and blue for a luminance, and alpha is white.
    void selectChannel(std::string const& name);
    /// Alpha is multiplied by a plane of the picture's size from now on.
    void setMatte(std::shared_ptr<ChannelPlane const> matte) { m_matte = std::move(matte); }
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
    /// Indices among the channels that are read; alpha -1 when there is none.
    struct ChannelMap {
        int red, green, blue, alpha;
        int count;      ///< channels read
        int first = 0;  ///< of the file, that is read
    };

    struct Window {
        int left, top, width, height;
    };

    template <class Channel, class Sink>
    void readRows(AlphaForm form, Sink const& sink);
    template <class Channel, class Sink>
    void readUpright(AlphaForm form, Sink const& sink);
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
    void takeWindows();
    void selectPart(int part);
    void noteWarnings();
    void noteExtras();
    std::vector<int> otherChannels() const;
    int stripRows() const;

    std::filesystem::path m_file;
    ReadOptions m_how;
    std::unique_ptr<OIIO::ImageInput> m_input;
    Orientation m_turn;                 ///< from the stored picture to the upright one
    PixelSize m_size;                   ///< of the upright picture
    PixelMargins m_overscan;            ///< of the upright picture
    int m_width = 0, m_height = 0;      ///< of the picture as it is stored
    int m_dataLeft = 0, m_dataTop = 0;  ///< of the data window within it
    PictureTraits m_traits;
    std::vector<std::string> m_warnings;
    ChannelMap m_channels{};
    bool m_isAssociated = false;          ///< colour is stored times alpha
    std::vector<std::uint16_t> m_halves;  ///< a strip on its way to float
    int m_number = -1;                    ///< of the picture, below 0 for the file's first one
    std::shared_ptr<ChannelPlane const> m_matte;
};

/// The whole picture in straight colour at its own depth. Throws as readInto.
World readStraightWorld(PictureReader& picture);

}  // namespace zelk
