// ParameterPanel: the effect's controls.
#pragma once

#include <QWidget>

#include "apps/viewer/commands.h"
#include "apps/viewer/model/document.h"

namespace zelk {

class ParameterPanel : public QWidget {
    Q_OBJECT

public:
    explicit ParameterPanel(Document& document, QWidget* parent = nullptr);

    ViewerCommands commands();

private:
    Document& m_document;
};

}  // namespace zelk
