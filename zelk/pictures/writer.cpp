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
#include "zelk/pictures/exr_threads.h"
#include "zelk/pictures/png_data.h"
#include "zelk/pictures/row_values.h"
#include "zelk/pictures/stored_rows.h"
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

bool isAmong(auto const& names, auto const& name) {
    return std::find(names.begin(), names.end(), name) != names.end();
}

std::unique_ptr<OIIO::ImageOutput> makeWriter(fs::path const& target) {
    auto writer = OIIO::ImageOutput::create(target.string());
    if (!writer || isAmong(kNoFiles, std::string_view(writer->format_name()))) {
        OIIO::geterror();
        throw UserError(ExitCode::kOutput,
                        {target.string(), "no picture format for the extension",
                         target.extension().string(), "a name such as out.png or out.exr"});
    }
    return writer;
}

/// Writers that refuse a size only when they have all rows; others say so when they open the file.
constexpr std::array<std::string_view, 3> kRefuseLate = {"webp", "heif", "jpeg2000"};

/// Compressions that a file hands on to one of its format; others, such as those that lose more
/// than the format itself, are the writer's choice.
struct Compression {
    std::string_view format, name;
};
constexpr Compression kCompressions[] = {
    {"openexr", "none"}, {"openexr", "rle"},   {"openexr", "zip"}, {"openexr", "zips"},
    {"openexr", "piz"},  {"openexr", "pxr24"}, {"openexr", "b44"}, {"openexr", "b44a"},
    {"openexr", "dwaa"}, {"openexr", "dwab"},  {"tiff", "none"},   {"tiff", "lzw"},
    {"tiff", "zip"},     {"tiff", "packbits"}, {"targa", "rle"},
};

/// The deepest samples of the format that `depth` asks for; writers take less by themselves.
OIIO::TypeDesc sampleType(std::string_view format, Depth depth, bool isHalf) {
    bool const holdsFloat = !isAmong(kIntegerFormats, format);
    bool const isByte = depth == Depth::k8 && format != "openexr";
    if (isByte || isAmong(kShallow, format)) return OIIO::TypeUInt8;
    if (depth == Depth::k16 && format != "openexr") return OIIO::TypeUInt16;
    if (!holdsFloat) return OIIO::TypeUInt16;
    bool const holdsHalf = format == "openexr" || format == "tiff";
    bool const isShort = isHalf || (depth == Depth::k8 && format == "openexr");
    return holdsHalf && isShort ? OIIO::TypeHalf : OIIO::TypeFloat;
}

RowPlan planRows(OIIO::ImageOutput const& writer, WriteRequest const& request) {
    RowPlan plan;
    std::string_view const format = writer.format_name();
    bool const holdsAlpha = writer.supports("alpha") && !isAmong(kNoAlpha, format);
    bool const isAll = request.channels == OutputChannels::kAll;
    if (!holdsAlpha || (request.opaque && !isAll)) plan.channels = 3;
    if (request.channels == OutputChannels::kColors) plan.channels = 3;
    if (request.channels == OutputChannels::kAlpha) plan.channels = 1;
    bool const staysAssociated = format == "tiff" && request.traits.isAssociated;
    plan.isStraight = plan.channels == 4 && isAmong(kStraightFormats, format) && !staysAssociated;
    plan.fromStraight = request.form == AlphaForm::kStraight;
    plan.keepsUncovered = !plan.fromStraight || request.traits.isAssociated;
    plan.type = sampleType(format, request.depth, request.traits.isHalf);
    if (format == "dpx" && request.depth == Depth::k16 && isAmong(kDpxBits, request.traits.bits))
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

/// The writer of DPX takes an orientation for the format's own code plus 1, which it is only in
/// part; the reader knows the codes.
void setDpxOrientation(OIIO::ImageSpec& spec) {
    constexpr int kCodes[] = {1, 2, 4, 3, 5, 6, 8, 7};
    int const number = spec.get_int_attribute("Orientation", 0);
    if (number >= 1 && number <= 8) spec.attribute("Orientation", kCodes[number - 1]);
}

bool isHandedOn(std::string_view format, PictureTraits const& traits) {
    bool const isKnown = std::any_of(
        std::begin(kCompressions), std::end(kCompressions), [&](Compression const& known) {
            return known.format == format && known.name == traits.compression;
        });
    // What goes along untouched would be changed by being packed again.
    bool const isTouched = traits.extras.isAny() && losesValues(traits.compression);
    return isKnown && traits.format == format && !isTouched;
}

void setCompression(std::string_view format, PictureTraits const& traits, OIIO::ImageSpec& spec) {
    if (!isHandedOn(format, traits)) return;
    spec.attribute("compression", traits.compression);
    if (traits.compressionLevel > 0)
        spec.attribute("openexr:dwaCompressionLevel", traits.compressionLevel);
}

/// What the writers would not do by themselves: straight colour, half, few bits, the least loss.
void setStorage(std::string_view format, RowPlan const& plan, OIIO::ImageSpec& spec) {
    if (plan.isStraight) spec.attribute("oiio:UnassociatedAlpha", 1);
    if (plan.bits > 0) spec.attribute("oiio:BitsPerSample", plan.bits);
    if (format == "tiff" && plan.type == OIIO::TypeHalf) spec.attribute("tiff:half", 1);
    if (format == "webp") spec.attribute("compression", "lossless");
    if (format == "dpx") setDpxOrientation(spec);
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
    if (isAmong(kHoldPlace, std::string_view(writer.format_name()))) {
        spec.x = spec.full_x = request.traits.originX;
        spec.y = spec.full_y = request.traits.originY;
    }
    if (!writer.supports("displaywindow") || !writer.supports("negativeorigin")) return;
    PixelMargins const& margins = request.margins;
    spec.x -= margins.left;
    spec.y -= margins.top;
    spec.full_width = spec.width - margins.left - margins.right;
    spec.full_height = spec.height - margins.top - margins.bottom;
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
    // A profile of colours fits no grey.
    if (plan.channels == 1) spec.erase_attribute("ICCProfile");
    setStorage(writer.format_name(), plan, spec);
    setCompression(writer.format_name(), request.traits, spec);
    return spec;
}

/// What goes along into the file; null for nothing.
std::unique_ptr<ExtraReader> extrasOf(OIIO::ImageOutput const& writer,
                                      WriteRequest const& request) {
    bool const isHeld = std::string_view(writer.format_name()) == "openexr" &&
                        request.channels != OutputChannels::kAlpha;
    if (!isHeld || !request.traits.extras.isAny()) return nullptr;
    return std::make_unique<ExtraReader>(request.traits.extras);
}

/// The headers of all parts; the first one is the picture's.
std::vector<OIIO::ImageSpec> specsOf(OIIO::ImageSpec picture, ExtraReader* extras,
                                     bool keepMetadata) {
    std::vector<OIIO::ImageSpec> specs = {std::move(picture)};
    if (!extras) return specs;
    OIIO::ImageSpec& first = specs.front();
    first.channelformats.assign(static_cast<std::size_t>(first.nchannels), first.format);
    for (int const c : extras->channels()) {
        first.channelnames.emplace_back(extras->spec().channel_name(c));
        first.channelformats.push_back(extras->spec().channelformat(c));
        if (c == extras->spec().z_channel) first.z_channel = first.nchannels;
        ++first.nchannels;
    }
    if (extras->parts().empty()) return specs;
    first.attribute("oiio:subimagename", extras->spec().get_string_attribute("oiio:subimagename"));
    for (int const part : extras->parts())
        specs.push_back(extras->partSpec(part, specs.front(), keepMetadata));
    return specs;
}

bool openAll(OIIO::ImageOutput& writer, fs::path const& file,
             std::vector<OIIO::ImageSpec> const& specs) {
    if (specs.size() == 1) return writer.open(file.string(), specs.front());
    return writer.open(file.string(), static_cast<int>(specs.size()), specs.data());
}

/// The further parts, in the order of their headers.
bool writeParts(OIIO::ImageOutput& writer, fs::path const& file,
                std::vector<OIIO::ImageSpec> const& specs, ExtraReader* extras) {
    for (std::size_t i = 1; i < specs.size(); ++i)
        if (!writer.open(file.string(), specs[i], OIIO::ImageOutput::AppendSubimage) ||
            !extras->copyPart(extras->parts()[i - 1], writer))
            return false;
    return true;
}

void requireChannels(OIIO::ImageOutput const& writer, RowPlan const& plan, fs::path const& target,
                     WriteRequest const& request) {
    if (request.channels != OutputChannels::kAll || plan.channels == 4) return;
    throw UserError(ExitCode::kOutput, {target.string(), "can't hold the channels", "rgba",
                                        std::string("a format that keeps alpha, which ") +
                                            writer.format_name() + " does not"});
}

/// What the writer says, of the target instead of the file that stood in for it.
UserError refusedBy(OIIO::ImageOutput& writer, fs::path const& file, fs::path const& target) {
    std::string words = writer.geterror();
    auto const at = words.find(file.string());
    if (at != words.npos) words.replace(at, file.string().size(), target.string());
    return unwritable(target, words);
}

bool lacksAlpha(RowPlan const& plan, WriteRequest const& request) {
    return plan.channels == 3 && !request.opaque && request.channels != OutputChannels::kColors;
}

void warnOfDepth(OIIO::ImageOutput const& writer, fs::path const& target,
                 WriteRequest const& request, std::vector<std::string>& warnings) {
    if (isAmong(kShallow, std::string_view(writer.format_name())) && request.depth != Depth::k8)
        warnings.push_back(target.string() + ": this format is written in 8 bits");
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

/// A strip's pixels with the extra channels behind the picture's own, all in their own types.
std::vector<unsigned char> withExtras(OIIO::ImageSpec const& spec, std::size_t ownBytes,
                                      void const* own, int firstRow, int rows,
                                      ExtraReader& extras) {
    auto const width = static_cast<std::size_t>(spec.width);
    std::size_t const pixel = ownBytes + extras.pixelBytes();
    std::vector<unsigned char> all(pixel * width * static_cast<std::size_t>(rows));
    auto const* from = static_cast<unsigned char const*>(own);
    unsigned char* to = all.data();
    for (int y = 0; y < rows; ++y, to += pixel * width) {
        for (std::size_t x = 0; x < width; ++x, from += ownBytes)
            std::memcpy(to + pixel * x, from, ownBytes);
        extras.read(spec.x, firstRow + y, spec.width, to + ownBytes, pixel);
    }
    return all;
}

template <class Channel, class Stored>
Written writeStrips(World const& world, RowPlan const& plan, OIIO::ImageOutput& writer,
                    ExtraReader* extras) {
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
        if (extras) {
            auto const all = withExtras(spec, type.size() * static_cast<std::size_t>(plan.channels),
                                        values, first, rows, *extras);
            if (!writer.write_scanlines(first, end, 0, OIIO::TypeUnknown, all.data()))
                return written;
            continue;
        }
        bool const isTaken =
            spec.tile_width > 0
                ? writer.write_tiles(spec.x, spec.x + spec.width, first, end, 0, 1, type, values)
                : writer.write_scanlines(first, end, 0, type, values);
        if (!isTaken) return written;
    }
    written.isWhole = true;
    return written;
}

Written writeRows(World const& world, RowPlan const& plan, OIIO::ImageOutput& writer,
                  ExtraReader* extras = nullptr) {
    return withStored(world, plan, [&](auto channel, auto stored) {
        return writeStrips<decltype(channel), decltype(stored)>(world, plan, writer, extras);
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

RowPlan fileRows(fs::path const& target, WriteRequest const& request) {
    return planRows(*makeWriter(target), request);
}

bool isOpenExrName(fs::path const& target) {
    auto const writer = OIIO::ImageOutput::create(target.string());
    if (!writer) OIIO::geterror();
    return writer && std::string_view(writer->format_name()) == "openexr";
}

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
    return !isAmong(kIntegerFormats, format) && !isAmong(kShallow, format);
}

std::vector<std::string> checkPicture(PixelSize size, fs::path const& target,
                                      WriteRequest const& request) {
    checkTarget(target, request.noClobber);
    QuietLibraries const quiet;
    OIIO::Filesystem::IOVecOutput memory;  // takes the place of a file where it can
    auto const writer = makeWriter(target);
    requireExrThreads(writer->format_name(), target);
    RowPlan const plan = planRows(*writer, request);
    requireChannels(*writer, plan, target, request);
    auto const extras = extrasOf(*writer, request);
    bool const isInMemory = writer->supports("ioproxy") && writer->set_ioproxy(&memory);
    fs::path const file = isInMemory ? target : "/dev/null";
    bool isTaken =
        openAll(*writer, file,
                specsOf(specOf(*writer, size, plan, request), extras.get(), request.keepMetadata));
    if (isTaken && isAmong(kRefuseLate, std::string_view(writer->format_name()))) {
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

namespace {

WriteReport writeInto(TemporaryFile& file, World const& world, fs::path const& target,
                      WriteRequest const& request) {
    QuietLibraries const quiet;
    OIIO::Filesystem::IOVecOutput memory;
    auto const writer = makeWriter(target);  // gone before the file: its end may write once more
    requireExrThreads(writer->format_name(), target);
    RowPlan const plan = planRows(*writer, request);
    requireChannels(*writer, plan, target, request);
    auto const extras = extrasOf(*writer, request);
    bool const isPng = std::string_view(writer->format_name()) == "png";
    bool const isInMemory = isPng || std::string_view(writer->format_name()) == "jpeg";
    if (isInMemory) writer->set_ioproxy(&memory);  // from here on it must be opened
    PixelSize const size = {world.width(), world.height()};
    WriteReport report;
    Written written;
    auto const specs =
        specsOf(specOf(*writer, size, plan, request), extras.get(), request.keepMetadata);
    if (openAll(*writer, file.path(), specs)) {
        noteSamples(writer->spec(), plan, report);
        int const fault =
            isPng ? writePng(world, plan, request.pngLevel, memory.buffer(), file.path(), written)
                  : 0;
        if (fault != 0) throwUnwritable(target, fault);
        if (!isPng) {
            written = writeRows(world, plan, *writer, extras.get());
            written.isWhole =
                written.isWhole && writeParts(*writer, file.path(), specs, extras.get());
        }
    }
    bool const isClosed = writer->close() || isPng;  // which complains of rows that it never got
    // The TIFF writer complains of an Exif directory without entries, after a whole picture.
    bool const isHarmless = (isPng && written.isWhole) || !writer->has_error() ||
                            writer->geterror(false).find("Exif data") != std::string::npos;
    if (!written.isWhole || !isClosed || !isHarmless) throw refusedBy(*writer, file.path(), target);
    writer->geterror();
    if (isInMemory && !isPng) saveBytes(memory.buffer(), file.path(), target);
    std::string const fault =
        faultOfWritten(file.path(), {writer->format_name(), world.width(), world.height(),
                                     specs.front().nchannels, static_cast<int>(specs.size())});
    if (!fault.empty()) throw unwritable(target, fault);
    if (lacksAlpha(plan, request) && written.sawTransparency)
        report.warnings.push_back(
            target.string() +
            ": alpha can't be kept in this format; the picture is written over black");
    warnOfDepth(*writer, target, request, report.warnings);
    if (request.isStrict && !report.warnings.empty())
        throw UserError(ExitCode::kRenderFailed, report.warnings.front());
    if (!file.putInPlace(!request.noClobber)) throw existing(target);
    return report;
}

}  // namespace

/// Few writers say that the disk is full; the file beside the target, which can't grow, does.
WriteReport writePicture(World const& world, fs::path const& target, WriteRequest const& request) {
    TemporaryFile file(target);
    try {
        return writeInto(file, world, target, request);
    } catch (UserError const&) {
        int const fault = growthFault(file.path());
        if (isFullDisk(fault)) throw FullDisk(target, fault);
        throw;
    }
}

}  // namespace zelk
