// Acts at random all over the window: nothing crashes, what is undone leads back to the first
// state, and memory stays. A few seconds here; for hours, under a sanitizer:
//
//   ZELK_SOAK_SECONDS=3600 ZELK_SEED=7 viewer_test --gtest_filter=RandomActs.*
#include <malloc.h>

#include <QAction>
#include <QApplication>
#include <QElapsedTimer>
#include <QMenu>
#include <QMenuBar>
#include <QPointer>
#include <QTimer>
#include <QWheelEvent>
#include <algorithm>
#include <cstdlib>
#include <fstream>
#include <iostream>
#include <random>

#include "apps/viewer/composition_canvas.h"
#include "apps/viewer/composition_panel.h"
#include "tests/apps/viewer/window_fixture.h"

#ifdef __SANITIZE_ADDRESS__
extern "C" std::size_t __sanitizer_get_current_allocated_bytes();  // GCC has no header for it
#endif

namespace zelk {
namespace {

long environmentNumber(char const* name, long otherwise) {
    char const* const text = std::getenv(name);
    return text ? std::atol(text) : otherwise;
}

/// Resident; what is allocated with the sanitizer, which holds back what is freed.
long usedMb() {
#ifdef __SANITIZE_ADDRESS__
    return static_cast<long>(__sanitizer_get_current_allocated_bytes() >> 20);
#else
    long all = 0, resident = 0;
    std::ifstream("/proc/self/statm") >> all >> resident;
    return resident * 4 / 1024;
#endif
}

/// What tools, fonts and the first dialogs take. A leak of pictures is more.
constexpr long kWarmMb = 150;

class RandomActs : public WindowTest {
protected:
    RandomActs()
        : seed(static_cast<unsigned>(
              environmentNumber("ZELK_SEED", static_cast<long>(std::random_device{}())))),
          random(seed),
          first(text()) {
        // Dialogs and menus that an act opened are closed again.
        closer.setInterval(20);
        QObject::connect(&closer, &QTimer::timeout, [] {
            if (QWidget* const popup = QApplication::activePopupWidget()) popup->close();
            if (QWidget* const dialog = QApplication::activeModalWidget()) dialog->close();
        });
        closer.start();
    }

    int below(std::size_t most) { return static_cast<int>(random() % most); }

    /// Visible and enabled; the panels' own widgets among them.
    QWidget* anyWidget() {
        QList<QWidget*> shown;
        for (QWidget* const widget : window->findChildren<QWidget*>())
            if (widget->isVisible() && widget->isEnabled() && !widget->size().isEmpty())
                shown.push_back(widget);
        return shown.at(below(static_cast<std::size_t>(shown.size())));
    }

    QPoint anyPoint(QWidget const& widget) {
        return {below(static_cast<std::size_t>(widget.width())),
                below(static_cast<std::size_t>(widget.height()))};
    }

    Qt::KeyboardModifiers anyModifier() {
        constexpr Qt::KeyboardModifier kHeld[] = {Qt::NoModifier, Qt::ShiftModifier,
                                                  Qt::ControlModifier, Qt::AltModifier};
        return kHeld[below(4)];
    }

    /// Keys and commands come in the middle too. The window may then have another widget there.
    void drag(QPointer<QWidget> const& widget) {
        constexpr Qt::MouseButton kButtons[] = {Qt::MiddleButton, Qt::RightButton};
        Qt::MouseButton const button = below(8) == 0 ? kButtons[below(2)] : Qt::LeftButton;
        Qt::KeyboardModifiers const held = anyModifier();
        QTest::mousePress(widget, button, held, anyPoint(*widget));
        for (int i = below(6); i > 0 && widget; --i) {
            QTest::mouseMove(widget, anyPoint(*widget));
            if (below(12) == 0) below(2) ? command() : key();
        }
        if (widget) QTest::mouseRelease(widget, button, held, anyPoint(*widget));
    }

    void wheel(QWidget& widget) {
        QPoint const at = anyPoint(widget), turn(0, 120 * (below(5) - 2));
        QWheelEvent event(at, widget.mapToGlobal(at), {}, turn, Qt::NoButton, anyModifier(),
                          Qt::NoScrollPhase, false);
        QApplication::sendEvent(&widget, &event);
    }

    void key() {
        constexpr Qt::Key kKeys[] = {
            Qt::Key_Left,  Qt::Key_Right,  Qt::Key_Up,     Qt::Key_Down,   Qt::Key_Tab,
            Qt::Key_Enter, Qt::Key_Escape, Qt::Key_1,      Qt::Key_7,      Qt::Key_0,
            Qt::Key_Minus, Qt::Key_Space,  Qt::Key_Delete, Qt::Key_Insert, Qt::Key_Backspace,
            Qt::Key_C,     Qt::Key_V,      Qt::Key_W,      Qt::Key_Z,      Qt::Key_F9};
        QWidget* const widget = QApplication::focusWidget();
        QTest::keyClick(widget ? widget : window.get(), kKeys[below(std::size(kKeys))],
                        anyModifier());
    }

    /// Files stay out: another scene has another first state, and Quit ends the window.
    static void addActions(QMenu const& menu, QList<QAction*>& actions) {
        for (QAction* const action : menu.actions()) {
            if (action->menu()) addActions(*action->menu(), actions);
            if (!action->menu() && action->isEnabled()) actions.push_back(action);
        }
    }

    void command() {
        QList<QAction*> actions;
        for (QAction* const menu : window->menuBar()->actions())
            if (menu->menu() && menu->text() != "&File") addActions(*menu->menu(), actions);
        actions.at(below(static_cast<std::size_t>(actions.size())))->trigger();
    }

    /// Without pictures and inputs that are kept, which have budgets.
    long ownMb() {
        FrameService const& frames = window->composition().canvas().frames();
        return usedMb() - static_cast<long>((frames.bytes() + frames.inputBytes()) >> 20);
    }

    void act() {
        switch (below(10)) {
            case 0:
                return command();
            case 1:
            case 2:
                return key();
            case 3:
                return document().setFrame(1 + below(48));
            case 4:
                below(2) ? document().undo() : document().redo();
                return;
            case 5:
                return wheel(*anyWidget());
            default:
                return drag(anyWidget());
        }
    }

    unsigned seed;
    std::mt19937 random;
    std::string const first;
    QTimer closer;
};

TEST_F(RandomActs, LeaveTheSceneSound) {
    SCOPED_TRACE(testing::Message() << "seed " << seed);
    std::cerr << "seed " << seed << "\n";
    long const seconds = environmentNumber("ZELK_SOAK_SECONDS", 3);
    QElapsedTimer clock;
    clock.start();
    long acts = 0, early = 0, told = 0;
    for (; clock.elapsed() < 1000 * seconds; ++acts) {
        act();
        QApplication::processEvents();
        ASSERT_FALSE(text().empty());
        long const quarters = 4 * clock.elapsed() / (1000 * seconds);
        if (quarters == told) continue;
        told = quarters;
        malloc_trim(0);
        std::cerr << acts << " acts, " << usedMb() << " MB used, " << ownMb()
                  << " MB without what is kept\n";
        if (told == 1) early = ownMb();
    }
    EXPECT_LT(ownMb(), early + kWarmMb) << "MB, from " << early;
    QApplication::processEvents();
    document().cancelAct();
    std::string const last = text();
    int steps = 0;
    while (document().undo()) ++steps;
    EXPECT_EQ(text(), first);
    while (steps-- > 0) document().redo();
    EXPECT_EQ(text(), last);
}

}  // namespace
}  // namespace zelk
