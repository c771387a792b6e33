// What mouse and keyboard do. See timeline_view.h.
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
    m_draggedTo = m_document.snapshot().revision;
}

void TimelineView::mouseMoveEvent(QMouseEvent* event) {
    if (m_drag != Drag::kNone && !(event->buttons() & m_button)) endDrag();
    m_mouseAt = event->position();
    if (m_drag == Drag::kNone) {
        bool const isEnd = dragAt(m_mouseAt) == Drag::kIn || dragAt(m_mouseAt) == Drag::kOut;
        return viewport()->setCursor(isEnd ? Qt::SizeHorCursor : Qt::ArrowCursor);
    }
    constexpr int kStepMs = 20;
    if (beyond().isNull())
        m_scrolling.stop();
    else if (!m_scrolling.isActive())
        m_scrolling.start(kStepMs, this);
    dragOn();
}

/// The view scrolls while the mouse is held beyond an end.
void TimelineView::timerEvent(QTimerEvent* event) {
    if (event->timerId() != m_scrolling.timerId()) return QAbstractScrollArea::timerEvent(event);
    if (m_drag == Drag::kNone || !scrollOn()) return m_scrolling.stop();
    dragOn();
}

void TimelineView::dragOn() {
    double const widthPx = std::max(0., timeX(viewport()->width()));
    double const x = std::clamp(timeX(m_mouseAt.x()), 0., widthPx);
    switch (m_drag) {
        case Drag::kFrame:  // one that is seen
            return m_player.goTo(m_scale.frameAt(std::min(x, std::nextafter(widthPx, 0.))));
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
            m_isFit = false;
            m_scale.left = m_leftAtPress - (m_mouseAt.x() - m_pressedAt.x()) / m_scale.pxPerFrame;
            return redraw();
        case Drag::kNone:
            return;
    }
}

/// How far the mouse is beyond the frames that are seen, and a box beyond the rows.
QPointF TimelineView::beyond() const {
    auto const past = [](double at, double end) {
        constexpr double kMostPx = 40;
        return std::clamp(std::min(at, 0.) + std::max(at - end, 0.), -kMostPx, kMostPx);
    };
    if (m_drag == Drag::kPan) return {};
    double const y =
        past(m_mouseAt.y() - TimelineLook::kRulerPx, viewport()->height() - TimelineLook::kRulerPx);
    return {past(timeX(m_mouseAt.x()), timeX(viewport()->width())), m_drag == Drag::kBox ? y : 0};
}

/// By as much as the mouse is beyond an end, up to the composition's ends and the last row. What
/// was pressed on stays what it was. False where nothing is left to scroll to.
bool TimelineView::scrollOn() {
    QPointF const past = beyond();
    QScrollBar& rows = *verticalScrollBar();
    int const rowsBefore = rows.value();
    rows.setValue(rowsBefore + static_cast<int>(past.y()));
    int const rowsBy = rows.value() - rowsBefore;
    double const lastX = m_scale.toX(m_document.lastFrame() + 1.) - timeX(viewport()->width());
    double const roomPx = past.x() < 0 ? m_scale.toX(m_document.firstFrame()) : lastX;
    double byPx = std::clamp(past.x(), std::min(roomPx, 0.), std::max(roomPx, 0.));
    if (std::abs(byPx) < 0.01) byPx = 0;  // what rounding leaves at an end
    m_pressedAt -= QPointF(byPx, rowsBy);
    if (byPx != 0) {
        m_isFit = false;
        m_scale.left += byPx / m_scale.pxPerFrame;
        redraw();
    }
    return byPx != 0 || rowsBy != 0;
}

/// From where the keys lay at the press: what they ran over on the way is there again. A change by
/// something else ends the drag.
void TimelineView::dragKeys(QPointF const& at) {
    if (m_draggedTo != m_document.snapshot().revision) return endDrag();
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
    m_draggedTo = m_document.snapshot().revision;
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

/// A menu or a dialog gets the release.
void TimelineView::focusOutEvent(QFocusEvent* event) {
    endDrag();
    QAbstractScrollArea::focusOutEvent(event);
}

void TimelineView::endDrag() {
    m_scrolling.stop();
    if (std::exchange(m_drag, Drag::kNone) == Drag::kKeys) m_document.endAct();
    followFrame();
    redraw();
}

/// On a key: its ease. On a row: a key at that frame.
void TimelineView::mouseDoubleClickEvent(QMouseEvent* event) {
    if (event->button() != Qt::LeftButton || !m_document.isOpen()) return;
    if (TimelineKey const* const key = keyAt(event->position())) return emit easeAsked(key->ref);
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
    if (m_drag != Drag::kNone) return event->accept();  // what is dragged stays at the mouse
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

// --- The keyboard

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
