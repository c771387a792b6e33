// See timeline_panel.h; timeline_commands.cpp has the acts.
#include "apps/viewer/timeline_panel.h"

#include <QHBoxLayout>
#include <QKeyEvent>
#include <QLabel>
#include <QSignalBlocker>
#include <QToolButton>
#include <QVBoxLayout>

#include "apps/viewer/frame_field.h"
#include "apps/viewer/parameters/own_keys.h"
#include "apps/viewer/spoken_label.h"

namespace zelk {

TimelinePanel::TimelinePanel(Document& document, QWidget* parent)
    : QWidget(parent),
      m_document(document),
      m_player(document),
      m_view(new TimelineView(document, m_player, this)) {
    auto* const layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(0);
    layout->addWidget(transport());
    layout->addWidget(m_view, 1);
    document.onChange([this](DocumentChange const&) { refresh(); });
    connect(&m_player, &Player::changed, this, &TimelinePanel::refresh);
    connect(m_view, &TimelineView::easeAsked, this, &TimelinePanel::askForEase);
    connect(m_view, &TimelineView::menuAsked, this, &TimelinePanel::menuAsked);
    refresh();
}

QToolButton* TimelinePanel::button(ViewerCommand const& command, QString const& mark) {
    auto* const button = new QToolButton(this);
    button->setText(mark);
    button->setAutoRaise(true);
    button->setFocusPolicy(Qt::TabFocus);
    keepKeys(*button, {Qt::Key_Space});
    button->setAccessibleName(command.name);
    QString const keys = command.keys.toString(QKeySequence::NativeText);
    button->setToolTip(keys.isEmpty() ? command.help : command.help + " (" + keys + ")");
    connect(button, &QToolButton::clicked, this, command.run);
    return button;
}

QWidget* TimelinePanel::transport() {
    auto* const bar = new QWidget(this);
    auto* const layout = new QHBoxLayout(bar);
    layout->setContentsMargins(8, 3, 8, 3);
    layout->setSpacing(2);
    m_frame = new FrameField(bar);
    m_frame->setAccessibleName("Frame");
    m_frame->setToolTip("Frame of the composition");
    m_frame->setMinimumWidth(64);
    connect(m_frame, &QSpinBox::valueChanged, &m_player, &Player::goTo);
    m_frame->installEventFilter(this);
    layout->addWidget(m_frame);
    struct Mark {
        char const* name;
        char const* mark;
    };
    constexpr Mark kMarks[] = {
        {"First Frame", "|‹"}, {"Previous Key", "◆‹"}, {"Previous Frame", "‹"}, {"Play", "▶"},
        {"Next Frame", "›"},   {"Next Key", "›◆"},     {"Last Frame", "›|"}};
    ViewerCommands const commands = playCommands();
    for (Mark const& mark : kMarks)
        for (ViewerCommand const& command : commands) {
            if (command.name != QLatin1String(mark.name)) continue;
            QToolButton* const own = button(command, QString::fromUtf8(mark.mark));
            if (command.name == QLatin1String("Play")) m_play = own;
            layout->addWidget(own);
        }
    m_rate = new QLabel(bar);
    m_rate->setToolTip("Frames a second: shown, and of the composition");
    layout->addSpacing(8);
    layout->addWidget(m_rate);
    layout->addStretch(1);
    return bar;
}

/// Enter sets the frame, and hands the keys back.
bool TimelinePanel::eventFilter(QObject* object, QEvent* event) {
    bool const isKey = object == m_frame && event->type() == QEvent::KeyPress;
    int const key = isKey ? static_cast<QKeyEvent*>(event)->key() : 0;
    if (key != Qt::Key_Return && key != Qt::Key_Enter && key != Qt::Key_Escape)
        return QWidget::eventFilter(object, event);
    if (key != Qt::Key_Escape && m_frame->refuses()) return true;
    if (key == Qt::Key_Escape) refresh();
    m_view->setFocus();  // which takes what is typed
    emit keysFree();
    return true;
}

void TimelinePanel::refresh() {
    setEnabled(isOpen());
    if (!isOpen()) return;
    QSignalBlocker const block(m_frame);
    m_frame->setRange(m_document.firstFrame(), m_document.lastFrame());
    m_frame->setValue(m_document.frame());
    Playback const& playback = m_player.playback();
    m_play->setText(QString::fromUtf8(playback.isPlaying() ? "■" : "▶"));
    TimeBase const& clock = m_document.scene().comp.timeBase;
    QString text = QString("%1 fps").arg(double(clock.scale) / clock.step, 0, 'g', 5);
    if (playback.isPlaying() && playback.measuredRate() > 0)
        text = QString("%1 of ").arg(playback.measuredRate(), 0, 'f', 1) + text;
    showText(*m_rate, "Rate", text);
}

}  // namespace zelk
