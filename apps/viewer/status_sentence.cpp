// See status_sentence.h.
#include "apps/viewer/status_sentence.h"

#include <QPainter>

namespace zelk {
namespace {

constexpr QColor kColor(240, 176, 96);

}  // namespace

StatusSentence::StatusSentence(QWidget* parent) : QWidget(parent) {
    setObjectName("sentences");
    setSizePolicy(QSizePolicy::Ignored, QSizePolicy::Preferred);
    showNow();
}

QSize StatusSentence::sizeHint() const { return {40, fontMetrics().height() + 2}; }

void StatusSentence::warn(QString const& sentence) {
    if (m_warnings.contains(sentence)) return;
    m_warnings.prepend(sentence);
    showNow();
}

void StatusSentence::holdWarnings(QStringList const& sentences) {
    QStringList now;
    for (QString const& sentence : sentences)
        if (!m_warnings.contains(sentence)) now.append(sentence);
    for (QString const& sentence : m_warnings)
        if (sentences.contains(sentence)) now.append(sentence);
    if (now == m_warnings) return;
    m_warnings = now;
    showNow();
}

void StatusSentence::tell(QString const& sentence) {
    if (sentence == m_told) return;
    m_told = sentence;
    showNow();
}

void StatusSentence::clear() {
    m_warnings.clear();
    m_told.clear();
    showNow();
}

QStringList StatusSentence::sentences() const {
    return m_told.isEmpty() ? m_warnings : QStringList{m_told} + m_warnings;
}

void StatusSentence::showNow() {
    QString const all = sentences().join("\n");
    setToolTip(all.toHtmlEscaped().replace("\n", "<br>"));
    setAccessibleName(all.isEmpty() ? "No warnings" : all);
    update();
}

/// The newest, and how many more there are.
void StatusSentence::paintEvent(QPaintEvent*) {
    QStringList const all = sentences();
    if (all.isEmpty()) return;
    QString const more = all.size() > 1 ? QString("  (+%1)").arg(all.size() - 1) : QString();
    int const roomPx = width() - 8 - fontMetrics().horizontalAdvance(more);
    QPainter painter(this);
    painter.setPen(kColor);
    painter.drawText(rect().adjusted(6, 0, -2, 0), Qt::AlignVCenter | Qt::AlignLeft,
                     fontMetrics().elidedText(all.front(), Qt::ElideRight, roomPx) + more);
}

}  // namespace zelk
