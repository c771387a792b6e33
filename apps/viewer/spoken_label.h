// A label's text with its name, for who hears the window: a name alone takes the text's place.
#pragma once

#include <QLabel>

namespace zelk {

/// Shown is "24 fps", heard is "Rate: 24 fps".
inline void showText(QLabel& label, QString const& name, QString const& text) {
    QString const heard = text.isEmpty() ? name : name + ": " + text;
    if (label.text() == text && label.accessibleName() == heard) return;
    label.setText(text);
    label.setAccessibleName(heard);
}

}  // namespace zelk
