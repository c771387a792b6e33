// Progress lines; see progress.h.
#include "zelk/sequence/progress.h"

#include <fcntl.h>
#include <fmt/chrono.h>
#include <fmt/format.h>
#include <sys/ioctl.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <chrono>
#include <cmath>
#include <ctime>
#include <fstream>
#include <memory>
#include <nlohmann/json.hpp>
#include <string>
#include <utility>

#include "zelk/files/output_place.h"
#include "zelk/text/errors.h"
#include "zelk/text/numbers.h"

namespace zelk {

namespace {

constexpr std::size_t kSpeedFrames = 16;
constexpr std::size_t kLeastBarCells = 8, kMostBarCells = 40;
constexpr std::string_view kClearLine = "\r\x1b[K";

/// How much of it could be written.
std::size_t writeAll(int file, std::string_view text) {
    std::size_t done = 0;
    while (done < text.size()) {
        auto const written = ::write(file, text.data() + done, text.size() - done);
        if (written < 0 && errno == EINTR) continue;
        if (written <= 0) break;
        done += static_cast<std::size_t>(written);
    }
    return done;
}

/// A log's lines begin so.
constexpr std::string_view kEventStart = "{\"event\":";

/// Whether the last line of a file lacks its end, as its writer was killed or the disk full.
bool breaksOff(int file) {
    struct stat state {};
    char last = '\n';
    return ::fstat(file, &state) == 0 && state.st_size > 0 &&
           ::pread(file, &last, 1, state.st_size - 1) == 1 && last != '\n';
}

constexpr int kEventVersion = 1;

/// "2026-11-26T09:30:00Z"
std::string timeText() { return fmt::format("{:%FT%TZ}", fmt::gmtime(std::time(nullptr))); }

/// Of memory in use, the process's highest so far. The system's own count of it starts with what
/// the program had that started this one, so it is asked for only where /proc tells nothing.
std::uint64_t peakBytes() {
    std::ifstream status("/proc/self/status");
    for (std::string line; std::getline(status, line);)
        if (line.starts_with("VmHWM:")) return std::stoull(line.substr(line.find(':') + 1)) * 1024;
    rusage use{};
    ::getrusage(RUSAGE_SELF, &use);
    return static_cast<std::uint64_t>(use.ru_maxrss) * 1024;
}

nlohmann::ordered_json namedTexts(std::vector<std::pair<std::string, std::string>> const& texts) {
    nlohmann::ordered_json json = nlohmann::ordered_json::object();
    for (auto const& [name, text] : texts)
        if (!text.empty()) json[name] = text;
    return json;
}

double inWholeMs(double seconds) { return std::round(seconds * 1e3) / 1e3; }

/// Nothing where there is no speed yet.
std::string speedText(double framesPerSecond) {
    return framesPerSecond > 0 ? fmt::format(" {:.1f} frames/s", framesPerSecond) : std::string();
}

/// One line; bytes that are no UTF-8 are replaced.
std::string jsonLine(nlohmann::ordered_json const& object) {
    return object.dump(-1, ' ', false, nlohmann::json::error_handler_t::replace) + "\n";
}

}  // namespace

ProgressMode modeOf(RunOptions const& run, bool isStill) {
    bool const isQuiet = isStill && run.progress == ProgressMode::kAuto;
    return isQuiet ? ProgressMode::kNone : run.progress;
}

ProgressMode shownMode(ProgressMode mode, bool isRender) {
    bool const isKept = isRender || mode == ProgressMode::kJson || mode == ProgressMode::kQuiet;
    return isKept ? mode : ProgressMode::kNone;
}

EventSink openLog(std::filesystem::path const& path) {
    auto const file = std::shared_ptr<int>(
        new int(::open(path.c_str(), O_CREAT | O_APPEND | O_RDWR | O_CLOEXEC, 0666)),
        [](int* kept) {
            if (*kept >= 0) ::close(*kept);
            delete kept;
        });
    if (*file < 0) throwUnwritable(path, errno);
    std::array<char, kEventStart.size()> start{};
    auto const found = ::pread(*file, start.data(), start.size(), 0);
    if (found > 0 && std::string_view(start.data(), std::size_t(found)) != kEventStart)
        throw UserError(ExitCode::kOutput, path.string() + ": is no log: give a new name");
    return [file, isCut = breaksOff(*file)](std::string_view line) mutable {
        std::string const text = (isCut ? "\n" : "") + std::string(line);
        std::size_t const written = writeAll(*file, text);
        if (written > 0) isCut = written < text.size();
    };
}

ProgressScreen standardErrorScreen() {
    std::shared_ptr<int> const file(new int(::fcntl(STDERR_FILENO, F_DUPFD_CLOEXEC, 3)),
                                    [](int* kept) {
                                        if (*kept >= 0) ::close(*kept);
                                        delete kept;
                                    });
    ProgressScreen screen;
    screen.write = [file](std::string_view text) { writeAll(*file, text); };
    screen.seconds = [] {
        return std::chrono::duration<double>(std::chrono::steady_clock::now().time_since_epoch())
            .count();
    };
    screen.columns = [file] {
        winsize size{};
        bool const isKnown = ::ioctl(*file, TIOCGWINSZ, &size) == 0 && size.ws_col > 0;
        return isKnown ? int{size.ws_col} : 80;
    };
    screen.isTerminal = ::isatty(*file) == 1;
    return screen;
}

struct Progress::Event {
    nlohmann::ordered_json line;
};

Progress::Progress(ProgressMode mode, std::size_t count, ProgressScreen screen, EventSink log)
    : m_mode(mode),
      m_count(count),
      m_screen(std::move(screen)),
      m_log(std::move(log)),
      m_start(m_screen.seconds()) {
    m_times = {m_start};
    if (mode == ProgressMode::kAuto)
        m_mode = m_screen.isTerminal ? ProgressMode::kBar : ProgressMode::kPlain;
}

Progress::~Progress() { clearBar(); }

void Progress::send(Event const& event) {
    bool const isShown = m_mode == ProgressMode::kJson;
    if (!isShown && !m_log) return;
    std::string const line = jsonLine(event.line);
    if (isShown) m_screen.write(line);
    if (m_log) m_log(line);
}

Progress::Event Progress::eventOf(char const* name, int frame) const {
    return {{{"event", name},
             {"frame", frame},
             {"index", m_ended},
             {"count", m_count},
             {"seconds", inWholeMs(m_times.back() - m_start)}}};
}

void Progress::begin(std::size_t count, RunFacts const& facts) {
    m_count = count;
    m_start = m_screen.seconds();
    m_times = {m_start};
    nlohmann::ordered_json line = {{"event", "start"},
                                   {"schema", "zelk-progress"},
                                   {"version", kEventVersion},
                                   {"time", timeText()},
                                   {"command", facts.command},
                                   {"scene", namedTexts(facts.scene)},
                                   {"frames", facts.frames},
                                   {"count", count},
                                   {"skipped", facts.skipped},
                                   {"road", facts.road},
                                   {"effectHost", facts.effectHost},
                                   {"host", facts.host},
                                   {"process", facts.process},
                                   {"threads", facts.threads},
                                   {"versions", namedTexts(facts.versions)}};
    send({std::move(line)});
}

void Progress::done(int frame, FrameFacts const& facts) {
    tick();
    Event event = eventOf("frame", frame);
    event.line["file"] = facts.file;
    if (facts.bytes) event.line["bytes"] = *facts.bytes;
    if (facts.crc32) event.line["crc32"] = sumText(*facts.crc32);
    event.line["stages"] = {{"load", inWholeMs(facts.loadSeconds)},
                            {"render", inWholeMs(facts.renderSeconds)},
                            {"store", inWholeMs(facts.storeSeconds)}};
    event.line["peakBytes"] = peakBytes();
    send(event);
    tell(frame, {});
}

void Progress::shared(int frame, std::string const& file) {
    tick();
    Event event = eventOf("shared", frame);
    event.line["file"] = file;
    send(event);
}

void Progress::failed(int frame, FailureFacts const& facts) {
    ++m_failed;
    tick();
    Event event = eventOf("failure", frame);
    if (!facts.file.empty()) event.line["file"] = facts.file;
    event.line["message"] = oneLine(facts.message);
    event.line["code"] = static_cast<int>(facts.code);
    event.line["endsRun"] = false;
    send(event);
    tell(frame, oneLine(facts.message));
}

void Progress::warning(std::string_view message) {
    std::string const text = oneLine(message);
    send({{{"event", "warning"}, {"message", text}}});
    if (m_mode == ProgressMode::kJson || m_mode == ProgressMode::kQuiet) return;
    clearBar();
    m_screen.write("zelk: warning: " + text + "\n");
}

void Progress::note(std::string_view text) {
    if (m_mode != ProgressMode::kBar && m_mode != ProgressMode::kPlain) return;
    clearBar();
    m_screen.write("zelk: " + oneLine(text) + "\n");
}

void Progress::error(FailureFacts const& facts) {
    nlohmann::ordered_json line = {{"event", "failure"}};
    if (facts.frame) line["frame"] = *facts.frame;
    if (!facts.file.empty()) line["file"] = facts.file;
    line["message"] = oneLine(facts.message);
    line["code"] = static_cast<int>(facts.code);
    line["endsRun"] = true;
    send({std::move(line)});
}

void Progress::clearBar() {
    if (std::exchange(m_isBarDrawn, false)) m_screen.write(kClearLine);
}

void Progress::end(RunTotals const& totals) {
    clearBar();
    nlohmann::ordered_json line = {{"event", "end"},
                                   {"index", m_ended},
                                   {"count", m_count},
                                   {"seconds", inWholeMs(m_times.back() - m_start)},
                                   {"written", totals.written},
                                   {"skipped", totals.skipped},
                                   {"failed", m_failed},
                                   {"stopped", totals.isStopped},
                                   {"peakBytes", peakBytes()},
                                   {"code", static_cast<int>(totals.code)}};
    if (totals.movieSum) {
        line["file"] = totals.movie;
        line["bytes"] = totals.movieSum->bytes;
        line["crc32"] = sumText(totals.movieSum->crc32);
    }
    send({std::move(line)});
}

void Progress::tick() {
    ++m_ended;
    m_times.push_back(m_screen.seconds());
    if (m_times.size() > kSpeedFrames + 1) m_times.pop_front();
}

/// One frame has ended; `message` says why it failed.
void Progress::tell(int frame, std::string const& message) {
    std::string const place = fmt::format("{} ({}/{})", frame, m_ended, m_count);
    bool const isFailed = !message.empty();
    switch (m_mode) {
        case ProgressMode::kBar:
            if (isFailed) {
                clearBar();
                m_screen.write(fmt::format("{} failed: {}\n", place, message));
            }
            return drawBar(place);
        case ProgressMode::kPlain:
            return m_screen.write(isFailed ? fmt::format("{} failed: {}\n", place, message)
                                           : place + speedText(framesPerSecond()) + "\n");
        case ProgressMode::kJson:
            return;
        default:
            if (isFailed) m_screen.write(fmt::format("{} failed: {}\n", place, message));
            return;
    }
}

/// 0 when the clock shows none.
double Progress::framesPerSecond() const {
    double const seconds = m_times.back() - m_times.front();
    return seconds > 0 ? static_cast<double>(m_times.size() - 1) / seconds : 0;
}

/// Fits the screen, one column left free: a line that fills the last one would scroll.
void Progress::drawBar(std::string const& place) {
    double const speed = framesPerSecond();
    std::string right = speedText(speed);
    if (speed > 0) {
        double const left = static_cast<double>(m_count - std::min(m_ended, m_count)) / speed;
        right += fmt::format(", {} left", durationText(left));
    }
    auto const room = static_cast<std::size_t>(std::max(m_screen.columns() - 1, 0));
    std::size_t const words = place.size() + right.size() + std::string_view(" []").size();
    std::string bar;
    if (words + kLeastBarCells <= room) {
        std::size_t const cells = std::min(room - words, kMostBarCells);
        std::size_t const full = cells * std::min(m_ended, m_count) / m_count;
        bar = " [" + std::string(full, '#') + std::string(cells - full, '.') + "]";
    }
    std::string const line = place + bar + right;
    m_screen.write(std::string(kClearLine) + line.substr(0, room));
    m_isBarDrawn = true;
}

}  // namespace zelk
