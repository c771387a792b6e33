// Stored values to positions; see st_map.h.
#include "zelk/inputs/st_map.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <limits>

#include "zelk/files/quiet_libraries.h"
#include "zelk/pictures/area_reduce.h"
#include "zelk/pictures/buffer_input.h"
#include "zelk/pictures/exr_threads.h"
#include "zelk/pictures/world_rows.h"
#include "zelk/text/errors.h"

namespace zelk {

namespace {

constexpr float kNowhere = std::numeric_limits<float>::quiet_NaN();

UserError refused(InputPicture const& file, std::string const& wrong, std::string const& value,
                  std::string const& expected) {
    return {ExitCode::kInput, {file.name(), wrong, value, expected}};
}

/// The picture library's reader, with nothing multiplied or divided on the way.
std::unique_ptr<OIIO::ImageInput> openStored(InputPicture const& file) {
    if (file.buffer) return inputOf(file.buffer);
    OIIO::ImageSpec config;
    config.attribute("oiio:UnassociatedAlpha", 1);
    auto input = OIIO::ImageInput::open(file.file.string(), &config);
    if (!input) throw refused(file, "cannot be read:", OIIO::geterror(), "an OpenEXR picture");
    requireExrThreads(input->format_name(), file.file);
    return input;
}

/// Places of channels among those that are read; alpha -1 for none.
struct StChannels {
    int s = -1, t = -1, alpha = -1;
    int count = 0;  ///< from the file's first on
};

StChannels channelsOf(OIIO::ImageSpec const& spec) {
    StChannels found;
    if (spec.alpha_channel < spec.nchannels) found.alpha = spec.alpha_channel;
    found.s = spec.channelindex("R");
    found.t = spec.channelindex("G");
    for (int c = 0; c < spec.nchannels && (found.s < 0 || found.t < 0); ++c) {
        if (c == found.alpha || c == spec.z_channel || c == found.s || c == found.t) continue;
        (found.s < 0 ? found.s : found.t) = c;
    }
    found.count = std::max({found.s, found.t, found.alpha}) + 1;
    return found;
}

/// The largest distance between neighbouring values below 1, parts of the frame.
double stepOf(OIIO::TypeDesc type) {
    if (type == OIIO::TypeHalf) return 0x1p-11;
    return type == OIIO::TypeUInt16 ? 1 / 65535. : 0;
}

std::vector<std::string> checkHeader(InputPicture const& file, OIIO::ImageSpec const& spec) {
    constexpr double kWarnedStepPx = 0.125;
    StChannels const channels = channelsOf(spec);
    if (channels.t < 0)
        throw refused(file, "an ST map can't have the channels",
                      fmt::format("{}", fmt::join(spec.channelnames, ", ")),
                      "red and green at least");
    OIIO::TypeDesc const type = spec.channelformat(channels.s);
    if (type.basesize() == 1)
        throw refused(file, "an ST map can't have 8-bit samples:", type.c_str(),
                      "float, or half or 16 bits");
    double const stepPx = stepOf(type) * std::max(spec.full_width, spec.full_height);
    if (stepPx <= kWarnedStepPx) return {};
    return {fmt::format("{}: {} samples place pixels to {:.2g} pixels only; an ST map wants float",
                        file.name(), type.c_str(), stepPx)};
}

void requireSize(InputPicture const& file, PixelSize frame) {
    PictureReader const picture = file.open();
    if (picture.width() == frame.width && picture.height() == frame.height) return;
    throw refused(file, "an ST map of another size than the frame's:",
                  fmt::format("{}x{}", picture.width(), picture.height()),
                  fmt::format("{}x{}", frame.width, frame.height));
}

/// Reads a file's rows, data window by data window, into positions.
class StReader {
public:
    StReader(InputPicture const& file, StMap& map)
        : m_file(file),
          m_input(openStored(file)),
          m_spec(m_input->spec()),
          m_channels(channelsOf(m_spec)),
          m_map(map) {
        if (std::string_view(m_input->format_name()) != "openexr") return;
        m_left = m_spec.x - m_spec.full_x;
        m_top = m_spec.y - m_spec.full_y;
    }

    OIIO::ImageSpec const& spec() const { return m_spec; }

    void read() {
        int const tile = std::max(1, m_spec.tile_height);
        int const strip = (stripRowsOf(m_spec.width) + tile - 1) / tile * tile;
        std::vector<float> values(static_cast<std::size_t>(m_spec.width) *
                                  static_cast<std::size_t>(m_channels.count) *
                                  static_cast<std::size_t>(strip));
        for (int top = 0; top < m_spec.height; top += strip) {
            int const end = std::min(top + strip, m_spec.height);
            fetch(m_spec.y + top, m_spec.y + end, values.data());
            for (int y = top; y < end; ++y)
                takeRow(y + m_top, values.data() + static_cast<std::ptrdiff_t>(y - top) *
                                                       m_spec.width * m_channels.count);
        }
        if (!m_hasAlpha) return;
        for (std::size_t const pixel : m_hidden)
            m_map.positions[2 * pixel] = m_map.positions[2 * pixel + 1] = kNowhere;
    }

private:
    void fetch(int top, int end, float* values) {
        bool const isTiled = m_spec.tile_width > 0;
        bool const isRead =
            isTiled
                ? m_input->read_tiles(0, 0, m_spec.x, m_spec.x + m_spec.width, top, end, m_spec.z,
                                      m_spec.z + 1, 0, m_channels.count, OIIO::TypeFloat, values)
                : m_input->read_scanlines(0, 0, top, end, m_spec.z, 0, m_channels.count,
                                          OIIO::TypeFloat, values);
        if (isRead && !m_input->has_error()) return;
        m_input->geterror();
        throw UserError(ExitCode::kInput, m_file.name() + ": cannot be read: the file breaks off");
    }

    /// A row of the data window, at row `y` of the frame.
    void takeRow(int y, float const* values) {
        auto const [width, height] = m_map.size;
        if (y < 0 || y >= height) return;
        for (int x = std::max(m_left, 0); x < std::min(m_left + m_spec.width, width); ++x) {
            float const* const pixel = values + std::ptrdiff_t{x - m_left} * m_channels.count;
            float const s = pixel[m_channels.s], t = pixel[m_channels.t];
            if (!std::isfinite(s) || !std::isfinite(t)) continue;
            std::size_t const at = static_cast<std::size_t>(y) * static_cast<std::size_t>(width) +
                                   static_cast<std::size_t>(x);
            m_map.positions[2 * at] = static_cast<float>(static_cast<double>(s) * width);
            m_map.positions[2 * at + 1] = static_cast<float>((1 - static_cast<double>(t)) * height);
            if (m_channels.alpha < 0) continue;
            if (pixel[m_channels.alpha] == 0)
                m_hidden.push_back(at);
            else
                m_hasAlpha = true;
        }
    }

    InputPicture const& m_file;
    std::unique_ptr<OIIO::ImageInput> m_input;
    OIIO::ImageSpec m_spec;
    StChannels m_channels;
    StMap& m_map;
    int m_left = 0, m_top = 0;          ///< of the data window within the frame
    std::vector<std::size_t> m_hidden;  ///< pixels of alpha 0
    bool m_hasAlpha = false;            ///< alpha is not 0 everywhere
};

}  // namespace

std::vector<std::string> checkStMap(InputPicture const& file, PixelSize frame) {
    QuietLibraries const quiet;
    requireSize(file, frame);
    return checkHeader(file, openStored(file)->spec());
}

StMap emptyStMap(PixelSize frame) {
    return {frame, std::vector<float>(2 * static_cast<std::size_t>(frame.width) *
                                          static_cast<std::size_t>(frame.height),
                                      kNowhere)};
}

StMap readStMap(InputPicture const& file, PixelSize frame) {
    QuietLibraries const quiet;
    requireSize(file, frame);
    StMap map = emptyStMap(frame);
    StReader reader(file, map);
    checkHeader(file, reader.spec());
    reader.read();
    return map;
}

StMap reducedMap(StMap const& map, int reduce) {
    StMap result = emptyStMap({map.size.width / reduce, map.size.height / reduce});
    auto const row = 2 * static_cast<std::size_t>(map.size.width);
    std::size_t to = 0;
    for (int y = 0; y < result.size.height; ++y)
        for (int x = 0; x < result.size.width; ++x, to += 2) {
            double sumX = 0, sumY = 0;
            int count = 0;
            for (int j = 0; j < reduce; ++j) {
                float const* from =
                    map.positions.data() + static_cast<std::size_t>(y * reduce + j) * row +
                    2 * static_cast<std::size_t>(x) * static_cast<std::size_t>(reduce);
                for (int i = 0; i < reduce; ++i, from += 2) {
                    if (!std::isfinite(from[0])) continue;
                    sumX += from[0], sumY += from[1];
                    ++count;
                }
            }
            if (count == 0) continue;
            result.positions[to] = static_cast<float>(sumX / count / reduce);
            result.positions[to + 1] = static_cast<float>(sumY / count / reduce);
        }
    return result;
}

StMap reducedMap(StMap const& map, PixelSize to) {
    StMap result = emptyStMap(to);
    AreaSide const across(map.size.width, to.width), down(map.size.height, to.height);
    double const timesX = double(map.size.width) / to.width;
    double const timesY = double(map.size.height) / to.height;
    float* pixel = result.positions.data();
    for (int y = 0; y < to.height; ++y)
        for (int x = 0; x < to.width; ++x, pixel += 2) {
            AreaSide::Span const columns = across.span(x), rows = down.span(y);
            double sumX = 0, sumY = 0, area = 0;
            for (int j = 0; j < rows.count; ++j)
                for (int i = 0; i < columns.count; ++i) {
                    float const* const from = map.at(columns.first + i, rows.first + j);
                    if (!std::isfinite(from[0])) continue;
                    double const own = double(rows.weights[j]) * columns.weights[i];
                    sumX += own * from[0], sumY += own * from[1], area += own;
                }
            if (area == 0) continue;
            pixel[0] = static_cast<float>(sumX / area / timesX);
            pixel[1] = static_cast<float>(sumY / area / timesY);
        }
    return result;
}

}  // namespace zelk
