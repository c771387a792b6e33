// A program that runs beside this one, with a pipe to its input or from its output. What it says on
// standard error is kept.
#pragma once

#include <sys/types.h>

#include <atomic>
#include <string>
#include <vector>

namespace zelk {

/// Whether the PATH has such a program.
bool isProgramThere(std::string const& name);

class ChildProgram {
public:
    enum class Pipe { kToInput, kFromOutput };

    /// `words` are the program, found in the PATH, and its arguments. It has a group of its own:
    /// the user's Ctrl-C is not for it. Throws std::system_error where it can't be started. A pipe
    /// that the program has left is seen by a failed write, not by a signal, from then on.
    ChildProgram(std::vector<std::string> words, Pipe pipe);
    /// Kills the program if it still runs.
    ~ChildProgram();
    ChildProgram(ChildProgram const&) = delete;
    ChildProgram& operator=(ChildProgram const&) = delete;

    pid_t id() const { return m_id; }  ///< below 0 when it has ended
    /// All of `size` bytes; false when the program doesn't take or give them any more.
    bool write(void const* bytes, std::size_t size);
    bool read(void* bytes, std::size_t size);
    /// All that is left of the output.
    std::string readAll();
    void closePipe();
    /// Waits for the end; false when `stop` was set first. `stop` may be null.
    bool await(std::atomic<bool> const* stop = nullptr);
    /// After await: it ended by itself, with code 0.
    bool hasSucceeded() const;
    /// Its own words so far, on one line and not too long.
    std::string words() const;

private:
    pid_t m_id = -1;
    int m_pipe = -1, m_words = -1;  ///< descriptors
    int m_status = -1;
};

}  // namespace zelk
