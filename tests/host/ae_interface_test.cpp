// The host's interface through the After Effects binding: codes, units and suite versions.
#include "tests/host/ae_host.h"

// Cursors and colours belong to version 1 of the suite, refreshing and the mouse to version 5.
static PF_Err colorOf(A_long i, PF_App_Color* to) { return *to = {A_u_short(i << 8), 513, 768}, 0; }
constexpr PFAppSuite1 kApp1 = {colorOf, [](A_long cursor) { return cursor; }};
constexpr PFAppSuite5 kApp5 = {nullptr, nullptr, [] { return 77; },
                               [](PF_Point* at) { return *at = {.v = 3, .h = -4}, 0; }};
constexpr void const* kTables[] = {nullptr, &kApp1, nullptr, nullptr, nullptr, &kApp5};
constexpr SPBasicSuite kSuites = {
    [](char const*, A_long version, void const** to) { return *to = kTables[version], 0; },
    [](char const*, A_long) { return 0; }};

TEST(AEInterface, SpeaksInTheHostsCodes) {
    PF_InData in{};
    PF_OutData out{};
    in.pica_basicP = &kSuites;
    PluginHost_AE_Impl ae(&in, &out, nullptr, nullptr);
    int r = 0, g = 0, b = 0;
    long x = 0, y = 0;
    EXPECT_EQ((std::vector<long>{
                  ae.setCursor(-1), ae.setCursor(0), ae.setCursor(1), ae.setCursor(2),
                  ae.setCursor(3), ae.getAppColor(0, r, g, b), r, ae.getAppColor(1, r, g, b), r, g,
                  b, (in.version = {11, 12}, ae.forceUIUpdate()),
                  (in.version = {12, 11}, ae.forceUIUpdate()),
                  (in.version = {12, 12}, ae.forceUIUpdate()), ae.getMousePos(x, y), x, y}),
              (std::vector<long>{1, 2, 8, 41, 1, 0, 6, 0, 5, 2, 3, 0, 0, 77, 0, -4, 3}));
}
