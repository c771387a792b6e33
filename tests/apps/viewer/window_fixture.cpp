// See window_fixture.h.
#include "tests/apps/viewer/window_fixture.h"

#include <QAction>
#include <QApplication>
#include <QSignalSpy>
#include <QWheelEvent>

#include "zelk/scene/file.h"

namespace zelk {

std::string exampleFile(std::string const& name) { return std::string(ZELK_EXAMPLES "/") + name; }

void press(QAction& act, QWidget& focus) {
    focus.activateWindow();
    EXPECT_TRUE(QTest::qWaitFor([&] { return qApp->activeWindow() == focus.window(); }));
    QSignalSpy const runs(&act, &QAction::triggered);
    act.shortcut().isEmpty() ? act.trigger() : QTest::keySequence(&focus, act.shortcut());
    EXPECT_EQ(runs.size(), 1) << act.text().toStdString();
}

void wheel(QWidget& widget, QPointF at, int notches, Qt::KeyboardModifiers held) {
    QWheelEvent event(at, widget.mapToGlobal(at), {}, {0, 120 * notches}, Qt::NoButton, held,
                      Qt::NoScrollPhase, false);
    QApplication::sendEvent(&widget, &event);
}

std::string WindowTest::sceneTextOf(Document const& document) {
    return sceneText(document.scene());
}

WindowTest::WindowTest() : window(std::make_unique<ViewerWindow>(ZELK_MODULE)) {
    window->resize(1200, 800);
    window->show();
    window->activateWindow();
    EXPECT_TRUE(QTest::qWaitForWindowActive(window.get()));
    // A copy: what is tested may save.
    for (char const* name : {"chelsea.png", "rocket.jpg", "move.zelk.json"})
        std::filesystem::copy(exampleFile(name), folder.at(name));
    window->openFile(QString::fromStdString(folder.at("move.zelk.json").string()));
}

}  // namespace zelk
