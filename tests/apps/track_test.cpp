// Tracking data: every form against every other, the effect's own form against the effect's import,
// and what is told of files that are wrong, odd or of more than one form.
#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <clocale>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <locale>
#include <random>

#include "apps/zelk/track_plot.h"
#include "fuzz/fuzz_targets.h"
#include "tests/support/temporary_folder.h"
#include "tracking/LoadMochaFile.h"
#include "tracking/MochaLoader.h"
#include "zelk/files/text_file.h"
#include "zelk/text/errors.h"
#include "zelk/tracks/check.h"
#include "zelk/tracks/forms.h"
#include "zelk/tracks/mocha.h"

namespace zelk {
namespace {

namespace fs = std::filesystem;

fs::path const kCorpus = ZELK_FUZZ_CORPUS;

/// A German locale for C and C++ while it lives, made for the test.
class CommaLocale {
public:
    CommaLocale() {
        std::string const make =
            "localedef -i de_DE -f UTF-8 " + m_folder.at("de_DE.UTF-8").string();
        m_isReal =
            std::system(make.c_str()) == 0 && ::setenv("LOCPATH", m_folder.path().c_str(), 1) == 0;
        m_isReal = m_isReal && std::setlocale(LC_ALL, "de_DE.UTF-8") != nullptr;
        if (m_isReal) std::locale::global(std::locale("de_DE.UTF-8"));
    }
    ~CommaLocale() { std::locale::global(std::locale::classic()); }
    bool isReal() const { return m_isReal && std::strtod("1,5", nullptr) == 1.5; }

private:
    zelk_test::TemporaryFolder m_folder;
    bool m_isReal = false;
};

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
    CommaLocale const locale;
    ASSERT_TRUE(locale.isReal());
    for (unsigned seed = 1; seed <= 8; ++seed) {
        std::mt19937 random(seed);
        Track const track = randomTrack(random);
        for (TrackFormat const& first : trackFormats())
            for (TrackFormat const& second : trackFormats()) {
                SCOPED_TRACE(testing::Message()
                             << "seed " << seed << ": " << first.name << " to " << second.name);
                Track const back = reread(reread(track, first), second);
                ASSERT_EQ(rowsText(back), rowsText(track));
                ASSERT_EQ(back.width, track.width);
                ASSERT_EQ(back.height, track.height);
                bool const tellsRate = first.name != "nodes" && second.name != "nodes";
                ASSERT_TRUE(!tellsRate || back.rate == track.rate);
            }
    }
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
            auto const c = static_cast<std::size_t>(corner);
            ASSERT_LT(next[c], track.corners[c].samples.size()) << "seed " << seed;
            TrackSample const& sample = track.corners[c].samples[next[c]++];
            ASSERT_EQ(float(sample.frame), frame) << "seed " << seed;
            ASSERT_EQ(double(float(sample.x)) / width, x) << "seed " << seed;
            ASSERT_EQ(double(float(sample.y)) / height, y) << "seed " << seed;
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

std::string const kSize = "Source Width 100\nSource Height 50\n";
std::string const kHead = "Adobe After Effects 8.0 Keyframe Data\n" + kSize;

/// Sections of one sample each, with such headings.
std::string sections(std::vector<std::string> const& headings, std::vector<std::string> const& xy) {
    std::string text = kHead;
    for (std::size_t i = 0; i < headings.size(); ++i)
        text += headings[i] + "\n\tFrame\tX\tY\n\t0 " + xy[i] + "\n";
    return text;
}

std::vector<std::string> const kPlain = {"10 10", "90 10", "10 40", "90 40"};
std::vector<std::string> const kWords = {"Upper Left", "Upper Right", "Lower Left", "Lower Right"};
std::vector<std::string> const kNumbers = {"ADBE Corner Pin-0001", "ADBE Corner Pin-0002",
                                           "ADBE Corner Pin-0003", "ADBE Corner Pin-0004"};

struct Known {
    std::string text;
    std::vector<std::string> formats;  ///< that it may be in
    std::string rows;                  ///< as the first of them
};

TEST(Track, FormsAreKnownByTheirText) {
    std::string const rows = "\n0 10,10 90,10 10,40 90,40";
    std::string const swapped = "\n0 10,10 10,40 90,10 90,40";
    Known const kKnown[] = {
        {sections(kWords, kPlain), {"mocha", "keyframes"}, swapped},
        {sections(kNumbers, kPlain), {"mocha"}, rows},
        {sections({"ADBE Corner Pin-0001", "Upper Right ADBE Corner Pin-0002"}, kPlain),
         {"mocha"},
         "\n0 10,10 90,10 - -"},
        {"CornerPin2D {\n to1 {10 10}\n to2 {90 {curve x0 10}}\n to3 {90 40}\n to4 {10 40}\n"
         " from1 {0 0} from2 {100 0} from3 {100 50} from4 {0 50}\n}\n",
         {"nodes"},
         "\n0 10,10 90,10 10,40 90,40"},
        {"Root { format \"100 50 0 0 100 50 1 x\" }\nto1 {{curve i x1 10 11 x4 K 12 s0} 10}",
         {"nodes"},
         "\n1 - - 10,40 -\n2 - - 11,40 -\n4 - - 12,40 -"},
        {"to1 {{curve x1 9 x5 8} 0}\nto4 {7 2} from1 {0 0} from2 {9 0} from3 {9 9} from4 {0 9}",
         {"nodes"},
         "\n1 7,7 - 9,9 -\n5 7,7 - 8,9 -"},
        {"Frame;lower right X;lower right Y;note\r\n1;1,5;-2;a\r\n2;;;b\r\n",
         {"csv"},
         "\n1 - - - 1.5,-2"},
        {"0,10,10,90,10,10,40,90,40\n", {"csv"}, rows},
        {"\xef\xbb\xbfx,\"y\",corner,frame\r1,2,Top-Left,-3.5\r", {"csv"}, "\n-3.5 1,2 - - -"},
        {"# size 100x50\n0 10 10 90 10 10 40 90 40 # wide\n", {"columns"}, rows},
        {"5 1 7 8\n6 2 9,5 8\n", {"columns"}, "\n5 7,8 - - -\n6 - 9.5,8 - -"},
        {"0 10,5 10 90 10 10,5 40 90 40", {"columns"}, "\n0 10.5,10 90,10 10.5,40 90,40"},
        {"frame\tul_x\tul_y\n3\t1,5\t2\n", {"csv"}, "\n3 1.5,2 - - -"},
        {"frame,ul_x,ul_y\n1,\"100,5\",\"2\"\n", {"csv"}, "\n1 100.5,2 - - -"},
        {"0, 10, 10, 90, 10, 10, 40, 90, 40\n", {"csv"}, rows},
        {"\tFrame\tX\tY\n\t0\t1\t2\t0\n" + sections(kNumbers, kPlain), {"mocha"}, rows},
        {"5 ul 7 8\n", {"columns"}, "\n5 7,8 - - -"},
        {"5 1 7 8\n", {"columns"}, "\n5 7,8 - - -"},
        {"1 5 7 8\n", {"corner-columns"}, "\n5 7,8 - - -"},
        {"1 2 7 8\n", {"columns", "corner-columns"}, ""},
        {"no numbers at all", {}, ""},
    };
    for (Known const& known : kKnown) {
        SCOPED_TRACE(known.text);
        std::vector<std::string> names;
        for (TrackFormat const* format : formatsOf({"text", known.text, {}}))
            names.emplace_back(format->name);
        EXPECT_EQ(names, known.formats);
        if (!known.rows.empty()) {
            EXPECT_EQ(rowsText(trackFromText({"text", known.text, {}})), known.rows);
        }
        if (names.size() > 1) {
            EXPECT_THROW(trackFromText({"text", known.text, {}}, optionsFor("", true)), UserError);
        }
    }
    EXPECT_EQ(
        rowsText(trackFromText({"text", sections(kNumbers, kPlain), {}}, optionsFor("keyframes"))),
        rows);
}

struct Wrong {
    char const* format;  ///< empty for what the text tells
    std::string text;
    std::string message;  ///< without "text: "
};

TEST(Track, RefusalsTellLineAndReason) {
    Wrong const kWrong[] = {
        {"mocha", "0 1 2\n", "no corner's section in \"the file\""},
        {"", "",
         "no corner's section, pin node or table of numbers in \"the file\", expected "
         "tracking data, its form named by `zelk track convert --format` with mocha, "},
        {"", "Hello, world, and others", "no corner's section, pin node or table of numbers in"},
        {"", "time,ul_x,ul_y\n", "line 1: columns are missing in \"time,ul_x,ul_y\""},
        {"", "1,2,3,4,5\n", "line 1: no names of columns, and \"5 of them\""},
        {"", "1 ul 3 4 5\n", "line 1: too many columns: \"5\""},
        {"", "1 bogus 100 3\n2 ul 1 2\n", "line 1: not a corner: \"bogus\""},
        {"", "ul 1 2 3\nul 2 2 1e400\n", "line 2: column 4 is not a number: \"1e400\""},
        {"", "Source Width 5\n1 2 3\n", "no corner's section in \"the file\""},
        {"", "CornerPin2D\n", "no pins of a \"CornerPin2D\""},
        {"keyframes", "Source Width 32768\n",
         "line 1: the frame's size can't be \"Source Width 32768\""},
        {"mocha", "Source Width 99999999999\n",
         "line 1: the frame's size can't be \"Source Width 99999999999\""},
        {"nodes", "Root {\nformat \"0 2\" }", "line 2: the frame's size can't be \"0 2\""},
        {"csv", "frame,ul_x,ul_y\n1,2,\"1,920\"\n",
         "line 2: a comma for thousands or decimals in \"1,920\""},
        {"mocha", kSize + "Upper Left\n0 1 2\nLower Left\n",
         "line 5: a section without samples: \"upper right\""},
        {"mocha", "Source Width 0\n", "line 1: the frame's size can't be \"Source Width 0\""},
        {"mocha", "Source Height x\n", "line 1: the frame's size can't be \"Source Height x\""},
        {"mocha", "Upper Left\n1 nan 2\n", "line 2: not a finite number in \"1 nan 2\""},
        {"mocha", "Upper Left\n1 2,5 3\n", "line 2: not three numbers: \"1 2,5 3\""},
        {"mocha", "Upper Left\r1 2 3\r", "line 1: line ends are carriage returns alone"},
        {"mocha", std::string("\xff\xfeU\0", 4), "line 1: the text is \"UTF-16\""},
        {"keyframes", "Upper Left\n\t1\t2\n", "line 2: not three numbers: \"1\t2\""},
        {"keyframes", "Transform\n\t1\t2\t3\n", "no samples of corners in \"keyframes data\""},
        {"nodes", "to1 {1 2}", "y points up, and no height is told by \"CornerPin2D\""},
        {"nodes", "to1 {{curve x1 1 x3 2\n 3} 1}", "line 2: no frame before \"3\""},
        {"nodes",
         "to1 {{curve x1 1} {curve x2 1}}\nfrom1 {0 0} from2 {1 0} from3 {1 1} from4 {0 1}",
         "line 1: x and y have keys at other frames in \"lower left\""},
        {"nodes", "to1 {{\"frame*2\"} 1}", "line 1: not a number: \"\"frame*2\"\""},
        {"nodes", "to1 {1\n", "line 1: breaks off in a pin: \"\""},
        {"csv", "frame,ul_x\n", "line 1: columns are missing in \"frame,ul_x\""},
        {"csv", "frame,corner,x,y\n1,ul,2\n", "line 2: too few columns: \"3\""},
        {"csv", "1,2,3,4\n1,ul,x,3\n", "line 2: column 3 is not a number: \"x\""},
        {"columns", "1 ul 2 3\n1 5 2 3\n", "line 2: not a corner: \"5\""},
        {"columns", "# size 0x5\n", "line 1: not a size: \"0x5\""},
        {"columns", std::string(1000, 'x') + " 1 2 3", "line 1: column 1 is not a number: \"xxx"},
    };
    for (Wrong const& wrong : kWrong) {
        SCOPED_TRACE(wrong.text);
        try {
            trackFromText({"text", wrong.text, {}}, optionsFor(wrong.format));
            ADD_FAILURE() << "was read";
        } catch (UserError const& error) {
            std::string const message = error.what(), plain = oneLine("text: " + wrong.message);
            EXPECT_EQ(message.substr(0, plain.size()), plain);
            EXPECT_NE(message.find(", expected "), std::string::npos) << message;
            EXPECT_LT(message.size(), 400u);
            EXPECT_EQ(error.code(), ExitCode::kInput);
        }
    }
    std::string many = "Upper Left\n";
    for (std::size_t i = 0; i <= kMostSamples; ++i) many += "1 1 1\n";
    EXPECT_THROW(trackFromText({"text", many, {}}), UserError);
}

struct Odd {
    std::string text;
    std::vector<std::string> issues;  ///< kind, line if any, mend if any
};

TEST(Track, OddTracksAreToldWithWhatMendsThem) {
    auto const frames = [](std::vector<std::string> const& samples) {
        std::string text = kHead;
        char const* const y[] = {" 10\n", " 10.5\n", " 40\n", " 40.5\n"};
        for (std::size_t corner = 0; corner < 4; ++corner) {
            text += kNumbers[corner] + "\n";
            for (std::string const& sample : samples) text += sample + y[corner];
        }
        return text;
    };
    Odd const kOdd[] = {
        {sections(kNumbers, kPlain), {}},
        {sections(kWords, kPlain),
         {"note 7 --format keyframes", "note 10 --format keyframes",
          "turned-over --format keyframes"}},
        {sections(kNumbers, {"10 40", "90 40", "10 10", "90 10"}), {"upside-down --flip-y"}},
        {sections(kNumbers, {"10 10", "90 10", "90 40", "10 40"}),
         {"crossed --corners ul,ur,lr,ll"}},
        {sections(kNumbers, {"90 10", "10 10", "90 40", "10 40"}),
         {"turned-over --corners ur,ul,lr,ll"}},
        {sections(kNumbers, {"90 40", "10 40", "90 10", "10 10"}), {}},  // upside down as a whole
        {sections(kNumbers, {"10 10", "90 10", "10 10", "90 10"}), {"flat"}},
        {sections({"Upper Left", "Oben rechts"}, kPlain),
         {"note 7", "duplicate 9", "missing-corner", "missing-corner", "missing-corner"}},
        {sections({"Lower Left ADBE Corner Pin-0003"}, kPlain),
         {"note 4 --format keyframes", "missing-corner", "missing-corner --format keyframes",
          "missing-corner"}},
        {frames({"0 5", "1 5", "2 5", "7 5"}), {"gap", "flat"}},
        {frames({"1 5", "0 5"}), {"order 6", "order 9", "order 12", "order 15", "flat"}},
        {sections(kNumbers, {"10 10", "90 10\n 1 90 10", "10 40", "90 40"}), {"uneven"}},
        {sections(kNumbers, {"10 10", "90 10", "10 40", "350 40"}), {"outside 15"}},
        {sections(kNumbers, {"10 10", "90 10", "10 40", "40000 40"}),
         {"outside 15", "beyond-host 15"}},
        {sections(kNumbers, {"0 0", "1 0", "0 1", "1 1"}), {"outside"}},
        {"0,10,10,90,10,10,40,90,40\n", {"size --size WxH"}},
        {"# size 720x576\n1,10,10,90,10,10,40,90,40\n",
         {"frame-base --first-frame 0", "pixel-aspect --pixel-aspect A"}},
        {"Source Pixel Aspect Ratio 1.5\n" + sections(kNumbers, kPlain),
         {"pixel-aspect --pixel-aspect 1.5"}},
        {sections(kNumbers, kPlain) + std::string(300, ' ') + "\n", {"note 16"}},
        {"\tFrame\tX\tY\n\t0\t1\t2\n\t1\t1\t2\n" + sections(kNumbers, kPlain), {"note 2"}},
        {"Root { format \"100 50 0 0 100 50 2 ana\" }\nCornerPin2D {\n invert true\n to1 {10 10}\n"
         " to2 {90 10}\n to3 {90 40}\n to4 {10 40}\n}\n",
         {"note 3", "pixel-aspect --pixel-aspect 2"}},
    };
    for (Odd const& odd : kOdd) {
        SCOPED_TRACE(odd.text);
        std::vector<std::string> issues;
        for (TrackIssue const& issue : checkTrack(trackFromText({"text", odd.text, {}})))
            issues.push_back(std::string(faultName(issue.fault)) +
                             (issue.line > 0 ? " " + std::to_string(issue.line) : "") +
                             (issue.mend.empty() ? "" : " " + issue.mend));
        EXPECT_EQ(issues, odd.issues);
    }
    TrackTarget const target{PixelSize{200, 50}, 1001, true};
    auto const issues = checkTrack(trackFromText({"text", sections(kNumbers, kPlain), {}}), target);
    ASSERT_EQ(issues.size(), 3u);  // another frame's size, no rate, and another start
    EXPECT_EQ(issues[1].mend, "--rate FPS");
    EXPECT_EQ(issues[2].mend, "--first-frame 1001");
    EXPECT_THROW(requireImportable("text", trackFromText({"text", kOdd[13].text, {}})), UserError);
}

struct Plot {
    int width, height;          ///< of the track, 0 for untold
    int overWidth, overHeight;  ///< of the white picture below; 0 for none
    std::vector<double> far;    ///< x and y of a sample
    int plotWidth, plotHeight;  ///< without the legend
    int legendLines;
    int frame[4];  ///< left, top, right and bottom of the white picture in it
};

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
    Plot const kPlots[] = {
        {0, 0, 400, 200, {10, 10}, 400, 200, 2, {0, 0, 400, 200}},
        {400, 200, 100, 50, {10, 10}, 400, 200, 2, {0, 0, 400, 200}},
        {400, 200, 30, 90, {10, 10}, 400, 200, 2, {0, 0, 400, 200}},
        {400, 200, 4, 2, {-300, 10}, 700, 200, 1, {300, 0, 700, 200}},
        {400, 200, 4, 2, {10, 1000}, 400, 400, 2, {0, 0, 400, 200}},
        {1600, 2, 1600, 2, {10, 1}, 1600, 64, 1, {0, 31, 1600, 33}},
        {2, 1600, 2, 1600, {1, 10}, 160, 1600, 6, {79, 0, 81, 1600}},
    };
    for (Plot const& plot : kPlots) {
        SCOPED_TRACE(testing::Message() << plot.width << "x" << plot.height << " over "
                                        << plot.overWidth << "x" << plot.overHeight);
        Track track;
        track.width = plot.width;
        track.height = plot.height;
        track.corners[0].samples = {{0, plot.far[0], plot.far[1], 0}};
        World white({plot.overWidth, plot.overHeight, Depth::k8});
        for (int y = 0; y < plot.overHeight; ++y)
            std::fill_n(white.row(y), 4 * plot.overWidth, std::byte{255});
        World const drawn = plotTrack(track, &white).toWorld();
        EXPECT_EQ(drawn.width(), plot.plotWidth);
        EXPECT_EQ(drawn.height(), plot.plotHeight + 28 * plot.legendLines);
        EXPECT_EQ(boxOf(drawn), std::to_array(plot.frame));
    }
}

}  // namespace
}  // namespace zelk
