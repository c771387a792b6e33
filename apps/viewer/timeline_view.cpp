// What is shown of the rows; timeline_input.cpp has mouse and keyboard, timeline_paint.cpp draws.
// See timeline_view.h.
#include "apps/viewer/timeline_view.h"

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
    if (!m_document.isOpen() || m_drag != Drag::kNone) return;
    m_isFit = true;
    keepFit();
}

void TimelineView::keepFit() {
    if (!m_document.isOpen() || !m_isFit) return;
    m_scale.fit(m_document.firstFrame(), m_document.lastFrame(), timeX(viewport()->width()));
    redraw();
}

void TimelineView::zoom(double factor) {
    if (!m_document.isOpen() || m_drag != Drag::kNone) return;
    m_isFit = false;
    m_scale.zoomAt(m_scale.momentX(m_document.frame()), factor);
    redraw();
}

void TimelineView::redraw() {
    m_drawnRows = {};
    viewport()->update();
}

void TimelineView::scrollContentsBy(int, int) { redraw(); }

/// Another frame is brought into view, unless all of them are, or something is dragged there.
void TimelineView::followFrame() {
    int const frame = m_document.frame();
    if (!m_document.isOpen() || m_drag != Drag::kNone) return;
    if (std::exchange(m_followed, frame) != frame && !m_isFit) reveal(frame);
}

void TimelineView::reveal(double frame) {
    double const left = m_scale.left, widthPx = timeX(viewport()->width());
    if (widthPx <= 0 || m_drag != Drag::kNone) return;
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

// --- The current row

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

}  // namespace zelk
