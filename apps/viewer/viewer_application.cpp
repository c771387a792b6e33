// See viewer_application.h.
#include "apps/viewer/viewer_application.h"

#include <cstdio>
#include <exception>

#include "zelk/text/errors.h"

namespace zelk {

QString failureOf(std::function<void()> const& act) {
    try {
        act();
        return {};
    } catch (UserError const& error) {
        return QString::fromUtf8(error.what());
    } catch (std::exception const& error) {
        return QString("This failed unexpectedly: ") + error.what();
    }
}

bool ViewerApplication::notify(QObject* receiver, QEvent* event) {
    bool isTaken = true;  // a failed event goes to nobody else
    QString const failure = failureOf([&] { isTaken = QApplication::notify(receiver, event); });
    if (failure.isEmpty()) return isTaken;
    if (m_tell)
        m_tell(failure);
    else
        std::fprintf(stderr, "zelk-viewer: %s\n", qPrintable(failure));
    return true;
}

void ViewerApplication::tellFailuresTo(QObject& owner, std::function<void(QString const&)> tell) {
    m_tell = std::move(tell);
    m_owner = &owner;
    connect(&owner, &QObject::destroyed, this, [this](QObject* gone) {
        if (gone == m_owner) m_tell = nullptr;
    });
}

}  // namespace zelk
