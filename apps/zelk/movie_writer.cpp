// The program's arguments, its pipe and its end; see movie_writer.h.
#include "apps/zelk/movie_writer.h"

#include <fmt/format.h>
#include <spawn.h>
#include <sys/mman.h>
#include <sys/wait.h>
#include <unistd.h>

#include <fcntl.h>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <sstream>
#include <utility>

#include "apps/zelk/channel_values.h"
#include "apps/zelk/errors.h"
#include "apps/zelk/numbers.h"
#include "apps/zelk/world_rows.h"

extern char** environ;

namespace zelk {

namespace {

namespace fs = std::filesystem;

struct Container {
    char const* extension;
    bool keepsAlpha;
    std::vector<std::string> codec;
};

/// The matrix that the file is marked with; the program's own choice is another.
constexpr char const* kToVideo = "scale=out_color_matrix=bt709:flags=accurate_rnd+full_chroma_int";

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
         {"-vf", std::string(kToVideo) + ",pad=ceil(iw/2)*2:ceil(ih/2)*2", "-c:v", "libx264",
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

std::vector<std::string> programWords(Container const& container, fs::path const& file, int width,
                                      int height, TimeBase const& timeBase) {
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
    words.insert(words.end(), {"-colorspace", "bt709", "-color_primaries", "bt709", "-color_trc",
                               "bt709", file.string()});
    return words;
}

UserError noProgram(fs::path const& target) {
    return {ExitCode::kOutput,
            {target.string(), "a movie is written by a program that is not there:", "ffmpeg",
             "the package ffmpeg to be installed"}};
}

/// A stored value from 0 to 1 as 16 bits, to nearest.
std::uint16_t deep(float unit) {
    return static_cast<std::uint16_t>(std::clamp(unit, 0.0f, 1.0f) * 65535.0f + 0.5f);
}

}  // namespace

bool isMovieName(fs::path const& file) { return containerOf(file) != nullptr; }

void requireMovieProgram(fs::path const& target) {
    char const* const path = std::getenv("PATH");
    std::istringstream folders(path ? path : "");
    for (std::string folder; std::getline(folders, folder, ':');)
        if (::access((fs::path(folder) / "ffmpeg").c_str(), X_OK) == 0) return;
    throw noProgram(target);
}

MovieWriter::MovieWriter(fs::path const& target, int width, int height, TimeBase const& timeBase)
    : m_target(target),
      m_file(target),
      m_width(width),
      m_height(height),
      m_keepsAlpha(containerOf(target)->keepsAlpha),
      m_row(static_cast<std::size_t>(width) * 4) {
    int ends[2];
    if (::pipe2(ends, O_CLOEXEC) != 0) throw failure();
    m_pipe = ends[1];
    m_words = ::memfd_create("words", MFD_CLOEXEC);
    std::signal(SIGPIPE, SIG_IGN);  // a program that ends early is seen by the failed write

    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_adddup2(&actions, ends[0], STDIN_FILENO);
    if (m_words >= 0) posix_spawn_file_actions_adddup2(&actions, m_words, STDERR_FILENO);
    // A group of its own: the user's Ctrl-C is for us, and the file is then thrown away.
    posix_spawnattr_t attributes;
    posix_spawnattr_init(&attributes);
    posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETPGROUP | POSIX_SPAWN_SETSIGDEF);
    sigset_t defaults;
    sigemptyset(&defaults);
    sigaddset(&defaults, SIGPIPE);
    posix_spawnattr_setsigdefault(&attributes, &defaults);

    std::vector<std::string> words =
        programWords(*containerOf(target), m_file.path(), width, height, timeBase);
    std::vector<char*> argv;
    for (std::string& word : words) argv.push_back(word.data());
    argv.push_back(nullptr);
    int const fault =
        ::posix_spawnp(&m_program, "ffmpeg", &actions, &attributes, argv.data(), environ);
    posix_spawn_file_actions_destroy(&actions);
    posix_spawnattr_destroy(&attributes);
    ::close(ends[0]);
    if (fault == 0) return;
    m_program = -1;
    endProgram();
    throw noProgram(target);
}

MovieWriter::~MovieWriter() { endProgram(); }

void MovieWriter::endProgram() {
    if (m_pipe >= 0) ::close(std::exchange(m_pipe, -1));
    if (m_program > 0) {
        ::kill(m_program, SIGKILL);
        ::waitpid(std::exchange(m_program, -1), nullptr, 0);
    }
    if (m_words >= 0) ::close(std::exchange(m_words, -1));
}

UserError MovieWriter::failure() {
    std::string words(4096, '\0');
    ssize_t const size = m_words >= 0 ? ::pread(m_words, words.data(), words.size(), 0) : 0;
    words.resize(static_cast<std::size_t>(std::max<ssize_t>(size, 0)));
    return {ExitCode::kOutput,
            {m_target.string(), "the movie can't be written:",
             words.empty() ? "ffmpeg gave no reason" : shortened(oneLine(words)),
             "a writable place and a codec that ffmpeg has"}};
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
                m_sawTransparency = m_sawTransparency || alpha < 1;
            }
            auto const* bytes = reinterpret_cast<char const*>(m_row.data());
            for (std::size_t left = m_row.size() * 2; left > 0;) {
                ssize_t const size = ::write(m_pipe, bytes, left);
                if (size < 0 && errno == EINTR) continue;
                if (size <= 0) throw failure();
                bytes += size;
                left -= static_cast<std::size_t>(size);
            }
        }
    });
}

std::string MovieWriter::finish(bool mayReplace) {
    ::close(std::exchange(m_pipe, -1));
    int status = 0;
    while (::waitpid(m_program, &status, 0) < 0 && errno == EINTR) {
    }
    m_program = -1;
    if (!WIFEXITED(status) || WEXITSTATUS(status) != 0) throw failure();
    if (!m_file.putInPlace(mayReplace))
        throw UserError(ExitCode::kOutput, {m_target.string(), "cannot be written:",
                                            "it exists and --no-clobber is given", "a new name"});
    if (m_keepsAlpha || !m_sawTransparency) return {};
    return m_target.string() +
           ": alpha can't be kept in this format; the movie is written over black";
}

}  // namespace zelk
