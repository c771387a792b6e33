// The camera query: what it answers with a camera and without, and with every host call refused.
#include <gtest/gtest.h>

#include "effect/HostCamera.h"
#include "host/AEGP_SuiteHandler.h"
#include "tests/host/ae_host.h"

namespace {

using zelk_test::ProbeHost;

/// Asks in a render, where nothing may be kept; checks that it ends with `code` and, by `camera`,
/// what was found.
void expectAnswer(ProbeHost& host, int code, std::optional<zelk::Camera> const& camera) {
    host->monitor().restart();
    zelk_test::inRender(host, zelk::Depth::k8, [&](PluginHost_AE_Impl& ae) {
        QV_Matrix4 matrix{};
        bool found = true;
        double zoom = 0, distance = 0;
        int width = 0, height = 0, answer = -1;
        try {
            answer = GetCameraMatrix(&ae, &matrix, 1000, 24000, found, &zoom, 5, 4, width, height,
                                     distance);
        } catch (int thrown) {
            answer = thrown;
        }
        EXPECT_EQ(answer, code);
        EXPECT_EQ(found, camera.has_value());
        EXPECT_EQ(zoom, camera ? camera->zoom : 1.0);
        if (!camera) return;
        EXPECT_EQ(std::memcmp(&matrix, &camera->matrix, sizeof matrix), 0);
        EXPECT_TRUE(distance == 777.25 && width == 1280 && height == 720);
    });
}

TEST(GetCameraMatrix, AnswersFromTheHostsCamera) {
    zelk::Camera camera{{}, 777.25, 1280, 720, 1555.5};
    for (int i = 0; i < 16; ++i) camera.matrix.mat[i / 4][i % 4] = i + 0.5;
    ProbeHost host(zelk_test::kModernAE), premiere(zelk_test::kModernPremiere);
    expectAnswer(host, 0, std::nullopt);
    host->setCamera(camera);
    expectAnswer(host, 0, camera);

    // Every call refused in turn: a suite ends it with 516, anything else with no camera found. So
    // does a call that does its work and fails all the same, or one that gives null.
    std::map<std::string, int> nth;
    for (std::string const& call : std::vector<std::string>(host->monitor().log())) {
        if (call.find("AEGP") == std::string::npos || call.starts_with("Release")) continue;
        std::vector<zelk::Fault> faults = {{call, ++nth[call], 31}, {call, nth[call], 31, true}};
        for (char const* given : {"GetEffectCamera", "GetFirstProjItem", "GetCompFromItem"})
            if (call.ends_with(given)) faults.push_back({call, 1, PF_Err_NONE});
        for (zelk::Fault const& fault : faults) {
            SCOPED_TRACE(call);
            host->monitor().inject(fault);
            expectAnswer(host, call.starts_with("Acquire") ? 516 : 0, std::nullopt);
            host->monitor().clearFaults();
        }
    }
    EXPECT_GE(nth.size(), 14u) << "six suites, and the calls of each";

    EXPECT_THROW(AEGP_SuiteHandler(nullptr), int) << "a host without suites";
    premiere->setCamera(camera);
    expectAnswer(premiere, 0, std::nullopt);
}

}  // namespace
