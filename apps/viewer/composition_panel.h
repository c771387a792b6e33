// CompositionPanel: the frame with the pins over it, and a bar with what is shown of it and how.
#pragma once

#include <QWidget>

#include "apps/viewer/commands.h"
#include "apps/viewer/model/document.h"
#include "apps/viewer/model/frame_service.h"

class QComboBox;
class QLabel;
class QToolButton;

namespace zelk {

class CompositionCanvas;
struct CanvasLook;

class CompositionPanel : public QWidget {
    Q_OBJECT

public:
    explicit CompositionPanel(Document& document, QWidget* parent = nullptr);
    ~CompositionPanel() override;

    ViewerCommands commands();
    CompositionCanvas& canvas() { return *m_canvas; }
    /// What renders the frames, for who plays them.
    FrameService& frames();
    /// How the panel asks for a frame that is not being changed.
    PictureView view() const;

signals:
    /// A sentence about the last act, which failed or has a consequence.
    void told(QString const& sentence);
    /// The warnings of the scene as it is now.
    void warned(QStringList const& sentences);

private:
    void makeBar();
    QComboBox* addBox(QString const& name, QString const& help, QStringList const& entries,
                      std::function<void(int)> const& choose);
    QToolButton* addSwitch(QString const& name, QString const& help, bool CanvasLook::*field);
    void keepUp();
    void showReadout(QString const& text);
    void changeLook(std::function<void(CanvasLook&)> const& act);

    ViewerCommands zoomCommands();
    ViewerCommands lookCommands();
    ViewerCommands switchCommands();
    ViewerCommands pinCommands();

    Document& m_document;
    CompositionCanvas* m_canvas;
    QWidget* m_bar;
    QComboBox *m_shows = nullptr, *m_zoom = nullptr, *m_channels = nullptr, *m_backdrop = nullptr;
    std::vector<std::pair<QToolButton*, bool CanvasLook::*>> m_switches;
    QLabel* m_readout = nullptr;
};

}  // namespace zelk
