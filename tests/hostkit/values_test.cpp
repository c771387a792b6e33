// The clock and the numbers of parameters.
#include <gtest/gtest.h>

#include <cmath>
#include <limits>

#include "hostkit/error.h"
#include "hostkit/parameters.h"
#include "hostkit/time_base.h"

namespace zelk {
namespace {

TEST(TimeBase, OfRates) {
    for (auto const& [rate, scale, step] : {std::tuple(24.0, 24000u, 1000),
                                            {23.976, 24000u, 1001},
                                            {24000.0 / 1001, 24000u, 1001},
                                            {29.97, 30000u, 1001},
                                            {59.94, 59940u, 1000},
                                            {0.0005, 1u, 1000},
                                            {23.97, 23970u, 1000},
                                            {1e6, 1000000000u, 1000}}) {
        EXPECT_EQ(timeBaseOfRate(rate).scale, scale) << rate;
        EXPECT_EQ(timeBaseOfRate(rate).step, step) << rate;
    }
    for (double rate :
         {0.0, -24.0, 0.0001, 1000001.0, std::nan(""), std::numeric_limits<double>::infinity()})
        EXPECT_THROW(timeBaseOfRate(rate), HostError) << rate;
}

TEST(Parameters, NumbersRoundToTheKindsUnit) {
    constexpr double kTop = std::numeric_limits<A_long>::max();
    for (auto const& [type, set, got] : {std::tuple(PF_Param_SLIDER, 2.5, 3.0),
                                         {PF_Param_SLIDER, -2.5, -3.0},
                                         {PF_Param_SLIDER, 1e300, kTop},
                                         {PF_Param_FIX_SLIDER, 1.5 / 65536, 2.0 / 65536},
                                         {PF_Param_FIX_SLIDER, -1.5 / 65536, -2.0 / 65536},
                                         {PF_Param_FIX_SLIDER, 1e9, kTop / 65536},
                                         {PF_Param_ANGLE, -720.25, -720.25},
                                         {PF_Param_CHECKBOX, 0.3, 1.0},
                                         {PF_Param_POPUP, 2.4, 2.0},
                                         {PF_Param_FLOAT_SLIDER, 0.1, 0.1},
                                         {PF_Param_SLIDER, std::nan(""), 0.0}}) {
        PF_ParamDef def{};
        def.param_type = type;
        setNumber(def, set);
        EXPECT_EQ(numberOf(def), got) << kindName(type) << " " << set;
    }
    PF_ParamDef point{};
    point.param_type = PF_Param_POINT;
    setPoint(point, -0.5 / 65536, 0.5 / 65536);
    EXPECT_EQ(point.u.td.x_value, -1);
    EXPECT_EQ(point.u.td.y_value, 1);
}

}  // namespace
}  // namespace zelk
