// See ease_dialog.h.
#include "apps/viewer/ease_dialog.h"

#include <QDialogButtonBox>
#include <QDoubleSpinBox>
#include <QFormLayout>
#include <QLabel>
#include <QLineEdit>
#include <algorithm>

namespace zelk {

EaseDialog::EaseDialog(KeySides const& sides, QString const& unit, QString const& note,
                       QWidget* parent)
    : QDialog(parent) {
    setWindowTitle("Key Ease");
    auto* const layout = new QFormLayout(this);
    m_incoming = side("Incoming", sides.incoming, unit);
    m_outgoing = side("Outgoing", sides.outgoing, unit);
    if (!note.isEmpty()) layout->addRow(new QLabel(note, this));
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
        box->setKeyboardTracking(false);  // a field that is cleared has the number of before
        box->setValue(value);
        box->setSuffix(" " + suffix);
        box->setToolTip(help);
        box->setAccessibleName(name + " " + what);
        connect(box->findChild<QLineEdit*>(), &QLineEdit::textEdited, this, [this, box] {
            m_typed.erase(box);
            if (box->hasAcceptableInput()) m_typed.insert(box);
        });
        static_cast<QFormLayout*>(layout())->addRow(name + " " + what, box);
        return box;
    };
    constexpr double kMostSpeed = 1e6;
    return {
        ease,
        field("influence", 0.1, 100, ease.influencePercent, "%",
              "How far the ease reaches towards the other keyframe, % of the time between them"),
        field("speed", -kMostSpeed, kMostSpeed, ease.speed, unit,
              "Speed at the key, " + unit + ": 0 stands still for a moment")};
}

/// Fields show two decimals, of speeds in their range: what is typed as it was shown is the number
/// in full.
EaseChange EaseDialog::typedOf(Side const& side) const {
    auto const typed = [this](QDoubleSpinBox* box, double before) -> std::optional<double> {
        box->interpretText();
        double const inRange = std::clamp(before, box->minimum(), box->maximum());
        double const shown = QString::number(inRange, 'f', box->decimals()).toDouble();
        if (box->value() != shown) return box->value();
        return m_typed.contains(box) ? std::optional(before) : std::nullopt;
    };
    return {typed(side.influence, side.before.influencePercent),
            typed(side.speed, side.before.speed)};
}

}  // namespace zelk
