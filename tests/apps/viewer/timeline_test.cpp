// Keyframes by mouse, keys and menu against the scene; and which frame plays when.
#include <QAbstractButton>
#include <QAction>
#include <QApplication>
#include <QDialog>
#include <QDoubleSpinBox>
#include <QScrollBar>
#include <QTimer>
#include <set>

#include "apps/viewer/composition_canvas.h"
#include "apps/viewer/composition_panel.h"
#include "apps/viewer/model/key_acts.h"
#include "apps/viewer/model/parameter_control.h"
#include "apps/viewer/timeline_panel.h"
#include "tests/apps/viewer/window_fixture.h"
#include "tests/support/random_quads.h"
#include "zelk/scene/parameter_names.h"

namespace zelk {
namespace {

constexpr int kOpacity = kParamCornerPinOpacity;

class TimelineTest : public WindowTest {
protected:
    TimelineTest() : first(text()) {}
    ~TimelineTest() override {
        while (document().undo()) continue;
        EXPECT_EQ(text(), first) << "undo leads back to the first state";
    }

    TimelineView& view() { return window->timeline().view(); }
    QWidget* sheet() { return view().viewport(); }
    std::deque<Keyframe> const& keys(int index) {
        return document().parameter(index).track().keys();
    }
    std::vector<double> frames(int index) {
        std::vector<double> numbers;
        for (Keyframe const& key : keys(index)) numbers.push_back(document().frameOf(key.time));
        return numbers;
    }
    TimelineKey keyOf(int index, std::size_t place) {
        for (TimelineRow const& row : view().rows())
            if (row.index == index) return row.keys.at(place);
        throw std::out_of_range("no such row");
    }
    QPoint at(TimelineKey const& key) { return view().placeOf(key).toPoint(); }
    QPoint atFrame(TimelineKey const& row, int frame) {
        return {view().placeOfFrame(frame).toPoint().x(), at(row).y()};
    }
    void drag(QPoint from, QPoint to, Qt::KeyboardModifiers held = {}) {
        QTest::mousePress(sheet(), Qt::LeftButton, held, from);
        for (int i = 1; i <= 4; ++i) QTest::mouseMove(sheet(), from + (to - from) * i / 4);
        QTest::mouseRelease(sheet(), Qt::LeftButton, held, to);
    }
    void run(char const* name) {
        view().setFocus();
        for (QAction* const act : window->findChildren<QAction*>())
            if (act->text() == name) return press(*act, view());
        FAIL() << "no act " << name;
    }

    std::string const first;
};

TEST_F(TimelineTest, AKeyIsSelectedMovedAndCopiedByTheMouse) {
    TimelineKey const middle = keyOf(kToPins, 1);  // of 1, 24 and 48
    KeyValue const value = keys(kToPins)[1].value;
    drag(at(middle), atFrame(middle, 30));
    EXPECT_EQ(frames(kToPins), (std::vector<double>{1, 30, 48}));
    EXPECT_EQ(keys(kToPins)[1].value, value);
    EXPECT_EQ(document().undoName(), "Move Keys");
    drag(at(keyOf(kToPins, 1)), atFrame(middle, 40), Qt::ControlModifier);
    EXPECT_EQ(frames(kToPins), (std::vector<double>{1, 30, 40, 48}));
    EXPECT_EQ(keys(kToPins)[2].value, value);
    run("Delete Keys");
    EXPECT_EQ(frames(kToPins), (std::vector<double>{1, 30, 48}));
    // What a drag runs over on its way is there again, and Escape takes all of it back.
    QTest::mousePress(sheet(), Qt::LeftButton, {}, at(keyOf(kToPins, 0)));
    QTest::mouseMove(sheet(), atFrame(middle, 30));
    EXPECT_EQ(frames(kToPins), (std::vector<double>{30, 48}));
    QTest::mouseMove(sheet(), atFrame(middle, 12));
    EXPECT_EQ(frames(kToPins), (std::vector<double>{12, 30, 48}));
    QTest::keyClick(sheet(), Qt::Key_Escape);
    EXPECT_EQ(frames(kToPins), (std::vector<double>{1, 30, 48}));
    QTest::mousePress(sheet(), Qt::LeftButton, {}, at(keyOf(kToPins, 0)));
    QTest::mouseMove(sheet(), atFrame(middle, 12));
    QTest::mouseMove(sheet(), atFrame(middle, 1));
    QTest::mouseRelease(sheet(), Qt::LeftButton, {}, atFrame(middle, 1));
    EXPECT_EQ(document().undoName(), "Delete Keys") << "there and back is no step";
    CompositionCanvas& canvas = window->composition().canvas();
    QPointF const pin(canvas.pins().handles().front().at.x, canvas.pins().handles().front().at.y);
    EXPECT_FALSE(view().selection().empty());
    QTest::mouseClick(&canvas, Qt::LeftButton, {}, (pin / canvas.devicePixelRatioF()).toPoint());
    EXPECT_TRUE(view().selection().empty()) << "a pin that is taken ends it";
}

TEST_F(TimelineTest, ABoxSelectsAndTheSelectionMovesAsOne) {
    TimelineKey const from = keyOf(kToPins, 1), to = keyOf(kToPins + 3, 1);
    run("Select All Keys");
    drag(at(from) - QPoint(9, 9), at(to) + QPoint(9, 9));
    EXPECT_EQ(view().selection().size(), 4u) << "the box alone";
    KeySelection const boxed = view().selection();
    for (std::size_t const place : {0, 1}) {  // beside the box, and in it
        QTest::mousePress(sheet(), Qt::LeftButton, {}, at(keyOf(kToPins, place)));
        QTest::mouseMove(sheet(), atFrame(from, 9));
        QTest::keyClick(sheet(), Qt::Key_Escape);
        QTest::mouseRelease(sheet(), Qt::LeftButton, {}, atFrame(from, 9));
        EXPECT_EQ(view().selection(), boxed) << "of before the drag";
    }
    QTest::mousePress(sheet(), Qt::LeftButton, Qt::ShiftModifier, atFrame(from, 30));
    run("Delete Keys");
    QTest::mouseMove(sheet(), atFrame(from, 33));
    QTest::mouseRelease(sheet(), Qt::LeftButton, Qt::ShiftModifier, atFrame(from, 33));
    EXPECT_TRUE(view().selection().empty()) << "keys that are gone";
    document().undo();
    run("Select All Keys");
    run("Move Keys Later");
    EXPECT_EQ(frames(kToPins), (std::vector<double>{1, 24, 48})) << "within the composition";
    view().select(boxed);
    run("Move Keys Later");
    for (int corner = 0; corner < 4; ++corner)
        EXPECT_EQ(frames(kToPins + corner), (std::vector<double>{1, 25, 48}));
    run("Copy Keys");
    document().setFrame(33);
    run("Paste Keys");
    EXPECT_EQ(document().undoName(), "Paste Keys");
    for (int corner = 0; corner < 4; ++corner)
        EXPECT_EQ(frames(kToPins + corner), (std::vector<double>{1, 25, 33, 48}));
}

TEST_F(TimelineTest, AddedKeysHoldTheValueAndTheLastOnesLeaveIt) {
    run("Show All Parameters");
    document().edit(kOpacity, {12});
    view().select({});
    document().setFrame(7);
    TimelineRow const* row = nullptr;
    for (TimelineRow const& own : view().rows())
        if (own.index == kOpacity) row = &own;
    ASSERT_NE(row, nullptr);
    TimelineKey const place{0, {kOpacity, {}}};
    view().verticalScrollBar()->setValue(10000);
    QTest::mouseDClick(sheet(), Qt::LeftButton, {}, atFrame(place, 9));
    ASSERT_EQ(frames(kOpacity), (std::vector<double>{9}));
    EXPECT_EQ(keys(kOpacity)[0].value[0], 12);
    run("Add Key");
    EXPECT_EQ(frames(kOpacity), (std::vector<double>{7, 9}));
    document().edit(kOpacity, {30});  // at 7
    run("Delete Keys");               // the one that was added
    run("Select All Keys");
    document().setFrame(9);
    run("Delete Keys");
    EXPECT_TRUE(keys(kOpacity).empty());
    EXPECT_EQ(document().valueOf(kOpacity)[0], 12);
}

/// A shape changes the ways beside the key and no other, and straight is linear again.
TEST_F(TimelineTest, ShapesOfKeys) {
    auto const valueAt = [&](double frame) {
        return document().parameter(kOpacity).track().valueAt(document().momentOf(frame))[0];
    };
    document().changeValues("Keys", [&](std::vector<Parameter>& parameters) {
        for (int i = 0; i < 4; ++i)
            parameterIn(parameters, kOpacity)
                .editTrack()
                .set({document().momentOf(1 + 10 * i), {double(i * i)}});
    });
    auto const linear = keys(kOpacity);
    view().select({{kOpacity, linear[1].time}});
    run("Easy Ease");
    EXPECT_LT(valueAt(12), 1 + 0.1 * 3) << "slow after the key";
    EXPECT_GT(valueAt(10), 1 - 0.1 * 1) << "slow before it";
    EXPECT_EQ(valueAt(26), 4 + 0.5 * 5) << "the next way stays";
    run("Linear");
    EXPECT_EQ(keys(kOpacity), linear);
    KeySides const sides = sidesOf(document().parameter(kOpacity), linear[1].time);
    EXPECT_EQ(sides.outgoing.speed, 3 * sides.incoming.speed) << "ways of 1 and 3";
    EXPECT_GT(sides.incoming.speed, 0);
    run("Ease In");
    EXPECT_EQ(keys(kOpacity)[1].toNext, Interpolation::kLinear);
    EXPECT_EQ(keys(kOpacity)[0].toNext, Interpolation::kBezier);
    run("Linear");
    run("Ease Out");
    EXPECT_EQ(keys(kOpacity)[0].toNext, Interpolation::kLinear);
    EXPECT_EQ(keys(kOpacity)[1].toNext, Interpolation::kBezier);
    run("Hold");
    EXPECT_EQ(valueAt(20), 1);
    run("Ease In");
    EXPECT_EQ(valueAt(20), 1) << "a way that holds is not eased from its end";
}

/// Each key keeps its own number where none was typed.
TEST_F(TimelineTest, EaseByNumbersChangesWhatWasTyped) {
    auto const type = [&](KeySelection const& selection, char const* field, double number) {
        view().select(selection);
        QTimer typist;
        QObject::connect(&typist, &QTimer::timeout, [&] {
            auto* const dialog = qobject_cast<QDialog*>(QApplication::activeModalWidget());
            if (!dialog) return;
            for (auto* const box : dialog->findChildren<QDoubleSpinBox*>())
                if (box->accessibleName() == field) box->setValue(number);
            dialog->accept();
        });
        typist.start(0);
        run("Key Ease\u2026");
    };
    auto const before = keys(kToPins);
    type({keyOf(kToPins, 1).ref}, "Incoming influence", 75);
    type(keysOf(document().parameters(), {kToPins}), "Incoming speed", 20);
    EXPECT_EQ(keys(kToPins)[1].incoming, (Ease{75, 20}));
    EXPECT_EQ(keys(kToPins)[2].incoming, (Ease{before[2].incoming.influencePercent, 20}));
    for (std::size_t const i : {0, 1, 2}) EXPECT_EQ(keys(kToPins)[i].outgoing, before[i].outgoing);
}

/// While the mouse rests there, with the playhead, a box and keys.
TEST_F(TimelineTest, AHeldDragScrollsToTheEnd) {
    constexpr int kMostMs = 30000;
    auto const hold = [&](QPoint from, int side, auto const& isThere) {
        QPoint const beyond(side > 0 ? sheet()->width() + 30 : TimelineLook::kNamesPx - 30,
                            from.y() + 3);
        double const left = view().scale().left;
        QTest::mousePress(sheet(), Qt::LeftButton, {}, from);
        QTest::mouseMove(sheet(), beyond);
        EXPECT_TRUE(QTest::qWaitFor(isThere, kMostMs));
        EXPECT_GT(side * view().scale().left, side * left + 5);
        QTest::mouseRelease(sheet(), Qt::LeftButton, {}, beyond);
    };
    auto const scrollBack = [&] {
        for (int const frame : {48, 1}) document().setFrame(frame);
        return at(keyOf(kToPins, 0));
    };
    for (int i = 0; i < 2; ++i) run("Zoom Timeline In");
    hold(view().placeOfFrame(2).toPoint(), 1, [&] { return document().frame() == 48; });
    hold(view().placeOfFrame(47).toPoint(), -1, [&] { return document().frame() == 1; });
    TimelineKey const last = keyOf(kToPins, 2);
    hold(scrollBack() + QPoint(8, -2), 1, [&] { return view().selection().contains(last.ref); });
    hold(scrollBack(), 1, [&] {
        KeySelection const& moved = view().selection();
        return moved.size() == 1 && document().frameOf(moved.begin()->time) == 48;
    });
    document().undo();
    // What ends a drag ends the scrolling, and keys that go meanwhile stay away.
    for (bool const isDeleted : {false, true}) {
        QTest::mousePress(sheet(), Qt::LeftButton, {}, scrollBack());
        QPoint const beyond(sheet()->width() + 1, 40);
        QTest::mouseMove(sheet(), beyond);
        isDeleted ? run("Delete Keys") : QTest::keyClick(&view(), Qt::Key_Escape);
        QTest::mouseMove(sheet(), beyond - QPoint(100, 0));
        QTest::mouseMove(sheet(), beyond);
        QTest::qWait(60);
        double const left = view().scale().left;
        QTest::qWait(60);
        EXPECT_EQ(view().scale().left, left);
        EXPECT_EQ(frames(kToPins).size(), isDeleted ? 2u : 3u);
    }
}

TEST_F(TimelineTest, TheRulerAndTheKeysGoThroughFrames) {
    QTest::mouseClick(sheet(), Qt::LeftButton, {}, view().placeOfFrame(17).toPoint());
    EXPECT_EQ(document().frame(), 17);
    run("Next Key");
    EXPECT_EQ(document().frame(), 24);
    run("Previous Key");
    EXPECT_EQ(document().frame(), 1);
    run("Ten Frames On");
    run("Start Range Here");
    run("Last Frame");
    EXPECT_EQ(document().frame(), 48);
    run("First Frame");
    EXPECT_EQ(document().frame(), 11);
    run("Next Frame");
    EXPECT_EQ(document().frame(), 12);
    run("Play All Frames");
}

/// What was zoomed to stays until another scene is opened; the whole follows the panel.
TEST_F(TimelineTest, ZoomStaysThroughActsAndSizes) {
    auto const isWhole = [this] {
        TimeScale whole;
        whole.fit(document().firstFrame(), document().lastFrame(),
                  sheet()->width() - TimelineLook::kNamesPx);
        return std::abs(whole.pxPerFrame - view().scale().pxPerFrame) < 1e-9;
    };
    EXPECT_TRUE(isWhole());
    run("Zoom Timeline In");
    double const zoom = view().scale().pxPerFrame, left = view().scale().left;
    document().change("Feather", [](Scene& scene) { scene.featherPx = 4; });
    document().undo();
    window->resize(window->width() - 160, window->height());
    QTest::qWait(50);
    EXPECT_EQ(view().scale().pxPerFrame, zoom);
    EXPECT_EQ(view().scale().left, left);
    // What was scrolled away from the frame stays away while that is the same one.
    for (int i = 0; i < 30; ++i) wheel(*sheet(), {300, 20}, -1, Qt::ShiftModifier);
    double const away = view().scale().left;
    EXPECT_GT(away, document().frame() + 10);
    document().change("Quality", [](Scene& scene) { scene.isBest = !scene.isBest; });
    document().undo();
    EXPECT_EQ(view().scale().left, away);
    // It goes along with the frame, and with keys that the keyboard selects.
    for (int i = 0; i < 8; ++i) run("Zoom Timeline In");
    run("Last Frame");
    auto const isSeen = [&](double x) {
        return x > TimelineLook::kNamesPx && x < sheet()->width();
    };
    EXPECT_TRUE(isSeen(view().placeOfFrame(48).x()));
    QTest::keyClick(&view(), Qt::Key_Down);
    for (int i = 0; i < 3; ++i) QTest::keyClick(&view(), Qt::Key_Left);
    TimelineKey const firstKey = view().rows()[0].keys.front();
    EXPECT_TRUE(view().selection().contains(firstKey.ref));
    EXPECT_TRUE(isSeen(view().placeOf(firstKey).x()));
    window->openFile(QString::fromStdString(exampleFile("move.zelk.json")));
    EXPECT_TRUE(isWhole());
    window->resize(window->width() + 100, window->height());
    QTest::qWait(50);
    EXPECT_TRUE(isWhole());
}

TEST_F(TimelineTest, PlaysFramesThatAreReadyInOrder) {
    std::set<int> asked;
    int ready = 20;
    window->timeline().setSource(
        {[&](std::vector<int> const& frames) {
             std::vector<int> there;
             for (int const frame : frames)
                 if (frame <= ready) there.push_back(frame);
             return there;
         },
         [&](std::vector<int> const& frames) { asked.insert(frames.begin(), frames.end()); }});
    std::vector<int> shown;
    document().onChange([&](DocumentChange const& change) {
        if (change.frame) shown.push_back(document().frame());
    });
    document().setFrame(16);
    shown.clear();
    run("Play");
    EXPECT_TRUE(QTest::qWaitFor([&] { return document().frame() == 20; }));
    QTest::qWait(100);
    EXPECT_EQ(document().frame(), 20) << "the next one is waited for";
    ready = 48;
    EXPECT_TRUE(QTest::qWaitFor([&] { return document().frame() >= 22; }));
    run("Play");  // stops
    for (std::size_t i = 0; i < shown.size(); ++i) EXPECT_EQ(shown[i], 17 + int(i));
    EXPECT_TRUE(asked.contains(21));
    for (auto const& [frame, act] : {std::pair(18, "Start Range Here"), {20, "End Range Here"}}) {
        document().setFrame(frame);
        run(act);
    }
    shown.clear();
    run("Play");
    EXPECT_TRUE(QTest::qWaitFor([&] { return shown.size() >= 5; }));
    run("Play");
    shown.resize(5);
    EXPECT_EQ(shown, (std::vector{18, 19, 20, 18, 19}));
}

TEST_F(TimelineTest, PlayStopsWhereAnActBegins) {
    run("Play");
    EXPECT_TRUE(QTest::qWaitFor([&] { return document().frame() >= 3; }));
    int const frame = document().frame();
    document().beginAct("Move");
    document().edit(kOpacity, {50});
    QTest::qWait(200);
    EXPECT_EQ(document().frame(), frame);
    document().endAct();
    QTest::qWait(100);
    EXPECT_EQ(document().frame(), frame) << "it stays stopped";
}

/// Keys beside a frame's moment are that frame's: no way leads to it from itself.
TEST_F(TimelineTest, KeysBetweenFramesAreOfTheNearestOne) {
    document().changeValues("Keys", [&](std::vector<Parameter>& parameters) {
        for (double const frame : {4.6, 5.4, 8.7})
            parameterIn(parameters, kOpacity).editTrack().set({document().momentOf(frame), {50}});
    });
    document().setFrame(5);
    ParameterControl const control(document(), kOpacity, 0);
    EXPECT_FALSE(control.state().hasKeyBefore);
    EXPECT_TRUE(control.state().hasKeyAfter);
    EXPECT_EQ(control.frameOfKey(true), 9);
}

/// What has no ways between its keys stays, and the ends keep numbers for keys to come.
TEST_F(TimelineTest, EasesOfEndsStayAndHoldsHaveNone) {
    Ease const typed{40, 7};
    for (int const index : {int(kParamTransferMode), kOpacity}) {
        document().changeValues("Ease", [&](std::vector<Parameter>& parameters) {
            parameterIn(parameters, index).editTrack().set({document().momentOf(1), {2}});
            easeKeys(parameters, keysOf(parameters, {index}), {40, 7}, {40, 7});
        });
        Ease const expected = index == kOpacity ? typed : Ease{};
        EXPECT_EQ(keys(index)[0].incoming, expected);
        EXPECT_EQ(keys(index)[0].outgoing, expected);
    }
}

/// Every mode for a while, with a clock that is late at random: frames stay within the range, which
/// changes now and then, each follows the one before, and no frame comes before its time.
TEST(Playback, StaysInItsRangeAndKeepsItsTime) {
    FreshRandom random;
    for (LoopMode const mode : {LoopMode::kLoop, LoopMode::kPingPong, LoopMode::kOnce})
        for (bool const skips : {false, true}) {
            Playback playback;
            playback.setBounds(-5, 20);
            playback.setIn(3);
            playback.setOut(7);
            playback.mode = mode;
            playback.skipsFrames = skips;
            playback.start(20, 25, 100);
            EXPECT_EQ(playback.frame(), 3);
            double now = 100;
            int shown = 0;
            for (int i = 0; i < 200 && playback.isPlaying(); ++i) {
                now += 0.001 * static_cast<double>(random() % 60);
                if (i % 50 == 49) playback.clearRange();
                if (i % 50 == 49) playback.setIn(int(random() % 26) - 5);
                if (i % 50 == 49) playback.setOut(playback.in() + 3);
                int const expected = playback.following(playback.frame(), 1);
                auto const frame = playback.advance(now, [](int) { return true; });
                if (!frame) continue;
                EXPECT_GE(*frame, playback.in());
                EXPECT_LE(*frame, playback.out());
                EXPECT_TRUE(skips || *frame == expected) << *frame;
                EXPECT_GE(now, 100 + ++shown / 25. - 1e-9);
            }
            EXPECT_EQ(playback.isPlaying(), mode != LoopMode::kOnce);
            EXPECT_TRUE(mode != LoopMode::kOnce || playback.frame() == 7);
        }
}

}  // namespace
}  // namespace zelk
