// See viewer_arguments.h.
#include "apps/viewer/viewer_arguments.h"

#include <cstdlib>
#include <string_view>

#include "zelk/render/setup.h"
#include "zelk/text/errors.h"
#include "zelk/text/numbers.h"

namespace zelk {

namespace {

constexpr char const* kHelp =
    "Usage: zelk-viewer [FILE ...]\n"
    "\n"
    "Shows and edits a corner pin: a project, or a picture, a numbered sequence or a movie as the\n"
    "layer of a new scene. `zelk view` starts it with a scene of options.\n";
constexpr std::string_view kHandedOver = "--handed-over=";
constexpr int kMostThreads = 1024;

}  // namespace

ViewerArguments viewerArguments(std::span<char const* const> words) {
    ViewerArguments arguments;
    bool isOver = false;  // of the options
    for (std::string_view const word : words) {
        bool const isOption = !isOver && word.size() > 1 && word.starts_with('-');
        if (!isOption)
            arguments.files.emplace_back(word);
        else if (word == "--")
            isOver = true;
        else if (word == "-h" || word == "--help")
            arguments.print = kHelp;
        else if (word == "--version")
            arguments.print = "zelk-viewer " ZELK_VERSION "\n";
        else if (word.starts_with(kHandedOver))
            arguments.handedOver = word.substr(kHandedOver.size());
        else
            throw UserError(ExitCode::kUsage,
                            "unknown option \"" + std::string(word) +
                                "\", expected files to open; `zelk view` takes a scene's options");
    }
    return arguments;
}

std::filesystem::path moduleOfEnvironment() {
    char const* const module = std::getenv("ZELK_MODULE");
    return module ? module : "";
}

void useThreadsOfEnvironment() {
    char const* const threads = std::getenv("ZELK_THREADS");
    if (threads && *threads) useThreads(wholeInRange("$ZELK_THREADS", threads, 0, kMostThreads));
}

}  // namespace zelk
