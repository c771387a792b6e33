// Reading and copying of what is not the picture; see extra_channels.h.
#include "zelk/pictures/extra_channels.h"

#include <algorithm>
#include <cstring>
#include <string_view>
#include <utility>

#include "zelk/text/errors.h"

namespace zelk {

namespace {

/// Attributes that the format shares between all parts of a file.
constexpr char const* kShared[] = {"PixelAspectRatio", "chromaticities", "smpte:TimeCode"};

bool isKept(std::string_view name) {
    if (name == "oiio:subimagename" || name == "oiio:ColorSpace") return true;
    return name.rfind("oiio:", 0) != 0 && name.rfind("openexr:", 0) != 0 && name != "chunkCount";
}

/// Rows that are read at a time: whole tiles, and blocks of up to 32 rows.
int bandRows(OIIO::ImageSpec const& spec) { return spec.tile_width > 0 ? spec.tile_height : 32; }

}  // namespace

bool losesValues(std::string const& compression) {
    return compression.rfind("dwa", 0) == 0 || compression.rfind("b44", 0) == 0;
}

ExtraReader::ExtraReader(ExtraChannels extras) : m_extras(std::move(extras)) {
    m_input = OIIO::ImageInput::open(m_extras.file.string());
    if (!m_input)
        throw UserError(ExitCode::kInput, m_extras.file.string() +
                                              ": cannot be read: " + shortened(OIIO::geterror()));
    m_spec = m_input->spec();
    for (int const c : m_extras.channels) m_pixelBytes += m_spec.channelformat(c).size();
}

void ExtraReader::readRows(int part, OIIO::ImageSpec const& spec, int first, int end,
                           void* values) {
    bool const isRead =
        spec.tile_width > 0
            ? m_input->read_tiles(part, 0, spec.x, spec.x + spec.width, first, end, spec.z,
                                  spec.z + 1, 0, spec.nchannels, OIIO::TypeUnknown, values)
            : m_input->read_scanlines(part, 0, first, end, spec.z, 0, spec.nchannels,
                                      OIIO::TypeUnknown, values);
    if (!isRead || m_input->has_error())
        throw UserError(ExitCode::kInput, m_extras.file.string() + ": cannot be read: " +
                                              shortened(m_input->geterror()));
}

void ExtraReader::fetchBand(int y) {
    int const rows = bandRows(m_spec);
    m_bandTop = m_spec.y + (y - m_spec.y) / rows * rows;
    m_bandEnd = std::min(m_bandTop + rows, m_spec.y + m_spec.height);
    m_band.resize(m_spec.scanline_bytes(true) * static_cast<std::size_t>(rows));
    readRows(0, m_spec, m_bandTop, m_bandEnd, m_band.data());
}

void ExtraReader::read(int x, int y, int count, unsigned char* to, std::size_t step) {
    for (int i = 0; i < count; ++i)
        std::memset(to + step * static_cast<std::size_t>(i), 0, m_pixelBytes);
    if (y < m_spec.y || y >= m_spec.y + m_spec.height) return;
    if (y < m_bandTop || y >= m_bandEnd) fetchBand(y);
    int const first = std::max(x, m_spec.x), end = std::min(x + count, m_spec.x + m_spec.width);
    std::size_t const pixel = m_spec.pixel_bytes(true);
    unsigned char const* const row =
        &m_band[m_spec.scanline_bytes(true) * static_cast<std::size_t>(y - m_bandTop)];
    for (int c : m_extras.channels) {
        std::size_t const size = m_spec.channelformat(c).size();
        std::size_t const at = m_spec.pixel_bytes(0, c, true);
        for (int i = first; i < end; ++i)
            std::memcpy(to + step * static_cast<std::size_t>(i - x),
                        row + pixel * static_cast<std::size_t>(i - m_spec.x) + at, size);
        to += size;
    }
}

OIIO::ImageSpec ExtraReader::partSpec(int part, OIIO::ImageSpec const& first, bool keepMetadata) {
    OIIO::ImageSpec spec = m_input->spec(part, 0);
    OIIO::ParamValueList const all = std::exchange(spec.extra_attribs, {});
    for (auto const& value : all) {
        std::string_view const name = value.name().string();
        bool const isNamed = name == "oiio:subimagename" || name == "compression";
        if (isNamed || (keepMetadata && isKept(name))) spec.extra_attribs.push_back(value);
    }
    for (char const* name : kShared) {
        spec.erase_attribute(name);
        if (auto const* value = first.find_attribute(name)) spec.extra_attribs.push_back(*value);
    }
    if (losesValues(spec.get_string_attribute("compression"))) spec.attribute("compression", "zip");
    // Without a date the writer puts in the clock's, and two runs would give two files.
    if (!spec.find_attribute("DateTime")) spec.attribute("DateTime", "");
    spec.tile_width = spec.tile_height = spec.tile_depth = 0;
    spec.full_x = first.full_x;
    spec.full_y = first.full_y;
    spec.full_width = first.full_width;
    spec.full_height = first.full_height;
    return spec;
}

bool ExtraReader::copyPart(int part, OIIO::ImageOutput& writer) {
    OIIO::ImageSpec const spec = m_input->spec(part, 0);
    int const rows = bandRows(spec), bottom = spec.y + spec.height;
    std::vector<unsigned char> values(spec.scanline_bytes(true) * static_cast<std::size_t>(rows));
    for (int top = spec.y; top < bottom; top += rows) {
        int const end = std::min(top + rows, bottom);
        readRows(part, spec, top, end, values.data());
        if (!writer.write_scanlines(top, end, spec.z, OIIO::TypeUnknown, values.data()))
            return false;
    }
    return true;
}

}  // namespace zelk
