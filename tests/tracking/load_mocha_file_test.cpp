// What the reader hands to its loader, for texts of every shape.
#include "tracking/LoadMochaFile.h"

#include <fmt/format.h>
#include <gtest/gtest.h>

#include "tests/support/temporary_folder.h"
#include "tracking/MochaLoader.h"
#include "tracking/chooseTrackingFile.h"

namespace {

/// Writes its calls down: "[7 26]" a corner of parameter 7, disk id 26; "x,y@frame"; "]" its end;
/// "{w h}" a size.
struct Collector final : MochaLoader {
    std::string calls;
    int startLoadProperty(int paramIndex, int diskId) override {
        calls += fmt::format("[{} {}: ", paramIndex, diskId);
        return 77;  // results are not looked at
    }
    int setValue(double x, double y, double frame) override {
        calls += fmt::format("{:.9g},{:.9g}@{:.9g} ", x, y, frame);
        return 77;
    }
    int finishLoadProperty() override {
        calls += "]";
        return 77;
    }
    void setResolution(int width, int height) override {
        calls += fmt::format("{{{} {}}}", width, height);
    }
};

std::string callsFor(std::string const& bytes) {
    int indices[] = {6, 7, 8, 9}, ids[] = {10, 11, 12, 13};
    Collector loader;
    const zelk_test::TemporaryFolder folder;
    EXPECT_EQ(LoadMochaFile(nullptr, indices, ids, folder.put("track.txt", bytes).c_str(), &loader),
              0);
    return loader.calls;
}

TEST(LoadMochaFile, HandsOverWhatEachLineSays) {
    const std::tuple<char const*, std::string, std::string> cases[] = {
        {"without a size 720 by 486", "Upper Left\n1 240 243\n", "][6 10: 0.333333333,0.5@1 ]"},
        {"sections by their number or words, positions 0 to 3 in the table's order",
         "ADBE Corner Pin-0001\nADBE Corner Pin-0002\nADBE Corner Pin-0003\nADBE Corner Pin-0004\n"
         "Upper Left\nLower Left\nUpper Right\nLower Right\n",
         "][6 10: ][7 11: ][8 12: ][9 13: ][6 10: ][7 11: ][8 12: ][9 13: ]"},
        {"a late size counts for what follows",
         "Upper Left\n0 720 486\n\tSource Width\t100\n1 50 486\nSource Height 50\n2 50 25\n",
         "][6 10: 1,1@0 {100 486}0.5,1@1 {100 50}0.5,0.5@2 ]"},
        {"a size keyword goes before a corner's name", "Source Width -640 Upper Left\n",
         "{-640 486}"},
        {"a size line without a number keeps the size", "Source Width none\nLower Right\n1 720 0\n",
         "{720 486}][9 13: 1,0@1 ]"},
        {"nothing but a corner line ends a section",
         "Upper Left\n1 72 0\nFrame\tX\tY\n\nnonsense\n2 72\n3 x 5\nEnd of Keyframe Data\n4 144 0",
         "][6 10: 0.1,0@1 0.2,0@4 ]"},
        {"an unknown language counts for the corner before", "Upper Left\nHaut droit\n1 72 0\n",
         "][6 10: 0.1,0@1 ]"},
        {"no corner, no calls", "1 2 3\n4 5 6\n", ""},
        {"frames with fractions, backwards, and number forms",
         "Upper Left\n  \t2.5 +7.2e1 -486 rest\n-1 .75 4.86e2\n",
         "][6 10: 0.1,-1@2.5 0.00104166667,1@-1 ]"},
        {"floats are single", "Upper Left\n16777217 0 0\n", "][6 10: 0,0@16777216 ]"},
        {"a long line in pieces of 255", "Upper Left\n" + std::string(255, ' ') + "1 72 0\n",
         "][6 10: 0.1,0@1 ]"},
        {"a keyword cut by a piece's end is none", std::string(250, 'x') + "Upper Left\n1 72 0\n",
         ""},
        {"a zero byte ends its line", std::string("Upper Left\n1 72 \0 0\n2 72 0\n", 27),
         "][6 10: 0.1,0@2 ]"},
        {"endings of other systems", "Upper Left\r\n1 72 0\r\n", "][6 10: 0.1,0@1 ]"},
        {"nothing", "", ""},
    };
    for (auto const& [fact, text, calls] : cases) EXPECT_EQ(callsFor(text), calls) << fact;
    Collector loader;
    EXPECT_EQ(LoadMochaFile(nullptr, nullptr, nullptr, "/nowhere/track.txt", &loader), 1);
    EXPECT_EQ(loader.calls, "");
    EXPECT_EQ(FSRefMakeFSSpec(nullptr, nullptr), kParamStatus);
}

}  // namespace
