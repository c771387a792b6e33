// ControlRowWidget: one control in the panel.
//
//   | stopwatch | label ... | editor ...            | < key > |
#pragma once

#include <QWidget>

#include "apps/viewer/parameters/control_editor.h"

class QLabel;
class QToolButton;

namespace zelk {

class ControlRowWidget : public QWidget {
public:
    /// `goTo` shows a frame.
    ControlRowWidget(PanelControl& control, RunAct run, std::function<void(int)> goTo,
                     QWidget* parent);

    PanelControl& control() const { return m_control; }
    /// Shows the control's state, where it is another one than is shown.
    void refresh();
    void focusEditor() { m_editor->focusFirst(); }
    void dropTyped() { m_editor->dropTyped(); }

    // By the keyboard's commands and the row's own buttons and menu.
    void reset();
    void toggleKeys();
    void toggleKeyHere();
    void goToKey(bool isLater);

protected:
    void contextMenuEvent(QContextMenuEvent* event) override;
    bool eventFilter(QObject* object, QEvent* event) override;
    void changeEvent(QEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;

private:
    QToolButton* newButton(QString const& help, void (ControlRowWidget::*act)());
    void goToEarlierKey() { goToKey(false); }
    void goToLaterKey() { goToKey(true); }
    void showKeys();
    void showLabel();

    PanelControl& m_control;
    RunAct m_run;
    std::function<void(int)> m_goTo;
    ControlState m_state;
    bool m_isShown = false;  ///< the state is on the screen
    QLabel* m_label;
    ControlEditor* m_editor;
    QToolButton *m_stopwatch, *m_earlier, *m_key, *m_later;
};

}  // namespace zelk
