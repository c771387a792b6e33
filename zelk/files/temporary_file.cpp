// Creation, removal and renaming of a temporary file; see temporary_file.h.
#include "zelk/files/temporary_file.h"

#include <fcntl.h>
#include <fmt/format.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>

#include "zelk/files/output_place.h"
#include "zelk/files/process_tag.h"

namespace zelk {

namespace fs = std::filesystem;

namespace {

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

TemporaryFile::TemporaryFile(fs::path const& target) : m_target(behindLinks(target)) {
    fs::path const folder = m_target.has_parent_path() ? m_target.parent_path() : ".";
    m_folder = ::open(folder.c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC);
    int fault = m_folder < 0 ? errno : create();
    if (fault == 0) return;
    m_unfinished.reset();
    if (m_folder >= 0) ::close(m_folder);
    throwUnwritable(target, fault);
}

/// 0, or the system's error.
int TemporaryFile::create() {
    std::string const lastWords =
        fmt::format("zelk: {}\n", unwritable(m_target, "the picture could not be finished").what());
    for (int attempt = 0; attempt < 100; ++attempt) {
        std::string const name = hiddenName(m_target, attempt);
        m_unfinished.emplace(m_folder, name, lastWords);  // first: a signal may come at any time
        int const file =
            ::openat(m_folder, name.c_str(), O_CREAT | O_EXCL | O_WRONLY | O_CLOEXEC, 0666);
        if (file < 0 && errno == EEXIST) continue;
        if (file < 0) return errno;
        ::close(file);
        m_path = m_target.parent_path() / name;
        return 0;
    }
    return EEXIST;
}

TemporaryFile::~TemporaryFile() {
    if (!m_path.empty()) ::unlinkat(m_folder, m_path.filename().c_str(), 0);
    m_unfinished.reset();
    ::close(m_folder);
}

bool TemporaryFile::putInPlace(bool mayReplace) {
    int const file = ::open(m_path.c_str(), O_RDONLY | O_CLOEXEC);
    bool const isFlushed = file >= 0 && ::fsync(file) == 0;
    int const fault = errno;
    if (file >= 0) ::close(file);
    if (!isFlushed) throwUnwritable(m_target, fault);
    struct stat earlier {};
    if (mayReplace && ::stat(m_target.c_str(), &earlier) == 0)
        ::chmod(m_path.c_str(), earlier.st_mode & 07777);
    int const renamed = mayReplace ? ::rename(m_path.c_str(), m_target.c_str())
                                   : renameToNew(m_path.c_str(), m_target.c_str());
    if (renamed != 0 && errno == EEXIST && !mayReplace) return false;
    if (renamed != 0) throwUnwritable(m_target, errno);
    m_unfinished.reset();
    m_path.clear();
    return true;
}

}  // namespace zelk
