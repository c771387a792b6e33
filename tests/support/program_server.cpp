// main of the tests that run `zelk`, and the server that it starts.
//
// A request is one message of texts that end in a zero: the folder, the number of arguments, the
// arguments, the environment. Its answer is a ServedRun.
#include "tests/support/program_server.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <mutex>

#include "apps/zelk/cli.h"

#ifndef __has_feature  // clang's
#define __has_feature(name) 0
#endif

/// Ends the process where it has leaks; there under the sanitizer alone.
extern "C" void __lsan_do_leak_check() __attribute__((weak));

namespace zelk_test {

namespace fs = std::filesystem;

namespace {

constexpr std::size_t kLongestRequest = 100'000;  // bytes; a socket takes twice as many

int server = -1;
std::mutex atWork;

std::string requestOf(fs::path const& folder, std::vector<std::string> const& arguments) {
    std::string request = folder.string() + '\0' + std::to_string(arguments.size()) + '\0';
    for (std::string const& argument : arguments) request += argument + '\0';
    for (char** variable = environ; *variable; ++variable) request += *variable + std::string(1, 0);
    return request;
}

[[noreturn]] void answer(std::string& request) {
    std::vector<char*> texts;
    for (std::size_t at = 0; at < request.size(); at = request.find('\0', at) + 1)
        texts.push_back(request.data() + at);
    auto const firstVariable = texts.begin() + 2 + std::atoi(texts[1]);
    ::clearenv();
    for (auto variable = firstVariable; variable != texts.end(); ++variable) ::putenv(*variable);
    int const testsErrors = ::fcntl(2, F_DUPFD_CLOEXEC, 3);
    if (!moveInto(texts[0])) ::_exit(126);
    std::vector<char const*> words{ZELK_BINARY};
    words.insert(words.end(), texts.begin() + 2, firstVariable);
    words.push_back(nullptr);
    int const code = zelk::runProgram(static_cast<int>(words.size()) - 1, words.data());
    std::fflush(nullptr);
    ::dup2(testsErrors, 2);  // what the sanitizer says is not the program's
    if (__lsan_do_leak_check) __lsan_do_leak_check();
    ::_exit(code);  // a library would wait for its threads, which no fork has
}

[[noreturn]] void serve(int socket) {
    for (;;) {
        std::string request(kLongestRequest, '\0');
        ssize_t const size = ::recv(socket, request.data(), request.size(), 0);
        if (size <= 0) ::_exit(0);
        request.resize(static_cast<std::size_t>(size));
        pid_t const child = ::fork();
        if (child == 0) {
            ::close(socket);
            answer(request);
        }
        ServedRun run{.status = 126 << 8, .usage = {}};  // where there is no child
        ::wait4(child, &run.status, 0, &run.usage);
        ::send(socket, &run, sizeof run, MSG_NOSIGNAL);
    }
}

/// A fork has no threads but the one that makes it, so this is first in main; those that libraries
/// start when they are loaded do nothing for a run.
void startServer() {
    int ends[2];
    if (::socketpair(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0, ends) != 0) return;
    if (::fork() == 0) {
        ::close(ends[0]);
        serve(ends[1]);
    }
    ::close(ends[1]);
    server = ends[0];
}

}  // namespace

std::optional<ServedRun> servedRun(fs::path const& folder,
                                   std::vector<std::string> const& arguments) {
    std::unique_lock const lock(atWork, std::try_to_lock);
    std::string const request = requestOf(folder, arguments);
    if (!lock || server < 0 || request.size() > kLongestRequest) return std::nullopt;
    ServedRun run;
    if (::send(server, request.data(), request.size(), MSG_NOSIGNAL) < 0 ||
        ::recv(server, &run, sizeof run, 0) != sizeof run) {
        server = -1;  // its answer would be taken for the next run's
        return std::nullopt;
    }
    return run;
}

bool moveInto(fs::path const& folder) {
    if (::chdir(folder.c_str()) != 0) return false;
    int const out = ::open("_stdout", O_CREAT | O_TRUNC | O_WRONLY, 0600);
    int const err = ::open("_stderr", O_CREAT | O_TRUNC | O_WRONLY, 0600);
    return ::dup2(out, 1) == 1 && ::dup2(err, 2) == 2;
}

}  // namespace zelk_test

int main(int argc, char** argv) {
    // The thread sanitizer lets no fork of a process with threads have any of its own.
    if (!__has_feature(thread_sanitizer)) zelk_test::startServer();
    testing::InitGoogleTest(&argc, argv);
    return RUN_ALL_TESTS();
}
