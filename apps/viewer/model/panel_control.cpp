// See panel_control.h.
#include "apps/viewer/model/panel_control.h"

#include "apps/viewer/model/field_text.h"
#include "apps/viewer/model/typed_number.h"
#include "zelk/text/numbers.h"

namespace zelk {

std::string PanelControl::plainText(int field, std::string_view text) const {
    return plainNumber(m_row.label, withoutUnit(trimmed(text), m_row.unit), typedText(field),
                       m_row.isWhole ? CommaUse::kNone : CommaUse::kDecimal);
}

std::string tooltipOf(ControlRow const& row, ControlState const& state) {
    std::string text = row.help;
    auto const add = [&text](std::string const& line) {
        if (!line.empty()) text += (text.empty() ? "" : "\n") + line;
    };
    std::string const unit = row.unit.empty() || row.range.empty() ? row.unit : " " + row.unit;
    add(row.range + unit);
    if (!state.isEnabled) add(state.whyGreyed);
    if (state.isEnabled) add(state.note);
    return text;
}

}  // namespace zelk
