// See file_watch.h.
#include "apps/viewer/file_watch.h"

#include <QEvent>

#include "apps/viewer/model/file_stamps.h"

namespace zelk {

constexpr int kLookMs = 2000;

FileWatch::FileWatch(WindowServices& services, CompositionCanvas& canvas, InputActs& inputs)
    : m_services(services), m_canvas(canvas), m_inputs(inputs) {
    canvas.onOutdated = [this] { reload(); };
    services.window->installEventFilter(this);
    connect(&m_timer, &QTimer::timeout, this, &FileWatch::lookForMissing);
    m_timer.start(kLookMs);
}

ViewerCommands FileWatch::commands() {
    return {{"File", "Reload Files", QKeySequence("F5"),
             "Read pictures, tracks and colour configuration again",
             [this] {
                 m_services.notices->remove("error");  // by hand it is an act
                 m_services.document->reload();
             },
             [this] { return m_services.document->isOpen(); }}};
}

bool FileWatch::eventFilter(QObject* watched, QEvent* event) {
    if (event->type() == QEvent::WindowActivate) look();
    return QObject::eventFilter(watched, event);
}

bool FileWatch::areOthers() const {
    SharedFrame const& shown = m_canvas.shown();
    return m_inputs.hasMissingChanged() ||
           (shown && shown->files != fileStamps(m_services.document->scene(), shown->frame));
}

/// What failed may do by now for reasons that no file's time tells.
void FileWatch::look() {
    if (!m_services.document->isOpen()) return;
    bool const hasFailed = m_canvas.shown() && !m_canvas.shown()->error.empty();
    if (hasFailed || areOthers()) reload();
}

void FileWatch::lookForMissing() {
    if (m_services.document->isActing()) return;
    if (!m_services.notices->text("missing").isEmpty() && areOthers()) reload();
}

void FileWatch::reload() {
    m_services.attempt([this] { m_services.document->reload(); });
}

}  // namespace zelk
