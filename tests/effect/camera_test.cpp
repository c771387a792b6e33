// The camera query: what it answers with a camera and without, and with every host call refused.
#include <gtest/gtest.h>

#include "effect/HostCamera.h"
#include "tests/host/ae_host.h"

namespace {

using zelk_test::ProbeHost;

constexpr double kNoZoom = 1.0;

/// Asks in a render, where nothing may be kept; checks that it ends with `code` and, by `camera`,
/// what was found.
void expectAnswer(ProbeHost& host, int code, std::optional<zelk::Camera> const& camera) {
    host->monitor().restart();
    const zelk_test::AEBody body = [&](PluginHost_AE_Impl& ae) {
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
        EXPECT_EQ(zoom, camera ? camera->zoom : kNoZoom);
        if (!camera) return;
        EXPECT_EQ(std::memcmp(&matrix, &camera->matrix, sizeof matrix), 0);
        EXPECT_EQ((std::array<double, 3>{distance, 1.0 * width, 1.0 * height}),
                  (std::array<double, 3>{777.25, 1280, 720}));
    };
    const auto result = host.renderAt(zelk::Depth::k8, zelk_test::withBinding(body));
    EXPECT_EQ(zelk_test::nothingOwed(result), "nothing");
}

TEST(GetCameraMatrix, AnswersFromTheHostsCamera) {
    zelk::Camera camera{{}, 777.25, 1280, 720, 1555.5};
    for (int i = 0; i < 16; ++i) camera.matrix.mat[i / 4][i % 4] = i + 0.5;
    ProbeHost host(zelk_test::kModernAE), premiere(zelk_test::kModernPremiere);
    expectAnswer(host, 0, std::nullopt);
    host->setCamera(camera);
    expectAnswer(host, 0, camera);

    // Every call refused in turn: a suite ends it with 516, anything else with no camera found.
    std::map<std::string, int> nth;
    for (std::string const& call : std::vector<std::string>(host->monitor().log())) {
        if (call.find("AEGP") == std::string::npos || call.rfind("Release", 0) == 0) continue;
        SCOPED_TRACE(call);
        host->monitor().inject({call, ++nth[call], 31});
        expectAnswer(host, call.rfind("Acquire", 0) == 0 ? 516 : 0, std::nullopt);
        EXPECT_EQ(host->monitor().faultsAnswered(), 1);
        host->monitor().clearFaults();
    }
    EXPECT_GE(nth.size(), 14u) << "six suites, and the calls of each";

    premiere->setCamera(camera);
    expectAnswer(premiere, 0, std::nullopt);
    for (std::string const& call : premiere->monitor().log())
        EXPECT_EQ(call.find("AEGP"), std::string::npos) << call;
}

}  // namespace
