// Writing of results by OpenImageIO, a strip of rows at a time; see picture_writer.h.
#include "apps/zelk/picture_writer.h"

#include <unistd.h>

#include <algorithm>
#include <array>
#include <cstring>
#include <string_view>
#include <vector>

#include "apps/zelk/channel_values.h"
#include "apps/zelk/errors.h"
#include "apps/zelk/quiet_libraries.h"
#include "apps/zelk/temporary_file.h"
#include "apps/zelk/world_rows.h"

namespace zelk {

namespace {

namespace fs = std::filesystem;

/// Formats whose writers take straight colour as it is.
constexpr std::array<std::string_view, 4> kStraightFormats = {"png", "tiff", "targa", "webp"};
/// Formats whose writers notice a full disk; what another has written is read back.
constexpr std::array<std::string_view, 13> kNotice = {"png",  "tiff",     "openexr", "targa", "bmp",
                                                      "webp", "jpeg2000", "pnm",     "dpx",   "hdr",
                                                      "rla",  "heif",     "jpeg"};
/// Formats without float samples: they get the deepest integers they have.
constexpr std::array<std::string_view, 8> kIntegerFormats = {
    "png", "jpeg", "targa", "webp", "bmp", "gif", "dpx", "cineon"};
/// Writers that leave no picture file.
constexpr std::array<std::string_view, 2> kNoFiles = {"null", "term"};

bool isOneOf(auto const& names, std::string_view name) {
    return std::find(names.begin(), names.end(), name) != names.end();
}

UserError unwritable(fs::path const& target, std::string const& reason) {
    return {ExitCode::kOutput,
            {target.string(), "cannot be written:",
             reason.empty() ? "unknown reason" : shortened(reason), "a writable place"}};
}

std::unique_ptr<OIIO::ImageOutput> makeWriter(fs::path const& target) {
    auto writer = OIIO::ImageOutput::create(target.string());
    if (!writer || isOneOf(kNoFiles, writer->format_name())) {
        OIIO::geterror();
        throw UserError(ExitCode::kOutput,
                        {target.string(), "no picture format for the extension",
                         target.extension().string(), "a name such as out.png or out.exr"});
    }
    return writer;
}

/// Where a link leads, so that the link itself stays.
fs::path resolved(fs::path const& target) {
    std::error_code fault;
    fs::path const canonical = fs::canonical(target, fault);
    return fault ? target : canonical;
}

/// How a world's rows are stored.
struct RowPlan {
    int channels = 4;
    bool isStraight = true;
    OIIO::TypeDesc type;  ///< of the file
};

RowPlan planRows(OIIO::ImageOutput const& writer, Depth depth, PictureTraits const& traits) {
    RowPlan plan;
    std::string_view const format = writer.format_name();
    bool const isExr = format == "openexr";
    bool const holdsFloat = !isOneOf(kIntegerFormats, format);
    if (!writer.supports("alpha")) plan.channels = 3;
    plan.isStraight = plan.channels == 4 && isOneOf(kStraightFormats, writer.format_name());
    plan.type = depth == Depth::k8                        ? OIIO::TypeUInt8
                : depth == Depth::k16 && !isExr           ? OIIO::TypeUInt16
                : !holdsFloat                             ? OIIO::TypeUInt16
                : depth == Depth::kFloat && traits.isHalf ? OIIO::TypeHalf
                                                          : OIIO::TypeFloat;
    return plan;
}

OIIO::ImageSpec specOf(World const& world, RowPlan const& plan, PictureTraits const& traits) {
    OIIO::ImageSpec spec(world.width(), world.height(), plan.channels, plan.type);
    for (auto const& value : traits.metadata) spec.extra_attribs.push_back(value);
    if (plan.isStraight) spec.attribute("oiio:UnassociatedAlpha", 1);
    // The TIFF writer reports an error for an empty Exif table; "uncalibrated" fills it truthfully.
    constexpr int kUncalibrated = 0xffff;
    if (spec.get_string_attribute("oiio:ColorSpace") != "sRGB") {
        spec.attribute("Exif:ColorSpace", kUncalibrated);
    }
    return spec;
}

/// One row to a file's values; `Stored` is the world's channel for straight colour, else float.
template <class Channel, class Stored>
void storeRow(Channel const* rgba, int width, RowPlan const& plan, Stored* values) {
    for (int x = 0; x < width; ++x, rgba += 4, values += plan.channels) {
        for (int c = 0; c < plan.channels; ++c) {
            if constexpr (std::is_same_v<Channel, Stored>) {
                values[c] = toFile(rgba[c]);
            } else {
                values[c] = static_cast<float>(rgba[c]) / static_cast<float>(kWhite<Channel>);
            }
        }
        if constexpr (std::is_same_v<Stored, float>) {
            if (plan.isStraight) continue;
            float const alpha = static_cast<float>(rgba[3]) / static_cast<float>(kWhite<Channel>);
            for (int c = 0; c < 3; ++c) values[c] *= alpha;
        }
    }
}

template <class Channel, class Stored>
bool writeStrips(World const& world, RowPlan const& plan, OIIO::ImageOutput& writer) {
    int const strip =
        std::min(std::clamp((1 << 18) / world.width(), 16, 256) / 16 * 16, world.height());
    auto const rowValues = static_cast<std::size_t>(world.width() * plan.channels);
    std::vector<Channel> rgba(static_cast<std::size_t>(world.width()) * 4);
    std::vector<Stored> stored(rowValues * static_cast<std::size_t>(strip));
    for (int top = 0; top < world.height(); top += strip) {
        int const rows = std::min(strip, world.height() - top);
        for (int y = 0; y < rows; ++y) {
            getRow(world, top + y, rgba.data());
            storeRow(rgba.data(), world.width(), plan,
                     &stored[rowValues * static_cast<std::size_t>(y)]);
        }
        if (!writer.write_scanlines(top, top + rows, 0, OIIO::BaseTypeFromC<Stored>::value,
                                    stored.data())) {
            return false;
        }
    }
    return true;
}

bool writeRows(World const& world, RowPlan const& plan, OIIO::ImageOutput& writer) {
    return withChannelOf(world.depth(), [&](auto channel) {
        using Channel = decltype(channel);
        return plan.isStraight ? writeStrips<Channel, Channel>(world, plan, writer)
                               : writeStrips<Channel, float>(world, plan, writer);
    });
}

void checkWhole(fs::path const& file, fs::path const& target) {
    try {
        PictureReader(file).readThrough();
    } catch (UserError const&) {
        throw unwritable(target, "incomplete");
    }
}

}  // namespace

void checkTarget(fs::path const& target) {
    makeWriter(target);
    std::error_code fault;
    fs::path const file = resolved(target);
    fs::path const folder = file.has_parent_path() ? file.parent_path() : fs::path(".");
    if (!fs::is_directory(folder, fault)) throw unwritable(target, "no folder " + folder.string());
    if (fs::exists(file, fault) && !fs::is_regular_file(file, fault)) {
        throw unwritable(target, "not a regular file");
    }
    bool const isRefused = ::access(folder.c_str(), W_OK | X_OK) != 0 ||
                           (fs::exists(file, fault) && ::access(file.c_str(), W_OK) != 0);
    if (isRefused) throw unwritable(target, std::strerror(errno));
}

void writePicture(World const& world, fs::path const& target, PictureTraits const& traits) {
    TemporaryFile file(resolved(target));
    QuietLibraries const quiet;
    auto const writer = makeWriter(target);  // gone before the file: its end may write once more
    RowPlan const plan = planRows(*writer, world.depth(), traits);
    bool const isWritten = writer->open(file.path().string(), specOf(world, plan, traits)) &&
                           writeRows(world, plan, *writer) && writer->close();
    if (!isWritten || writer->has_error()) throw unwritable(target, writer->geterror());
    if (!isOneOf(kNotice, writer->format_name())) checkWhole(file.path(), target);
    file.putInPlace();
}

}  // namespace zelk
