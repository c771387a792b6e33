// The value of a keyframe track at any moment, and the order of its keys.
#include "hostkit/keyframes.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <map>

#include "tests/support/random_quads.h"

namespace zelk {
namespace {

constexpr double kSeconds = 2, kFrom = 10, kWay = 24;
constexpr A_long kTicks = 600'000'000;  // a second
constexpr Interpolation kCurve = Interpolation::kBezier;

/// From 10 to 34 between second 1 and second 3.
KeyframeTrack twoKeys(Ease const& out, Ease const& in) {
    KeyframeTrack track;
    track.set({{6, 2}, {kFrom + kWay}, Interpolation::kHold, in});
    track.set({{1, 1}, {kFrom}, kCurve, {}, out});
    return track;
}

/// The value at the fraction `x` of the interval, by bisection alone.
double slowBezier(Ease const& out, Ease const& in, long double x) {
    long double const o = out.influencePercent / 100.0L, i = in.influencePercent / 100.0L;
    auto const cubic = [](long double u, long double a, long double b, long double c) {
        return 3 * u * (1 - u) * (1 - u) * a + 3 * u * u * (1 - u) * b + u * u * u * c;
    };
    long double low = 0, high = 1;
    for (int step = 0; step < 100; ++step)
        (cubic((low + high) / 2, o, 1 - i, 1) < x ? low : high) = (low + high) / 2;
    double const first = kSeconds * out.speed, last = kSeconds * in.speed;
    return kFrom + static_cast<double>(cubic(low, o * first, kWay - i * last, kWay));
}

TEST(KeyframeTrack, BezierIsSolvedToDoublePrecisionAndNeverTurnsBack) {
    FreshRandom random;
    std::uniform_real_distribution<double> percent(0.1, 100), speed(0, kWay / kSeconds);
    for (int round = 0; round < 200; ++round) {
        Ease const out = {round % 3 ? percent(random) : 100, speed(random)};
        Ease const in = {round % 3 ? percent(random) : 100, speed(random)};
        KeyframeTrack const track = twoKeys(out, in);
        double last = kFrom;
        for (int step = 1; step < 200; ++step) {
            A_long const ticks = round % 2 ? step * (kTicks / 100) : kTicks + step - 100;
            double const got = track.valueAt({kTicks + ticks, kTicks})[0];
            double const x = ticks / (kSeconds * kTicks);
            // These curves rise, so an error in time leaves the value between two others.
            EXPECT_GE(got, slowBezier(out, in, x - 4e-16) - 2e-14);
            EXPECT_LE(got, slowBezier(out, in, x + 4e-16) + 2e-14);
            EXPECT_GE(got, last - 1e-14);
            last = got;
        }
    }
}

TEST(KeyframeTrack, SeveralNumbersKeepToTheSegmentEasedByDistance) {
    Ease const out = {60, 150}, in = {30, 90};  // beyond the segment's end in between
    KeyframeTrack one, many(2), popup(1, true);
    for (A_long n : {0, 1, 2}) {
        double const part = std::min(n, 1);  // 10 away, then at rest
        one.set({{n, 1}, {10 * part}, n == 0 ? kCurve : Interpolation::kHold, in, out});
        many.set({{n, 1}, {5 + 6 * part, -8 * part}, kCurve, in, out});
        popup.set({{n, 1}, {1.0 + n}, kCurve});
    }
    for (A_long t = -20; t <= 220; ++t) {
        double const part = std::clamp(one.valueAt({t, 100})[0] / 10, 0.0, 1.0);
        EXPECT_NEAR(many.valueAt({t, 100})[0], 5 + 6 * part, 1e-13);
        EXPECT_NEAR(many.valueAt({t, 100})[1], -8 * part, 1e-13);
        EXPECT_EQ(popup.valueAt({t, 100})[0], 1 + t / 100) << "nothing in between";
    }
    KeyframeTrack rest(2);  // two alike with the default ease
    for (A_long const n : {0, 1}) rest.set({{n, 1}, {0, 4}, kCurve});
    EXPECT_EQ(rest.valueAt({1, 3}), (KeyValue{0, 4}));
}

TEST(KeyframeTrack, KeepsItsOrderHoweverKeysCome) {
    FreshRandom random;
    KeyframeTrack track, big;
    std::map<A_long, double> plain = {{-9999, 1}, {9999, 2}};  // by time in 1 / 24 seconds
    for (auto const& [at, value] : plain) track.set({{at, 24}, {value}});
    for (int step = 0; step < 4000; ++step) {
        A_long const scale = std::array{1, 2, 3, 8, 12, 24}[random() % 6];
        KeyTime const time = {static_cast<A_long>(random() % 121) - 60, A_u_long(scale)};
        A_long const at = time.value * (24 / scale);
        auto const next = plain.lower_bound(at);
        auto const [t, v] = *std::prev(next);
        double const there = v + (next->second - v) * (at - t) / (next->first - t);
        EXPECT_NEAR(track.valueAt(time)[0], there, 1e-12);
        bool const sets = random() % 2, held = track.find(time).has_value();
        ASSERT_EQ(held, plain.count(at) > 0);
        std::size_t const index = sets ? track.set({time, {step + 0.5}}) : track.insert(time, {});
        if (sets || !held) plain[at] = sets ? step + 0.5 : there;
        ASSERT_EQ(index, std::distance(plain.begin(), plain.find(at)));
        if (random() % 2) {
            plain.erase(at);
            track.clear();
            for (auto const& [kept, value] : plain) track.set({{kept, 24}, {value}});
        }
        ASSERT_EQ(track.size(), plain.size());
    }
    using Limits = std::numeric_limits<A_long>;  // the widest times are told apart
    for (A_long n = 0; n < 50; ++n) {
        ASSERT_EQ(big.insert({Limits::max() - 50 + n, 4294967295u}, {}), 2 * n);
        ASSERT_EQ(big.insert({Limits::min() + 50 - n, 1}, {}), 0u);
    }
}

}  // namespace
}  // namespace zelk
