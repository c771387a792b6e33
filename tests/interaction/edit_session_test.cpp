// Edits and drags, on plain and animated parameters.
#include "hostkit/edit_session.h"

#include <gtest/gtest.h>

#include <cmath>

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
    EditSession session{host, 400, 300, 20};
};

TEST(EditSession, OnlyChangesCountAndAnimatedPinsGetKeys) {
    Session s;
    EditSession& session = s.session;
    auto const start = s.states();
    auto const before = session.valueOf(kParamToUpperLeft);
    auto const plain = session.valueOf(kParamToUpperRight);
    EXPECT_FALSE(session.edit(kParamQuality, {3.2}));  // the same entry
    EXPECT_FALSE(session.edit(kParamToUpperLeft, before));
    EXPECT_FALSE(session.click({390, 290}));
    ASSERT_TRUE(session.click({200, 150}));
    session.drag({222, 111});
    EXPECT_FALSE(session.setFrame(1) || session.edit(kParamQuality, {1}) || session.click({1, 1}));
    EXPECT_FALSE(session.release({200, 150})) << "back where it began";
    auto const failing = [](auto& parameters) {
        zelk::setNumber(parameters[kParamQuality].current, 1);
        throw zelk::HostError("no");
    };
    EXPECT_THROW(session.change(failing), zelk::HostError);
    EXPECT_THROW(session.edit(kParamToPinsGroup, {1}), zelk::HostError);
    EXPECT_THROW(session.edit(kParamRotate, {std::nan("")}), zelk::HostError);
    EXPECT_EQ(s.states(), start);

    ASSERT_TRUE(session.click({200, 150}));
    session.drag({150, 150});
    ASSERT_TRUE(session.release({210, 145}));
    auto const& track = s.at(kParamToUpperLeft).track();
    EXPECT_EQ(track.find(KeyTime{20000, 24000}), 1u);
    EXPECT_EQ(session.valueOf(kParamToUpperLeft), (KeyValue{before[0] + 10, before[1] - 5}));
    EXPECT_EQ(session.valueOf(kParamToUpperRight), (KeyValue{plain[0] + 10, plain[1] - 5}));
    EXPECT_TRUE(s.at(kParamToUpperRight).track().empty());
    session.setFrame(0);
    ASSERT_TRUE(session.edit(kParamToUpperLeft, {1.5, 2.5}));
    EXPECT_EQ(track.keys()[0].value[1], 2.5);
    EXPECT_EQ(track.keys()[0].toNext, kCurve) << "a key keeps its curve";
    ASSERT_TRUE(session.edit(kParamQuality, {99}));
    EXPECT_EQ(session.valueOf(kParamQuality)[0], 4) << "the range's end";
}

}  // namespace
