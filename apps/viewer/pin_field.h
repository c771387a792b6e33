// PinField: a small field over the panel that takes a pin's position, "x, y" in pixels. A text that
// is none stays, marked, until it is mended or Esc ends it.
#pragma once

#include <QLineEdit>
#include <functional>
#include <optional>

#include "apps/viewer/typed_field.h"
#include "hostkit/panel.h"

namespace zelk {

/// Two numbers (model/typed_number.h) with a comma, a semicolon or blanks between them; "px" behind
/// them is dropped. "+=10, -=5" starts at `now`.
std::optional<PanelPoint> positionOf(QString const& text, PanelPoint now);

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
    void mark(bool isRefused);

    PanelPoint m_value;
    QString m_typedFrom;  ///< as it was when it was set last
};

}  // namespace zelk
