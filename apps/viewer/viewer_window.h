// ViewerWindow: the panels around one document, and the menus.
#pragma once

#include <QMainWindow>
#include <QString>

#include "apps/viewer/commands.h"
#include "apps/viewer/model/document.h"

namespace zelk {

class CompositionPanel;
class ParameterPanel;
class TimelinePanel;

class ViewerWindow : public QMainWindow {
    Q_OBJECT

public:
    /// `module` as Document's.
    explicit ViewerWindow(std::filesystem::path module = {});

    Document& document() { return m_document; }
    CompositionPanel& composition() { return *m_composition; }
    ParameterPanel& parameters() { return *m_parameters; }
    TimelinePanel& timeline() { return *m_timeline; }

    /// A project, or a picture, a numbered sequence or a movie as the layer of a new scene.
    void openFile(QString const& file);

private:
    void addCommands(ViewerCommands const& commands);

    Document m_document;
    CompositionPanel* m_composition;
    ParameterPanel* m_parameters;
    TimelinePanel* m_timeline;
};

}  // namespace zelk
