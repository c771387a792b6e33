#include "hostkit/call_monitor.h"

#include <gtest/gtest.h>

namespace zelk {
namespace {

TEST(CallMonitor, AnswersTheNthCallOfAName) {
    CallMonitor monitor;
    int done = 0;
    auto const call = [&](char const* name) {
        return monitor.answer(name, [&]() -> PF_Err { return ++done, PF_Err_NONE; });
    };
    monitor.inject({"fill", 2, 11});
    monitor.inject({"abort", 0, 12});
    monitor.inject({"copy", 1, 13, true});
    EXPECT_EQ(call("fill"), 0);
    EXPECT_EQ(call("fill"), 11);
    EXPECT_EQ(call("fill"), 0);
    EXPECT_EQ(call("abort"), 12);
    EXPECT_EQ(call("abort"), 12);
    EXPECT_EQ(done, 2);
    EXPECT_EQ(call("copy"), 13) << "works and yet answers the code";
    EXPECT_EQ(done, 3);
    EXPECT_EQ(monitor.faultsAnswered(), 4);
    EXPECT_EQ(monitor.count("fill"), 3);
    EXPECT_EQ(monitor.log(),
              (std::vector<std::string>{"fill", "fill", "fill", "abort", "abort", "copy"}));
    monitor.outstanding.worlds = 1;
    monitor.restart();
    EXPECT_TRUE(monitor.log().empty());
    EXPECT_EQ(monitor.outstanding.worlds, 1);
    EXPECT_EQ(call("fill"), 0);
    EXPECT_EQ(call("fill"), 11) << "counts begin anew, faults stay";
    monitor.clearFaults();
    EXPECT_EQ(call("abort"), 0);
}

TEST(Outstanding, TellsDifferenceInWords) {
    EXPECT_EQ(Outstanding{}.describe(), "nothing");
    Outstanding const end{2, 0, 1, 1, 5, 3, 1}, start{0, 1, 1, 0, 4, 1, 0};
    EXPECT_EQ((end - start).describe(),
              "2 worlds, -1 handle, 1 suite, 1 parameter, 2 layers, 1 mistake");
    EXPECT_EQ(end - end, Outstanding{});
}

}  // namespace
}  // namespace zelk
