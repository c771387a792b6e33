// DraftPolicy: which picture the composition panel asks for, and when.
//
// While an act is open its pictures are drafts, no finer than the screen and no larger than what is
// visible of them. 120 ms after the last change comes the full picture: of what is visible in all
// pixels where the screen can show them, else as fine as the screen.
//
//     policy.changed(now, document.isActing());      // at each change of scene, frame or view
//     service.ask(snapshot, policy.wanted(sight));   // at once, and again when rest() is due
//
// Times are the caller's, so that it needs no clock.
#pragma once

#include <chrono>
#include <optional>

#include "apps/viewer/model/frame_cache.h"

namespace zelk {

/// What of the picture the panel shows. `zoom` is device pixels for each pixel of the picture;
/// `visible` is in pixels of the whole, unreduced picture, half-open, perhaps beyond it.
struct PanelSight {
    ShownPicture shows = ShownPicture::kFrame;
    double zoom = 1;
    PixelRect visible;
    PixelSize picture;
    std::optional<std::string> displayView;
};

/// The most that a picture can be reduced by and still be no coarser than the screen.
int reductionFor(double zoom, PixelSize picture);

/// As fine as the screen, what is visible of it; all of it where that is seen.
PictureView viewFor(PanelSight const& sight, bool isDraft);

class DraftPolicy {
public:
    using Time = std::chrono::steady_clock::time_point;
    static constexpr std::chrono::milliseconds kRest{120};

    void changed(Time now, bool isActing) {
        m_last = now;
        m_isDraft = isActing;
    }
    /// What is to be asked for now.
    PictureView wanted(PanelSight const& sight) const { return viewFor(sight, m_isDraft); }
    /// When the full picture is due: nothing where it was asked for already.
    std::optional<Time> restDue() const {
        return m_isDraft ? std::optional(m_last + kRest) : std::nullopt;
    }
    /// The full picture is wanted from now on, if its time has come; true when it was not before.
    bool rest(Time now) {
        if (!m_isDraft || now < m_last + kRest) return false;
        m_isDraft = false;
        return true;
    }

private:
    Time m_last{};
    bool m_isDraft = false;
};

}  // namespace zelk
