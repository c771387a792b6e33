#include "hostkit/call_monitor.h"

#include <gtest/gtest.h>

namespace zelk {
namespace {

TEST(CallMonitor, AnswersTheNthCallOfAName) {
    CallMonitor monitor;
    int done = 0;
    monitor.inject({"fill", 2, 11});
    monitor.inject({"abort", 0, 12});
    monitor.inject({"copy", 1, 13, true});  // works and yet answers the code
    std::vector<std::string> const calls = {"fill", "fill", "fill", "abort", "abort", "copy"};
    std::vector<PF_Err> answers;
    auto const call = [&](std::string const& name) {
        return monitor.answer(name, [&]() -> PF_Err { return ++done, PF_Err_NONE; });
    };
    for (std::string const& name : calls) answers.push_back(call(name));
    EXPECT_EQ(answers, (std::vector<PF_Err>{0, 11, 0, 12, 12, 13}));
    EXPECT_EQ(done, 3);
    EXPECT_EQ(monitor.faultsAnswered(), 4);
    EXPECT_EQ(monitor.count("fill"), 3);
    EXPECT_EQ(monitor.log(), calls);
    monitor.restart();
    EXPECT_TRUE(monitor.log().empty());
    EXPECT_EQ(call("fill") + call("fill"), 11) << "counts begin anew, faults stay";
}

TEST(Outstanding, TellsDifferenceInWords) {
    EXPECT_EQ(Outstanding{}.describe(), "nothing");
    Outstanding const end{2, 0, 1, 1, 5, 1, 2, 1, 1}, start{0, 1, 1, 0, 4, 0, 0, 0, 0};
    EXPECT_EQ((end - start).describe(),
              "2 worlds, -1 handle, 1 suite, 1 parameter, 1 effect, 2 streams, "
              "1 stream value, 1 mistake");
}

}  // namespace
}  // namespace zelk
