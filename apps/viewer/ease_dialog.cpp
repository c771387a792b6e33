// See ease_dialog.h.
#include "apps/viewer/ease_dialog.h"

#include <QDialogButtonBox>
#include <QDoubleSpinBox>
#include <QFormLayout>

namespace zelk {

EaseDialog::EaseDialog(Ease const& incoming, Ease const& outgoing, QString const& unit,
                       QWidget* parent)
    : QDialog(parent) {
    setWindowTitle("Key Ease");
    auto* const layout = new QFormLayout(this);
    m_incoming = side("Incoming", incoming, unit);
    m_outgoing = side("Outgoing", outgoing, unit);
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

/// Fields hold two decimals: what was not typed stays to the bit.
std::optional<Ease> EaseDialog::Side::changed() const {
    auto const shown = [](QDoubleSpinBox const* box, double value) {
        return QString::number(value, 'f', box->decimals()).toDouble();
    };
    Ease ease = before;
    if (influence->value() != shown(influence, before.influencePercent))
        ease.influencePercent = influence->value();
    if (speed->value() != shown(speed, before.speed)) ease.speed = speed->value();
    return ease == before ? std::nullopt : std::optional(ease);
}

std::optional<Ease> EaseDialog::incoming() const { return m_incoming.changed(); }
std::optional<Ease> EaseDialog::outgoing() const { return m_outgoing.changed(); }

}  // namespace zelk
