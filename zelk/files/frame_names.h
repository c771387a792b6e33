// Numbered pictures: a file name with a mark where the frame number stands, and lists of frames.
//
//   shot.%04d.exr   shot.%d.exr    printf: 4 digits, or as many as the number needs
//   shot.####.exr   shot.#.exr     a digit each; one alone stands for 4
//   shot.@@@@.exr   shot.@.exr     a digit each
//   shot.$F4.exr    shot.$F.exr    4 digits, or as many as the number needs
//
// `#` and `@` are marks in the file's name only, as folders may be called "shot #1"; a folder is
// numbered by %04d or $F4.
//
// Digits are a least width, as in printf: the sign of a negative frame counts towards it (-008),
// and a number that needs more digits has them. `%%` is a percent sign.
#pragma once

#include <filesystem>
#include <optional>
#include <string>
#include <string_view>
#include <system_error>
#include <vector>

namespace zelk {

/// A path with at most one frame mark, in its file name or in one of its folders.
class SequenceName {
public:
    /// Throws a usage error about `pattern` when a mark is malformed or the second one.
    explicit SequenceName(std::string_view pattern);
    /// A name that has no mark, whatever it looks like.
    static SequenceName plain(std::string_view path);

    /// Whether there is a mark. A plain name is the path of every frame.
    bool isSequence() const { return m_width > 0; }

    std::filesystem::path pathOf(int frame) const;
    /// Where the numbered names are.
    std::filesystem::path folder() const;

private:
    SequenceName() = default;
    friend std::vector<int> framesOnDisk(SequenceName const& name);
    friend std::vector<int> framesOnDisk(SequenceName const& name, std::error_code& fault);

    std::string numbered(int frame) const;

    // The path has three parts: folders, the one name that holds the mark, and what lies beyond it.
    std::optional<int> frameOf(std::string_view markedName) const;
    std::filesystem::path beyond() const;

    std::string m_before, m_after;  ///< with percent signs for `%%`
    int m_width = 0;                ///< least characters of a number; 0 for a plain name
};

/// Frames that exist as files, sorted; one scan of the folder that holds the numbered names. A name
/// counts only as pathOf writes it, so that 12 and 012 are never one frame. Nothing for a plain
/// name. Throws an input error when the folder can't be listed.
std::vector<int> framesOnDisk(SequenceName const& name);
/// The same without an error of its own: those that can be seen, and why there may be more.
std::vector<int> framesOnDisk(SequenceName const& name, std::error_code& fault);

/// The number of a single picture among others of its kind: three digits or more that end its name
/// ("shot.1005.exr", "0005.png"), but for a version's ("sign_v002.png"). Nothing for other names.
std::optional<int> numberOfName(std::filesystem::path const& file);

/// "1001-1100", "7", "1-10,20-30x2", "1-100y5" (what 1-100x5 leaves out), "-8--5", "10-1x-2": the
/// frames in the order given, each at its first place only. A negative step counts down from the
/// larger end. Throws a usage error about `option` for anything else, for no frames and
/// for more than 1,000,000, repeats counted.
std::vector<int> parseFrameRange(std::string const& option, std::string_view text);

/// The frames as such a list, in their order: "1001-1100,1105".
std::string frameRangeText(std::vector<int> const& frames);

}  // namespace zelk
