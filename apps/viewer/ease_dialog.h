// EaseDialog: the two sides of a key as numbers, and which of them were typed.
#pragma once

#include <QDialog>
#include <optional>
#include <set>

#include "apps/viewer/model/key_acts.h"

class QDoubleSpinBox;

namespace zelk {

class EaseDialog : public QDialog {
public:
    /// `unit` is that of the speed: "px/s". The note, where there is one, says which keys change.
    EaseDialog(KeySides const& sides, QString const& unit, QString const& note,
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

    std::set<QDoubleSpinBox const*> m_typed;  ///< over what they show, be it the same number
    Side m_incoming, m_outgoing;
};

}  // namespace zelk
