// Start, pipe and end of another program; see child_program.h.
#include "zelk/movies/child_program.h"

#include <fcntl.h>
#include <poll.h>
#include <spawn.h>
#include <sys/mman.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <sstream>
#include <system_error>
#include <utility>

#include "zelk/text/errors.h"

extern char** environ;

namespace zelk {

namespace {

/// A group of its own, and signals as a program expects them.
int spawn(std::vector<std::string>& words, posix_spawn_file_actions_t const& actions, pid_t& id) {
    posix_spawnattr_t attributes;
    posix_spawnattr_init(&attributes);
    posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETPGROUP | POSIX_SPAWN_SETSIGDEF);
    sigset_t defaults;
    sigemptyset(&defaults);
    sigaddset(&defaults, SIGPIPE);
    posix_spawnattr_setsigdefault(&attributes, &defaults);
    std::vector<char*> argv;
    for (std::string& word : words) argv.push_back(word.data());
    argv.push_back(nullptr);
    int const fault = ::posix_spawnp(&id, argv[0], &actions, &attributes, argv.data(), environ);
    posix_spawnattr_destroy(&attributes);
    return fault;
}

/// Repeats ::read or ::write until all is done, the other end is gone or an error; bytes done.
template <class Call, class Byte>
std::size_t wholly(Call call, int pipe, Byte* bytes, std::size_t size) {
    std::size_t done = 0;
    while (done < size) {
        ssize_t const count = call(pipe, bytes + done, size - done);
        if (count < 0 && errno == EINTR) continue;
        if (count <= 0) break;
        done += static_cast<std::size_t>(count);
    }
    return done;
}

}  // namespace

bool isProgramThere(std::string const& name) {
    char const* const path = std::getenv("PATH");
    std::istringstream folders(path ? path : "");
    for (std::string folder; std::getline(folders, folder, ':');)
        if (::access((std::filesystem::path(folder) / name).c_str(), X_OK) == 0) return true;
    return false;
}

ChildProgram::ChildProgram(std::vector<std::string> words, Pipe pipe) {
    int ends[2];
    if (::pipe2(ends, O_CLOEXEC) != 0) throw std::system_error(errno, std::generic_category());
    bool const isInput = pipe == Pipe::kToInput;
    m_pipe = ends[isInput ? 1 : 0];
    int const theirs = ends[isInput ? 0 : 1];
    m_words = ::memfd_create("words", MFD_CLOEXEC);
    std::signal(SIGPIPE, SIG_IGN);

    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_adddup2(&actions, theirs, isInput ? STDIN_FILENO : STDOUT_FILENO);
    if (m_words >= 0) posix_spawn_file_actions_adddup2(&actions, m_words, STDERR_FILENO);
    int const fault = spawn(words, actions, m_id);
    posix_spawn_file_actions_destroy(&actions);
    ::close(theirs);
    if (fault == 0) return;
    m_id = -1;
    closePipe();
    if (m_words >= 0) ::close(m_words);
    throw std::system_error(fault, std::generic_category());
}

ChildProgram::~ChildProgram() {
    closePipe();
    if (m_id > 0) {
        ::kill(m_id, SIGKILL);
        await();
    }
    if (m_words >= 0) ::close(m_words);
}

bool ChildProgram::write(void const* bytes, std::size_t size) {
    return wholly(::write, m_pipe, static_cast<char const*>(bytes), size) == size;
}

bool ChildProgram::read(void* bytes, std::size_t size) {
    return wholly(::read, m_pipe, static_cast<char*>(bytes), size) == size;
}

std::string ChildProgram::readAll() {
    std::string all;
    std::array<char, 4096> chunk;
    std::size_t size;
    do {
        size = wholly(::read, m_pipe, chunk.data(), chunk.size());
        all.append(chunk.data(), size);
    } while (size == chunk.size());
    return all;
}

void ChildProgram::closePipe() {
    if (m_pipe >= 0) ::close(std::exchange(m_pipe, -1));
}

bool ChildProgram::await(std::atomic<bool> const* stop) {
    constexpr int kLookMs = 5;
    while (m_id > 0) {
        pid_t const ended = ::waitpid(m_id, &m_status, stop ? WNOHANG : 0);
        if (ended == m_id || (ended < 0 && errno != EINTR)) m_id = -1;
        if (m_id > 0 && stop && *stop) return false;
        if (ended == 0) ::poll(nullptr, 0, kLookMs);
    }
    return true;
}

bool ChildProgram::hasSucceeded() const {
    return m_id < 0 && WIFEXITED(m_status) && WEXITSTATUS(m_status) == 0;
}

std::string ChildProgram::words() const {
    std::string words(4096, '\0');
    ssize_t const size = m_words >= 0 ? ::pread(m_words, words.data(), words.size(), 0) : 0;
    words.resize(static_cast<std::size_t>(std::max<ssize_t>(size, 0)));
    return shortened(oneLine(words));
}

}  // namespace zelk
