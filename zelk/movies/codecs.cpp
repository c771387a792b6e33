// The tables of codecs and containers; see codecs.h.
#include "zelk/movies/codecs.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <stdexcept>

#include "zelk/text/numbers.h"

namespace zelk {

namespace {

std::vector<MovieContainer> const& containers() {
    static std::vector<MovieContainer> const all = {
        {".mov",
         {"prores4444", "prores422", "dnxhr", "h264", "h265", "png"},
         {"aac", "alac", "mp3", "ac3", "pcm_s16le", "pcm_s16be", "pcm_s24le", "pcm_s24be",
          "pcm_s32le", "pcm_s32be", "pcm_f32le", "pcm_f32be"},
         {"pcm_s24le"}},
        {".mp4", {"h264", "h265"}, {"aac", "alac", "mp3", "ac3", "eac3"}, {"aac", "256k"}},
        {".mkv",
         {"ffv1", "h264", "h265", "prores4444", "prores422", "dnxhr", "png"},
         {"aac", "alac", "mp3", "ac3", "eac3", "flac", "opus", "vorbis", "dts", "truehd",
          "pcm_s16le", "pcm_s24le", "pcm_s32le", "pcm_f32le"},
         {"pcm_s24le"}},
    };
    return all;
}

}  // namespace

bool MovieCodec::takes(double quality) const {
    bool const isKind = mostFactor > 0 || quality == std::floor(quality);
    return isLossy() && isKind && quality >= 0 && quality <= mostQuality();
}

std::string MovieCodec::qualityExpected() const {
    if (!isLossy()) return "none, as the codec is lossless";
    if (mostFactor > 0)
        return fmt::format("a rate factor from 0 (best) to {} (smallest)", mostFactor);
    return fmt::format("a whole number from 0 ({}) to {} ({})", kinds.front().profile,
                       kinds.size() - 1, kinds.back().profile);
}

MovieContainer const* containerOf(std::filesystem::path const& file) {
    std::string const extension = lowered(file.extension().string());
    for (MovieContainer const& container : containers())
        if (extension == container.extension) return &container;
    return nullptr;
}

std::span<MovieCodec const> movieCodecs() {
    // Alpha is straight. ProRes and the last two kinds of DNxHR have 10 bits.
    static std::vector<MovieCodec> const all = {
        {"prores4444",
         "prores_ks",
         true,
         false,
         {{"4444", "yuva444p10le"}, {"4444xq", "yuva444p10le"}},
         0,
         0,
         {"-vendor", "apl0"}},
        {"prores422",
         "prores_ks",
         false,
         false,
         {{"proxy", "yuv422p10le"},
          {"lt", "yuv422p10le"},
          {"standard", "yuv422p10le"},
          {"hq", "yuv422p10le"}},
         0,
         3,
         {"-vendor", "apl0"}},
        {"dnxhr",
         "dnxhd",
         false,
         false,
         {{"dnxhr_lb", "yuv422p"},
          {"dnxhr_sq", "yuv422p"},
          {"dnxhr_hq", "yuv422p"},
          {"dnxhr_hqx", "yuv422p10le"},
          {"dnxhr_444", "yuv444p10le"}},
         0,
         3,
         {},
         256,
         120},
        {"h264", "libx264", false, false, {{"", "yuv420p"}}, kMostCodecQuality, 16, {}},
        {"h265",
         "libx265",
         false,
         false,
         {{"", "yuv420p10le"}},
         kMostCodecQuality,
         18,
         {"-x265-params", "log-level=error"},
         64,  // with less the coder fails, or crashes
         16},
        {"ffv1", "ffv1", true, true, {{"", "gbrap16le"}}, 0, 0, {"-level", "3"}},
        {"png", "png", true, true, {{"", "rgba64be"}}, 0, 0, {}},
    };
    return all;
}

MovieCodec const* codecNamed(std::string_view name) {
    auto const all = movieCodecs();
    auto const found = std::find_if(all.begin(), all.end(),
                                    [&](MovieCodec const& codec) { return codec.name == name; });
    return found == all.end() ? nullptr : &*found;
}

MovieCodec const& codecOf(std::filesystem::path const& file,
                          std::optional<std::string> const& name) {
    MovieCodec const* const codec =
        codecNamed(name ? std::string_view(*name) : containerOf(file)->codecs.front());
    if (!codec) throw std::out_of_range("no codec of movies: " + *name);
    return *codec;
}

}  // namespace zelk
