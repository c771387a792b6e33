// Everything that can be wrong with a command: the exit code, one line that names the thing, the
// value and what was expected, and an output place that is as it was.
#include <OpenImageIO/imageio.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <algorithm>
#include <cstdlib>

#include "tests/apps/zelk_process.h"

namespace zelk_test {
namespace {

struct Wrong {
    char const* name;
    std::vector<std::string> arguments;
    int exitCode;
    std::vector<std::string> fragments;
};

std::vector<std::string> render(std::vector<std::string> const& more) {
    std::vector<std::string> all = {"render", "in.png", "-o", "out.png"};
    all.insert(all.end(), more.begin(), more.end());
    return all;
}

std::vector<Wrong> const kWrong = {
    // Words of the command line.
    {"NoCommand", {}, 2, {"COMMAND", "render, params, project"}},
    {"UnknownCommand", {"sheet"}, 2, {"\"sheet\"", "render, params, project"}},
    {"NoLayer", {"render", "-o", "out.png"}, 2, {"LAYER"}},
    {"NoOutput", {"render", "in.png"}, 2, {"--output"}},
    {"UnknownOption", render({"--qality", "low"}), 2, {"\"--qality\"", "--quality"}},
    {"ArgumentTooMany", render({"more.png"}), 2, {"\"more.png\""}},
    {"EmptyValue",
     {"render", "in.png", "--explain=", "-o", "out.png"},
     2,
     {"--explain", "no value"}},
    {"EmptyPlate", render({"--over", ""}), 2, {"--over", "not given", "a picture file"}},
    {"NoValue", render({"--to"}), 2, {"--to", "no value"}},
    {"GivenTwice", render({"--view", "to", "--view", "from"}), 2, {"--view", "more than one"}},
    {"UnknownParamsOption", {"params", "--jsn"}, 2, {"\"--jsn\"", "--json"}},
    // Choices and numbers.
    {"Quality", render({"--quality", "ultra"}), 2, {"\"ultra\"", "low, medium, high or super"}},
    {"View", render({"--view", "top"}), 2, {"\"top\"", "original, from, to or both"}},
    {"Depth", render({"--depth", "12"}), 2, {"\"12\"", "8, 16 or float"}},
    {"HostName", render({"--host", "ABCD"}), 2, {"\"ABCD\"", "FXTC, PrMr, KeyG or MOTN"}},
    {"Threads", render({"--threads", "-1"}), 2, {"\"-1\"", "0 to 1024"}},
    {"ThreadsText", render({"--threads", "many"}), 2, {"\"many\"", "whole number"}},
    {"Downsample", render({"--downsample", "0"}), 2, {"\"0\"", "1 to 32767"}},
    {"DownsampleHalf", render({"--downsample", "1.5"}), 2, {"\"1.5\"", "whole number"}},
    {"DownsampleOver", render({"--over", "in.png", "--downsample", "2"}), 2, {"--downsample"}},
    {"DownsampleAll", render({"--downsample", "3"}), 2, {"\"3\"", "1 to 2"}},
    // Pins.
    {"ThreeCorners", render({"--to", "0,0 1,0 0,1"}), 2, {"--to", "(3)", "four corners"}},
    {"FiveCorners", render({"--from", "0,0 1,0 0,1 1,1 2,2"}), 2, {"--from", "(5)"}},
    {"NoPoint", render({"--to", "0,0 1 0,1 1,1"}), 2, {"\"1\"", "x,y"}},
    {"NotANumber", render({"--to", "0,0 1,nan 0,1 1,1"}), 2, {"\"nan\""}},
    {"Infinity", render({"--from", "0,0 1,0 -inf,1 1,1"}), 2, {"\"-inf\""}},
    {"HalfANumber", render({"--to", "0,0 1,0x 0,1 1,1"}), 2, {"\"0x\""}},
    {"TooFarOut", render({"--to", "0,0 32767.5,0 0,1 1,1"}), 2, {"\"32767.5\"", "32767"}},
    // Parameters.
    {"UnknownName", render({"--set", "rotat=3"}), 2, {"\"rotat\"", "\"rotate\""}},
    {"NoEquals", render({"--set", "rotate"}), 2, {"\"rotate\"", "NAME=VALUE"}},
    {"Range", render({"--set", "samples=65"}), 2, {"samples", "\"65\"", "1 to 64"}},
    {"RangeBelow", render({"--set", "scale-x=-20.5"}), 2, {"\"-20.5\"", "-20 to 20"}},
    {"FloatRange", render({"--set", "super-sample-edge=12.01"}), 2, {"\"12.01\"", "0 to 12"}},
    {"SliderNan", render({"--set", "rotate=NaN"}), 2, {"\"NaN\""}},
    {"WholeSlider", render({"--set", "grow-bounds=1.5"}), 2, {"\"1.5\"", "whole number"}},
    {"Popup", render({"--set", "transfer-mode=Ad"}), 2, {"\"Ad\"", "Add, Multiply"}},
    {"PopupNumber", render({"--set", "quality=5"}), 2, {"\"5\"", "1 to 4"}},
    {"Separator", render({"--set", "transfer-mode=4"}), 2, {"separator", "\"4\""}},
    {"SeparatorText", render({"--set", "transfer-mode=(-"}), 2, {"separator", "\"(-\""}},
    {"Checkbox", render({"--set", "crop-to-pins=2"}), 2, {"\"2\"", "on or off"}},
    {"Color", render({"--set", "to-wireframe-color=#12345g"}), 2, {"\"#12345g\"", "#rrggbb"}},
    {"Group", render({"--set", "to-pins-group=1"}), 2, {"to-pins-group", "no value"}},
    {"HostRange", render({"--host", "PrMr", "--set", "motion-blur=3"}), 2, {"\"3\"", "1 to 2"}},
    // Files.
    {"NoModule", render({"--module", "none.so"}), 3, {"none.so", "no such module"}},
    {"ModuleIsText", render({"--module", "text.png"}), 3, {"text.png", "cannot be loaded"}},
    {"NoFile", {"render", "none.png", "-o", "out.png"}, 3, {"none.png", "no such file"}},
    {"Folder", {"render", "folder", "-o", "out.png"}, 3, {"folder", "directory"}},
    {"Pipe", {"render", "pipe.png", "-o", "out.png"}, 3, {"pipe.png", "not a regular file"}},
    {"LayerDash", {"render", "-", "-o", "out.png"}, 3, {"LAYER", "standard input"}},
    {"PlateDash", render({"--over", "-"}), 3, {"--over", "standard input"}},
    {"Text", {"render", "text.png", "-o", "out.png"}, 3, {"text.png", "cannot be read"}},
    {"Empty", {"render", "empty.png", "-o", "out.png"}, 3, {"empty.png", "cannot be read"}},
    {"CutPng", {"render", "cut.png", "-o", "out.png"}, 3, {"cut.png", "cannot be read"}},
    {"CutJpeg", {"render", "cut.jpg", "-o", "out.png"}, 3, {"cut.jpg", "cannot be read"}},
    {"CutExr", {"render", "cut.exr", "-o", "out.png"}, 3, {"cut.exr", "cannot be read"}},
    {"CutTiff", {"render", "cut.tif", "-o", "out.png"}, 3, {"cut.tif", "cannot be read"}},
    {"TooLarge", {"render", "wide.png", "-o", "out.png"}, 3, {"wide.png", "\"32768x1\"", "32767"}},
    {"NoFolder", {"render", "in.png", "-o", "none/out.png"}, 4, {"none/out.png", "no folder"}},
    {"NoFormat", {"render", "in.png", "-o", "out.xyz"}, 4, {"out.xyz", "\".xyz\""}},
    {"TargetFolder", {"render", "in.png", "-o", "folder.png"}, 4, {"not a regular file"}},
    // Tracks.
    {"TrackNone", {"track"}, 2, {"FILE", "a tracking file"}},
    {"TrackOut", {"track", "convert", "in.png"}, 2, {"OUT", "convert IN OUT"}},
    {"TrackMore", {"track", "a", "b"}, 2, {"\"b\"", "convert IN OUT"}},
    {"TrackForm", {"track", "a", "--format", "b"}, 2, {"--format", "\"b\"", "mocha, keyframes"}},
    {"TrackAs", {"track", "convert", "a", "b.xyz"}, 2, {"b.xyz", "\".xyz\"", "--as"}},
    {"TrackCorners", {"track", "a", "--corners", "ul,ul,ll,lr"}, 2, {"--corners", "each once"}},
    {"TrackAspect", {"track", "a", "--pixel-aspect", "0"}, 2, {"\"0\"", "10/11"}},
    {"TrackOver", {"track", "a", "--over", "in.png"}, 2, {"--over", "--plot"}},
    {"TrackNoFile", {"track", "none.txt"}, 3, {"none.txt", "cannot be read"}},
    {"TrackFolder", {"track", "folder"}, 3, {"folder", "cannot be read"}},
    {"TrackText", {"track", "text.png"}, 3, {"text.png", "no corner's section"}},
    {"TrackSize", {"track", "convert", "wide.csv", "o.txt"}, 2, {"o.txt", "--size WxH"}},
    {"TrackFlip", {"track", "wide.csv", "--flip-y"}, 2, {"--flip-y", "--size WxH"}},
    {"TrackTold", {"track", "wide.csv", "--plot", "out.xyz"}, 4, {"out.xyz", "\".xyz\""}},
    {"TrackPlace", {"track", "convert", "wide.csv", "none/o.csv"}, 4, {"none/o.csv", "no folder"}},
    {"LineEnds", {"render", "a\nb.png", "-o", "out.png"}, 3, {"a b.png"}},
};

class WrongCommand : public ZelkTest, public ::testing::WithParamInterface<Wrong> {
protected:
    void SetUp() override {
        ZelkTest::SetUp();
        writePicture(at("in.png"), noise<std::uint8_t>(2, 2, 4, 1));
        put("text.png", "no picture at all");
        put("empty.png", "");
        put("wide.csv", "0,1,1,9,1,1,9,9,9\n");
        ASSERT_EQ(::mkfifo(at("pipe.png").c_str(), 0600), 0);
        std::filesystem::create_directory(at("folder"));
        std::filesystem::create_directory(at("folder.png"));
        writePicture(at("wide.png"), noise<std::uint8_t>(32768, 1, 1, 2));
        for (std::string const name : {"cut.png", "cut.jpg", "cut.exr", "cut.tif"}) {
            writePicture(at(name), noise<std::uint8_t>(64, 64, 3, 3));
            std::string const whole = bytesOf(name);
            put(name, whole.substr(0, whole.size() / 2));
        }
        put("out.png", "earlier");
    }
};

void expectOneLine(Outcome const& outcome, int exitCode,
                   std::vector<std::string> const& fragments) {
    EXPECT_EQ(outcome.exitCode, exitCode);
    EXPECT_EQ(outcome.out, "");
    EXPECT_EQ(std::count(outcome.err.begin(), outcome.err.end(), '\n'), 1) << outcome.err;
    EXPECT_TRUE(outcome.err.starts_with("zelk: ") && outcome.err.ends_with("\n")) << outcome.err;
    EXPECT_NE(outcome.err.find(", expected "), std::string::npos) << outcome.err;
    for (std::string const& fragment : fragments) {
        EXPECT_NE(outcome.err.find(fragment), std::string::npos)
            << fragment << " is not in " << outcome.err;
    }
}

TEST_P(WrongCommand, IsOneLineAndLeavesTheTarget) {
    auto const before = files();
    expectOneLine(run(GetParam().arguments), GetParam().exitCode, GetParam().fragments);
    EXPECT_EQ(bytesOf("out.png"), "earlier");
    EXPECT_EQ(files(), before);
}

INSTANTIATE_TEST_SUITE_P(Table, WrongCommand, ::testing::ValuesIn(kWrong),
                         [](auto const& row) { return row.param.name; });

/// A PNG header of any size; its pixels are missing.
std::string pngHeader(std::uint32_t width, std::uint32_t height) {
    auto const word = [](std::uint32_t value) {
        std::string bytes;
        for (int shift = 24; shift >= 0; shift -= 8) bytes += static_cast<char>(value >> shift);
        return bytes;
    };
    auto const chunk = [&](std::string const& data) {
        std::uint32_t crc = 0xffffffff;
        for (char c : data) {
            crc ^= static_cast<unsigned char>(c);
            for (int bit = 0; bit < 8; ++bit) crc = (crc >> 1) ^ ((crc & 1) ? 0xedb88320u : 0u);
        }
        return word(static_cast<std::uint32_t>(data.size()) - 4) + data + word(~crc);
    };
    return std::string("\x89PNG\r\n\x1a\n") +
           chunk("IHDR" + word(width) + word(height) + std::string("\x10\x06\0\0\0", 5)) +
           chunk("IDAT");
}

using Failures = ZelkTest;

TEST_F(Failures, APictureOfNoSizeOrBeyondTheMemoryIsAnInputError) {
    put("none.png", pngHeader(0, 5));
    expectOneLine(run({"render", "none.png", "-o", "out.png"}), 3, {"none.png"});
#if !defined(__SANITIZE_ADDRESS__)             // its shadow memory needs more address space
    put("huge.png", pngHeader(32767, 32767));  // 34 GB in four rasters
    expectOneLine(run({"render", "huge.png", "-o", "out.png"}, {.addressSpace = 4u << 30}), 3,
                  {"huge.png", "memory", "32767x32767"});
    EXPECT_EQ(files(), (std::vector<std::string>{"huge.png", "none.png"}));
#endif
}

// Far before its end and right at it; each writer has its own way to notice, or not to. The layer
// has Exif data, which TIFF keeps behind the picture.
TEST_F(Failures, AFullDiskLeavesTheEarlierFileAndNothingElse) {
    OIIO::ImageSpec spec(96, 96, 3, OIIO::TypeUInt8);
    spec.attribute("Exif:FocalLength", 35.0f);
    auto const writer = OIIO::ImageOutput::create("tiff");
    ASSERT_TRUE(writer->open(at("in.tif").string(), spec));
    auto const pixels = noise<std::uint8_t>(96, 96, 3, 7);
    ASSERT_TRUE(writer->write_image(OIIO::TypeUInt8, pixels.values.data()) && writer->close());
    for (std::string const name :
         {"o.png", "o.exr", "o.tif", "o.dpx", "o.tga", "o.webp", "o.ppm", "o.hdr", "o.jpg"}) {
        ASSERT_EQ(run({"render", "in.tif", "-o", name, "--quality", "low"}).exitCode, 0) << name;
        std::size_t const whole = std::filesystem::file_size(at(name));
        for (std::size_t const size :
             {std::size_t{4096}, whole - 4096, whole - 64, whole - 2, whole - 1}) {
            SCOPED_TRACE(name + ", " + std::to_string(size) + " of " + std::to_string(whole));
            put(name, "earlier");
            expectOneLine(
                run({"render", "in.tif", "-o", name, "--quality", "low"}, {.fileSize = size}), 4,
                {name, "cannot be written"});
            EXPECT_EQ(bytesOf(name), "earlier");
        }
        std::filesystem::remove(at(name));
        EXPECT_EQ(files(), std::vector<std::string>{"in.tif"});
    }
}

TEST_F(Failures, APlaceThatMayNotBeWrittenStays) {
    namespace fs = std::filesystem;
    writePicture(at("in.png"), noise<std::uint8_t>(4, 4, 4, 7));
    fs::permissions(at("."), fs::perms(0755));
    for (char const* folder : {"open", "shut"}) {
        fs::create_directory(at(folder));
        put(std::string(folder) + "/o.png", "earlier");
    }
    fs::permissions(at("open"), fs::perms::all);
    fs::permissions(at("open/o.png"), fs::perms(0444));
    fs::permissions(at("shut"), fs::perms(0555));
    for (std::string const out : {"open/o.png", "shut/o.png", "shut/new.png"}) {
        Outcome const outcome = run({"render", "in.png", "-o", out}, {.isNobody = true});
        if (outcome.exitCode == 126) GTEST_SKIP() << "another user can't reach the program here";
        expectOneLine(outcome, 4, {out, "cannot be written", "Permission denied"});
    }
    EXPECT_EQ(bytesOf("open/o.png") + bytesOf("shut/o.png"), "earlierearlier");
    EXPECT_FALSE(fs::exists(at("shut/new.png")));
    fs::permissions(at("shut"), fs::perms::all);
}

TEST_F(Failures, AnUnrulyEffectIsARenderFailure) {
    struct Mood {
        char const* word;
        int exitCode;
        std::vector<std::string> fragments;
    };
    std::vector<Mood> const moods = {
        {"fail", 1, {"code 7", "no film in the camera"}},
        {"mute", 1, {"without a message", "\"6\""}},
        {"keep", 1, {"kept", "1 world"}},
        {"refuse", 1, {"cannot be loaded", "9"}},
        {"few", 3, {"number of parameters", "\"5\"", "63"}},
    };
    writePicture(at("in.png"), noise<std::uint8_t>(4, 4, 4, 7));
    std::vector<std::string> const arguments = {"render",  "in.png",   "-o",
                                                "out.png", "--module", UNRULY_MODULE};
    for (Mood const& mood : moods) {
        SCOPED_TRACE(mood.word);
        ::setenv("ZELK_UNRULY", mood.word, 1);
        expectOneLine(run(arguments), mood.exitCode, mood.fragments);
        EXPECT_EQ(files(), std::vector<std::string>{"in.png"});
    }
    ::setenv("ZELK_UNRULY", "throw", 1);
    Outcome const thrown = run(arguments);
    EXPECT_EQ(thrown.exitCode, 1);
    EXPECT_EQ(std::count(thrown.err.begin(), thrown.err.end(), '\n'), 1) << thrown.err;
    ::unsetenv("ZELK_UNRULY");
    EXPECT_EQ(run(arguments).exitCode, 0);
    EXPECT_EQ(bytesOf("_stderr"), "");
}

}  // namespace
}  // namespace zelk_test
