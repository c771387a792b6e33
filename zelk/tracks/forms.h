// The forms in which tracks are kept, in one table: a form is a row with its reader and writer.
#pragma once

#include <filesystem>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "zelk/tracks/text.h"

namespace zelk {

struct TrackFormat {
    std::string_view name;    ///< of --format and --as
    std::string_view ending;  ///< of files that are written so by themselves; empty for none
    bool writesSize;          ///< the form can't be written without the frame's size
    bool writesRate;          ///< it states a rate in any case, kDefaultRate where there is none
    bool (*recognises)(TrackText const&);
    /// Whether a text that no form recognises was meant for this one, whose reader then says what
    /// is wrong with it; null for never.
    bool (*resembles)(TrackText const&);
    Track (*read)(TrackText const&);
    std::string (*write)(Track const&);
};

/// The form that the effect imports is the first.
std::span<TrackFormat const> trackFormats();
std::vector<std::string_view> trackFormatWords();
/// Names as a sentence lists them: "mocha, keyframes, ... or nodes".
std::string trackFormatNames();
/// Throws a usage error about `option`.
TrackFormat const& trackFormatNamed(std::string const& option, std::string const& name);

/// The forms that a text may be in; none for one that no form fits.
std::vector<TrackFormat const*> formatsOf(TrackText const& text);

inline constexpr std::size_t kLargestTrackFile = std::size_t{16} << 20;

/// How a file is to be read where it leaves a choice.
struct ReadTrackOptions {
    std::optional<std::string> format;  ///< a name of the table
    std::optional<PixelSize> size;      ///< of the frame; it wins over the file's
    /// Whether a text that the effect's import and the host that copied it read differently is
    /// refused until a form is named. Otherwise it is what the import reads.
    bool asks = false;
    /// Of the options that messages ask for: "--" for a command that has them itself.
    std::string_view optionPrefix = kConvertCommand;
};

/// Reads a file of any form and extension. The track has samples, all finite. Throws an input
/// error with file, line and reason.
Track readTrack(std::filesystem::path const& file, ReadTrackOptions const& options = {});
Track trackFromText(TrackText const& text, ReadTrackOptions const& options = {});

}  // namespace zelk
