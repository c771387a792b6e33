// The binding's plain operations and the host's interface suites, which stand-ins answer here.
#include "platform/services/ModalWindow.h"
#include "tests/host/ae_host.h"

using namespace zelk_test;

namespace {

/// What the stand-in suites were asked.
struct Asked {
    A_long cursor = -1, colorType = -1, version = 0;
    int refreshes = 0, held = 0;
    PF_Err answer = 0;
    bool hasSuites = true;
};
Asked asked;

constexpr PFAppSuite5 kApp5 = {
    [](A_long type, PF_App_Color* color) {
        asked.colorType = type;
        *color = {0x1234, 0xFF00, 0x00FF};
        return asked.answer;
    },
    [](A_long cursor) { return asked.cursor = cursor, asked.answer; },
    []() { return ++asked.refreshes, asked.answer; },
    [](PF_Point* point) { return *point = {.v = -7, .h = 300}, asked.answer; }};
constexpr PFAppSuite1 kApp1 = {kApp5.PF_AppGetColor, kApp5.PF_SetCursor};

constexpr SPBasicSuite kSuites = {
    [](char const* name, A_long version, void const** suite) -> A_long {
        *suite = nullptr;
        if (!asked.hasSuites || std::strcmp(name, "PF AE App Suite") != 0) return 1;
        asked.version = version;
        ++asked.held;
        *suite = version == 1 ? static_cast<void const*>(&kApp1) : &kApp5;
        return 0;
    },
    [](char const*, A_long) -> A_long { return --asked.held, 0; }};

/// Inside a render of an 8-bit frame.
void withAE(AEBody const& body) {
    ProbeHost host(kOlderAE);
    inRender(host, zelk::Depth::k8, body);
}

}  // namespace

TEST(AEInterface, CursorColoursMouseAndRefreshMapToTheAppSuites) {
    withAE([](PluginHost_AE_Impl& ae) {
        asked = {};
        auto const suites = std::exchange(ae.in_data->pica_basicP, &kSuites);
        constexpr A_long kCursors[] = {2, 8, 41};
        for (long n = 0; n < 3; ++n) {
            EXPECT_EQ(ae.setCursor(n), 0);
            EXPECT_EQ(asked.cursor, kCursors[n]);
        }
        EXPECT_EQ(ae.setCursor(3) + ae.setCursor(-1), 2);
        int r = 0, g = 0, b = 0;
        for (int color : {0, 1}) {
            EXPECT_EQ(ae.getAppColor(color, r, g, b), 0);
            EXPECT_EQ(asked.colorType, 6 - color);
        }
        EXPECT_EQ((std::vector<int>{r, g, b}), (std::vector<int>{0x12, 0xFF, 0}));
        EXPECT_EQ(ae.getAppColor(2, r, g, b), 1);
        EXPECT_EQ(asked.version, 1);
        long x = 0, y = 0;
        EXPECT_EQ(ae.getMousePos(x, y), 0);
        EXPECT_EQ((std::vector<long>{x, y, asked.version}), (std::vector<long>{300, -7, 5}));

        struct Version {
            PF_SpecVersion version;
            int refreshes;
        };
        // 12.4 only asks for a redraw.
        for (Version v :
             {Version{{12, 4}, 0}, {{12, 12}, 1}, {{11, 27}, 1}, {{13, 11}, 1}, {{13, 27}, 2}}) {
            ae.in_data->version = v.version;
            EXPECT_EQ(ae.forceUIUpdate(), 0);
            EXPECT_EQ(asked.refreshes, v.refreshes);
        }
        EXPECT_EQ(ae.out_data->out_flags, 0x20000u);
        for (bool hasSuites : {true, false}) {
            asked.answer = 55;
            asked.hasSuites = hasSuites;
            const int code = hasSuites ? 55 : 516;
            EXPECT_EQ(ae.setCursor(0), code);
            EXPECT_STREQ(ae.out_data->return_msg,
                         hasSuites ? "" : "Failed to acquire PFAppSuite1.");
            EXPECT_EQ(ae.getAppColor(0, r, g, b), code);
            EXPECT_EQ(ae.getMousePos(x, y), code);
        }
        EXPECT_STREQ(ae.out_data->return_msg, "Failed to acquire PFAppSuite3.");
        EXPECT_EQ(asked.held, 0);
        ae.in_data->version = kOlderAE.version;
        ae.in_data->pica_basicP = suites;
    });
}

TEST(AEInterface, TransformWorldPassesTheHostItsOwnWords) {
    withAE([](PluginHost_AE_Impl& ae) {
        PF_UtilCallbacks utils = *ae.in_data->utils;
        ae.in_data->utils = &utils;
        PluginRaster_AE_Impl image(ae.output, &ae);
        QV_FloatMatrix matrix{{{1, 2, 3}, {4, 5, 6}, {7, 8, 9}}};
        QV_Rect rect{1, 2, 3, 4};
        utils.transform_world = nullptr;
        EXPECT_EQ(ae.transformWorld(&image, &matrix, &rect, &image), PF_Err_INVALID_CALLBACK);
        utils.transform_world = [](PF_ProgPtr, A_long quality, A_long flags, A_long,
                                   PF_EffectWorld const*, PF_CompositeMode const* mode,
                                   PF_MaskWorld const* mask, PF_FloatMatrix const* m, A_long count,
                                   PF_Boolean sourceToDestination, PF_Rect const* area,
                                   PF_EffectWorld*) -> PF_Err {
            const bool isRight = quality == 1 && flags == 1 && mode->xfer == 0 &&
                                 mode->opacity == 255 && mode->opacitySu == 32768 &&
                                 !mode->rgb_only && !mask && m->mat[1][2] == 6 && count == 1 &&
                                 sourceToDestination && area->top == 1 && area->right == 4;
            return isRight ? 17 : -1;
        };
        EXPECT_EQ(ae.transformWorld(&image, &matrix, &rect, &image), 17);
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
    EXPECT_STREQ(w.lines[0].text, "Zelk");
    EXPECT_EQ(w.lines[1].text, text.substr(0, 255));
    EXPECT_EQ((std::vector<long>{w.widthPx, w.heightPx, w.pictureId, w.lines[0].aboveBottomPx,
                                 w.lines[1].aboveBottomPx, w.closingKeys[0], w.closingKeys[1]}),
              (std::vector<long>{536, 340, 130, 25, 10, 13, 27}));
    // A third down the free height, and never off screen.
    for (int freePx : {-30, 6, 600}) {
        auto const place = placeOfModalWindow(&w, 536 + freePx, 340 + freePx);
        EXPECT_EQ(place.leftPx, std::max(0, freePx / 2));
        EXPECT_EQ(place.topPx, std::max(0, freePx / 3));
    }
}

TEST(AEInterface, APathsVertexIsSorted) {
    withAE([](PluginHost_AE_Impl& ae) {
        PF_PathDataSuite1 data{};
        data.PF_PathVertexInfo = [](PF_ProgPtr, PF_PathOutlinePtr, A_long index,
                                    PF_PathVertexRecord* v) -> PF_Err {
            v->x = index, v->y = 2;
            v->tan_in_x = 3, v->tan_in_y = 4;
            v->tan_out_x = 5, v->tan_out_y = 6;
            return 0;
        };
        QV_PathVertex v{};
        EXPECT_EQ(ae.getPathAPI()->PathVertexInfo(&data, nullptr, 1, &v), 0);
        EXPECT_EQ((std::vector<double>{v.x, v.y, v.tangentInX, v.tangentInY, v.tangentOutX,
                                       v.tangentOutY}),
                  (std::vector<double>{1, 2, 3, 4, 5, 6}));
    });
}
