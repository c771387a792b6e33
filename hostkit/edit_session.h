// EditSession: what a user does to an effect while looking at one frame of it: values are set, the
// quad is dragged in a panel, and each act can be undone. It has no window: a program hands it
// numbers and mouse positions, and draws when asked. Edits, changes and undo are the acts of such a
// program; one without a window needs only the drag.
//
// Every act is one step of the undo stack: an edit "Set NAME", a whole drag "Move pins" or, with
// Shift at the click, "Scale pins". An act that changes no value is no step and leaves no key.
// After an edit the effect hears of a control that it supervises, and after every act it greys its
// controls out or enables them (the ui_flags of Parameter::current).
// An animated parameter gets a key at the frame's moment. While a drag runs, all but drag and
// release is refused with false.
// Errors: HostError for a parameter or value that can't be, and, with everything as before, when
// the effect fails.
#pragma once

#include <functional>
#include <string>
#include <string_view>

#include "hostkit/events.h"
#include "hostkit/undo.h"

namespace zelk {

class EditSession {
public:
    /// On frame 0 of the host's composition. The layer's size in pixels at full resolution. The
    /// host must outlive the session.
    EditSession(Host& host, int layerWidthPx, int layerHeightPx);

    /// Zoom and pan; to be set between events.
    Panel& panel() { return m_events.panel(); }

    int frameNumber() const { return m_frameNumber; }
    bool setFrame(int number);
    FrameRequest const& frame() const { return m_events.frame; }

    /// The value at the frame's moment.
    KeyValue valueOf(int index) const;
    /// Sets a value, kept within the parameter's valid range and rounded to its unit. False when
    /// that changes nothing.
    bool edit(int index, KeyValue const& value);
    /// Any change of values and keyframes as one step. False when it changes nothing.
    bool change(std::string name, std::function<void(std::vector<Parameter>&)> const& act);

    /// A press of the button: true when the effect takes the mouse until release. False leaves the
    /// click to the program.
    bool click(MouseEvent const& mouse);
    /// False without a drag.
    bool drag(MouseEvent const& mouse);
    /// Ends the drag there. True when it changed anything.
    bool release(MouseEvent const& mouse);
    bool isDragging() const { return m_events.isDragging(); }

    /// The overlay, drawn in the current port.
    void draw();

    bool undo();
    bool redo();
    std::string_view undoName() const { return m_undo.undoName(); }

private:
    Parameter& parameterOf(int index) const;
    /// A point in time of the layer.
    KeyTime moment() const;
    /// Some parameter's value at the frame's moment is not what it was in `m_atClick`.
    bool hasMoved() const;
    /// The drag's parameters go back, and HostError, when the effect failed.
    void check(EventResult const& result);
    /// Informs the effect of a new value where it asked for that. HostError when it fails.
    void notifyEffect(Parameter const& parameter);
    void updateControls();
    /// One way along the undo stack, taken back when the controls can't follow.
    using UndoStep = bool (UndoStack::*)(std::vector<Parameter>&);
    bool step(UndoStep there, UndoStep back);

    Host& m_host;
    PanelEvents m_events;
    UndoStack m_undo;
    int m_layerWidthPx, m_layerHeightPx;
    int m_frameNumber = 0;
    MouseEvent m_click;                     ///< of the drag
    std::vector<ParameterState> m_atClick;  ///< what the drag started from
    std::vector<KeyValue> m_valuesAtClick;  ///< at the frame's moment
};

}  // namespace zelk
