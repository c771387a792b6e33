// Tables of tags; see movie_tags.h.
#include "zelk/color/movie_tags.h"

#include <algorithm>
#include <iterator>

namespace zelk {

namespace {

constexpr Chromaticities of(std::string_view name) {
    // BT.601 of 525 and of 625 lines.
    if (name == "smpte170m")
        return {0.630f, 0.340f, 0.310f, 0.595f, 0.155f, 0.070f, 0.3127f, 0.3290f};
    return {0.64f, 0.33f, 0.29f, 0.60f, 0.15f, 0.06f, 0.3127f, 0.3290f};
}

struct PrimariesTag {
    std::string_view tag;
    Chromaticities primaries;
};
constexpr PrimariesTag kPrimaries[] = {
    {"bt709", kRec709Primaries},
    {"bt2020", {0.708f, 0.292f, 0.170f, 0.797f, 0.131f, 0.046f, 0.3127f, 0.3290f}},
    {"smpte432", {0.680f, 0.320f, 0.265f, 0.690f, 0.150f, 0.060f, 0.3127f, 0.3290f}},
    {"smpte170m", of("smpte170m")},
    {"bt470bg", of("bt470bg")}};

struct TransferTag {
    std::string_view tag;
    TransferCurve curve;
    double gamma;
};
/// The first of a curve is the one that is written.
constexpr TransferTag kTransfers[] = {
    {"bt709", TransferCurve::kRec709, 1},      {"smpte170m", TransferCurve::kRec709, 1},
    {"bt2020-10", TransferCurve::kRec709, 1},  {"bt2020-12", TransferCurve::kRec709, 1},
    {"iec61966-2-1", TransferCurve::kSrgb, 1}, {"linear", TransferCurve::kLinear, 1},
    {"gamma22", TransferCurve::kGamma, 2.2},   {"gamma28", TransferCurve::kGamma, 2.8},
    {"bt470m", TransferCurve::kGamma, 2.2},    {"bt470bg", TransferCurve::kGamma, 2.8}};

PrimariesTag const* primariesTag(CurveSpace const& space) {
    auto const found =
        std::find_if(std::begin(kPrimaries), std::end(kPrimaries),
                     [&](auto const& entry) { return entry.primaries == space.primaries; });
    return found == std::end(kPrimaries) ? nullptr : found;
}

TransferTag const* transferTag(CurveSpace const& space) {
    auto const found =
        std::find_if(std::begin(kTransfers), std::end(kTransfers), [&](auto const& entry) {
            return entry.curve == space.curve && entry.gamma == space.gamma;
        });
    return found == std::end(kTransfers) ? nullptr : found;
}

bool isUntold(std::string_view tag) {
    return tag.empty() || tag == "unknown" || tag == "unspecified" || tag == "reserved";
}

}  // namespace

bool hasMovieTags(CurveSpace const& space) { return primariesTag(space) && transferTag(space); }

void addMovieTags(CurveSpace const& space, std::vector<std::string>& words) {
    bool const isTagged = hasMovieTags(space);
    std::string const primaries(isTagged ? primariesTag(space)->tag : "bt709");
    std::string const transfer(isTagged ? transferTag(space)->tag : "unknown");
    bool const isProRes = std::find(words.begin(), words.end(), "prores_ks") != words.end();
    words.insert(words.end(),
                 {"-colorspace", "bt709", "-color_primaries", primaries, "-color_trc", transfer});
    if (!isProRes) return;
    words.insert(words.end(),
                 {"-bsf:v", "prores_metadata=colorspace=bt709:color_primaries=" + primaries +
                                ":color_trc=" + (transfer == "bt709" ? transfer : "unknown")});
}

TaggedSpace spaceOfTags(std::string_view primaries, std::string_view transfer) {
    TaggedSpace found{{TransferCurve::kRec709}, {}};
    auto const color = std::find_if(std::begin(kPrimaries), std::end(kPrimaries),
                                    [&](auto const& entry) { return entry.tag == primaries; });
    if (color != std::end(kPrimaries))
        found.space.primaries = color->primaries;
    else if (!isUntold(primaries))
        found.unknown = primaries;
    auto const curve = std::find_if(std::begin(kTransfers), std::end(kTransfers),
                                    [&](auto const& entry) { return entry.tag == transfer; });
    if (curve != std::end(kTransfers)) {
        found.space.curve = curve->curve;
        found.space.gamma = curve->gamma;
    } else if (!isUntold(transfer)) {
        found.unknown = transfer;
    }
    return found;
}

}  // namespace zelk
