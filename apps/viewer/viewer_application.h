// ViewerApplication: no act of a mouse, a key or a timer ends the program by what it throws.
//
// Qt's own frames know no exceptions. Each event is delivered by notify, so that an exception is
// caught there before it leaves the one event that threw.
#pragma once

#include <QApplication>
#include <functional>

namespace zelk {

class ViewerApplication : public QApplication {
public:
    using QApplication::QApplication;

    bool notify(QObject* receiver, QEvent* event) override;

    /// Hears the sentences from now on, until another one does or `owner` goes.
    void tellFailuresTo(QObject& owner, std::function<void(QString const&)> tell);

private:
    std::function<void(QString const&)> m_tell;
    QObject* m_owner = nullptr;
};

/// Runs what may throw; the sentence of a failure, empty where there is none.
QString failureOf(std::function<void()> const& act);

}  // namespace zelk
