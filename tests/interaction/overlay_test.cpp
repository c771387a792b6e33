// What the overlay draws, as a port records it.
#include <gtest/gtest.h>

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

TEST(Overlay, DrawsWhatOverlayModeAndWireframeShow) {
    Calls both = kFromDrawing;
    both.insert(both.end(), kToDrawing.begin(), kToDrawing.end());
    for (auto const& [overlayMode, wireframe, drawing] : {std::tuple(0, 0, kToDrawing),
                                                          {1, 2, kFromDrawing},
                                                          {2, 3, kToDrawing},
                                                          {3, 2, both},
                                                          {3, 3, both},
                                                          {3, 1, Calls()}})
        for (PF_WindowType shows : {PF_Window_COMP, PF_Window_LAYER}) {
            Stage s;
            s.place(kTo, {100.75, -0.5, 300.25, 250});  // the upper pins draw at -1
            if (overlayMode) s.set(kParamOverlayMode, overlayMode);
            if (wireframe) s.set(kParamWireframe, wireframe);
            s.events.panel().shows = shows;
            RecordingPort port;
            EXPECT_EQ(s.events.draw().handled(), !drawing.empty());
            EXPECT_EQ(port.calls, drawing);
        }
}

TEST(Overlay, GoesWithZoomPanAndTheLayersPlace) {
    for (auto const& [panel, line, text] :
         {std::tuple(zelk::Panel{PF_Window_COMP, 0.5, {7, -3}, {10, 21}}, "line 62,132 162,132 ",
                     "text 167,72 "),
          {{PF_Window_COMP, 2, {-31, 8}, {}}, "line 169,508 569,508 ", "text 574,223 "},
          {{PF_Window_LAYER, 0.25, {5, 0}, {10, 21}}, "line 30,62 80,62 ", "text 85,40 "}}) {
        Stage s;
        s.events.panel() = panel;
        RecordingPort port;
        s.events.draw();
        EXPECT_TRUE(port.calls.at(1).starts_with(line)) << port.calls[1];
        EXPECT_TRUE(port.calls.at(6).starts_with(text)) << port.calls[6];
    }
}

TEST(Overlay, IsHiddenDuringADragUnlessAlwaysOn) {
    for (auto const& [wireframe, expected] :
         {std::pair(1, " r r ."), {2, "QrQ rQ qrq q."}, {3, "QrQ r qrq q."}}) {
        SCOPED_TRACE(wireframe);
        Stage s;
        s.set(kParamWireframe, wireframe);
        RecordingPort port;
        std::string shape;  // r for a repaint, q for a quad where the drag left it, Q for another
        auto const note = [&](char after) {
            for (std::string const& call : std::exchange(port.calls, {}))
                if (call.starts_with("text") && call.find("Pin-LR") != call.npos)
                    shape += call.find("316,264") != call.npos ? 'q' : 'Q';
            shape += after;
        };
        s.events.repaint = [&] { note('r'); };
        EXPECT_EQ(s.events.click({200, 150}).handled(), wireframe != 1);
        ASSERT_TRUE(s.events.isDragging()) << "the drag needs no outline";
        note(' ');
        s.events.drag({210, 150});
        note(' ');
        s.events.drag({211, 149}, true);
        note(' ');
        s.events.draw();
        note('.');
        EXPECT_EQ(shape, expected);
    }
}

}  // namespace
