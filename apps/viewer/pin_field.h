// PinField: a small field over the panel that takes a pin's position, "x, y" in pixels.
#pragma once

#include <QLineEdit>
#include <functional>
#include <optional>

#include "apps/viewer/typed_field.h"
#include "hostkit/panel.h"

namespace zelk {

/// Two numbers with a comma, a semicolon or blanks between them; "px" behind them is dropped.
std::optional<PanelPoint> positionOf(QString const& text);

class PinField : public QLineEdit, public TypedField {
public:
    PinField(QString const& name, PanelPoint value, QWidget* parent);

    /// A text that is no position sets nothing.
    void takeTyped() override;

    std::function<void(PanelPoint)> onValue;  ///< Enter on a position, or another act
    std::function<void()> onEnd;              ///< Enter, Esc, or another widget has the keys

protected:
    void keyPressEvent(QKeyEvent* event) override;
    void focusOutEvent(QFocusEvent* event) override;

private:
    void accept();

    QString m_typedFrom;  ///< as it was when it was set last
};

}  // namespace zelk
