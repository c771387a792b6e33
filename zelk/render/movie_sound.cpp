// Frames to seconds of a movie's clock; see movie_sound.h.
#include "zelk/render/movie_sound.h"

#include <fmt/format.h>

#include <algorithm>
#include <utility>

#include "zelk/movies/probe.h"
#include "zelk/scene/clock.h"
#include "zelk/scene/refusal.h"

namespace zelk {

namespace {

bool followEachOther(std::vector<int> const& frames) {
    auto const isHole = [](int a, int b) { return b != a + 1; };
    return std::adjacent_find(frames.begin(), frames.end(), isHole) == frames.end();
}

bool isSameRate(TimeBase const& a, TimeBase const& b) {
    return std::uint64_t{a.scale} * std::uint64_t(b.step) ==
           std::uint64_t{b.scale} * std::uint64_t(a.step);
}

/// Seconds of the movie's clock at a picture; those beyond its last one go on at its rate.
double momentOf(MovieFacts const& facts, double rate, std::int64_t picture) {
    auto const known = static_cast<std::int64_t>(facts.timesSec.size());
    if (known == 0) return double(picture) / rate;
    if (picture < known) return facts.timesSec[static_cast<std::size_t>(picture)];
    return facts.timesSec.back() + double(picture - known + 1) / rate;
}

}  // namespace

void checkSound(Scene const& scene, SceneFiles const& files) {
    if (!files.sound) return;
    std::error_code fault;
    bool const isThere = std::filesystem::exists(files.sound->name(), fault);
    if (fault)
        throw UserError(ExitCode::kInput,
                        files.sound->name() + ": cannot be read: " + fault.message());
    if (!isThere)
        throw refusalOf(scene, SceneField::kSound, "is not there:", files.sound->name(),
                        "a movie with sound");
    bool const isMovie = files.sound->movieFacts();
    if (!isMovie || soundCodecsOf(files.sound->name()).empty())
        throw refusalOf(scene, SceneField::kSound, "has no sound:", files.sound->name(),
                        "a movie with sound");
}

std::optional<MovieSound> soundOf(Scene const& scene, SceneFiles const& files,
                                  std::vector<int> const& frames, TimeBase const& rate,
                                  std::vector<std::string>& warnings) {
    auto const without = [&](std::string const& why) {
        warnings.push_back(fmt::format("{}: the movie is written without sound: {}",
                                       scene.outputPath().string(), why));
        return std::nullopt;
    };
    auto const at = [](auto const& input) { return input ? &*input : nullptr; };
    for (InputFiles const* input : {at(files.sound), at(files.plate), &files.layer}) {
        if (!input) continue;
        MovieFacts const* const facts = input->movieFacts();
        std::vector<std::string> codecs;
        if (facts) codecs = soundCodecsOf(input->name());
        if (codecs.empty()) continue;
        auto const own = rateFromText(facts->rate);
        if (!own || !isSameRate(*own, rate))
            return without(fmt::format("its rate is {}, that of {} is {}", rateText(rate),
                                       input->name(), own ? rateText(*own) : "not known"));
        if (!followEachOther(frames)) return without("its frames do not follow each other");
        double const perSec = double(rate.scale) / rate.step;
        std::int64_t const first = std::int64_t{frames.front()} - input->firstFrame();
        auto const count = static_cast<std::int64_t>(frames.size());
        std::int64_t const heard = std::max<std::int64_t>(first, 0);
        if (first + count <= 0 || heard >= facts->count) return std::nullopt;
        return MovieSound{input->name(), std::max(momentOf(*facts, perSec, heard), 0.),
                          double(heard - first) / perSec, double(first + count - heard) / perSec,
                          std::move(codecs)};
    }
    return std::nullopt;
}

}  // namespace zelk
