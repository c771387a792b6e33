// The user's mouse in a panel, as an effect hears of it: clicks, the drag that it asks for after
// one, and drawing. Each is a PF_Cmd_EVENT with a record of its own.
//
//     click --- send_drag ---> drag ... drag ---> drag, last_time
//       |                        |                  |
//       '---- after each that the effect handled: repaint(), then a draw event
//
// Mouse positions are whole pixels of the panel.
#pragma once

#include <array>
#include <cstdint>
#include <functional>

#include "hostkit/host.h"
#include "hostkit/panel.h"

namespace zelk {

/// What the user did with the mouse. Positions are kept within 16 bits.
struct MouseEvent {
    int x = 0, y = 0;
    A_long modifiers = PF_Mod_NONE;
    A_long clicks = 1;
};

struct EventResult {
    CommandResult command;     ///< the event's own; a redraw's where only that failed
    A_long outFlags = 0;       ///< PF_EO_* of the event
    bool asksForDrag = false;  ///< the effect set send_drag
    bool redrawn = false;      ///< a draw event followed
    bool handled() const { return outFlags & PF_EO_HANDLED_EVENT; }
};

/// One panel's conversation with the effect. It must not outlive its host.
class PanelEvents {
public:
    explicit PanelEvents(Host& host) : m_host(host) {}

    /// To be set before an event; HostError from an event for one that is not sound.
    Panel& panel() { return m_context.panel; }
    /// The frame that the panel shows; its layer size is what the effect reads.
    FrameRequest frame;
    /// Called before each redraw: what was drawn in the panel is gone from here. For a
    /// program with a window, which clears its panel.
    std::function<void()> repaint;

    /// A press of the button. A drag begins when the effect asks for one, whether or not it handled
    /// the click otherwise.
    EventResult click(MouseEvent const& mouse);
    /// A move with the button held, or, `isLast`, its release. HostError without a drag. The drag
    /// ends at its last event, when the effect asks for no more, or with a failure.
    EventResult drag(MouseEvent const& mouse, bool isLast = false);
    /// After a failure: the effect hears that the button is up, whatever it answers.
    void abandonDrag(MouseEvent const& mouse);
    EventResult draw();

    bool isDragging() const { return m_isDragging; }

private:
    PF_EventExtra record(A_long eventType);
    EventResult mouseEvent(A_long eventType, MouseEvent const& mouse, bool isLast);
    EventResult run(PF_EventExtra& extra);
    /// repaint(), then a draw event.
    EventResult redraw();

    Host& m_host;
    PanelContext m_context;
    std::array<std::intptr_t, 4> m_refcon{};  ///< continue_refcon of the drag
    bool m_isDragging = false;
};

}  // namespace zelk
