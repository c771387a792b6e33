// The three looks at a written file; see written_check.h.
#include "zelk/pictures/written_check.h"

#include <OpenImageIO/imageio.h>

#include <algorithm>
#include <cstring>
#include <fstream>
#include <memory>
#include <vector>

#include "zelk/files/output_place.h"
#include "zelk/files/quiet_libraries.h"
#include "zelk/pictures/dpx_length.h"
#include "zelk/pictures/png_data.h"

namespace zelk {

namespace {

namespace fs = std::filesystem;
using namespace std::string_view_literals;

/// Last bytes of formats whose readers stop before them.
struct EndMark {
    std::string_view format, bytes;
};
constexpr EndMark kEndMarks[] = {
    {"png", "IEND\xAE\x42\x60\x82"sv},  {"jpeg", "\xFF\xD9"sv},
    {"targa", "TRUEVISION-XFILE.\0"sv}, {"gif", ";"sv},
    {"jpeg2000", "\xFF\xD9"sv},
};

bool endsAsItsFormat(fs::path const& path, std::string_view format) {
    std::error_code none;
    if (format == "dpx") return fs::file_size(path, none) >= leastDpxBytes(path);
    auto const* const mark =
        std::find_if(std::begin(kEndMarks), std::end(kEndMarks),
                     [format](EndMark const& known) { return known.format == format; });
    if (mark == std::end(kEndMarks)) return true;
    std::string last(mark->bytes.size(), ' ');
    std::ifstream file(path, std::ios::binary);
    file.seekg(-static_cast<std::streamoff>(last.size()), std::ios::end);
    file.read(last.data(), static_cast<std::streamsize>(last.size()));
    return file && last == mark->bytes;
}

bool hasShape(OIIO::ImageSpec const& spec, WrittenShape const& shape) {
    return spec.width == shape.width && spec.height == shape.height &&
           spec.nchannels >= shape.channels;
}

/// Half-open.
struct Rows {
    int first, end;
};

/// All rows, but of formats where reading them costs more than a quarter of the writing and whose
/// writers notice what fails before their last buffer: the first and the last row of BMP, which
/// may stand in either order, and none of Targa, which has a footer behind them.
std::vector<Rows> rowsToRead(std::string_view format, int height) {
    if (format == "targa") return {};
    if (format == "bmp") return {{0, 1}, {height - 1, height}};
    return {{0, height}};
}

/// Reads rows of a part in the file's own samples and keeps none.
bool canRead(OIIO::ImageInput& input, Rows const& rows, int part = 0) {
    OIIO::ImageSpec const spec = input.spec(part, 0);
    int const strip = spec.tile_width > 0 ? spec.tile_height
                                          : std::clamp((1 << 18) / spec.width, 16, 256) / 16 * 16;
    std::vector<unsigned char> bytes(spec.scanline_bytes(true) * static_cast<std::size_t>(strip));
    bool isRead = true;
    for (int top = rows.first; isRead && top < rows.end; top += strip) {
        int const first = spec.y + top, end = spec.y + std::min(top + strip, rows.end);
        isRead =
            spec.tile_width > 0
                ? input.read_tiles(part, 0, spec.x, spec.x + spec.width, first, end, spec.z,
                                   spec.z + 1, 0, spec.nchannels, OIIO::TypeUnknown, bytes.data())
                : input.read_scanlines(part, 0, first, end, spec.z, 0, spec.nchannels,
                                       OIIO::TypeUnknown, bytes.data());
    }
    return isRead && !input.has_error();
}

constexpr char const* kBreaksOff = "the file breaks off";

/// By the format's own reader.
std::string faultOfRows(fs::path const& file, WrittenShape const& shape) {
    auto const input = OIIO::ImageInput::create(std::string(shape.format));
    OIIO::ImageSpec found, config;
    config.attribute("oiio:UnassociatedAlpha", 1);  // nothing to compute
    bool isWhole = input && input->open(file.string(), found, config) && hasShape(found, shape);
    for (Rows const& rows : rowsToRead(shape.format, shape.height))
        isWhole = isWhole && canRead(*input, rows);
    for (int part = 1; isWhole && part < shape.parts; ++part)
        isWhole = canRead(*input, {0, input->spec(part, 0).height}, part);
    OIIO::geterror();
    if (isWhole) return {};
    std::string const reason = input ? input->geterror() : std::string();
    return "it can't be read back" + (reason.empty() ? reason : ": " + reason);
}

}  // namespace

std::string faultOfWritten(fs::path const& file, WrittenShape const& shape) {
    if (int const fault = growthFault(file)) return std::strerror(fault);
    if (!endsAsItsFormat(file, shape.format)) return kBreaksOff;
    if (shape.format != "png") return faultOfRows(file, shape);
    std::string const fault = faultOfPng(file, shape.width, shape.height);
    return fault.empty() ? fault : "it can't be read back: " + fault;
}

/// PNG files by other writers have no strips.
std::optional<PixelSize> wholePictureSize(fs::path const& file) {
    QuietLibraries const quiet;
    auto const input = OIIO::ImageInput::open(file.string());
    if (!input) return OIIO::geterror(), std::nullopt;
    OIIO::ImageSpec const& spec = input->spec();
    WrittenShape shape{input->format_name(), spec.width, spec.height, spec.nchannels};
    if (shape.format == "openexr")
        while (input->seek_subimage(shape.parts, 0)) ++shape.parts;
    PixelSize const size = {spec.full_width, spec.full_height};
    bool const isWhole =
        endsAsItsFormat(file, shape.format) &&
        ((shape.format == "png" && faultOfPng(file, shape.width, shape.height).empty()) ||
         faultOfRows(file, shape).empty());
    return isWhole ? std::optional(size) : std::nullopt;
}

}  // namespace zelk
