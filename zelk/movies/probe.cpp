// The program's lines to facts; see probe.h.
#include "zelk/movies/probe.h"

#include <algorithm>
#include <cmath>
#include <functional>
#include <iterator>
#include <map>
#include <optional>
#include <sstream>
#include <string_view>

#include "zelk/movies/child_program.h"
#include "zelk/text/errors.h"
#include "zelk/text/numbers.h"

namespace zelk {

namespace fs = std::filesystem;

namespace {

/// Calls `take` with each "key=value" line about the entries of `streams`; the program's complaint.
std::string probe(fs::path const& file, char const* streams, char const* entries,
                  std::function<void(std::string const&, std::string const&)> const& take) {
    ChildProgram program({"ffprobe", "-v", "error", "-select_streams", streams, "-show_entries",
                          entries, "-of", "default=noprint_wrappers=1", movieUrl(file)},
                         ChildProgram::Pipe::kFromOutput);
    std::istringstream lines(program.readAll());
    program.await();
    for (std::string line; std::getline(lines, line);) {
        auto const equals = line.find('=');
        if (equals != line.npos) take(line.substr(0, equals), line.substr(equals + 1));
    }
    return program.words();
}

/// Codecs that have no picture which needs another one, where all packets are marked as keys.
bool isOfSinglePictures(std::string_view codec) {
    constexpr std::string_view kCodecs[] = {"prores", "dnxhd",    "mjpeg",    "png",     "ffv1",
                                            "v210",   "rawvideo", "huffyuv",  "ffvhuff", "utvideo",
                                            "cfhd",   "dvvideo",  "jpeg2000", "qtrle"};
    return std::find(std::begin(kCodecs), std::end(kCodecs), codec) != std::end(kCodecs);
}

double ratio(std::string const& text) {
    auto const slash = text.find('/');
    if (slash == text.npos) return 0;
    double const under = parseNumber(text.substr(slash + 1)).value_or(0);
    return under > 0 ? parseNumber(text.substr(0, slash)).value_or(0) / under : 0;
}

/// The steady rate, unless the mean of all pictures says that there is none. A last picture of odd
/// length must not make 24 of it 23.97.
std::string rateOf(std::string const& steady, std::string const& mean) {
    constexpr double kSamePart = 0.005;
    double const a = ratio(steady), b = ratio(mean);
    if (a > 0 && (b <= 0 || std::abs(a - b) <= kSamePart * b)) return steady;
    return b > 0 ? mean : "";
}

/// Of packets as they lie in the file.
struct Packets {
    std::vector<std::optional<double>> times;
    bool areKeys = true;

    void settle(MovieFacts& facts, double startSec, bool isOfSingles) {
        facts.count = static_cast<int>(times.size());
        for (auto const& time : times)
            if (time) facts.timesSec.push_back(*time - startSec);
        if (facts.timesSec.size() != times.size()) facts.timesSec.clear();
        auto const repeated = [](double a, double b) { return b <= a; };
        bool const areInOrder = std::adjacent_find(facts.timesSec.begin(), facts.timesSec.end(),
                                                   repeated) == facts.timesSec.end();
        facts.isSeekable = isOfSingles && areKeys && areInOrder && !facts.timesSec.empty();
        std::sort(facts.timesSec.begin(), facts.timesSec.end());
    }
};

}  // namespace

std::string movieUrl(fs::path const& file) { return "file:" + file.string(); }

MovieFacts factsOfMovie(fs::path const& file) {
    std::map<std::string, std::string> facts;
    Packets packets;
    std::optional<double> time;
    std::string const complaint = probe(
        file, "v:0",
        "packet=pts_time,flags:stream=codec_name,width,height,pix_fmt,color_space,color_primaries,"
        "color_transfer,r_frame_rate,"
        "avg_frame_rate:format=start_time",
        [&](std::string const& key, std::string const& value) {
            if (key == "pts_time") {
                time = parseNumber(value);
            } else if (key == "flags") {  // the last of a packet's lines
                // What an edit list cuts off is decoded and not shown.
                bool const isShown = value.find('D') == value.npos;
                if (isShown) packets.times.push_back(time);
                packets.areKeys = packets.areKeys && value.starts_with("K");
                time.reset();
            } else {
                facts[key] = value;
            }
        });
    if (!facts.contains("width"))
        throw UserError(ExitCode::kInput, file.string() + ": cannot be read: " + complaint);
    MovieFacts movie;
    movie.width = static_cast<int>(parseNumber(facts["width"]).value_or(0));
    movie.height = static_cast<int>(parseNumber(facts["height"]).value_or(0));
    movie.pixelFormat = facts["pix_fmt"];
    movie.matrix = facts["color_space"];
    movie.primaries = facts["color_primaries"];
    movie.transfer = facts["color_transfer"];
    movie.rate = rateOf(facts["r_frame_rate"], facts["avg_frame_rate"]);
    packets.settle(movie, parseNumber(facts["start_time"]).value_or(0),
                   isOfSinglePictures(facts["codec_name"]));
    return movie;
}

std::vector<std::string> soundCodecsOf(fs::path const& file) {
    std::vector<std::string> codecs;
    probe(file, "a", "stream=codec_name",
          [&](std::string const&, std::string const& value) { codecs.push_back(value); });
    return codecs;
}

}  // namespace zelk
