// What the window owes to acts of all kinds: nothing that is typed is lost, nothing that fails ends
// the program, and everything can be done by keyboard.
#ifdef __SANITIZE_ADDRESS__
#include <sanitizer/lsan_interface.h>
#endif

#include <QLabel>
#include <QLineEdit>
#include <QMenuBar>
#include <QMouseEvent>
#include <QPushButton>
#include <QScrollBar>
#include <QSpinBox>
#include <QTimer>
#include <QToolButton>

#include "apps/viewer/composition_canvas.h"
#include "apps/viewer/composition_panel.h"
#include "apps/viewer/model/panel_controls.h"
#include "apps/viewer/parameter_panel.h"
#include "apps/viewer/pin_field.h"
#include "apps/viewer/status_sentence.h"
#include "apps/viewer/timeline_panel.h"
#include "apps/viewer/viewer_application.h"
#include "tests/apps/viewer/composition_fixture.h"
#include "tests/apps/viewer/files_fixture.h"

namespace zelk {
namespace {

class WindowActs : public FilesTest {
protected:
    WindowActs() { window->openFile(path("move.zelk.json")); }

    CompositionCanvas& canvas() { return window->composition().canvas(); }
    QLineEdit& field(char const* row) {
        return *window->findChild<QWidget*>(row)->findChild<QLineEdit*>("field0");
    }
    /// Without Enter.
    void typeValue(QString const& text) {
        field("scale-x").setFocus();
        QTest::keyClick(&field("scale-x"), Qt::Key_F2);
        QTest::keyClicks(&field("scale-x"), text);
    }
};

TEST_F(WindowActs, WhatIsTypedCountsBeforeAnyOtherAct) {
    document().change("Set Colour", [](Scene& scene) { scene.color.isRaw = true; });
    typeValue("0.8");
    QTest::keyClick(&field("scale-x"), Qt::Key_S, Qt::ControlModifier);
    EXPECT_NEAR(document().valueOf(kParamScaleX)[0], 0.8, 1e-4);
    EXPECT_FALSE(document().isModified());
    // Seen to the bit as `zelk render` writes it.
    shell("zelk render --project ../move.zelk.json --frames 1 -o typed.png");
    QImage const file(path("out/typed.png"));
    for (char const* act : {"View/Actual Pixels", "Pins/Show Pins"}) press(act);
    ASSERT_TRUE(QTest::qWaitFor([&] { return canvas().isAtRest(); }, 20000));
    QImage const shown = canvas().grab().toImage();
    QPoint const corner(int(canvas().map().pan().x), int(canvas().map().pan().y));
    QRect const seen = QRect(corner, file.size()) & shown.rect();
    EXPECT_EQ(differenceOf(shown.copy(seen), file.copy(seen.translated(-corner))), "");
    press("Pins/Show Pins");
    typeValue("0.9");
    choices = {-1};  // Cancel
    EXPECT_FALSE(window->close());
    EXPECT_NEAR(document().valueOf(kParamScaleX)[0], 0.9, 1e-4);

    canvas().pins().select({kParamToUpperLeft});
    canvas().typePosition();
    auto* const pin = canvas().findChild<PinField*>();
    QTest::keyClicks(pin, "12, 34");
    QTest::keyClick(pin, Qt::Key_S, Qt::ControlModifier);
    EXPECT_EQ(document().valueOf(kParamToUpperLeft), (KeyValue{12, 34}));
    EXPECT_EQ(bytesOf(folder.at("move.zelk.json")), text());
    QTest::keyClicks(pin, "5");
    QTest::keyClick(pin, Qt::Key_Escape);
    EXPECT_EQ(document().valueOf(kParamToUpperLeft), (KeyValue{12, 34}));
    canvas().pins().select({kParamToUpperLeft});
    canvas().typePosition();
    QTest::keyClicks(window->focusWidget(), "56, 78");
    window->timeline().view().setFocus();
    EXPECT_EQ(document().valueOf(kParamToUpperLeft), (KeyValue{56, 78}));
    choices = {0};  // Save
    EXPECT_TRUE(window->close());
    EXPECT_EQ(bytesOf(folder.at("move.zelk.json")), text());
}

// Frames of Qt's own lose what they hold where an exception passes them.
#ifdef __SANITIZE_ADDRESS__
using LeaksOfOthers = __lsan::ScopedDisabler;
#else
struct LeaksOfOthers {};
#endif

TEST_F(WindowActs, AFarDragIsHeldAndWhatAnEventThrowsIsTold) {
    [[maybe_unused]] LeaksOfOthers const leaks;
    TimelineView& view = window->timeline().view();
    TimelineKey const key = view.rows().front().keys.front();
    QWidget* const area = view.viewport();
    QPoint const at = view.placeOf(key).toPoint();
    QTest::mousePress(area, Qt::LeftButton, {}, at);
    QPoint const far = at + QPoint(200000000, 0);  // held at the composition's end
    QMouseEvent move(QEvent::MouseMove, far, area->mapToGlobal(far), Qt::NoButton, Qt::LeftButton,
                     {});
    QApplication::sendEvent(area, &move);
    EXPECT_EQ(error(), "");
    EXPECT_EQ(view.rows().front().keys.size(), 2u) << "in the last key's place";
    QTest::mouseRelease(area, Qt::LeftButton, {}, at);
    EXPECT_FALSE(document().isActing());

    window->notices().remove("error");
    QTimer::singleShot(0, window.get(), [] { throw std::bad_alloc(); });
    QTest::qWait(10);
    EXPECT_TRUE(error().contains("bad_alloc"));
}

/// A scene that nobody saved, in a folder that somebody removed.
TEST_F(WindowActs, AFolderThatIsGoneStopsNothing) {
    fs::path const before = fs::current_path();
    fs::create_directory(folder.at("gone"));
    fs::current_path(folder.at("gone"));
    window->files().startWith(folder.at("chelsea.png"));
    window->recovery()->setDelay(0);
    fs::remove(folder.at("gone"));
    makeChange();
    QTest::qWait(100);
    press("File/Copy as Command");
    fs::current_path(before);
    EXPECT_EQ(error(), "");
    EXPECT_EQ(window->notices().text("autosave"), "");
    // Beside the list of recent files.
    EXPECT_EQ(std::distance(fs::directory_iterator(folder.at("state")), {}), 2);
}

/// A still becomes a shot: its own size, frames and rate; then a plate comes and goes.
TEST_F(WindowActs, TheCompositionIsSetAndComesBack) {
    window->openFile(path("chelsea.png"));
    auto const type = [&](char const* row, char const* value, char const* name = "field0") {
        auto& own = *window->findChild<QWidget*>(row)->findChild<QLineEdit*>(name);
        QTest::keyClick(&own, Qt::Key_F2);
        own.selectAll();
        QTest::keyClicks(&own, value);
        QTest::keyClick(&own, Qt::Key_Return);
    };
    type("scene comp size", "1920");
    type("scene comp size", "1080 px", "field1");
    type("scene comp rate", "24000/1001");
    type("scene comp start", "1001");
    type("scene comp duration", "48 frames");
    EXPECT_EQ(document().undoName(), "Set Duration");
    document().saveAs(folder.at("shot.zelk.json"));
    window->openFile(path("shot.zelk.json"));
    EXPECT_EQ(document().frameSize(), (PixelSize{1920, 1080}));
    EXPECT_EQ(document().firstFrame(), 1001);
    EXPECT_EQ(document().lastFrame(), 1048);
    EXPECT_EQ(document().scene().comp.timeBase.scale, 24000u);
    std::string const saved = text();
    for (char const* wrong : {"0", "x", "99999999"}) {
        type("scene comp duration", wrong);
        EXPECT_NE(window->parameters().message(), "") << wrong;
        EXPECT_EQ(text(), saved);
    }
    type("scene plate", path("rocket.jpg").toUtf8().constData());
    EXPECT_EQ(document().frameSize(), (PixelSize{640, 427}));
    for (auto const& control : panelControls(document()))
        if (control->row().name == "scene comp size") {
            EXPECT_FALSE(control->state().isEnabled);
        }
    for (auto* const button :
         window->findChild<QWidget*>("scene plate")->findChildren<QToolButton*>())
        if (button->toolTip() == "Remove the file") button->click();
    EXPECT_FALSE(document().scene().plate);
    EXPECT_EQ(document().frameSize(), (PixelSize{640, 427}));
    EXPECT_EQ(document().undoName(), "Remove Plate");
    while (document().undo()) continue;
    EXPECT_EQ(text(), saved);
    for (auto const& control : panelControls(document()))
        if (control->row().name.starts_with("scene comp")) control->reset();
    EXPECT_EQ(document().frameSize(), (PixelSize{451, 300}));
    EXPECT_EQ(document().lastFrame(), 0);
}

TEST_F(WindowActs, TheFocusIsWhereItIsOfUse) {
    start();
    auto* const open = qobject_cast<QPushButton*>(window->focusWidget());
    ASSERT_TRUE(open);
    EXPECT_EQ(open->text(), "Open\u2026");
    names = {path("move.zelk.json")};
    QTest::keyClick(open, Qt::Key_Space);
    EXPECT_EQ(window->focusWidget(), &canvas());
    auto* const frame = window->timeline().findChild<QSpinBox*>();
    frame->setFocus(Qt::MouseFocusReason);
    QTest::qWait(0);
    QTest::keyClicks(frame, "1200");
    QTest::keyClick(frame, Qt::Key_Return);
    EXPECT_EQ(frame->text(), "1200") << "beyond the composition";
    EXPECT_EQ(document().frame(), 1);
    frame->selectAll();
    QTest::keyClicks(frame, "12");
    QTest::keyClick(frame, Qt::Key_Return);
    EXPECT_EQ(document().frame(), 12);
    EXPECT_EQ(window->focusWidget(), &canvas());
    // A button that has the focus has Space for itself.
    for (auto* const button : window->composition().findChildren<QToolButton*>()) {
        if (button->text() != "Wipe") continue;
        button->setFocus();
        QTest::keyClick(button, Qt::Key_Space);
    }
    EXPECT_TRUE(canvas().look().hasWipe);
    EXPECT_FALSE(window->timeline().player().playback().isPlaying());
    QTest::keyClick(window.get(), Qt::Key_F10);
    ASSERT_TRUE(window->menuBar()->activeAction());
    QStringList letters;
    for (QAction* const menu : window->menuBar()->actions())
        letters << QKeySequence::mnemonic(menu->text()).toString();
    EXPECT_EQ(letters.removeDuplicates(), 0);
    EXPECT_FALSE(letters.contains(""));
}

/// A pin's position that is open lets the focus go where it is led.
TEST_F(WindowActs, ThePositionFieldHoldsNoFocus) {
    window->activateWindow();
    ASSERT_TRUE(QTest::qWaitForWindowActive(window.get()));
    canvas().pins().select({kParamToUpperLeft});
    canvas().typePosition();
    ASSERT_EQ(window->focusWidget(), canvas().findChild<PinField*>());
    QTest::keyClicks(window->focusWidget(), "12, 7");
    QTest::mouseClick(&field("translate-x"), Qt::LeftButton);
    EXPECT_EQ(window->focusWidget(), &field("translate-x"));
    EXPECT_EQ(document().valueOf(kParamToUpperLeft), (KeyValue{12, 7}));
    canvas().typePosition();
    QTest::keyClick(window->focusWidget(), Qt::Key_Escape);
    EXPECT_EQ(window->focusWidget(), &canvas());
}

TEST_F(WindowActs, KeysOfTheTimelineByKeyboard) {
    TimelineView& view = window->timeline().view();
    document().setFrame(30);
    view.setFocus();
    QTest::keyClick(&view, Qt::Key_Down);
    ASSERT_EQ(view.currentRow(), 0);
    using Frames = std::vector<int>;
    auto const after = [&](Qt::Key key, Qt::KeyboardModifiers held = {}) {
        QTest::keyClick(&view, key, held);
        Frames chosen;
        for (TimelineKey const& each : view.rows().front().keys)
            if (view.selection().contains(each.ref)) chosen.push_back(int(each.frame));
        return chosen;
    };
    auto const heard = [&] { return view.accessibleDescription().toStdString(); };
    EXPECT_EQ(heard(), "To Pins: Upper Left, frame 30, no key is selected");
    EXPECT_EQ(after(Qt::Key_Left), Frames{24});
    EXPECT_EQ(heard(), "To Pins: Upper Left, key 2 of 3 at frame 24, bezier");
    EXPECT_EQ(after(Qt::Key_Left), Frames{1});
    EXPECT_EQ(after(Qt::Key_Left), Frames{1});
    EXPECT_EQ(after(Qt::Key_Right, Qt::ShiftModifier), (Frames{1, 24}));
    document().setFrame(31);
    EXPECT_TRUE(heard().ends_with("frame 31, 2 keys are selected"));
    EXPECT_EQ(after(Qt::Key_Right), Frames{48});
    press("Keys/Show All Parameters");
    for (int i = 0; i < 200; ++i) QTest::keyClick(&view, Qt::Key_Down);
    EXPECT_EQ(view.verticalScrollBar()->value(), view.verticalScrollBar()->maximum());
    for (TimelineRow const& row : view.rows()) EXPECT_EQ(row.name.find("  "), row.name.npos);
}

/// Warnings have one place, whose height is reserved, and go with their scene.
TEST_F(WindowActs, NoWarningMovesThePicture) {
    window->openFile(path("chelsea.png"));
    EXPECT_TRUE(QTest::qWaitFor([&] { return canvas().isAtRest(); }, 20000));
    QRect const before = canvas().geometry();
    for (int const pin : {int(kParamToUpperRight), int(kParamToLowerRight)})
        document().edit(pin, {40, document().valueOf(pin)[1]});
    EXPECT_TRUE(QTest::qWaitFor([&] { return canvas().isAtRest(); }, 20000));
    QStringList const said = window->sentences().sentences();
    ASSERT_EQ(said.size(), 1) << said.join("|").toStdString();
    EXPECT_TRUE(said.front().contains("shrinks"));
    EXPECT_EQ(canvas().geometry(), before);
    // It goes with what it is about, and comes back with it.
    auto const isWarned = [&](bool is) {
        return QTest::qWaitFor([&] { return window->sentences().sentences().empty() != is; });
    };
    document().undo();
    document().undo();
    EXPECT_TRUE(isWarned(false));
    document().redo();
    document().redo();
    EXPECT_TRUE(isWarned(true));
    choices = {1};  // Don't Save
    window->openAtStart({folder.at("no.zelk.json")});
    EXPECT_NE(window->notices().text("error"), "");
    QTest::qWait(0);
    EXPECT_EQ(canvas().geometry(), before) << "errors lie over the picture";
    for (QWidget const* const bar : window->findChildren<QFrame*>("notice"))
        EXPECT_LT(bar->height(), 3 * bar->fontMetrics().height()) << "one line";
    choices = {1};  // Don't Save
    window->openFile(path("chelsea.png"));
    EXPECT_TRUE(window->sentences().sentences().empty());
}

/// What an inverted scene's picture is holds while it is shown, and no warning of the former frame.
TEST_F(WindowActs, AnInvertedSceneSaysWhatIsShown) {
    auto const holds = [&](QString const& start) {
        return QTest::qWaitFor([&] {
            QStringList const all = window->sentences().sentences();
            return start.isEmpty() ? all.empty() : all.size() == 1 && all[0].startsWith(start);
        });
    };
    for (int const pin : {int(kParamToUpperRight), int(kParamToLowerRight)})
        document().edit(pin, {340, document().valueOf(pin)[1]});
    EXPECT_TRUE(QTest::qWaitFor([&] { return !window->sentences().sentences().empty(); }, 20000));
    document().beginAct("Invert");
    document().change("", [](Scene& scene) { scene.isInverted = true; });
    document().endAct();
    EXPECT_TRUE(holds("Inverted: the pins lie in the plate"));
    document().save();
    window->openFile(path("move.zelk.json"));
    EXPECT_TRUE(holds("Inverted: the pins lie in the plate"));
    document().change("Invert", [](Scene& scene) { scene.isInverted = false; });
    EXPECT_FALSE(window->sentences().sentences().join("").contains("Inverted"));
}

TEST_F(WindowActs, TheReadoutFollowsTheZoom) {
    QTest::mouseMove(&canvas(), {300, 200});
    QTest::qWait(0);
    QLabel const* readout = nullptr;
    for (QLabel const* const label : window->findChildren<QLabel*>()) {
        QString const name = label->accessibleName();  // which takes the text's place for who hears
        if (name == "Pixel under the cursor") readout = label;
        EXPECT_TRUE(label == readout || name.isEmpty() || name.endsWith(label->text()));
    }
    ASSERT_TRUE(readout);
    auto const said = [&] { return readout->accessibleDescription(); };
    QString const before = said();
    EXPECT_FALSE(readout->text().isEmpty());
    QTest::keyClick(window.get(), Qt::Key_Equal, Qt::ControlModifier);
    double const density = canvas().devicePixelRatioF();
    PanelPoint const at = canvas().map().toPicture({300 * density, 200 * density});
    QString const there = QString::asprintf("frame %.1f, %.1f", at.x, at.y);
    EXPECT_TRUE(said().startsWith(there)) << said().toStdString();
    EXPECT_FALSE(before.startsWith(there));
}

/// A layer larger than its plate: pins far out are found, and brought to the frame.
TEST_F(WindowActs, PinsOutsideOfThePanel) {
    document().edit(kParamToLowerRight, {9000, 8000});
    auto const isSeen = [&] {
        auto const handle = canvas().pins().handleOf(kParamToLowerRight);
        QPointF const at = QPointF(handle->at.x, handle->at.y) / canvas().devicePixelRatioF();
        return canvas().rect().contains(at.toPoint());
    };
    press("View/Fit to Panel");
    EXPECT_FALSE(isSeen());
    press("View/Fit Pins");
    EXPECT_TRUE(isSeen());
    std::string const before = text();
    press("Pins/To Pins to Frame Corners");
    EXPECT_EQ(document().valueOf(kParamToLowerRight), (KeyValue{640, 427}));
    document().undo();
    EXPECT_EQ(text(), before);
    press("View/Picture/Layer");
    EXPECT_TRUE(canvas().pins().handles().empty());
    EXPECT_TRUE(window->sentences().sentences().front().contains("Show From Pins"));
    press("Pins/Show From Pins");
    EXPECT_EQ(canvas().pins().handles().size(), 4u);
}

}  // namespace
}  // namespace zelk
