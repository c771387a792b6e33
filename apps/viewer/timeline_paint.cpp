// How the timeline looks; see timeline_view.h.
#include <QPainter>
#include <QPainterPath>
#include <QScrollBar>
#include <algorithm>
#include <cmath>

#include "apps/viewer/model/shown_shutter.h"
#include "apps/viewer/timeline_view.h"

namespace zelk {
namespace {

constexpr double kKeyPx = 5;       ///< from a key's middle to its corners
constexpr double kQuietKey = 0.5;  ///< of the text's colour, a key that is not selected

QColor mixed(QColor const& a, QColor const& b, double ofB) {
    auto const mix = [&](int from, int to) { return static_cast<int>(from + (to - from) * ofB); };
    return {mix(a.red(), b.red()), mix(a.green(), b.green()), mix(a.blue(), b.blue())};
}

/// One half of a key's mark, to the left with `side` -1: a diamond's, a square's or a disc's.
void addHalf(QPainterPath& path, Interpolation kind, double side) {
    double const r = kKeyPx;
    switch (kind) {
        case Interpolation::kLinear:
            path.addPolygon(QPolygonF({{0, -r}, {side * r, 0}, {0, r}, {0, -r}}));
            return;
        case Interpolation::kHold:
            path.addRect(QRectF(0, -r + 1, side * (r - 1), 2 * r - 2).normalized());
            return;
        case Interpolation::kBezier:
            path.moveTo(0, -r);
            path.arcTo(QRectF(-r, -r, 2 * r, 2 * r), 90, -side * 180);
            path.closeSubpath();
    }
}

/// A selected one is larger and has a rim.
void paintKey(QPainter& painter, QPointF const& at, TimelineKey const& key, QColor const& color,
              std::optional<QColor> const& rim) {
    QPainterPath path;
    addHalf(path, key.before, -1);
    addHalf(path, key.after, 1);
    painter.save();
    painter.translate(at);
    painter.setPen(QPen(rim.value_or(color), rim ? 3.5 : 0.8));  // closes the seam of the halves
    painter.setBrush(color);
    painter.drawPath(path);
    if (rim) painter.fillPath(path, color);
    painter.restore();
}

}  // namespace

void TimelineView::paintEvent(QPaintEvent*) {
    QPainter painter(viewport());
    if (!m_document.isOpen()) return painter.fillRect(viewport()->rect(), palette().base());
    double const density = devicePixelRatioF();
    if (m_drawnRows.size() != viewport()->size() * density ||
        m_drawnRows.devicePixelRatio() != density)
        m_drawnRows = drawnRows();
    painter.drawPixmap(0, 0, m_drawnRows);
    painter.setRenderHint(QPainter::Antialiasing);
    paintRuler(painter);
    paintPlayhead(painter);
    if (m_drag != Drag::kBox) return;
    QColor fill = palette().highlight().color();
    painter.setPen(fill);
    fill.setAlpha(40);
    painter.setBrush(fill);
    painter.setClipRect(
        viewport()->rect().adjusted(TimelineLook::kNamesPx, TimelineLook::kRulerPx, 0, 0));
    painter.drawRect(QRectF(m_pressedAt, m_boxEnd).normalized());
}

/// What stays from frame to frame: a shot's keys are many.
QPixmap TimelineView::drawnRows() const {
    QPixmap drawn(viewport()->size() * devicePixelRatioF());
    drawn.setDevicePixelRatio(devicePixelRatioF());
    drawn.fill(palette().base().color());
    QPainter painter(&drawn);
    painter.setFont(font());
    painter.setRenderHint(QPainter::Antialiasing);
    paintRows(painter);
    return drawn;
}

void TimelineView::paintRows(QPainter& painter) const {
    QColor const base = palette().base().color(), text = palette().text().color();
    double const endX = TimelineLook::kNamesPx + m_scale.toX(m_document.lastFrame() + 1.);
    double const startX = TimelineLook::kNamesPx + m_scale.toX(m_document.firstFrame());
    for (int i = 0; i < static_cast<int>(m_rows.size()); ++i) {
        TimelineRow const& row = m_rows[static_cast<std::size_t>(i)];
        double const y = rowY(i);
        if (y + TimelineLook::kRowPx < TimelineLook::kRulerPx || y > viewport()->height()) continue;
        QRectF const shown(startX, y, endX - startX, TimelineLook::kRowPx - 1);
        painter.fillRect(shown & QRectF(TimelineLook::kNamesPx, y, viewport()->width(), 100),
                         mixed(base, text, i == m_currentRow ? 0.16 : 0.06));
        paintKeys(painter, row, y + TimelineLook::kRowPx / 2.);
        QRectF const names(0, y, TimelineLook::kNamesPx, TimelineLook::kRowPx - 1);
        painter.fillRect(names, mixed(base, text, i == m_currentRow ? 0.16 : 0.04));
        painter.setPen(mixed(base, text, row.keys.empty() ? 0.55 : 0.9));
        QString const name = painter.fontMetrics().elidedText(
            QString::fromStdString(row.name), Qt::ElideRight, TimelineLook::kNamesPx - 16);
        painter.drawText(names.adjusted(8, 0, -8, 0), Qt::AlignVCenter, name);
    }
    if (!m_rows.empty()) return;
    painter.setPen(mixed(base, text, 0.5));
    painter.drawText(viewport()->rect().adjusted(0, TimelineLook::kRulerPx, 0, 0), Qt::AlignCenter,
                     "No keyframes yet: a parameter's stopwatch adds the first one.");
}

/// Those in view and one beyond each end, for the ways that lead out of it. Of several in one pixel
/// column one is drawn, as selected where any of them is.
void TimelineView::paintKeys(QPainter& painter, TimelineRow const& row, double y) const {
    QColor const base = palette().base().color(), text = palette().text().color();
    auto const xOf = [&](TimelineKey const& key) {
        return TimelineLook::kNamesPx + m_scale.momentX(key.frame);
    };
    auto const firstFrom = [&](double x) {
        return std::partition_point(row.keys.begin(), row.keys.end(),
                                    [&](TimelineKey const& key) { return xOf(key) < x; });
    };
    auto first = firstFrom(TimelineLook::kNamesPx - 2 * kKeyPx);
    auto end = firstFrom(viewport()->width() + 2 * kKeyPx);
    if (first != row.keys.begin()) --first;
    if (end != row.keys.end()) ++end;
    std::vector<decltype(first)> shown;
    for (auto key = first; key < end; key = std::max(key + 1, firstFrom(std::floor(xOf(*key)) + 1)))
        shown.push_back(key);
    for (std::size_t i = 0; i + 1 < shown.size(); ++i) {
        bool const holds = shown[i]->after == Interpolation::kHold;
        painter.setPen(QPen(mixed(base, text, 0.3), holds ? 0.5 : 1.));
        painter.drawLine(QPointF(xOf(*shown[i]), y), QPointF(xOf(*shown[i + 1]), y));
    }
    for (std::size_t i = 0; i < shown.size(); ++i) {
        TimelineKey const& key = *shown[i];
        TimelineKey const& last = *((i + 1 < shown.size() ? shown[i + 1] : end) - 1);
        auto const selected = m_selection.lower_bound(key.ref);
        bool const isSelected = selected != m_selection.end() && *selected <= last.ref;
        paintKey(painter, {xOf(key), y}, key,
                 isSelected ? palette().link().color() : mixed(base, text, kQuietKey),
                 isSelected ? std::optional(text) : std::nullopt);
    }
}

/// Labels above, below them what is rendered, what plays and the shutter.
void TimelineView::paintRuler(QPainter& painter) const {
    QColor const base = palette().base().color(), text = palette().text().color();
    int const width = viewport()->width();
    painter.fillRect(0, 0, width, TimelineLook::kRulerPx, mixed(base, text, 0.1));
    painter.setClipRect(TimelineLook::kNamesPx, 0, width, viewport()->height());
    constexpr double kLabelPx = 56;
    int const step = m_scale.labelStep(kLabelPx);
    int const first = m_scale.frameAt(0), last = m_scale.frameAt(timeX(width));
    int const start = first - ((first % step) + step) % step;
    for (int frame = start; frame <= last; frame += step) {
        double const x = TimelineLook::kNamesPx + m_scale.momentX(frame);
        painter.setPen(mixed(base, text, 0.7));
        painter.drawText(QRectF(x - kLabelPx / 2, 0, kLabelPx, 15), Qt::AlignCenter,
                         QString::number(frame));
        painter.setPen(mixed(base, text, 0.12));
        painter.drawLine(QPointF(x, TimelineLook::kRulerPx), QPointF(x, viewport()->height()));
    }
    Playback const& playback = m_player.playback();
    auto const bar = [&](double from, double to, double y, double height, QColor const& color) {
        double const x = TimelineLook::kNamesPx + m_scale.toX(from);
        painter.fillRect(QRectF(x, y, (to - from) * m_scale.pxPerFrame, height), color);
    };
    bar(playback.in(), playback.out() + 1., 17, 7, mixed(base, text, 0.35));
    std::vector<int> shown;
    int const end = std::min(last, m_document.lastFrame());
    for (int frame = std::max(first, m_document.firstFrame()); frame <= end; ++frame)
        shown.push_back(frame);
    for (int const frame : m_player.ready(shown))
        bar(frame, frame + 1., 26, 3, QColor(96, 158, 96));
    painter.setClipping(false);
    painter.setPen(mixed(base, text, 0.6));
    painter.drawText(QRectF(8, 0, TimelineLook::kNamesPx - 16, TimelineLook::kRulerPx),
                     Qt::AlignVCenter,
                     QString("Frames %1 to %2").arg(playback.in()).arg(playback.out()));
}

void TimelineView::paintPlayhead(QPainter& painter) const {
    painter.setClipRect(TimelineLook::kNamesPx, 0, viewport()->width(), viewport()->height());
    QColor const color(232, 160, 60);
    if (auto const shutter = shownShutter(m_document)) {
        double const opens = m_document.frame() + shutter->phaseDeg / 360;
        double const x = TimelineLook::kNamesPx + m_scale.momentX(opens);
        QColor fill = color;
        fill.setAlpha(50);
        painter.fillRect(
            QRectF(x, 0, shutter->angleDeg / 360 * m_scale.pxPerFrame, viewport()->height()), fill);
    }
    double const x = TimelineLook::kNamesPx + m_scale.momentX(m_document.frame());
    painter.setPen(QPen(color, 1));
    painter.drawLine(QPointF(x, 0), QPointF(x, viewport()->height()));
    painter.setClipping(false);
}

}  // namespace zelk
