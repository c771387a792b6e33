// TimelinePanel: frames and keys.
#pragma once

#include <QWidget>

#include "apps/viewer/commands.h"
#include "apps/viewer/model/document.h"

namespace zelk {

class TimelinePanel : public QWidget {
    Q_OBJECT

public:
    explicit TimelinePanel(Document& document, QWidget* parent = nullptr);

    ViewerCommands commands();

private:
    Document& m_document;
};

}  // namespace zelk
