// Both forms, with the shortest numbers that stand for the same doubles; see map_text.h.
#include "zelk/render/map_text.h"

#include <fmt/format.h>

#include <nlohmann/json.hpp>

#include "zelk/text/json_text.h"

namespace zelk {

namespace {

constexpr char const* kSpace =
    "pixels, y down, 0,0 the outer corner of the upper left pixel, pixel centres at .5";
constexpr char const* kProduct =
    "row-major, of column vectors x,y,1: \"matrix\" from the layer to the frame, \"inverse\" back, "
    "divided by the third coordinate";

nlohmann::ordered_json sizePair(PixelSize size) {
    return {{"width", size.width}, {"height", size.height}};
}

}  // namespace

std::string mapsAsJson(std::vector<FrameQuadMap> const& maps) {
    nlohmann::ordered_json json = {{"schema", "zelk-maps"},
                                   {"version", 1},
                                   {"space", kSpace},
                                   {"pixelCentre", 0.5},
                                   {"matrices", kProduct}};
    if (!maps.empty()) {
        json["layerSize"] = sizePair(maps.front().map.layer);
        json["frameSize"] = sizePair(maps.front().map.frame);
    }
    json["frames"] = nlohmann::ordered_json::array();
    for (auto const& [frame, map] : maps) {
        nlohmann::ordered_json entry = {{"frame", frame}, {"drawn", map.isDrawn}};
        if (map.isDrawn) entry["matrix"] = map.toFrame, entry["inverse"] = map.toLayer;
        json["frames"].push_back(entry);
    }
    return jsonText(json);
}

std::string mapsAsCsv(std::vector<FrameQuadMap> const& maps) {
    std::string text = fmt::format("# {}; {}\nframe", kSpace, kProduct);
    for (char const letter : {'m', 'i'})
        for (int i = 0; i < 9; ++i) text += fmt::format(",{}{}{}", letter, i / 3, i % 3);
    text += '\n';
    for (auto const& [frame, map] : maps) {
        text += fmt::format("{}", frame);
        for (PlaneMatrix const& matrix : {map.toFrame, map.toLayer})
            for (double const element : matrix)
                text += map.isDrawn ? fmt::format(",{}", element) : ",";
        text += '\n';
    }
    return text;
}

}  // namespace zelk
