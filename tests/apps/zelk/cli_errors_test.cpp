// Everything that can be wrong with a command: the exit code, one line that names the thing, the
// value and what was expected, and an output place that is as it was.
#include <sys/stat.h>

#include <algorithm>
#include <cstdlib>

#include "tests/support/zelk_process.h"

namespace zelk_test {
namespace {

std::string const kHeader = "#?RADIANCE\nFORMAT=32-bit_rle_rgbe\n\n";

Words wordsOf(std::string const& text) {
    Words words = text.empty() ? Words() : split(text, ' ');
    for (std::string& word : words) std::replace(word.begin(), word.end(), '_', ' ');
    if (!words.empty() && words[0] == "R")
        words = joined({"render", "in.png", "-o", "out.png"}, {words.begin() + 1, words.end()});
    return words;
}

using Failures = ZelkTest;

TEST_F(Failures, AreOneLineAndLeaveTheTarget) {
    writePicture(at("in.png"), noise<std::uint8_t>(2, 2, 4, 1));
    writePicture(at("wide.png"), noise<std::uint8_t>(32768, 1, 1, 2));
    put("text.png", "no picture at all");
    put("cut.png", bytesOf("in.png").substr(0, 30));
    put("p.json", "{}");
    put("two.txt", "1 1 2 3\n2 2 3 4\n");
    put("flat.hdr", kHeader + "-Y 0 +X 5\n");
    put("wide.csv", "0,1,1,9,1,1,9,9,9\n");
    put("out.png", "earlier");
    for (auto const& [name, said] :
         {std::pair("own", R"("parameters": {})"),
          {"moded", R"("render": {"mode": "add"})"},
          {"framed", R"("render": {"size": [9, 9]}, "parameters": {"grow-bounds": {"value": 4}})"}})
        put(name, std::string(R"({"schema": "zelk-project", "version": 1, "layer": "in.png",
            "comp": {"width": 2, "height": 2, "rate": 25, "startFrame": 0}, )") +
                      said + "}");
    ASSERT_EQ(::mkfifo(at("pipe.png").c_str(), 0600), 0);
    for (char const* folder : {"folder", "folder.png"})
        std::filesystem::create_directory(at(folder));
    auto const before = files();
    // A row has words of a command, where `R` stands for a render of in.png into out.png; the exit
    // code; and what the refusal says. Parted by `;`, as are words by blanks unless `_` stands for
    // one.
    for (std::string const& row : split(bytesOf(ZELK_WRONG_INPUTS), '\n')) {
        if (row.empty()) continue;
        Words const cells = split(row, ';');
        expectRefusal(wordsOf(cells[0]), std::stoi(cells[1]), {cells.begin() + 2, cells.end()});
        EXPECT_EQ(bytesOf("out.png"), "earlier");
        EXPECT_EQ(files(), before);
    }
    expectRefusal({"render", "a\nb.png", "-o", "out.png"}, 3, {"a b.png"});
    expectRefusal(wordsOf("R --over "), 2, {"--over is missing: give a picture file"});
    for (char const* option : {"--plate", "--over", "--output"})
        expectRefusal({"project", "new", "n", "--layer", "in.png", option, ""}, 2,
                      {option, " is missing: give"});
}

#if !defined(__SANITIZE_ADDRESS__)  // its shadow memory needs more address space
// A header without pixels: 34 GB in four rasters.
TEST_F(Failures, APictureBeyondTheMemoryIsAnInputError) {
    put("huge.hdr", kHeader + "-Y 32767 +X 32767\n");
    expectRefusal("render huge.hdr -o out.png"_words, 3, {"huge.hdr", "memory", "32767x32767"},
                  {.addressSpace = 4u << 30});
    EXPECT_EQ(files(), Words{"huge.hdr"});
}
#endif

// Far before its end and right at it; each writer has its own way to notice, or not to. The layer
// has Exif data, which TIFF keeps behind the picture.
TEST_F(Failures, AFullDiskLeavesTheEarlierFileAndNothingElse) {
    OIIO::ImageSpec spec(96, 96, 3, OIIO::TypeUInt8);
    spec.attribute("Exif:FocalLength", 35.0f);
    writeValues(at("in.tif"), spec, noise<float>(96, 96, 3, 7).values);
    for (std::string const name :
         {"o.png", "o.exr", "o.tif", "o.dpx", "o.webp", "o.hdr", "o.jpg"}) {
        Words const words = {"render", "in.tif", "-o", name, "--quality", "low"};
        done(words);
        std::size_t const whole = std::filesystem::file_size(at(name));
        for (std::size_t const size : {4096ul, whole - 4096, whole - 64, whole - 2, whole - 1}) {
            SCOPED_TRACE(std::to_string(size) + " of " + std::to_string(whole));
            put(name, "earlier");
            expectRefusal(words, 4, {name, "cannot be written"}, {.fileSize = size});
            EXPECT_EQ(bytesOf(name), "earlier");
        }
        EXPECT_EQ(files(), (Words{"in.tif", name}));
        std::filesystem::remove(at(name));
    }
}

TEST_F(Failures, APlaceThatMayNotBeWrittenStays) {
    writePicture(at("in.png"), noise<std::uint8_t>(4, 4, 4, 7));
    fs::create_directory(at("shut"));
    for (char const* name : {"o.png", "shut/o.png"}) put(name, "earlier");
    fs::permissions(at("o.png"), fs::perms(0444));
    fs::permissions(at("shut"), fs::perms(0555));
    for (std::string const out : {"o.png", "shut/o.png", "shut/new.png"})
        expectRefusal({"render", "in.png", "-o", out}, 4,
                      {out, "cannot be written", "Permission denied"}, {.obeysPermissions = true});
    EXPECT_EQ(bytesOf("o.png") + bytesOf("shut/o.png"), "earlierearlier");
    EXPECT_FALSE(fs::exists(at("shut/new.png")));
    fs::permissions(at("shut"), fs::perms::all);
}

TEST_F(Failures, AnUnrulyEffectIsARenderFailure) {
    writePicture(at("in.png"), noise<std::uint8_t>(4, 4, 4, 7));
    Words const words = joined(wordsOf("R --module"), {UNRULY_MODULE});
    for (auto const& [mood, exitCode, fragments] :
         {std::tuple<char const*, int, Words>{"fail", 1, {"code 7", "no film in the camera"}},
          {"mute", 1, {"code 6 and without a message"}},
          {"keep", 1, {"kept", "1 world"}},
          {"refuse", 1, {"cannot be loaded", "9"}},
          {"few", 3, {"number of parameters", "\"5\"", "63"}}}) {
        ::setenv("ZELK_UNRULY", mood, 1);
        expectRefusal(words, exitCode, fragments);
        EXPECT_EQ(files(), Words{"in.png"});
    }
    ::setenv("ZELK_UNRULY", "throw", 1);
    Outcome const thrown = run(words);
    EXPECT_EQ(thrown.exitCode, 1);
    EXPECT_EQ(lines(thrown.err), 1) << thrown.err;
    ::unsetenv("ZELK_UNRULY");
    EXPECT_TRUE(has(done(words), "nothing is drawn")) << "its pins are all 0";
}

}  // namespace
}  // namespace zelk_test
