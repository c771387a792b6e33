// Popup: a box of choices that the wheel passes by when it scrolls the panel, and that tells by
// dots what it cuts.
#pragma once

#include <QComboBox>

namespace zelk {

class Popup : public QComboBox {
public:
    /// Keys that move in it are its own.
    explicit Popup(QWidget* parent);

protected:
    void paintEvent(QPaintEvent* event) override;
    void wheelEvent(QWheelEvent* event) override;
};

}  // namespace zelk
