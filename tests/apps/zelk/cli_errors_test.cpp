// Everything that can be wrong with a command: the exit code, one line that names the thing, the
// value and what was expected, and an output place that is as it was.
#include <sys/stat.h>

#include <algorithm>
#include <cstdlib>

#include "tests/support/zelk_process.h"

namespace zelk_test {
namespace {

// Words of a command, where `R` stands for a render of in.png into out.png; the exit code; and what
// the refusal says. Parted by `;`, as are words by blanks unless `_` stands for one.
constexpr char const* kWrong = R"(;2;the command is missing: give render, params, project
sheet;2;"sheet";render, params, project
render -o out.png;2;LAYER
render in.png;2;--output
R --qality low;2;"--qality";--quality
R more.png;2;"more.png"
R -- --view;2;"--view";too many
render -o out.png -- --explain;3;--explain: no such file
render in.png --explain= -o out.png;2;--explain;no value
R --to;2;--to;no value
R --view to --view from;2;--view is given more than once
R --explain --dry-run;2;--explain
R --downsample 1.5;2;"1.5";whole number
R --quality ultra;2;"ultra";low, medium, high, super or best
R --threads -1;2;"-1";0 to 1024
R --filter kees;2;"kees";mitchell or kaiser
R --filter keys --road module;2;--road module;leave --filter out
R --filter keys --plain;2;--plain does not go with --filter
R --quality best --road module;2;leave --quality best out
R --quality best --plain;2;--plain does not go with --quality best
R --taps 6;2;--taps needs a kernel: give --filter
R --filter box --taps 6;2;--taps;box or bilinear
R --feather 3 --st-map in.png;2;--feather does not go with --st-map
R --feather 3 --edges grid;2;--feather needs --edges exact
R --choke -1;2;"-1";0 to 10000
filters mitchel;2;"mitchel";mitchell
filters --plot none/f.png;4;none/f.png
R --over in.png --downsample 3;2;"3";1 to 2
R --downsample 3;2;"3";1 to 2
R --to 0,0_1,0_0,1;2;--to;(3);four corners
R --to 0,0_1_0,1_1,1;2;"1";x,y
R --from 0,0_1,0_-inf,1_1,1;2;"-inf"
R --to 0,0_32767.5,0_0,1_1,1;2;"32767.5";32767
R --set rotat=3;2;"rotat";"rotate"
R --set rotate;2;"rotate";NAME=VALUE
R --set super-sample-edge=12.01;2;"12.01";0 to 12
R --set grow-bounds=1.5;2;"1.5";whole number
R --set transfer-mode=Ad;2;"Ad";Add, Multiply
R --set transfer-mode=4;2;separator;"4"
R --set crop-to-pins=2;2;"2";on or off
R --set to-wireframe-color=#12345g;2;"#12345g";#rrggbb
R --set to-pins-group=1;2;to-pins-group;no value
R --host PrMr --set motion-blur=3;2;"3";1 to 2
R --over in.png --size 9x9;2;--size does not go with --over
R --over in.png --road module;2;module
R --size 9x9 --host KeyG;2;--host does not go with --size
R --size 9x9 --grow 4;2;--grow
R --plain --grow 4;2;--grow
R --mode add;2;--mode
R --invert --from 0,0_1,0_0,1_1,1;2;--from does not go with --invert
R --invert --mode add;2;--mode does not go with --invert
R --invert --st-map in.png;2;--st-map does not go with --invert
R --invert --holdout in.png;2;--holdout does not go with --invert
R --invert --choke 1;2;--choke does not go with --invert
R --color raw --work-color linear;2;--work-color does not go with --color raw
R --st-map in.png --road module;2;leave --st-map out
R --st-map in.png --host KeyG;2;--host does not go with --st-map
R --st-map a.mov;2;--st-map;"a.mov";OpenEXR
R --st-map none.exr;3;none.exr: no such file
R --st-map in.png;3;in.png: an ST map;8-bit
map in.png;2;--output
map in.png -o out.png;2;".png";.exr
map in.png -o out.exr --matrix;2;".exr";.json or .csv
R --motion-blur 65;2;--motion-blur;"65";1 to 64
R --motion-blur off out.png;2;"out.png";only LAYER
R --set rotate 30;2;--set;NAME=VALUE
project new n --layer -;3;--layer;standard input
project new n;2;--layer is missing
project new n --layer in.png --over a --plate b;2;--plate
R --over in.png --set grow-bounds=4;2;--set grow-bounds does not go with --over
R --motion-blur on --explain json --transfer add --over in.png;2;--transfer
R --plain --set grow-bounds=4;2;--set grow-bounds;--plain
R --road memory --grow 4;2;--grow does not go with --road memory
R --over in.png --transfer add;2;--transfer;--mode with --over
overlay in.png -o out.png --project own --frame 10000000;2;--frame;"10000000";-2147483 to 2147483
drag own --from 1,1 --to 2,2 --frame 10000000;2;--frame;"10000000"
R --project own --frames 9000000;2;--frames;"9000000";2147483
R --project framed;3;framed: parameters.grow-bounds does not go with render.size
R --project framed --grow 0 --transfer add;2;--transfer;--over
R --project framed --grow 0 --host KeyG;2;--host does not go with render.size of framed
R --project moded;3;moded: render.mode needs a plate
R --size 1e3x9;2;"1e3x9";1920x1080
R --frames 1-2;2;the same file for every frame
R --rate 0;2;--rate
R --shutter a;2;--shutter: not a number
R --over gone.png;3;gone.png
render in.png -o -;4;-
R --no-clobber;4;out.png;may not be replaced
R --module none.so;3;none.so;no such module
R --module text.png;3;text.png;cannot be loaded
render none.png -o out.png;3;none.png;no such file
render folder -o out.png;3;folder;directory
render - -o out.png;3;LAYER;standard input
render pipe.png -o out.png;3;pipe.png;not a regular file
render text.png -o out.png;3;text.png;cannot be read
render cut.png -o out.png;3;cut.png: cannot be read: the file breaks off
render p.json -o out.png;3;p.json: not a picture;--project
render wide.png -o out.png;3;wide.png;"32768x1";32767
render flat.hdr -o out.png;3;flat.hdr
render in.png -o none/out.png;4;none/out.png;no folder
render in.png -o out.xyz;4;out.xyz;".xyz"
render in.png -o folder.png;4;not a regular file
project show s --host KeyG;2;--host
track;2;FILE;a tracking file
track a b;2;"b";one file, or a command: convert
project;2;project;new, show, check or import-track
project mend s;2;"mend";import-track
track wide.csv --flip-y;2;--flip-y;--size WxH
track two.txt;3;corner-columns", expected one of them, by `--format`
R --track two.txt;3;by `--track-format`
track none.txt;3;none.txt: no such file
track convert a b.xyz;2;b.xyz;".xyz";--as
track a --corners ul,ul,ll,lr;2;--corners;each once
track a --pixel-aspect 0;2;"0";10/11
track a --over in.png;2;--over;--plot
track wide.csv --plot out.png --over out.png;2;--plot;another name
track convert wide.csv o.txt;2;o.txt;--size WxH
track --flip-y convert a b;2;--flip-y;track convert
project --force new s;2;--force;project new)";

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
    for (std::string const& row : split(kWrong, '\n')) {
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
    namespace fs = std::filesystem;
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
