// The binding's plain operations and the host's interface suites, which stand-ins answer here.
#include <gtest/gtest.h>

#include <cmath>

#include "host/PluginHost_AE_Impl.h"
#include "host/PluginRaster_AE_Impl.h"
#include "tests/host/ae_probe.h"

using namespace zelk_test;

namespace {

PluginHost_AE_Impl hostOf(ProbeCall const& call) {
    return {call.in_data, call.out_data, call.params, call.output};
}

/// What the stand-in suites were asked.
struct Asked {
    A_long cursor = -1, colorType = -1;
    int refreshes = 0, held = 0;
    std::vector<A_long> versions;
    PF_Err answer = 0;
    bool hasSuites = true;
};
Asked asked;

PF_Err appColor(A_long type, PF_App_Color* color) {
    asked.colorType = type;
    *color = {0x1234, 0xFF00, 0x00FF};
    return asked.answer;
}
PF_Err setCursorTo(A_long cursor) {
    asked.cursor = cursor;
    return asked.answer;
}
PF_Err refreshWindows() {
    ++asked.refreshes;
    return asked.answer;
}
PF_Err mouse(PF_Point* point) {
    *point = {.v = -7, .h = 300};
    return asked.answer;
}
constexpr PFAppSuite1 kApp1 = {appColor, setCursorTo};
constexpr PFAppSuite5 kApp5 = {appColor, setCursorTo, refreshWindows, mouse};

constexpr SPBasicSuite kSuites = {
    [](char const* name, A_long version, void const** suite) -> A_long {
        *suite = nullptr;
        if (!asked.hasSuites || std::strcmp(name, "PF AE App Suite") != 0) return 1;
        asked.versions.push_back(version);
        ++asked.held;
        *suite = version == 1 ? static_cast<void const*>(&kApp1) : &kApp5;
        return 0;
    },
    [](char const*, A_long) -> A_long {
        --asked.held;
        return 0;
    }};

}  // namespace

TEST(AEInterface, CursorColoursMouseAndRefreshMapToTheAppSuites) {
    ProbeHost host(kOlderAE);
    auto const result = host.bare([](ProbeCall const& call) -> PF_Err {
        call.in_data->pica_basicP = &kSuites;
        PluginHost_AE_Impl ae = hostOf(call);
        asked = {};
        constexpr A_long kCursors[] = {2, 8, 41};
        for (long n = 0; n < 3; ++n) {
            EXPECT_EQ(ae.setCursor(n), 0);
            EXPECT_EQ(asked.cursor, kCursors[n]);
        }
        EXPECT_EQ(ae.setCursor(3), 1);
        EXPECT_EQ(ae.setCursor(-1), 1);
        int r = 0, g = 0, b = 0;
        EXPECT_EQ(ae.getAppColor(0, r, g, b), 0);
        EXPECT_EQ(asked.colorType, 6);
        EXPECT_EQ((std::vector<int>{r, g, b}), (std::vector<int>{0x12, 0xFF, 0}));
        EXPECT_EQ(ae.getAppColor(1, r, g, b), 0);
        EXPECT_EQ(asked.colorType, 5);
        EXPECT_EQ(ae.getAppColor(2, r, g, b), 1);
        EXPECT_EQ(asked.versions, (std::vector<A_long>{1, 1, 1, 1, 1}));
        long x = 0, y = 0;
        EXPECT_EQ(ae.getMousePos(x, y), 0);
        EXPECT_EQ(x, 300);
        EXPECT_EQ(y, -7);
        EXPECT_EQ(asked.versions.back(), 5);

        EXPECT_EQ(ae.forceUIUpdate(), 0);  // 12.4 only asks for a redraw
        EXPECT_EQ(asked.refreshes, 0);
        EXPECT_EQ(call.out_data->out_flags, 0x20000u);
        struct Version {
            PF_SpecVersion version;
            int refreshes;
        };
        for (Version v : {Version{{12, 12}, 1}, {{11, 27}, 1}, {{13, 11}, 1}, {{13, 27}, 2}}) {
            call.in_data->version = v.version;
            EXPECT_EQ(ae.forceUIUpdate(), 0);
            EXPECT_EQ(asked.refreshes, v.refreshes);
        }
        asked.answer = 55;
        EXPECT_EQ(ae.setCursor(0), 55);
        EXPECT_EQ(ae.getAppColor(0, r, g, b), 55);
        EXPECT_EQ(ae.getMousePos(x, y), 55);
        EXPECT_EQ(ae.forceUIUpdate(), 55);
        asked.hasSuites = false;
        EXPECT_EQ(ae.setCursor(0), 516);
        EXPECT_STREQ(call.out_data->return_msg, "Failed to acquire PFAppSuite1.");
        EXPECT_EQ(ae.getMousePos(x, y), 516);
        EXPECT_STREQ(call.out_data->return_msg, "Failed to acquire PFAppSuite3.");
        EXPECT_EQ(asked.held, 0);
        call.in_data->version = kOlderAE.version;
        return 0;
    });
    EXPECT_EQ(result.code, 0);
}

TEST(AEInterface, ClockScaleAndIdentityAreTheCallRecords) {
    ProbeHost host(kModernAE);
    host.renderAt(zelk::Depth::k8, [](ProbeCall const& call) -> PF_Err {
        PluginHost_AE_Impl ae = hostOf(call);
        PF_InData& in = *call.in_data;
        in.local_time_step = 500;
        in.shutter_angle = 32768;
        in.shutter_phase = -16384;
        in.downsample_x = {1, 3};
        in.downsample_y = {2, 3};
        in.width = 100;
        in.height = 100;
        EXPECT_EQ((std::vector<int>{ae.getTimeScale(), ae.getCurrentTime(), ae.getTimeStep(),
                                    ae.getFrameLength(), ae.getLocalTimeStep()}),
                  (std::vector<int>{24000, 3000, 1000, 10000, 500}));
        float fps = 0;
        EXPECT_EQ(ae.getFPS(fps), 1);
        EXPECT_EQ(fps, 48.0f);
        EXPECT_EQ(ae.getShutterAngle(), 0.5);
        EXPECT_EQ(ae.getShutterPhase(), -0.25);
        int width = 0, height = 0;
        ae.getSourceLayerDimensions(width, height);
        EXPECT_EQ(width, 33);
        EXPECT_EQ(height, 66);
        EXPECT_EQ(ae.getScaleY(), 2.0 / 3.0);
        EXPECT_TRUE(ae.isQualityHigh());
        EXPECT_EQ(ae.getFrameIncrement(), 1);
        in.field = PF_Field_LOWER;
        EXPECT_EQ(ae.getFrameIncrement(), 2);
        EXPECT_FALSE(ae.isFieldRendering());
        int minor = 0, major = 0;
        EXPECT_EQ(ae.getHostVersionNum(minor, major), 0);
        EXPECT_EQ(minor * 100 + major, 2713);
        EXPECT_TRUE(ae.hasCamera());
        EXPECT_FALSE(ae.maintainEvenSize(nullptr));
        in.appl_id = kAppEvenSize;
        EXPECT_TRUE(ae.maintainEvenSize(nullptr));
        EXPECT_FALSE(ae.hasCamera());
        int first = 0, count = 0, phase = 9;
        ae.getFullFrameInfo(3.5, 12, first, count, phase);
        EXPECT_EQ((std::vector<int>{first, count, phase}), (std::vector<int>{12, 1, 0}));
        EXPECT_EQ(ae.getAEHost(), &ae);
        EXPECT_EQ(ae.getPathAPI(), static_cast<PluginPath_API*>(&ae));
        EXPECT_EQ(ae.getUserData(), nullptr);
        EXPECT_EQ(ae.math_atan2(1.0, -1.0), std::atan2(1.0, -1.0));
        EXPECT_EQ(ae.math_pow(2.0f, 0.5f), std::pow(2.0f, 0.5f));
        return 0;
    });
}

TEST(AEInterface, MemoryProgressAndMessages) {
    ProbeHost host(kModernAE);
    auto const result = host.bare([&](ProbeCall const& call) -> PF_Err {
        PluginHost_AE_Impl ae = hostOf(call);
        void* handle = ae.allocMemory(64);
        EXPECT_NE(ae.lockMemory(handle), nullptr);
        ae.unlockMemory(handle);
        ae.deallocMemory(handle);
        host->monitor().inject({"progress", 1, 3});
        host->monitor().inject({"abort", 1, 4});
        EXPECT_EQ(ae.progress(1, 2), 3);
        EXPECT_EQ(ae.doAbort(), 4);
        EXPECT_FALSE(ae.hasGlobalSeqData());
        ae.refreshUi();
        ae.showWarning(std::string(400, 'x').c_str());
        return 0;
    });
    EXPECT_EQ(result.message, std::string(kReturnMessageSize - 1, 'x'));
    EXPECT_EQ(result.outFlags, 0x20100u);
    EXPECT_EQ(nothingOwed(result), "nothing");
}

TEST(AEInterface, ResettingTheOriginGrowsASmallerOutput) {
    ProbeHost host(kModernAE);
    host.renderAt(zelk::Depth::k8, [](ProbeCall const& call) -> PF_Err {
        PF_EffectWorld output = *call.output;  // 5 by 4
        PluginHost_AE_Impl ae(call.in_data, call.out_data, call.params, &output);
        ae.resetOutputOrigin(5, 4, 0, 0);
        EXPECT_EQ(output.width, 5);
        EXPECT_EQ(call.out_data->origin.h, 0);
        call.out_data->width = 20;
        call.out_data->height = 11;
        ae.resetOutputOrigin(5, 9, 3, 14);
        EXPECT_EQ(output.height, 9);
        EXPECT_EQ(call.out_data->origin.h, 8);
        EXPECT_EQ(call.out_data->origin.v, -1);  // toward zero
        return 0;
    });
}

TEST(AEInterface, TransformWorldPassesTheHostItsOwnWords) {
    ProbeHost host(kModernAE);
    host.renderAt(zelk::Depth::k8, [](ProbeCall const& call) -> PF_Err {
        PluginHost_AE_Impl ae = hostOf(call);
        PF_UtilCallbacks utils = *call.in_data->utils;
        call.in_data->utils = &utils;
        PluginRaster_AE_Impl from(call.output, &ae), to(call.output, &ae);
        QV_FloatMatrix matrix{{{1, 2, 3}, {4, 5, 6}, {7, 8, 9}}};
        QV_Rect rect{1, 2, 3, 4};
        utils.transform_world = nullptr;
        EXPECT_EQ(ae.transformWorld(&from, &matrix, &rect, &to), PF_Err_INVALID_CALLBACK);
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
        EXPECT_EQ(ae.transformWorld(&from, &matrix, &rect, &to), 17);
        return 0;
    });
}

TEST(AEInterface, PathQueriesNameTheEffectAndSortTheVertex) {
    ProbeHost host(kModernAE);
    host.bare([](ProbeCall const& call) -> PF_Err {
        static PF_ProgPtr effect;
        effect = call.in_data->effect_ref;
        PF_PathDataSuite1 data = {
            [](PF_ProgPtr e, PF_PathOutlinePtr, PF_Boolean* open) -> PF_Err {
                *open = 1;
                return e == effect ? 0 : -1;
            },
            [](PF_ProgPtr, PF_PathOutlinePtr, A_long* count) -> PF_Err {
                *count = 4;
                return 0;
            },
            [](PF_ProgPtr, PF_PathOutlinePtr, A_long index, PF_PathVertexRecord* v) -> PF_Err {
                v->x = index;
                v->y = 2;
                v->tan_in_x = 3;
                v->tan_in_y = 4;
                v->tan_out_x = 5;
                v->tan_out_y = 6;
                return 0;
            }};
        PF_PathQuerySuite1 query{};
        query.PF_CheckoutPath = [](PF_ProgPtr, A_long id, A_long time, A_long, A_u_long,
                                   PF_PathOutlinePtr* path) -> PF_Err {
            *path = reinterpret_cast<PF_PathOutlinePtr>(std::intptr_t{id + time});
            return 0;
        };
        query.PF_NumPaths = [](PF_ProgPtr, A_long* count) -> PF_Err {
            *count = 2;
            return 0;
        };
        PluginHost_AE_Impl ae = hostOf(call);
        PluginPath_API* paths = ae.getPathAPI();
        void* path = nullptr;
        int count = 0;
        bool isOpen = false;
        QV_PathVertex v{};
        EXPECT_EQ(paths->NumPaths(&query, &count), 0);
        EXPECT_EQ(count, 2);
        EXPECT_EQ(paths->CheckoutPath(&query, 40, 2, 1, 1, &path), 0);
        EXPECT_EQ(reinterpret_cast<std::intptr_t>(path), 42);
        EXPECT_EQ(paths->PathIsOpen(&data, path, &isOpen), 0);
        EXPECT_TRUE(isOpen);
        EXPECT_EQ(paths->PathNumSegments(&data, path, &count), 0);
        EXPECT_EQ(count, 4);
        EXPECT_EQ(paths->PathVertexInfo(&data, path, 1, &v), 0);
        EXPECT_EQ((std::vector<double>{v.x, v.y, v.tangentInX, v.tangentInY, v.tangentOutX,
                                       v.tangentOutY}),
                  (std::vector<double>{1, 2, 3, 4, 5, 6}));
        return 0;
    });
}
