// PinTool: what mouse and keys do to the pins in the composition panel.
//
//     press --on a pin-----------> the selected pins move       "Move upper left To Pin"
//           --on a key-----------> the key moves, at its frame  "Move key of upper left To Pin"
//           --on an edge---------> its two pins move            "Move top edge of To Pins"
//           --inside of a quad---> the effect's own drag        "Move pins", "Scale pins"
//           --anywhere else------> a box that selects pins
//
// Each is one act of the document. To Pins lie in the frame, From Pins in the layer; where the two
// have one size, all pins are in both views, as Overlay Mode says. An inverted scene's To Pins lie
// in what it takes the picture from: its plate, or its layer where there is none.
#pragma once

#include <optional>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "apps/viewer/model/document.h"
#include "apps/viewer/model/frame_service.h"
#include "apps/viewer/model/motion_path.h"
#include "apps/viewer/model/view_map.h"

namespace zelk {

/// The mouse in the panel, in panel pixels.
struct PinMouse {
    PanelPoint at;
    bool isShift = false;  ///< selects more; holds a pin to an axis; the effect scales
    bool snaps = false;
};

struct PinHandle {
    int parameter = 0;
    PanelPoint value;  ///< picture pixels
    PanelPoint at;     ///< panel pixels
    bool isSelected = false;
};

struct PinHit {
    enum Kind { kNothing, kPin, kKey, kEdge, kQuad } kind = kNothing;
    std::vector<int> parameters;  ///< pins of a pin or an edge
    std::size_t key = 0;
};

class PinTool {
public:
    /// Both outlive the tool. `map` is of what is shown.
    PinTool(Document& document, ViewMap const& map) : m_document(document), m_map(map) {}

    void setShown(ShownPicture shows) { m_shows = shows; }
    /// How near to a handle the mouse takes it, panel pixels.
    void setReach(double px) { m_reachPx = px; }
    double reach() const { return m_reachPx; }
    void showMotionPaths(bool shows) { m_hasPaths = shows; }

    // --- What there is

    bool shows(TrackedPins pins) const;
    std::vector<PinHandle> handles() const;
    std::optional<PinHandle> handleOf(int parameter) const;
    /// Of the pins that are shown; another document starts without one.
    std::set<int> selection() const;
    /// Of the selected pins.
    std::vector<MotionPath> const& motionPaths() const;
    PinHit hitAt(PanelPoint panel) const;
    Panel panel() const;
    /// The effect's overlay in the current port, of the pins that are shown.
    void drawOverlay() const;

    // --- Selection

    void select(std::set<int> pins);
    void selectAll();
    /// The pin after the selected one, in the order of the handles; false past the last.
    bool selectNext(bool isBack);
    /// Adds a pin to the selection or takes it out: by its place among the handles, from 0.
    void toggle(std::size_t place);

    // --- Acts

    /// True when the tool has the mouse until release, which it always has on an open document.
    bool press(PinMouse const& mouse);
    void drag(PinMouse const& mouse);
    void release(PinMouse const& mouse);
    /// A release where the mouse was last.
    void drop();
    /// Everything is as before the press. False without a drag.
    bool cancel();
    bool isDragging() const { return m_drag.has_value(); }
    /// The pin in the user's hand.
    std::optional<int> draggedPin() const;
    /// Where it was snapped to, picture pixels.
    std::optional<PanelPoint> snapTarget() const { return m_snapTarget; }
    /// Corners of the box that selects, panel pixels.
    std::optional<std::pair<PanelPoint, PanelPoint>> box() const;

    /// The selected pins, picture pixels. All nudges of a kind up to endNudge are one step.
    void nudge(double dx, double dy);
    /// The selected pins about their middle; nothing of one pin, or where one would leave the range
    /// of positions. The reciprocal factor leads back to within 1/8192 px: each way rounds to the
    /// grid of sums, 1e-4 px, and then to the unit of values, 1/65536 px.
    void scale(double factor);
    void endNudge();
    bool moveTo(int parameter, PanelPoint value);
    /// The To Pins on the corners of the picture that they lie in.
    void toFrameCorners();
    /// From Pins lie in what is shown, but Overlay Mode leaves them out.
    bool hidesFromPins() const;
    void showFromPins();

private:
    struct Drag {
        std::uint64_t act = 0;  ///< of the document; 0 where nothing moves
        PinHit hit;
        PinMouse press;
        PinMouse last;
        std::vector<std::pair<int, PanelPoint>> from;  ///< pins at the press
        std::optional<int> grabbed;
        std::set<int> selected;  ///< before the press
        bool isMoved = false;
    };

    void beginDrag(PinMouse const& mouse);
    void choosePin(Drag& drag) const;
    bool isSelected(int pin) const;
    bool hasLostAct() const;
    PanelPoint movement(PinMouse const& mouse, PanelPoint const* grabbed);
    std::vector<PanelPoint> targets() const;
    void movePins(PinMouse const& mouse);
    void moveKey(PinMouse const& mouse);
    void selectInBox(PinMouse const& mouse);
    bool isBackAtStart(Drag const& drag) const;
    PanelPoint keyOf(int parameter, std::size_t key) const;
    void limitOverlay() const;
    PanelPoint valueOf(int parameter) const;
    void setPins(std::string const& name, std::vector<std::pair<int, PanelPoint>> const& values);
    std::string nameOfAct() const;
    void nudgeTo(char const* verb, std::vector<std::pair<int, PanelPoint>> const& values);
    bool liesHere(TrackedPins pins) const;
    bool hitsQuad(PanelPoint panel) const;
    std::optional<PinHit> hitEdge(PanelPoint panel) const;

    Document& m_document;
    ViewMap const& m_map;
    ShownPicture m_shows = ShownPicture::kFrame;
    double m_reachPx = 7;
    bool m_hasPaths = true;
    std::set<int> m_selection;
    int m_selectionOf = 0;  ///< Document::opened
    std::optional<Drag> m_drag;
    std::optional<PanelPoint> m_snapTarget;
    std::uint64_t m_nudge = 0;  ///< the act of the nudges; it may have ended
    std::string m_nudgeName;
    mutable std::vector<MotionPath> m_paths;
    mutable std::pair<std::uint64_t, std::set<int>> m_pathsOf;
};

}  // namespace zelk
