// See recovery.h.
#include "apps/viewer/recovery.h"

#include <QDateTime>
#include <QFileInfo>

#include "zelk/text/errors.h"

namespace zelk {

namespace fs = std::filesystem;

constexpr int kDelayMs = 3000;

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
    for (fs::path const& file : abandonedScenes(m_folder)) offer(file);
}

void Recovery::offer(fs::path const& abandoned) {
    QString const key = "recovery " + textOf(abandoned);
    QString name = "a scene that was never saved";
    try {
        HandedScene const handed = readAutosaved(abandoned);
        if (!handed.file.empty()) name = textOf(handed.file);
    } catch (UserError const& error) {
        name = QString::fromStdString(error.what());
    }
    QString const when = QFileInfo(textOf(abandoned)).lastModified().toString("d MMM, hh:mm");
    Notice notice{
        NoticeTone::kNote,
        QString("A viewer ended with changes that were not saved, on %1: %2").arg(when, name)};
    notice.buttons = {{"Recover", "Open the scene with these changes",
                       [this, abandoned] { m_services.attempt([&] { recover(abandoned); }); }},
                      {"Discard", "Remove these changes for good", [this, abandoned, key] {
                           std::error_code none;
                           fs::remove(abandoned, none);
                           m_services.notices->remove(key);
                       }}};
    m_services.notices->show(key, notice);
}

void Recovery::recover(fs::path const& abandoned) {
    HandedScene handed = readAutosaved(abandoned);
    if (!m_files.mayLeave()) return;
    m_timer.stop();
    m_services.notices->remove("recovery " + textOf(abandoned));
    if (!m_autosave.adopt(abandoned))
        throw UserError(ExitCode::kInput, abandoned.string() + ": another viewer has recovered it");
    try {
        m_files.recover(std::move(handed));
    } catch (UserError const&) {
        std::error_code none;
        fs::rename(m_autosave.file(), abandoned, none);
        throw;
    }
}

}  // namespace zelk
