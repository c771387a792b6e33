// Creation, removal and renaming of a temporary file; see temporary_file.h.
#include "apps/zelk/temporary_file.h"

#include <fcntl.h>
#include <fmt/format.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "apps/zelk/errors.h"

namespace zelk {

namespace {

UserError unwritable(std::filesystem::path const& target, char const* reason) {
    return {ExitCode::kOutput, {target.string(), "cannot be written:", reason, "a writable place"}};
}

constexpr int kInterruptions[] = {SIGINT, SIGTERM, SIGHUP};

/// The one file that is being written, for the two ends of a process that run no destructor:
/// exit() from within a library (libjpeg's answer to a full disk), and signals.
struct Unfinished {
    std::string path;     ///< empty when there is none
    std::string message;  ///< for standard error at exit()
    int messages = -1;    ///< standard error as it was before libraries were made quiet
    bool isGuarded = false;
};

Unfinished& unfinished() {
    static Unfinished only;
    return only;
}

void onExit() {
    Unfinished const& file = unfinished();
    if (file.path.empty()) return;
    ::unlink(file.path.c_str());
    [[maybe_unused]] auto const written =
        ::write(file.messages, file.message.data(), file.message.size());
    ::_exit(static_cast<int>(ExitCode::kOutput));
}

/// Async-signal-safe calls only.
void onInterruption(int signal) {
    ::unlink(unfinished().path.c_str());
    std::signal(signal, SIG_DFL);
    std::raise(signal);
}

/// A signal that the caller ignores stays ignored.
void setInterruptions(void (*from)(int), void (*to)(int)) {
    for (int const signal : kInterruptions) {
        auto const earlier = std::signal(signal, to);
        if (earlier != from) std::signal(signal, earlier);
    }
}

void guard(std::filesystem::path const& path, std::filesystem::path const& target) {
    Unfinished& file = unfinished();
    if (!file.isGuarded) file.isGuarded = std::atexit(onExit) == 0;
    file.path = path.string();
    file.message =
        fmt::format("zelk: {}\n", unwritable(target, "the picture's writer gave up").what());
    file.messages = ::fcntl(STDERR_FILENO, F_DUPFD_CLOEXEC, 3);
    setInterruptions(SIG_DFL, onInterruption);
    std::signal(SIGXFSZ, SIG_IGN);  // a file too large is an error like a full disk
}

void unguard() {
    setInterruptions(onInterruption, SIG_DFL);
    Unfinished& file = unfinished();
    file.path.clear();
    if (file.messages >= 0) ::close(file.messages);
}

/// A name in the target's folder that file systems take: they end at 255 bytes.
std::string temporaryName(std::filesystem::path const& target, int attempt) {
    constexpr std::size_t kLongest = 255;
    std::string const end =
        fmt::format(".zelk-{}-{}{}", ::getpid(), attempt, target.extension().string());
    std::string const start = "." + target.stem().string();
    return start.substr(0, kLongest - std::min(end.size(), kLongest)) + end;
}

/// Fails with EEXIST where there is anything, in one step with the renaming.
int renameToNew(char const* from, char const* to) {
    int const result = ::renameat2(AT_FDCWD, from, AT_FDCWD, to, RENAME_NOREPLACE);
    if (result == 0 || (errno != EINVAL && errno != ENOSYS)) return result;
    // The file system has no such renaming.
    if (::link(from, to) != 0) return -1;
    ::unlink(from);
    return 0;
}

}  // namespace

TemporaryFile::TemporaryFile(std::filesystem::path const& target) : m_target(target) {
    for (int attempt = 0;; ++attempt) {
        std::filesystem::path const path = target.parent_path() / temporaryName(target, attempt);
        int const file = ::open(path.c_str(), O_CREAT | O_EXCL | O_WRONLY | O_CLOEXEC, 0666);
        if (file >= 0) {
            ::close(file);
            m_path = path;
            guard(m_path, m_target);
            return;
        }
        if (errno != EEXIST || attempt > 100) throw unwritable(target, std::strerror(errno));
    }
}

TemporaryFile::~TemporaryFile() {
    if (m_path.empty()) return;
    ::unlink(m_path.c_str());
    unguard();
}

bool TemporaryFile::putInPlace(bool mayReplace) {
    int const file = ::open(m_path.c_str(), O_RDONLY | O_CLOEXEC);
    bool const isFlushed = file >= 0 && ::fsync(file) == 0;
    int const fault = errno;
    if (file >= 0) ::close(file);
    if (!isFlushed) throw unwritable(m_target, std::strerror(fault));
    struct stat earlier {};
    if (mayReplace && ::stat(m_target.c_str(), &earlier) == 0)
        ::chmod(m_path.c_str(), earlier.st_mode & 07777);
    int const renamed = mayReplace ? ::rename(m_path.c_str(), m_target.c_str())
                                   : renameToNew(m_path.c_str(), m_target.c_str());
    if (renamed != 0 && errno == EEXIST && !mayReplace) return false;
    if (renamed != 0) throw unwritable(m_target, std::strerror(errno));
    unguard();
    m_path.clear();
    return true;
}

}  // namespace zelk
