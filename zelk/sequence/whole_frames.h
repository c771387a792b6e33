// Which frames need not be rendered: those whose files are there and whole.
#pragma once

#include <filesystem>
#include <functional>
#include <optional>

#include "zelk/pictures/pixel_size.h"
#include "zelk/render/run_options.h"
#include "zelk/sequence/journal.h"

namespace zelk {

/// A file that is what the journal has of it is whole; another one when it reads back to its end
/// and its display window has the frame's size. Empty files, cut ones and placeholders are not.
class WholeFrames {
public:
    /// `frameSize` is asked at most once; nothing where it can't be known, as the inputs are gone:
    /// any size will do then. `journal`, which may be null, is told of files that were read back.
    WholeFrames(SkipExisting mode, Journal* journal,
                std::function<std::optional<PixelSize>()> frameSize);

    /// For one thread at a time.
    bool isWhole(std::filesystem::path const& file);

private:
    SkipExisting m_mode;
    Journal* m_journal;
    std::function<std::optional<PixelSize>()> m_askSize;
    std::optional<std::optional<PixelSize>> m_size;  ///< once it was asked
};

}  // namespace zelk
