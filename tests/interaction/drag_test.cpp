// Clicks and drags through the module's entry: which quad is picked, and where its pins end.
#include <gtest/gtest.h>

#include <map>

#include "tests/interaction/stage.h"

using namespace zelk_test;

namespace {

constexpr Box kBigBox = {50, 50, 390, 290};

struct Pick {
    char const* what;
    int mode;  ///< Overlay Mode
    double x, y;
    char quad;  ///< 'T', 'F' or '-'
    Box to = kToBox, from = kFromBox;
};

constexpr Pick kPicks[] = {
    {"both, From smaller", 3, 200, 150, 'F'},
    {"both, To smaller", 3, 200, 150, 'T', kToBox, kBigBox},
    {"both alike", 3, 200, 150, 'F', kToBox, kToBox},
    {"both, only To shown", 2, 200, 150, 'T'},
    {"both, only From shown", 1, 200, 150, 'F'},
    {"both, only From shown, To smaller", 1, 200, 150, 'F', kToBox, kBigBox},
    {"To alone", 3, 120, 110, 'T'},
    {"To alone, not shown", 1, 120, 110, '-'},
    {"From alone", 3, 330, 150, 'F'},
    {"From alone, not shown", 2, 330, 150, '-'},
    {"none", 3, 20, 20, '-'},
    {"on the edge of a pin's pixel", 2, 100, 100, 'T', {100.9, 100.5, 300, 250}},
    {"beside it", 2, 99, 100, '-', {100.9, 100.5, 300, 250}},
    {"negative fractions go down", 2, -1, 0, 'T', {-0.25, -0.5, 300, 250}},
};

const zelk::Panel kPanels[] = {
    {},
    {PF_Window_COMP, 1, {13, -7}, {20, 30}},
    {PF_Window_COMP, 3, {-50, 5}, {0, 0}},
    {PF_Window_LAYER, 2, {9, 4}, {20, 30}},
};

TEST(Drag, PicksAndMovesOneQuad) {
    for (zelk::Panel const& panel : kPanels)
        for (Pick const& c : kPicks) {
            SCOPED_TRACE(c.what + std::string(", zoom ") + std::to_string(panel.zoom));
            Stage s;
            s.events.panel() = panel;
            s.set(kParamOverlayMode, c.mode);
            s.place(kTo, c.to);
            s.place(kFrom, c.from);
            zelk::setPoint(s.value(kFrom[3]), c.from.right, c.from.bottom + 0.375);
            auto const to = s.fixed(kTo), from = s.fixed(kFrom);
            s.host.monitor().restart();
            auto const clicked = s.events.click(s.at(c.x, c.y));
            EXPECT_EQ(s.host.monitor().count("comp_to_layer"), panel.shows == PF_Window_COMP);
            ASSERT_EQ(clicked.command.outstanding.describe(), "nothing");
            EXPECT_EQ(clicked.handled() && clicked.asksForDrag && clicked.redrawn, c.quad != '-');
            if (c.quad == '-') continue;
            auto const dragged = s.events.drag(s.at(c.x + 7, c.y - 40));
            EXPECT_TRUE(dragged.handled() && dragged.asksForDrag);
            EXPECT_EQ(s.fixed(kTo), c.quad == 'T' ? moved(to, 7, -40) : to);
            auto const last = s.events.drag(s.at(c.x - 300, c.y + 2), true);
            EXPECT_TRUE(last.handled() && !last.asksForDrag && !s.events.isDragging());
            EXPECT_EQ(s.fixed(kTo), c.quad == 'T' ? moved(to, -300, 2) : to);
            EXPECT_EQ(s.fixed(kFrom), c.quad == 'F' ? moved(from, -300, 2) : from);
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

struct Scaling {
    int dx, dy;  ///< from the click at 200, 150
    Box box;     ///< that was 100, 100, 300, 250
};

// 400 pixels double, and -200 halve, but for the single precision of 0.0025; ends 4 and 0.001;
// toward zero.
constexpr Scaling kScalings[] = {
    {0, 0, {100, 100, 300, 250}},        {400, 0, {0, 100, 399, 250}},
    {0, 400, {100, 50, 300, 349}},       {1200, 0, {-199, 100, 599, 250}},
    {9000, 1300, {-200, -50, 600, 550}}, {-200, 0, {149, 100, 250, 250}},
    {-399, 0, {199, 100, 200, 250}},     {-9000, -400, {199, 149, 200, 150}},
    {0, 200, {100, 75, 300, 299}},
};

TEST(Drag, ShiftScalesAboutTheClick) {
    for (Scaling const& c : kScalings) {
        SCOPED_TRACE(std::to_string(c.dx) + ", " + std::to_string(c.dy));
        Stage s;
        s.place(kTo, {100.5, 100.25, 300.75, 250.5});
        s.events.click(s.at(200, 150, PF_Mod_SHIFT_KEY | PF_Mod_CAPS_LOCK_KEY));
        s.events.drag(s.at(17, 900));  // leaves no trace, as sizes are those at the click
        s.events.drag(s.at(200 + c.dx, 150 + c.dy));
        Stage want;
        want.place(kTo, c.box);
        EXPECT_EQ(s.fixed(kTo), want.fixed(kTo));
        s.events.drag(s.at(205 + c.dx, 147 + c.dy), true);  // the last event moves
        EXPECT_EQ(s.fixed(kTo), moved(want.fixed(kTo), 5, -3));
        s.events.click(s.at(0.0 + s.fixed(kTo)[0] / 65536, s.fixed(kTo)[1] / 65536));
        s.events.drag(s.at(3 + s.fixed(kTo)[0] / 65536, s.fixed(kTo)[1] / 65536), true);
        EXPECT_EQ(s.fixed(kTo), moved(want.fixed(kTo), 8, -3)) << "Shift has ended";
    }
}

TEST(Drag, PinsStayWithin16BitsAndKeepTheirFractions) {
    Stage s;
    s.place(kTo, {-32768 + 0.25, -100, 32767 + 0.75, 32000});
    s.events.click({0, 0});
    s.events.drag({30000, -32768});
    Stage want;
    want.place(kTo, {-2768 + 0.25, -32768, 32767 + 0.75, -768});
    EXPECT_EQ(s.fixed(kTo), want.fixed(kTo));
    s.place(kTo, {-30000, -20000, 30000, 20000});
    s.events.click({0, 0, PF_Mod_SHIFT_KEY});
    s.events.drag({32767, 400});
    EXPECT_EQ(s.fixed(kTo)[0], -32768 * 65536);
    EXPECT_EQ(s.fixed(kTo)[4], 32767 * 65536);
    s.place(kTo, {-20000, -7000, 20000, 7000});
    s.events.click({0, 0, PF_Mod_SHIFT_KEY});
    s.events.drag({-9000, 9000});  // a thousandth, and four times
    want.place(kTo, {-20, -28000, 20, 28000});
    EXPECT_EQ(s.fixed(kTo), want.fixed(kTo));
}

TEST(Drag, ToolsPanelsAndHostsThatLeaveTheClickAlone) {
    struct Case {
        zelk::HostIdentity identity;
        A_u_char tool;
        PF_WindowType shows = PF_Window_COMP;
        bool offerSuites = true, isTaken = false;
        int calls = 0;  ///< of PF_GetCurrentTool
    };
    for (Case const& c :
         {Case{{}, 1, PF_Window_LAYER, true, true, 1}, Case{{}, 2, PF_Window_COMP, true, false, 1},
          Case{{}, 1, PF_Window_EFFECT}, Case{{}, 1, PF_Window_PREVIEW},
          Case{{kAppPremierePro, {13, 27}}, 1},
          Case{{kAppAfterEffects, {11, 27}}, 2, PF_Window_COMP, true, true, 0},
          Case{{kAppMotion, {12, 27}}, 2, PF_Window_COMP, true, false, 1},
          Case{{}, 2, PF_Window_COMP, false, true, 0}}) {
        Stage s({.identity = c.identity, .offerSuites = c.offerSuites});
        s.host.setCurrentTool(c.tool);
        s.events.panel().shows = c.shows;
        auto const clicked = s.events.click({120, 110});
        EXPECT_EQ(clicked.command.code, 0);
        EXPECT_EQ(clicked.command.outstanding.describe(), "nothing");
        EXPECT_EQ(clicked.handled() && s.events.isDragging(), c.isTaken);
        EXPECT_EQ(s.host.monitor().count("AE Plugin Helper Suite 1/PF_GetCurrentTool"), c.calls);
    }
    Stage s;
    s.host.monitor().restart();
    for (A_long type : {-1, 0, 1, 5, 6, 99}) {
        auto const result = s.events.send(type);
        EXPECT_FALSE(result.command.code || result.handled() || result.command.touchedOutData);
        EXPECT_TRUE(s.host.monitor().log().empty()) << type;
    }
    EXPECT_THROW(s.events.drag({1, 1}), zelk::HostError);
    EXPECT_EQ(s.host.bareCommand(PF_Cmd_EVENT).code, 0);
}

// A code from the host is not passed on, and a suite goes back unless its answer was refused.
TEST(Drag, EveryHostCallRefused) {
    auto const act = [](Stage& s) {
        s.host.monitor().restart();
        PF_Err codes = s.events.click({120, 110}).command.code;
        if (s.events.isDragging()) codes |= s.events.drag({130, 105}).command.code;
        if (s.events.isDragging()) codes |= s.events.drag({125, 115}, true).command.code;
        return codes | s.events.draw().command.code;
    };
    Stage first;
    act(first);
    std::map<std::string, int> nth;
    for (std::string const& call : first.host.monitor().log()) {
        Stage s;
        s.events.panel().pan = {40, 20};
        s.host.monitor().inject({call, ++nth[call], 77, call.starts_with("Release")});
        EXPECT_EQ(act(s), 0) << call;
        EXPECT_EQ(s.host.monitor().outstanding.suites, call.ends_with("GetCurrentTool")) << call;
    }
    EXPECT_GE(nth.size(), 7u);
}

}  // namespace
