// Edits, drags, undo and redo, on plain and animated parameters.
#include "hostkit/edit_session.h"

#include <gtest/gtest.h>

#include <random>

#include "tests/interaction/stage.h"

using namespace zelk_test;
using zelk::EditSession;
using zelk::KeyTime;
using zelk::KeyValue;

namespace {

constexpr auto kCurve = zelk::Interpolation::kBezier;

/// Two of the pins animated, around frame 0 and 40.
struct Session : Stage {
    Session() {
        for (int index : {kParamToUpperLeft, kParamFromLowerRight})
            for (int key : {0, 40})
                at(index).editTrack().set(
                    {{key * 1000, 24000}, {100.0 + key, 100.5 - key}, kCurve, {}, {20, 3}});
    }
    zelk::Parameter& at(int index) { return parameterIn(host.parameters(), index); }
    std::vector<zelk::ParameterState> states() { return zelk::statesOf(host.parameters()); }
    EditSession session{host, 400, 300};
};

TEST(EditSession, RandomActsAreUndoneAndRedoneToTheBit) {
    unsigned const seed = 20261125;
    SCOPED_TRACE(seed);
    std::mt19937 random(seed);
    auto const below = [&](int n) { return static_cast<int>(random() % unsigned(n)); };
    Session s;
    s.set(kParamOverlayMode, 3);
    EditSession& session = s.session;
    std::vector<std::vector<zelk::ParameterState>> history = {s.states()};
    std::size_t now = 0;
    constexpr int kEdited[] = {kParamToUpperLeft, kParamToLowerLeft,      kParamQuality,
                               kParamRotate,      kParamToWireframeColor, kParamGrowBounds,
                               kParamCropToPins,  kParamCornerPinOpacity};
    for (int act = 0; act < 400; ++act) {
        bool isStep = false;
        if (below(4) == 0) session.setFrame(below(60) - 5);
        int const kind = below(7);
        bool const canUndo = now > 0, canRedo = now + 1 < history.size();
        if (kind == 0) {
            EXPECT_EQ(session.undo(), canUndo);
            now -= canUndo;
        } else if (kind == 1) {
            EXPECT_EQ(session.redo(), canRedo);
            now += canRedo;
        } else if (kind < 4) {
            int const index = kEdited[below(std::size(kEdited))];
            isStep = session.edit(index, {below(600) / 7.0, below(300) / 3.0, 200, 9});
        } else if (session.click({100 + below(300), 100 + below(150),
                                  below(2) ? PF_Mod_SHIFT_KEY : PF_Mod_NONE})) {
            for (int i = below(4); i > 0; --i) session.drag({below(400), below(300)});
            EXPECT_FALSE(session.undo() || session.redo() || session.setFrame(1) ||
                         session.edit(kParamQuality, {1}) || session.click({1, 1}));
            isStep = session.release({below(400), below(300)});
        }
        if (isStep) {
            history.resize(++now);
            history.push_back(s.states());
        }
        ASSERT_EQ(s.states(), history[now]) << "act " << act;
    }
    EXPECT_GT(history.size(), 20u);
    while (session.undo()) ASSERT_EQ(s.states(), history[--now]);
    EXPECT_EQ(now, 0u);
}

TEST(EditSession, OnlyChangesAreStepsAndAnimatedPinsGetKeys) {
    Session s;
    EditSession& session = s.session;
    session.setFrame(20);
    auto const start = s.states();
    auto const before = session.valueOf(kParamToUpperLeft);
    auto const plain = session.valueOf(kParamToUpperRight);
    EXPECT_FALSE(session.edit(kParamQuality, {3.2}));  // the same entry
    EXPECT_FALSE(session.edit(kParamToUpperLeft, before));
    EXPECT_FALSE(session.click({390, 290}));
    ASSERT_TRUE(session.click({200, 150}));
    session.drag({222, 111});
    EXPECT_FALSE(session.release({200, 150})) << "back where it began";
    auto const failing = [](auto& parameters) {
        zelk::setNumber(parameters[kParamQuality].current, 1);
        throw zelk::HostError("no");
    };
    EXPECT_THROW(session.change("x", failing), zelk::HostError);
    EXPECT_THROW(session.edit(kParamToPinsGroup, {1}), zelk::HostError);
    EXPECT_THROW(session.edit(kParamRotate, {std::nan("")}), zelk::HostError);
    EXPECT_TRUE(session.undoName().empty() && !session.undo() && !session.redo());
    EXPECT_EQ(s.states(), start);

    ASSERT_TRUE(session.click({200, 150}));
    session.drag({150, 150});
    ASSERT_TRUE(session.release({210, 145}));
    EXPECT_EQ(session.undoName(), "Move pins");
    auto const& track = s.at(kParamToUpperLeft).track();
    EXPECT_EQ(track.find(KeyTime{20000, 24000}), 1u);
    EXPECT_EQ(session.valueOf(kParamToUpperLeft), (KeyValue{before[0] + 10, before[1] - 5}));
    EXPECT_EQ(session.valueOf(kParamToUpperRight), (KeyValue{plain[0] + 10, plain[1] - 5}));
    EXPECT_TRUE(s.at(kParamToUpperRight).track().empty());
    session.setFrame(0);
    ASSERT_TRUE(session.edit(kParamToUpperLeft, {1.5, 2.5}));
    EXPECT_EQ(session.undoName(), "Set Upper Left");
    EXPECT_EQ(track.keys()[0].value[1], 2.5);
    EXPECT_EQ(track.keys()[0].toNext, kCurve) << "a key keeps its curve";
    ASSERT_TRUE(session.edit(kParamQuality, {99}));
    EXPECT_EQ(session.valueOf(kParamQuality)[0], 4) << "the range's end";
}

}  // namespace
