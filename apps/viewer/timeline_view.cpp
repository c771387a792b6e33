// What the mouse and the keys do; timeline_paint.cpp draws. See timeline_view.h.
#include "apps/viewer/timeline_view.h"

#include <QKeyEvent>
#include <QMouseEvent>
#include <QScrollBar>
#include <algorithm>
#include <cmath>
#include <utility>

namespace zelk {
namespace {

constexpr double kReachPx = 6;  ///< of a key, and of the range's ends

}  // namespace

TimelineView::TimelineView(Document& document, Player& player, QWidget* parent)
    : QAbstractScrollArea(parent), m_document(document), m_player(player) {
    setFocusPolicy(Qt::StrongFocus);
    setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    viewport()->setMouseTracking(true);
    setAccessibleName("Timeline: keyframes by frame");
    document.onChange([this](DocumentChange const& change) {
        // Another frame changes values, but no keys.
        bool const isSame = m_document.isOpen() && m_rowsOf == m_document.snapshot().revision;
        if (change.inputs || (change.values && !isSame)) refresh();
        if (std::exchange(m_opened, m_document.opened()) != m_document.opened()) {
            m_isFit = true;
            m_drag = Drag::kNone;
            select({});
        }
        if (change.inputs) keepFit();
        followFrame();
        describe();
        change.inputs || !isSame ? redraw() : viewport()->update();
    });
    connect(&player, &Player::changed, viewport(), qOverload<>(&QWidget::update));
}

void TimelineView::setFilter(RowFilter filter) {
    m_filter = filter;
    refresh();
}

/// Rows anew; keys that went leave the selection.
void TimelineView::refresh() {
    if (!m_document.isOpen()) return m_rows.clear();
    m_rows = timelineRows(m_document, m_filter);
    m_rowsOf = m_document.snapshot().revision;
    dropMissing(m_selection);
    m_currentRow = std::min(m_currentRow, static_cast<int>(m_rows.size()) - 1);
    describe();
    int const heightPx = static_cast<int>(m_rows.size()) * TimelineLook::kRowPx;
    int const roomPx = viewport()->height() - TimelineLook::kRulerPx;
    verticalScrollBar()->setRange(0, std::max(0, heightPx - roomPx));
    verticalScrollBar()->setPageStep(std::max(1, roomPx));
    redraw();
}

void TimelineView::fit() {
    if (!m_document.isOpen()) return;
    m_isFit = true;
    keepFit();
}

void TimelineView::keepFit() {
    if (!m_document.isOpen() || !m_isFit) return;
    m_scale.fit(m_document.firstFrame(), m_document.lastFrame(), timeX(viewport()->width()));
    redraw();
}

void TimelineView::zoom(double factor) {
    if (!m_document.isOpen()) return;
    m_isFit = false;
    m_scale.zoomAt(m_scale.momentX(m_document.frame()), factor);
    redraw();
}

void TimelineView::redraw() {
    m_drawnRows = {};
    viewport()->update();
}

void TimelineView::scrollContentsBy(int, int) { redraw(); }

/// Another frame is brought into view, unless all of them are.
void TimelineView::followFrame() {
    int const frame = m_document.frame();
    if (!m_document.isOpen() || std::exchange(m_followed, frame) == frame) return;
    if (!m_isFit && m_drag != Drag::kPan) reveal(frame);
}

void TimelineView::reveal(double frame) {
    double const left = m_scale.left, widthPx = timeX(viewport()->width());
    if (widthPx <= 0) return;
    m_scale.reveal(frame, widthPx);
    if (m_scale.left == left) return;
    m_isFit = false;
    redraw();
}

void TimelineView::resizeEvent(QResizeEvent*) {
    refresh();
    keepFit();
}

void TimelineView::dropMissing(KeySelection& selection) const {
    std::erase_if(selection, [this](KeyRef const& key) {
        return !m_document.isOpen() || !m_document.parameter(key.index).track().find(key.time);
    });
}

void TimelineView::select(KeySelection selection) {
    m_selection = std::move(selection);
    dropMissing(m_selection);
    describe();
    redraw();
    emit selectionChanged();
}

// --- Places

double TimelineView::rowY(int row) const {
    return TimelineLook::kRulerPx + row * TimelineLook::kRowPx - verticalScrollBar()->value();
}

int TimelineView::rowAt(double y) const {
    if (y < TimelineLook::kRulerPx) return -1;
    int const row =
        static_cast<int>(std::floor((y - rowY(0)) / static_cast<double>(TimelineLook::kRowPx)));
    return row >= 0 && row < static_cast<int>(m_rows.size()) ? row : -1;
}

QPointF TimelineView::placeOfFrame(int frame) const {
    return {TimelineLook::kNamesPx + m_scale.momentX(frame), TimelineLook::kRulerPx / 2.};
}

QPointF TimelineView::placeOf(TimelineKey const& key) const {
    auto const row = std::find_if(m_rows.begin(), m_rows.end(), [&](TimelineRow const& own) {
        return own.index == key.ref.index;
    });
    return {TimelineLook::kNamesPx + m_scale.momentX(key.frame),
            rowY(static_cast<int>(row - m_rows.begin())) + TimelineLook::kRowPx / 2.};
}

/// The nearest one within reach.
TimelineKey const* TimelineView::keyAt(QPointF const& at) const {
    int const row = rowAt(at.y());
    if (row < 0 || at.x() < TimelineLook::kNamesPx) return nullptr;
    TimelineKey const* nearest = nullptr;
    double least = kReachPx;
    for (TimelineKey const& key : m_rows[static_cast<std::size_t>(row)].keys) {
        double const away = std::abs(placeOf(key).x() - at.x());
        if (away > least) continue;
        least = away;
        nearest = &key;
    }
    return nearest;
}

TimelineView::Drag TimelineView::dragAt(QPointF const& at) const {
    if (at.x() < TimelineLook::kNamesPx) return Drag::kNone;
    if (at.y() >= TimelineLook::kRulerPx) return Drag::kBox;
    if (at.y() < TimelineLook::kRulerPx / 2.) return Drag::kFrame;
    Playback const& playback = m_player.playback();
    double const inX = m_scale.toX(playback.in()), outX = m_scale.toX(playback.out() + 1.);
    if (std::abs(timeX(at.x()) - inX) <= kReachPx) return Drag::kIn;
    if (std::abs(timeX(at.x()) - outX) <= kReachPx) return Drag::kOut;
    return Drag::kFrame;
}

// --- The mouse

void TimelineView::mousePressEvent(QMouseEvent* event) {
    if (!m_document.isOpen()) return;
    endDrag();  // whose release a dialog has taken
    m_button = event->button();
    m_pressedAt = m_boxEnd = event->position();
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
    QPointF const at = event->position();
    double const x = timeX(at.x());
    switch (m_drag) {
        case Drag::kFrame:
            return m_player.goTo(m_scale.frameAt(x));
        case Drag::kKeys:
            followMouse(x);
            return dragKeys(at);
        case Drag::kBox:
            followMouse(x);
            return selectBox(at);
        case Drag::kPan:
            m_isFit = false;
            m_scale.left = m_leftAtPress - (at.x() - m_pressedAt.x()) / m_scale.pxPerFrame;
            return redraw();
        case Drag::kIn:
            m_player.playback().setIn(static_cast<int>(std::lround(m_scale.toFrame(x))));
            return emit m_player.changed();
        case Drag::kOut:
            m_player.playback().setOut(static_cast<int>(std::lround(m_scale.toFrame(x))) - 1);
            return emit m_player.changed();
        case Drag::kNone:
            bool const isEnd = dragAt(at) == Drag::kIn || dragAt(at) == Drag::kOut;
            viewport()->setCursor(isEnd ? Qt::SizeHorCursor : Qt::ArrowCursor);
    }
}

/// A drag beyond an end of the view goes along, up to the composition's end. What was pressed on
/// stays what it was.
void TimelineView::followMouse(double x) {
    constexpr double kMostPx = 40;
    double const widthPx = timeX(viewport()->width());
    double const beyondPx =
        std::clamp(std::min(x, 0.) + std::max(x - widthPx, 0.), -kMostPx, kMostPx);
    double const room = beyondPx < 0 ? m_document.firstFrame() - m_scale.left
                                     : m_document.lastFrame() + 1. - m_scale.toFrame(widthPx);
    double const by =
        std::clamp(beyondPx / m_scale.pxPerFrame, std::min(room, 0.), std::max(room, 0.));
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

void TimelineView::setCurrentRow(int row) {
    m_currentRow = row;
    describe();
    redraw();
}

/// Scrolls as little as shows it.
void TimelineView::goToRow(int row) {
    setCurrentRow(row);
    if (row < 0) return;
    int const top = row * TimelineLook::kRowPx;
    int const roomPx = viewport()->height() - TimelineLook::kRulerPx;
    int const last = top + TimelineLook::kRowPx - roomPx;
    QScrollBar& bar = *verticalScrollBar();
    bar.setValue(std::clamp(bar.value(), std::min(last, top), top));
}

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
