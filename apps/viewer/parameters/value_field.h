// ValueField: a value as a text that is typed, and as a number that is dragged.
//
//   drag left and right   a step a pixel; Shift ten, Alt or Ctrl a tenth; Esc takes the drag back
//   click, Enter, F2      type; Enter or leaving the field sets it, Esc leaves it as it was
//   a digit, a sign or #  type it instead of the value
//   wheel, up, down       a step, with the same keys; the wheel only with the focus, and from what
//                         is typed
//
// A text that is refused stays, marked, with the sentence as its tooltip, until it is mended or Esc
// brings the value back. It decides nothing about values: its acts do.
#pragma once

#include <QLineEdit>
#include <functional>

#include "apps/viewer/typed_field.h"

namespace zelk {

struct FieldActs {
    std::function<QString()> typedText;           ///< the value as it is to be typed over
    std::function<QString(QString const&)> type;  ///< the sentence where it is refused, else empty
    std::function<void()> giveUp;                 ///< of a text that was refused
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
    /// What was refused is not asked for again until it is another text.
    void takeTyped() override {
        if (isTyping() && (!isRefused() || text() != m_refused)) stopTyping(true);
    }
    /// A text that was refused stands there.
    bool isRefused() const { return !m_refusal.isEmpty(); }
    /// Shows the value again, whatever is typed.
    void dropTyped();

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
    void focusInEvent(QFocusEvent* event) override;
    void focusOutEvent(QFocusEvent* event) override;
    void contextMenuEvent(QContextMenuEvent* event) override;

private:
    enum class Hold { kNone, kPressed, kScrubbing, kKey, kCancelled };

    void dress();
    bool isOwnKey(QKeyEvent const& event) const;
    void startTyping(QString const& text, bool selects);
    void stopTyping(bool sets);
    void refuse(QString const& typed, QString const& sentence);
    void tell();
    void addSteps(double steps);
    void endHold(bool keeps);
    void typingKey(QKeyEvent* event);
    void restingKey(QKeyEvent* event);

    FieldActs m_acts;
    bool m_isWhole;
    QString m_shown, m_typedFrom;
    QString m_refused, m_refusal;  ///< the text and the sentence
    Hold m_hold = Hold::kNone;
    double m_pressX = 0, m_lastX = 0;
    double m_rest = 0;  ///< of a step that is not yet whole
};

}  // namespace zelk
