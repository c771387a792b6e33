// `zelk overlay` and `zelk drag` as a user runs them.
#include <fmt/format.h>
#include <gtest/gtest.h>

#include "tests/support/zelk_process.h"

namespace {

using namespace zelk_test;
using Bytes = Picture<unsigned char>;

class PanelCommands : public ZelkTest {
protected:
    void SetUp() override {
        writePicture(at("gray.png"),
                     Bytes{120, 80, 3, std::vector<unsigned char>(120 * 80 * 3, 90), ""});
        ASSERT_EQ(run({"project", "new", "p.zelk.json", "--layer", "gray.png"}).exitCode, 0);
    }
    /// Pixels of that colour in the panel of an overlay.
    long count(Words const& options, std::vector<unsigned char> const& color) {
        done(joined({"overlay", "--project", "p.zelk.json", "-o", "o.png"}, options));
        m_panel = readPicture<unsigned char>(at("o.png"));
        long pixels = 0;
        for (std::size_t i = 0; i < m_panel.values.size(); i += 3)
            pixels += std::equal(color.begin(), color.end(), &m_panel.values[i]);
        return pixels;
    }
    Bytes m_panel;
};

std::vector<unsigned char> const kYellow = {255, 255, 50}, kLightBlue = {150, 150, 255};

TEST_F(PanelCommands, OverlayDrawsTheQuadsThatTheControlsShow) {
    Words const pins = {"--to", "20,10 100,10 20,70 100,70"};
    EXPECT_GT(count(pins, kYellow), 250);  // 80 + 60, twice, and what the labels cover
    EXPECT_EQ(count(pins, kLightBlue), 0);
    Words both = joined(pins, {"--set", "overlay-mode=Show Both Pins", "--margin", "5"});
    EXPECT_GT(count(both, kLightBlue), 300);
    EXPECT_EQ(m_panel.width, 130);
    both.insert(both.end(), {"--set", "wireframe=Always Off", "--zoom", "50%"});
    EXPECT_EQ(count(both, kYellow) + count(both, kLightBlue), 0);
    EXPECT_EQ(std::pair(m_panel.width, m_panel.height), std::pair(70, 50));
}

TEST_F(PanelCommands, DragMovesAndScalesAProjectsPins) {
    EXPECT_EQ(run("drag p.zelk.json --from 60,40 --to 70,45 --zoom 2"_words).out,
              "to-upper-left: 0,0 -> 5,2\nto-upper-right: 120,0 -> 125,2\n"
              "to-lower-left: 0,80 -> 5,82\nto-lower-right: 120,80 -> 125,82\n");
    std::string const moved = bytesOf("p.zelk.json");
    EXPECT_NE(moved.find("[125, 82]"), std::string::npos) << moved;
    Outcome const scaled =
        run("drag p.zelk.json --from 65,42 --to 165,42 --shift -o wide.zelk.json"_words);
    EXPECT_EQ(scaled.out.substr(0, 34), "to-upper-left: 5,2 -> -9,2\nto-uppe") << scaled.err;
    EXPECT_EQ(bytesOf("p.zelk.json"), moved);

    expectRefusal("drag p.zelk.json --from 900,40 --to 1,1"_words, 2, {"\"900,40\""});
    expectRefusal("drag p.zelk.json --from 60,40"_words, 2, {"--to"});
    expectRefusal("drag p.zelk.json --from 60;40 --to 1,1"_words, 2, {"\"60;40\""});
    expectRefusal("drag p.zelk.json --from 60,40 --to 1,1 --zoom 0"_words, 2, {"out of range"});
    expectRefusal("drag p.zelk.json --from 60,40 --to 1,1 -o wide.zelk.json"_words, 4, {"wide."});
    done("drag p.zelk.json --from 65,42 --to 70,42 --dry-run"_words);
    EXPECT_EQ(bytesOf("p.zelk.json"), moved);
}

// The composition, the layer and the plate are three sizes; the To Pins stand at the layer's
// corners.
TEST_F(PanelCommands, DragHitsTheQuadThatOverlayDraws) {
    writePicture(at("plate.png"),
                 Bytes{300, 200, 3, std::vector<unsigned char>(300 * 200 * 3, 90), ""});
    done("project new p.zelk.json --layer gray.png --plate plate.png --size 64x36 --force"_words);
    EXPECT_GT(count({}, kYellow), 300);
    ASSERT_EQ(std::pair(m_panel.width, m_panel.height), std::pair(300, 200));
    auto const isLine = [&](int x, int y) {
        return std::equal(kYellow.begin(), kYellow.end(), &m_panel.values[(y * 300u + x) * 3]);
    };
    int right = 0, bottom = 0;  // where no label stands
    for (int x = 0; x < 300; ++x) right = isLine(x, 60) ? x : right;
    for (int y = 0; y < 200; ++y) bottom = isLine(90, y) ? y : bottom;
    auto const dragFrom = [&](int beyond) {
        return Words{"drag",   "p.zelk.json",
                     "--from", fmt::format("{},{}", right + beyond, bottom + beyond),
                     "--to",   fmt::format("{},{}", right + 10, bottom)};
    };
    expectRefusal(dragFrom(8), 2, {"no quad"});
    EXPECT_NE(run(dragFrom(-8)).out.find("to-lower-right: 120,80 -> 138,88\n"), std::string::npos);
    EXPECT_EQ(bytesOf("p.zelk.json").find("from-"), std::string::npos);
    // Where no picture can be opened, the composition's size counts.
    done("project new q.zelk.json --layer gray.png --size 64x36"_words);
    std::filesystem::remove(at("gray.png"));
    EXPECT_NE(run("drag q.zelk.json --from 40,20 --to 42,20"_words).out.find("64,36 -> 66,36"),
              std::string::npos);
}

}  // namespace
