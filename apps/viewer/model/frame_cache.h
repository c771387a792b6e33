// FrameCache: pictures that were rendered, up to a budget of bytes; those used last stay.
#pragma once

#include <cstdint>
#include <functional>
#include <list>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "apps/viewer/model/document.h"
#include "hostkit/world.h"
#include "zelk/render/render_options.h"

namespace zelk {

struct PictureView {
    ShownPicture shows = ShownPicture::kFrame;
    int reduce = 1;                      ///< 1 for all pixels, n for block means of n x n
    std::optional<PixelSize> size = {};  ///< of a draft: LiveView::size
    std::optional<PixelRect> part = {};  ///< of the picture as it is rendered; nothing: all
    /// As soon as can be, for a picture that will change again: without motion blur, and without
    /// the values of its file.
    bool isDraft = false;
    bool isLoupe = false;  ///< a draft with all pixels, of what is around a pin
    /// One of displayNames (zelk/render/scene_colors.h); nothing: sRGB.
    std::optional<std::string> displayView = {};

    friend bool operator==(PictureView const& a, PictureView const& b);
};

/// One that was rendered, or why it was not.
struct ShownFrame {
    std::uint64_t revision = 0;  ///< of the scene
    int frame = 0;
    PictureView view;
    World display;          ///< 8 bits, straight: what the screen shows
    bool isOpaque = false;  ///< `display`, each pixel of it
    /// The values of the output's file, of the same part; of frames at reduce 1 alone, and of no
    /// draft.
    PictureBuffer stored;
    PixelSize whole;                    ///< of the picture that `part` was cut from
    std::string files;                  ///< that it was made of (file_stamps.h)
    std::string error;                  ///< a sentence; empty where there is a picture
    std::vector<std::string> warnings;  ///< of the scene's values; of frames alone
    double seconds = 0;                 ///< that it took

    std::uint64_t bytes() const;
};
using SharedFrame = std::shared_ptr<ShownFrame const>;

/// One thread.
class FrameCache {
public:
    void setBudget(std::uint64_t bytes);
    std::uint64_t budget() const { return m_budget; }
    void clear() { shrink(0, false); }
    std::uint64_t bytes() const { return m_bytes; }  ///< of all pictures that are kept

    /// Pictures that pass by, as the drafts of a drag do, have a 32nd of the budget, so that
    /// they don't push out the others. One that is larger than the budget is not kept.
    void add(SharedFrame frame, bool isPassing);
    /// The very one; for a draft also the full picture of the same place. Null for none.
    SharedFrame find(std::uint64_t revision, int frame, PictureView const& view);
    /// Whether find would give one; it counts as no use.
    bool has(std::uint64_t revision, int frame, PictureView const& view) const;

private:
    struct Kept {
        SharedFrame frame;
        bool isPassing;
    };
    using Place = std::list<Kept>::iterator;
    void shrink(std::uint64_t most, bool passingOnly);
    Place drop(Place at);
    std::optional<Place> placeOf(std::uint64_t revision, int frame, PictureView const& view) const;

    std::uint64_t m_budget = std::uint64_t{1} << 30, m_bytes = 0, m_passingBytes = 0;
    std::list<Kept> m_kept;                                        ///< used last first
    std::multimap<std::pair<std::uint64_t, int>, Place> m_places;  ///< by revision and frame
};

}  // namespace zelk
