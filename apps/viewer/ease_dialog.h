// EaseDialog: the two sides of a key as numbers. Of several keys it shows the first one's, and what
// is typed goes to all of them.
#pragma once

#include <QDialog>
#include <optional>
#include <set>

#include "apps/viewer/model/key_acts.h"

class QDoubleSpinBox;

namespace zelk {

class EaseDialog : public QDialog {
public:
    /// `unit` is that of the speed: "px/s".
    EaseDialog(KeySides const& sides, std::size_t keys, QString const& unit,
               QWidget* parent = nullptr);

    EaseChange incoming() const { return typedOf(m_incoming); }
    EaseChange outgoing() const { return typedOf(m_outgoing); }

private:
    struct Side {
        Ease before;
        QDoubleSpinBox* influence;
        QDoubleSpinBox* speed;
    };
    Side side(QString const& name, Ease const& ease, QString const& unit);
    EaseChange typedOf(Side const& side) const;

    std::set<QDoubleSpinBox const*> m_typed;
    Side m_incoming, m_outgoing;
};

}  // namespace zelk
