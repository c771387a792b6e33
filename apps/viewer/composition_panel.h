// CompositionPanel: the frame, and the pins over it.
#pragma once

#include <QWidget>

#include "apps/viewer/commands.h"
#include "apps/viewer/model/document.h"
#include "apps/viewer/model/frame_service.h"

namespace zelk {

class CompositionPanel : public QWidget {
    Q_OBJECT

public:
    explicit CompositionPanel(Document& document, QWidget* parent = nullptr);
    ~CompositionPanel() override;

    ViewerCommands commands();

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    void askForFrame();
    void show(SharedFrame frame);

    Document& m_document;
    SharedFrame m_shown;
    FrameService m_service;
};

}  // namespace zelk
