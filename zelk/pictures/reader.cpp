// Reading of layers by OpenImageIO; see reader.h.
//
// Integer files with straight colour are read as stored and converted here, exactly; all others
// are read as float.
#include "zelk/pictures/reader.h"

#include <algorithm>
#include <cstring>
#include <utility>
#include <vector>

#include "zelk/files/quiet_libraries.h"
#include "zelk/pictures/box_reduce.h"
#include "zelk/pictures/channel_values.h"
#include "zelk/pictures/dpx_length.h"
#include "zelk/pictures/exr_threads.h"
#include "zelk/pictures/pixel_size.h"
#include "zelk/pictures/row_values.h"
#include "zelk/pictures/world_rows.h"
#include "zelk/text/errors.h"
#include "zelk/text/numbers.h"

namespace zelk {

static_assert(kLargestPx == kMaxWorldSide, "a picture that may be read fits a world");

namespace {

/// A library's reason in our words where it is a common one. Libraries add a line for each layer
/// that an error passes: the first says what happened.
std::string plainReason(std::string const& reason) {
    std::string const text = lowered(reason);
    for (char const* end : {"end of file", "premature end", "unexpected eof", "truncated"})
        if (text.find(end) != std::string::npos) return "the file breaks off";
    std::string const first = reason.substr(0, reason.find('\n'));
    return first.empty() ? "unknown format" : shortened(first);
}

UserError unreadable(std::filesystem::path const& file, std::string const& reason) {
    return {ExitCode::kInput, file.string() + ": cannot be read: " + plainReason(reason)};
}

/// About a file that no reader of pictures takes.
UserError notAPicture(std::filesystem::path const& file) {
    bool const mayBeProject = lowered(file.extension().string()) == ".json";
    return {ExitCode::kInput,
            file.string() + ": not a picture" +
                (mayBeProject ? ": a project is rendered by `zelk render --project FILE`"
                              : " in any format that can be read")};
}

void checkFile(std::filesystem::path const& file) {
    std::error_code fault;
    auto const status = std::filesystem::status(file, fault);
    char const* wrong = nullptr;
    if (!std::filesystem::exists(status))
        wrong = "no such file";
    else if (std::filesystem::is_directory(status))
        wrong = "a directory, not a picture";
    else if (!std::filesystem::is_regular_file(status))
        wrong = "not a regular file";
    if (wrong) throw UserError(ExitCode::kInput, file.string() + ": " + wrong);
}

std::unique_ptr<OIIO::ImageInput> openPicture(std::filesystem::path const& file) {
    checkFile(file);
    OIIO::ImageSpec config;
    config.attribute("oiio:UnassociatedAlpha", 1);  // straight colour as it is stored
    auto input = OIIO::ImageInput::open(file.string(), &config);
    if (input) return requireExrThreads(input->format_name(), file), std::move(input);
    std::string const reason = OIIO::geterror();
    bool const isUnknown = reason.find("find a format reader") != std::string::npos;
    throw isUnknown ? notAPicture(file) : unreadable(file, reason);
}

/// Metadata about how the file stores its pixels, which a copy must not inherit.
bool isAboutStorage(std::string_view name) {
    // What OpenImageIO says of a profile is in the profile itself.
    for (char const* prefix :
         {"oiio:", "tiff:", "openexr:", "png:", "jpeg:", "webp:", "dpx:Image", "dpx:EndOf",
          "dpx:Low", "dpx:High", "targa:", "bmp:", "ICCProfile:"}) {
        if (name.rfind(prefix, 0) == 0) return name != "oiio:ColorSpace";
    }
    for (char const* exact : {"compression", "planarconfig", "chunkCount", "IPTC:ImageDescription",
                              "rowsperstrip", "Exif:PixelXDimension", "Exif:PixelYDimension"}) {
        if (name == exact) return true;
    }
    return false;
}

/// Whether a colour profile is whole and one for red, green and blue: that is what is written.
bool isRgbProfile(OIIO::ParamValue const& profile) {
    auto const* bytes = static_cast<unsigned char const*>(profile.data());
    auto const size = static_cast<std::size_t>(profile.type().size());
    if (size < 132) return false;
    std::size_t const declared = static_cast<std::size_t>(bytes[0]) << 24 |
                                 static_cast<std::size_t>(bytes[1]) << 16 |
                                 static_cast<std::size_t>(bytes[2]) << 8 | bytes[3];
    return declared == size && std::memcmp(bytes + 16, "RGB ", 4) == 0 &&
           std::memcmp(bytes + 36, "acsp", 4) == 0;
}

/// Index of the alpha channel, or -1. The reader of GIF points beyond its channels.
int alphaChannel(OIIO::ImageSpec const& spec) {
    if (spec.alpha_channel < spec.nchannels) return spec.alpha_channel;
    return spec.channelindex("A");
}

std::string partName(OIIO::ImageSpec const& spec) {
    return std::string(spec.get_string_attribute("oiio:subimagename"));
}

/// OpenImageIO gives the pixel aspect of JPEG as horizontal over vertical density, the inverse of a
/// pixel's width over its height; it writes the right densities.
void turnAspect(OIIO::ParamValueList& metadata) {
    float const given = metadata.get_float("PixelAspectRatio", 0);
    if (given > 0) metadata["PixelAspectRatio"] = 1 / given;
}

PictureTraits traitsOf(OIIO::ImageSpec const& spec, OIIO::TypeDesc type) {
    PictureTraits traits;
    traits.isHalf = type == OIIO::TypeHalf;
    traits.depth = type.basesize() == 1                     ? Depth::k8
                   : type.basesize() == 2 && !traits.isHalf ? Depth::k16
                                                            : Depth::kFloat;
    traits.hasAlpha = alphaChannel(spec) >= 0;
    traits.bits = spec.get_int_attribute("oiio:BitsPerSample", 0);
    traits.compression = spec.get_string_attribute("compression");
    traits.compressionLevel = spec.get_float_attribute("openexr:dwaCompressionLevel", 0);
    for (auto const& value : spec.extra_attribs) {
        bool const isLost = value.name() == "ICCProfile" && !isRgbProfile(value);
        if (!isLost && !isAboutStorage(value.name().string())) traits.metadata.push_back(value);
    }
    return traits;
}

}  // namespace

int PictureReader::countOf(std::filesystem::path const& file) {
    QuietLibraries const quiet;
    return openPicture(file)->spec().get_int_attribute("oiio:subimages", 1);
}

PictureReader::PictureReader(std::filesystem::path const& file, int number,
                             std::unique_ptr<OIIO::ImageInput> input, ReadOptions const& how)
    : m_file(file), m_how(how), m_number(number) {
    QuietLibraries const quiet;
    m_input = input ? std::move(input) : openPicture(file);
    if (number > 0 && !m_input->seek_subimage(number, 0)) {
        m_input->geterror();
        throw UserError(ExitCode::kInput,
                        {file.string(), "no picture number", std::to_string(number),
                         "one of those that the file holds"});
    }
    std::string_view const format = m_input->format_name();
    std::error_code fault;
    if (format == "dpx" && std::filesystem::file_size(file, fault) < leastDpxBytes(file))
        throw unreadable(file, "the file breaks off");
    takeWindows();
    OIIO::ImageSpec const& spec = m_input->spec();
    m_channels = mapChannels();
    m_traits = traitsOf(spec, sampleType());
    m_traits.format = format;
    if (format == "jpeg") turnAspect(m_traits.metadata);
    setUpright(m_traits.metadata, m_turn);
    m_traits.originX = displayWindow().left;
    m_traits.originY = displayWindow().top;
    // JPEG 2000 is read straight when asked, as it is here, and movies are, but don't say so.
    bool const isStraight = spec.get_int_attribute("oiio:UnassociatedAlpha") != 0 ||
                            format == "jpeg2000" || format == "FFmpeg movie";
    m_isAssociated = m_channels.alpha >= 0 && !isStraight;
    m_traits.isAssociated = m_isAssociated;
    if (m_how.passesExtras) noteExtras();
    noteWarnings();
}

/// Where the picture lies, and how.
void PictureReader::takeWindows() {
    OIIO::ImageSpec const& spec = m_input->spec();
    // The library swaps the sides of a DPX on its side, but not its pixels: it stays as it comes.
    bool const isDpx = std::string_view(m_input->format_name()) == "dpx";
    Orientation const turn = orientationOf(spec);
    if (!m_how.keepsOrientation && !(isDpx && turn.isTransposed)) m_turn = turn;
    Window const display = displayWindow();
    PixelMargins const beyond = {std::max(display.left - spec.x, 0),
                                 std::max(display.top - spec.y, 0),
                                 std::max(spec.x + spec.width - display.left - display.width, 0),
                                 std::max(spec.y + spec.height - display.top - display.height, 0)};
    m_overscan = upright(beyond, m_turn);
    PixelMargins const kept = m_how.keepsOverscan ? beyond : PixelMargins{};
    PixelSize const stored = PixelSize{display.width, display.height} + kept;
    m_width = stored.width;
    m_height = stored.height;
    m_dataLeft = spec.x - display.left + kept.left;
    m_dataTop = spec.y - display.top + kept.top;
    m_size = upright(stored, m_turn);
    checkSize();
}

PixelSize PictureReader::displaySize() const {
    if (!m_how.keepsOverscan) return m_size;
    return {m_size.width - m_overscan.left - m_overscan.right,
            m_size.height - m_overscan.top - m_overscan.bottom};
}

std::uint64_t PictureReader::turningBytes(int channelBytes) const {
    if (!m_turn.needsWhole()) return 0;
    return std::uint64_t{4} * static_cast<std::uint64_t>(channelBytes) *
           static_cast<std::uint64_t>(m_width) * static_cast<std::uint64_t>(m_height);
}

/// Other formats than OpenEXR know a position at most, and OpenImageIO's full size of them is the
/// picture's own or a guess: all that is stored is the picture.
PictureReader::Window PictureReader::displayWindow() const {
    OIIO::ImageSpec const& spec = m_input->spec();
    if (std::string_view(m_input->format_name()) == "openexr")
        return {spec.full_x, spec.full_y, spec.full_width, spec.full_height};
    return {spec.x, spec.y, spec.width, spec.height};
}

void PictureReader::checkSize() const {
    OIIO::ImageSpec const& spec = m_input->spec();
    Window const window = displayWindow();
    std::string const size = std::to_string(m_width) + "x" + std::to_string(m_height);
    if (spec.deep || spec.depth > 1) {
        throw UserError(ExitCode::kInput,
                        {m_file.string(), "deep or volume picture of", size, "a flat picture"});
    }
    bool const isEmpty = spec.width < 1 || spec.height < 1 || window.width < 1 ||
                         window.height < 1 || spec.nchannels < 1;
    if (isEmpty || m_width > kLargestPx || m_height > kLargestPx) {
        throw UserError(ExitCode::kInput,
                        {m_file.string(), isEmpty ? "picture of no size" : "picture too large:",
                         size, "sides from 1 to " + std::to_string(kLargestPx) + " pixels"});
    }
}

PictureReader::ChannelMap PictureReader::mapChannels() const {
    OIIO::ImageSpec const& spec = m_input->spec();
    int const alpha = alphaChannel(spec);
    std::vector<int> colors;
    for (int c = 0; c < spec.nchannels; ++c) {
        if (c != alpha && c != spec.z_channel) colors.push_back(c);
    }
    if (colors.empty()) colors.push_back(0);
    if (colors.size() < 3) colors.assign(3, colors[0]);
    int const last = std::max({colors[0], colors[1], colors[2], alpha});
    return {colors[0], colors[1], colors[2], alpha, last + 1};
}

/// The deepest of the channels that are used: a file may keep its depth deeper than its colours.
OIIO::TypeDesc PictureReader::sampleType() const {
    OIIO::ImageSpec const& spec = m_input->spec();
    OIIO::TypeDesc deepest = spec.channelformat(m_channels.red);
    for (int const c : {m_channels.green, m_channels.blue, m_channels.alpha}) {
        if (c >= 0 && spec.channelformat(c).basesize() > deepest.basesize())
            deepest = spec.channelformat(c);
    }
    return deepest;
}

/// Some readers count their pictures; of others' files it shows whether there is a second one.
bool PictureReader::holdsMorePictures() {
    if (m_number >= 0 || !m_traits.extras.parts.empty()) return false;  // chosen, or kept
    std::string_view const format = m_input->format_name();
    bool const isUncounted =
        format == "tiff" || format == "gif" || format == "ico" || format == "psd";
    if (!isUncounted) return m_input->spec().get_int_attribute("oiio:subimages", 1) > 1;
    bool const isThere = m_input->seek_subimage(1, 0);
    m_input->geterror();
    if (!m_input->seek_subimage(0, 0)) throw unreadable(m_file, m_input->geterror());
    return isThere;
}

/// About 4 MB of float pixels, in whole compression blocks of up to 16 rows and whole tiles.
int PictureReader::stripRows() const {
    int const rows = stripRowsOf(m_width);
    int const tile = std::max(1, m_input->spec().tile_height);
    return (rows + tile - 1) / tile * tile;
}

bool PictureReader::read(int firstRow, int endRow, OIIO::TypeDesc type, void* values) {
    OIIO::ImageSpec const& spec = m_input->spec();
    int const top = spec.y + firstRow, bottom = spec.y + endRow;
    int const first = m_channels.first, end = first + m_channels.count;
    return spec.tile_width > 0
               ? m_input->read_tiles(std::max(m_number, 0), 0, spec.x, spec.x + spec.width, top,
                                     bottom, spec.z, spec.z + 1, first, end, type, values)
               : m_input->read_scanlines(std::max(m_number, 0), 0, top, bottom, spec.z, first, end,
                                         type, values);
}

/// Halves come as they are stored and are made floats here, by vectors.
template <class Stored>
void PictureReader::fetch(int firstRow, int endRow, Stored* values) {
    OIIO::ImageSpec const& spec = m_input->spec();
    bool isRead = false;
    if (std::is_same_v<Stored, float> && spec.format == OIIO::TypeHalf &&
        spec.channelformats.empty()) {
        m_halves.resize(static_cast<std::size_t>(spec.width * m_channels.count) *
                        static_cast<std::size_t>(endRow - firstRow));
        isRead = read(firstRow, endRow, OIIO::TypeHalf, m_halves.data());
        if constexpr (std::is_same_v<Stored, float>)
            vectorRows().fromHalf(m_halves.data(), m_halves.size(), values);
    } else {
        isRead = read(firstRow, endRow, OIIO::BaseTypeFromC<Stored>::value, values);
    }
    if (!isRead || m_input->has_error()) throw unreadable(m_file, m_input->geterror());
}

/// Channels that are neither colour nor alpha.
std::vector<int> PictureReader::otherChannels() const {
    std::vector<int> others;
    for (int c = 0; c < m_input->spec().nchannels; ++c)
        if (c != m_channels.red && c != m_channels.green && c != m_channels.blue &&
            c != m_channels.alpha)
            others.push_back(c);
    return others;
}

/// What goes along into an OpenEXR output: only what lies as the output's picture does, under a
/// name that is free, and no deep part beside flat ones, which OpenImageIO doesn't write.
void PictureReader::noteExtras() {
    if (m_traits.format != "openexr" || m_number >= 0 || !m_turn.isUpright()) return;
    OIIO::ImageSpec const spec = m_input->spec();
    ExtraChannels& extras = m_traits.extras;
    extras.file = m_file;
    for (int const c : otherChannels()) {
        constexpr std::string_view kTaken[] = {"R", "G", "B", "A"};
        std::string const name(spec.channel_name(c));
        if (std::find(std::begin(kTaken), std::end(kTaken), name) == std::end(kTaken))
            extras.channels.push_back(c);
    }
    int const count = spec.get_int_attribute("oiio:subimages", 1);
    for (int part = 1; part < count && m_input->seek_subimage(part, 0); ++part) {
        if (!m_input->spec().deep)
            extras.parts.push_back(part);
        else
            m_warnings.push_back(m_file.string() + ": deep part dropped: \"" +
                                 partName(m_input->spec()) + "\"");
    }
    if (!m_input->seek_subimage(0, 0)) throw unreadable(m_file, m_input->geterror());
}

/// Another part of the file, for one of its channels; it must have the first one's size.
void PictureReader::selectPart(int part) {
    PixelSize const size = m_size;
    if (!m_input->seek_subimage(part, 0)) throw unreadable(m_file, m_input->geterror());
    m_number = part;
    takeWindows();
    if (m_size == size) return;
    throw UserError(ExitCode::kInput,
                    m_file.string() + ": the channel's part has another size than the first one");
}

void PictureReader::selectChannel(std::string const& name) {
    QuietLibraries const quiet;
    int const colors[] = {m_channels.red, m_channels.green, m_channels.blue, m_channels.alpha};
    ChannelMap const stored = m_channels;
    m_isAssociated = false;
    auto const take = [this](int channel) { m_channels = {0, 0, 0, -1, 1, channel}; };
    if (name.empty() && stored.alpha >= 0) return take(stored.alpha);
    std::string names;
    int const parts = m_number >= 0 ? 1 : m_input->spec().get_int_attribute("oiio:subimages", 1);
    for (int part = 0; part < parts && !name.empty(); ++part) {
        if (part > 0) m_input->seek_subimage(part, 0);
        OIIO::ImageSpec const spec = m_input->spec();
        std::string const prefix = partName(spec) + ".";
        for (int c = 0; c < spec.nchannels; ++c) {
            std::string const own(spec.channel_name(c));
            bool const isIt = (own == name || prefix + own == name) && !spec.deep;
            if (isIt && part > 0) selectPart(part);
            if (isIt) return take(c);
            names += (names.empty() ? "" : ", ") + own;
        }
    }
    if (parts > 1) m_input->seek_subimage(0, 0);
    std::string const letter = lowered(name);
    auto const at = std::string_view("rgba").find(letter);
    if (letter.size() == 1 && at != std::string_view::npos && colors[at] >= 0)
        return take(colors[at]);
    if (!name.empty() && letter != "y")
        throw UserError(ExitCode::kInput,
                        {m_file.string(), "no channel", name,
                         "R, G, B, A, Y, or one of " + oneLine(shortened(names))});
    m_channels.alpha = -1;
}

void PictureReader::noteWarnings() {
    OIIO::ImageSpec const& spec = m_input->spec();
    std::string dropped;
    for (int const c : otherChannels()) {
        auto const& kept = m_traits.extras.channels;
        if (std::find(kept.begin(), kept.end(), c) != kept.end()) continue;
        dropped += (dropped.empty() ? "" : ", ") + std::string(spec.channel_name(c));
    }
    if (!dropped.empty())
        m_warnings.push_back(m_file.string() + ": channels dropped: \"" + oneLine(dropped) + "\"");
    if (holdsMorePictures())
        m_warnings.push_back(m_file.string() + ": only the first of several pictures is used");
    auto const* profile = spec.find_attribute("ICCProfile");
    if (profile && !isRgbProfile(*profile))
        m_warnings.push_back(m_file.string() + ": colour profile dropped: it is not one for RGB");
    if (!m_overscan.isNone() && !m_how.keepsOverscan)
        m_warnings.push_back(m_file.string() + ": overscan outside the display window dropped");
}

template <class Channel, class Stored>
void PictureReader::convert(Stored const* from, AlphaForm form, Channel* rgba) const {
    ChannelMap const& map = m_channels;
    int const colors[3] = {map.red, map.green, map.blue};
    rgba[3] = map.alpha < 0 ? kWhite<Channel> : fromFile<Channel>(from[map.alpha]);
    for (int c = 0; c < 3; ++c) {
        if constexpr (std::is_same_v<Stored, float>) {
            // Straight colour of an associated file; where alpha is 0 there is nothing to divide
            // by.
            bool const divides =
                m_isAssociated && form == AlphaForm::kStraight && from[map.alpha] != 0;
            rgba[c] =
                fromFile<Channel>(divides ? from[colors[c]] / from[map.alpha] : from[colors[c]]);
        } else {
            rgba[c] = fromFile<Channel>(from[colors[c]]);
        }
        if constexpr (std::is_same_v<Channel, float>) {
            if (form == AlphaForm::kAssociated && !m_isAssociated) rgba[c] *= rgba[3];
        }
    }
}

/// `count` pixels as convert makes them: in vectors where the file's channels are red, green, blue,
/// alpha of the world's own type.
template <class Channel, class Stored>
void PictureReader::convertRow(Stored const* from, int count, AlphaForm form, Channel* rgba) const {
    ChannelMap const& map = m_channels;
    bool const isInOrder = map.red == 0 && map.green == 1 && map.blue == 2 && map.alpha == 3;
    if constexpr (std::is_same_v<Channel, Stored>) {
        auto const pixels = static_cast<std::size_t>(count);
        if (isInOrder && map.count == 4) {
            if constexpr (std::is_same_v<Channel, std::uint16_t>)
                return vectorRows().fromFile16(from, 4 * pixels, rgba);
            std::copy_n(from, 4 * pixels, rgba);
            if constexpr (std::is_same_v<Channel, float>) {
                bool const divides = m_isAssociated && form == AlphaForm::kStraight;
                bool const multiplies = !m_isAssociated && form == AlphaForm::kAssociated;
                if (divides || multiplies) vectorRows().byAlpha(rgba, pixels, {divides, divides});
            }
            return;
        }
    }
    for (int x = 0; x < count; ++x) convert(from + x * map.count, form, rgba + 4 * x);
}

/// Calls sink(y, rgba) for each row of the picture as it is stored.
template <class Channel, class Stored, class Sink>
void PictureReader::readStrips(AlphaForm form, Sink const& sink) {
    int const dataWidth = m_input->spec().width, dataHeight = m_input->spec().height;
    int const strip = std::min(stripRows(), dataHeight);
    int const left = std::max(m_dataLeft, 0), right = std::min(m_dataLeft + dataWidth, m_width);
    auto const rowValues = static_cast<std::size_t>(dataWidth * m_channels.count);
    std::vector<Stored> stored(rowValues * static_cast<std::size_t>(strip));
    std::vector<Channel> row(static_cast<std::size_t>(m_width) * 4);
    std::vector<Channel> const blank(row.size());

    int next = 0;  // row of the picture
    for (int const first = std::min(m_dataTop, m_height); next < first; ++next)
        sink(next, blank.data());
    for (int top = 0; top < dataHeight; top += strip) {
        int const rows = std::min(strip, dataHeight - top);
        fetch(top, top + rows, stored.data());
        for (int y = 0; y < rows; ++y) {
            if (m_dataTop + top + y != next || next >= m_height) continue;
            Stored const* from = &stored[rowValues * static_cast<std::size_t>(y)];
            if (left < right)
                convertRow(from + (left - m_dataLeft) * m_channels.count, right - left, form,
                           &row[static_cast<std::size_t>(left) * 4]);
            sink(next++, row.data());
        }
    }
    for (; next < m_height; ++next) sink(next, blank.data());
}

/// Calls sink(y, rgba) for each row of the upright picture, under its matte.
template <class Channel, class Sink>
void PictureReader::readUpright(AlphaForm form, Sink const& sink) {
    std::vector<Channel> matted(m_matte ? static_cast<std::size_t>(m_size.width) * 4 : 0);
    auto const finish = [&](int y, Channel const* rgba) {
        if (!m_matte) return sink(y, rgba);
        std::copy_n(rgba, matted.size(), matted.data());
        multiplyAlpha(matted.data(), m_size.width, m_matte->row(y), form, 3);
        sink(y, static_cast<Channel const*>(matted.data()));
    };
    if (m_turn.isUpright()) return readRows<Channel>(form, finish);
    auto const rowValues = static_cast<std::size_t>(m_width) * 4;
    if (!m_turn.needsWhole()) {
        std::vector<Channel> mirrored(rowValues);
        return readRows<Channel>(form, [&](int y, Channel const* rgba) {
            mirrorRow(rgba, m_width, mirrored.data());
            finish(y, mirrored.data());
        });
    }
    std::vector<Channel> whole(rowValues * static_cast<std::size_t>(m_height));
    readRows<Channel>(form, [&](int y, Channel const* rgba) {
        std::copy_n(rgba, rowValues, &whole[rowValues * static_cast<std::size_t>(y)]);
    });
    eachUprightRow(whole, {m_width, m_height}, m_turn, finish);
}

template <class Channel, class Sink>
void PictureReader::readRows(AlphaForm form, Sink const& sink) {
    QuietLibraries const quiet;
    auto const type = m_input->spec().format;
    if (!m_isAssociated && type == OIIO::TypeUInt8) {
        readStrips<Channel, std::uint8_t>(form, sink);
    } else if (!m_isAssociated && type == OIIO::TypeUInt16) {
        readStrips<Channel, std::uint16_t>(form, sink);
    } else {
        readStrips<Channel, float>(form, sink);
    }
}

void PictureReader::readInto(World& world, int downsample) {
    withChannelOf(world.depth(), [&](auto channel) {
        using Channel = decltype(channel);
        std::vector<Channel> reduced(static_cast<std::size_t>(world.width()) * 4);
        BoxReducer<Channel> reducer(width(), downsample);
        int reducedRow = 0;
        readUpright<Channel>(AlphaForm::kStraight, [&](int y, Channel const* rgba) {
            if (downsample == 1) {
                putRow(world, y, rgba);
            } else if (reducedRow < world.height() && reducer.add(rgba, reduced.data())) {
                putRow(world, reducedRow++, reduced.data());
            }
        });
    });
    m_input->close();
}

void PictureReader::readAssociated(FloatRow const& row) {
    readUpright<float>(AlphaForm::kAssociated, row);
}

World readStraightWorld(PictureReader& picture) {
    World world({picture.width(), picture.height(), picture.traits().depth});
    picture.readInto(world, 1);
    return world;
}

}  // namespace zelk
