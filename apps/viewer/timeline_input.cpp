// What the mouse and the keys do. See timeline_view.h.
#include <QApplication>
#include <QKeyEvent>
#include <QMouseEvent>
#include <QScrollBar>
#include <algorithm>
#include <cmath>
#include <utility>

#include "apps/viewer/timeline_view.h"

namespace zelk {

// --- The mouse

void TimelineView::mousePressEvent(QMouseEvent* event) {
    if (!m_document.isOpen()) return;
    endDrag();  // whose release a dialog has taken
    m_button = event->button();
    m_pressedAt = m_boxEnd = m_mouseAt = event->position();
    m_leftAtPress = m_scale.left;
    m_selectedBefore = m_selection;
    if (event->button() == Qt::MiddleButton) {
        m_drag = Drag::kPan;
        return;
    }
    if (event->button() != Qt::LeftButton) return;
    setCurrentRow(rowAt(m_pressedAt.y()));
    if (TimelineKey const* const key = keyAt(m_pressedAt))
        return pressKey(*key, event->modifiers());
    m_drag = dragAt(m_pressedAt);
    if (m_drag == Drag::kFrame) m_player.goTo(m_scale.frameAt(timeX(m_pressedAt.x())));
    if (m_drag == Drag::kBox && !(event->modifiers() & Qt::ShiftModifier)) select({});
    m_selectedAtPress = m_selection;
}

/// Shift adds to the selection or takes out of it.
void TimelineView::pressKey(TimelineKey const& key, Qt::KeyboardModifiers modifiers) {
    KeySelection selection = m_selection;
    if (modifiers & Qt::ShiftModifier) {
        if (!selection.erase(key.ref)) selection.insert(key.ref);
    } else if (!selection.contains(key.ref)) {
        selection = {key.ref};
    }
    select(selection);
    if (!selection.contains(key.ref)) return;
    m_drag = Drag::kKeys;
    m_movedBy = 0;
    m_copies = modifiers & Qt::ControlModifier;
    m_selectedAtPress = m_selection;
    m_statesAtPress = statesOf(m_document.parameters());
}

void TimelineView::mouseMoveEvent(QMouseEvent* event) {
    if (m_drag != Drag::kNone && !(event->buttons() & m_button)) endDrag();
    m_mouseAt = event->position();
    if (m_drag != Drag::kNone) return dragOn();
    bool const isEnd = dragAt(m_mouseAt) == Drag::kIn || dragAt(m_mouseAt) == Drag::kOut;
    viewport()->setCursor(isEnd ? Qt::SizeHorCursor : Qt::ArrowCursor);
}

/// A mouse that rests beyond an end goes on. A dialog that comes meanwhile has the mouse.
void TimelineView::timerEvent(QTimerEvent* event) {
    if (event->timerId() != m_goesOn.timerId()) return QAbstractScrollArea::timerEvent(event);
    if (m_drag == Drag::kNone || QApplication::activeModalWidget()) return m_goesOn.stop();
    dragOn();
}

void TimelineView::dragOn() {
    if (m_drag == Drag::kPan) {
        m_isFit = false;
        m_scale.left = m_leftAtPress - (m_mouseAt.x() - m_pressedAt.x()) / m_scale.pxPerFrame;
        return redraw();
    }
    followMouse();
    double const x = std::clamp(timeX(m_mouseAt.x()), 0., std::max(0., timeX(viewport()->width())));
    switch (m_drag) {
        case Drag::kFrame:
            return m_player.goTo(m_scale.frameAt(x));
        case Drag::kIn:
            m_player.playback().setIn(static_cast<int>(std::lround(m_scale.toFrame(x))));
            return emit m_player.changed();
        case Drag::kOut:
            m_player.playback().setOut(static_cast<int>(std::lround(m_scale.toFrame(x))) - 1);
            return emit m_player.changed();
        case Drag::kKeys:
            return dragKeys(m_mouseAt);
        case Drag::kBox:
            return selectBox(m_mouseAt);
        case Drag::kPan:
        case Drag::kNone:
            return;
    }
}

/// A drag beyond an end of the view goes along, up to the composition's end, and a box to the last
/// row. What was pressed on stays what it was.
void TimelineView::followMouse() {
    constexpr int kStepMs = 20;
    auto const beyond = [](double at, double end) {
        constexpr double kMostPx = 40;
        return std::clamp(std::min(at, 0.) + std::max(at - end, 0.), -kMostPx, kMostPx);
    };
    double const widthPx = timeX(viewport()->width());
    double const beyondX = beyond(timeX(m_mouseAt.x()), widthPx);
    double const beyondY =
        m_drag != Drag::kBox ? 0
                             : beyond(m_mouseAt.y() - TimelineLook::kRulerPx,
                                      viewport()->height() - TimelineLook::kRulerPx);
    bool const isBeyond = beyondX != 0 || beyondY != 0;
    if (isBeyond && !m_goesOn.isActive()) m_goesOn.start(kStepMs, this);
    if (!isBeyond) return m_goesOn.stop();
    QScrollBar& rows = *verticalScrollBar();
    int const rowsBefore = rows.value();
    rows.setValue(rowsBefore + static_cast<int>(beyondY));
    m_pressedAt.ry() -= rows.value() - rowsBefore;
    double const room = beyondX < 0 ? m_document.firstFrame() - m_scale.left
                                    : m_document.lastFrame() + 1. - m_scale.toFrame(widthPx);
    double const by =
        std::clamp(beyondX / m_scale.pxPerFrame, std::min(room, 0.), std::max(room, 0.));
    if (by == 0) return;
    m_isFit = false;
    m_scale.left += by;
    m_pressedAt.rx() -= by * m_scale.pxPerFrame;
    redraw();
}

/// From where the keys lay at the press: what they ran over on the way is there again.
void TimelineView::dragKeys(QPointF const& at) {
    int frames = static_cast<int>(std::lround((at.x() - m_pressedAt.x()) / m_scale.pxPerFrame));
    frames = framesWithin(m_document, m_selectedAtPress, frames);
    if (frames == m_movedBy) return;
    m_movedBy = frames;
    if (!m_document.isActing()) m_document.beginAct(m_copies ? "Copy Keys" : "Move Keys");
    auto const moved = [&](KeyTime const& time) {
        return m_document.momentOf(m_document.frameOf(time) + frames);
    };
    KeySelection now;
    m_document.changeValues("", [&](std::vector<Parameter>& parameters) {
        restoreStates(parameters, m_statesAtPress);
        if (!m_copies) {
            now = moveKeys(parameters, m_selectedAtPress, moved);
            return;
        }
        auto const frameOf = [&](KeyTime const& time) { return m_document.frameOf(time); };
        auto const copied = copyKeys(parameters, m_selectedAtPress, frameOf);
        double first = 0;
        for (CopiedKey const& key : copied)
            if (key.framesFromFirst == 0) first = frameOf(key.key.time);
        now = pasteKeys(parameters, copied, first + frames,
                        [&](double frame) { return m_document.momentOf(frame); });
    });
    select(std::move(now));
}

void TimelineView::selectBox(QPointF const& at) {
    m_boxEnd = at;
    QRectF const box = QRectF(m_pressedAt, m_boxEnd).normalized();
    KeySelection selection = m_selectedAtPress;
    for (TimelineRow const& row : m_rows)
        for (TimelineKey const& key : row.keys)
            if (box.contains(placeOf(key))) selection.insert(key.ref);
    select(std::move(selection));
}

void TimelineView::mouseReleaseEvent(QMouseEvent*) { endDrag(); }

void TimelineView::endDrag() {
    m_goesOn.stop();
    if (std::exchange(m_drag, Drag::kNone) == Drag::kKeys) m_document.endAct();
    redraw();
}

/// On a key: its ease. On a row: a key at that frame.
void TimelineView::mouseDoubleClickEvent(QMouseEvent* event) {
    if (event->button() != Qt::LeftButton || !m_document.isOpen()) return;
    if (keyAt(event->position())) return emit easeAsked();
    int const row = rowAt(event->position().y());
    setCurrentRow(row);
    if (row < 0 || event->position().x() < TimelineLook::kNamesPx) return;
    int const index = m_rows[static_cast<std::size_t>(row)].index;
    KeyTime const time = m_document.momentOf(m_scale.frameAt(timeX(event->position().x())));
    KeySelection added;
    m_document.changeValues("Add Key", [&](std::vector<Parameter>& parameters) {
        added = addKeys(parameters, {index}, time);
    });
    select(std::move(added));
}

void TimelineView::contextMenuEvent(QContextMenuEvent* event) {
    if (!m_document.isOpen()) return;
    TimelineKey const* const key = keyAt(event->pos());
    if (key && !m_selection.contains(key->ref)) select({key->ref});
    emit menuAsked(event->globalPos());
}

void TimelineView::wheelEvent(QWheelEvent* event) {
    double const notches = event->angleDelta().y() / 120.;
    if (event->modifiers() & Qt::ControlModifier) {
        m_scale.zoomAt(timeX(event->position().x()), std::pow(1.25, notches));
    } else if (event->modifiers() & Qt::ShiftModifier) {
        constexpr double kNotchPx = 60;
        double const along = notches != 0 ? notches : event->angleDelta().x() / 120.;
        m_scale.left -= along * kNotchPx / m_scale.pxPerFrame;
    } else {
        return QAbstractScrollArea::wheelEvent(event);
    }
    m_isFit = false;
    redraw();
    event->accept();
}

// --- Keys

/// Of the current row: the key beside the selected ones, else beside the frame that is shown.
void TimelineView::selectKey(bool isLater, bool adds) {
    if (m_currentRow < 0) return;
    std::vector<TimelineKey> const& keys = m_rows[static_cast<std::size_t>(m_currentRow)].keys;
    std::optional<double> from;
    for (TimelineKey const& key : keys)
        if (m_selection.contains(key.ref) && (isLater || !from)) from = key.frame;
    TimelineKey const* next = nullptr;
    for (TimelineKey const& key : keys) {
        double const away = key.frame - from.value_or(m_document.frame());
        bool const isBeside = away == 0 ? !from : (away > 0) == isLater;
        if (isBeside && (!next || !isLater)) next = &key;
    }
    if (!next) return;
    KeySelection selection = adds ? m_selection : KeySelection();
    selection.insert(next->ref);
    goToRow(m_currentRow);
    reveal(next->frame);
    select(std::move(selection));
}

void TimelineView::keyPressEvent(QKeyEvent* event) {
    int const last = static_cast<int>(m_rows.size()) - 1;
    switch (event->key()) {
        case Qt::Key_Escape:
            if (m_document.isActing()) m_document.cancelAct();
            return select(std::exchange(m_drag, Drag::kNone) == Drag::kNone ? KeySelection()
                                                                            : m_selectedBefore);
        case Qt::Key_Up:
            return goToRow(std::min(last, std::max(0, m_currentRow - 1)));
        case Qt::Key_Down:
            return goToRow(std::min(last, m_currentRow + 1));
        case Qt::Key_Left:
        case Qt::Key_Right:
            return selectKey(event->key() == Qt::Key_Right, event->modifiers() & Qt::ShiftModifier);
        default:
            QAbstractScrollArea::keyPressEvent(event);
    }
}

}  // namespace zelk
