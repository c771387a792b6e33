// See own_keys.h.
#include "apps/viewer/parameters/own_keys.h"

#include <QKeyEvent>

namespace zelk {
namespace {

class KeyKeeper : public QObject {
public:
    KeyKeeper(QWidget& widget, QList<int> keys) : QObject(&widget), m_keys(std::move(keys)) {
        widget.installEventFilter(this);
    }
    bool eventFilter(QObject* object, QEvent* event) override {
        if (event->type() != QEvent::ShortcutOverride) return QObject::eventFilter(object, event);
        auto const& key = static_cast<QKeyEvent const&>(*event);
        bool const isOwn = m_keys.contains(key.key()) && key.modifiers() == Qt::NoModifier;
        if (isOwn) event->accept();
        return isOwn;
    }

private:
    QList<int> m_keys;
};

}  // namespace

void keepKeys(QWidget& widget, QList<int> keys) { new KeyKeeper(widget, std::move(keys)); }

}  // namespace zelk
