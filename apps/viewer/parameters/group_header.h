// GroupHeader: the name of a group of controls, which folds and unfolds it.
#pragma once

#include <QAbstractButton>
#include <functional>

#include "apps/viewer/model/panel_control.h"

namespace zelk {

class GroupHeader : public QAbstractButton {
public:
    /// `fold` is called when the user folds or unfolds it.
    GroupHeader(PanelControl& control, std::function<void(bool isFolded)> fold, QWidget* parent);

    void showFolded(bool isFolded) { setChecked(!isFolded); }
    void refresh();

    QSize sizeHint() const override;

protected:
    void paintEvent(QPaintEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;

private:
    PanelControl& m_control;
    std::function<void(bool)> m_fold;
    bool m_isGreyed = false;
};

}  // namespace zelk
