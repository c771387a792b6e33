// What the overlay draws, as a port records it.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>

#include "interaction/DrawEvent.h"
#include "tests/interaction/stage.h"
#include "tests/support/recording_port.h"

using namespace zelk_test;
using Calls = std::vector<std::string>;

namespace {

Calls const kToDrawing = {"line 100,-1 100,250 ffff32",   "line 100,250 300,250 ffff32",
                          "line 300,250 300,-1 ffff32",   "line 300,-1 100,-1 ffff32",
                          "text 105,14 To-Pin-UL ffff32", "text 105,265 To-Pin-LL ffff32",
                          "text 305,14 To-Pin-UR ffff32", "text 305,265 To-Pin-LR ffff32"};
Calls const kFromDrawing = {"line 150,120 150,200 9696ff",     "line 150,200 350,200 9696ff",
                            "line 350,200 350,120 9696ff",     "line 350,120 150,120 9696ff",
                            "text 155,135 From-Pin-UL 9696ff", "text 155,215 From-Pin-LL 9696ff",
                            "text 355,135 From-Pin-UR 9696ff", "text 355,215 From-Pin-LR 9696ff"};

Calls operator+(Calls a, Calls const& b) {
    a.insert(a.end(), b.begin(), b.end());
    return a;
}

/// The To quad's upper pins half a pixel above the layer: they draw at -1.
void prepare(Stage& s, int overlayMode, int wireframe) {
    s.place(kTo, {100.75, -0.5, 300.25, 250});
    if (overlayMode) s.set(kParamOverlayMode, overlayMode);
    if (wireframe) s.set(kParamWireframe, wireframe);
}

TEST(Overlay, DrawsWhatOverlayModeAndWireframeShow) {
    struct Case {
        int overlayMode, wireframe;  ///< 0 for the default
        Calls drawing;
    };
    const Case cases[] = {{0, 0, kToDrawing},
                          {1, 2, kFromDrawing},
                          {2, 3, kToDrawing},
                          {3, 2, kFromDrawing + kToDrawing},
                          {3, 3, kFromDrawing + kToDrawing},
                          {3, 1, {}}};
    for (Case const& c : cases)
        for (PF_WindowType shows : {PF_Window_COMP, PF_Window_LAYER}) {
            Stage s;
            prepare(s, c.overlayMode, c.wireframe);
            s.events.panel().shows = shows;
            RecordingPort port;
            auto const drawn = s.events.draw();
            EXPECT_EQ(port.calls, c.drawing);
            EXPECT_EQ(drawn.command.code, 0);
            EXPECT_EQ(drawn.handled(), !c.drawing.empty());
            RGBColor fore, back;
            GetForeColor(&fore);
            GetBackColor(&back);
            const int blue = c.drawing.empty() ? 65280 : 50 * 256;  // From's stays where hidden
            EXPECT_EQ(fore.blue, blue);
            EXPECT_EQ(back.blue, blue);
            EXPECT_EQ(fore.red, c.drawing.empty() ? 150 * 256 : 65280);
        }
}

TEST(Overlay, GoesWithZoomPanAndTheLayersPlace) {
    for (zelk::Panel const& panel : {zelk::Panel{PF_Window_COMP, 0.5, {7, -3}, {10, 21}},
                                     zelk::Panel{PF_Window_COMP, 2, {-31, 8}, {}},
                                     zelk::Panel{PF_Window_LAYER, 0.3, {5, 0}, {10, 21}}}) {
        Stage s;
        s.events.panel() = panel;
        RecordingPort port;
        s.events.draw();
        auto const at = [&](double x, double y, int offset) {
            zelk::PanelPoint const p = panel.toFrame(panel.toComp({x, y}));
            // A place that the zoom leaves between two 1/65536 may come out at the lower pixel.
            return std::to_string(int(std::floor(p.x + 1e-6)) + offset) + "," +
                   std::to_string(int(std::floor(p.y + 1e-6)) + offset + (offset ? 10 : 0));
        };
        ASSERT_EQ(port.calls.size(), 8u);
        EXPECT_EQ(port.calls[1], "line " + at(100, 250, 0) + " " + at(300, 250, 0) + " ffff32");
        EXPECT_EQ(port.calls[6], "text " + at(300, 100, 5) + " To-Pin-UR ffff32");
    }
}

TEST(Overlay, IsHiddenDuringADragUnlessAlwaysOn) {
    for (int wireframe : {1, 2, 3}) {
        SCOPED_TRACE(wireframe);
        Stage s;
        s.set(kParamWireframe, wireframe);
        RecordingPort port;
        s.events.repaint = [&] { port.calls.push_back("repaint"); };
        auto const taken = [&] {
            Calls calls;
            std::swap(calls, port.calls);
            std::string shape;  // r for a repaint, q for a quad with its labels
            for (std::string const& call : calls)
                if (call == "repaint")
                    shape += 'r';
                else if (call.find("Pin-LR") != call.npos)
                    shape += 'q';
            return shape;
        };
        auto const clicked = s.events.click({200, 150});
        EXPECT_EQ(clicked.handled(), wireframe != 1);
        EXPECT_EQ(taken(), wireframe == 1 ? "" : "qrq");
        ASSERT_TRUE(s.events.isDragging()) << "the drag needs no outline";
        s.events.drag({210, 150});
        EXPECT_EQ(taken(), wireframe == 2 ? "rq" : "r");
        s.events.drag({211, 149}, true);
        EXPECT_NE(wireframe == 1, std::count(port.calls.begin(), port.calls.end(),
                                             "line 111,99 111,249 ffff32") == 2)
            << "where the drag left it";
        EXPECT_EQ(taken(), wireframe == 1 ? "r" : "qrq");
        s.events.draw();
        EXPECT_EQ(taken(), wireframe == 1 ? "" : "q");
    }
}

TEST(Overlay, ColorsAreTheControlsShiftedByEightBits) {
    Stage s;
    for (int level : {0, 1, 128, 255}) {
        auto const byte = static_cast<A_u_char>(level);
        zelk::setColor(s.value(kParamToWireframeColor), {3, byte, 7, 9});
        RecordingPort port;
        s.events.draw();
        EXPECT_EQ(port.exact.red, level * 256);
        EXPECT_EQ(port.exact.green, 7 * 256);
        EXPECT_EQ(port.exact.blue, 9 * 256);
    }
}

TEST(Overlay, TextIsCutAt255CharactersAndLeavesTheColors) {
    RecordingPort port;
    RGBColor const back = {1, 2, 3};
    RGBColor fore = {256, 512, 768}, text = {0, 0, 65535};
    RGBForeColor(&fore);
    RGBBackColor(&back);
    UI_DrawString(9, 4, -20, std::string(300, 'a').c_str(), nullptr);
    UI_DrawString(9, 4, 6, "", &text);
    EXPECT_EQ(port.calls,
              (Calls{"text 4,-10 " + std::string(255, 'a') + " 010203", "text 4,16  0000ff"}));
    RGBColor after;
    GetForeColor(&after);
    EXPECT_EQ(after.green, 512);
    GetBackColor(&after);
    EXPECT_EQ(after.blue, 3);
    LineTo(0, 0);  // from where the text ended
    EXPECT_EQ(port.calls.back(), "line 44,16 0,0 010203");
}

}  // namespace
