// See notice_area.h.
#include "apps/viewer/notice_area.h"

#include <QEvent>
#include <QFrame>
#include <QHBoxLayout>
#include <QLabel>
#include <QPushButton>
#include <QToolButton>
#include <QVBoxLayout>
#include <QVariant>

namespace zelk {

namespace {

char const* wordOf(NoticeTone tone) {
    return tone == NoticeTone::kError ? "error" : tone == NoticeTone::kWarning ? "warning" : "note";
}

QLabel* sentenceOf(QString const& text) {
    auto* const label = new QLabel(text);
    label->setObjectName("sentence");
    label->setTextFormat(Qt::PlainText);
    label->setWordWrap(true);
    label->setTextInteractionFlags(Qt::TextSelectableByMouse | Qt::TextSelectableByKeyboard);
    label->setAccessibleName(text);
    return label;
}

}  // namespace

NoticeArea::NoticeArea(QWidget* parent) : QWidget(parent), m_rows(new QVBoxLayout(this)) {
    m_rows->setContentsMargins(0, 0, 0, 0);
    m_rows->setSpacing(0);
    setAccessibleName("Notices");
    installEventFilter(this);
}

void NoticeArea::show(QString const& key, Notice const& notice) {
    remove(key);
    QWidget* const bar = m_bars[key] = barOf(key, notice);
    if (notice.tone != NoticeTone::kError || !parentWidget()) return m_rows->addWidget(bar);
    bar->setParent(parentWidget());
    parentWidget()->installEventFilter(this);
    placeErrors();
    bar->show();
}

bool NoticeArea::eventFilter(QObject* watched, QEvent* event) {
    if (event->type() == QEvent::Resize || event->type() == QEvent::Move) placeErrors();
    return QWidget::eventFilter(watched, event);
}

void NoticeArea::placeErrors() {
    int y = geometry().bottom() + 1;
    for (QWidget* const bar : m_bars) {
        if (bar->parentWidget() == this) continue;
        bar->ensurePolished();
        // Its sentence wraps: a hint would be that of a narrow one, of several lines.
        bar->setGeometry(x(), y, width(), bar->heightForWidth(width()));
        bar->raise();
        y += bar->height();
    }
}

/// A button of a notice may ask for this: the bar goes when the button is done.
void NoticeArea::remove(QString const& key) {
    QWidget* const bar = m_bars.take(key);
    if (!bar) return;
    bar->hide();
    bar->deleteLater();
}

QString NoticeArea::text(QString const& key) const {
    QWidget* const bar = m_bars.value(key);
    auto* const label = bar ? bar->findChild<QLabel*>("sentence") : nullptr;
    return label ? label->text() : QString();
}

bool NoticeArea::press(QString const& key, QString const& button) {
    QWidget* const bar = m_bars.value(key);
    if (!bar) return false;
    for (auto* const each : bar->findChildren<QAbstractButton*>())
        if (each->text() == button) return each->click(), true;
    return false;
}

QWidget* NoticeArea::barOf(QString const& key, Notice const& notice) {
    auto* const bar = new QFrame(this);
    bar->setObjectName("notice");
    bar->setProperty("tone", wordOf(notice.tone));
    auto* const row = new QHBoxLayout(bar);
    row->setContentsMargins(12, 6, 6, 6);
    row->addWidget(sentenceOf(notice.text), 1);
    for (NoticeButton const& each : notice.buttons) {
        auto* const button = new QPushButton(each.text, bar);
        button->setToolTip(each.help);
        QObject::connect(button, &QPushButton::clicked, bar, each.run);
        row->addWidget(button);
    }
    if (!notice.canClose) return bar;
    auto* const close = new QToolButton(bar);
    close->setText("\u00d7");
    close->setAutoRaise(true);
    close->setToolTip("Close this notice");
    close->setAccessibleName("Close");
    QObject::connect(close, &QToolButton::clicked, bar, [this, key] { remove(key); });
    row->addWidget(close);
    return bar;
}

}  // namespace zelk
