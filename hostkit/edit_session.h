// EditSession: what a user does to an effect while looking at one frame of it: values are set, and
// the quad is dragged in a panel. It has no window: a program hands it numbers and mouse positions,
// and draws when asked. What can be undone is the program's own to keep.
//
// An act that changes no value leaves no key. After an edit the effect hears of a control that it
// supervises, and after every act it greys its controls out or enables them (the ui_flags of
// Parameter::current). An animated parameter gets a key at the frame's moment. While a drag runs,
// all but drag and release is refused with false.
// Errors: HostError for a parameter or value that can't be, and, with everything as before, when
// the effect fails.
#pragma once

#include <functional>
#include <vector>

#include "hostkit/events.h"
#include "hostkit/parameter_states.h"

namespace zelk {

class EditSession {
public:
    /// The layer's size in pixels at full resolution. The host must outlive the session.
    EditSession(Host& host, int layerWidthPx, int layerHeightPx, int frame);

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
    /// Any change of values and keyframes. False when it changes nothing.
    bool change(std::function<void(std::vector<Parameter>&)> const& act);

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

    Host& m_host;
    PanelEvents m_events;
    int m_layerWidthPx, m_layerHeightPx;
    int m_frameNumber = 0;
    MouseEvent m_click;                     ///< of the drag
    std::vector<ParameterState> m_atClick;  ///< what the drag started from
    std::vector<KeyValue> m_valuesAtClick;  ///< at the frame's moment
};

}  // namespace zelk
