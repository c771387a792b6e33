// The program's arguments, its pipe and its end; see writer.h.
#include "zelk/movies/writer.h"

#include <fmt/format.h>

#include <algorithm>
#include <system_error>
#include <utility>

#include "zelk/color/movie_tags.h"
#include "zelk/files/output_place.h"
#include "zelk/pictures/channel_values.h"
#include "zelk/pictures/world_rows.h"
#include "zelk/text/errors.h"
#include "zelk/text/numbers.h"

namespace zelk {

namespace {

namespace fs = std::filesystem;

struct Container {
    char const* extension;
    bool keepsAlpha;
    std::vector<std::string> codec;
};

/// The matrix that the file is marked with. The program's own scaler takes white of 16 bits beyond
/// the white of video (943 of 10 bits, where 940 is right); zscale doesn't.
constexpr char const* kToVideo =
    "format=gbrap16le,zscale=matrixin=gbr:rangein=full:matrix=709:range=limited";

std::vector<Container> const& containers() {
    static std::vector<Container> const all = {
        {".mov",
         true,
         {"-vf", kToVideo, "-c:v", "prores_ks", "-profile:v", "4444", "-pix_fmt", "yuva444p10le",
          "-vendor", "apl0"}},
        {".mkv", true, {"-c:v", "ffv1", "-level", "3", "-pix_fmt", "gbrap16le"}},
        // Sides are made even, as 4:2:0 needs them.
        {".mp4",
         false,
         {"-vf", "pad=ceil(iw/2)*2:ceil(ih/2)*2," + std::string(kToVideo), "-c:v", "libx264",
          "-crf", "16", "-pix_fmt", "yuv420p"}},
    };
    return all;
}

Container const* containerOf(fs::path const& file) {
    std::string const extension = lowered(file.extension().string());
    for (Container const& container : containers())
        if (extension == container.extension) return &container;
    return nullptr;
}

/// `file` empty: coded, and written nowhere.
std::vector<std::string> programWords(Container const& container, fs::path const& file, int width,
                                      int height, TimeBase const& timeBase,
                                      CurveSpace const& color = {}) {
    std::vector<std::string> words = {"ffmpeg",
                                      "-v",
                                      "error",
                                      "-nostdin",
                                      "-y",
                                      "-f",
                                      "rawvideo",
                                      "-pix_fmt",
                                      "rgba64le",
                                      "-s",
                                      fmt::format("{}x{}", width, height),
                                      "-r",
                                      fmt::format("{}/{}", timeBase.scale, timeBase.step),
                                      "-i",
                                      "-"};
    words.insert(words.end(), container.codec.begin(), container.codec.end());
    addMovieTags(color, words);
    if (file.empty())
        words.insert(words.end(), {"-f", "null", "-"});
    else
        words.push_back(file.string());
    return words;
}

UserError noProgram(fs::path const& target) {
    return {ExitCode::kOutput,
            target.string() + ": movies need the program ffmpeg; install the package ffmpeg"};
}

UserError failureOf(ChildProgram const& program, fs::path const& target) {
    std::string const words = program.words();
    return {ExitCode::kOutput, target.string() + ": ffmpeg failed" +
                                   (words.empty() ? " without a reason" : ": " + words)};
}

/// A stored value from 0 to 1 as 16 bits, to nearest.
std::uint16_t deep(float unit) {
    return static_cast<std::uint16_t>(std::clamp(unit, 0.0f, 1.0f) * 65535.0f + 0.5f);
}

}  // namespace

bool isMovieName(fs::path const& file) { return containerOf(file) != nullptr; }

void requireMovieProgram(fs::path const& target) {
    if (!isProgramThere("ffmpeg")) throw noProgram(target);
}

void checkMovieSize(fs::path const& target, PixelSize size, TimeBase const& timeBase) {
    requireMovieProgram(target);
    ChildProgram program(programWords(*containerOf(target), "", size.width, size.height, timeBase),
                         ChildProgram::Pipe::kToInput);
    std::vector<std::uint16_t> const row(static_cast<std::size_t>(size.width) * 4);
    for (int y = 0; y < size.height; ++y)
        if (!program.write(row.data(), row.size() * sizeof row[0])) break;
    program.closePipe();
    program.await();
    if (!program.hasSucceeded()) throw failureOf(program, target);
}

MovieWriter::MovieWriter(fs::path const& target, int width, int height, TimeBase const& timeBase,
                         CurveSpace const& color)
    : m_target(target),
      m_file(target),
      m_width(width),
      m_height(height),
      m_keepsAlpha(containerOf(target)->keepsAlpha),
      m_row(static_cast<std::size_t>(width) * 4) {
    try {
        m_program.emplace(
            programWords(*containerOf(target), m_file.path(), width, height, timeBase, color),
            ChildProgram::Pipe::kToInput);
    } catch (std::system_error const&) {
        throw noProgram(target);
    }
    m_file.writtenBy(m_program->id());
}

MovieWriter::~MovieWriter() { endProgram(); }

void MovieWriter::endProgram() {
    m_program.reset();
    m_file.writtenBy(0);
}

UserError MovieWriter::failure() const { return failureOf(*m_program, m_target); }

void MovieWriter::add(World const& picture, AlphaForm form) {
    if (picture.width() != m_width || picture.height() != m_height)
        throw UserError(ExitCode::kOutput,
                        {m_target.string(), "a frame of another size than the movie's:",
                         fmt::format("{}x{}", picture.width(), picture.height()),
                         fmt::format("{}x{}", m_width, m_height)});
    AlphaForm const wanted = m_keepsAlpha ? AlphaForm::kStraight : AlphaForm::kAssociated;
    withChannelOf(picture.depth(), [&](auto channel) {
        using Channel = decltype(channel);
        constexpr auto kUnit = static_cast<float>(kWhite<Channel>);
        std::vector<Channel> rgba(m_row.size());
        for (int y = 0; y < m_height; ++y) {
            getRow(picture, y, rgba.data());
            for (std::size_t i = 0; i < rgba.size(); i += 4) {
                float const alpha = static_cast<float>(rgba[i + 3]) / kUnit;
                float factor = 1;
                if (wanted != form)
                    factor = form == AlphaForm::kStraight ? alpha : alpha == 0 ? 1 : 1 / alpha;
                for (std::size_t c = 0; c < 3; ++c)
                    m_row[i + c] = deep(static_cast<float>(rgba[i + c]) / kUnit * factor);
                m_row[i + 3] = deep(alpha);
                m_sawTransparency = m_sawTransparency || alpha < 1;
            }
            if (!m_program->write(m_row.data(), m_row.size() * 2)) throw failure();
        }
    });
}

std::optional<std::string> MovieWriter::finish(bool mayReplace, std::atomic<bool> const& stop) {
    m_program->closePipe();
    bool const isAwaited = m_program->await(&stop);
    if (isAwaited && !m_program->hasSucceeded()) throw failure();
    endProgram();
    if (stop) return std::nullopt;
    if (!m_file.putInPlace(mayReplace)) throw existing(m_target);
    if (m_keepsAlpha || !m_sawTransparency) return std::string();
    return m_target.string() +
           ": alpha can't be kept in this format; the movie is written over black";
}

}  // namespace zelk
