// See ease_dialog.h.
#include "apps/viewer/ease_dialog.h"

#include <QDialogButtonBox>
#include <QDoubleSpinBox>
#include <QFormLayout>
#include <QLabel>
#include <QLineEdit>

namespace zelk {

EaseDialog::EaseDialog(KeySides const& sides, std::size_t keys, QString const& unit,
                       QWidget* parent)
    : QDialog(parent) {
    setWindowTitle("Key Ease");
    auto* const layout = new QFormLayout(this);
    m_incoming = side("Incoming", sides.incoming, unit);
    m_outgoing = side("Outgoing", sides.outgoing, unit);
    if (keys > 1)
        layout->addRow(new QLabel(
            QString("What is typed goes to all %1 keys; the rest stays.").arg(keys), this));
    auto* const buttons =
        new QDialogButtonBox(QDialogButtonBox::Ok | QDialogButtonBox::Cancel, this);
    layout->addRow(buttons);
    connect(buttons, &QDialogButtonBox::accepted, this, &QDialog::accept);
    connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);
}

EaseDialog::Side EaseDialog::side(QString const& name, Ease const& ease, QString const& unit) {
    auto const field = [&](QString const& what, double from, double to, double value,
                           QString const& suffix, QString const& help) {
        auto* const box = new QDoubleSpinBox(this);
        box->setRange(from, to);
        box->setDecimals(2);
        box->setValue(value);
        box->setSuffix(" " + suffix);
        box->setToolTip(help);
        box->setAccessibleName(name + " " + what);
        auto const note = [this, box] { m_typed.insert(box); };
        connect(box, &QDoubleSpinBox::valueChanged, this, note);
        connect(box->findChild<QLineEdit*>(), &QLineEdit::textEdited, this, note);
        static_cast<QFormLayout*>(layout())->addRow(name + " " + what, box);
        return box;
    };
    constexpr double kMostSpeed = 1e6;
    return {ease,
            field("influence", 0.1, 100, ease.influencePercent, "%",
                  "How far the ease reaches along the way to the other key, %"),
            field("speed", -kMostSpeed, kMostSpeed, ease.speed, unit,
                  "Speed at the key, " + unit + ": 0 stands still for a moment")};
}

/// Fields show two decimals: one that is typed as it was shown means the number in full.
EaseChange EaseDialog::typedOf(Side const& side) const {
    auto const typed = [this](QDoubleSpinBox const* box, double before) -> std::optional<double> {
        if (!m_typed.contains(box)) return std::nullopt;
        double const shown = QString::number(before, 'f', box->decimals()).toDouble();
        return box->value() == shown ? before : box->value();
    };
    return {typed(side.influence, side.before.influencePercent),
            typed(side.speed, side.before.speed)};
}

}  // namespace zelk
