// FrameField: the frame as a number that is typed over. One beyond the composition is refused with
// the reason, and stays until it is mended or Esc brings the frame back.
#pragma once

#include <QSpinBox>

namespace zelk {

class FrameField : public QSpinBox {
public:
    explicit FrameField(QWidget* parent);

    /// What is typed is no frame of the composition: says so.
    bool refuses();

protected:
    /// Any number may be typed; Enter takes those in range.
    QValidator::State validate(QString& text, int& place) const override;
    void focusInEvent(QFocusEvent* event) override;
};

}  // namespace zelk
