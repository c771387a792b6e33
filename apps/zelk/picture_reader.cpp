// Reading of layers by OpenImageIO; see picture_reader.h.
//
// Integer files with straight colour are read as stored and converted here, exactly; all others
// are read as float.
#include "apps/zelk/picture_reader.h"

#include <algorithm>
#include <vector>

#include "apps/zelk/box_reduce.h"
#include "apps/zelk/channel_values.h"
#include "apps/zelk/corners.h"
#include "apps/zelk/errors.h"
#include "apps/zelk/quiet_libraries.h"
#include "apps/zelk/world_rows.h"

namespace zelk {

namespace {

UserError unreadable(std::filesystem::path const& file, std::string const& reason) {
    std::string const why = reason.empty() ? "unknown format" : shortened(reason);
    return {ExitCode::kInput, {file.string(), "cannot be read:", why, "a whole picture file"}};
}

void checkFile(std::filesystem::path const& file) {
    std::error_code fault;
    auto const status = std::filesystem::status(file, fault);
    char const* wrong = nullptr;
    if (!std::filesystem::exists(status)) wrong = "no such file";
    if (std::filesystem::is_directory(status)) wrong = "a directory is no picture:";
    if (wrong)
        throw UserError(ExitCode::kInput, {file.string(), wrong, file.string(), "a picture"});
}

std::unique_ptr<OIIO::ImageInput> openPicture(std::filesystem::path const& file) {
    checkFile(file);
    OIIO::ImageSpec config;
    config.attribute("oiio:UnassociatedAlpha", 1);  // straight colour as it is stored
    auto input = OIIO::ImageInput::open(file.string(), &config);
    if (!input) throw unreadable(file, OIIO::geterror());
    return input;
}

PictureTraits traitsOf(OIIO::ImageSpec const& spec) {
    PictureTraits traits;
    auto const base = spec.format.basetype;
    traits.isHalf = base == OIIO::TypeDesc::HALF;
    traits.depth = spec.format.basesize() == 1                     ? Depth::k8
                   : spec.format.basesize() == 2 && !traits.isHalf ? Depth::k16
                                                                   : Depth::kFloat;
    for (char const* name : {"ICCProfile", "oiio:ColorSpace", "PixelAspectRatio", "XResolution",
                             "YResolution", "ResolutionUnit"}) {
        if (auto const* value = spec.find_attribute(name)) traits.metadata.push_back(*value);
    }
    return traits;
}

}  // namespace

PictureReader::PictureReader(std::filesystem::path const& file) : m_file(file) {
    QuietLibraries const quiet;
    m_input = openPicture(file);
    checkSize();
    OIIO::ImageSpec const& spec = m_input->spec();
    m_traits = traitsOf(spec);
    m_channels = mapChannels();
    m_isAssociated = m_channels.alpha >= 0 && spec.get_int_attribute("oiio:UnassociatedAlpha") == 0;
}

void PictureReader::checkSize() const {
    OIIO::ImageSpec const& spec = m_input->spec();
    std::string const size = std::to_string(spec.width) + "x" + std::to_string(spec.height);
    if (spec.deep || spec.depth > 1) {
        throw UserError(ExitCode::kInput,
                        {m_file.string(), "deep or volume picture of", size, "a flat picture"});
    }
    bool const isEmpty = spec.width < 1 || spec.height < 1 || spec.nchannels < 1;
    if (isEmpty || spec.width > kLargestPx || spec.height > kLargestPx) {
        throw UserError(ExitCode::kInput,
                        {m_file.string(), isEmpty ? "picture of no size" : "picture too large:",
                         size, "sides from 1 to 32767 pixels"});
    }
}

PictureReader::ChannelMap PictureReader::mapChannels() const {
    OIIO::ImageSpec const& spec = m_input->spec();
    std::vector<int> colors;
    for (int c = 0; c < spec.nchannels; ++c) {
        if (c != spec.alpha_channel && c != spec.z_channel) colors.push_back(c);
    }
    if (colors.empty()) colors.push_back(0);
    if (colors.size() < 3) colors.assign(3, colors[0]);
    int const last = std::max({colors[0], colors[1], colors[2], spec.alpha_channel});
    return {colors[0], colors[1], colors[2], spec.alpha_channel, last + 1};
}

/// About 4 MB of float pixels, in whole compression blocks of up to 16 rows and whole tiles.
int PictureReader::stripRows() const {
    int const rows = std::clamp((1 << 18) / width(), 16, 256) / 16 * 16;
    int const tile = std::max(1, m_input->spec().tile_height);
    return (rows + tile - 1) / tile * tile;
}

template <class Stored>
void PictureReader::fetch(int firstRow, int endRow, Stored* values) {
    OIIO::ImageSpec const& spec = m_input->spec();
    OIIO::TypeDesc const type = OIIO::BaseTypeFromC<Stored>::value;
    int const top = spec.y + firstRow, bottom = spec.y + endRow;
    bool const isRead =
        spec.tile_width > 0
            ? m_input->read_tiles(0, 0, spec.x, spec.x + spec.width, top, bottom, spec.z,
                                  spec.z + 1, 0, m_channels.count, type, values)
            : m_input->read_scanlines(0, 0, top, bottom, spec.z, 0, m_channels.count, type, values);
    if (!isRead || m_input->has_error()) throw unreadable(m_file, m_input->geterror());
}

template <class Channel, class Stored>
void PictureReader::readStrips(World& world, int downsample) {
    ChannelMap const map = m_channels;
    bool const isAssociated = m_isAssociated;
    auto const convert = [=](Stored const* from, Channel* rgba) {
        int const colors[3] = {map.red, map.green, map.blue};
        for (int c = 0; c < 3; ++c) {
            if constexpr (std::is_same_v<Stored, float>) {
                float const alpha = isAssociated ? from[map.alpha] : 1.0f;
                rgba[c] = fromFile<Channel>(alpha == 0 ? 0.0f : from[colors[c]] / alpha);
            } else {
                rgba[c] = fromFile<Channel>(from[colors[c]]);
            }
        }
        rgba[3] = map.alpha < 0 ? kWhite<Channel> : fromFile<Channel>(from[map.alpha]);
    };

    int const strip = std::min(stripRows(), height());
    auto const pixels = static_cast<std::size_t>(width());
    auto const rowValues = pixels * static_cast<std::size_t>(map.count);
    std::vector<Stored> stored(rowValues * static_cast<std::size_t>(strip));
    std::vector<Channel> full(pixels * 4);
    std::vector<Channel> reduced(static_cast<std::size_t>(world.width()) * 4);
    BoxReducer<Channel> reducer(width(), downsample);
    for (int top = 0, reducedRow = 0; top < height(); top += strip) {
        int const rows = std::min(strip, height() - top);
        fetch(top, top + rows, stored.data());
        Stored const* from = stored.data();
        for (int y = 0; y < rows; ++y) {
            for (std::size_t x = 0; x < pixels; ++x, from += map.count) convert(from, &full[x * 4]);
            if (downsample == 1) {
                putRow(world, top + y, full.data());
            } else if (reducedRow < world.height() && reducer.add(full.data(), reduced.data())) {
                putRow(world, reducedRow++, reduced.data());
            }
        }
    }
}

void PictureReader::readThrough() {
    int const strip = std::min(stripRows(), height());
    std::vector<float> values(static_cast<std::size_t>(width()) *
                              static_cast<std::size_t>(m_channels.count) *
                              static_cast<std::size_t>(strip));
    for (int top = 0; top < height(); top += strip) {
        fetch(top, std::min(top + strip, height()), values.data());
    }
}

void PictureReader::readInto(World& world, int downsample) {
    QuietLibraries const quiet;
    withChannelOf(world.depth(), [&](auto channel) {
        using Channel = decltype(channel);
        auto const type = m_input->spec().format;
        if (!m_isAssociated && type == OIIO::TypeUInt8) {
            readStrips<Channel, std::uint8_t>(world, downsample);
        } else if (!m_isAssociated && type == OIIO::TypeUInt16) {
            readStrips<Channel, std::uint16_t>(world, downsample);
        } else {
            readStrips<Channel, float>(world, downsample);
        }
    });
    m_input->close();
}

}  // namespace zelk
