// See input_acts.h.
#include "apps/viewer/input_acts.h"

#include <fmt/ranges.h>

#include <algorithm>

#include "apps/viewer/dialogs/track_dialog.h"
#include "apps/viewer/model/opened_file.h"
#include "apps/viewer/viewer_application.h"
#include "zelk/files/file_stamp.h"
#include "zelk/text/errors.h"

namespace zelk {

namespace fs = std::filesystem;

namespace {

constexpr InputKind kPictureKinds[] = {InputKind::kLayer, InputKind::kPlate, InputKind::kMatte,
                                       InputKind::kHoldout, InputKind::kStMap};

QString capitalized(QString text) { return text.replace(0, 1, text.at(0).toUpper()); }

QString sentenceOf(std::vector<MissingFile> const& missing) {
    QString text = "Missing: ";
    for (MissingFile const& file : missing) {
        if (&file != missing.data()) text += "; ";
        text += QString("the %1 (%2)").arg(wordOf(file.kind), QString::fromStdString(file.why));
    }
    return text;
}

/// A track that can't be read may be there.
std::string stampsOf(std::vector<MissingFile> const& missing) {
    std::string all;
    for (MissingFile const& file : missing) all += stampOf(file.file);
    return all;
}

}  // namespace

InputActs::InputActs(WindowServices& services, FileActs& files)
    : m_services(services), m_files(files) {
    files.onTrack([this](fs::path const& file) { takeOne(file); });
    services.document->onChange([this](DocumentChange const& change) {
        if (change.inputs) tellMissing();
    });
}

ViewerCommand InputActs::importCommand(InputKind kind, QString const& name, QString const& help) {
    return {"File/Import",
            name + "\u2026",
            {},
            help,
            [this, kind, name] {
                QString const file = m_services.questions.fileToOpen(name, pictureFilter());
                if (!file.isEmpty()) import(kind, pathOf(file));
            },
            [this] { return document().isOpen(); }};
}

ViewerCommands InputActs::commands() {
    ViewerCommand track{"File/Import",
                        "Track\u2026",
                        QKeySequence("Ctrl+I"),
                        "Import tracking data for the pins",
                        [this] {
                            QString const file =
                                m_services.questions.fileToOpen("Track", trackFilter());
                            if (!file.isEmpty()) importTrack(pathOf(file));
                        },
                        [this] { return document().isOpen(); }};
    auto const isMissing = [this] { return !m_services.notices->text("missing").isEmpty(); };
    return {importCommand(InputKind::kLayer, "Layer", "Import the picture that is pinned"),
            importCommand(InputKind::kPlate, "Plate", "Import the picture behind the layer"),
            importCommand(InputKind::kMatte, "Matte",
                          "Import a matte that masks the layer and moves with it"),
            importCommand(InputKind::kHoldout, "Holdout",
                          "Import a mask of what stands before the layer"),
            importCommand(InputKind::kStMap, "Lens Map", "Import the lens distortion of the frame"),
            {"File/Import", "", {}, "", {}},
            track,
            {"File",
             "Relink Missing File\u2026",
             {},
             "Choose another file for the first one that is missing",
             [this] { askRelink(); },
             isMissing},
            {"File",
             "Relink in Folder\u2026",
             {},
             "Find missing files in a folder by the ends of their old paths",
             [this] { askFolder(); },
             isMissing},
            {"File", "", {}, "", {}}};
}

void InputActs::take(std::vector<fs::path> const& files) { take(files, {}); }

/// What one file does takes the sentence of another one away: all are told at the end.
void InputActs::take(std::vector<fs::path> const& files, QStringList refusals) {
    for (GivenFile const& each : meantFiles(files)) {
        QString const failure = failureOf([&] {
            if (!each.refusal.empty()) throw UserError(ExitCode::kUsage, each.refusal);
            takeOne(each.file);
        });
        if (!failure.isEmpty()) refusals.append(failure);
    }
    constexpr int kMostTold = 5;
    auto const more = refusals.size() - kMostTold;
    if (more > 0) refusals = refusals.mid(0, kMostTold) << QString("and %1 more").arg(more);
    if (!refusals.isEmpty()) m_services.tellError(refusals.join("\n"));
}

void InputActs::takeDropped(QList<QUrl> const& urls) {
    std::vector<fs::path> files;
    QStringList refusals;
    for (QUrl const& url : urls) {
        if (url.isLocalFile())
            files.push_back(pathOf(url.toLocalFile()));
        else
            refusals.append(url.toDisplayString() +
                            ": only files of this machine can be opened; save it first");
    }
    take(files, refusals);
}

void InputActs::takeOne(fs::path const& file) {
    FileKind const kind = kindOf(file);
    if (kind == FileKind::kProject) return m_files.openFile(file);
    if (kind == FileKind::kTrack && document().isOpen()) return importTrack(file);
    if (kind == FileKind::kTrack)
        throw UserError(ExitCode::kUsage,
                        file.string() + ": a track needs a scene: open a picture first");
    if (!document().isOpen()) return m_files.startWith(file);
    Answers choices;
    for (InputKind const each : kPictureKinds) choices.append(capitalized(wordOf(each)));
    choices.append("Layer of a New Scene");
    int const answer = m_services.questions.choice(
        QString("What is %1 to be in this scene?").arg(nameOf(file)), choices);
    if (answer == static_cast<int>(std::size(kPictureKinds))) return m_files.startWith(file);
    if (answer >= 0) import(kPictureKinds[answer], file);
}

void InputActs::import(InputKind kind, fs::path const& file) {
    fs::path const meant = m_files.pictureMeant(file);
    if (meant.empty()) return;
    PixelSize const frame = document().frameSize();
    document().change("Set " + capitalized(wordOf(kind)).toStdString(),
                      [&](Scene& scene) { setInput(scene, kind, meant, frame); });
}

void InputActs::importTrack(fs::path const& file) {
    auto* const dialog = new TrackDialog(document(), file, m_services.window);
    QObject::connect(dialog, &QDialog::accepted, dialog,
                     [this, dialog] { m_services.attempt([&] { dialog->put(document()); }); });
    dialog->setAttribute(Qt::WA_DeleteOnClose);
    dialog->open();
}

void InputActs::tellMissing() {
    auto const missing = missingFiles(document().scene());
    m_missing = stampsOf(missing);
    if (missing.empty()) return m_services.notices->remove("missing");
    Notice notice{NoticeTone::kWarning, sentenceOf(missing), {}, false};
    notice.buttons = {
        {"Relink File\u2026", "Choose another file for the first of them",
         [this] { m_services.attempt([&] { askRelink(); }); }},
        {"Relink in Folder\u2026", "Find them in a folder by the ends of their old paths",
         [this] { m_services.attempt([&] { askFolder(); }); }}};
    m_services.notices->show("missing", notice);
}

bool InputActs::hasMissingChanged() const {
    return stampsOf(missingFiles(document().scene())) != m_missing;
}

void InputActs::askRelink() {
    auto const missing = missingFiles(document().scene());
    if (missing.empty()) return;
    MissingFile const& first = missing.front();
    QString const file = m_services.questions.fileToOpen(
        QString("%1, the %2").arg(nameOf(first.file), wordOf(first.kind)),
        isTrack(first.kind) ? trackFilter() : pictureFilter());
    if (!file.isEmpty()) relink(first.kind, pathOf(file));
}

void InputActs::askFolder() {
    QString const folder = m_services.questions.folder("Where the Missing Files Are");
    if (!folder.isEmpty()) relinkAll(pathOf(folder));
}

void InputActs::relink(InputKind kind, fs::path const& file) {
    fs::path const meant = isTrack(kind) ? file : m_files.pictureMeant(file);
    if (meant.empty()) return;
    document().change("Relink " + capitalized(wordOf(kind)).toStdString(),
                      [&](Scene& scene) { zelk::relink(scene, kind, meant); });
}

void InputActs::relinkAll(fs::path const& folder) {
    auto const missing = missingFiles(document().scene());
    bool const isAny = std::any_of(missing.begin(), missing.end(), [&](auto const& file) {
        return !foundIn(folder, file).empty();
    });
    if (!isAny)
        throw UserError(ExitCode::kInput, folder.string() + ": none of the missing files is there");
    std::vector<std::string> refusals;
    document().change("Relink Files",
                      [&](Scene& scene) { refusals = zelk::relinkAll(scene, folder); });
    if (!refusals.empty())
        throw UserError(ExitCode::kInput, fmt::format("{}", fmt::join(refusals, "; ")));
}

}  // namespace zelk
