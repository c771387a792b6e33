// See control_row.h.
#include "apps/viewer/parameters/control_row.h"

#include <QContextMenuEvent>
#include <QHBoxLayout>
#include <QLabel>
#include <QMenu>
#include <QToolButton>
#include <algorithm>

#include "apps/viewer/parameters/panel_icons.h"

namespace zelk {
namespace {

constexpr int kIndentPx = 12, kLabelPx = 174, kSignPx = 18, kRowPx = 22;
constexpr int kWholePx = 406, kLeastLabelPx = 100;  // a narrower row has a narrower label

QString text(std::string const& own) { return QString::fromStdString(own); }

}  // namespace

ControlRowWidget::ControlRowWidget(PanelControl& control, RunAct run, std::function<void(int)> goTo,
                                   QWidget* parent)
    : QWidget(parent), m_control(control), m_run(std::move(run)), m_goTo(std::move(goTo)) {
    ControlRow const& row = control.row();
    setObjectName(text(row.name));
    setAccessibleName(text(row.label));
    m_stopwatch = newButton("Keyframes on or off", &ControlRowWidget::toggleKeys);
    m_label = new QLabel(text(row.label), this);
    m_label->setFixedWidth(kLabelPx - row.level * kIndentPx);
    m_label->installEventFilter(this);
    m_editor = new ControlEditor(control, m_run, this);
    m_earlier = newButton("Go to the key before", &ControlRowWidget::goToEarlierKey);
    m_key = newButton("Add or remove a key at this frame", &ControlRowWidget::toggleKeyHere);
    m_later = newButton("Go to the next key", &ControlRowWidget::goToLaterKey);

    setFixedHeight(kRowPx);

    auto* const layout = new QHBoxLayout(this);
    layout->setContentsMargins(4, 0, 4, 0);
    layout->setSpacing(2);
    layout->addWidget(m_stopwatch);
    layout->addSpacing(row.level * kIndentPx);
    layout->addWidget(m_label);
    layout->addWidget(m_editor, 1);
    // Without them the editor has their place.
    for (QToolButton* const button : {m_earlier, m_key, m_later})
        row.canVary ? layout->addWidget(button) : button->hide();
}

QToolButton* ControlRowWidget::newButton(QString const& help, void (ControlRowWidget::*act)()) {
    auto* const button = new QToolButton(this);
    button->setAutoRaise(true);
    button->setFixedSize(kSignPx, kSignPx);
    button->setFocusPolicy(Qt::NoFocus);  // the panel's commands are their keys
    button->setToolTip(help);
    button->setAccessibleName(help + ": " + text(m_control.row().label));
    QSizePolicy policy = button->sizePolicy();
    policy.setRetainSizeWhenHidden(true);
    button->setSizePolicy(policy);
    connect(button, &QToolButton::clicked, this, act);
    return button;
}

void ControlRowWidget::refresh() {
    ControlState state = m_control.state();
    if (m_isShown && state == m_state) return;
    bool const isKeyed =
        !m_isShown || state.hasKeys != m_state.hasKeys || state.hasKeyHere != m_state.hasKeyHere;
    bool const isOther = !m_isShown || state.isEnabled != m_state.isEnabled ||
                         state.whyGreyed != m_state.whyGreyed || state.note != m_state.note;
    m_state = std::move(state);
    m_isShown = true;
    m_editor->show(m_state);
    m_label->setEnabled(m_state.isEnabled);
    QFont font = this->font();
    font.setBold(!m_state.isDefault);
    m_label->setFont(font);
    showLabel();
    if (isOther) {
        setToolTip(text(tooltipOf(m_control.row(), m_state)));
        setAccessibleDescription(toolTip());
    }
    if (isKeyed) showKeys();
    m_stopwatch->setEnabled(m_state.isEnabled);
    m_key->setEnabled(m_state.isEnabled);
    m_earlier->setEnabled(m_state.hasKeyBefore);
    m_later->setEnabled(m_state.hasKeyAfter);
}

void ControlRowWidget::showKeys() {
    QColor const quiet = palette().color(QPalette::PlaceholderText);
    QColor const loud = palette().color(QPalette::Link);
    m_stopwatch->setVisible(m_control.row().canVary);
    m_stopwatch->setIcon(
        panelIcon(m_state.hasKeys ? PanelSign::kRunningStopwatch : PanelSign::kStopwatch,
                  m_state.hasKeys ? loud : quiet));
    m_earlier->setIcon(panelIcon(PanelSign::kPrevious, quiet));
    m_later->setIcon(panelIcon(PanelSign::kNext, quiet));
    m_key->setIcon(panelIcon(m_state.hasKeyHere ? PanelSign::kKey : PanelSign::kNoKey,
                             m_state.hasKeyHere ? loud : quiet));
    for (QToolButton* const button : {m_earlier, m_key, m_later})
        button->setVisible(m_state.hasKeys);
}

/// What doesn't fit ends with dots.
void ControlRowWidget::showLabel() {
    bool const isIdle = !m_state.note.empty() && !m_state.isDefault && m_state.isEnabled;
    QString const whole = text(m_control.row().label) + (isIdle ? " (no effect)" : "");
    m_label->setText(m_label->fontMetrics().elidedText(whole, Qt::ElideRight, m_label->width()));
    m_label->setToolTip(m_label->text() == whole ? "" : whole);  // empty: the row's
}

void ControlRowWidget::resizeEvent(QResizeEvent* event) {
    QWidget::resizeEvent(event);
    int const room = std::clamp(kLabelPx - (kWholePx - width()), kLeastLabelPx, kLabelPx);
    m_label->setFixedWidth(room - m_control.row().level * kIndentPx);
    m_label->resize(m_label->maximumWidth(), m_label->height());
    if (m_isShown) showLabel();
}

void ControlRowWidget::changeEvent(QEvent* event) {
    QWidget::changeEvent(event);
    if (event->type() == QEvent::PaletteChange && m_isShown) showKeys();
}

void ControlRowWidget::reset() {
    if (m_state.isEnabled) m_run([this] { m_control.reset(); });
}

void ControlRowWidget::toggleKeys() {
    if (m_state.isEnabled) m_run([this] { m_control.toggleKeys(); });
}

void ControlRowWidget::toggleKeyHere() {
    if (m_state.isEnabled) m_run([this] { m_control.toggleKeyHere(); });
}

void ControlRowWidget::goToKey(bool isLater) {
    if (auto const frame = m_control.frameOfKey(isLater)) m_goTo(*frame);
}

/// A double click on the name resets.
bool ControlRowWidget::eventFilter(QObject* object, QEvent* event) {
    if (event->type() == QEvent::MouseButtonDblClick) {
        reset();
        return true;
    }
    return QWidget::eventFilter(object, event);
}

void ControlRowWidget::contextMenuEvent(QContextMenuEvent* event) {
    QMenu menu(this);
    auto const add = [&](QString const& name, bool isEnabled, auto act) {
        menu.addAction(name, this, act)->setEnabled(isEnabled);
    };
    bool const varies = m_control.row().canVary && m_state.isEnabled;
    add("Reset to Default", m_state.isEnabled && !m_state.isDefault, [this] { reset(); });
    menu.addSeparator();
    add(m_state.hasKeys ? "Remove All Keyframes" : "Add Keyframes", varies,
        [this] { toggleKeys(); });
    add(m_state.hasKeyHere ? "Remove Key at This Frame" : "Add Key at This Frame", varies,
        [this] { toggleKeyHere(); });
    add("Go to Previous Key", m_state.hasKeyBefore, [this] { goToKey(false); });
    add("Go to Next Key", m_state.hasKeyAfter, [this] { goToKey(true); });
    menu.exec(event->globalPos());
}

}  // namespace zelk
