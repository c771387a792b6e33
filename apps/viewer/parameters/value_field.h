// ValueField: a value as a text that is typed, and as a number that is dragged.
//
//   drag left and right   a step a pixel; Shift ten, Alt or Ctrl a tenth; Esc takes the drag back
//   click, Enter, F2      type; Enter or leaving the field sets it, Esc leaves it as it was
//   a digit, - or #       type it instead of the value
//   wheel, up, down       a step, with the same keys; the wheel only with the focus
//
// It decides nothing about values: its acts do.
#pragma once

#include <QLineEdit>
#include <functional>

#include "apps/viewer/typed_field.h"

namespace zelk {

struct FieldActs {
    std::function<QString()> typedText;           ///< the value as it is to be typed over
    std::function<void(QString const&)> type;     ///< told to the user where it is refused
    std::function<void()> begin, end, cancel;     ///< about a drag, or a key that is held
    std::function<bool(double steps)> step = {};  ///< false: refused. None: a text, no number
};

class ValueField : public QLineEdit, public TypedField {
public:
    /// `isWhole`: parts of a step are added up until there is a whole one.
    ValueField(FieldActs acts, bool isWhole, QWidget* parent);

    /// What it shows when nobody types.
    void showText(QString const& text);
    bool isTyping() const { return !isReadOnly(); }
    void takeTyped() override {
        if (isTyping()) stopTyping(true);
    }

protected:
    bool event(QEvent* event) override;
    void paintEvent(QPaintEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;
    void mouseDoubleClickEvent(QMouseEvent* event) override;
    void wheelEvent(QWheelEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;
    void keyReleaseEvent(QKeyEvent* event) override;
    void focusOutEvent(QFocusEvent* event) override;
    void contextMenuEvent(QContextMenuEvent* event) override;

private:
    enum class Hold { kNone, kPressed, kScrubbing, kKey, kCancelled };

    void dress();
    bool isOwnKey(QKeyEvent const& event) const;
    void startTyping(QString const& text, bool selects);
    void stopTyping(bool sets);
    void addSteps(double steps);
    void endHold(bool keeps);
    void typingKey(QKeyEvent* event);
    void restingKey(QKeyEvent* event);

    FieldActs m_acts;
    bool m_isWhole;
    QString m_shown, m_typedFrom;
    Hold m_hold = Hold::kNone;
    double m_pressX = 0, m_lastX = 0;
    double m_rest = 0;  ///< of a step that is not yet whole
};

}  // namespace zelk
