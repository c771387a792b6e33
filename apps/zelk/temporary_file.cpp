// Creation, removal and renaming of a temporary file; see temporary_file.h.
#include "apps/zelk/temporary_file.h"

#include <fcntl.h>
#include <fmt/format.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

#include "apps/zelk/errors.h"

namespace zelk {

namespace {

UserError unwritable(std::filesystem::path const& target, int fault) {
    return {ExitCode::kOutput,
            {target.string(), "cannot be written:", std::strerror(fault), "a writable place"}};
}

}  // namespace

TemporaryFile::TemporaryFile(std::filesystem::path const& target) : m_target(target) {
    for (int attempt = 0;; ++attempt) {
        std::string const name = fmt::format(".{}.zelk-{}-{}{}", target.stem().string(), ::getpid(),
                                             attempt, target.extension().string());
        std::filesystem::path const path = target.parent_path() / name;
        int const file = ::open(path.c_str(), O_CREAT | O_EXCL | O_WRONLY | O_CLOEXEC, 0666);
        if (file >= 0) {
            ::close(file);
            m_path = path;
            return;
        }
        if (errno != EEXIST || attempt > 100) throw unwritable(target, errno);
    }
}

TemporaryFile::~TemporaryFile() {
    if (!m_path.empty()) ::unlink(m_path.c_str());
}

void TemporaryFile::putInPlace() {
    int const file = ::open(m_path.c_str(), O_RDONLY | O_CLOEXEC);
    bool const isFlushed = file >= 0 && ::fsync(file) == 0;
    int fault = errno;
    if (file >= 0) ::close(file);
    if (!isFlushed) throw unwritable(m_target, fault);
    struct stat earlier {};
    if (::stat(m_target.c_str(), &earlier) == 0) ::chmod(m_path.c_str(), earlier.st_mode & 07777);
    if (::rename(m_path.c_str(), m_target.c_str()) != 0) throw unwritable(m_target, errno);
    m_path.clear();
}

}  // namespace zelk
