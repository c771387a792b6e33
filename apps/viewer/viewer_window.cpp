// See viewer_window.h.
#include "apps/viewer/viewer_window.h"

#include <QAction>
#include <QDockWidget>
#include <QMenuBar>

#include "apps/viewer/composition_panel.h"
#include "apps/viewer/parameter_panel.h"
#include "apps/viewer/timeline_panel.h"
#include "zelk/scene/edits.h"

namespace zelk {

ViewerWindow::ViewerWindow(std::filesystem::path module)
    : m_document(std::move(module)),
      m_composition(new CompositionPanel(m_document, this)),
      m_parameters(new ParameterPanel(m_document, this)),
      m_timeline(new TimelinePanel(m_document, this)) {
    setCentralWidget(m_composition);
    auto* const right = new QDockWidget("Parameters", this);
    right->setWidget(m_parameters);
    addDockWidget(Qt::RightDockWidgetArea, right);
    auto* const below = new QDockWidget("Timeline", this);
    below->setWidget(m_timeline);
    addDockWidget(Qt::BottomDockWidgetArea, below);
    addCommands(m_composition->commands());
    addCommands(m_parameters->commands());
    addCommands(m_timeline->commands());
}

void ViewerWindow::openFile(QString const& file) {
    std::string const name = file.toStdString();
    if (file.endsWith(".json")) return m_document.open(name);
    Scene scene;
    sceneEdit("layer").apply(scene, "the layer", name);
    m_document.start(std::move(scene));
}

void ViewerWindow::addCommands(ViewerCommands const& commands) {
    for (ViewerCommand const& command : commands) {
        QMenu* menu = menuBar()->addMenu(command.menu);
        QAction* const action = menu->addAction(command.name, command.keys);
        connect(action, &QAction::triggered, this, command.run);
    }
}

}  // namespace zelk
