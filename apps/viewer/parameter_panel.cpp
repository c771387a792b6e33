// See parameter_panel.h.
#include "apps/viewer/parameter_panel.h"

namespace zelk {

ParameterPanel::ParameterPanel(Document& document, QWidget* parent)
    : QWidget(parent), m_document(document) {}

ViewerCommands ParameterPanel::commands() { return {}; }

}  // namespace zelk
