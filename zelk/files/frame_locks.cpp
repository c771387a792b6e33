// Claims of lock files; see frame_locks.h.
#include "zelk/files/frame_locks.h"

#include <fcntl.h>
#include <fmt/format.h>
#include <sys/stat.h>
#include <unistd.h>
#include <zlib.h>

#include <atomic>
#include <cerrno>
#include <chrono>
#include <cstdint>
#include <fstream>

#include "zelk/files/output_place.h"
#include "zelk/files/process_tag.h"

namespace zelk {

namespace fs = std::filesystem;

namespace {

constexpr std::string_view kEnd = ".zelk-lock";
constexpr std::string_view kTakeover = ".zelk-lock-";
constexpr auto kBeat = std::chrono::seconds(10);
constexpr std::int64_t kSilentSeconds = 120;

std::uint32_t nameSum(std::string const& text) {
    return static_cast<std::uint32_t>(
        ::crc32_z(0, reinterpret_cast<Bytef const*>(text.data()), text.size()));
}

/// Beside the file itself, which links may name too. A name too long for a file system is told by
/// its checksum.
fs::path lockOf(fs::path const& target) {
    constexpr std::size_t kLongest = 255;
    fs::path const file = behindLinks(target);
    std::string const name = file.filename().string();
    std::string lock = "." + name + std::string(kEnd);
    if (lock.size() > kLongest) lock = fmt::format(".{:08x}{}", nameSum(name), kEnd);
    return file.parent_path() / lock;
}

/// The line of a lock: empty for one that is only being made, nothing where there is none.
std::optional<std::string> lineOf(fs::path const& lock) {
    std::ifstream file(lock, std::ios::binary);
    if (!file) return std::nullopt;
    std::string line;
    std::getline(file, line);
    return line;
}

/// No two locks have one line.
std::string newLine() {
    static std::atomic<int> count = 0;
    auto const now = std::chrono::system_clock::now().time_since_epoch().count();
    return fmt::format("{}-{}-{} {}", thisProcess().text(), now, ++count, hostName());
}

std::optional<std::int64_t> changeOf(fs::path const& file) {
    struct stat state {};
    if (::stat(file.c_str(), &state) != 0) return std::nullopt;
    return state.st_mtim.tv_sec;
}

/// A file with a lock's line beside its place, gone with the object. Its age is 0 by the file
/// system's clock.
class Candidate {
public:
    Candidate(fs::path const& lock, std::string const& line) {
        static std::atomic<int> count = 0;
        m_path = lock.parent_path() / hiddenName("lock", ++count);
        int const file = ::open(m_path.c_str(), O_CREAT | O_EXCL | O_WRONLY | O_CLOEXEC, 0666);
        if (file < 0) throwUnwritable(lock, errno);
        std::string const text = line + "\n";
        bool const isWritten =
            ::write(file, text.data(), text.size()) == static_cast<ssize_t>(text.size());
        int const fault = isWritten ? 0 : errno;
        ::close(file);
        if (fault == 0) return;
        ::unlink(m_path.c_str());
        throwUnwritable(lock, fault);
    }
    ~Candidate() { ::unlink(m_path.c_str()); }
    Candidate(Candidate const&) = delete;
    Candidate& operator=(Candidate const&) = delete;

    /// Whether it is the lock now. A server may answer a link that it made as one that was there.
    bool link(fs::path const& lock, std::string const& line) const {
        if (::link(m_path.c_str(), lock.c_str()) == 0) return true;
        int const fault = errno;
        struct stat state {};
        if (::stat(m_path.c_str(), &state) == 0 && state.st_nlink > 1) return true;
        if (fault == EEXIST) return false;
        int const file = ::open(lock.c_str(), O_CREAT | O_EXCL | O_WRONLY | O_CLOEXEC, 0666);
        if (file < 0 && errno == EEXIST) return false;
        if (file < 0) throwUnwritable(lock, errno);
        std::string const text = line + "\n";
        [[maybe_unused]] auto const written = ::write(file, text.data(), text.size());
        ::close(file);
        return true;
    }
    bool replace(fs::path const& lock) const { return ::rename(m_path.c_str(), lock.c_str()) == 0; }
    std::int64_t age(fs::path const& lock) const {
        return changeOf(m_path).value_or(0) - changeOf(lock).value_or(0);
    }

private:
    fs::path m_path;
};

Life lifeOfLine(std::string const& line) {
    auto const tag = ProcessTag::at(line);
    return tag ? lifeOf(*tag) : Life::kUnknown;
}

/// `depth` counts takeovers of takeovers, each of which needs a process that died within one.
bool claim(fs::path const& lock, std::string const& line, int depth) {
    auto const found = lineOf(lock);
    if (found && lifeOfLine(*found) == Life::kAlive) return false;
    Candidate const candidate(lock, line);
    if (candidate.link(lock, line)) return true;
    auto const holder = lineOf(lock);
    if (!holder) return false;  // released just now: the next turn has it
    Life const life = lifeOfLine(*holder);
    bool const isDead =
        life == Life::kDead || (life == Life::kUnknown && candidate.age(lock) > kSilentSeconds);
    constexpr int kMostTakeovers = 3;
    if (!isDead || depth == kMostTakeovers) return false;
    fs::path const takeover =
        lock.parent_path() /
        fmt::format("{}{:08x}", kTakeover, nameSum(lock.filename().string() + *holder));
    if (!claim(takeover, newLine(), depth + 1)) return false;
    bool const isTaken = lineOf(lock) == holder && candidate.replace(lock);
    ::unlink(takeover.c_str());
    return isTaken;
}

void removeOwn(fs::path const& lock, std::string const& line) {
    if (lineOf(lock) == line) ::unlink(lock.c_str());
}

}  // namespace

FrameLocks::FrameLocks()
    : m_heart([this](std::stop_token const& end) {
          std::unique_lock guard(m_mutex);
          while (!m_woken.wait_for(guard, end, kBeat, [&] { return end.stop_requested(); }))
              for (auto const& [lock, line] : m_held)
                  ::utimensat(AT_FDCWD, lock.c_str(), nullptr, 0);
      }) {}

FrameLocks::~FrameLocks() {
    m_heart = {};
    for (auto const& [lock, line] : m_held) removeOwn(lock, line);
}

bool FrameLocks::take(fs::path const& target) {
    fs::path const lock = lockOf(target);
    std::string const line = newLine();
    if (!claim(lock, line, 0)) return false;
    std::lock_guard const guard(m_mutex);
    m_held[lock] = line;
    return true;
}

void FrameLocks::release(fs::path const& target) {
    std::lock_guard const guard(m_mutex);
    auto const held = m_held.find(lockOf(target));
    if (held == m_held.end()) return;
    removeOwn(held->first, held->second);
    m_held.erase(held);
}

std::string lockHolder(fs::path const& target) {
    auto const line = lineOf(lockOf(target));
    auto const tag = line ? ProcessTag::at(*line) : std::nullopt;
    if (!tag) return {};
    auto const blank = line->find(' ');
    return fmt::format("{}, process {}", blank == line->npos ? "?" : line->substr(blank + 1),
                       tag->id);
}

bool isLockName(std::string_view name) {
    return name.starts_with(kTakeover) || (name.starts_with('.') && name.ends_with(kEnd));
}

void sweepLock(fs::path const& lock) {
    auto const found = lineOf(lock);
    if (!found || lifeOfLine(*found) == Life::kAlive) return;
    std::string const line = newLine();
    if (claim(lock, line, 0)) removeOwn(lock, line);
}

}  // namespace zelk
