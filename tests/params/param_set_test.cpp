// The controls as a host gets them from the module: identities, kinds and numbers are what stored
// projects depend on, so they stand in controls.txt once more, as seen from the outside.
#include <fstream>
#include <map>

#include "params/ParamIndex.h"
#include "tests/host/ae_probe.h"
#include "tests/params/describe.h"

using namespace zelk_test;

namespace {

/// Lines of controls.txt by index. A line of the form "HOST INDEX ..." stands for that host in
/// place of the common one.
std::map<int, std::string> controlsOf(std::string const& host) {
    std::map<int, std::string> lines;
    std::ifstream file(CONTROLS);
    for (std::string line; std::getline(file, line);) {
        bool const isCommon = !line.empty() && std::isdigit(line[0]);
        if (!isCommon && line.rfind(host + " ", 0) != 0) continue;
        if (!isCommon) line.erase(0, host.size() + 1);
        lines[std::stoi(line)] = line;
    }
    return lines;
}

}  // namespace

TEST(ParamSet, StandsAsStoredProjectsKnowIt) {
    for (auto const& [name, identity] : {std::pair("AfterEffects", kModernAE),
                                         {"AfterEffects", kOlderAE},
                                         {"Premiere", kModernPremiere},
                                         {"Premiere", {kAppPremierePro, {12, 4}}},
                                         {"FinalCut", kModernKeyG},
                                         {"Motion", {kAppMotion, {13, 27}}}}) {
        SCOPED_TRACE(name);
        const zelk::Host loaded(ZELK_MODULE, optionsOf(identity));
        const std::map<int, std::string> controls = controlsOf(name);
        ASSERT_EQ(loaded.announcedParamCount(), kParamCount);
        ASSERT_EQ(loaded.parameters().size(), controls.size() + 1) << "and the layer";
        for (auto const& [index, line] : controls) {
            auto const& parameter = parameterIn(loaded.parameters(), index);
            EXPECT_EQ(std::to_string(index) + " " + describe(parameter.registered), line);
        }
    }
}
