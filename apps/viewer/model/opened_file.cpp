// See opened_file.h.
#include "apps/viewer/model/opened_file.h"

#include <fmt/format.h>

#include <algorithm>
#include <cctype>

#include "zelk/files/frame_names.h"
#include "zelk/inputs/input_files.h"
#include "zelk/movies/frames.h"
#include "zelk/text/errors.h"
#include "zelk/text/numbers.h"

namespace zelk {

namespace fs = std::filesystem;

namespace {

bool isDigit(char c) { return std::isdigit(static_cast<unsigned char>(c)) != 0; }

/// The frames that files of the pattern have; none where it is no pattern.
std::vector<int> framesOf(std::string const& pattern) {
    try {
        SequenceName const name(pattern);
        return name.isSequence() ? framesOnDisk(name) : std::vector<int>();
    } catch (UserError const&) {
        return {};
    }
}

}  // namespace

FileKind kindOf(fs::path const& file) {
    std::string const extension = lowered(file.extension().string());
    if (extension == ".json") return FileKind::kProject;
    constexpr std::string_view kTracks[] = {".txt", ".csv", ".tsv", ".nk", ".mocha", ".dat"};
    bool const isTrack =
        std::find(std::begin(kTracks), std::end(kTracks), extension) != std::end(kTracks);
    return isTrack ? FileKind::kTrack : FileKind::kPicture;
}

std::optional<FileSequence> sequenceOf(fs::path const& file) {
    if (isMovieInput(file)) return std::nullopt;
    std::string const name = file.filename().string();
    std::size_t end = name.size() - file.extension().string().size();
    while (end > 0 && !isDigit(name[end - 1])) --end;
    std::size_t begin = end;
    while (begin > 0 && isDigit(name[begin - 1])) --begin;
    if (begin == end || !onDisk(file)) return std::nullopt;
    auto const pattern = [&](std::string const& mark) {
        fs::path const own = name.substr(0, begin) + mark + name.substr(end);
        return (file.parent_path() / own).string();
    };
    // Of numbers without leading zeros some may have more digits than this one.
    FileSequence found;
    std::string const padded = end - begin > 1 ? std::string(end - begin, '#') : "%d";
    for (std::string const& mark : {padded, std::string("%d")}) {
        FileSequence own{pattern(mark), framesOf(pattern(mark))};
        if (own.frames.size() > found.frames.size()) found = std::move(own);
    }
    if (found.frames.size() < 2) return std::nullopt;
    return found;
}

}  // namespace zelk
