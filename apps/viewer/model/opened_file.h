// What a file that a user opens or drops is meant to be, by its name.
#pragma once

#include <filesystem>
#include <optional>
#include <string>
#include <vector>

namespace zelk {

enum class FileKind { kProject, kTrack, kPicture };

/// A picture is also a movie or a numbered sequence.
FileKind kindOf(std::filesystem::path const& file);

/// The numbered pictures that a file is one of: "shot.####.exr" for "shot.0012.exr".
struct FileSequence {
    std::string pattern;
    std::vector<int> frames;
};
/// Nothing for a file that stands alone, for a pattern, and for a movie: takes have numbers too.
std::optional<FileSequence> sequenceOf(std::filesystem::path const& file);

/// One of several files that were given together, as it is meant, or why it can't be.
struct GivenFile {
    std::filesystem::path file;
    std::string refusal = {};  ///< a sentence
};
/// All files of a sequence are its pattern, some are the first of them. A folder is the one
/// project in it, or else the one picture, sequence or movie. Each folder is listed once.
std::vector<GivenFile> meantFiles(std::vector<std::filesystem::path> const& files);

// Endings of files that can be read, without a dot and in lower case.
std::vector<std::string> pictureEndings();
std::vector<std::string> movieEndings();
std::vector<std::string> trackEndings();

}  // namespace zelk
