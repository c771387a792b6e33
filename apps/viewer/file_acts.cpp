// See file_acts.h.
#include "apps/viewer/file_acts.h"

#include <QAction>

#include "apps/viewer/model/opened_file.h"
#include "apps/viewer/model/scene_inputs.h"
#include "apps/viewer/typed_field.h"
#include "zelk/inputs/input_files.h"
#include "zelk/scene/edits.h"
#include "zelk/text/errors.h"

namespace zelk {

namespace fs = std::filesystem;

namespace {

constexpr char const* kProjectEnding = ".zelk.json";

QString titleOf(Document const& document) {
    return document.file().empty() ? QString("the new scene") : nameOf(document.file());
}

/// Beside the layer, by its name.
QString proposalOf(Document const& document) {
    if (!document.file().empty()) return textOf(document.file());
    fs::path const layer = document.scene().layer.file.path();
    std::string const stem = layer.filename().string();
    return textOf(layer.parent_path() / (stem.substr(0, stem.find('.')) + kProjectEnding));
}

}  // namespace

FileActs::FileActs(WindowServices& services, fs::path const& stateFolder) : m_services(services) {
    if (!stateFolder.empty()) m_recent.emplace(stateFolder);
}

ViewerCommands FileActs::commands() {
    auto const isOpen = [this] { return document().isOpen(); };
    return {
        {"File", "New\u2026", QKeySequence("Ctrl+N"), "Start a scene with a picture as its layer",
         [this] {
             QString const file =
                 m_services.questions.fileToOpen("The Layer of a New Scene", pictureFilter());
             if (!file.isEmpty()) startWith(pathOf(file));
         }},
        {"File", "Open\u2026", QKeySequence("Ctrl+O"),
         "Open a project, a picture, a numbered sequence, a movie or a track", [this] { open(); }},
        {"File/Open Recent",
         "Clear List",
         {},
         "Clear the list of recent files",
         [this] { clearRecent(); },
         [this] { return !recent().empty(); }},
        {"File", "", {}, "", {}},
        {"File", "Save", QKeySequence("Ctrl+S"), "Save the project to its file", [this] { save(); },
         isOpen},
        {"File", "Save As\u2026", QKeySequence("Ctrl+Shift+S"), "Save the project to another file",
         [this] { saveAs(); }, isOpen},
        {"File",
         "Revert",
         {},
         "Return to the project as it was saved",
         [this] { revert(); },
         [this] { return document().isModified() && !document().file().empty(); }},
        {"File", "", {}, "", {}},
    };
}

std::vector<fs::path> FileActs::recent() const {
    return m_recent ? m_recent->list() : std::vector<fs::path>();
}

void FileActs::clearRecent() {
    m_recent->clear();
    if (m_recentChanged) m_recentChanged();
}

/// Before what stands in the menu already.
void FileActs::fillRecent(QMenu& menu) {
    if (m_recent) m_recent->read();
    for (QAction* const action : menu.actions())
        if (action->data().toBool()) menu.removeAction(action);
    QAction* const before = menu.actions().value(0);
    for (fs::path const& file : recent()) {
        auto* const action = new QAction(plainLabel(textOf(file)), &menu);
        action->setData(true);
        QObject::connect(action, &QAction::triggered, &menu,
                         [this, file] { m_services.attempt([&] { openFile(file); }); });
        menu.insertAction(before, action);
    }
}

void FileActs::open() {
    QString const file = m_services.questions.fileToOpen("Open", openFilter());
    if (!file.isEmpty()) openFile(pathOf(file));
}

void FileActs::openFile(fs::path const& file) {
    FileKind const kind = kindOf(file);
    if (kind == FileKind::kTrack && m_takeTrack) return m_takeTrack(file);
    if (kind != FileKind::kProject) return startWith(file);
    if (!mayLeave()) return;
    document().open(file);
    remember(document().file());
}

void FileActs::startWith(fs::path const& layer) {
    fs::path const meant = pictureMeant(layer);
    if (meant.empty() || !mayLeave()) return;
    Scene scene;
    sceneEdit("layer").apply(scene, "the layer", meant.string());
    scene.options.clear();
    if (fs::path(scene.layer.file.written).is_absolute()) scene.layer.file = pathIn(scene, meant);
    document().start(std::move(scene));
    remember(meant);
}

void FileActs::take(HandedScene handed) {
    if (!mayLeave()) return;
    if (handed.file.empty()) return document().start(std::move(handed.scene));
    recover(std::move(handed));
    remember(document().file());
}

void FileActs::recover(HandedScene handed) {
    document().recover(std::move(handed.scene), std::move(handed.file), handed.seen);
}

void FileActs::revert() {
    int const answer = m_services.questions.choice(
        "Go back to " + titleOf(document()) + " as it was saved? What you changed since is lost.",
        {"Revert"});
    if (answer == 0) document().open(fs::path(document().file()));
}

bool FileActs::save() {
    takeTypedFields(*m_services.window);
    if (document().file().empty()) return saveAs();
    if (document().hasFileChanged()) {
        int const answer = m_services.questions.choice(
            nameOf(document().file()) +
                " has been changed on disk since it was opened or saved here.",
            {"Save As\u2026", "Replace It"});
        if (answer == 0) return saveAs();
        if (answer < 0) return false;
    }
    document().save();
    remember(document().file());
    return true;
}

bool FileActs::saveAs() {
    takeTypedFields(*m_services.window);
    QString file =
        m_services.questions.fileToSave("Save As", proposalOf(document()), kProjectFilter);
    if (file.isEmpty()) return false;
    if (kindOf(pathOf(file)) != FileKind::kProject) {
        file += kProjectEnding;
        // The dialog asked about another name.
        bool const isThere = onDisk(pathOf(file));
        if (isThere && m_services.questions.choice(nameOf(pathOf(file)) + " is there already.",
                                                   {"Replace It"}) != 0)
            return false;
    }
    document().saveAs(pathOf(file));
    remember(document().file());
    return true;
}

bool FileActs::mayLeave() {
    takeTypedFields(*m_services.window);
    if (!document().isModified()) return true;
    int const answer =
        m_services.questions.choice("Save the changes to " + titleOf(document()) + "?",
                                    {"Save", Answer("Don\u2019t Save", true)});
    if (answer != 0) return answer == 1;
    bool isSaved = false;
    return m_services.attempt([&] { isSaved = save(); }) && isSaved;
}

void FileActs::remember(fs::path const& file) {
    if (!m_recent) return;
    m_recent->add(file);
    if (m_recentChanged) m_recentChanged();
}

fs::path FileActs::pictureMeant(fs::path const& file) const {
    auto const sequence = sequenceOf(file);
    if (!sequence) return file;
    fs::path const pattern = sequence->pattern;
    int const answer =
        m_services.questions.choice(QString("%1 is one of %2 numbered pictures.")
                                        .arg(nameOf(file))
                                        .arg(sequence->frames.size()),
                                    {"Use " + nameOf(pattern), "This Picture Alone"});
    return answer == 0 ? pattern : answer == 1 ? file : fs::path();
}

}  // namespace zelk
