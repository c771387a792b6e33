// See timeline_panel.h.
#include "apps/viewer/timeline_panel.h"

namespace zelk {

TimelinePanel::TimelinePanel(Document& document, QWidget* parent)
    : QWidget(parent), m_document(document) {}

ViewerCommands TimelinePanel::commands() { return {}; }

}  // namespace zelk
