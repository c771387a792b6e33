// What a movie holds, and the decoder's pipe; see frames.h.
#include "zelk/movies/frames.h"

#include <fmt/format.h>

#include <algorithm>
#include <iterator>
#include <regex>
#include <system_error>
#include <utility>

#include "zelk/movies/input_endings.h"
#include "zelk/text/numbers.h"

namespace zelk {

namespace {

namespace fs = std::filesystem;

/// From video levels to colour. The scaler of ffmpeg's own takes white to 65283 of 65535; zscale
/// has no such fault. Untagged movies are BT.709 from 720 lines on, else BT.601.
std::string toColor(std::string const& tag, int width, int height, std::string const& planes) {
    bool const isTagged = !tag.empty() && tag != "unknown" && tag != "unspecified";
    std::string const guess = height >= 720 ? "709" : "170m";
    return fmt::format(",zscale=w={}:h={}:filter=bicubic:matrix=gbr:range=full{},format={}", width,
                       height, isTagged ? "" : ":matrixin=" + guess, planes);
}

/// Bits of a channel that "yuva444p10le" names; 8 for names without.
int bitsOf(std::string const& pixelFormat) {
    static std::regex const deep("(9|10|12|14|16)[lb]e$");
    std::smatch found;
    return std::regex_search(pixelFormat, found, deep) ? std::stoi(found[1]) : 8;
}

}  // namespace

std::span<std::string_view const> movieInputEndings() {
    static constexpr std::string_view kMovies[] = {
        ".mov", ".mp4",  ".mkv", ".m4v", ".avi", ".webm", ".mxf", ".mpg", ".qt", ".mpeg", ".ts",
        ".mts", ".m2ts", ".m2v", ".wmv", ".flv", ".ogv",  ".3gp", ".3g2", ".dv", ".vob",  ".mj2"};
    return kMovies;
}

bool isMovieInput(fs::path const& file) {
    auto const endings = movieInputEndings();
    std::string const extension = lowered(file.extension().string());
    return std::find(endings.begin(), endings.end(), extension) != endings.end();
}

bool MovieFrames::isAvailable() { return isProgramThere("ffmpeg") && isProgramThere("ffprobe"); }

MovieFrames::MovieFrames(fs::path file)
    : m_file(std::move(file)),
      m_facts(factsOfMovie(m_file)),
      m_color(spaceOfTags(m_facts.primaries, m_facts.transfer)) {
    // Names such as yuv422p10le, p010le, rgb48le, gbrapf32le; of 8 bits yuv420p, nv16, rgb565le.
    static std::regex const deep("(9|10|12|14|16|20|48|64|32)[lb]e$");
    static std::regex const alpha("yuva|gbrap|rgba|bgra|argb|abgr|^ya|pal8");
    static std::regex const rgb("^(rgb|bgr|gbr|argb|abgr|0rgb|0bgr|x2|pal8|mono)");
    std::string const& format = m_facts.pixelFormat;
    m_isDeep = std::regex_search(format, deep);
    m_hasAlpha = std::regex_search(format, alpha);
    if (std::regex_search(format, rgb)) return;
    m_toColor = toColor(m_facts.matrix, m_facts.width, m_facts.height,
                        std::string(m_hasAlpha ? "gbrap" : "gbrp") + (m_isDeep ? "16le" : ""));
    if (m_hasAlpha && m_isDeep) m_alphaBits = bitsOf(format);
}

OIIO::ImageSpec MovieFrames::spec() const {
    OIIO::ImageSpec spec(m_facts.width, m_facts.height, m_hasAlpha ? 4 : 3,
                         m_isDeep ? OIIO::TypeUInt16 : OIIO::TypeUInt8);
    spec.attribute("oiio:subimages", count());
    spec.attribute("oiio:UnassociatedAlpha", 1);
    CurveSpace const& color = m_color.space;
    spec.attribute("oiio:ColorSpace", m_color.unknown.empty() ? curveName(color) : m_color.unknown);
    if (color.primaries != kRec709Primaries)
        spec.attribute("chromaticities", OIIO::TypeDesc(OIIO::TypeDesc::FLOAT, 8),
                       color.primaries.data());
    return spec;
}

std::vector<std::string> MovieFrames::decoderWords(int first) const {
    std::string const format =
        m_isDeep ? (m_hasAlpha ? "rgba64le" : "rgb48le") : (m_hasAlpha ? "rgba" : "rgb24");
    bool const seeks = m_facts.isSeekable && first > 0;
    std::string const filter = fmt::format("select=gte(n\\,{}){}", seeks ? 0 : first, m_toColor);
    std::vector<std::string> words = {"ffmpeg", "-v", "error", "-nostdin", "-noautorotate"};
    if (seeks) {  // to a moment between two pictures, which rounding leaves there
        auto const at = static_cast<std::size_t>(first);
        double const moment = (m_facts.timesSec[at - 1] + m_facts.timesSec[at]) / 2;
        words.insert(words.end(), {"-ss", fmt::format("{:.6f}", moment)});
    }
    words.insert(words.end(), {"-i", movieUrl(m_file), "-map", "0:v:0", "-vf", filter, "-vsync",
                               "passthrough", "-f", "rawvideo", "-pix_fmt", format, "-"});
    return words;
}

bool MovieFrames::start(int first) {
    m_decoder.reset();
    m_nextRow = std::int64_t{first} * m_facts.height;
    try {
        m_decoder.emplace(decoderWords(first), ChildProgram::Pipe::kFromOutput);
        return true;
    } catch (std::system_error const&) {
        return false;
    }
}

bool MovieFrames::readRow(int number, int y, void* row) {
    if (number >= count()) return false;
    constexpr int kNearPictures = 8;  // a start of the program takes longer than to decode them
    std::int64_t const wanted = std::int64_t{number} * m_facts.height + y;
    bool const isFar =
        m_facts.isSeekable && wanted - m_nextRow > std::int64_t{kNearPictures} * m_facts.height;
    if ((!m_decoder || wanted < m_nextRow || isFar) && !start(number)) return false;
    std::size_t const bytes = spec().scanline_bytes();
    // What is passed over is read into the same place.
    for (; m_nextRow <= wanted; ++m_nextRow)
        if (!m_decoder->read(row, bytes)) {
            m_decoder->await();
            return false;
        }
    if (m_alphaBits > 0) widenAlpha(static_cast<std::uint16_t*>(row));
    return true;
}

void MovieFrames::widenAlpha(std::uint16_t* rgba) const {
    unsigned const most = (1u << m_alphaBits) - 1;
    for (int x = 0; x < m_facts.width; ++x, rgba += 4)
        rgba[3] = static_cast<std::uint16_t>(((rgba[3] >> (16 - m_alphaBits)) * 65535u + most / 2) /
                                             most);
}

std::string MovieFrames::words() const {
    std::string const words = m_decoder ? m_decoder->words() : std::string();
    return words.empty() ? "the movie ends before this picture" : words;
}

MoviePicture::MoviePicture(std::shared_ptr<MovieFrames> movie, int number)
    : m_movie(std::move(movie)), m_number(std::max(number, 0)) {
    m_spec = m_movie->spec();
}

bool MoviePicture::seek_subimage(int subimage, int miplevel) {
    if (subimage < 0 || subimage >= m_movie->count() || miplevel != 0) return false;
    m_number = subimage;
    return true;
}

bool MoviePicture::read_native_scanline(int subimage, int, int y, int, void* data) {
    if (m_movie->readRow(subimage, y, data)) return true;
    errorfmt("{}", m_movie->words());
    return false;
}

}  // namespace zelk
