// Acts on a document, and the way back.
#include <malloc.h>

#include "tests/apps/viewer/window_fixture.h"
#include "tests/support/random_quads.h"
#include "zelk/scene/edits.h"
#include "zelk/scene/file.h"
#include "zelk/scene/hand_over.h"
#include "zelk/scene/parameter_names.h"
#include "zelk/scene/refusal.h"

namespace zelk {
namespace {

class DocumentTest : public testing::Test {
protected:
    DocumentTest() { document.open(exampleFile("move.zelk.json")); }
    std::string text() { return sceneText(document.scene()); }
    /// Values and keys of all parameters.
    static std::vector<ParameterState> statesOf(Document const& document) {
        std::vector<Parameter> all;
        for (int i = 0; i < kParameterCount; ++i) all.push_back(document.parameter(i));
        return zelk::statesOf(all);
    }
    std::vector<ParameterState> reopened() {
        document.saveAs(folder.at("own.zelk.json"));
        Document again{ZELK_MODULE};
        again.open(folder.at("own.zelk.json"));
        return statesOf(again);
    }
    /// A layer at its own place in a larger plate, with all pins open.
    void startOverPlate() {
        Scene scene;
        sceneEdit("layer").apply(scene, "layer", exampleFile("chelsea.png"));
        sceneEdit("over").apply(scene, "over", exampleFile("rocket.jpg"));
        document.start(std::move(scene));
    }

    zelk_test::TemporaryFolder folder;
    Document document{ZELK_MODULE};
};

/// Pins moved, snapped to corners and to each other, and reset: what is saved is what stood there.
TEST_F(DocumentTest, PinsAreSavedWhereverTheyStand) {
    FreshRandom random;
    for (int round = 0; round < 12; ++round) {
        startOverPlate();
        auto const first = statesOf(document);
        int steps = 0;
        for (int i = 0; i < 5; ++i) {
            int const corner = random.below(4), to = kToPins + corner, from = kFromPins + corner;
            double const right = corner % 2, low = corner / 2;
            KeyValue const places[] = {{640 * right, 427 * low},
                                       {451 * right, 300 * low},
                                       document.valueOf(from),
                                       document.defaultOf(to),
                                       {double(random.below(640)), random.below(4270) / 8.}};
            steps += document.edit(random.below(2) ? to : from, places[random.below(5)]);
        }
        auto const last = statesOf(document);
        ASSERT_EQ(reopened(), last) << text();
        for (int i = 0; i < steps; ++i) document.undo();
        ASSERT_EQ(statesOf(document), first);
        for (int i = 0; i < steps; ++i) document.redo();
        ASSERT_EQ(statesOf(document), last) << text();
    }
}

TEST_F(DocumentTest, IsOneSceneForWhoHearsOfItsStart) {
    std::string heard;
    document.onChange([&](DocumentChange const&) {
        if (heard.empty()) heard = text();
    });
    startOverPlate();
    EXPECT_EQ(heard, text());
}

/// The state before the act is all that an act keeps, however many moves it has.
TEST_F(DocumentTest, MovesOfAnActTakeNoMemory) {
    document.changeValues("Keys", [&](std::vector<Parameter>& parameters) {
        for (int frame = 0; frame < 1000; ++frame)
            parameterIn(parameters, kToPins)
                .editTrack()
                .set({document.momentOf(frame), {double(frame), 5}, Interpolation::kLinear});
    });
    auto const bytesAfter = [&](int moves) {
        for (int i = 0; i < moves; ++i) document.edit(kToPins, {i + 0.5, 7});
        return static_cast<long>(mallinfo2().uordblks);
    };
    document.beginAct("Move");
    long const few = bytesAfter(5);
    EXPECT_LT(bytesAfter(40) - few, 300'000);
    document.cancelAct();
    EXPECT_EQ(document.undoName(), "Keys");
}

TEST_F(DocumentTest, FramesMayBeFarFromNought) {
    Scene far = document.scene();
    far.comp.startFrame = 2500000;
    far.parameters.clear();
    writeScene(far, folder.at("far.zelk.json"));
    document.open(folder.at("far.zelk.json"));
    EXPECT_EQ(document.frame(), 2500000);
    EXPECT_TRUE(document.edit(kToPins, {3, 4}));
}

TEST_F(DocumentTest, AWarningComesBackWithWhatItIsAbout) {
    startOverPlate();
    int told = 0;
    for (double const x : {451., 440., 5., 0., 451., 5.}) {
        document.edit(kToPins, {x, 0});  // beyond the upper right pin: crossed
        document.edit(kToPins + 1, {451 - x, 0});
        document.mapHere();
        told += !document.takeWarnings().empty();
    }
    EXPECT_EQ(told, 2);
}

TEST_F(DocumentTest, AHandedSceneNamesNoFileOfItsWay) {
    Scene scene = document.scene();
    scene.road = Road::kMemory;
    HandedScene const handed = handedScene("/state/x", handOverText({scene, {}}));
    EXPECT_EQ(handed.scene.road, Road::kMemory);
    EXPECT_EQ(nameOf(handed.scene, SceneField::kRoad), "road");
}

TEST_F(DocumentTest, AnOpenToPinIsWhereItsFromPinIs) {
    startOverPlate();
    int const to = kToPins + 3, from = kFromPins + 3;
    EXPECT_EQ(document.defaultOf(to), (KeyValue{451, 300}));
    document.edit(from, {400, 200});
    EXPECT_EQ(document.valueOf(to), (KeyValue{451, 300})) << "pins move alone";
    document.edit(to, {640, 427});
    document.edit(to, document.defaultOf(to));
    EXPECT_EQ(document.valueOf(to), (KeyValue{400, 200}));
}

TEST_F(DocumentTest, WhatChangesNothingIsNoStep) {
    EXPECT_FALSE(document.edit(kParamCornerPinOpacity, document.valueOf(kParamCornerPinOpacity)));
    document.beginAct("Drag");
    document.edit(kToPins, {1, 2});
    document.cancelAct();
    EXPECT_FALSE(document.change("Set Depth", [](Scene& scene) {
        sceneEdit("depth").apply(scene, "depth", "16");
        scene.depth.reset();
    }));
    EXPECT_EQ(document.undoName(), "");
    EXPECT_FALSE(document.isModified());
}

TEST_F(DocumentTest, ASceneThatIsNoLongerBestGrows) {
    Scene scene;
    sceneEdit("layer").apply(scene, "layer", exampleFile("chelsea.png"));
    scene.isBest = true;
    document.start(std::move(scene));
    document.edit(kParamQuality, {1});
    document.edit(kParamGrowBounds, {60});
    EXPECT_EQ(document.renderedSize(1), document.layerSize() + (PixelMargins{60, 60, 60, 60}));
}

}  // namespace
}  // namespace zelk
