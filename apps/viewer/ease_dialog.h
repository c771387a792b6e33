// EaseDialog: the two sides of a key as numbers.
#pragma once

#include <QDialog>
#include <optional>

#include "hostkit/keyframes.h"

class QDoubleSpinBox;

namespace zelk {

class EaseDialog : public QDialog {
public:
    /// `unit` is that of the speed: "px/s".
    EaseDialog(Ease const& incoming, Ease const& outgoing, QString const& unit,
               QWidget* parent = nullptr);

    /// Nothing for a side that was left as it came.
    std::optional<Ease> incoming() const;
    std::optional<Ease> outgoing() const;

private:
    struct Side {
        Ease before;
        QDoubleSpinBox* influence;
        QDoubleSpinBox* speed;
        std::optional<Ease> changed() const;
    };
    Side side(QString const& name, Ease const& ease, QString const& unit);

    Side m_incoming, m_outgoing;
};

}  // namespace zelk
