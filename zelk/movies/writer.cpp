// The program's arguments, its pipe and its end; see writer.h.
#include "zelk/movies/writer.h"

#include <fmt/format.h>

#include <algorithm>
#include <system_error>
#include <utility>

#include "zelk/color/movie_tags.h"
#include "zelk/files/output_place.h"
#include "zelk/movies/codecs.h"
#include "zelk/movies/probe.h"
#include "zelk/pictures/channel_values.h"
#include "zelk/pictures/world_rows.h"
#include "zelk/text/errors.h"

namespace zelk {

namespace {

namespace fs = std::filesystem;

/// The matrix that the file is marked with. The program's own scaler takes white of 16 bits beyond
/// the white of video (943 of 10 bits, where 940 is right); zscale doesn't.
constexpr char const* kToVideo =
    "format=gbrap16le,zscale=matrixin=gbr:rangein=full:matrix=709:range=limited";

CodecKind const& kindOf(MovieCodec const& codec, MovieRequest const& ask) {
    double const quality = ask.quality.value_or(codec.usual);
    return codec.kinds[codec.mostFactor > 0 ? 0 : static_cast<std::size_t>(quality)];
}

/// Sides are made even where chroma has half of them.
PixelSize codedSize(MovieRequest const& ask) {
    std::string_view const pixels = kindOf(codecOf(ask.target, ask.codec), ask).pixels;
    bool const halvesBoth = pixels.find("420") != pixels.npos;
    bool const halvesWidth = halvesBoth || pixels.find("422") != pixels.npos;
    PixelSize size = ask.size;
    if (halvesWidth) size.width += size.width % 2;
    if (halvesBoth) size.height += size.height % 2;
    return size;
}

/// Of the program: the last column and row once more, since chroma is a mean over them.
std::string widened(PixelSize own, PixelSize coded) {
    if (coded == own) return "";
    return fmt::format("pad={}:{},format=gbrap16le,fillborders=right={}:bottom={}:mode=smear,",
                       coded.width, coded.height, coded.width - own.width,
                       coded.height - own.height);
}

/// Of the program: pixels to what the codec stores, and the codec with its quality.
std::vector<std::string> coderWords(MovieRequest const& ask) {
    MovieCodec const& codec = codecOf(ask.target, ask.codec);
    double const quality = ask.quality.value_or(codec.usual);
    bool const hasFactor = codec.mostFactor > 0;
    CodecKind const& kind = kindOf(codec, ask);
    std::vector<std::string> words;
    if (!codec.isRgb) words = {"-vf", widened(ask.size, codedSize(ask)) + kToVideo};
    words.insert(words.end(), {"-c:v", std::string(codec.coder)});
    if (kind.profile[0]) words.insert(words.end(), {"-profile:v", kind.profile});
    if (hasFactor) words.insert(words.end(), {"-crf", fmt::format("{}", quality)});
    words.insert(words.end(), codec.further.begin(), codec.further.end());
    if (codec.name == "h265" && containerOf(ask.target)->extension != ".mkv")
        words.insert(words.end(), {"-tag:v", "hvc1"});  // what players on desktops ask for
    words.insert(words.end(), {"-pix_fmt", kind.pixels});
    return words;
}

/// The second input.
std::vector<std::string> soundSourceWords(MovieSound const& sound) {
    std::vector<std::string> words;
    if (sound.lateSec > 0) words = {"-itsoffset", fmt::format("{:.6f}", sound.lateSec)};
    if (sound.fromSec > 0) words.insert(words.end(), {"-ss", fmt::format("{:.6f}", sound.fromSec)});
    words.insert(words.end(),
                 {"-t", fmt::format("{:.6f}", sound.lengthSec), "-i", movieUrl(sound.file)});
    return words;
}

/// Each stream as it is where the container takes it.
std::vector<std::string> soundWords(MovieSound const& sound, MovieContainer const& container) {
    std::vector<std::string> words = {"-map", "0:v", "-map", "1:a"};
    for (std::size_t i = 0; i < sound.codecs.size(); ++i) {
        auto const& taken = container.soundCodecs;
        bool const isTaken = std::find(taken.begin(), taken.end(), sound.codecs[i]) != taken.end();
        auto const& coder = container.soundCoder;
        // Samples are coded as they were, which cuts between any two of them; packets are whole.
        std::string const name = !isTaken                              ? coder[0]
                                 : sound.codecs[i].starts_with("pcm_") ? sound.codecs[i]
                                                                       : "copy";
        words.insert(words.end(), {fmt::format("-c:a:{}", i), name});
        // None from before the first picture, which would come late for them.
        if (name == "copy") words.insert(words.end(), {fmt::format("-copypriorss:a:{}", i), "0"});
        if (!isTaken && coder.size() > 1)
            words.insert(words.end(), {fmt::format("-b:a:{}", i), coder[1]});
    }
    return words;
}

/// The whole command. `file` empty: coded, and written nowhere.
std::vector<std::string> programWords(MovieRequest const& ask, fs::path const& file) {
    std::vector<std::string> words = {"ffmpeg", "-v",       "error",    "-nostdin", "-y",
                                      "-f",     "rawvideo", "-pix_fmt", "rgba64le", "-s"};
    auto const add = [&words](std::vector<std::string> const& more) {
        words.insert(words.end(), more.begin(), more.end());
    };
    add({fmt::format("{}x{}", ask.size.width, ask.size.height), "-r",
         fmt::format("{}/{}", ask.timeBase.scale, ask.timeBase.step), "-i", "-"});
    bool const hasSound = ask.sound && !file.empty();
    if (hasSound) add(soundSourceWords(*ask.sound));
    if (hasSound) add(soundWords(*ask.sound, *containerOf(ask.target)));
    add(coderWords(ask));
    addMovieTags(ask.color, words);
    add(file.empty() ? std::vector<std::string>{"-f", "null", "-"}
                     : std::vector<std::string>{file.string()});
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

void requireMovieSize(MovieRequest const& ask) {
    MovieCodec const& codec = codecOf(ask.target, ask.codec);
    PixelSize const size = codedSize(ask);
    if (size.width < codec.leastWidth || size.height < codec.leastHeight)
        throw UserError(
            ExitCode::kUsage,
            {ask.target.string(), fmt::format("frames are too small for {}:", codec.name),
             fmt::format("{}x{}", ask.size.width, ask.size.height),
             fmt::format("{}x{} or more, or another codec", codec.leastWidth, codec.leastHeight)});
}

void checkMovie(MovieRequest const& ask) {
    requireMovieSize(ask);
    requireMovieProgram(ask.target);
    ChildProgram program(programWords(ask, ""), ChildProgram::Pipe::kToInput);
    std::vector<std::uint16_t> const row(static_cast<std::size_t>(ask.size.width) * 4);
    for (int y = 0; y < ask.size.height; ++y)
        if (!program.write(row.data(), row.size() * sizeof row[0])) break;
    program.closePipe();
    program.await();
    if (!program.hasSucceeded()) throw failureOf(program, ask.target);
}

MovieWriter::MovieWriter(MovieRequest const& ask)
    : m_target(ask.target),
      m_file(ask.target),
      m_width(ask.size.width),
      m_height(ask.size.height),
      m_keepsAlpha(codecOf(ask.target, ask.codec).keepsAlpha),
      m_row(static_cast<std::size_t>(m_width) * 4) {
    requireMovieSize(ask);
    try {
        m_program.emplace(programWords(ask, m_file.path()), ChildProgram::Pipe::kToInput);
    } catch (std::system_error const&) {
        throw noProgram(m_target);
    }
    m_file.writtenBy(m_program->id());
}

MovieWriter::~MovieWriter() { endProgram(); }

void MovieWriter::endProgram() {
    m_program.reset();
    m_file.writtenBy(0);
}

/// The program's own words, unless the disk says more.
UserError MovieWriter::failure() const {
    int const fault = growthFault(m_file.path());
    return isFullDisk(fault) ? FullDisk(m_target, fault) : failureOf(*m_program, m_target);
}

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
                m_sawTransparency = m_sawTransparency || m_row[i + 3] < deep(1);
            }
            if (!m_program->write(m_row.data(), m_row.size() * 2)) throw failure();
        }
    });
}

std::optional<std::string> MovieWriter::finish(Finish const& how, std::atomic<bool> const& stop) {
    m_program->closePipe();
    bool const isAwaited = m_program->await(&stop);
    if (isAwaited && !m_program->hasSucceeded()) throw failure();
    endProgram();
    if (stop) return std::nullopt;
    std::string warning;
    if (!m_keepsAlpha && m_sawTransparency)
        warning = m_target.string() +
                  ": alpha can't be kept in this format; the movie is written over black";
    if (how.isStrict && !warning.empty()) throw UserError(ExitCode::kRenderFailed, warning);
    if (!m_file.putInPlace(how.mayReplace)) throw existing(m_target);
    return warning;
}

}  // namespace zelk
