// See opened_file.h.
#include "apps/viewer/model/opened_file.h"

#include <OpenImageIO/imageio.h>
#include <OpenImageIO/strutil.h>
#include <fmt/format.h>

#include <algorithm>
#include <cctype>
#include <map>
#include <set>
#include <string_view>

#include "zelk/files/frame_names.h"
#include "zelk/inputs/input_files.h"
#include "zelk/movies/frames.h"
#include "zelk/movies/input_endings.h"
#include "zelk/text/errors.h"
#include "zelk/text/numbers.h"

namespace zelk {

namespace fs = std::filesystem;

namespace {

constexpr std::string_view kProjectEnding = ".zelk.json";
constexpr std::string_view kTracks[] = {"txt", "csv", "tsv", "nk", "mocha", "dat"};

bool isDigit(char c) { return std::isdigit(static_cast<unsigned char>(c)) != 0; }

/// "shot." 4 ".exr" for "shot.0012.exr"; no digits in other names.
struct NumberedName {
    std::string before, after;
    std::size_t digits = 0;

    explicit NumberedName(fs::path const& file) {
        std::string const name = file.filename().string();
        std::size_t end = name.size() - file.extension().string().size();
        while (end > 0 && !isDigit(name[end - 1])) --end;
        std::size_t begin = end;
        while (begin > 0 && isDigit(name[begin - 1])) --begin;
        before = name.substr(0, begin);
        after = name.substr(end);
        digits = end - begin;
    }
};

/// Files of folders, each listed when it is first asked for.
class Folders {
public:
    std::vector<std::string> const& files(fs::path const& folder) {
        auto const [place, isNew] = m_files.try_emplace(folder);
        if (!isNew) return place->second;
        std::error_code fault, none;
        fs::directory_iterator entry(folder.empty() ? "." : folder, fault);
        for (fs::directory_iterator const end; !fault && entry != end; entry.increment(fault))
            if (!entry->is_directory(none)) place->second.push_back(entry->path().filename());
        std::sort(place->second.begin(), place->second.end());
        return place->second;
    }

    std::optional<FileSequence> sequenceOf(fs::path const& file) {
        NumberedName const name(file);
        if (isMovieInput(file) || name.digits == 0 || !onDisk(file)) return std::nullopt;
        // Of numbers without leading zeros some may have more digits than this one.
        FileSequence found;
        std::string const padded = name.digits > 1 ? std::string(name.digits, '#') : "%d";
        for (std::string const& mark : {padded, std::string("%d")}) {
            fs::path const pattern = file.parent_path() / (name.before + mark + name.after);
            FileSequence own{pattern.string(), framesOf(pattern.string(), name)};
            if (own.frames.size() > found.frames.size()) found = std::move(own);
        }
        if (found.frames.size() < 2) return std::nullopt;
        return found;
    }

private:
    /// None where it is no pattern.
    std::vector<int> framesOf(std::string const& pattern, NumberedName const& name) {
        std::vector<int> frames;
        try {
            SequenceName const sequence(pattern);
            if (!sequence.isSequence()) return frames;
            for (std::string const& other : files(fs::path(pattern).parent_path())) {
                auto const frame = numberIn(other, name);
                if (frame && sequence.pathOf(*frame).filename() == other) frames.push_back(*frame);
            }
        } catch (UserError const&) {
        }
        std::sort(frames.begin(), frames.end());
        return frames;
    }

    static std::optional<int> numberIn(std::string_view other, NumberedName const& name) {
        if (other.size() <= name.before.size() + name.after.size()) return std::nullopt;
        if (!other.starts_with(name.before) || !other.ends_with(name.after)) return std::nullopt;
        other.remove_prefix(name.before.size());
        other.remove_suffix(name.after.size());
        return parseWhole(other);
    }

    std::map<fs::path, std::vector<std::string>> m_files;
};

/// What can be opened of a folder, sequences as their patterns.
std::vector<fs::path> openable(Folders& folders, fs::path const& folder) {
    std::vector<fs::path> projects, pictures;
    std::set<std::string> known;
    std::vector<std::string> const endings = pictureEndings();
    for (std::string const& name : folders.files(folder)) {
        fs::path const file = folder / name;
        std::string const ending = lowered(file.extension().string());
        if (name.ends_with(kProjectEnding)) projects.push_back(file);
        bool const isPicture = isMovieInput(file) ||
                               (ending.size() > 1 && std::find(endings.begin(), endings.end(),
                                                               ending.substr(1)) != endings.end());
        if (name.starts_with('.') || !isPicture || known.contains(file.string())) continue;
        auto const sequence = folders.sequenceOf(file);
        pictures.emplace_back(sequence ? sequence->pattern : file.string());
        if (!sequence) continue;
        SequenceName const pattern(sequence->pattern);
        for (int const frame : sequence->frames) known.insert(pattern.pathOf(frame).string());
    }
    return projects.empty() ? pictures : projects;
}

GivenFile meantFolder(Folders& folders, fs::path const& folder) {
    auto const files = openable(folders, folder);
    if (files.size() == 1) return {files.front()};
    std::string const name = folder.string();
    if (files.empty()) return {folder, name + ": this folder has no project, picture or movie"};
    return {folder, fmt::format("{}: this folder has {} files and sequences that can be opened: "
                                "give one of them",
                                name, files.size())};
}

}  // namespace

FileKind kindOf(fs::path const& file) {
    std::string const extension = lowered(file.extension().string());
    if (extension == ".json") return FileKind::kProject;
    std::string const ending = extension.empty() ? "" : extension.substr(1);
    bool const isTrack =
        std::find(std::begin(kTracks), std::end(kTracks), ending) != std::end(kTracks);
    return isTrack ? FileKind::kTrack : FileKind::kPicture;
}

std::optional<FileSequence> sequenceOf(fs::path const& file) { return Folders().sequenceOf(file); }

std::vector<GivenFile> meantFiles(std::vector<fs::path> const& files) {
    Folders folders;
    auto const keyOf = [](fs::path const& file) { return file.lexically_normal().string(); };
    std::set<std::string> given, taken;  // taken: of sequences
    for (fs::path const& file : files) given.insert(keyOf(file));
    std::vector<GivenFile> meant;
    for (fs::path const& file : files) {
        std::error_code none;
        if (taken.contains(keyOf(file))) continue;
        if (fs::is_directory(file, none)) {
            meant.push_back(meantFolder(folders, file));
            continue;
        }
        auto const sequence =
            kindOf(file) == FileKind::kPicture ? folders.sequenceOf(file) : std::nullopt;
        meant.push_back({file});
        if (!sequence) continue;
        SequenceName const pattern(sequence->pattern);
        bool areAll = true;
        for (int const frame : sequence->frames) {
            std::string const own = keyOf(pattern.pathOf(frame));
            taken.insert(own);
            areAll = areAll && given.contains(own);
        }
        if (areAll) meant.back().file = sequence->pattern;
    }
    return meant;
}

std::vector<std::string> trackEndings() { return {std::begin(kTracks), std::end(kTracks)}; }

std::vector<std::string> movieEndings() {
    std::vector<std::string> endings;
    for (std::string_view const ending : movieInputEndings())
        endings.emplace_back(ending.substr(1));
    return endings;
}

std::vector<std::string> pictureEndings() {
    // "tiff:tif,tiff,tx;jpeg:jpg,jpe"
    std::string const all = OIIO::get_string_attribute("extension_list");
    std::vector<std::string> endings;
    for (std::string_view const format : OIIO::Strutil::splitsv(all, ";")) {
        std::size_t const colon = format.find(':');
        for (std::string_view const ending : OIIO::Strutil::splitsv(format.substr(colon + 1), ","))
            endings.emplace_back(ending);
    }
    return endings;
}

}  // namespace zelk
