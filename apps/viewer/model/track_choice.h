// TrackChoice: a tracking file on its way into a scene. It is read again with each change of how it
// is read, so that its paths and its warnings can be seen before it is taken.
#pragma once

#include <filesystem>
#include <optional>
#include <string>
#include <vector>

#include "apps/viewer/model/document.h"
#include "zelk/scene/scene.h"

namespace zelk {

/// The picture that pins lie in: the plate, or the layer. Nothing for the To Pins of a scene
/// without a plate: its frame has nothing but the layer, which the track is to move.
std::optional<ShownPicture> pictureUnder(Scene const& scene, TrackedPins pins);

struct TrackWarning {
    std::string text;
    std::optional<TrackReading> mended;  ///< a reading without it, where there is one
    std::string mend;  ///< what that is, in the form's words: "Corners ul,ur,ll,lr"
};

class TrackChoice {
public:
    /// `frame` and `layer` are the sizes of what To Pins and From Pins lie in.
    TrackChoice(Scene const& scene, std::filesystem::path file, PixelSize frame, PixelSize layer);

    void setPins(TrackedPins pins);
    void setReading(TrackReading reading);
    TrackedPins pins() const { return m_pins; }
    TrackReading const& reading() const { return m_reading; }
    std::filesystem::path const& file() const { return m_file; }

    /// As it would be used; null where it can't be read, and why is told.
    Track const* track() const { return m_use.track.get(); }
    std::string const& fault() const { return m_fault; }
    std::vector<TrackWarning> const& warnings() const { return m_warnings; }
    /// Whole frames from the first to the last one; none where it can't be read.
    struct Span {
        int first = 0, last = 0;
    };
    std::optional<Span> span() const;
    /// Some of them lie outside of the composition.
    bool reachesBeyond(Comp const& comp) const;

    /// Puts it into a scene instead of the track or the values that its pins had, by the scene's
    /// own edit; `fitsComp` makes the composition as long. Throws an input error where it can't be
    /// read or is not meant so.
    void put(Scene& scene, bool fitsComp) const;

private:
    void read();

    Comp m_comp;
    std::filesystem::path m_file;
    PixelSize m_frame, m_layer;
    TrackedPins m_pins = TrackedPins::kTo;
    TrackReading m_reading;
    TrackUse m_use;
    std::string m_fault;
    std::vector<TrackWarning> m_warnings;
};

}  // namespace zelk
