// See viewer_window.h.
#include "apps/viewer/viewer_window.h"

#include <QClipboard>
#include <QCloseEvent>
#include <QDockWidget>
#include <QGuiApplication>
#include <QLabel>
#include <QMenuBar>
#include <QMimeData>
#include <QScreen>
#include <QSettings>
#include <QStackedWidget>
#include <QStatusBar>
#include <QTimer>
#include <QVBoxLayout>
#include <chrono>

#include "apps/viewer/composition_panel.h"
#include "apps/viewer/dialogs/export_dialog.h"
#include "apps/viewer/dialogs/export_status.h"
#include "apps/viewer/dialogs/shortcuts_dialog.h"
#include "apps/viewer/dock_buttons.h"
#include "apps/viewer/file_watch.h"
#include "apps/viewer/model/command_text.h"
#include "apps/viewer/own_settings.h"
#include "apps/viewer/parameter_panel.h"
#include "apps/viewer/spoken_label.h"
#include "apps/viewer/start_page.h"
#include "apps/viewer/status_sentence.h"
#include "apps/viewer/timeline_panel.h"
#include "apps/viewer/viewer_application.h"
#include "zelk/files/text_file.h"
#include "zelk/scene/clock.h"
#include "zelk/text/errors.h"

namespace zelk {

namespace fs = std::filesystem;

namespace {

/// Of a window's title bar and edges, whose sizes aren't known before it is shown.
constexpr QSize kFrameRoom(16, 48);

}  // namespace

ViewerWindow::ViewerWindow(fs::path module, fs::path const& stateFolder)
    : m_document(std::move(module)),
      m_composition(new CompositionPanel(m_document, this)),
      m_parameters(new ParameterPanel(m_document, this)),
      m_timeline(new TimelinePanel(m_document, this)),
      m_notices(new NoticeArea(this)),
      m_pages(new QStackedWidget(this)),
      m_services{this, &m_document, m_notices, dialogQuestions(this)},
      m_menus(new WindowMenus(*this, [this](QString const& text) { m_services.tellError(text); })),
      m_files(std::make_unique<FileActs>(m_services, stateFolder)),
      m_inputs(std::make_unique<InputActs>(m_services, *m_files)),
      m_colors(std::make_unique<ColorActs>(m_services, *m_composition)) {
    m_watch = std::make_unique<FileWatch>(m_services, m_composition->canvas(), *m_inputs);
    if (!stateFolder.empty())
        m_recovery = std::make_unique<Recovery>(m_services, *m_files, stateFolder);
    m_start = new StartPage(m_services, *m_files, this);
    makePanels();
    makeStatusLine();
    connectPlay();
    addCommands();
    setAcceptDrops(true);
    if (auto* const application = dynamic_cast<ViewerApplication*>(qApp))
        application->tellFailuresTo(
            *m_notices, [this](QString const& sentence) { m_services.tellError(sentence); });
    m_document.onChange([this](DocumentChange const& change) { follow(change); });
    showTitle();
    m_usualLayout = saveState();
    m_start->setFocus();
}

/// Widgets go before the document that they show.
ViewerWindow::~ViewerWindow() {
    m_watch.reset();
    delete m_export;
    delete m_composition;
    delete m_parameters;
    delete m_timeline;
}

void ViewerWindow::makePanels() {
    m_pages->addWidget(m_start);
    m_pages->addWidget(m_composition);
    auto* const center = new QWidget(this);
    auto* const rows = new QVBoxLayout(center);
    rows->setContentsMargins(0, 0, 0, 0);
    rows->setSpacing(0);
    rows->addWidget(m_notices);
    rows->addWidget(m_pages, 1);
    setCentralWidget(center);
    setCorner(Qt::BottomRightCorner, Qt::RightDockWidgetArea);
    addDock("Parameters", m_parameters, Qt::RightDockWidgetArea);
    addDock("Timeline", m_timeline, Qt::BottomDockWidgetArea);
}

void ViewerWindow::addDock(QString const& name, QWidget* panel, Qt::DockWidgetArea area) {
    auto* const dock = new QDockWidget(name, this);
    dock->setObjectName(name);  // of the layout that is kept
    dock->setAccessibleName(name);
    dock->setWidget(panel);
    addDockWidget(area, dock);
    showDockButtons(*dock);
}

void ViewerWindow::makeStatusLine() {
    m_facts = new QLabel(this);
    m_memory = new QLabel(this);
    m_memory->setToolTip("Memory of cached frames, its limit, and memory of decoded inputs");
    m_memory->hide();
    m_said = new StatusSentence(this);
    connect(m_composition, &CompositionPanel::warned, m_said, &StatusSentence::holdWarnings);
    connect(m_composition, &CompositionPanel::told, m_said, &StatusSentence::tell);
    statusBar()->addWidget(m_said, 1);
    statusBar()->addPermanentWidget(m_facts);
    statusBar()->addPermanentWidget(m_colors->label());
    statusBar()->addPermanentWidget(m_memory);
    auto* const timer = new QTimer(this);
    connect(timer, &QTimer::timeout, this, &ViewerWindow::showMemory);
    timer->start(std::chrono::milliseconds(500));
}

void ViewerWindow::showMemory() {
    FrameService const& frames = m_composition->frames();
    auto const mb = [](std::uint64_t bytes) { return QString::number(bytes >> 20); };
    showText(*m_memory, "Memory of cached frames",
             "pictures " + mb(frames.bytes()) + " of " + mb(frames.budget()) + " MB, inputs " +
                 mb(frames.inputBytes()) + " MB");
    m_memory->setVisible(m_document.isOpen());
}

/// What plays is what the composition panel shows.
void ViewerWindow::connectPlay() {
    connect(m_timeline, &TimelinePanel::keysFree, m_composition,
            [this] { m_composition->setFocus(); });
    connect(m_timeline, &TimelinePanel::menuAsked, this,
            [this](QPoint const& at) { m_menus->menu("Keys")->popup(at); });
    m_composition->canvas().onPinsTaken = [this] { m_timeline->view().select({}); };
    m_composition->canvas().onPicture = [this] { m_timeline->view().viewport()->update(); };
    m_timeline->setSource({[this](std::vector<int> const& frames) {
                               return m_composition->frames().kept(m_document.snapshot(),
                                                                   m_composition->view(), frames);
                           },
                           [this](std::vector<int> const& frames) {
                               m_composition->frames().prefetch(m_document.snapshot(),
                                                                m_composition->view(), frames);
                           }});
}

void ViewerWindow::addCommands() {
    m_menus->add(m_files->commands());
    m_menus->add(m_watch->commands());
    m_menus->add(m_inputs->commands());
    m_menus->add(editCommands());
    m_menus->add(m_composition->commands());
    m_menus->add(m_colors->commands());
    m_menus->add(m_parameters->commands());
    m_menus->add(m_timeline->commands());
    m_menus->add(windowCommands());
    m_menus->add(helpCommands());
    QMenu* const recent = m_menus->menu("File/Open Recent");
    connect(recent, &QMenu::aboutToShow, this, [this, recent] { m_files->fillRecent(*recent); });
    QMenu* const displays = m_menus->menu("View/Display");
    connect(displays, &QMenu::aboutToShow, this,
            [this, displays] { m_colors->fillDisplays(*displays); });
}

ViewerCommands ViewerWindow::editCommands() {
    auto const isOpen = [this] { return m_document.isOpen(); };
    auto const named = [](QString const& word, std::string_view name) {
        return word + (name.empty() ? "" : " ") +
               QString::fromUtf8(name.data(), static_cast<qsizetype>(name.size()));
    };
    return {
        {"File", "Export\u2026", QKeySequence("Ctrl+Shift+E"),
         "Render frames to files, as `zelk render` does", [this] { showExport(); }, isOpen},
        {"File", "Copy as Command", QKeySequence("Ctrl+Shift+C"),
         "Copy the `zelk render` line that writes what is on screen", [this] { copyAsCommand(); },
         isOpen},
        {"File", "", {}, "", {}},
        {"File", "Quit", QKeySequence("Ctrl+Q"), "Close the window", [this] { close(); }},
        {"Edit",
         "Undo",
         QKeySequence("Ctrl+Z"),
         "Undo the last change",
         [this] { m_document.undo(); },
         [this] { return !m_document.undoName().empty(); },
         {},
         [this, named] { return named("Undo", m_document.undoName()); }},
        {"Edit",
         "Redo",
         QKeySequence("Ctrl+Shift+Z"),
         "Redo the change that was undone",
         [this] { m_document.redo(); },
         [this] { return !m_document.redoName().empty(); },
         {},
         [this, named] { return named("Redo", m_document.redoName()); }},
    };
}

ViewerCommands ViewerWindow::windowCommands() {
    ViewerCommands commands;
    for (auto* const dock : findChildren<QDockWidget*>())
        commands.push_back({"Window",
                            dock->objectName(),
                            {},
                            "Show or hide the panel " + dock->objectName(),
                            [dock] { dock->setVisible(dock->isHidden()); },
                            {},
                            [dock] { return !dock->isHidden(); }});
    commands.push_back({"Window", "", {}, "", {}});
    commands.push_back({"Window",
                        "Full Screen",
                        QKeySequence("F11"),
                        "Show the window on the whole screen",
                        [this] { setWindowState(windowState() ^ Qt::WindowFullScreen); },
                        {},
                        [this] { return isFullScreen(); }});
    commands.push_back({"Window", "Menu Bar", QKeySequence("F10"),
                        "Go to the menu bar; Alt with an underlined letter opens a menu", [this] {
                            menuBar()->setFocus(Qt::MenuBarFocusReason);
                            menuBar()->setActiveAction(menuBar()->actions().value(0));
                        }});
    commands.push_back(
        {"Window", "Reset Layout", {}, "Put all panels back to their first places", [this] {
             resetLayout();
         }});
    return commands;
}

ViewerCommands ViewerWindow::helpCommands() {
    return {
        {"Help", "Keyboard Shortcuts", QKeySequence("F1"), "List all commands with their shortcuts",
         [this] {
             auto* const list = new ShortcutsDialog(m_menus->commands(), this);
             list->setAttribute(Qt::WA_DeleteOnClose);
             list->show();
         }},
        {"Help", "About Zelk", {}, "Show the versions of the program and its libraries", [this] {
             showAbout(this);
         }}};
}

void ViewerWindow::openFile(QString const& file) { m_files->openFile(pathOf(file)); }

void ViewerWindow::openAtStart(std::vector<fs::path> const& files) {
    if (m_recovery) m_recovery->offer();
    m_inputs->take(files);
}

void ViewerWindow::takeHandedOver(fs::path const& source) {
    m_services.attempt(
        [&] { m_files->take(handedScene(source, readTextFile(source, "a handed over"))); });
}

void ViewerWindow::follow(DocumentChange const& change) {
    bool const isNew = change.inputs && !change.isReload && m_document.undoName().empty() &&
                       m_document.redoName().empty();
    if (change.inputs) m_pages->setCurrentWidget(m_composition);
    if (isNew) m_composition->setFocus();
    if ((change.inputs || change.state) && !change.isReload) m_notices->remove("error");
    if (isNew) m_said->clear();
    if (isNew) m_composition->canvas().sayWarnings();
    if (change.inputs || change.state) m_said->endTold();
    if (change.state) showTitle();
    if (change.inputs || change.frame) showFacts();
    if (change.inputs) showWarnings();
    if (change.inputs || change.state) m_menus->update();
}

void ViewerWindow::showTitle() {
    QString const name = m_document.file().empty() ? "Untitled" : nameOf(m_document.file());
    setWindowTitle(m_document.isOpen() ? name + "[*] \u2014 Zelk" : "Zelk");
    setWindowModified(m_document.isModified());
    setWindowFilePath(textOf(m_document.file()));
}

void ViewerWindow::showFacts() {
    if (!m_document.isOpen()) return;
    Comp const& comp = m_document.scene().comp;
    auto const [width, height] = m_document.frameSize();
    showText(*m_facts, "Composition",
             QString("%1 \u00d7 %2   %3 fps   frame %4 of %5 to %6")
                 .arg(width)
                 .arg(height)
                 .arg(QString::fromStdString(rateText(comp.timeBase)))
                 .arg(m_document.frame())
                 .arg(m_document.firstFrame())
                 .arg(m_document.lastFrame()));
}

/// Those of files, also of a scene that can't be rendered; a frame says all that holds.
void ViewerWindow::showWarnings() {
    if (!m_document.isOpen()) return;
    for (std::string const& warning : m_document.takeWarnings())
        m_said->warn(QString::fromStdString(warning));
}

void ViewerWindow::copyAsCommand() {
    CommandText const text = renderCommandOf(m_document);
    if (text.line.empty()) return m_services.tellError(QString::fromStdString(text.refusal));
    QGuiApplication::clipboard()->setText(QString::fromStdString(text.line));
    statusBar()->showMessage("Copied: " + QString::fromStdString(text.line), 10000);
}

void ViewerWindow::showExport() {
    if (!m_export) {
        auto const marked = [this]() -> std::optional<std::pair<int, int>> {
            Playback const& playback = m_timeline->player().playback();
            if (!playback.hasRange()) return std::nullopt;
            return std::pair(playback.in(), playback.out());
        };
        m_export = new ExportDialog(m_services, marked, this);
        connect(&m_timeline->player(), &Player::changed, m_export, &ExportDialog::followRange);
        statusBar()->insertPermanentWidget(1, new ExportStatus(*m_export, this));
    }
    m_export->bring();
}

bool ViewerWindow::mayEndExport() {
    if (!m_export || !m_export->isRunning()) return true;
    return m_services.questions.goesOn(
        "An export is under way. Frames that are written stay when it stops.", "Keep Rendering",
        "Stop and Quit");
}

void ViewerWindow::rememberLayout() {
    m_keepsLayout = true;
    QSettings const settings = ownSettings();
    m_colors->chooseDisplay(settings.value("display").toString());
    m_menus->takeChoices(settings);
    if (!restoreGeometry(settings.value("geometry").toByteArray()))
        resize(QSize(1440, 900).boundedTo(screen()->availableSize() - kFrameRoom));
    restoreState(settings.value("layout").toByteArray());
}

void ViewerWindow::resetLayout() {
    restoreState(m_usualLayout);
    for (auto* const dock : findChildren<QDockWidget*>()) dock->show();
}

void ViewerWindow::closeEvent(QCloseEvent* event) {
    if (!m_files->mayLeave() || !mayEndExport()) return event->ignore();
    if (m_recovery) m_recovery->end();
    if (m_export) m_export->cancel();
    if (m_keepsLayout) {
        QSettings settings = ownSettings();
        settings.setValue("geometry", saveGeometry());
        settings.setValue("layout", saveState());
        settings.setValue("display", m_colors->wantedDisplay());
        m_menus->keepChoices(settings);
    }
    event->accept();
}

void ViewerWindow::dragEnterEvent(QDragEnterEvent* event) {
    if (event->mimeData()->hasUrls()) event->acceptProposedAction();
}

/// Who dropped waits for the event's end: questions come after it.
void ViewerWindow::dropEvent(QDropEvent* event) {
    event->acceptProposedAction();
    QMetaObject::invokeMethod(
        this, [this, urls = event->mimeData()->urls()] { m_inputs->takeDropped(urls); },
        Qt::QueuedConnection);
}

}  // namespace zelk
