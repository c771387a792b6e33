// ViewerWindow: the panels around one document, and the menus.
#pragma once

#include <QMainWindow>
#include <QString>
#include <memory>

#include "apps/viewer/color_acts.h"
#include "apps/viewer/commands.h"
#include "apps/viewer/file_acts.h"
#include "apps/viewer/input_acts.h"
#include "apps/viewer/model/document.h"
#include "apps/viewer/recovery.h"
#include "apps/viewer/window_menus.h"
#include "apps/viewer/window_services.h"

class QLabel;
class QStackedWidget;

namespace zelk {

class CompositionPanel;
class ExportDialog;
class FileWatch;
class ParameterPanel;
class StartPage;
class StatusSentence;
class TimelinePanel;

class ViewerWindow : public QMainWindow {
    Q_OBJECT

public:
    /// `module` as Document's. Without a state folder nothing is kept between two windows: no
    /// recovery, no recent files.
    explicit ViewerWindow(std::filesystem::path module = {},
                          std::filesystem::path const& stateFolder = {});
    ~ViewerWindow() override;

    Document& document() { return m_document; }
    CompositionPanel& composition() { return *m_composition; }
    ParameterPanel& parameters() { return *m_parameters; }
    TimelinePanel& timeline() { return *m_timeline; }
    WindowMenus& menus() { return *m_menus; }
    NoticeArea& notices() { return *m_notices; }
    StatusSentence& sentences() { return *m_said; }
    Questions& questions() { return m_services.questions; }
    FileActs& files() { return *m_files; }
    InputActs& inputs() { return *m_inputs; }
    ColorActs& colors() { return *m_colors; }
    Recovery* recovery() { return m_recovery.get(); }
    ExportDialog* exportDialog() { return m_export; }

    /// A project, or a picture, a numbered sequence or a movie as the layer of a new scene. Throws
    /// what the document refuses.
    void openFile(QString const& file);
    /// What fails becomes a notice.
    void openAtStart(std::vector<std::filesystem::path> const& files);
    void takeHandedOver(std::filesystem::path const& source);
    /// Size, place and panels as they were when the last window closed, and again at its end.
    void rememberLayout();
    /// The line that "Copy as Command" puts on the clipboard.
    void copyAsCommand();
    void showExport();

protected:
    void closeEvent(QCloseEvent* event) override;
    void dragEnterEvent(QDragEnterEvent* event) override;
    void dropEvent(QDropEvent* event) override;

private:
    void makePanels();
    void addDock(QString const& name, QWidget* panel, Qt::DockWidgetArea area);
    void makeStatusLine();
    void showMemory();
    void connectPlay();
    void addCommands();
    ViewerCommands editCommands();
    ViewerCommands windowCommands();
    ViewerCommands helpCommands();
    void follow(DocumentChange const& change);
    void showTitle();
    void showFacts();
    void showWarnings();
    void resetLayout();
    bool mayEndExport();

    Document m_document;
    CompositionPanel* m_composition;
    ParameterPanel* m_parameters;
    TimelinePanel* m_timeline;
    NoticeArea* m_notices;
    QStackedWidget* m_pages;
    StartPage* m_start = nullptr;
    StatusSentence* m_said;
    QLabel *m_facts, *m_memory;
    WindowServices m_services;
    WindowMenus* m_menus;
    std::unique_ptr<FileActs> m_files;
    std::unique_ptr<InputActs> m_inputs;
    std::unique_ptr<ColorActs> m_colors;
    std::unique_ptr<FileWatch> m_watch;
    std::unique_ptr<Recovery> m_recovery;
    ExportDialog* m_export = nullptr;
    QByteArray m_usualLayout;
    bool m_keepsLayout = false;
};

}  // namespace zelk
