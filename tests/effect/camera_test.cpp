// The camera query: what it answers with a camera and without, and with every host call refused.
#include <gtest/gtest.h>

#include "effect/HostCamera.h"
#include "tests/host/ae_host.h"

namespace {

using zelk_test::ProbeHost;

struct Answer {
    QV_Matrix4 matrix{};
    bool found = true;
    double zoom = 0, planeDistance = 0;
    int planeWidth = 0, planeHeight = 0, code = -1;
};

Answer ask(ProbeHost& host) {
    Answer a;
    host->monitor().restart();
    const zelk_test::AEBody body = [&](PluginHost_AE_Impl& ae) {
        try {
            a.code = GetCameraMatrix(&ae, &a.matrix, 1000, 24000, a.found, &a.zoom, 5, 4,
                                     a.planeWidth, a.planeHeight, a.planeDistance);
        } catch (int thrown) {
            a.code = thrown;
        }
    };
    const auto result = host.renderAt(zelk::Depth::k8, zelk_test::withBinding(body));
    EXPECT_EQ(zelk_test::nothingOwed(result), "nothing");
    return a;
}

zelk::Camera someCamera() {
    zelk::Camera camera;
    for (int i = 0; i < 16; ++i) camera.matrix.mat[i / 4][i % 4] = i + 0.5;
    camera.planeDistance = 777.25;
    camera.planeWidth = 1280;
    camera.planeHeight = 720;
    camera.zoom = 1555.5;
    return camera;
}

TEST(GetCameraMatrix, AnswersFromTheHostsCamera) {
    ProbeHost host(zelk_test::kModernAE);
    Answer a = ask(host);
    EXPECT_EQ(a.code, 0);
    EXPECT_FALSE(a.found);
    EXPECT_EQ(a.zoom, 1.0);

    const zelk::Camera camera = someCamera();
    host->setCamera(camera);
    a = ask(host);
    EXPECT_EQ(a.code, 0);
    EXPECT_TRUE(a.found);
    EXPECT_EQ(std::memcmp(&a.matrix, &camera.matrix, sizeof a.matrix), 0);
    EXPECT_EQ(a.zoom, 1555.5);
    EXPECT_EQ(a.planeDistance, 777.25);
    EXPECT_EQ(a.planeWidth, 1280);
    EXPECT_EQ(a.planeHeight, 720);

    // Every call refused in turn: a suite ends it with 516, anything else with no camera found.
    std::map<std::string, int> nth;
    for (std::string const& call : std::vector<std::string>(host->monitor().log())) {
        if (call.find("AEGP") == std::string::npos || call.rfind("Release", 0) == 0) continue;
        host->monitor().inject({call, ++nth[call], 31});
        a = ask(host);
        EXPECT_EQ(host->monitor().faultsAnswered(), 1);
        host->monitor().clearFaults();
        EXPECT_EQ(a.code, call.rfind("Acquire", 0) == 0 ? 516 : 0) << call;
        EXPECT_FALSE(a.found) << call;
        EXPECT_EQ(a.zoom, 1.0);
    }
    EXPECT_GE(nth.size(), 14u) << "six suites, and the calls of each";

    ProbeHost premiere(zelk_test::kModernPremiere);
    premiere->setCamera(someCamera());
    a = ask(premiere);
    EXPECT_EQ(a.code, 0);
    EXPECT_FALSE(a.found);
    for (std::string const& call : premiere->monitor().log())
        EXPECT_EQ(call.find("AEGP"), std::string::npos) << call;
}

}  // namespace
