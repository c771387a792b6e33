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
    struct Case {
        double rate;
        A_u_long scale;
        A_long step;
    };
    for (Case const& c :
         {Case{24, 24000, 1000}, Case{23.976, 24000, 1001}, Case{24000.0 / 1001, 24000, 1001},
          Case{29.97, 30000, 1001}, Case{59.94, 59940, 1000}, Case{0.0005, 1, 1000},
          Case{23.97, 23970, 1000}, Case{1e6, 1000000000, 1000}}) {
        EXPECT_EQ(timeBaseOfRate(c.rate).scale, c.scale) << c.rate;
        EXPECT_EQ(timeBaseOfRate(c.rate).step, c.step) << c.rate;
    }
    for (double rate :
         {0.0, -24.0, 0.0001, 1000001.0, std::nan(""), std::numeric_limits<double>::infinity()})
        EXPECT_THROW(timeBaseOfRate(rate), HostError) << rate;
}

TEST(Parameters, NumbersRoundToTheKindsUnit) {
    struct Case {
        PF_ParamType type;
        double set, got;
    };
    constexpr double kTop = std::numeric_limits<A_long>::max();
    for (Case const& c :
         {Case{PF_Param_SLIDER, 2.5, 3}, Case{PF_Param_SLIDER, -2.5, -3},
          Case{PF_Param_SLIDER, 1e300, kTop}, Case{PF_Param_FIX_SLIDER, 1.5 / 65536, 2.0 / 65536},
          Case{PF_Param_FIX_SLIDER, -1.5 / 65536, -2.0 / 65536},
          Case{PF_Param_FIX_SLIDER, 1e9, kTop / 65536}, Case{PF_Param_ANGLE, -720.25, -720.25},
          Case{PF_Param_CHECKBOX, 0.3, 1}, Case{PF_Param_CHECKBOX, 0, 0},
          Case{PF_Param_POPUP, 2.4, 2}, Case{PF_Param_FLOAT_SLIDER, 0.1, 0.1},
          Case{PF_Param_COLOR, 7, 0}, Case{PF_Param_SLIDER, std::nan(""), 0}}) {
        PF_ParamDef def{};
        def.param_type = c.type;
        setNumber(def, c.set);
        EXPECT_EQ(numberOf(def), c.got) << kindName(c.type) << " " << c.set;
    }
    PF_ParamDef point{};
    point.param_type = PF_Param_POINT;
    setPoint(point, -0.5 / 65536, 0.5 / 65536);
    EXPECT_EQ(point.u.td.x_value, -1);
    EXPECT_EQ(point.u.td.y_value, 1);
}

}  // namespace
}  // namespace zelk
