// What a user does in an OpenFX host: dragging pins in the overlay, importing tracks, pressing on
// while the host fails.
#include <gtest/gtest.h>

#include "tests/openfx/ofx_session.h"
#include "tests/openfx/ofx_sweep.h"
#include "tests/support/temporary_folder.h"

namespace zelk_ofx {
namespace {

constexpr Project kScreen = {.size = {200, 100}};

PictureBuffer const& white() {
    static PictureBuffer picture({0, 0, 200, 100});
    return picture.fill([](int, int, int) { return 1.0; });
}

OfxPointD pinOf(Session const& session, std::string const& name, double time = 0) {
    auto const at = session->effect.params.find(name)->at(time).number;
    return {at[0], at[1]};
}

class OfxOverlay : public testing::TestWithParam<char const*> {};
INSTANTIATE_TEST_SUITE_P(All, OfxOverlay, testing::Values("tree", "tree_with_draw_suite"));

// A pin follows the pen by as much as the pen moves, whatever the zoom; a pen elsewhere is not
// taken.
TEST_P(OfxOverlay, PinFollowsThePen) {
    Session session(hostChoice(GetParam()), {{"Source", still(white().view())}}, kScreen);
    setPins(*session.instance, {20, 90, 180, 80, 30, 10, 170, 20});
    for (double const pixelScale : {1.0, 0.25}) {
        OfxPointD const before = pinOf(session, "to-lower-right");
        Overlay overlay(*session.instance, pixelScale);
        ASSERT_EQ(overlay.status(), kOfxStatOK);
        EXPECT_EQ(overlay.version(), GetParam() == std::string("tree") ? 1 : 2);
        OfxPointD const touch = {before.x + 2 * pixelScale, before.y - pixelScale};
        EXPECT_EQ(overlay.pen(kOfxInteractActionPenMotion, touch), kOfxStatReplyDefault);
        EXPECT_EQ(overlay.pen(kOfxInteractActionPenDown, touch), kOfxStatOK);
        EXPECT_EQ(overlay.pen(kOfxInteractActionPenMotion, {touch.x + 7, touch.y}), kOfxStatOK);
        EXPECT_EQ(overlay.pen(kOfxInteractActionPenUp, {touch.x + 5, touch.y + 3}), kOfxStatOK);
        EXPECT_EQ(pinOf(session, "to-lower-right").x, before.x + 5);
        EXPECT_EQ(pinOf(session, "to-lower-right").y, before.y + 3);
        EXPECT_EQ(pinOf(session, "to-upper-left").x, 20);
        EXPECT_GT(overlay.redraws(), 0);
        OfxPointD const nowhere = {5, 5};
        EXPECT_EQ(overlay.pen(kOfxInteractActionPenDown, nowhere), kOfxStatReplyDefault);
        EXPECT_EQ(overlay.pen(kOfxInteractActionPenUp, nowhere), kOfxStatReplyDefault);
    }
    // The pins' wireframe goes through all four of them.
    Overlay overlay(*session.instance);
    std::vector<DrawOp> ops;
    OfxStatus const drawn = overlay.draw(ops);
    if (overlay.version() != 2) return;
    EXPECT_EQ(drawn, kOfxStatOK);
    for (char const* name :
         {"to-upper-left", "to-upper-right", "to-lower-left", "to-lower-right"}) {
        OfxPointD const pin = pinOf(session, name);
        int lines = 0;
        for (DrawOp const& op : ops)
            for (OfxPointD const& point : op.points)
                lines += op.primitive == kOfxDrawPrimitiveLines &&
                         std::hypot(point.x - pin.x, point.y - pin.y) < 1;
        EXPECT_GE(lines, 2) << name;
    }
}

constexpr char const* kTrack =
    "Source Width 400\nSource Height 200\n"
    "ADBE Corner Pin-0001\n0 40 20\n1 41 20\nADBE Corner Pin-0002\n0 240 20\n1 241 20\n"
    "ADBE Corner Pin-0003\n0 40 120\n1 41 120\nADBE Corner Pin-0004\n0 240 120\n1 241 120\n";

// Keys at the file's frames and the offset, in canonical units; a file that is none is told of and
// changes nothing.
TEST(OfxImport, MakesKeysOrSaysWhyNot) {
    zelk_test::TemporaryFolder const folder;
    Session session(hostChoice("tree"), {{"Source", still(white().view())}}, kScreen);
    Instance& instance = *session.instance;
    instance.set("track-frame-offset", {{10}, ""});
    instance.set("track-file", {{}, folder.put("track.txt", kTrack)});
    EXPECT_EQ(instance.changed("load-to-pins"), kOfxStatOK);
    EXPECT_TRUE(session.host.messages.empty());
    struct Key {
        char const* pin;
        double x, y;
    };
    for (Key const& key : {Key{"to-upper-left", 20, 90},
                           {"to-upper-right", 120, 90},
                           {"to-lower-left", 20, 40},
                           {"to-lower-right", 120, 40}}) {
        EXPECT_EQ(instance.value(key.pin).keys.size(), 2U);
        EXPECT_NEAR(pinOf(session, key.pin, 10).x, key.x, 1e-4) << key.pin;
        EXPECT_NEAR(pinOf(session, key.pin, 11).x, key.x + 0.5, 1e-4);
        EXPECT_NEAR(pinOf(session, key.pin, 10).y, key.y, 1e-4);
    }
    SavedParams const before = instance.save();
    for (std::string const& file : {std::string("/no/such/file.txt"), std::string(),
                                    folder.put("other.txt", "not a track\n").string()}) {
        session.host.messages.clear();
        instance.value("track-file").constant.text = file;
        instance.changed("load-to-pins");
        ASSERT_EQ(session.host.messages.size(), 1U) << file;
        EXPECT_EQ(session.host.messages[0].type, kOfxMessageError);
        EXPECT_NE(session.host.messages[0].text.find(file), std::string::npos);
    }
    SavedParams after = instance.save();
    after["track-file"] = before.at("track-file");
    EXPECT_EQ(after, before);
}

void expectRight(std::vector<SweepRow> const& rows) {
    for (SweepRow const& row : rows) {
        EXPECT_EQ(row.leaks + row.wrongFrames + row.broken, 0) << row.what << ": " << row.first;
        EXPECT_GT(row.runs, 0) << row.what;
    }
}
TEST(OfxFaults, AnySuiteMayBeMissing) {
    auto const rows = sweepSuites({ZELK_OFX_BINARY, ZELK_OFX_TRACK});
    expectRight(rows);
    // Without one of the first three there is no effect; without another there is.
    for (std::size_t i = 0; i < rows.size(); ++i)
        EXPECT_EQ(rows[i].refused, i >= 1 && i <= 3) << rows[i].what;
}
TEST(OfxFaults, AnyCallMayFail) {
    auto const rows = sweepCalls({ZELK_OFX_BINARY, ZELK_OFX_TRACK}, true);
    expectRight(rows);
    for (SweepRow const& row : rows) EXPECT_GT(row.calls, 30) << row.what;
}

}  // namespace
}  // namespace zelk_ofx
