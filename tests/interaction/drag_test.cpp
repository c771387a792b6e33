// Clicks and drags through the module's entry: which quad is picked, and where its pins end.
#include <gtest/gtest.h>

#include <cmath>
#include <map>
#include <random>

#include "tests/interaction/stage.h"

using namespace zelk_test;

namespace {

/// A box's whole pixels; negative fractions go down.
bool holds(Box const& box, int x, int y) {
    return x >= std::floor(box.left) && x <= box.right && y >= std::floor(box.top) &&
           y <= box.bottom;
}
double areaOf(Box const& box) {
    return (box.right - std::floor(box.left)) * (box.bottom - std::floor(box.top));
}

TEST(Drag, PicksTheSmallerQuadThatIsShownAndMovesItAlone) {
    const zelk::Panel kPanels[] = {{},
                                   {PF_Window_COMP, 1, {13, -7}, {20, 30}},
                                   {PF_Window_COMP, 3, {-50, 5}, {0, 0}},
                                   {PF_Window_LAYER, 2, {9, 4}, {20, 30}}};
    constexpr Box kTos[] = {kToBox, {100.9, 100.5, 300, 250}, {-0.25, -0.5, 300, 250}};
    constexpr Box kFroms[] = {kFromBox, kToBox, {50, 50, 390, 290}};
    constexpr int kClicks[][2] = {{200, 150}, {120, 110}, {330, 150}, {20, 20},
                                  {100, 100}, {99, 100},  {-1, 0}};
    std::mt19937 random(20261126);
    for (int round = 0; round < 1000; ++round) {
        zelk::Panel const& panel = kPanels[random() % 4];
        Box const &toBox = kTos[random() % 3], &fromBox = kFroms[random() % 3];
        auto const [x, y] = kClicks[random() % 7];
        int const mode = 1 + static_cast<int>(random() % 3);
        SCOPED_TRACE(testing::Message()
                     << x << ", " << y << " mode " << mode << " round " << round);
        Stage s;
        s.events.panel() = panel;
        s.set(kParamOverlayMode, mode);
        s.place(kTo, toBox);
        s.place(kFrom, fromBox);
        zelk::setPoint(s.value(kFrom[3]), fromBox.right, fromBox.bottom + 0.375);
        auto const to = s.fixed(kTo), from = s.fixed(kFrom);
        bool const isTo = mode >= 2 && holds(toBox, x, y);
        bool const isFrom = mode != 2 && holds(fromBox, x, y);
        bool const picksFrom = isFrom && !(isTo && areaOf(toBox) < areaOf(fromBox));
        auto const clicked = s.events.click(s.at(x, y));
        EXPECT_EQ(s.host.monitor().count("comp_to_layer"), panel.shows == PF_Window_COMP);
        EXPECT_EQ(clicked.handled() && clicked.asksForDrag && clicked.redrawn, isTo || isFrom);
        if (!isTo && !isFrom) continue;
        EXPECT_TRUE(s.events.drag(s.at(x + 7, y - 40)).asksForDrag);
        EXPECT_EQ(s.fixed(kTo), picksFrom ? to : moved(to, 7, -40));
        auto const last = s.events.drag(s.at(x - 300, y + 2), true);
        EXPECT_TRUE(last.handled() && !last.asksForDrag && !s.events.isDragging());
        EXPECT_EQ(s.fixed(kTo), picksFrom ? to : moved(to, -300, 2));
        EXPECT_EQ(s.fixed(kFrom), picksFrom ? moved(from, -300, 2) : from);
    }
}

TEST(Drag, HalfSizePanelsMoveByTheWholeLayerPixelUnderTheMouse) {
    Stage s;
    s.events.panel() = {PF_Window_COMP, 0.75, {0.5, 0}, {}};
    auto const to = s.fixed(kTo);
    s.events.click({150, 120});  // (150 - 0.5) / 0.75 = 199.33, 120 / 0.75 = 160
    s.events.drag({151, 122});   // 200.67, 162.67
    EXPECT_EQ(s.fixed(kTo), moved(to, 1, 2));
    s.events.drag({-1, 0}, true);  // -2 exactly, 0
    EXPECT_EQ(s.fixed(kTo), moved(to, -201, -160));
}

// 400 pixels double, and -200 halve, but for the single precision of 0.0025; ends 4 and 0.001;
// toward zero. The From pins, which are not shown, stand where the To pins have to end.
TEST(Drag, ShiftScalesAboutTheClick) {
    // From the click at 200, 150; and what becomes of the box 100, 100, 300, 250.
    constexpr std::tuple<int, int, Box> kScalings[] = {
        {400, 0, {0, 100, 399, 250}},       {0, 400, {100, 50, 300, 349}},
        {-200, 0, {149, 100, 250, 250}},    {-399, 0, {199, 100, 200, 250}},
        {0, 200, {100, 75, 300, 299}},      {9000, 1300, {-200, -50, 600, 550}},
        {-9000, -400, {199, 149, 200, 150}}};
    for (auto const& [dx, dy, box] : kScalings) {
        SCOPED_TRACE(testing::Message() << dx << ", " << dy);
        Stage s;
        s.place(kTo, {100.5, 100.25, 300.75, 250.5});
        s.place(kFrom, box);
        s.events.click(s.at(200, 150, PF_Mod_SHIFT_KEY | PF_Mod_CAPS_LOCK_KEY));
        s.events.drag(s.at(17, 900));  // leaves no trace, as sizes are those at the click
        s.events.drag(s.at(200 + dx, 150 + dy));
        EXPECT_EQ(s.fixed(kTo), s.fixed(kFrom));
        s.events.drag(s.at(205 + dx, 147 + dy), true);  // the last event moves
        s.events.click(s.at(box.left + 5, box.top - 3));
        s.events.drag(s.at(box.left + 8, box.top - 3), true);
        EXPECT_EQ(s.fixed(kTo), moved(s.fixed(kFrom), 8, -3)) << "Shift has ended";
    }
}

TEST(Drag, PinsStayWithin16BitsAndKeepTheirFractions) {
    Stage s;
    s.place(kTo, {-32768 + 0.25, -100, 32767 + 0.75, 32000});
    s.place(kFrom, {-2768 + 0.25, -32768, 32767 + 0.75, -768});
    s.events.click({0, 0});
    s.events.drag({30000, -32768});
    EXPECT_EQ(s.fixed(kTo), s.fixed(kFrom));
    s.place(kTo, {-30000, -20000, 30000, 20000});
    s.place(kFrom, {-32768, -20, 32767, 20});
    s.events.click({0, 0, PF_Mod_SHIFT_KEY});
    s.events.drag({32767, -9000});  // four times, and a thousandth
    EXPECT_EQ(s.fixed(kTo), s.fixed(kFrom));
}

TEST(Drag, ToolsPanelsAndHostsThatLeaveTheClickAlone) {
    struct Case {
        zelk::HostIdentity identity;
        A_u_char tool;
        bool isTaken;
        PF_WindowType shows = PF_Window_COMP;
        bool offerSuites = true;
    };
    for (Case const& c :
         {Case{{}, 1, true, PF_Window_LAYER}, Case{{}, 2, false},
          Case{{}, 1, false, PF_Window_EFFECT}, Case{{}, 1, false, PF_Window_PREVIEW},
          Case{{kAppPremierePro, {13, 27}}, 1, false}, Case{{kAppAfterEffects, {11, 27}}, 2, true},
          Case{{kAppMotion, {12, 27}}, 2, false}, Case{{}, 2, true, PF_Window_COMP, false}}) {
        Stage s({.identity = c.identity, .offerSuites = c.offerSuites});
        s.host.setCurrentTool(c.tool);
        s.events.panel().shows = c.shows;
        EXPECT_EQ(s.events.click({120, 110}).handled() && s.events.isDragging(), c.isTaken);
    }
    Stage s;
    s.host.monitor().restart();
    for (A_long type : {-1, 0, 1, 5, 6, 99}) {
        PF_EventExtra extra{};
        extra.e_type = static_cast<PF_EventType>(type);
        s.host.event(extra, s.events.frame);
        EXPECT_FALSE(extra.evt_out_flags || !s.host.monitor().log().empty()) << type;
    }
}

// A code from the host is not passed on, and a suite goes back unless its answer was refused.
TEST(Drag, EveryHostCallRefused) {
    auto const act = [](Stage& s) {
        s.host.monitor().restart();
        PF_Err const clicked = s.events.click({120, 110}).command.code;
        if (!s.events.isDragging()) return clicked;
        return clicked | s.events.drag({125, 115}, true).command.code;
    };
    Stage first;
    act(first);
    std::map<std::string, int> nth;
    for (std::string const& call : first.host.monitor().log()) {
        Stage s;
        s.host.monitor().inject({call, ++nth[call], 77, call.starts_with("Release")});
        EXPECT_EQ(act(s) | s.events.draw().command.code, 0) << call;
        EXPECT_EQ(s.host.monitor().outstanding.suites, call.ends_with("GetCurrentTool")) << call;
    }
    EXPECT_GE(nth.size(), 7u);
}

}  // namespace
