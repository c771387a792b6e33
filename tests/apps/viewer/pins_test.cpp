// Pins by mouse and keys, against the scene's text.
#include <QLineEdit>
#include <QProcess>
#include <cmath>

#include "Transform/Common/PopupEntries.h"
#include "apps/viewer/model/pin_names.h"
#include "tests/apps/viewer/composition_fixture.h"
#include "tests/apps/viewer/window_fixture.h"
#include "zelk/scene/edits.h"
#include "zelk/scene/file.h"
#include "zelk/scene/parameter_names.h"
#include "zelk/text/errors.h"

namespace zelk {
namespace {

constexpr double kZooms[] = {1, 0.37, 8};

class PinsTest : public CompositionTest, public testing::WithParamInterface<double> {
protected:
    double zoom() { return GetParam(); }
    /// What a way of the mouse is in the picture, as values have it.
    double pixels(int way) { return std::round(way * density() / zoom() * 100) / 100; }

    /// Exactly these pins have moved, by one step that undo takes back to the byte.
    void expectMoved(std::string const& name, std::vector<int> const& pins, PanelPoint by) {
        EXPECT_EQ(document.undoName(), name);
        for (int pin = 1; pin < kParameterCount; ++pin) {
            if (!document.parameter(pin).hasValue()) continue;
            bool const isMoved = std::find(pins.begin(), pins.end(), pin) != pins.end();
            KeyValue const now = document.valueOf(pin), was = valuesBefore[std::size_t(pin)];
            EXPECT_NEAR(now[0], was[0] + (isMoved ? by.x : 0), 1e-4) << nameOfParameter(pin);
            EXPECT_NEAR(now[1], was[1] + (isMoved ? by.y : 0), 1e-4) << nameOfParameter(pin);
        }
        ASSERT_TRUE(document.undo());
        EXPECT_EQ(text(), textBefore);
        EXPECT_EQ(document.undoName(), "");
    }
    void note() {
        textBefore = text();
        valuesBefore.assign(1, {});
        for (int i = 1; i < kParameterCount; ++i)
            valuesBefore.push_back(document.parameter(i).hasValue() ? document.valueOf(i)
                                                                    : KeyValue());
    }

    std::string textBefore;
    std::vector<KeyValue> valuesBefore;
};

TEST_P(PinsTest, EachPinFollowsTheMouse) {
    openLayer();
    document.change("Set Up", [](Scene& scene) {  // all pins in one opaque picture
        sceneEdit("over").apply(scene, "over", exampleFile("chelsea.png"));
        scene.color.isRaw = true;
    });
    document.edit(kParamOverlayMode, {3});
    auto const pinAt = [](int i) { return i < 4 ? kToPins + i : kFromPins + i - 4; };
    // Apart from the other quad's pins, which lie in the same corners.
    for (int i = 0; i < 8; ++i)
        document.edit(pinAt(i),
                      {70.25 + i % 2 * 300 - i / 4 * 30, 70. + i % 4 / 2 * 180 - i / 4 * 30});
    std::string const start = text();
    for (int i = 0; i < 8; ++i) {
        int const pin = pinAt(i);
        setLook([](CanvasLook& look) { look.hasOverlay = true; });
        look(zoom(), valueOf(pin));
        PanelPoint const was = valueOf(pin);
        QPoint const to = placeOf(was) + QPoint(8, -5);
        mouse(QEvent::MouseButtonPress, placeOf(was));
        mouse(QEvent::MouseMove, to);
        if (zoom() <= 1) {
            // The loupe has the pin's pixel in its middle, 9 wide, with the lines through the pin.
            QImage const file = rendered();
            auto const beside = [](double at) {
                return 8 * 9 + (at - std::floor(at) < 0.5 ? 7 : 1);
            };
            PanelPoint const now = valueOf(pin);
            QPointF const inLoupe(28 + beside(now.x), -28 - 17 * 9 + beside(now.y));
            QPoint const place = ((to + inLoupe) * density()).toPoint();
            QRgb const wanted = file.pixel(int(now.x), int(now.y));
            EXPECT_TRUE(QTest::qWaitFor(
                [&] { return canvas().grab().toImage().pixel(place) == wanted; }, 5000));
        }
        mouse(QEvent::MouseButtonRelease, to);
        EXPECT_EQ(document.undoName(), "Move " + pinName(pin));
        EXPECT_EQ(zoom() == 1 ? differenceOf(pictureOf(shot()), rendered()) : "", "");
        EXPECT_NEAR(valueOf(pin).x, was.x + pixels(8), 1e-4);
        EXPECT_NEAR(valueOf(pin).y, was.y + pixels(-5), 1e-4);
        document.undo();
        EXPECT_EQ(text(), start);
    }
}

TEST_P(PinsTest, AnEdgeABoxAndSeveralPinsMoveTogether) {
    note();
    PanelPoint const ul = valueOf(kToPins), ur = valueOf(kToPins + 1);
    look(zoom(), {(ul.x + ur.x) / 2, (ul.y + ur.y) / 2});
    QPoint const middle = placeOf({(ul.x + ur.x) / 2, (ul.y + ur.y) / 2});
    drag(middle, middle + QPoint(9, 5));
    expectMoved("Move top edge of To Pins", {kToPins, kToPins + 1}, {pixels(9), pixels(5)});
    if (zoom() > 1) return;  // the rest doesn't fit in the panel
    drag(placeOf({ul.x - 300, ul.y - 200}), placeOf({ur.x + 40, ur.y + 100}));
    EXPECT_EQ(canvas().pins().selection(), (std::set<int>{kToPins, kToPins + 1}));
    EXPECT_EQ(document.undoName(), "");
    PanelPoint const ll = valueOf(kToPins + 2);
    mouse(QEvent::MouseButtonPress, placeOf(ll), Qt::ShiftModifier);
    mouse(QEvent::MouseButtonRelease, placeOf(ll), Qt::ShiftModifier);
    drag(placeOf(ll), placeOf(ll) + QPoint(-4, 30));
    expectMoved("Move 3 pins", {kToPins, kToPins + 1, kToPins + 2}, {pixels(-4), pixels(30)});
}

/// The effect's own drag, as `zelk drag` runs it on the same mouse.
TEST_P(PinsTest, TheQuadGoesWhereTheCommandPutsIt) {
    std::string const before = text();
    PanelPoint const inside = {460.5, 200.5};
    for (bool const scales : {false, true}) {
        look(zoom(), inside);
        QPoint const from = placeOf(inside), to = from + QPoint(31, 17);
        std::string const project = folder.at("quad.zelk.json").string();
        writeScene(document.scene(), project, true);
        drag(from, to, scales ? Qt::ShiftModifier : Qt::NoModifier);
        EXPECT_EQ(document.undoName(), scales ? "Scale pins" : "Move pins");
        auto const panelPixel = [&](QPoint at) {
            PanelPoint const pan = canvas().map().pan();
            return QString("%1,%2")
                .arg(int(at.x() * density() - pan.x))
                .arg(int(at.y() * density() - pan.y));
        };
        QStringList words = {"drag",     QString::fromStdString(project),
                             "--from",   panelPixel(from),
                             "--to",     panelPixel(to),
                             "--zoom",   QString::number(zoom()),
                             "--frame",  "24",
                             "--module", ZELK_MODULE};
        if (scales) words << "--shift";
        ASSERT_EQ(QProcess::execute(ZELK_BINARY, words), 0);
        Document command{ZELK_MODULE};
        command.open(project);
        command.setFrame(24);
        for (int pin = kToPins; pin < kToPins + 4; ++pin)
            EXPECT_EQ(valueOf(pin).x == command.valueOf(pin)[0] ? valueOf(pin).y : -1e9,
                      command.valueOf(pin)[1])
                << pinName(pin);
        document.undo();
        EXPECT_EQ(text(), before);
    }
}

TEST_P(PinsTest, WhatIsUnderWayCanBeTakenBack) {
    note();
    PanelPoint const ul = valueOf(kToPins), inside = {460, 200};
    look(zoom(), ul);
    for (PanelPoint const& at : {ul, inside}) {
        look(zoom(), at);
        mouse(QEvent::MouseButtonPress, placeOf(at));
        mouse(QEvent::MouseMove, placeOf(at) + QPoint(20, 20));
        EXPECT_NE(text(), textBefore);
        key(Qt::Key_Escape);
        mouse(QEvent::MouseMove, placeOf(at) + QPoint(50, 20));
        mouse(QEvent::MouseButtonRelease, placeOf(at) + QPoint(50, 20));
        EXPECT_EQ(text(), textBefore);
        // Nor is a way there and back a step, which would leave a key at a frame without one.
        document.setFrame(10);
        drag(placeOf(valueOf(kToPins)), placeOf(valueOf(kToPins)));
        document.setFrame(24);
    }
    // A press alone has the effect's mouse already.
    mouse(QEvent::MouseButtonPress, placeOf(inside));
    key(Qt::Key_Escape);
    mouse(QEvent::MouseButtonRelease, placeOf(inside));
    EXPECT_EQ(valueOf(kToPins), ul);
    EXPECT_EQ(text(), textBefore);
    EXPECT_EQ(document.undoName(), "");
}

INSTANTIATE_TEST_SUITE_P(Zooms, PinsTest, testing::ValuesIn(kZooms));

TEST_F(CompositionTest, SnappingFindsWholePixelsAndIsSwitched) {
    std::string const before = text();
    look(1, {320, 200});
    QPoint const from = placeOf(valueOf(kToPins));
    document.edit(kToPins, {330.25, 60.75});
    drag(from, placeOf({211, 99}), {}, Qt::ControlModifier);
    EXPECT_EQ(valueOf(kToPins).x, std::round(valueOf(kToPins).x));
    EXPECT_NEAR(valueOf(kToPins).y, 99, density());
    document.undo();
    document.undo();
    choose("Snap");
    drag(from, placeOf({3, -4}));
    EXPECT_EQ(valueOf(kToPins), (PanelPoint{0, 0}));
    document.undo();
    EXPECT_EQ(text(), before);
}

/// The layer's too, where they lie in the frame; and with Shift along one axis alone.
TEST_F(CompositionTest, SnappingFindsCornersAndMiddlesAndHoldsTheAxis) {
    look(1, {320, 200});
    document.edit(kToPins, {330, 40.4});
    QPoint const from = placeOf({330, 40.4});
    struct Case {
        PanelPoint to, expected;
        Qt::KeyboardModifiers keys;
    };
    for (Case const& snap : {Case{{3, -4}, {0, 0}, Qt::ControlModifier},
                             {{638, 5}, {640, 0}, Qt::ControlModifier},
                             {{322, 424}, {320, 427}, Qt::ControlModifier},
                             {{5, 210}, {0, 213.5}, Qt::ControlModifier},
                             {{449, 303}, {451, 300}, Qt::ControlModifier},
                             {{447, 3}, {451, 0}, Qt::ControlModifier},
                             {{452, 44}, {451, 40.4}, Qt::ControlModifier | Qt::ShiftModifier},
                             {{636, 30}, {640, 40.4}, Qt::ControlModifier | Qt::ShiftModifier},
                             {{334, 424}, {330, 427}, Qt::ControlModifier | Qt::ShiftModifier}}) {
        drag(from, placeOf(snap.to), {}, snap.keys);
        EXPECT_NEAR(valueOf(kToPins).x, snap.expected.x, 1e-4);
        EXPECT_NEAR(valueOf(kToPins).y, snap.expected.y, 1e-4);
        document.undo();
    }
}

TEST_F(CompositionTest, KeysSelectNudgeAndType) {
    std::string const before = text();
    key(Qt::Key_Tab);
    EXPECT_EQ(canvas().pins().selection(), std::set<int>{kToPins});
    PanelPoint const was = valueOf(kToPins);
    key(Qt::Key_Right);
    key(Qt::Key_Down, Qt::ShiftModifier);
    key(Qt::Key_Left, Qt::AltModifier);
    EXPECT_EQ(document.undoName(), "Nudge upper left To Pin");
    EXPECT_NEAR(valueOf(kToPins).x, was.x + 0.9, 1e-4);
    EXPECT_NEAR(valueOf(kToPins).y, was.y + 10, 1e-4);
    for (int i = 0; i < 3; ++i) document.undo();
    EXPECT_EQ(text(), before);
    key(Qt::Key_Tab);
    key(Qt::Key_Return);
    auto* const field = canvas().findChild<QLineEdit*>();
    ASSERT_TRUE(field);
    field->selectAll();
    QTest::keyClicks(field, "12.5, nowhere");
    QTest::keyClick(field, Qt::Key_Return);
    EXPECT_EQ(text(), before);
    EXPECT_EQ(field->text(), "12.5, nowhere");
    field->selectAll();
    QTest::keyClicks(field, "25/2 -7 px");
    QTest::keyClick(field, Qt::Key_Return);
    EXPECT_EQ(valueOf(kToPins + 1), (PanelPoint{12.5, -7}));
    EXPECT_EQ(document.undoName(), "Move upper right To Pin");
    choose("Select All Pins");
    choose("Nudge Up");
    EXPECT_EQ(document.undoName(), "Nudge 4 pins");
    document.undo();
    document.undo();
    EXPECT_EQ(text(), before);
    // Past the last pin there is none, and then the first again.
    std::vector<std::set<int>> selections;
    for (int i = 0; i < 4; ++i) {
        key(Qt::Key_Tab);
        selections.push_back(canvas().pins().selection());
    }
    EXPECT_EQ(selections,
              (std::vector<std::set<int>>{{}, {kToPins}, {kToPins + 1}, {kToPins + 2}}));
    EXPECT_EQ(text(), before);
    for (int const digit : {Qt::Key_1, Qt::Key_3, Qt::Key_2, Qt::Key_8}) key(digit);
    EXPECT_EQ(canvas().pins().selection(), (std::set<int>{kToPins, kToPins + 1}));
    PanelPoint const a = valueOf(kToPins), b = valueOf(kToPins + 1);
    QTest::keyPress(&canvas(), Qt::Key_Up, Qt::ControlModifier | Qt::ShiftModifier);
    QTest::keyPress(&canvas(), Qt::Key_Right, Qt::ControlModifier);
    key(Qt::Key_Down, Qt::ControlModifier);
    EXPECT_EQ(document.undoName(), "Scale 2 pins");
    double const factor = 1.1 * 1.001 / 1.01, tolerance = 4e-4;  // three sums of two pins
    EXPECT_NEAR(valueOf(kToPins + 1).x - valueOf(kToPins).x, factor * (b.x - a.x), tolerance);
    EXPECT_NEAR(valueOf(kToPins + 1).y + valueOf(kToPins).y, b.y + a.y, tolerance);
    document.undo();
    EXPECT_EQ(text(), before);
}

/// A dialog takes the release: the next mouse event without the button ends the drag.
TEST_F(CompositionTest, ADragEndsWithItsButton) {
    PanelPoint const was = valueOf(kToPins);
    QPoint const from = placeOf(was);
    mouse(QEvent::MouseButtonPress, from);
    mouse(QEvent::MouseMove, from + QPoint(8, 4));
    PanelPoint const moved = valueOf(kToPins);
    EXPECT_FALSE(moved == was);
    QMouseEvent hover(QEvent::MouseMove, from + QPoint(60, 60),
                      canvas().mapToGlobal(from + QPoint(60, 60)), Qt::NoButton, Qt::NoButton, {});
    QApplication::sendEvent(&canvas(), &hover);
    EXPECT_EQ(valueOf(kToPins), moved);
    EXPECT_FALSE(document.isActing());
    EXPECT_EQ(document.undoName(), "Move upper left To Pin");
}

/// Another act ends the nudges of a key that is held, and a drag; each has its own step.
TEST_F(CompositionTest, AnotherActEndsNudgesAndDrags) {
    key(Qt::Key_Tab);
    look(1, {320, 200});
    std::string const before = text();
    QPoint const at = placeOf(valueOf(kToPins)) + QPoint(1, 0);
    auto const actElsewhere = [&] {
        document.beginAct("Set Opacity");
        document.edit(kParamCornerPinOpacity, {document.valueOf(kParamCornerPinOpacity)[0] - 1});
        document.endAct();
    };
    QTest::keyPress(&canvas(), Qt::Key_Right);
    actElsewhere();
    QTest::keyPress(&canvas(), Qt::Key_Right);
    QTest::keyClick(&canvas(), Qt::Key_Right);
    mouse(QEvent::MouseButtonPress, at);
    mouse(QEvent::MouseMove, at + QPoint(1, 0));
    actElsewhere();
    mouse(QEvent::MouseMove, at + QPoint(2, 0));
    mouse(QEvent::MouseButtonRelease, at + QPoint(3, 0));
    std::vector<std::string> names;
    while (document.undo()) names.emplace_back(document.redoName());
    EXPECT_EQ(names, (std::vector<std::string>{"Set Opacity", "Move upper left To Pin",
                                               "Nudge upper left To Pin", "Set Opacity",
                                               "Nudge upper left To Pin"}));
    EXPECT_EQ(text(), before);
}

/// An act is of the frame that it began at.
TEST_F(CompositionTest, TheFrameStaysWhileAPinIsHeld) {
    look(1, {320, 200});
    QPoint const at = placeOf(valueOf(kToPins));
    mouse(QEvent::MouseButtonPress, at);
    for (int i = 1; i <= 6; ++i) {
        document.setFrame(24 + i);
        mouse(QEvent::MouseMove, at + QPoint(i, 0));
    }
    mouse(QEvent::MouseButtonRelease, at + QPoint(6, 0));
    EXPECT_EQ(document.frame(), 24);
    EXPECT_EQ(document.parameter(kToPins).track().size(), 3u);
}

/// The event at the end of the effect's own drag fails; Escape then takes all of it back.
TEST_F(CompositionTest, ADragThatTheEffectCannotEndIsTakenBack) {
    std::string const before = text();
    PinTool& pins = canvas().pins();
    PanelPoint const at = canvas().map().toPanel({460, 200});
    ASSERT_TRUE(pins.press({at}));
    pins.drag({{at.x + 30, at.y}});
    Panel unsound = pins.panel();
    unsound.zoom = 0;
    EXPECT_THROW(document.drawOverlay(unsound), UserError);
    EXPECT_THROW(pins.release({{at.x + 40, at.y}}), UserError);
    document.drawOverlay(pins.panel());
    EXPECT_TRUE(pins.cancel());
    EXPECT_FALSE(document.isActing());
    ASSERT_TRUE(pins.press({at}));
    EXPECT_THROW(document.drawOverlay(unsound), UserError);
    EXPECT_THROW(pins.cancel(), UserError);
    EXPECT_FALSE(document.isActing());
    EXPECT_EQ(text(), before);
}

/// And tenths leave no dust, ten of which are a whole number.
TEST_F(CompositionTest, OnlyPinsThatAreShownMove) {
    openLayer();
    document.edit(kParamOverlayMode, {double(hostEntry(kShowBothPins))});
    choose("Select All Pins");
    EXPECT_EQ(canvas().pins().selection().size(), 8u);
    document.edit(kParamOverlayMode, {double(hostEntry(kShowToPins))});
    document.edit(kToPins, {10, 20});
    PanelPoint const from = valueOf(kFromPins);
    for (int i = 0; i < 10; ++i) key(Qt::Key_Right, Qt::AltModifier);
    EXPECT_EQ(document.undoName(), "Nudge 4 pins");
    EXPECT_EQ(valueOf(kFromPins), from);
    EXPECT_EQ(valueOf(kToPins), (PanelPoint{11, 20}));
    openLayer();
    EXPECT_TRUE(canvas().pins().selection().empty());
}

TEST_F(CompositionTest, AKeyOfTheMotionPathMovesAtItsOwnFrame) {
    std::string const before = text();
    document.setFrame(5);
    look(1, {320, 200});
    canvas().pins().select({kToPins});
    std::vector<MotionPath> const& paths = canvas().pins().motionPaths();
    ASSERT_EQ(paths.size(), 1u);
    ASSERT_EQ(paths[0].atFrames.size(), 48u);
    EXPECT_EQ(paths[0].atFrames[4], valueOf(kToPins));
    ASSERT_EQ(paths[0].keys.size(), 3u);
    EXPECT_EQ(paths[0].keys[1].frame, 24);
    drag(placeOf({330, 60}), placeOf({330, 60}) + QPoint(12, -6));
    EXPECT_EQ(document.undoName(), "Move key of upper left To Pin");
    Parameter const& pin = document.parameter(kToPins);
    ASSERT_EQ(pin.track().size(), 3u);
    EXPECT_EQ(pin.track().keys()[1].value[0], 330 + 12 * density());
    EXPECT_EQ(pin.track().keys()[1].value[1], 60 - 6 * density());
    EXPECT_EQ(document.frame(), 5);
    document.undo();
    EXPECT_EQ(text(), before);
}

/// A layer in a frame of another size: To Pins are in the frame alone, From Pins in the layer.
TEST_F(CompositionTest, QuadsOfTwoSizesStandInTheirOwnPictures) {
    document.edit(kParamOverlayMode, {3});
    std::string const before = text();
    EXPECT_EQ(canvas().pins().handles().size(), 4u);
    EXPECT_EQ(canvas().pins().handles()[0].parameter, kToPins);
    look(1, {320, 200});
    // Inside of the From quad too, which the effect would take for the smaller one.
    drag(placeOf({430, 200}), placeOf({440, 200}));
    EXPECT_EQ(valueOf(kFromPins), (PanelPoint{0, 0}));
    EXPECT_EQ(valueOf(kToPins).x, 340);
    document.undo();
    EXPECT_EQ(text(), before);
    choose("Layer");
    ASSERT_EQ(canvas().pins().handles().size(), 4u);
    EXPECT_EQ(canvas().pins().handles()[0].parameter, kFromPins);
    look(1, {200, 150});
    drag(placeOf({0, 0}), placeOf({0, 0}) + QPoint(7, 3));
    EXPECT_EQ(valueOf(kFromPins), (PanelPoint{7 * density(), 3 * density()}));
    document.undo();
    EXPECT_EQ(text(), before);
}

/// In its plate, or in the layer where it has none; the frame is what is taken out of it.
TEST_F(CompositionTest, PinsOfAnInvertedSceneStandInWhatItIsTakenFrom) {
    keepStoredValues();
    for (bool const hasPlate : {true, false}) {
        document.change("Invert", [&](Scene& scene) {
            if (!hasPlate) scene.plate.reset();
            scene.isInverted = true;
        });
        std::string const before = text();
        EXPECT_EQ(canvas().look().shows, hasPlate ? ShownPicture::kPlate : ShownPicture::kLayer);
        EXPECT_EQ(canvas().map().picture().width, hasPlate ? 640 : 451);
        look(1, {320, 200});
        for (PinHandle const& handle : canvas().pins().handles()) {
            PanelPoint const was = valueOf(handle.parameter);
            drag(placeOf(was), placeOf(was) + QPoint(12, -7));
            EXPECT_EQ(document.undoName(), "Move " + pinName(handle.parameter));
            EXPECT_EQ(valueOf(handle.parameter),
                      (PanelPoint{was.x + 12 * density(), was.y - 7 * density()}));
            document.undo();
        }
        PanelPoint const ul = valueOf(kToPins), ur = valueOf(kToPins + 1);
        QPoint const edge = placeOf({(ul.x + ur.x) / 2, (ul.y + ur.y) / 2});
        drag(edge, edge + QPoint(5, 9));
        EXPECT_EQ(document.undoName(), "Move top edge of To Pins");
        document.undo();
        drag(placeOf({460, 200}), placeOf({466, 203}));
        EXPECT_EQ(document.undoName(), "Move pins");
        EXPECT_EQ(valueOf(kToPins).x, ul.x + 6);
        document.undo();
        canvas().pins().select({kToPins + 1});
        key(Qt::Key_Left, Qt::ShiftModifier);
        EXPECT_EQ(valueOf(kToPins + 1).x, ur.x - 10);
        document.undo();
        EXPECT_EQ(text(), before);
        choose("Frame");
        EXPECT_TRUE(canvas().pins().handles().empty());
        look(1, {200, 160});
        document.beginAct("Wider");
        document.edit(kToPins + 1, {ur.x + 30, ur.y + 20});
        QImage const file = rendered();
        EXPECT_EQ(canvas().map().picture().width, file.width());
        EXPECT_EQ(canvas().map().picture().height, file.height());
        if (hasPlate) {
            EXPECT_EQ(differenceOf(pictureOf(shot()), file), "");
        }
        document.cancelAct();
        setLook([](CanvasLook& look) { look.hasOverlay = true; });
        document.undo();
        EXPECT_EQ(canvas().look().shows, ShownPicture::kFrame);
    }
}

}  // namespace
}  // namespace zelk
