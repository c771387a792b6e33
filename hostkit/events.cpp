// Event records, and what a host does with the answers.
#include "hostkit/events.h"

#include <algorithm>
#include <iterator>

#include "Transform/Common/SaturatingCast.h"
#include "hostkit/error.h"
#include "hostkit/host_impl.h"

namespace zelk {

CommandResult Host::event(PF_EventExtra& extra, FrameRequest const& frame) {
    if (frame.downsample.larger() != 1)
        throw HostError("an event of a reduced resolution, expected full resolution");
    CommandScene scene;
    scene.frame = frame;
    scene.extra = &extra;
    return m_impl->run(PF_Cmd_EVENT, scene, true);
}

void Host::stopWhen(std::function<bool()> isStopped) { m_impl->isStopped = std::move(isStopped); }

void Host::setCurrentTool(A_u_char tool) { m_impl->currentTool = tool; }

PF_EventExtra PanelEvents::record(A_long eventType) {
    requireSound(panel());
    PF_EventExtra extra{};
    extra.contextH = m_context.handle();
    extra.e_type = static_cast<PF_EventType>(eventType);
    extra.cbs = m_context.callbacks();
    return extra;
}

EventResult PanelEvents::run(PF_EventExtra& extra) {
    EventResult result;
    result.command = m_host.event(extra, frame);
    result.outFlags = extra.evt_out_flags;
    bool const isMouse = extra.e_type == PF_Event_DO_CLICK || extra.e_type == PF_Event_DRAG;
    result.asksForDrag = isMouse && extra.u.do_click.send_drag;
    if (result.command.code || !result.handled() || extra.e_type == PF_Event_DRAW) return result;
    result.redrawn = true;
    CommandResult const drawn = redraw().command;
    if (drawn.code) result.command = drawn;
    return result;
}

EventResult PanelEvents::redraw() {
    if (repaint) repaint();
    return draw();
}

EventResult PanelEvents::mouseEvent(A_long eventType, MouseEvent const& mouse, bool isLast) {
    PF_EventExtra extra = record(eventType);
    PF_DoClickEventInfo& info = extra.u.do_click;
    info.screen_point = {saturatingInt16(mouse.y), saturatingInt16(mouse.x)};
    info.modifiers = mouse.modifiers;
    info.num_clicks = mouse.clicks;
    info.last_time = isLast;
    std::copy(m_refcon.begin(), m_refcon.end(), info.continue_refcon);
    EventResult const result = run(extra);
    std::copy_n(info.continue_refcon, m_refcon.size(), m_refcon.begin());
    m_isDragging = result.asksForDrag && !isLast && result.command.code == PF_Err_NONE;
    return result;
}

EventResult PanelEvents::click(MouseEvent const& mouse) {
    m_refcon = {};
    return mouseEvent(PF_Event_DO_CLICK, mouse, false);
}

EventResult PanelEvents::drag(MouseEvent const& mouse, bool isLast) {
    if (!m_isDragging) throw HostError("a drag without a click that the effect took");
    return mouseEvent(PF_Event_DRAG, mouse, isLast);
}

void PanelEvents::abandonDrag(MouseEvent const& mouse) {
    mouseEvent(PF_Event_DRAG, mouse, true);
    m_isDragging = false;
}

EventResult PanelEvents::draw() {
    PF_EventExtra extra = record(PF_Event_DRAW);
    extra.u.draw.update_rect = {-32768, -32768, 32767, 32767};
    extra.u.draw.depth = 32;
    return run(extra);
}

}  // namespace zelk
