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
constexpr std::array<std::string_view, 8> kIntegerFormats = {"png", "jpeg", "targa", "webp",
                                                             "bmp", "gif",  "dpx",   "cineon"};
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
    bool isStraight = true;    ///< colour in the file
    bool fromStraight = true;  ///< colour in the world
    /// Colour where alpha is 0 goes over unchanged: it can't be divided, or was never multiplied.
    bool keepsUncovered = false;
    OIIO::TypeDesc type;  ///< of the file
};

/// The deepest samples of the format that `depth` asks for; writers take less by themselves.
OIIO::TypeDesc sampleType(std::string_view format, Depth depth, bool isHalf) {
    bool const holdsFloat = !isOneOf(kIntegerFormats, format);
    if (depth == Depth::k8 && format != "openexr") return OIIO::TypeUInt8;
    if (depth == Depth::k16 && format != "openexr") return OIIO::TypeUInt16;
    if (!holdsFloat) return OIIO::TypeUInt16;
    return isHalf || (depth == Depth::k8 && format == "openexr") ? OIIO::TypeHalf : OIIO::TypeFloat;
}

RowPlan planRows(OIIO::ImageOutput const& writer, WriteRequest const& request) {
    RowPlan plan;
    if (request.opaque || !writer.supports("alpha")) plan.channels = 3;
    plan.isStraight = plan.channels == 4 && isOneOf(kStraightFormats, writer.format_name());
    plan.fromStraight = request.form == AlphaForm::kStraight;
    plan.keepsUncovered = plan.channels == 4 && (!plan.fromStraight || request.traits.isAssociated);
    plan.type = sampleType(writer.format_name(), request.depth, request.traits.isHalf);
    return plan;
}

OIIO::ImageSpec specOf(World const& world, RowPlan const& plan, WriteRequest const& request) {
    OIIO::ImageSpec spec(world.width(), world.height(), plan.channels, plan.type);
    spec.x = spec.full_x = request.traits.originX;
    spec.y = spec.full_y = request.traits.originY;
    if (request.keepMetadata) {
        for (auto const& value : request.traits.metadata) spec.extra_attribs.push_back(value);
        spec.attribute("Software", "zelk " ZELK_VERSION);
        if (!request.history.empty()) spec.attribute("Exif:ImageHistory", request.history);
    }
    if (plan.isStraight) spec.attribute("oiio:UnassociatedAlpha", 1);
    return spec;
}

/// One row to a file's values; `Stored` is the world's channel where nothing has to be computed.
template <class Channel, class Stored>
void storeRow(Channel const* rgba, int width, RowPlan const& plan, Stored* values) {
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

struct Written {
    bool isWhole = false;
    bool sawTransparency = false;
};

template <class Channel, class Stored>
Written writeStrips(World const& world, RowPlan const& plan, OIIO::ImageOutput& writer) {
    int const strip =
        std::min(std::clamp((1 << 18) / world.width(), 16, 256) / 16 * 16, world.height());
    auto const rowValues = static_cast<std::size_t>(world.width() * plan.channels);
    std::vector<Channel> rgba(static_cast<std::size_t>(world.width()) * 4);
    std::vector<Stored> stored(rowValues * static_cast<std::size_t>(strip));
    int const firstRow = writer.spec().y;
    Written written;
    for (int top = 0; top < world.height(); top += strip) {
        int const rows = std::min(strip, world.height() - top);
        for (int y = 0; y < rows; ++y) {
            getRow(world, top + y, rgba.data());
            for (std::size_t i = 3; i < rgba.size(); i += 4)
                written.sawTransparency = written.sawTransparency || rgba[i] < kWhite<Channel>;
            storeRow(rgba.data(), world.width(), plan,
                     &stored[rowValues * static_cast<std::size_t>(y)]);
        }
        if (!writer.write_scanlines(firstRow + top, firstRow + top + rows, 0,
                                    OIIO::BaseTypeFromC<Stored>::value, stored.data())) {
            return written;
        }
    }
    written.isWhole = true;
    return written;
}

/// Straight integers of the file's own depth go over exactly; all else through float.
Written writeRows(World const& world, RowPlan const& plan, OIIO::ImageOutput& writer) {
    return withChannelOf(world.depth(), [&](auto channel) {
        using Channel = decltype(channel);
        bool const isExact = plan.isStraight && plan.fromStraight &&
                             plan.type == OIIO::BaseTypeFromC<Channel>::value;
        return isExact ? writeStrips<Channel, Channel>(world, plan, writer)
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

void checkTarget(fs::path const& target, bool noClobber) {
    if (target == "-") {
        throw UserError(ExitCode::kOutput, {"--output", "standard output can't hold a picture,",
                                            "-", "a file, which is renamed into place when whole"});
    }
    makeWriter(target);
    std::error_code fault;
    if (noClobber && fs::exists(target, fault))
        throw unwritable(target, "it exists and --no-clobber is given");
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

std::string writePicture(World const& world, fs::path const& target, WriteRequest const& request) {
    TemporaryFile file(resolved(target));
    QuietLibraries const quiet;
    auto const writer = makeWriter(target);  // gone before the file: its end may write once more
    RowPlan const plan = planRows(*writer, request);
    Written written;
    if (writer->open(file.path().string(), specOf(world, plan, request)))
        written = writeRows(world, plan, *writer);
    bool const isClosed = writer->close();
    std::string const error = writer->geterror();
    // The TIFF writer complains of an Exif directory without entries, after a whole picture.
    bool const isHarmless = error.find("Exif data") != std::string::npos;
    if (!written.isWhole || !isClosed || !(error.empty() || isHarmless))
        throw unwritable(target, error);
    if (!isOneOf(kNotice, writer->format_name())) checkWhole(file.path(), target);
    file.putInPlace();
    if (plan.channels == 4 || request.opaque || !written.sawTransparency) return {};
    return target.string() + ": the format has no alpha; the picture is written over black";
}

}  // namespace zelk
