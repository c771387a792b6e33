// A single picture takes the road and the options of many; runs that are only tried write nothing
// and find what the run finds; no output replaces its own input unasked.
#include "tests/support/zelk_process.h"

namespace zelk_test {
namespace {

class OnePicture : public ZelkTest {
protected:
    void SetUp() override {
        for (char const* name : {"in.png", "p.1.png", "p.2.png", "p.3.png"})
            writePicture(at(name), noise<std::uint8_t>(8, 6, 3, 1));
        fs::remove_all(at("out"));
        fs::create_directory(at("out"));
        put("s.zelk.json", R"({"schema": "zelk-project", "version": 1, "frames": "1-3",
            "comp": {"width": 8, "height": 6, "rate": 25}, "layer": "in.png",
            "plate": "p.%d.png", "output": "out/o.%d.png"})");
    }
    std::string allBytes() const {
        std::string all;
        for (auto const& entry : fs::recursive_directory_iterator(at("")))
            if (std::string const name = fs::relative(entry.path(), at("")); name[0] != '_')
                all += name + (entry.is_regular_file() ? bytesOf(name) : "");
        return all;
    }
};

TEST_F(OnePicture, WhatIsOnlyTriedWritesNothingAndFindsWhatTheRunFinds) {
    using Spoil = std::function<void(fs::path const&)>;  // a name in the folder
    auto const remove = [](fs::path const& file) { fs::remove_all(file); };
    auto const garble = [this](fs::path const& file) { put(file.filename(), "no picture"); };
    auto const widen = [](fs::path const& file) {
        writePicture(file, noise<std::uint8_t>(9, 6, 3, 2));
    };
    auto const link = [this](fs::path const& file) { fs::create_hard_link(at("p.2.png"), file); };
    for (auto const& [spoil, name, exitCode, told] :
         {std::tuple<Spoil, char const*, int, std::string>{[](auto&) {}, "in.png", 0, ""},
          {remove, "in.png", 3, "in.png: no such file"},
          {remove, "p.2.png", 3, "p.2.png: no such file"},
          {remove, "out", 4, "out/o.1.png: cannot be written: no folder out"},
          {garble, "p.2.png", 5, "2 (2/3) failed: p.2.png: cannot be read"},
          {widen, "p.3.png", 5, "p.3.png: another size than the first frame's"},
          {link, "out/o.2.png", 3, "would replace its own plate: \"out/o.2.png\""},
          {link, "out/o.3.png", 3, "a picture that other frames read: \"p.2.png\""}}) {
        SCOPED_TRACE(told);
        SetUp();
        spoil(at(name));
        std::string const before = allBytes();
        Words const render = {"render", "--project", "s.zelk.json"};
        for (Words const& words :
             {joined(render, {"--dry-run"}), Words{"project", "check", "s.zelk.json"}, render}) {
            EXPECT_EQ(allBytes(), before);
            Outcome const outcome = run(words);
            EXPECT_EQ(outcome.exitCode, exitCode) << outcome.err;
            EXPECT_TRUE(has(outcome.err, told)) << outcome.err;
            EXPECT_EQ(words[0] == "project" && exitCode == 0, outcome.out == "s.zelk.json: good\n");
        }
    }
}

TEST_F(OnePicture, ADryRunWritesNothingWhateverIsAsked) {
    put("m.mov", "earlier");
    std::string const before = allBytes();
    for (auto const& [words, told] :
         {std::pair<Words, char const*>{{"in.png", "-o", "o.exr"}, "read in.png, write o.exr\n1 "},
          {{"p.%d.png", "-o", "m.mov"}, "3: read p.3.png, write m.mov (replacing it)\n3 frames"},
          {{"in.png", "-o", "in.png", "--in-place", "--progress", "json"},
           "write in.png (replacing it)\n1 frame "}}) {
        Outcome const outcome = run(joined(joined({"render"}, words), {"--dry-run"}));
        EXPECT_EQ(outcome.exitCode, 0) << outcome.err;
        EXPECT_TRUE(has(outcome.out, told)) << outcome.out;
        EXPECT_FALSE(has(outcome.err, "\"frame\"")) << outcome.err;
        EXPECT_EQ(allBytes(), before);
    }
    for (auto const& [words, told] :
         {std::pair{"-o o.jp2"_words, "tiles"},  // of 8 x 6 pixels
          {"-o o.ico --size 257x9"_words, "most 256x256"},
          {"-o o.webp --size 16384x1"_words, "encode o.webp as"},
          {"-o o.mp4 --size 20000x2 --frames 1-2"_words, "invalid width"}})
        for (Words const& end : {Words{"--dry-run"}, Words{}}) {
            Outcome const refused = run(joined(joined({"render", "in.png"}, words), end));
            EXPECT_EQ(refused.exitCode, 4) << words[1];
            EXPECT_EQ(refused.out, "");
            EXPECT_TRUE(has(refused.err, told)) << refused.err;
        }
    Outcome const jpeg = run("render in.png -o o.jpg --dry-run"_words);
    EXPECT_TRUE(has(jpeg.err, "keeps no alpha")) << jpeg.err;
}

TEST_F(OnePicture, NoOutputReplacesItsOwnInputUnasked) {
    fs::create_symlink("in.png", at("link.png"));
    fs::create_hard_link(at("in.png"), at("hard.png"));
    std::string const before = bytesOf("in.png");
    for (std::string const name : {"out/.././in.png", "link.png", "hard.png"}) {
        expectRefusal({"render", "in.png", "-o", name}, 2, {"its own layer", name, "--in-place"});
        expectRefusal({"overlay", "p.1.png", "--over", "in.png", "-o", name}, 2,
                      {"its own plate", name, "--in-place"});
    }
    expectRefusal({"render", "p.%d.png", "-o", "p.%d.png"}, 2, {"its own layer", "p.1.png"});
    EXPECT_EQ(bytesOf("in.png"), before);
    Words const pins = {"--to", "1,1 7,1 1,5 7,5", "--no-metadata"};
    render("in.png", "away.png", pins);
    EXPECT_EQ(render("link.png", "link.png", joined(pins, {"--in-place"})), "");
    EXPECT_EQ(bytesOf("in.png"), bytesOf("away.png"));
    EXPECT_TRUE(fs::is_symlink(at("link.png")));
    render("p.%d.png", "p.%d.png", joined(pins, {"--in-place"}));
    EXPECT_EQ(bytesOf("p.3.png"), bytesOf("away.png"));
}

TEST_F(OnePicture, TakesTheOptionsOfASequence) {
    put("o.png", "earlier");
    EXPECT_EQ(render("in.png", "o.png", {"--skip-existing=name"}),
              "zelk: 0 frames written, 1 skipped\n");
    EXPECT_EQ(render("none.png", "o.png", {"--missing", "skip"}),
              "zelk: 0 frames written, 1 skipped\n");
    EXPECT_EQ(bytesOf("o.png"), "earlier");
    render("none.png", "o.png", {"--over", "in.png", "--missing", "black", "--in-flight", "2"});
    EXPECT_EQ(readPicture<float>(at("o.png")), readPicture<float>(at("in.png")));
    EXPECT_TRUE(has(copy("in.png", "o.png", {"--progress", "plain"}), "zelk: 1 frame written\n"));
    std::string const told = copy("in.png", "o.png", {"--progress", "json"});
    EXPECT_TRUE(has(told, R"("event":"frame")") && has(told, R"("written":1)")) << told;
}

// The script in a folder of its own, with stand-ins for what builds.
TEST_F(OnePicture, TheScriptTakesPathsFromWhereItsUserStands) {
    for (char const* folder : {"packaging", "build/release/bin", "user"})
        fs::create_directories(at(folder));
    put("packaging/debian-packages.txt", "");
    putProgram("cmake", "exit 0");
    put("build/release/bin/zelk", "#!/bin/sh\necho \"$PWD: $*\" > heard\n");
    fs::permissions(at("build/release/bin/zelk"), fs::perms::owner_all);
    fs::copy_file(ZELK_RUN_SCRIPT, at("run"));
    std::string const user = at("user").string();
    ASSERT_EQ(std::system(("cd " + user + " && bash ../run zelk render a.png").c_str()), 0);
    EXPECT_EQ(bytesOf("user/heard"), user + ": render a.png\n");
}

}  // namespace
}  // namespace zelk_test
