// See recovery.h.
#include "apps/viewer/recovery.h"

#include <QDateTime>
#include <QFileInfo>

#include "apps/viewer/dialogs/recovery_dialog.h"
#include "zelk/files/left_overs.h"
#include "zelk/text/errors.h"

namespace zelk {

namespace fs = std::filesystem;

constexpr int kDelayMs = 3000;
constexpr char const* kKey = "recovery";  ///< of the notice

namespace {

UserError notAdopted(fs::path const& abandoned, std::error_code const& fault) {
    bool const isGone = fault == std::errc::no_such_file_or_directory;
    return {ExitCode::kInput, abandoned.string() + ": " +
                                  (isGone ? "another viewer has recovered it" : fault.message())};
}

}  // namespace

Recovery::Recovery(WindowServices& services, FileActs& files, fs::path folder)
    : m_services(services),
      m_files(files),
      m_folder(std::move(folder)),
      m_autosave(m_folder, [this](std::string const& fault) {
          QMetaObject::invokeMethod(
              this, [this, fault] { hear(fault); }, Qt::QueuedConnection);
      }) {
    m_timer.setSingleShot(true);
    m_timer.setInterval(kDelayMs);
    connect(&m_timer, &QTimer::timeout, this, [this] { save(); });
    services.document->onChange([this](DocumentChange const&) { follow(); });
    sweepLeftOvers(m_folder);  // of viewers that were killed while they wrote
}

/// From the first change on, so that somebody who never rests is saved too.
void Recovery::follow() {
    if (m_services.document->isModified()) {
        if (!m_timer.isActive()) m_timer.start();
        return;
    }
    m_timer.stop();
    m_autosave.remove();
    tell("");
}

/// In the midst of a drag it waits for the next turn.
void Recovery::save() {
    Document const& document = *m_services.document;
    if (!document.isModified()) return;
    try {
        bool const isUnderWay =
            !document.isActing() &&
            m_autosave.write({document.scene(), document.file(), document.fileSum()});
        if (!isUnderWay) m_timer.start();
    } catch (UserError const& error) {
        tell(error.what());
    }
}

/// What failed is tried again, as long as there is something to save.
void Recovery::hear(std::string const& fault) {
    if (!m_services.document->isModified()) return;
    tell(fault);
    if (!fault.empty() && !m_timer.isActive()) m_timer.start();
}

/// Each fault once: a notice that was closed stays closed.
void Recovery::tell(std::string const& fault) {
    if (fault == m_told) return;
    m_told = fault;
    if (fault.empty()) return m_services.notices->remove("autosave");
    m_services.notices->show(
        "autosave", {NoticeTone::kWarning,
                     "What you change is not saved by itself: " + QString::fromStdString(fault)});
}

void Recovery::end() {
    m_timer.stop();
    m_autosave.remove();
}

void Recovery::offer() {
    auto const all = abandonedScenes(m_folder);
    if (all.empty()) return m_services.notices->remove(kKey);
    if (all.size() == 1) return offerOne(all.front());
    Notice notice{
        NoticeTone::kNote,
        QString("Viewers ended with changes that were not saved: %1 scenes can be recovered.")
            .arg(all.size())};
    notice.buttons = {{"Show List\u2026", "List their names and times, to recover or discard each",
                       [this] { showList(); }},
                      {"Discard All\u2026", "Remove all of these changes for good",
                       [this, all] { askDiscard(all); }}};
    m_services.notices->show(kKey, notice);
}

void Recovery::offerOne(fs::path const& abandoned) {
    QString const when = QFileInfo(textOf(abandoned)).lastModified().toString("d MMM, hh:mm");
    Notice notice{NoticeTone::kNote,
                  QString("A viewer ended with changes that were not saved, on %1: %2")
                      .arg(when, QString::fromStdString(nameOfAutosaved(abandoned)))};
    notice.buttons = {{"Recover", "Open the scene with these changes",
                       [this, abandoned] { m_services.attempt([&] { recover(abandoned); }); }},
                      {"Discard\u2026", "Remove these changes for good",
                       [this, abandoned] { askDiscard({abandoned}); }}};
    m_services.notices->show(kKey, notice);
}

void Recovery::showList() {
    auto* const list = new RecoveryDialog(abandonedScenes(m_folder), m_services.window);
    connect(list, &RecoveryDialog::recovered, this,
            [this](QString const& file) { m_services.attempt([&] { recover(pathOf(file)); }); });
    connect(list, &RecoveryDialog::discarded, this,
            [this](QString const& file) { askDiscard({pathOf(file)}); });
    list->setAttribute(Qt::WA_DeleteOnClose);
    list->open();
}

/// There is no undo.
void Recovery::askDiscard(std::vector<fs::path> const& abandoned) {
    bool const isOne = abandoned.size() == 1;
    QString const what = isOne ? QString::fromStdString(nameOfAutosaved(abandoned.front()))
                               : QString("%1 scenes").arg(abandoned.size());
    if (!m_services.questions.goesOn("The changes to " + what + " go for good.", "Keep Them",
                                     isOne ? "Discard" : "Discard All"))
        return;
    std::error_code none;
    for (fs::path const& file : abandoned) fs::remove(file, none);
    offer();
}

void Recovery::recover(fs::path const& abandoned) {
    HandedScene handed = readAutosaved(abandoned);
    if (!m_files.mayLeave()) return;
    m_timer.stop();
    std::error_code const fault = m_autosave.adopt(abandoned);
    try {
        offer();
        if (fault) throw notAdopted(abandoned, fault);
        m_files.recover(std::move(handed));
    } catch (...) {  // memory may be short
        if (!fault) m_autosave.giveBack(abandoned);
        follow();  // what is open is saved by itself as before
        offer();
        throw;
    }
}

}  // namespace zelk
