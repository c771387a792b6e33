// Tracking data: every form against every other, the effect's own form against the effect's import,
// and what is told of files that are wrong, odd or of more than one form.
#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <locale>
#include <random>

#include "apps/drawing/track_plot.h"
#include "fuzz/fuzz_targets.h"
#include "tests/support/zelk_process.h"
#include "tracking/LoadMochaFile.h"
#include "tracking/MochaLoader.h"
#include "zelk/files/text_file.h"
#include "zelk/text/errors.h"
#include "zelk/tracks/check.h"
#include "zelk/tracks/forms.h"
#include "zelk/tracks/mocha.h"

namespace zelk {
namespace {

using zelk_test::has;
using zelk_test::split;

fs::path const kCorpus = ZELK_FUZZ_CORPUS;

/// Sixteenths of a pixel below 4096: a single float holds them, and a frame's height minus them.
Track randomTrack(std::mt19937& random) {
    Track track;
    track.width = std::uniform_int_distribution(1, 4096)(random);
    track.height = std::uniform_int_distribution(1, 4096)(random);
    track.rate = 23.976;
    std::uniform_int_distribution<int> sixteenths(-65536, 65536), frames(-400, 400);
    std::vector<double> times;
    for (int i = 0; i < 12; ++i) times.push_back(frames(random) / 4.0);
    for (CornerTrack& corner : track.corners) {
        std::shuffle(times.begin(), times.end(), random);
        for (double const time : times)
            corner.samples.push_back(
                {time, sixteenths(random) / 16.0, sixteenths(random) / 16.0, 0});
    }
    return track;
}

/// Frames and corners as they stand at last, written out.
std::string rowsText(Track const& track) {
    std::string text;
    eachRow(track, [&text](TrackRow const& row) {
        text += "\n" + numberText(row.frame);
        for (auto const& point : row.corners)
            text += point ? " " + numberText(point->x) + "," + numberText(point->y) : " -";
    });
    return text;
}

ReadTrackOptions optionsFor(std::string_view format, bool asks = false) {
    return {format.empty() ? std::nullopt : std::optional<std::string>(format), {}, asks};
}

Track reread(Track const& track, TrackFormat const& format) {
    std::string const text = format.write(track);
    return trackFromText({"text", text, {}}, optionsFor(format.name));
}

TEST(Track, EveryFormGivesEveryOtherTheSameTrackUnderACommaLocale) {
    zelk_test::TemporaryFolder const folder;
    std::string const make = "localedef -i de_DE -f UTF-8 " + folder.at("de_DE.UTF-8").string();
    ASSERT_EQ(std::system(make.c_str()) + ::setenv("LOCPATH", folder.path().c_str(), 1), 0);
    std::locale const former = std::locale::global(std::locale("de_DE.UTF-8"));  // of C, too
    ASSERT_EQ(std::strtod("1,5", nullptr), 1.5);
    for (unsigned seed = 1; seed <= 8; ++seed) {
        std::mt19937 random(seed);
        Track const track = randomTrack(random);
        for (TrackFormat const& first : trackFormats())
            for (TrackFormat const& second : trackFormats()) {
                SCOPED_TRACE(std::string(first.name) + " to " + std::string(second.name));
                Track const back = reread(reread(track, first), second);
                EXPECT_EQ(rowsText(back), rowsText(track));
                EXPECT_EQ(std::pair(back.width, back.height), std::pair(track.width, track.height));
                bool const tellsRate = first.name != "nodes" && second.name != "nodes";
                EXPECT_TRUE(!tellsRate || back.rate == track.rate);
            }
    }
    std::locale::global(former);
}

/// What the import is given of a file: corner, frame, x and y in single pixels.
class Collector final : public MochaLoader {
public:
    int startLoadProperty(int corner, int) override { return m_corner = corner, 0; }
    int setValue(double x, double y, double frame) override {
        samples.push_back({double(m_corner), frame, x, y, double(m_width), double(m_height)});
        return 0;
    }
    int finishLoadProperty() override { return 0; }
    void setResolution(int width, int height) override { m_width = width, m_height = height; }

    std::vector<std::array<double, 6>> samples;

private:
    int m_corner = -1, m_width = 720, m_height = 486;
};

// Pieces of the corpus in any order, bytes replaced among them: where our reader takes the file, it
// and the import read the same samples.
TEST(Track, TheImportReadsTheSameSamples) {
    std::string seeds;
    for (auto const& entry : fs::directory_iterator(kCorpus / "mocha"))
        seeds += readTextFile(entry.path(), "a seed");
    zelk_test::TemporaryFolder const folder;
    int taken = 0;
    for (unsigned seed = 1; seed <= 600; ++seed) {
        std::mt19937 random(seed);
        auto const upTo = [&random](std::size_t most) {
            return std::uniform_int_distribution<std::size_t>(0, most)(random);
        };
        std::string text = seed % 2 ? "Lower Left\n" : "";
        for (int piece = 0; piece < 3; ++piece) text += seeds.substr(upTo(seeds.size()), upTo(500));
        for (std::size_t i = upTo(3); i > 0; --i)
            text[upTo(text.size() - 1)] = "\n0 \0\tL9"[upTo(6)];
        Track track;
        try {
            track = trackFromText({"text", text, {}}, optionsFor("mocha"));
        } catch (UserError const&) {
            continue;
        }
        ++taken;
        fs::path const file = folder.put("track.txt", text);
        int corners[] = {kUpperLeft, kUpperRight, kLowerLeft, kLowerRight}, ids[] = {0, 0, 0, 0};
        Collector import;
        LoadMochaFile(nullptr, corners, ids, file.c_str(), &import);
        std::array<std::size_t, 4> next{};
        for (auto const& [corner, frame, x, y, width, height] : import.samples) {
            auto const& samples = track.corners[std::size_t(corner)].samples;
            ASSERT_LT(next[std::size_t(corner)], samples.size()) << "seed " << seed;
            TrackSample const& sample = samples[next[std::size_t(corner)]++];
            ASSERT_EQ(
                std::tuple(float(sample.frame), float(sample.x) / width, float(sample.y) / height),
                std::tuple(frame, x, y))
                << "seed " << seed;
        }
        for (std::size_t c = 0; c < 4; ++c) ASSERT_EQ(next[c], track.corners[c].samples.size());
    }
    EXPECT_GT(taken, 50);
}

TEST(Track, TheFuzzersCorpusIsReplayed) {
    for (FuzzTarget const& target : fuzzTargets()) {
        int files = 0;
        for (auto const& entry : fs::directory_iterator(kCorpus / target.name)) {
            SCOPED_TRACE(entry.path().string());
            EXPECT_NO_THROW(target.run(readTextFile(entry.path(), "a seed")));
            ++files;
        }
        EXPECT_GT(files, 0) << target.name;
    }
}

/// Sections of one sample each, with such headings.
std::string sections(std::string const& headings, std::string const& xy) {
    std::string text =
        "Adobe After Effects 8.0 Keyframe Data\nSource Width 100\nSource Height 50\n";
    auto const names = split(headings, ';'), samples = split(xy, ';');
    for (std::size_t i = 0; i < samples.size(); ++i)
        text += names[i] + "\n\tFrame\tX\tY\n\t0 " + samples[i] + "\n";
    return text;
}

char const* const kWords = "Upper Left;Upper Right;Lower Left;Lower Right";
char const* const kNumbers =
    "ADBE Corner Pin-0001;ADBE Corner Pin-0002;ADBE Corner Pin-0003;ADBE Corner Pin-0004";

/// Rows of a table, their cells parted by `|`; ~ stands for a line's end, ` for a tab. A cell that
/// begins with W or N and blank has sections of one sample each, with headings in words or numbers.
std::vector<std::vector<std::string>> rowsOf(std::string const& table) {
    std::vector<std::vector<std::string>> rows;
    for (std::string const& row : split(table, '\n')) {
        rows.push_back(split(row, '|'));
        for (std::string& cell : rows.back()) {
            std::replace(cell.begin(), cell.end(), '~', '\n');
            std::replace(cell.begin(), cell.end(), '`', '\t');
            if (cell.starts_with("W ")) cell = sections(kWords, cell.substr(2));
            if (cell.starts_with("N ")) cell = sections(kNumbers, cell.substr(2));
        }
    }
    return rows;
}

// A text, the forms that it may have, and what it holds as the first of them.
constexpr char const* kKnown =
    R"(W 10 10;90 10;10 40;90 40|mocha keyframes|~0 10,10 10,40 90,10 90,40
N 10 10;90 10;10 40;90 40|mocha|~0 10,10 90,10 10,40 90,40
Root { format "100 50 0 0 100 50 1 x" }~to1 {{curve i x1 10 11 x4 K 12 s0} 10}|nodes|~1 - - 10,40 -~2 - - 11,40 -~4 - - 12,40 -
Frame;lower right X;lower right Y;note~1;1,5;-2;a~2;;;b~|csv|~1 - - - 1.5,-2
x,"y",corner,frame~1,2,Top-Left,-3.5~|csv|~-3.5 1,2 - - -
5 1 7 8~6 2 9,5 8~|columns|~5 7,8 - - -~6 - 9.5,8 - -
0,10,10,90,10,10,40,90,40~|csv|~0 10,10 90,10 10,40 90,40
1 2 7 8~|columns corner-columns|~2 1,7 - - -
no numbers at all||)";

TEST(Track, FormsAreKnownByTheirText) {
    for (auto const& row : rowsOf(kKnown)) {
        SCOPED_TRACE(row[0]);
        std::string names;
        auto const forms = formatsOf({"text", row[0], {}});
        for (TrackFormat const* form : forms)
            names += (names.empty() ? "" : " ") + std::string(form->name);
        EXPECT_EQ(names, row[1]);
        if (forms.size() == 1) {
            EXPECT_EQ(rowsText(trackFromText({"text", row[0], {}})), row[2]);
        } else {
            EXPECT_THROW(trackFromText({"text", row[0], {}}, optionsFor("", true)), UserError);
        }
    }
    std::string const words = sections(kWords, "10 10;90 10;10 40;90 40");
    EXPECT_EQ(rowsText(trackFromText({"text", words, {}})), "\n0 10,10 10,40 90,10 90,40");
    EXPECT_EQ(rowsText(trackFromText({"text", words, {}}, optionsFor("keyframes"))),
              "\n0 10,10 90,10 10,40 90,40");
    std::string const marked = std::string("\xef\xbb\xbf") + "5 ul 7 8\r";
    EXPECT_EQ(rowsText(trackFromText({"text", marked, {}})), "\n5 7,8 - - -");
}

// A form, empty for what the text tells, a text, and how its refusal begins.
constexpr char const* kRefused = R"(mocha|0 1 2~|no section of a corner, expected
keyframes|Source Width 32768~|line 1: the frame's size can't be "Source Width 32768"
nodes|to1 {1~|line 1: breaks off in a pin, expected
|1 bogus 100 3~2 ul 1 2~|line 1: not a corner: "bogus"
|ul 1 2 3~ul 2 2 1e400~|line 2: column 4 is not a number: "1e400"
mocha|Upper Left~0 1 2~Lower Left~|line 3: a section without samples: "upper right"
keyframes|Transform~`1`2`3~|no positions of corners in the form "keyframes"
nodes|to1 {1 2}|the frame's height is unknown, and y points up in "CornerPin2D"
nodes|to1 {{curve x1 1} {curve x2 1}}~from1 {0 0} from2 {1 0} from3 {1 1} from4 {0 1}|line 1: x and y have keys at other frames in "lower left"
csv|frame,corner,x,y~1,ul,2~|line 2: too few columns: "3")";

TEST(Track, RefusalsTellLineAndReason) {
    auto rows = rowsOf(kRefused);
    rows.push_back(
        {"mocha", "Upper Left\r1 2 3\r", "line 1: lines end with carriage returns alone"});
    rows.push_back({"mocha", std::string("\xff\xfeU\0", 4), "line 1: the text is \"UTF-16\""});
    rows.push_back({"columns", std::string(1000, 'x') + " 1 2 3", "line 1: column 1 is not a "});
    std::string many = "Upper Left\n";
    for (std::size_t i = 0; i <= kMostSamples; ++i) many += "1 1 1\n";
    rows.push_back({"", many, ""});
    for (auto const& row : rows) {
        SCOPED_TRACE(row[1].substr(0, 200));
        try {
            trackFromText({"text", row[1], {}}, optionsFor(row[0]));
            ADD_FAILURE() << "was read";
        } catch (UserError const& error) {
            std::string const message = error.what();
            EXPECT_EQ(message.substr(0, 6 + row[2].size()), "text: " + row[2]);
            EXPECT_TRUE(has(message, ", expected ") && message.size() < 400) << message;
            EXPECT_EQ(error.code(), ExitCode::kInput);
        }
    }
}

// A text, and of each issue its kind, line if any, fix if any.
constexpr char const* kOdd = R"(N 10 10;90 10;10 40;90 40|
N 10 40;90 40;10 10;90 10|upside-down --flip-y
N 10 10;90 10;90 40;10 40|crossed --corners ul,ur,lr,ll
N 90 10;10 10;90 40;10 40|turned-over --corners ur,ul,lr,ll
N 90 40;10 40;90 10;10 10|
Source Pixel Aspect Ratio 1.5~Source Width 100~Source Height 50~ADBE Corner Pin-0001~0 10 10~|missing-corner; missing-corner; missing-corner; pixel-aspect --pixel-aspect 1.5
N 10 10;90 10;10 10;90 10|flat
N 10 10;90 10~ 1 90 10;10 40;90 40|uneven
N 10 10;90 10;10 40;40000 40|outside 15; beyond-host 15
0,10,10,90,10,10,40,90,40~|size --size WxH
# size 90x50~3 ul 9 9~2 ul 9 9~2 ul 9 9~|duplicate 4; order 3; missing-corner; missing-corner; missing-corner
# size 720x576~1,10,10,90,10,10,40,90,40~|frame-base --first-frame 0; pixel-aspect --pixel-aspect A
Root { format "100 50 0 0 100 50 2 ana" }~CornerPin2D {~ invert true~ to1 {10 10}~ to2 {90 10}~ to3 {90 40}~ to4 {10 40}~}~|note 3; pixel-aspect --pixel-aspect 2)";

std::string issuesOf(std::string const& text, TrackTarget const& target = {}) {
    std::string issues;
    for (TrackIssue const& issue : checkTrack(trackFromText({"text", text, {}}), target))
        issues += (issues.empty() ? "" : "; ") + std::string(faultName(issue.fault)) +
                  (issue.line > 0 ? " " + std::to_string(issue.line) : "") +
                  (issue.fix.empty() ? "" : " " + issue.fix);
    return issues;
}

TEST(Track, OddTracksAreReportedWithTheirFix) {
    for (auto const& row : rowsOf(kOdd)) {
        SCOPED_TRACE(row[0]);
        EXPECT_EQ(issuesOf(row[0]), row[1]);
    }
    auto const import = [](std::string const& text) {
        requireImportable("text", trackFromText({"text", text, {}}));
    };
    EXPECT_NO_THROW(import("0 10 10 90 10 10 40 32767 40"));
    EXPECT_THROW(import("0 10 10 90 10 10 40 40000 40"), UserError);
    std::string const text = sections(kNumbers, "10 10;90 10;10 40;90 40");
    EXPECT_EQ(issuesOf(text + std::string(300, ' ') + "\n"), "note 16");  // counts as two lines
    EXPECT_EQ(issuesOf(text, {PixelSize{200, 50}, 1001, 0, true}),
              "size; rate --rate FPS; frame-base --first-frame 1001");
    std::string const close = "# size 90x50\n5 ul 9 9\n5.0004 ul 8 8\n5.001 ul 7 7\n";
    EXPECT_TRUE(has(issuesOf(close, {{}, 5, 1000, false}), "merged 3"));
    EXPECT_FALSE(has(issuesOf(close, {{}, 5, 10000, false}), "merged"));
}

/// The box of white pixels.
std::array<int, 4> boxOf(World const& world) {
    std::array<int, 4> box = {world.width(), world.height(), 0, 0};
    for (int y = 0; y < world.height(); ++y)
        for (int x = 0; x < world.width(); ++x) {
            std::uint8_t const* const pixel = world.rowAs<std::uint8_t>(y) + 4 * x;
            if (pixel[1] != 255 || pixel[2] != 255 || pixel[3] != 255) continue;
            box = {std::min(box[0], x), std::min(box[1], y), std::max(box[2], x + 1),
                   std::max(box[3], y + 1)};
        }
    return box;
}

TEST(Track, PlotsLayThePictureIntoTheFrameWhateverTheSizes) {
    using Size = std::pair<int, int>;
    // Of the track (0 for untold), of the white picture below, a sample's place, the size without
    // the legend, its lines, and the box of the white picture.
    for (auto const& [size, over, far, plot, legendLines, box] :
         {std::tuple<Size, Size, Size, Size, int, std::array<int, 4>>{
              {0, 0}, {400, 200}, {10, 10}, {400, 200}, 2, {0, 0, 400, 200}},
          {{400, 200}, {4, 2}, {-300, 10}, {700, 200}, 1, {300, 0, 700, 200}},
          {{400, 200}, {4, 2}, {10, 1000}, {400, 400}, 2, {0, 0, 400, 200}},
          {{1600, 2}, {1600, 2}, {10, 1}, {1600, 64}, 1, {0, 31, 1600, 33}},
          {{2, 1600}, {2, 1600}, {1, 10}, {160, 1600}, 6, {79, 0, 81, 1600}}}) {
        Track track;
        std::tie(track.width, track.height) = size;
        track.corners[0].samples = {{0, double(far.first), double(far.second), 0}};
        World white({over.first, over.second, Depth::k8});
        for (int y = 0; y < over.second; ++y)
            std::fill_n(white.row(y), 4 * over.first, std::byte{255});
        World const drawn = plotTrack(track, &white).toWorld();
        EXPECT_EQ(drawn.width(), plot.first);
        EXPECT_EQ(drawn.height(), plot.second + 28 * legendLines);
        EXPECT_EQ(boxOf(drawn), box);
    }
}

}  // namespace
}  // namespace zelk
