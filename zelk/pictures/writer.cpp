// Writing of results by OpenImageIO, a strip of rows at a time; see writer.h.
#include "zelk/pictures/writer.h"

#include <OpenImageIO/filesystem.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <cerrno>
#include <cmath>
#include <cstring>
#include <fstream>
#include <string_view>
#include <vector>

#include "zelk/files/output_place.h"
#include "zelk/files/quiet_libraries.h"
#include "zelk/files/temporary_file.h"
#include "zelk/pictures/channel_values.h"
#include "zelk/pictures/png_data.h"
#include "zelk/pictures/row_values.h"
#include "zelk/pictures/world_rows.h"
#include "zelk/pictures/written_check.h"
#include "zelk/text/errors.h"

namespace zelk {

namespace {

namespace fs = std::filesystem;

/// Formats whose writers take straight colour as it is.
constexpr std::array<std::string_view, 5> kStraightFormats = {"png", "tiff", "targa", "heif",
                                                              "jpeg2000"};
/// Formats that hold alpha by name only: OpenImageIO's writer of WebP takes colour with alpha to
/// linear light in 8 bits, which ruins dark tones; that of GIF makes every pixel opaque; FITS has
/// planes without names.
constexpr std::array<std::string_view, 3> kNoAlpha = {"webp", "gif", "fits"};
/// Formats without float samples: they get the deepest integers they have.
constexpr std::array<std::string_view, 11> kIntegerFormats = {
    "png", "jpeg", "targa", "webp", "bmp", "gif", "dpx", "jpeg2000", "sgi", "ico", "heif"};
/// Formats of up to 16 bits of which OpenImageIO writes no more than 8 in order.
constexpr std::array<std::string_view, 2> kShallow = {"pnm", "iff"};
/// Formats whose files say where the picture lies. Some writers of others refuse a place, or end
/// the process over one.
constexpr std::array<std::string_view, 5> kHoldPlace = {"openexr", "png", "tiff", "dpx", "rla"};
/// Writers that leave no picture file.
constexpr std::array<std::string_view, 2> kNoFiles = {"null", "term"};

/// Sample sizes of DPX between 8 and 16 bits.
constexpr std::array<int, 2> kDpxBits = {10, 12};

bool isOneOf(auto const& names, auto const& name) {
    return std::find(names.begin(), names.end(), name) != names.end();
}

std::unique_ptr<OIIO::ImageOutput> makeWriter(fs::path const& target) {
    auto writer = OIIO::ImageOutput::create(target.string());
    if (!writer || isOneOf(kNoFiles, std::string_view(writer->format_name()))) {
        OIIO::geterror();
        throw UserError(ExitCode::kOutput,
                        {target.string(), "no picture format for the extension",
                         target.extension().string(), "a name such as out.png or out.exr"});
    }
    return writer;
}

/// Writers that refuse a size only when they have all rows; others say so when they open the file.
constexpr std::array<std::string_view, 3> kRefuseLate = {"webp", "heif", "jpeg2000"};

/// How a world's rows are stored.
struct RowPlan {
    int channels = 4;
    bool isStraight = true;    ///< colour in the file
    bool fromStraight = true;  ///< colour in the world
    /// Colour where alpha is 0 goes over unchanged: it can't be divided, or was never multiplied.
    bool keepsUncovered = false;
    OIIO::TypeDesc type;  ///< of the file
    int bits = 0;         ///< fewer than those of the type; 0 for all
};

/// The deepest samples of the format that `depth` asks for; writers take less by themselves.
OIIO::TypeDesc sampleType(std::string_view format, Depth depth, bool isHalf) {
    bool const holdsFloat = !isOneOf(kIntegerFormats, format);
    bool const isByte = depth == Depth::k8 && format != "openexr";
    if (isByte || isOneOf(kShallow, format)) return OIIO::TypeUInt8;
    if (depth == Depth::k16 && format != "openexr") return OIIO::TypeUInt16;
    if (!holdsFloat) return OIIO::TypeUInt16;
    bool const holdsHalf = format == "openexr" || format == "tiff";
    bool const isShort = isHalf || (depth == Depth::k8 && format == "openexr");
    return holdsHalf && isShort ? OIIO::TypeHalf : OIIO::TypeFloat;
}

RowPlan planRows(OIIO::ImageOutput const& writer, WriteRequest const& request) {
    RowPlan plan;
    std::string_view const format = writer.format_name();
    bool const holdsAlpha = writer.supports("alpha") && !isOneOf(kNoAlpha, format);
    if (request.opaque || !holdsAlpha) plan.channels = 3;
    bool const staysAssociated = format == "tiff" && request.traits.isAssociated;
    plan.isStraight = plan.channels == 4 && isOneOf(kStraightFormats, format) && !staysAssociated;
    plan.fromStraight = request.form == AlphaForm::kStraight;
    plan.keepsUncovered = !plan.fromStraight || request.traits.isAssociated;
    plan.type = sampleType(format, request.depth, request.traits.isHalf);
    if (format == "dpx" && request.depth == Depth::k16 && isOneOf(kDpxBits, request.traits.bits))
        plan.bits = request.traits.bits;
    return plan;
}

/// The writer of JPEG divides a density by the pixel's aspect where it should multiply; it takes
/// both densities as they are. A pixel's width over its height is vertical over horizontal density.
void setJpegDensity(OIIO::ImageSpec& spec) {
    float const aspect = spec.get_float_attribute("PixelAspectRatio", 1);
    if (!(aspect > 0) || aspect == 1) return;
    constexpr float kFine = 1000;  // densities are whole numbers
    float const horizontal = spec.get_float_attribute("XResolution", kFine);
    spec.attribute("XResolution", horizontal);
    spec.attribute("YResolution", horizontal * aspect);
    spec.erase_attribute("PixelAspectRatio");
}

/// What the writers would not do by themselves: straight colour, half, few bits, the least loss.
void setStorage(std::string_view format, RowPlan const& plan, OIIO::ImageSpec& spec) {
    if (plan.isStraight) spec.attribute("oiio:UnassociatedAlpha", 1);
    if (plan.bits > 0) spec.attribute("oiio:BitsPerSample", plan.bits);
    if (format == "tiff" && plan.type == OIIO::TypeHalf) spec.attribute("tiff:half", 1);
    if (format == "webp") spec.attribute("compression", "lossless");
    // Without a date the writers put in the clock's, and two runs would give two files.
    // An unknown date has blanks for its digits.
    bool const isDated = format == "openexr" || format == "tiff";
    if (isDated && !spec.find_attribute("DateTime"))
        spec.attribute("DateTime", format == "tiff" ? "    :  :     :  :  " : "");
    if (format == "jpeg") {
        spec.attribute("jpeg:subsampling", "4:4:4");
        setJpegDensity(spec);
    }
}

/// Where the picture lies in the file's space; formats without windows hold it all from the origin.
void setWindows(OIIO::ImageOutput const& writer, WriteRequest const& request,
                OIIO::ImageSpec& spec) {
    if (isOneOf(kHoldPlace, std::string_view(writer.format_name()))) {
        spec.x = spec.full_x = request.traits.originX;
        spec.y = spec.full_y = request.traits.originY;
    }
    if (!writer.supports("displaywindow") || !writer.supports("negativeorigin")) return;
    spec.x -= request.marginX;
    spec.y -= request.marginY;
    spec.full_width = spec.width - 2 * request.marginX;
    spec.full_height = spec.height - 2 * request.marginY;
}

void addHistory(std::string const& history, OIIO::ImageSpec& spec) {
    std::string const earlier = spec.get_string_attribute("Exif:ImageHistory");
    spec.attribute("Software", "zelk " ZELK_VERSION " : " + history);
    spec.attribute("Exif:ImageHistory", earlier.empty() ? history : earlier + "\n" + history);
}

OIIO::ImageSpec specOf(OIIO::ImageOutput const& writer, PixelSize size, RowPlan const& plan,
                       WriteRequest const& request) {
    OIIO::ImageSpec spec(size.width, size.height, plan.channels, plan.type);
    setWindows(writer, request, spec);
    if (request.keepMetadata) {
        for (auto const& value : request.traits.metadata) spec.extra_attribs.push_back(value);
        if (!request.history.empty()) addHistory(request.history, spec);
    }
    for (auto const& value : request.color) spec.extra_attribs.add_or_replace(value);
    setStorage(writer.format_name(), plan, spec);
    return spec;
}

/// What the writer says, of the target instead of the file that stood in for it.
UserError refusedBy(OIIO::ImageOutput& writer, fs::path const& file, fs::path const& target) {
    std::string words = writer.geterror();
    auto const at = words.find(file.string());
    if (at != words.npos) words.replace(at, file.string().size(), target.string());
    return unwritable(target, words);
}

bool lacksAlpha(RowPlan const& plan, WriteRequest const& request) {
    return plan.channels == 3 && !request.opaque;
}

void warnOfDepth(OIIO::ImageOutput const& writer, fs::path const& target,
                 WriteRequest const& request, std::vector<std::string>& warnings) {
    if (isOneOf(kShallow, std::string_view(writer.format_name())) && request.depth != Depth::k8)
        warnings.push_back(target.string() + ": this format is written in 8 bits");
}

/// One row to a file's values; `Stored` is the world's channel where nothing has to be computed.
/// Four channels of the world's own type go in vectors.
template <class Channel, class Stored>
void storeRow(Channel const* rgba, int width, RowPlan const& plan, Stored* values) {
    if constexpr (std::is_same_v<Channel, Stored>) {
        auto const pixels = static_cast<std::size_t>(width);
        if (plan.channels == 4) {
            if constexpr (std::is_same_v<Channel, std::uint16_t>)
                return vectorRows().toFile16(rgba, 4 * pixels, values);
            std::copy_n(rgba, 4 * pixels, values);
            if constexpr (std::is_same_v<Channel, float>)
                if (plan.isStraight != plan.fromStraight)
                    vectorRows().byAlpha(values, pixels, {!plan.fromStraight, plan.keepsUncovered});
            return;
        }
    }
    for (int x = 0; x < width; ++x, rgba += 4, values += plan.channels) {
        if constexpr (std::is_same_v<Channel, Stored> && !std::is_same_v<Stored, float>) {
            for (int c = 0; c < plan.channels; ++c) values[c] = toFile(rgba[c]);
        } else {
            constexpr auto kUnit = static_cast<float>(kWhite<Channel>);
            for (int c = 0; c < plan.channels; ++c) values[c] = static_cast<float>(rgba[c]) / kUnit;
            float const alpha = static_cast<float>(rgba[3]) / kUnit;
            bool const isKept = plan.keepsUncovered && alpha == 0;
            if (plan.isStraight == plan.fromStraight || isKept) continue;
            for (int c = 0; c < 3; ++c)
                values[c] = plan.fromStraight ? values[c] * alpha : values[c] / alpha;
        }
    }
}

/// To the nearest of the file's steps; writers cut off what their samples can't hold.
void roundToBits(int bits, std::vector<float>& values) {
    auto const white = static_cast<float>((1 << bits) - 1);
    for (float& value : values) value = std::floor(value * white + 0.5f) / white;
}

template <class Channel>
bool isSomewhereTransparent(std::vector<Channel> const& rgba) {
    for (std::size_t i = 3; i < rgba.size(); i += 4)
        if (rgba[i] < kWhite<Channel>) return true;
    return false;
}

struct Written {
    bool isWhole = false;
    bool sawTransparency = false;
};

template <class Channel, class Stored>
Written writeStrips(World const& world, RowPlan const& plan, OIIO::ImageOutput& writer) {
    OIIO::ImageSpec const& spec = writer.spec();
    int const strip = std::min(spec.tile_width > 0 ? spec.tile_height : stripRowsOf(world.width()),
                               world.height());
    auto const rowValues = static_cast<std::size_t>(world.width() * plan.channels);
    std::vector<Channel> rgba(static_cast<std::size_t>(world.width()) * 4);
    std::vector<Stored> stored(rowValues * static_cast<std::size_t>(strip));
    bool const isHalf = spec.format == OIIO::TypeHalf;  // made here, by vectors
    std::vector<std::uint16_t> halves(isHalf ? stored.size() : 0);
    OIIO::TypeDesc const type = isHalf ? OIIO::TypeHalf : OIIO::BaseTypeFromC<Stored>::value;
    void const* const values =
        isHalf ? static_cast<void const*>(halves.data()) : static_cast<void const*>(stored.data());
    Written written;
    for (int top = 0; top < world.height(); top += strip) {
        int const rows = std::min(strip, world.height() - top);
        for (int y = 0; y < rows; ++y) {
            getRow(world, top + y, rgba.data());
            written.sawTransparency = written.sawTransparency || isSomewhereTransparent(rgba);
            storeRow(rgba.data(), world.width(), plan,
                     &stored[rowValues * static_cast<std::size_t>(y)]);
        }
        if constexpr (std::is_same_v<Stored, float>) {
            if (plan.bits > 0) roundToBits(plan.bits, stored);
            if (isHalf)
                vectorRows().toHalf(stored.data(), rowValues * static_cast<std::size_t>(rows),
                                    halves.data());
        }
        int const first = spec.y + top, end = first + rows;
        bool const isTaken =
            spec.tile_width > 0
                ? writer.write_tiles(spec.x, spec.x + spec.width, first, end, 0, 1, type, values)
                : writer.write_scanlines(first, end, 0, type, values);
        if (!isTaken) return written;
    }
    written.isWhole = true;
    return written;
}

/// Straight integers of the file's own depth go over exactly; all else through float. Calls `body`
/// with a world's value and a stored one.
template <class Body>
decltype(auto) withStored(World const& world, RowPlan const& plan, Body&& body) {
    return withChannelOf(world.depth(), [&](auto channel) {
        using Channel = decltype(channel);
        bool const isExact = plan.isStraight && plan.fromStraight && plan.bits == 0 &&
                             plan.type == OIIO::BaseTypeFromC<Channel>::value;
        return isExact ? body(channel, Channel()) : body(channel, 0.0f);
    });
}

Written writeRows(World const& world, RowPlan const& plan, OIIO::ImageOutput& writer) {
    return withStored(world, plan, [&](auto channel, auto stored) {
        return writeStrips<decltype(channel), decltype(stored)>(world, plan, writer);
    });
}

/// A row as PNG has it, by way of `Stored` as other formats.
template <class Channel, class Stored>
void pngRow(World const& world, RowPlan const& plan, int y, std::uint8_t* to,
            std::atomic<bool>& sawTransparency) {
    auto const count = static_cast<std::size_t>(world.width() * plan.channels);
    std::vector<Channel> rgba(static_cast<std::size_t>(world.width()) * 4);
    std::vector<Stored> stored(count);
    getRow(world, y, rgba.data());
    if (isSomewhereTransparent(rgba)) sawTransparency = true;
    storeRow(rgba.data(), world.width(), plan, stored.data());
    OIIO::convert_pixel_values(OIIO::BaseTypeFromC<Stored>::value, stored.data(), plan.type, to,
                               static_cast<int>(count));
    if (plan.type == OIIO::TypeUInt16)
        for (std::size_t i = 0; i < count; ++i) std::swap(to[2 * i], to[2 * i + 1]);
}

/// The picture behind a header that PNG's own writer made, metadata and all. 0, or the system's
/// error.
int writePng(World const& world, RowPlan const& plan, int level,
             std::vector<unsigned char> const& header, fs::path const& file, Written& written) {
    std::ofstream out(file, std::ios::binary);
    out.write(reinterpret_cast<char const*>(header.data()),
              static_cast<std::streamsize>(header.size()));
    std::atomic<bool> sawTransparency = false;
    PngImage image{world.width(), world.height(),
                   plan.channels * static_cast<int>(plan.type.size()), nullptr};
    withStored(world, plan, [&](auto channel, auto stored) {
        image.rows = [&](int first, int end, std::uint8_t* to) {
            for (int y = first; y < end; ++y, to += image.width * image.pixelBytes)
                pngRow<decltype(channel), decltype(stored)>(world, plan, y, to, sawTransparency);
        };
    });
    int const fault = writePngData(image, level, out);
    written = {fault == 0, sawTransparency};
    return fault;
}

/// As the file has them.
void noteSamples(OIIO::ImageSpec const& spec, RowPlan const& plan, WriteReport& report) {
    report.sampleType = spec.format.c_str();
    report.sampleBits = plan.bits > 0 ? plan.bits : static_cast<int>(spec.format.basesize()) * 8;
}

/// What a writer has put into memory. libjpeg answers a full disk with exit(), so no disk is near
/// it.
void saveBytes(std::vector<unsigned char> const& bytes, fs::path const& file,
               fs::path const& target) {
    std::ofstream out(file, std::ios::binary);
    out.write(reinterpret_cast<char const*>(bytes.data()),
              static_cast<std::streamsize>(bytes.size()));
    out.close();
    if (!out) throw unwritable(target, std::strerror(errno));
}

}  // namespace

void checkTarget(fs::path const& target, bool noClobber) {
    if (target == "-") {
        throw UserError(ExitCode::kOutput, "-: standard output can't hold a picture; give a file");
    }
    makeWriter(target);
    checkPlace(target, noClobber);
}

std::string formatOf(fs::path const& target) {
    auto const writer = OIIO::ImageOutput::create(target.string());
    OIIO::geterror();
    return writer ? writer->format_name() : "";
}

bool writesFloat(std::string_view format) {
    return !isOneOf(kIntegerFormats, format) && !isOneOf(kShallow, format);
}

std::vector<std::string> checkPicture(PixelSize size, fs::path const& target,
                                      WriteRequest const& request) {
    checkTarget(target, request.noClobber);
    QuietLibraries const quiet;
    OIIO::Filesystem::IOVecOutput memory;  // takes the place of a file where it can
    auto const writer = makeWriter(target);
    RowPlan const plan = planRows(*writer, request);
    bool const isInMemory = writer->supports("ioproxy") && writer->set_ioproxy(&memory);
    fs::path const file = isInMemory ? target : "/dev/null";
    bool isTaken = writer->open(file.string(), specOf(*writer, size, plan, request));
    if (isTaken && isOneOf(kRefuseLate, std::string_view(writer->format_name()))) {
        World const black({size.width, size.height, request.depth});
        isTaken =
            writeRows(black, plan, *writer).isWhole && writer->close() && !writer->has_error();
    }
    if (!isTaken) throw refusedBy(*writer, file, target);
    writer->close();  // complains of rows that it never got
    writer->geterror();
    std::vector<std::string> warnings;
    if (lacksAlpha(plan, request))
        warnings.push_back(target.string() +
                           ": this format keeps no alpha; what is transparent goes over black");
    warnOfDepth(*writer, target, request, warnings);
    return warnings;
}

WriteReport writePicture(World const& world, fs::path const& target, WriteRequest const& request) {
    TemporaryFile file(target);
    QuietLibraries const quiet;
    OIIO::Filesystem::IOVecOutput memory;
    auto const writer = makeWriter(target);  // gone before the file: its end may write once more
    bool const isPng = std::string_view(writer->format_name()) == "png";
    bool const isInMemory = isPng || std::string_view(writer->format_name()) == "jpeg";
    if (isInMemory) writer->set_ioproxy(&memory);
    RowPlan const plan = planRows(*writer, request);
    PixelSize const size = {world.width(), world.height()};
    WriteReport report;
    Written written;
    if (writer->open(file.path().string(), specOf(*writer, size, plan, request))) {
        noteSamples(writer->spec(), plan, report);
        int const fault =
            isPng ? writePng(world, plan, request.pngLevel, memory.buffer(), file.path(), written)
                  : 0;
        if (fault != 0) throw unwritable(target, std::strerror(fault));
        if (!isPng) written = writeRows(world, plan, *writer);
    }
    bool const isClosed = writer->close() || isPng;  // which complains of rows that it never got
    // The TIFF writer complains of an Exif directory without entries, after a whole picture.
    bool const isHarmless = (isPng && written.isWhole) || !writer->has_error() ||
                            writer->geterror(false).find("Exif data") != std::string::npos;
    if (!written.isWhole || !isClosed || !isHarmless) throw refusedBy(*writer, file.path(), target);
    writer->geterror();
    if (isInMemory && !isPng) saveBytes(memory.buffer(), file.path(), target);
    std::string const fault = faultOfWritten(
        file.path(), {writer->format_name(), world.width(), world.height(), plan.channels});
    if (!fault.empty()) throw unwritable(target, fault);
    if (!file.putInPlace(!request.noClobber)) throw existing(target);
    if (lacksAlpha(plan, request) && written.sawTransparency)
        report.warnings.push_back(
            target.string() +
            ": alpha can't be kept in this format; the picture is written over black");
    warnOfDepth(*writer, target, request, report.warnings);
    return report;
}

}  // namespace zelk
