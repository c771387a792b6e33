// What the overlay draws, as a port records it.
#include <gtest/gtest.h>

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

TEST(Overlay, DrawsWhatOverlayModeAndWireframeShow) {
    struct Case {
        int overlayMode, wireframe;  ///< 0 for the default
        Calls drawing;
    };
    for (Case const& c : {Case{0, 0, kToDrawing}, Case{1, 2, kFromDrawing}, Case{2, 3, kToDrawing},
                          Case{3, 2, kFromDrawing + kToDrawing},
                          Case{3, 3, kFromDrawing + kToDrawing}, Case{3, 1, {}}})
        for (PF_WindowType shows : {PF_Window_COMP, PF_Window_LAYER}) {
            Stage s;
            s.place(kTo, {100.75, -0.5, 300.25, 250});  // the upper pins draw at -1
            if (c.overlayMode) s.set(kParamOverlayMode, c.overlayMode);
            if (c.wireframe) s.set(kParamWireframe, c.wireframe);
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
            EXPECT_TRUE(fore.blue == blue && back.blue == blue);
            EXPECT_EQ(fore.red, c.drawing.empty() ? 150 * 256 : 65280);
        }
}

TEST(Overlay, GoesWithZoomPanAndTheLayersPlace) {
    for (auto const& [panel, line, text] :
         {std::tuple(zelk::Panel{PF_Window_COMP, 0.5, {7, -3}, {10, 21}},
                     "line 62,132 162,132 ffff32", "text 167,72 To-Pin-UR ffff32"),
          {{PF_Window_COMP, 2, {-31, 8}, {}},
           "line 169,508 569,508 ffff32",
           "text 574,223 To-Pin-UR ffff32"},
          {{PF_Window_LAYER, 0.25, {5, 0}, {10, 21}},
           "line 30,62 80,62 ffff32",
           "text 85,40 To-Pin-UR ffff32"}}) {
        Stage s;
        s.events.panel() = panel;
        RecordingPort port;
        s.events.draw();
        ASSERT_EQ(port.calls.size(), 8u);
        EXPECT_EQ(port.calls[1], line);
        EXPECT_EQ(port.calls[6], text);
    }
}

TEST(Overlay, IsHiddenDuringADragUnlessAlwaysOn) {
    for (int wireframe : {1, 2, 3}) {
        SCOPED_TRACE(wireframe);
        Stage s;
        s.set(kParamWireframe, wireframe);
        RecordingPort port;
        std::string shape;  // r for a repaint, q for a quad where the drag left it, Q for another
        auto const note = [&] {
            for (std::string const& call : std::exchange(port.calls, {}))
                if (call.starts_with("text") && call.find("Pin-LR") != call.npos)
                    shape += call.find("316,264") != call.npos ? 'q' : 'Q';
        };
        s.events.repaint = [&] { note(), shape += 'r'; };
        EXPECT_EQ(s.events.click({200, 150}).handled(), wireframe != 1);
        ASSERT_TRUE(s.events.isDragging()) << "the drag needs no outline";
        note(), shape += ' ';
        s.events.drag({210, 150});
        note(), shape += ' ';
        s.events.drag({211, 149}, true);
        note(), shape += ' ';
        s.events.draw();
        note();
        EXPECT_EQ(shape, (std::array{" r r ", "QrQ rQ qrq q", "QrQ r qrq q"}[wireframe - 1]));
    }
}

TEST(Overlay, TextIsCutAt255CharactersAndLeavesTheColors) {
    RecordingPort port;
    RGBColor const back = {1, 2, 3};
    RGBColor fore = {256, 512, 768}, text = {0, 0, 65535}, after;
    RGBForeColor(&fore);
    RGBBackColor(&back);
    UI_DrawString(9, 4, -20, std::string(300, 'a').c_str(), nullptr);
    UI_DrawString(9, 4, 6, "", &text);
    LineTo(0, 0);  // from where the text ended
    EXPECT_EQ(port.calls, (Calls{"text 4,-10 " + std::string(255, 'a') + " 010203",
                                 "text 4,16  0000ff", "line 44,16 0,0 010203"}));
    GetBackColor(&after);
    EXPECT_EQ(after.blue, 3);
}

}  // namespace
