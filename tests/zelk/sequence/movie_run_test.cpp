// Movies as plates and outputs: a frame's picture by its number in any run, rate, length and sound,
// codecs and what their containers refuse. Movies are made and judged by FFmpeg's own programs.
#include <array>
#include <cstdlib>

#include "tests/support/zelk_process.h"
#include "zelk/movies/codecs.h"
#include "zelk/movies/frames.h"
#include "zelk/scene/file.h"

namespace zelk_test {
namespace {

class MovieRun : public ZelkTest {
protected:
    void SetUp() override { writePicture(at("layer.png"), noise<std::uint8_t>(16, 12, 4, 1)); }
    std::string shell(std::string const& command) const {
        std::string const whole = "cd " + at("").string() + " && " + command + " > said 2>&1";
        EXPECT_EQ(std::system(whole.c_str()), 0) << bytesOf("said");
        return bytesOf("said");
    }
    /// Two seconds, 50 pictures, with a tone.
    void make(std::string const& name, std::string const& coder, char const* size = "64x36") const {
        shell(std::string("ffmpeg -v error -y -f lavfi -i \"color=s=") + size +
              ":r=25:d=2,geq=lum='mod(3*X+5*Y+7*N,220)':cb=128:cr='mod(9*N,200)'\" -f lavfi -i "
              "sine=duration=2:sample_rate=48000 " +
              coder + " " + name);
    }
    /// "codec,rate,packets codec" of picture and sound, and the sound's seconds by its samples.
    std::string told(std::string const& name) const {
        std::string text = shell(
            "ffprobe -v error -count_packets -of csv=p=0 -show_entries "
            "stream=codec_name,avg_frame_rate,nb_read_packets " +
            name);
        return text.substr(0, text.find('\n'));
    }
    double soundSec(std::string const& name) const {
        shell("ffmpeg -v error -y -i " + name + " -map 0:a -ac 1 -ar 48000 -f s16le sound.raw");
        return double(bytesOf("sound.raw").size()) / 2 / 48000;
    }
    Words const over(std::string const& plate, std::string const& output, char const* frames,
                     Words const& more = {}) const {
        return joined({"render", "layer.png", "--over", plate, "-o", output, "--progress", "none",
                       "--frames", frames, "--to", "20,3 50,6 18,30 55,33"},
                      more);
    }
};

// With pictures that need others and with such that don't, which are read from the middle.
TEST_F(MovieRun, AChunkHasThePicturesOfTheWholeRun) {
    constexpr char const* kH264 = "-c:v libx264 -bf 3 -g 12 -pix_fmt yuv420p -c:a aac";
    for (auto const& [plate, coder, seeks] : {std::tuple("p.mp4", kH264, false),
                                              {"p.mov", "-c:v prores_ks -c:a pcm_s16le", true},
                                              {"p.mkv", "-c:v ffv1 -g 1 -c:a libvorbis", true}}) {
        SCOPED_TRACE(plate);
        make(plate, coder);
        EXPECT_EQ(zelk::MovieFrames(at(plate)).facts().isSeekable, seeks);
        done(over(plate, "whole.%d.png", "0-49"));
        auto const whole = [&](int n) { return bytesOf("whole." + std::to_string(n) + ".png"); };
        EXPECT_TRUE(whole(0) != whole(1));
        EXPECT_TRUE(whole(48) != whole(49));
        auto const expectSame = [&](Words const& words, int first, int last) {
            done(joined(words, {"--no-metadata"}));
            for (int n = first; n <= last; ++n) {
                std::string const name = std::to_string(n) + ".png";
                EXPECT_EQ(readPicture<std::uint8_t>(at("part." + name)),
                          readPicture<std::uint8_t>(at("whole." + name)))
                    << n;
            }
        };
        for (int n = 0; n < 50; n += seeks ? 21 : 7) {
            int const last = std::min(n + 6, 49);
            std::string const range = std::to_string(n) + "-" + std::to_string(last);
            expectSame(over(plate, "part.%d.png", range.c_str()), n, last);
        }
        expectSame(over(plate, "part.%d.png", "40-30x-1"), 30, 40);
        for (char const* n : {"0", "17", "49"})
            expectSame(over(plate, "part.%d.png", n), std::atoi(n), std::atoi(n));
    }
    // Another first number, for a run and for a project.
    done(over("p.mkv", "part.%d.png", "1034", {"--first-frame", "1001"}));
    EXPECT_EQ(readPicture<std::uint8_t>(at("part.1034.png")),
              readPicture<std::uint8_t>(at("whole.33.png")));
}

TEST_F(MovieRun, RateLengthAndSoundAreThoseOfTheRange) {
    make("p.mp4", "-c:v libx264 -bf 3 -pix_fmt yuv420p -c:a aac");
    make("s.mov", "-c:v prores_ks -c:a pcm_s16le");
    struct Case {
        char const *plate, *output, *frames, *picture, *sound;
        double sec, tolerance;  // a packet of AAC, and its coder's silence at both ends
    };
    constexpr double kPacket = 1024 / 48000.;
    for (Case const& each :
         {Case{"p.mp4", "a.mov", "0-49", "prores,25/1,50", "aac", 2, 3 * kPacket},
          {"p.mp4", "b.mkv", "7-20", "ffv1,25/1,14", "aac", 0.56, 3 * kPacket},
          {"s.mov", "c.mp4", "7-20", "h264,25/1,14", "aac", 0.56, 3 * kPacket},
          {"s.mov", "d.mov", "7-20", "prores,25/1,14", "pcm_s16le", 0.56, 0.001}}) {
        SCOPED_TRACE(each.output);
        EXPECT_EQ(done(over(each.plate, each.output, each.frames)).find("sound"),
                  std::string::npos);
        EXPECT_EQ(told(each.output), each.picture);
        EXPECT_EQ(zelk::soundCodecsOf(at(each.output)), Words{each.sound});
        EXPECT_NEAR(soundSec(each.output), each.sec, each.tolerance);
    }
    // The very samples of those frames.
    shell("ffmpeg -v error -y -i s.mov -map 0:a -ac 1 -ar 48000 -f s16le all.raw");
    soundSec("d.mov");
    EXPECT_EQ(bytesOf("sound.raw"), bytesOf("all.raw").substr(7 * 1920 * 2, 14 * 1920 * 2));
    // Pictures take the sound that their plate had, by hand and where a farm gathers them.
    Words farm = over("s.mov", "g.%d.png", "7-20");
    farm[0] = "submit";
    std::erase_if(farm, [](auto const& word) { return word == "--progress" || word == "none"; });
    done(joined(farm, "--engine shell --chunk 14 --frame-time 1 --movie g.mov"_words));
    shell("./g.zelk-job/run.sh 1 2>run.txt");
    done("render g.%d.png --view original --sound s.mov --frames 7-20 --rate 25 -o h.mov"_words);
    for (char const* const movie : {"g.mov", "h.mov"}) {
        soundSec(movie);
        EXPECT_EQ(bytesOf("sound.raw"), bytesOf("all.raw").substr(7 * 1920 * 2, 14 * 1920 * 2));
    }
    expectRefusal("render g.%d.png --view original --sound g.7.png --frames 7-8 -o i.mov"_words, 2,
                  {"--sound", "g.7.png", "has no sound"});
    // A rate moves nothing in time, and sound of another one would not go with the pictures.
    for (auto const& [name, frames, more, rate] :
         {std::tuple("e.mov", "7-20", Words{"--rate", "30"}, "prores,30/1,14"),
          {"f.mov", "7-20x2", {}, "prores,25/1,7"}}) {
        EXPECT_TRUE(has(done(over("p.mp4", name, frames, more)), "without sound"));
        EXPECT_EQ(told(name), rate);
        EXPECT_TRUE(zelk::soundCodecsOf(at(name)).empty());
    }
    done("render a.mov -o first.%d.png --view original --frames 7 --progress none"_words);
    done("render e.mov -o second.%d.png --view original --frames 0 --progress none"_words);
    EXPECT_EQ(readPicture<std::uint16_t>(at("first.7.png")),
              readPicture<std::uint16_t>(at("second.0.png")));
}

// Every codec in every container that takes it: pictures come back as they were, nearly. Their
// right half is half clear. BT.601 in place of BT.709 would be 20 steps of 255 off. Sides are odd:
// what is added beside them leaves the last column and row as they are.
TEST_F(MovieRun, EachCodecGivesItsPicturesBack) {
    Picture<std::uint16_t> flat{257, 121, 4, {}, {}};
    for (int i = 0; i < 257 * 121; ++i)
        flat.values.insert(flat.values.end(),
                           {51400, 7710, 25700, std::uint16_t(i % 257 < 128 ? 65535 : 32768)});
    writePicture(at("in.png"), flat);
    for (char const* extension : {".mov", ".mp4", ".mkv"})
        for (std::string_view const name :
             zelk::containerOf(std::string("m") + extension)->codecs) {
            zelk::MovieCodec const& codec = *zelk::codecNamed(name);
            std::string const movie = std::string(name) + extension;
            SCOPED_TRACE(movie);
            Words words = {"--frames", "0-2", "--color", "raw", "--codec", std::string(name)};
            if (codec.isLossy()) words.insert(words.end(), {"--quality-level", "1"});
            std::string const said = copy("in.png", movie, words);
            EXPECT_EQ(has(said, "over black"), !codec.keepsAlpha) << said;
            copy(movie, "out.%d.png", {"--depth", "16", "--color", "raw"});
            auto const out = readPicture<std::uint16_t>(at("out.2.png"));
            // Three steps of 8 bits of video, of 10 where there is alpha, which is off by one.
            int const step = codec.keepsAlpha ? 64 : 257;
            for (int i = 0; i < 3 * out.channels; ++i) {
                int const c = i / 3, x = std::array{40, 200, 256}[i % 3], y = x < 256 ? 60 : 120;
                double const share = codec.keepsAlpha ? 1 : flat.at(x, y, 3) / 65535.;
                double const want = c == 3 && !codec.keepsAlpha ? 65535 : flat.at(x, y, c) * share;
                int const steps = c == 3 ? 1 : 3;
                EXPECT_NEAR(out.at(x, y, c), want, codec.isLossy() ? steps * step : 1) << i;
            }
        }
    for (auto const& [words, told] :
         {std::pair("-o x.mp4 --codec ffv1", "does not fit into .mp4: \"ffv1\", expected h264"),
          {"-o x.png --codec h264", "--codec is of movies"},
          {"-o x.mkv --quality-level 3", "lossless"},
          {"-o x.mov --codec prores422 --quality-level 4", "0 (proxy) to 3 (hq)"},
          {"-o x.mov --codec mjpeg", "prores4444, prores422"}})
        expectRefusal(joined({"render", "in.png"}, split(words, ' ')), 2, {told});
}

TEST_F(MovieRun, AProjectOnAMovieHasItsClockSizeAndNumbers) {
    make("p.mp4", "-c:v libx264 -pix_fmt yuv420p -c:a aac");
    EXPECT_EQ(run("project new a.zelk.json --layer layer.png --plate p.mp4"_words).out,
              "a.zelk.json: 64x36, 25 frames a second, frames 0 to 49\n");
    EXPECT_EQ(run("project new b.zelk.json --layer layer.png --plate p.mp4 --first-frame 1001 "
                  "--codec h265 --quality-level 30.5 -o o.mp4"_words)
                  .out,
              "b.zelk.json: 64x36, 25 frames a second, frames 1001 to 1050\n");
    zelk::Scene const scene = zelk::readScene(at("b.zelk.json"));
    EXPECT_EQ(scene.movieStart, 1001);
    EXPECT_EQ(scene.codec, "h265");
    EXPECT_EQ(zelk::sceneText(scene), bytesOf("b.zelk.json"));
    done("render --project b.zelk.json --frames 1046-1050 --progress none"_words);
    EXPECT_EQ(told("o.mp4"), "hevc,25/1,5");
    expectRefusal(
        "render --project b.zelk.json --frames 1049-1060 --progress none -o o.%d.png"_words, 3,
        {"frames 1001 to 1050; --first-frame says the first one's number, --missing",
         "(2 frames written"});
}

}  // namespace
}  // namespace zelk_test
