// A field that is being typed in. What is typed counts before any other act: who types a value and
// saves has it in the file.
#pragma once

#include <QLineEdit>

namespace zelk {

class TypedField {
public:
    virtual ~TypedField() = default;
    /// Sets what is typed, as Enter does; nothing where nobody types or nothing is changed.
    virtual void takeTyped() = 0;
};

/// Of all fields of a window, its panels that float among them.
inline void takeTypedFields(QWidget const& window) {
    for (auto* const field : window.findChildren<QLineEdit*>())
        if (auto* const typed = dynamic_cast<TypedField*>(field)) typed->takeTyped();
}

}  // namespace zelk
