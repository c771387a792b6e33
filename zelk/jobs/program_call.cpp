// See program_call.h.
#include "zelk/jobs/program_call.h"

#include <cstring>
#include <system_error>

#include "zelk/movies/child_program.h"
#include "zelk/text/errors.h"
#include "zelk/text/shell_words.h"

namespace zelk {

namespace {

UserError noProgram(std::string const& name, std::string const& package) {
    return {ExitCode::kRenderFailed,
            name + ": there is no such program in the PATH; install the package " + package};
}

}  // namespace

ProgramAnswer askProgram(std::vector<std::string> const& words, std::string const& package) {
    if (!isProgramThere(words[0])) throw noProgram(words[0], package);
    try {
        ChildProgram program(words, ChildProgram::Pipe::kFromOutput);
        ProgramAnswer answer;
        answer.output = program.readAll();
        program.await();
        answer.isDone = program.hasSucceeded();
        answer.words = program.words();
        return answer;
    } catch (std::system_error const& error) {
        throw UserError(ExitCode::kRenderFailed,
                        words[0] + ": can't be started: " + error.code().message());
    }
}

std::string callProgram(std::vector<std::string> const& words, std::string const& package,
                        std::string const& expected) {
    ProgramAnswer const answer = askProgram(words, package);
    if (answer.isDone) return answer.output;
    throw UserError(ExitCode::kRenderFailed,
                    words[0] + " failed" +
                        (answer.words.empty() ? " without a reason" : ": " + answer.words) +
                        "; expected " + expected);
}

std::string shellLine(std::vector<std::string> const& words) {
    std::string line;
    for (std::string const& word : words) line += (line.empty() ? "" : " ") + shellWord(word);
    return line;
}

}  // namespace zelk
