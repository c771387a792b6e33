// The one exception of the library: a sentence for the user, and the exit code with it.
//
// A message says what is wrong and what to do. About a value it has the form
//   THING: what is wrong with "VALUE", expected ...
// else it is a plain sentence: "--mode needs a plate: give --over". It names a file once, and is
// one line, whatever a file name, a value or a library's own text holds.
#pragma once

#include <span>
#include <stdexcept>
#include <string>
#include <string_view>

namespace zelk {

/// What a program answers to the shell for it.
enum class ExitCode {
    kDone = 0,
    kRenderFailed = 1,
    kUsage = 2,
    kInput = 3,          ///< a file to read, or the module, is missing or unreadable
    kOutput = 4,         ///< the output is not writable
    kSomeFailed = 5,     ///< of many frames: others are written
    kInterrupted = 130,  ///< by Ctrl-C
};

/// The parts of a message about a value. `expected` may be empty.
struct Complaint {
    std::string thing;     ///< an option, a parameter or a file
    std::string wrong;     ///< "not a number"
    std::string value;     ///< as the user gave it; empty for none
    std::string expected;  ///< "a number from 0 to 100"
};

class UserError : public std::runtime_error {
public:
    UserError(ExitCode code, Complaint const& complaint);
    UserError(ExitCode code, std::string_view sentence);
    ExitCode code() const { return m_code; }

private:
    ExitCode m_code;
};

/// "LAYER is missing: give a picture file", a usage error.
UserError missing(std::string const& thing, std::string const& what);

/// Control characters, line ends among them, become blanks; blanks at the ends go.
std::string oneLine(std::string_view text);

/// At most 160 characters of a library's text, which may repeat itself for pages.
std::string shortened(std::string_view text);

/// "a, b or c"
std::string listOf(std::span<std::string_view const> words);

}  // namespace zelk
