// What the binding asks of the host's interface: stand-ins answer here and write down the call.
#include <fmt/format.h>
#include <fmt/ranges.h>

#include "platform/services/ModalWindow.h"
#include "tests/host/ae_host.h"

using namespace zelk_test;

namespace {

/// "[1 cursor 2]" is version 1 of the suite, lent for that call.
std::string asked;
PF_Err answer = 0;

template <class... Values>
PF_Err note(fmt::format_string<Values...> format, Values&&... values) {
    asked += fmt::format(format, std::forward<Values>(values)...);
    return answer;
}

constexpr PFAppSuite5 kApp5 = {
    [](A_long type, PF_App_Color* color) {
        *color = {0x1234, 0xFF00, 0x00FF};
        return note("color {}", type);
    },
    [](A_long cursor) { return note("cursor {}", cursor); }, []() { return note("refresh"); },
    [](PF_Point* point) { return *point = {.v = -7, .h = 300}, note("mouse"); }};
constexpr PFAppSuite1 kApp1 = {kApp5.PF_AppGetColor, kApp5.PF_SetCursor};

constexpr SPBasicSuite kSuites = {
    [](char const* name, A_long version, void const** suite) -> A_long {
        EXPECT_STREQ(name, "PF AE App Suite");
        note("[{} ", version);
        *suite = version == 1 ? static_cast<void const*>(&kApp1) : &kApp5;
        return 0;
    },
    [](char const*, A_long) -> A_long { return note("]"), 0; }};

/// Inside a render of an 8-bit frame.
void withAE(AEBody const& body) {
    ProbeHost host(kOlderAE);
    inRender(host, zelk::Depth::k8, body);
}

}  // namespace

TEST(AEInterface, CursorColoursMouseAndRefreshMapToTheAppSuites) {
    withAE([](PluginHost_AE_Impl& ae) {
        auto const suites = std::exchange(ae.in_data->pica_basicP, &kSuites);
        int r = 0, g = 0, b = 0;
        long x = 0, y = 0;
        for (long n = -1; n < 4; ++n) EXPECT_EQ(ae.setCursor(n), n < 0 || n > 2);
        for (int n = -1; n < 3; ++n) EXPECT_EQ(ae.getAppColor(n, r, g, b), n < 0 || n > 1);
        EXPECT_EQ(ae.getMousePos(x, y), 0);
        for (PF_SpecVersion version : {PF_SpecVersion{12, 4}, {12, 12}, {11, 27}, {13, 11}}) {
            ae.in_data->version = version;  // all but 12.12 only ask for a redraw
            EXPECT_EQ(ae.forceUIUpdate(), 0);
        }
        EXPECT_EQ(asked,
                  "[1 cursor 2][1 cursor 8][1 cursor 41][1 color 6][1 color 5][5 mouse]"
                  "[5 refresh]");
        EXPECT_EQ(fmt::format("{} {} {}, {} {}", r, g, b, x, y), "18 255 0, 300 -7");
        EXPECT_EQ(ae.out_data->out_flags, 0x20000u);
        answer = 55;
        for (int code : {55, 516}) {
            EXPECT_EQ(ae.getMousePos(x, y), code);
            EXPECT_STREQ(ae.out_data->return_msg,
                         code == 55 ? "" : "Failed to acquire PFAppSuite3.");
            EXPECT_EQ(ae.setCursor(0) + ae.getAppColor(0, r, g, b), 2 * code);
            ae.in_data->pica_basicP = nullptr;
        }
        EXPECT_STREQ(ae.out_data->return_msg, "Failed to acquire PFAppSuite1.");
        ae.in_data->version = kOlderAE.version;
        ae.in_data->pica_basicP = suites;
    });
}

TEST(AEInterface, TransformWorldAndPathsPassTheHostItsOwnWords) {
    withAE([](PluginHost_AE_Impl& ae) {
        PF_UtilCallbacks utils = *ae.in_data->utils;
        ae.in_data->utils = &utils;
        ae.in_data->field = PF_Field_LOWER;
        PluginRaster_AE_Impl image(ae.output, &ae);
        QV_FloatMatrix matrix{{{1, 2, 3}, {4, 5, 6}, {7, 8, 9}}};
        QV_Rect rect{1, 2, 3, 4};
        utils.transform_world = nullptr;
        EXPECT_EQ(ae.transformWorld(&image, &matrix, &rect, &image), PF_Err_INVALID_CALLBACK);
        utils.transform_world = [](PF_ProgPtr, A_long quality, A_long flags, A_long field,
                                   PF_EffectWorld const*, PF_CompositeMode const* mode,
                                   PF_MaskWorld const* mask, PF_FloatMatrix const* m, A_long count,
                                   PF_Boolean sourceToDestination, PF_Rect const* area,
                                   PF_EffectWorld*) -> PF_Err {
            EXPECT_FALSE(mask);
            asked = fmt::format("{} {} {}, {} {} {} {}, {} {} {}, {} {} {} {}", quality, flags,
                                field, int(mode->xfer), mode->opacity, mode->opacitySu,
                                mode->rgb_only, m->mat[1][2], count, sourceToDestination, area->top,
                                area->left, area->bottom, area->right);
            return 17;
        };
        EXPECT_EQ(ae.transformWorld(&image, &matrix, &rect, &image), 17);
        EXPECT_EQ(asked, "1 1 2, 0 255 32768 0, 6 1 1, 1 2 3 4");

        PF_PathDataSuite1 data{};
        data.PF_PathVertexInfo = [](PF_ProgPtr, PF_PathOutlinePtr, A_long index,
                                    PF_PathVertexRecord* v) -> PF_Err {
            v->x = index, v->y = 2, v->tan_in_x = 3, v->tan_in_y = 4, v->tan_out_x = 5;
            return v->tan_out_y = 6, 0;
        };
        QV_PathVertex v{};
        EXPECT_EQ(ae.getPathAPI()->PathVertexInfo(&data, nullptr, 1, &v), 0);
        EXPECT_EQ(fmt::format("{} {} {} {} {} {}", v.x, v.y, v.tangentInX, v.tangentInY,
                              v.tangentOutX, v.tangentOutY),
                  "1 2 3 4 5 6");
    });
}

TEST(AEInterface, TheAboutBoxNeedsAnApplicationThatShowsIt) {
    std::vector<ModalWindow> shown;
    const ModalWindowBackend recorder = {
        &shown, [](void* to, ModalWindow const* window) {
            static_cast<std::vector<ModalWindow>*>(to)->push_back(*window);
        }};
    ModalWindowBackend const* const none = nullptr;
    const std::string text(300, 'x');
    withAE([&](PluginHost_AE_Impl& ae) {
        for (auto backend : {none, &recorder, none}) {
            installModalWindowBackend(backend);
            ae.showAboutBox(1, reinterpret_cast<void*>(130), nullptr, "Zelk", text.c_str());
        }
    });
    ASSERT_EQ(shown.size(), 1u);
    ModalWindow const& w = shown[0];
    EXPECT_EQ(w.lines[1].text, text.substr(0, 255));
    EXPECT_EQ(fmt::format("{} {} {} {} {} {} {}", w.lines[0].text, w.widthPx, w.heightPx,
                          w.pictureId, w.lines[0].aboveBottomPx, w.lines[1].aboveBottomPx,
                          fmt::join(w.closingKeys, " ")),
              "Zelk 536 340 130 25 10 13 27");
    // A third down the free height, and never off screen.
    for (int freePx : {-30, 6, 600}) {
        auto const place = placeOfModalWindow(&w, 536 + freePx, 340 + freePx);
        EXPECT_EQ(place.leftPx, std::max(0, freePx / 2));
        EXPECT_EQ(place.topPx, std::max(0, freePx / 3));
    }
}
