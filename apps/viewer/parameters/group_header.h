// GroupHeader: the name of a group of controls, which folds and unfolds it.
#pragma once

#include <QToolButton>
#include <functional>

#include "apps/viewer/model/panel_control.h"

namespace zelk {

class GroupHeader : public QToolButton {
public:
    /// `fold` is called when the user folds or unfolds it.
    GroupHeader(PanelControl& control, std::function<void(bool isFolded)> fold, QWidget* parent);

    void showFolded(bool isFolded);
    void refresh();

protected:
    void keyPressEvent(QKeyEvent* event) override;

private:
    void showGreyed(bool isGreyed);

    PanelControl& m_control;
    std::function<void(bool)> m_fold;
    bool m_isGreyed = false;
};

}  // namespace zelk
