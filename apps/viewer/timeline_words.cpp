// The timeline in words, for who doesn't see it, and its tooltips; see timeline_view.h.
#include <QHelpEvent>
#include <QToolTip>

#include "apps/viewer/timeline_view.h"

namespace zelk {
namespace {

char const* wordOf(Interpolation shape) {
    switch (shape) {
        case Interpolation::kHold:
            return "hold";
        case Interpolation::kLinear:
            return "linear";
        case Interpolation::kBezier:
            return "bezier";
    }
    return "";
}

}  // namespace

/// "key 2 of 4 at frame 12, linear" where it is the only one that is selected; else empty.
QString TimelineView::keyText(TimelineRow const& row) const {
    if (m_selection.size() != 1) return {};
    for (std::size_t i = 0; i < row.keys.size(); ++i)
        if (TimelineKey const& key = row.keys[i]; m_selection.contains(key.ref))
            return QString("key %1 of %2 at frame %3, %4")
                .arg(i + 1)
                .arg(row.keys.size())
                .arg(key.frame)
                .arg(wordOf(key.after));
    return {};
}

/// "To Pins: Upper Left, frame 12, 3 keys are selected"
void TimelineView::describe() {
    if (!m_document.isOpen()) return setAccessibleDescription({});
    QString row = "No row", key;
    if (m_currentRow >= 0) {
        TimelineRow const& current = m_rows[static_cast<std::size_t>(m_currentRow)];
        row = QString::fromStdString(current.name);
        key = keyText(current);
    }
    if (key.isEmpty()) {
        auto const count = m_selection.size();
        key = QString("frame %1, %2 selected")
                  .arg(m_document.frame())
                  .arg(count == 0   ? "no key is"
                       : count == 1 ? "a key of another row is"
                                    : QString("%1 keys are").arg(count));
    }
    setAccessibleDescription(row + ", " + key);
}

bool TimelineView::viewportEvent(QEvent* event) {
    if (event->type() != QEvent::ToolTip) return QAbstractScrollArea::viewportEvent(event);
    auto const* const help = static_cast<QHelpEvent*>(event);
    QString text;
    if (TimelineKey const* const key = keyAt(help->pos()))
        text = QString("Frame %1, %2 after it. Drag moves it, Ctrl-drag copies it.")
                   .arg(key->frame)
                   .arg(wordOf(key->after));
    else if (help->y() < TimelineLook::kRulerPx)
        text = "Click to go to a frame; drag the ends of the bar to set what plays.";
    QToolTip::showText(help->globalPos(), text, viewport());
    return true;
}

}  // namespace zelk
