// Progress lines; see progress.h.
#include "zelk/sequence/progress.h"

#include <fcntl.h>
#include <fmt/format.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cmath>
#include <memory>
#include <nlohmann/json.hpp>
#include <utility>

#include "zelk/text/errors.h"

namespace zelk {

namespace {

constexpr std::size_t kSpeedFrames = 16;
constexpr std::size_t kLeastBarCells = 8, kMostBarCells = 40;
constexpr std::string_view kClearLine = "\r\x1b[K";

void writeAll(int file, std::string_view text) {
    while (!text.empty()) {
        auto const written = ::write(file, text.data(), text.size());
        if (written < 0 && errno == EINTR) continue;
        if (written <= 0) return;
        text.remove_prefix(static_cast<std::size_t>(written));
    }
}

/// "0:05", "12:34", "1:02:03".
std::string clockText(double seconds) {
    auto const s = static_cast<long long>(std::ceil(std::min(seconds, 1e9)));
    if (s < 3600) return fmt::format("{}:{:02}", s / 60, s % 60);
    return fmt::format("{}:{:02}:{:02}", s / 3600, s / 60 % 60, s % 60);
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

Progress::Progress(ProgressMode mode, std::size_t count, ProgressScreen screen)
    : m_mode(mode), m_count(count), m_screen(std::move(screen)), m_start(m_screen.seconds()) {
    m_times = {m_start};
    if (mode == ProgressMode::kAuto)
        m_mode = m_screen.isTerminal ? ProgressMode::kBar : ProgressMode::kPlain;
}

Progress::~Progress() { clearBar(); }

void Progress::begin(std::size_t count) {
    m_count = count;
    m_start = m_screen.seconds();
    m_times = {m_start};
}

void Progress::done(int frame) {
    tick();
    tell(frame, {});
}

void Progress::failed(int frame, std::string_view message) {
    ++m_failed;
    tick();
    tell(frame, oneLine(message));
}

void Progress::warning(std::string_view message) {
    std::string const text = oneLine(message);
    if (m_mode == ProgressMode::kJson)
        return m_screen.write(jsonLine({{"event", "warning"}, {"message", text}}));
    clearBar();
    m_screen.write("zelk: warning: " + text + "\n");
}

void Progress::error(std::string_view message, std::optional<int> frame, std::string_view file) {
    if (!tellsErrors()) return;
    nlohmann::ordered_json line = {{"event", "error"}};
    if (frame) line["frame"] = *frame;
    if (!file.empty()) line["file"] = file;
    line["message"] = oneLine(message);
    m_screen.write(jsonLine(line));
}

void Progress::clearBar() {
    if (std::exchange(m_isBarDrawn, false)) m_screen.write(kClearLine);
}

void Progress::end(RunTotals const& totals) {
    clearBar();
    if (m_mode != ProgressMode::kJson) return;
    m_screen.write(jsonLine({{"event", "done"},
                             {"index", m_ended},
                             {"count", m_count},
                             {"seconds", inWholeMs(m_times.back() - m_start)},
                             {"written", totals.written},
                             {"skipped", totals.skipped},
                             {"failed", m_failed},
                             {"stopped", totals.isStopped}}));
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
        case ProgressMode::kJson: {
            nlohmann::ordered_json line = {{"event", isFailed ? "failed" : "frame"},
                                           {"frame", frame},
                                           {"index", m_ended},
                                           {"count", m_count},
                                           {"seconds", inWholeMs(m_times.back() - m_start)}};
            if (isFailed) line["message"] = message;
            return m_screen.write(jsonLine(line));
        }
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
        right += fmt::format(", {} left", clockText(left));
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
